#include "common/base/pathparts.h"

#include <cstring>

#include "common/base/format.h"

namespace {

/// PATH_MAX of Linux: the longest path that a system call takes, terminator included.
constexpr std::size_t kPathBytes = 4096;

}  // namespace

int eraseLastSlash(char* path) {
  if (path == nullptr) return -1;
  const std::size_t length = std::strlen(path);
  if (length > 0 && path[length - 1] == '/') path[length - 1] = '\0';
  return 0;
}

std::string eraseLastSlash(const char* path) {
  std::string text = path == nullptr ? "" : path;
  if (!text.empty() && text.back() == '/') text.pop_back();
  return text;
}

std::string parentPath(const char* path) {
  if (path == nullptr) return "";
  std::string parent = eraseLastSlash(path);
  const std::size_t slash = parent.rfind('/');
  if (slash == std::string::npos || slash == 0) return "/";
  parent.resize(slash);
  return parent;
}

std::string parentPath(const std::string& path) { return parentPath(C(path)); }

std::string __xpg_basename(const char* path, std::string& dir) {
  // Copied before `dir` changes: a caller may ask for the parts of the very text that it passes.
  std::string text;
  if (path != nullptr) text.assign(path, strnlen(path, kPathBytes - 1));
  dir.clear();
  const std::size_t slash = text.rfind('/');
  if (slash == std::string::npos) return text;
  dir.assign(text, 0, slash == 0 ? 1 : slash);  // the root keeps its slash
  return text.substr(slash + 1);
}

std::string __xpg_basename(const std::string& path, std::string& dir) {
  return __xpg_basename(C(path), dir);
}

std::string __xpg_basename(const char* path) {
  std::string dir;
  return __xpg_basename(path, dir);
}

std::string __xpg_basename(const std::string& path) { return __xpg_basename(C(path)); }

std::string retrieveExt(const char* path, std::string& name) {
  name = __xpg_basename(path);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos) return "";
  std::string ext = name.substr(dot + 1);
  name.resize(dot);
  return ext;
}

std::string retrieveExt(const char* path) {
  std::string name;
  return retrieveExt(path, name);
}

std::string retrieveName(const char* path, std::string& ext) {
  std::string name;
  ext = retrieveExt(path, name);
  return name;
}

std::string retrieveName(const char* path) {
  std::string ext;
  return retrieveName(path, ext);
}
