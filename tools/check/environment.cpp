#include "tools/check/environment.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/base/pathparts.h"
#include "common/files/filesystem.h"
#include "common/files/removal.h"
#include "log/CLog.h"
#include "tools/common/language.h"
#include "tools/common/listed.h"

namespace check {

namespace {

constexpr char kLibrary[] = "libkelcom.so";

/// Where the command looks for the library, see CMakeLists.txt.
constexpr const char* kLibraryFolders[] = {"/usr/local/lib", "/opt/QZKBkel/lib"};

/// What the action log and its older generation take, nearly.
constexpr unsigned long long kLogBytes = 2ULL * 512000;

std::string environmentOf(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// Why the caller may not do with `path` what `mode` says, see access(2); empty where it may.
std::string refusal(const std::string& path, int mode) {
  return isAccessible(path.c_str(), mode) != 0 ? "" : std::strerror(errno);
}

bool isPlainPath(const std::string& path) {
  constexpr char kPlain[] = "/._-0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  return path.find_first_not_of(kPlain) == std::string::npos;
}

void checkLibrary(Faults& faults) {
  std::vector<std::string> folders;
  const std::string first = environmentOf("LD_LIBRARY_PATH");
  for (std::size_t at = 0; !first.empty() && at <= first.size();) {
    const std::size_t end = std::min(first.find_first_of(":;", at), first.size());
    // A name without a byte is that of the current folder; see ld.so(8).
    folders.push_back(end > at ? first.substr(at, end - at) : ".");
    at = end + 1;
  }
  folders.insert(folders.end(), std::begin(kLibraryFolders), std::end(kLibraryFolders));
  const auto hasLibrary = [](const std::string& folder) {
    return isFile(folder + '/' + kLibrary) != 0;
  };
  if (std::any_of(folders.begin(), folders.end(), hasLibrary)) return;
  FaultsOf(kLibrary, faults)
      .warning(0,
               translated("is not in %s: the loader would refuse the command, with the status 127",
                          {listedAsChoice(folders)}));
}

/// The action log as the command would choose it.
void checkLog(Faults& faults) {
  CLog log;
  log.init(nullptr, nullptr);
  const std::string& path = log.path();
  if (path.empty()) {
    FaultsOf("TANEX_LOG", faults).warning(0, translated("is empty: a run keeps no record"));
    return;
  }
  FaultsOf own(path, faults);
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  std::string reason = isDir(path) != 0 ? translated("is a directory") : "";
  if (reason.empty() && isFile(path) != 0) reason = refusal(path, W_OK);
  if (reason.empty() && isFile(path) == 0) reason = refusal(folder, W_OK | X_OK);
  if (!reason.empty()) {
    own.warning(0, translated("cannot be written: %s: a run keeps no record", {reason}));
  }
  if (path.front() != '/' || !isPlainPath(path)) {
    own.warning(
        0, translated("is used in a shell command when the log is rotated: it must be an absolute "
                      "path of letters, digits and the characters /._-"));
  }
  struct statvfs space = {};
  if (::statvfs(folder.c_str(), &space) != 0 || space.f_blocks == 0) return;
  const unsigned long long left = space.f_bavail * static_cast<unsigned long long>(space.f_frsize);
  if (left < kLogBytes) {
    own.warning(0, translated("has %s bytes left on its file system, and takes %s with its older "
                              "generation",
                              {std::to_string(left), std::to_string(kLogBytes)}));
  }
}

void checkCollectionCommands(Faults& faults) {
  for (const char* program : {
#include "sendevent/collectioncommands.inc"
       }) {
    if (isFile(program) == 0) {
      FaultsOf(program, faults).warning(0, translated("does not exist: it would collect nothing"));
    } else if (isExecutable(program) == 0) {
      FaultsOf(program, faults)
          .warning(0, translated("cannot be executed: it would collect nothing"));
    }
  }
}

/// The folder of the temporary directory, see tempnam(3).
void checkTemporaryFolder(Faults& faults) {
  const std::string chosen = environmentOf("TMPDIR");
  const std::string folder = isDir(chosen) != 0 ? chosen : "/tmp";
  FaultsOf own(folder, faults);
  const std::string reason = refusal(folder, W_OK | X_OK);
  if (!reason.empty()) {
    own.warning(
        0, translated("can hold no temporary directory: %s; an incident ends with 78", {reason}));
  }
  if (!isPlainPath(folder)) {
    own.warning(0, translated("is put into shell commands as it is: it must have letters, digits "
                              "and the characters /._- alone"));
  }
  if (isAllowDelete(folder + "/swconXXXXXX_") == 0) {
    own.warning(
        0, translated("is too near to the root: its temporary directory would not be removed"));
  }
}

}  // namespace

void checkEnvironment(bool isIncident, Faults& faults) {
  checkLibrary(faults);
  checkLog(faults);
  if (!isIncident) return;
  checkCollectionCommands(faults);
  checkTemporaryFolder(faults);
}

}  // namespace check
