#include "inherited/caller.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "sweep/scenario.h"

namespace fs = std::filesystem;

namespace {

// Where the odd working directories are.
const char* const kFolders = "/srv/folders";
constexpr const char* kNames[] = {"", "deleted", "unreadable", "deep", "detached"};

std::string pathOf(Folder folder) {
  if (folder == Folder::kCase) return kCaseFolder;
  return std::string(kFolders) + "/" + kNames[static_cast<int>(folder)];
}

// --- signals -------------------------------------------------------------------------------------

/// The signals whose disposition and mask nobody may change.
constexpr std::uint64_t kFixed = bitOf(SIGKILL) | bitOf(SIGSTOP);

bool handDownSignals(const Caller& caller) {
  const std::uint64_t blocked = caller.blocked | caller.pending;
  if (::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &blocked, nullptr, kBytesOfSet) != 0) return false;
  for (int signal = 1; signal <= kSignals; ++signal) {
    if ((bitOf(signal) & kFixed) != 0) continue;
    KernelAction action = {};
    action.handler = (caller.ignored & bitOf(signal)) != 0 ? SIG_IGN : SIG_DFL;
    if (::syscall(SYS_rt_sigaction, signal, &action, nullptr, kBytesOfSet) != 0) return false;
    if ((caller.pending & bitOf(signal)) == 0) continue;
    if (::syscall(SYS_tgkill, ::getpid(), ::gettid(), signal) != 0) return false;
  }
  return true;
}

// --- descriptors ---------------------------------------------------------------------------------

bool replace(int stream, int file) {
  return file >= 0 && ::dup2(file, stream) == stream && ::close(file) == 0;
}

bool reopenWrongWay(int stream) {
  if (stream == STDIN_FILENO) return replace(stream, ::open("/dev/null", O_WRONLY));
  return replace(stream, ::open(stream == STDOUT_FILENO ? kOutputFile : kErrorFile, O_RDONLY));
}

bool breakPipe(int stream) {
  int ends[2];
  return ::pipe(ends) == 0 && ::close(ends[0]) == 0 && replace(stream, ends[1]);
}

bool handDownStream(int stream, Stream kind) {
  switch (kind) {
    case Stream::kOrdinary:
    case Stream::kClosed:  // last of all, so that none of the others takes its number
      return true;
    case Stream::kWrongWay:
      return reopenWrongWay(stream);
    case Stream::kFull:
      return replace(stream, ::open("/dev/full", O_RDWR));
    case Stream::kBrokenPipe:
      return breakPipe(stream);
  }
  return false;
}

bool handDownStreams(const Caller& caller) {
  for (int stream = 0; stream < kStreams; ++stream) {
    if (!handDownStream(stream, caller.streams[static_cast<std::size_t>(stream)])) return false;
  }
  return true;
}

bool closeStreams(const Caller& caller) {
  for (int stream = 0; stream < kStreams; ++stream) {
    if (caller.streams[static_cast<std::size_t>(stream)] != Stream::kClosed) continue;
    if (::close(stream) != 0) return false;
  }
  return true;
}

// --- everything else -----------------------------------------------------------------------------

bool handDownLimits(const Caller& caller) {
  for (const auto& [number, soft] : caller.limits) {
    const auto resource = static_cast<__rlimit_resource>(number);
    rlimit limit = {};
    if (::getrlimit(resource, &limit) != 0) return false;
    limit.rlim_cur = soft;
    if (::setrlimit(resource, &limit) != 0) return false;
  }
  return true;
}

/// What lets the super-user read everything is lost when the next program starts.
bool giveUpReading() {
  return ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) == 0 &&
         ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0) == 0;
}

bool enterFolder(Folder folder) {
  if (::chdir(pathOf(folder).c_str()) != 0) return false;
  switch (folder) {
    case Folder::kCase:
      return true;
    case Folder::kDeleted:
      return ::rmdir(pathOf(folder).c_str()) == 0;
    case Folder::kUnreadable:
      return ::chmod(".", 0) == 0 && giveUpReading();
    case Folder::kDeep:
      while (::chdir(std::string(NAME_MAX, 'd').c_str()) == 0) continue;
      return errno == ENOENT;
    case Folder::kDetached:
      return ::umount2(pathOf(folder).c_str(), MNT_DETACH) == 0;
  }
  return false;
}

bool takeTerminal(const std::string& name) {
  const int terminal = ::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  return terminal >= 0 && ::ioctl(terminal, TIOCSCTTY, 0) == 0;
}

bool handDownSession(Session session, const std::string& terminal) {
  if (session == Session::kCallers) return true;
  return ::setsid() > 0 && (session == Session::kNoTerminal || takeTerminal(terminal));
}

// --- what has to be there ------------------------------------------------------------------------

