#ifndef TANEXICS_TESTS_E2E_SUPPORT_MACHINE_H
#define TANEXICS_TESTS_E2E_SUPPORT_MACHINE_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/childrun.h"
#include "support/scratch.h"

/// Variables of the environment, beside and instead of the usual ones; no value takes one away.
using Environment = std::map<std::string, std::optional<std::string>>;

/// What is done in the command's process last of all before the command takes it over: closing
/// descriptors, dropping privileges, more mounts. False fails the test.
using Prepare = std::function<bool()>;

/// How the command is called, and in which circumstances.
struct Call {
  std::vector<std::string> arguments;  // after argument 0

  /// What the loopback answers, see loopback/script.h; "" for its defaults.
  std::string script = "";

  bool trace = false;
  Environment environment = {};
  Prepare prepare = nullptr;
  std::string argument0 = "tanexics";

  /// A program, and its first arguments, that runs the command, whose path and arguments follow.
  std::vector<std::string> wrapper = {};

  // The same call, but for this.
  Call traced() const;
  Call answered(const std::string& answers) const;
  Call with(const Environment& variables) const;
  Call prepared(const Prepare& preparation) const;
};

/// Sends the files of the standard list, as incident 1 and as the event.
Call incidentCall();
Call eventCall();

/// What a run left.
struct RunResult {
  bool isTraced = false;
  ChildResult child;
  std::string log;        // /case/action.log as `Machine::log` gives it, "" where there is none
  std::string exchanges;  // the loopback's record, one call a line, keys sorted; "" for none
};

/// A file system and a host name for the command alone, so that nothing of the machine under the
/// test matters and nothing is left on it. The command sees:
///
///   /build, /kelcom, /testkelcom   the build folder, and the folders of the two libraries
///   /case                          the working directory, with a.txt (6 bytes), b.syslog.txt (23),
///                                  c.txt (14), list (these three) and event.def (all keys, "err")
///   /opt/dovra/tanex/bin           tanexcc and tanexcs, which append a line to /case/collected
///   /tmp, /var/opt                 empty
///   /bin, /dev, /etc, /usr...      the machine's own
///
/// and is called with TANEX_LOG=/case/action.log on the loopback. Runs need the super-user.
class Machine {
 public:
  Machine();

  /// The path from outside of a path that the command sees.
  std::string outside(const std::string& path) const { return m_root + path; }

  /// Writes a file with exactly these permission bits, its folders as well where they are missing.
  void write(const std::string& path, const std::string& bytes, mode_t mode = 0644) const;

  void makeFolder(const std::string& path, mode_t mode = 0755) const;

  /// Makes a sparse file of this size.
  void makeSparse(const std::string& path, off_t bytes) const;

  /// Makes the two collection commands these shell scripts, or both this one.
  void setCollection(const std::string& first, const std::string& second) const;
  void setCollection(const std::string& script) const { setCollection(script, script); }

  void remove(const std::string& path) const;

  /// Removes what a run leaves: the log, the outbox, and what the collection commands and the test
  /// library wrote down.
  void clear() const;

  bool exists(const std::string& path) const;
  std::string read(const std::string& path) const { return readFile(outside(path)); }
  std::vector<std::string> names(const std::string& path) const { return namesIn(outside(path)); }

  /// What the collection commands that a machine comes with wrote down, a line for each run:
  /// "tanexcc 1 DIRECTORY directory 755 0022", the number, first, type and mode of the argument and
  /// the mask.
  std::vector<std::string> collected() const;

  /// The messages of an action log, each with a line feed after it; the heads are checked and
  /// removed. Process ids, elapsed time and generated names appear as "*".
  std::string log(const std::string& path = "/case/action.log") const;

  /// Runs the command and waits for it, one minute at most.
  RunResult run(const Call& call) const;

 private:
  std::string exchanges() const;
  bool enter() const;
  int become(const Call& call) const;

  ScratchDir m_scratch;
  std::string m_root;
};

/// What /case/event.def holds on a `Machine`.
extern const char* const kEventDefinition;

/// The host name that the command sees.
extern const char* const kHostName;

/// For `Call::prepare`: the command that follows is bound by permission bits, although it runs as
/// the super-user.
bool obeyPermissions();

#endif
