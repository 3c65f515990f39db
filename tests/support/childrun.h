#ifndef TANEXICS_TESTS_SUPPORT_CHILDRUN_H
#define TANEXICS_TESTS_SUPPORT_CHILDRUN_H

#include <functional>
#include <map>
#include <string>
#include <vector>

/// How a child ended, and what it printed.
struct ChildResult {
  int status = -1;  // the raw wait status
  std::string out;
  std::string err;

  /// The exit status, or -1 when the child did not exit by itself.
  int exitCode() const;

  /// The signal that ended the child, 0 when it exited by itself.
  int signal() const;
};

/// Runs `body` in a forked child, which ends with the body's result as its exit status (255 when an
/// exception leaves the body), with standard output and error captured; standard input is
/// /dev/null. For what changes the whole process: another user, private mounts, closed descriptors,
/// aborts.
ChildResult runInChild(const std::function<int()>& body);

/// The same with these variables added to the environment.
ChildResult runInChild(const std::map<std::string, std::string>& environment,
                       const std::function<int()>& body);

/// Runs a program the same way: `words[0]` is its path. It speaks English, whatever the tester
/// does, where the environment has no locale of its own. 98 when it cannot be started.
ChildResult runProgram(const std::vector<std::string>& words,
                       const std::map<std::string, std::string>& environment = {});

/// For a child that runs as root: gives it mounts of its own, which vanish with it. Returns false
/// where the kernel refuses.
bool enterPrivateMounts();

/// Mounts an empty file system of at most `bytes` over `dir`; only after `enterPrivateMounts`.
bool mountTmpfs(const std::string& dir, const std::string& bytes = "1m");

/// Shows a folder of this machine, or the one that a link leads to, at `target` as well, and
/// nothing where it does not exist; only after `enterPrivateMounts`.
bool bindFolder(const std::string& folder, const std::string& target);

/// Drops all privileges for good; the group and user are nogroup and nobody (65534).
bool becomeNobody();

/// Whether a child can: not so for another user than root, nor for the root of a user namespace
/// that knows no other.
bool canBecomeNobody();

#endif
