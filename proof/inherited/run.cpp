#include <fcntl.h>
#include <linux/capability.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include "inherited/judge.h"

namespace fs = std::filesystem;

static_assert(kFixedSignals == (bitOf(SIGKILL) | bitOf(SIGSTOP)));

namespace {

// --- signals -------------------------------------------------------------------------------------

bool handDownSignals(const Caller& caller) {
  const std::uint64_t blocked = caller.blocked | caller.pending;
  if (::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &blocked, nullptr, kBytesOfSet) != 0) return false;
  for (int signal = 1; signal <= kSignals; ++signal) {
    if ((bitOf(signal) & kFixedSignals) != 0) continue;
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

bool breakPipe(int stream) {
  int ends[2];
  return ::pipe(ends) == 0 && ::close(ends[0]) == 0 && replace(stream, ends[1]);
}

bool handDownStream(int stream, Stream kind) {
  const char* output = stream == STDOUT_FILENO ? kOutputFile : kErrorFile;
  switch (kind) {
    case Stream::kWrongWay:
      return replace(stream, stream == STDIN_FILENO ? ::open("/dev/null", O_WRONLY)
                                                    : ::open(output, O_RDONLY));
    case Stream::kFull:
      return replace(stream, ::open("/dev/full", O_RDWR));
    case Stream::kBrokenPipe:
      return breakPipe(stream);
    default:  // what is closed is closed last of all, so that none of the others takes its number
      return true;
  }
}

bool isAsHandedDown(int stream, Stream kind, const StreamState& state) {
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

/// Does something for each of the descriptors 0 to 2. Returns whether it was done for all.
template <class Action>
bool forStreams(const Caller& caller, const Action& action) {
  bool isDone = true;
  for (int stream = 0; isDone && stream < kStreams; ++stream) {
    isDone = action(stream, caller.stream(stream));
  }
  return isDone;
}

// --- the working directory -----------------------------------------------------------------------

std::string pathOf(Folder folder) {
  if (folder == Folder::kCase) return kCaseFolder;
  return std::string("/srv/folders/") + kFolderNames[static_cast<int>(folder)];
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

bool enterFolder(Folder folder) {
  const std::string path = pathOf(folder);
  if (::chdir(path.c_str()) != 0) return false;
  switch (folder) {
    case Folder::kCase:
      return true;
    case Folder::kDeleted:
      return ::rmdir(path.c_str()) == 0;
    case Folder::kUnreadable:
      // What lets the super-user read everything is lost when the next program starts.
      return ::chmod(".", 0) == 0 && ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) == 0 &&
             ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0) == 0;
    case Folder::kDeep:
      while (::chdir(std::string(NAME_MAX, 'd').c_str()) == 0) continue;
      return errno == ENOENT;
    case Folder::kDetached:
      return ::umount2(path.c_str(), MNT_DETACH) == 0;
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

bool handDownSession(Session session, const std::string& name) {
  if (session == Session::kCallers) return true;
  if (::setsid() < 0) return false;
  if (session == Session::kNoTerminal) return true;
  const int terminal = ::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  return terminal >= 0 && ::ioctl(terminal, TIOCSCTTY, 0) == 0;
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

/// What has to be there for a caller: its working directory and its terminal. One object a run;
/// both go with it.
class Surroundings {
 public:
  explicit Surroundings(const Caller& caller) : m_folder(caller.folder) {
    if (m_folder != Folder::kCase) {
      const std::string path = pathOf(m_folder);
      fs::remove_all(path);
      fs::create_directories(path);
      if (m_folder == Folder::kDeep) makeDeep(path);
      if (m_folder == Folder::kDetached) mountMemory(path.c_str());
    }
    if (caller.session != Session::kTerminal) return;
    m_pair = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    check(m_pair >= 0 && ::grantpt(m_pair) == 0 && ::unlockpt(m_pair) == 0, "posix_openpt");
    m_terminal = ::ptsname(m_pair);
  }

  ~Surroundings() {
    if (m_pair >= 0) ::close(m_pair);
    std::error_code ignored;
    if (m_folder != Folder::kCase) fs::remove_all(pathOf(m_folder), ignored);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  /// The file of the terminal; empty where there is none.
  const std::string& terminal() const { return m_terminal; }

 private:
  Folder m_folder;
  int m_pair = -1;  // the other side of the terminal
  std::string m_terminal;
};

/// For the process that is about to become the command: makes everything as the caller has it, and
/// writes down what came of it. Returns whether it could.
bool handDown(const Caller& caller, const Surroundings& surroundings) {
  const auto closeStream = [](int stream, Stream kind) {
    return kind != Stream::kClosed || ::close(stream) == 0;
  };
  const bool isDone = handDownSession(caller.session, surroundings.terminal()) &&
                      forStreams(caller, handDownStream) && enterFolder(caller.folder) &&
                      handDownSignals(caller) && ::setpriority(PRIO_PROCESS, 0, caller.nice) == 0 &&
                      forStreams(caller, closeStream) && handDownLimits(caller);
  ::umask(caller.mask);
  return isDone && observe(testimony(), Role::kCaller) != nullptr;
}

// --- one run -------------------------------------------------------------------------------------

void placeLink(const std::string& target, const fs::path& name) {
  fs::create_directories(name.parent_path());
  fs::remove(name);
  fs::create_symlink(target, name);
}

/// The witness in the place of the collection commands, and the closed library where the maker
/// installs it, and for some where only LD_LIBRARY_PATH leads.
void placePrograms(const Situation& situation) {
  for (const char* name : {"tanexcc", "tanexcs"}) {
    placeLink(kWitnessProgram, fs::path("/opt/dovra/tanex/bin") / name);
  }
  placeLink(kWitnessLibrary, fs::path(kMakersFolder) / "libkelcom.so");
  fs::remove_all(kOwnLibraryFolder);
  if (!situation.isLibraryElsewhere) return;
  placeLink(kWitnessLibrary, fs::path(kOwnLibraryFolder) / "libkelcom.so");
}

/// The folder of temporary directories, with what odd values of TMPDIR lead to.
void makePlaces(const TempPlace& temp) {
  const fs::path folder = kTempFolder;
  fs::remove_all(folder);
  fs::create_directories(folder / "area");
  ::close(::creat((folder / "file").c_str(), 0600));
  fs::create_symlink("/nonexistent", folder / "broken");
  fs::create_symlink("/tmp", folder / "to-tmp");
  fs::create_symlink("area", folder / "to-area");
  if (!fs::exists(temp.canonical + "/")) fs::create_directories(temp.canonical);
}

/// What lies where a temporary directory may come to be.
std::set<std::string> itemsAround() {
  std::set<std::string> items;
  for (const char* folder : {"/tmp", kTempFolder}) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) items.insert(entry.path());
  }
  for (const char* folder : {kStage, "/srv/folders"}) {
    if (!fs::exists(folder)) continue;
    for (const auto& entry : fs::directory_iterator(folder)) {
      items.insert(entry.path());
      // What a directory that is too shallow to be removed has in it.
      if (entry.path().filename().string().compare(0, 5, "swcon") != 0) continue;
      for (const auto& inner : fs::directory_iterator(entry)) items.insert(inner.path());
    }
  }
  return items;
}

std::vector<std::string> newItems(const std::set<std::string>& before) {
  const std::set<std::string> now = itemsAround();
  std::vector<std::string> items;
  std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                      std::back_inserter(items));
  return items;
}

}  // namespace

Findings unseen(const Caller& caller, const Observation& observation, bool isLoaded) {
  Findings missing;
  missing.expect(observation.ignored == caller.ignored, "ignored signals");
  missing.expect(observation.blocked == (caller.blocked | caller.pending), "blocked signals");
  missing.expect(observation.pending == caller.pending, "pending signals");
  const auto isSeen = [&observation](int stream, Stream kind) {
    return isAsHandedDown(stream, kind, observation.streams[stream]);
  };
  missing.expect(forStreams(caller, isSeen), "descriptors");
  for (const auto& [number, limit] : caller.limits) {
    missing.expect(observation.limits[number] == limit, "limits");
  }
  missing.expect(observation.mask == caller.mask, "file-creation mask");
  missing.expect(observation.nice == caller.nice, "niceness");
  missing.expect(isSession(caller.session, observation), "session");
  if (!isLoaded) return missing;
  // The right to read is lost when the command starts.
  missing.expect(isIn(caller.folder, observation), "working directory");
  missing.expect(areWords(caller, observation), "argument list");
  missing.expect(isEnvironment(caller, observation), "environment");
  return missing;
}

void enterInheritedStage(const std::string& command) {
  const fs::path shell = fs::canonical("/bin/sh");
  enterStage({{kCommandFile, command},
              {kSeededFile, SEEDED_COMMAND},
              {kWitnessLibrary, KELCOM_LIBRARY},
              {kWitnessProgram, WITNESS_PROGRAM},
              {kRealShell, shell}});
  mountMemory("/var/opt");
  placeLink("/srv/log", "/var/opt/QZKBsoftmsg/log");
  check(::mount(kWitnessProgram, shell.c_str(), nullptr, MS_BIND, nullptr) == 0,
        "mount(" + shell.string() + ")");
}

Run runIn(const Situation& situation, bool isBlunt) {
  const Caller caller = isBlunt ? undisturbed(*situation.scenario).caller : situation.caller;
  Orders orders = {};
  situation.zoneCall.copy(orders.zoneCall, sizeof orders.zoneCall - 1);
  situation.zone.copy(orders.zone, sizeof orders.zone - 1);
  prepareStage(*situation.scenario, orders);
  placePrograms(situation);
  makePlaces(situation.temp);
  const Surroundings surroundings(caller);
  const std::set<std::string> before = itemsAround();
  Launch launch;
  launch.program = situation.bug.empty() ? kCommandFile : kSeededFile;
  launch.words = caller.words;
  launch.words.insert(launch.words.begin(), caller.program);
  launch.environment = caller.environment;
  launch.handDown = [&] { return handDown(caller, surroundings); };

  Run run;
  run.begin = std::time(nullptr);
  Trace trace = runPlainly(launch);
  run.end = std::time(nullptr);
  run.left = newItems(before);
  run.outcome = collectOutcome(std::move(trace));
  const Testimony& found = *testimony();
  const int count = std::min<int>(found.count, kMostObservations);
  run.observations.assign(found.observations, found.observations + count);
  run.isZoneChanged = !situation.zoneCall.empty() && found.orders.zoneCall[0] == '\0';
  struct stat status = {};
  if (::stat(kActionLog, &status) == 0) run.logMode = status.st_mode;
  for (const std::string& item : run.left) fs::remove_all(item);
  return run;
}

const Observation* Run::find(Role role) const {
  for (const Observation& observation : observations) {
    if (observation.role == role) return &observation;
  }
  return nullptr;
}
