// Path names: their parts and forms, and what may be deleted.

#include <algorithm>
#include <cstring>

#include "common/base/pathparts.h"
#include "common/files/pathform.h"
#include "common/files/removal.h"
#include "fuzz/judges.h"

namespace {

// --- the parts of a path name --------------------------------------------------------------------

void tryBaseName(const std::string& path) {
  std::string dir = "left over";
  const std::string base = __xpg_basename(path, dir);
  demand(base.find('/') == std::string::npos, "a base name has no slash");
  const std::string seen = path.substr(0, 4095);
  const bool hasSlash = seen.find('/') != std::string::npos;
  const std::string joint = !hasSlash || (dir == "/" && seen.rfind('/') == 0) ? "" : "/";
  demandEqual(dir + joint + base, seen, "both parts make up the path");
  demandEqual(dir.empty(), !hasSlash, "a path without a slash has no directory part");

  std::string name = "left over";
  const std::string ext = retrieveExt(path.c_str(), name);
  demand(ext.find('.') == std::string::npos, "an extension has no dot");
  const bool hasDot = base.find('.') != std::string::npos;
  demandEqual(hasDot ? name + "." + ext : name, base, "both parts make up the base name");
  demand(hasDot || ext.empty(), "a name without a dot has no extension");
  demandEqual(retrieveName(path.c_str()), name, "the other way round");
}

void tryParent(const std::string& path) {
  const bool hasEnd = !path.empty() && path.back() == '/';
  const std::string bare = path.substr(0, path.size() - (hasEnd ? 1 : 0));
  std::vector<char> editable = exactCopy(path + '\0');
  eraseLastSlash(editable.data());
  demandEqual(std::string(editable.data()), bare, "one trailing slash goes, in place");
  demandEqual(eraseLastSlash(path.c_str()), bare, "one trailing slash goes");

  const std::size_t slash = bare.rfind('/');
  const bool isInRoot = slash == 0 || slash == std::string::npos;
  demandEqual(parentPath(path), isInRoot ? "/" : bare.substr(0, slash),
              "what precedes the last slash is the parent");
}

// The input is the path.
const Target kPathName("pathname", [](Input input) {
  const std::string path = input.longWord();
  tryBaseName(path);
  tryParent(path);
  demandEqual(isFullPath(path), path.substr(0, 1) == "/" ? 1 : 0, "a full path begins at the root");

  // The judge replaces double slashes until there are none.
  std::string justified = path;
  for (std::size_t at = 0; (at = justified.find("//")) != std::string::npos;)
    justified.erase(at, 1);
  if (justified.size() > 1 && justified.back() == '/') justified.pop_back();
  demandEqual(justifyPath(path), justified, "runs of slashes become one");
});

// --- what may be deleted -------------------------------------------------------------------------

/// What an absolute path names as far as its text tells.
struct Place {
  Texts names;               // from the root down, without dots
  bool isAboveRoot = false;  // whether it climbs above the root, where the kernel stays in it
};

/// The judge. Reads the path backwards, where a ".." waits for the name that it takes away: nothing
/// in common with the way in which the code does it.
Place placeOf(const std::string& absolute) {
  Place place;
  int waiting = 0;
  Texts names = slowSplit(absolute, "/");
  std::reverse(names.begin(), names.end());
  for (const std::string& name : names) {
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      ++waiting;
    } else if (waiting > 0) {
      --waiting;
    } else {
      place.names.insert(place.names.begin(), name);
    }
  }
  place.isAboveRoot = waiting > 0;
  return place;
}

bool isDeepEnough(const Texts& names) {
  return !names.empty() && names.size() > (names[0] == "tmp" ? 1 : 2);
}

// The input chooses the current directory, and is the path.
const Target kRemovalGuard("removalguard", [](Input input) {
  constexpr const char* kDirectories[] = {"/", "/tmp", "/usr", "/usr/bin"};
  const std::string directory = kDirectories[input.choice(4)];
  const std::string path = input.word();
  const std::filesystem::path home = std::filesystem::current_path();
  std::filesystem::current_path(directory);
  const int allowed = isAllowDelete(path);
  const std::string canonical = getCanonicalPath(path);
  const std::string again = getCanonicalPath(canonical);
  std::filesystem::current_path(home);

  const auto [names, isAboveRoot] =
      placeOf(path.substr(0, 1) == "/" ? path : directory + "/" + path);
  demand(allowed == 0 || isDeepEnough(names), "nothing near the root may ever be deleted");
  // A path that climbs above the root loses its leading slash there: the name that stands in the
  // place of the root does not count.
  const bool isHeadless = isAboveRoot && !names.empty();
  demandEqual(allowed, isDeepEnough({names.begin() + (isHeadless ? 1 : 0), names.end()}) ? 1 : 0,
              "what is deep enough may be deleted");
  std::string form;
  for (const std::string& name : names) form += "/" + name;
  demandEqual(canonical, form.substr(isHeadless ? 1 : 0), "the canonical path");
  if (!isAboveRoot && !names.empty()) demandEqual(again, canonical, "the same again");
});

}  // namespace
