#include "tools/rehearse/run.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "loopback/script.h"
#include "tools/common/language.h"
#include "tools/common/retold.h"
#include "tools/rehearse/ignoredsignal.h"
#include "tools/rehearse/pointersto.h"
#include "tools/rehearse/progressline.h"

namespace {

/// What is done with the descriptors of a child before it begins.
class SpawnActions {
 public:
  SpawnActions() { ::posix_spawn_file_actions_init(&m_actions); }
  ~SpawnActions() { ::posix_spawn_file_actions_destroy(&m_actions); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  /// What the child prints goes to standard error.
  void divertOutput() {
    ::posix_spawn_file_actions_adddup2(&m_actions, STDERR_FILENO, STDOUT_FILENO);
  }

  const posix_spawn_file_actions_t* get() const { return &m_actions; }

 private:
  posix_spawn_file_actions_t m_actions = {};
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
  const std::string own = absolutePath(library);
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
    set(environment, "KELCOM_LOOPBACK_SCRIPT", absolutePath(arguments.script));
  }
  return environment;
}

/// `what`  of the path, a message.
void requireFile(const std::string& path, int access, const char* what) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    const std::string reason = errno == ENOENT ? "" : std::string(": ") + std::strerror(errno);
    throw std::runtime_error(translated("no %s: %s", {translated(what), path + reason}));
  }
  const bool isRegular = S_ISREG(status.st_mode);
  if (isRegular && ::access(path.c_str(), access) == 0) return;
  const std::string reason = isRegular ? std::strerror(errno) : translated("not a regular file");
  throw std::runtime_error(
      translated("the %s cannot be used: %s: %s", {translated(what), path, reason}));
}

/// The loader takes such a folder for several, or for another one, and would go on to the real
/// library.
void requirePlainName(const std::string& library) {
  const std::string path = absolutePath(library);
  const std::size_t at = path.find_first_of(":;$");
  if (at == std::string::npos) return;
  throw std::runtime_error(translated("the loader cannot be given the folder %s: its path has '%s'",
                                      {path, path.substr(at, 1)}));
}

/// What is wrong with a script, in the language that is spoken.
std::string reasonIn(const std::runtime_error& error) {
  return retold(
      error.what(),
      {marked("%s: expected '%s'"), marked("%s: '%s' is no number"),
       marked("%s: '%s' does not fit in 32 bits"),
       marked("%s: '%s' is negative, which a request code never is"),
       marked("%s: '%s' is no kind of line"), marked("%s: '%s' is no kind of call"),
       marked("%s: '%s' is not one of 0 to 86400 seconds"),
       marked("%s: cannot be read: longer than 1 MiB"), marked("%s: cannot be read: %s")});
}

/// The script is read once more by the stand-in: what can be read only once, or never to its end,
/// is no script.
void requireScript(const std::string& path) {
  requireFile(path, R_OK, marked("script"));
  try {
    readScript(path.c_str());
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(translated("the script cannot be used: %s", {reasonIn(error)}));
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
  requireFile(arguments.command, X_OK, marked("command"));
  requireFile(arguments.library + "/libkelcom.so", R_OK, marked("stand-in library"));
  requirePlainName(arguments.library);
  if (!arguments.script.empty()) requireScript(arguments.script);
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
  SpawnActions actions;
  if (arguments.json) actions.divertOutput();

  pid_t child = -1;
  const int error =
      ::posix_spawn(&child, arguments.command.c_str(), actions.get(), attributes.get(),
                    pointersTo(words).data(), pointersTo(environment).data());
  if (error != 0) {
    throw std::runtime_error(
        translated("cannot run %s: %s", {arguments.command, std::strerror(error)}));
  }
  const ProgressLine progress(folder.record());
  return waitFor(child);
}
