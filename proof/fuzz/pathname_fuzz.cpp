// The parts of a path name: the input is the path.

#include <cstring>

#include "common/base/pathparts.h"
#include "common/files/pathform.h"
#include "fuzz/target.h"

namespace {

constexpr std::size_t kPathLimit = 4095;

/// The judge of `justifyPath`: replaces double slashes until there are none.
std::string justified(std::string path) {
  for (std::size_t at = path.find("//"); at != std::string::npos; at = path.find("//")) {
    path.erase(at, 1);
  }
  return path.size() > 1 && path.back() == '/' ? path.substr(0, path.size() - 1) : path;
}

void tryBaseName(const std::string& path) {
  std::string dir = "left over";
  const std::string base = __xpg_basename(path, dir);
  demand(base.find('/') == std::string::npos, "a base name has no slash");
  const std::string seen = path.substr(0, kPathLimit);
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
  const std::string bare =
      !path.empty() && path.back() == '/' ? path.substr(0, path.size() - 1) : path;
  std::vector<char> editable = exactCopy(path + '\0');
  eraseLastSlash(editable.data());
  demandEqual(std::string(editable.data()), bare, "one trailing slash goes, in place");
  demandEqual(eraseLastSlash(path.c_str()), bare, "one trailing slash goes");

  const char* slash = std::strrchr(bare.c_str(), '/');
  const std::string parent =
      slash == nullptr || slash == bare.c_str() ? "/" : std::string(bare.c_str(), slash);
  demandEqual(parentPath(path), parent, "what precedes the last slash is the parent");
}

}  // namespace

void tryInput(Input input) {
  const std::string path = input.longWord();
  tryBaseName(path);
  tryParent(path);
  demandEqual(justifyPath(path), justified(path), "runs of slashes become one");
  demandEqual(isFullPath(path), path.substr(0, 1) == "/" ? 1 : 0, "a full path begins at the root");
}
