// What may be deleted: the input chooses the current directory, and is the path.

#include <algorithm>
#include <filesystem>

#include "common/files/removal.h"
#include "fuzz/judges.h"
#include "fuzz/target.h"

namespace {

constexpr const char* kDirectories[] = {"/", "/tmp", "/usr", "/usr/bin"};

/// What an absolute path names as far as its text tells.
struct Target {
  Texts names;               // from the root down, without dots
  bool isAboveRoot = false;  // whether it climbs above the root, where the kernel stays in it
};

/// The judge. Reads the path backwards, where a ".." waits for the name that it takes away: nothing
/// in common with the way in which the code does it.
Target targetOf(const std::string& absolute) {
  Target target;
  int waiting = 0;
  Texts names = slowSplit(absolute, "/", 0);
  std::reverse(names.begin(), names.end());
  for (const std::string& name : names) {
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      ++waiting;
    } else if (waiting > 0) {
      --waiting;
    } else {
      target.names.insert(target.names.begin(), name);
    }
  }
  target.isAboveRoot = waiting > 0;
  return target;
}

bool isDeepEnough(const Texts& names) {
  return !names.empty() && names.size() > (names[0] == "tmp" ? 1 : 2);
}

/// A path that climbs above the root loses its leading slash there.
std::string canonicalForm(const Target& target) {
  std::string path;
  for (const std::string& name : target.names) path += "/" + name;
  return target.isAboveRoot && !path.empty() ? path.substr(1) : path;
}

/// The names that count: one that stands in the place of the root does not.
Texts countedNames(const Target& target) {
  Texts names = target.names;
  if (target.isAboveRoot && !names.empty()) names.erase(names.begin());
  return names;
}

}  // namespace

void tryInput(Input input) {
  const std::string directory = kDirectories[input.choice(4)];
  const std::string path = input.word();
  const std::filesystem::path home = std::filesystem::current_path();
  std::filesystem::current_path(directory);
  const int allowed = isAllowDelete(path);
  const std::string canonical = getCanonicalPath(path);
  const std::string again = getCanonicalPath(canonical);
  std::filesystem::current_path(home);

  const bool isAbsolute = path.substr(0, 1) == "/";
  const Target target = targetOf(isAbsolute ? path : directory + "/" + path);
  demand(allowed == 0 || allowed == 1, "the answer is yes or no");
  demand(allowed == 0 || isDeepEnough(target.names), "nothing near the root may ever be deleted");
  demandEqual(allowed, isDeepEnough(countedNames(target)) ? 1 : 0,
              "what is deep enough may be deleted");
  demandEqual(canonical, canonicalForm(target), "the canonical path");
  if (!target.isAboveRoot && !target.names.empty()) {
    demandEqual(again, canonical, "the same again");
  }
}