void check(bool isDone, const char* what) {
  if (!isDone) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

/// Deeper than a name may be: one step after the other.
void makeDeep(const std::string& top) {
  constexpr int kLevels = PATH_MAX / NAME_MAX + 2;
  const std::string name(NAME_MAX, 'd');
  int place = ::open(top.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < kLevels; ++level) {
    ::mkdirat(place, name.c_str(), 0755);
    const int next = ::openat(place, name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    ::close(place);
    place = next;
  }
  check(place >= 0, "mkdirat");
  ::close(place);
}

void makeFolder(Folder folder) {
  if (folder == Folder::kCase) return;
  const std::string path = pathOf(folder);
  fs::remove_all(path);
  fs::create_directories(path);
  if (folder == Folder::kDeep) makeDeep(path);
  if (folder == Folder::kDetached) {
    check(::mount("none", path.c_str(), "tmpfs", 0, "size=1m") == 0, "mount");
  }
}

// --- what must be seen ---------------------------------------------------------------------------

bool isAsHandedDown(Stream kind, int stream, const StreamState& state) {
  const bool isInput = stream == STDIN_FILENO;
  switch (kind) {
    case Stream::kOrdinary:
      return state.isOpen && state.access == (isInput ? O_RDONLY : O_WRONLY) && !state.isBroken;
    case Stream::kClosed:
      return !state.isOpen;
    case Stream::kWrongWay:
      return state.isOpen && state.access == (isInput ? O_WRONLY : O_RDONLY);
    case Stream::kFull: {
      constexpr unsigned kMemoryDevices = 1;
      constexpr unsigned kFullDevice = 7;
      return state.isOpen && state.device == makedev(kMemoryDevices, kFullDevice);
    }
    case Stream::kBrokenPipe:
      return state.isOpen && state.isBroken;
  }
  return false;
}

bool isIn(Folder folder, const Observation& observation) {
  switch (folder) {
    case Folder::kCase:
      return std::strcmp(observation.folder, kCaseFolder) == 0;
    case Folder::kDeleted:
      return observation.folderError == ENOENT;
    case Folder::kUnreadable:
      return (observation.folderMode & 0777) == 0 && !observation.canReadFolder;
    case Folder::kDeep:
      return observation.folderError == ENAMETOOLONG;
    case Folder::kDetached:
      return std::strncmp(observation.folder, "(unreachable)", 13) == 0;
  }
  return false;
}

bool isSession(Session session, const Observation& observation) {
  if (session == Session::kCallers) return true;
  return observation.leadsSession && observation.hasTerminal == (session == Session::kTerminal);
}

bool areWords(const Caller& caller, const Observation& observation) {
  std::size_t bytes = caller.program.size() + 1;
  for (const std::string& word : caller.words) bytes += word.size() + 1;
  return observation.words == caller.words.size() + 1 && observation.wordBytes == bytes;
}

bool isEnvironment(const Caller& caller, const Observation& observation) {
  std::uint64_t hash = kHashOfNothing;
  for (const std::string& entry : caller.environment) hash = hashOf(entry.c_str(), hash);
  return observation.environment == hash;
}

}  // namespace

Surroundings::Surroundings(const Caller& caller) : m_folder(caller.folder) {
  makeFolder(caller.folder);
  if (caller.session != Session::kTerminal) return;
  m_pair = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  check(m_pair >= 0 && ::grantpt(m_pair) == 0 && ::unlockpt(m_pair) == 0, "posix_openpt");
  m_terminal = ::ptsname(m_pair);
}

Surroundings::~Surroundings() {
  if (m_pair >= 0) ::close(m_pair);
  std::error_code ignored;
  if (m_folder != Folder::kCase) fs::remove_all(pathOf(m_folder), ignored);
}

bool handDown(const Caller& caller, const Surroundings& surroundings, Testimony* testimony) {
  Observation* observation = addObservation(testimony, Role::kCaller);
  const bool isDone = observation != nullptr &&
                      handDownSession(caller.session, surroundings.terminal()) &&
                      handDownStreams(caller) && enterFolder(caller.folder) &&
                      handDownSignals(caller) && ::setpriority(PRIO_PROCESS, 0, caller.nice) == 0 &&
                      closeStreams(caller) && handDownLimits(caller);
  ::umask(caller.mask);
  if (isDone) observe(*observation);
  return isDone;
}

std::vector<std::string> unseen(const Caller& caller, const Observation& observation,
                                bool isLoaded) {
  std::vector<std::string> missing;
  const auto expect = [&missing](bool isSeen, const char* what) {
    if (!isSeen) missing.emplace_back(what);
  };
  expect(observation.ignored == caller.ignored, "ignored signals");
  expect(observation.blocked == (caller.blocked | caller.pending), "blocked signals");
  expect(observation.pending == caller.pending, "pending signals");
  for (int stream = 0; stream < kStreams; ++stream) {
    const auto at = static_cast<std::size_t>(stream);
    expect(isAsHandedDown(caller.streams[at], stream, observation.streams[at]), "descriptors");
  }
  for (const auto& [number, limit] : caller.limits) {
    expect(observation.limits[number] == limit, "limits");
  }
  expect(observation.mask == caller.mask, "file-creation mask");
  expect(observation.nice == caller.nice, "niceness");
  expect(isSession(caller.session, observation), "session");
  if (!isLoaded) return missing;
  // The right to read is lost when the command starts.
  expect(isIn(caller.folder, observation), "working directory");
  expect(areWords(caller, observation), "argument list");
  expect(isEnvironment(caller, observation), "environment");
  return missing;
}
