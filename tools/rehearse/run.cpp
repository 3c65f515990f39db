#include "tools/rehearse/run.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/rehearse/pointersto.h"

namespace {

/// Ignores a signal for a while, as system(3) does for those of the terminal.
class IgnoredSignal {
 public:
  explicit IgnoredSignal(int number) : m_number(number) {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(m_number, &ignore, &m_before);
  }
  ~IgnoredSignal() { ::sigaction(m_number, &m_before, nullptr); }
  IgnoredSignal(const IgnoredSignal&) = delete;
  IgnoredSignal& operator=(const IgnoredSignal&) = delete;

  /// Adds the signal to `set` unless it was ignored before: the command starts as its caller would
  /// have started it.
  void addTo(sigset_t& set) const {
    if (m_before.sa_handler != SIG_IGN) ::sigaddset(&set, m_number);
  }

 private:
  int m_number;
  struct sigaction m_before = {};
};

/// The attributes of a child in which signals are no longer ignored.
class SpawnAttributes {
 public:
  explicit SpawnAttributes(const sigset_t& defaults) {
    ::posix_spawnattr_init(&m_attributes);
    ::posix_spawnattr_setsigdefault(&m_attributes, &defaults);
    ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnAttributes() { ::posix_spawnattr_destroy(&m_attributes); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &m_attributes; }

 private:
  posix_spawnattr_t m_attributes = {};
};

void unset(std::vector<std::string>& environment, const std::string& name) {
  const std::string head = name + "=";
  for (auto entry = environment.begin(); entry != environment.end();) {
    entry = entry->compare(0, head.size(), head) == 0 ? environment.erase(entry) : entry + 1;
  }
}

void set(std::vector<std::string>& environment, const std::string& name, const std::string& value) {
  unset(environment, name);
  environment.push_back(name + "=" + value);
}

std::string libraryPath(const std::string& library) {
  const char* before = std::getenv("LD_LIBRARY_PATH");
  const std::string own = std::filesystem::absolute(library);
  return before == nullptr || *before == '\0' ? own : own + ":" + before;
}

std::vector<std::string> makeEnvironment(const Arguments& arguments,
                                         const RehearsalFolder& folder) {
  std::vector<std::string> environment;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    environment.emplace_back(*entry);
  }
  set(environment, "LD_LIBRARY_PATH", libraryPath(arguments.library));
  set(environment, "KELCOM_LOOPBACK_OUTBOX", folder.path());
  set(environment, "TANEX_LOG", folder.actionLog());
  if (arguments.trace) set(environment, "TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE");
  if (arguments.script.empty()) {
    // The options alone say what is rehearsed.
    unset(environment, "KELCOM_LOOPBACK_SCRIPT");
  } else {
    set(environment, "KELCOM_LOOPBACK_SCRIPT", std::filesystem::absolute(arguments.script));
  }
  return environment;
}

void requireFile(const std::string& path, int access, const char* what) {
  if (!std::filesystem::exists(path)) {
    throw std::runtime_error(std::string("no ") + what + ": " + path);
  }
  if (!std::filesystem::is_regular_file(path) || ::access(path.c_str(), access) != 0) {
    throw std::runtime_error(std::string("the ") + what + " cannot be used: " + path);
  }
}

int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error(std::string("waitpid: ") + std::strerror(errno));
  }
  return status;
}

}  // namespace

void requireRunnable(const Arguments& arguments) {
  requireFile(arguments.command, X_OK, "command");
  requireFile(arguments.library + "/libkelcom.so", R_OK, "stand-in library");
}

int runCommand(const Arguments& arguments, const RehearsalFolder& folder) {
  std::vector<std::string> words = arguments.words;
  words.insert(words.begin(), arguments.command);
  std::vector<std::string> environment = makeEnvironment(arguments, folder);

  const IgnoredSignal interrupt(SIGINT);
  const IgnoredSignal quit(SIGQUIT);
  sigset_t defaults;
  ::sigemptyset(&defaults);
  interrupt.addTo(defaults);
  quit.addTo(defaults);
  const SpawnAttributes attributes(defaults);

  pid_t child = -1;
  const int error = ::posix_spawn(&child, arguments.command.c_str(), nullptr, attributes.get(),
                                  pointersTo(words).data(), pointersTo(environment).data());
  if (error != 0) {
    throw std::runtime_error("cannot run " + arguments.command + ": " + std::strerror(error));
  }
  return waitFor(child);
}
