#include "loopback/rehearse/run.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <filesystem>
#include <string>

#include "e2e/support/expected.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

const std::string kLibraryFolder = std::filesystem::path(LOOPBACK_LIBRARY).parent_path();

/// Logs the variables that the rehearsal sees to, and one that it leaves alone.
const char kLogEnvironment[] =
    "for name in LD_LIBRARY_PATH KELCOM_LOOPBACK_OUTBOX KELCOM_LOOPBACK_SCRIPT TANEX_LOG "
    "TANEX_LOG_LEVEL OTHER; do eval \"echo $name=\\${$name-unset}\" >>\"$TANEX_LOG\"; done";

class Run : public ::testing::Test {
 protected:
  Run() {
    arguments.command = "/bin/sh";
    arguments.library = kLibraryFolder;
  }

  /// The wait status of shell commands in the command's place.
  int runShell(const std::string& commands) {
    arguments.words = {"-c", commands};
    return runCommand(arguments, folder);
  }

  /// The error text of `body`.
  template <class Body>
  std::string errorOf(const Body& body) {
    try {
      body();
      return "none";
    } catch (const std::exception& error) {
      return error.what();
    }
  }

  ScratchDir scratch;
  RehearsalFolder folder{""};
  Arguments arguments;
};

TEST_F(Run, ExitStatusAndSignal_AreReturned) {
  EXPECT_EQ(runShell("true"), 0);
  EXPECT_EQ(WEXITSTATUS(runShell("exit 7")), 7);
  EXPECT_EQ(WTERMSIG(runShell("kill -TERM $$")), SIGTERM);
}

TEST_F(Run, Environment_IsThatOfTheRehearsal) {
  const ChildResult child = runInChild({{"KELCOM_LOOPBACK_SCRIPT", "/nonexistent/other"},
                                        {"KELCOM_LOOPBACK_OUTBOX", "/nonexistent/other"},
                                        {"TANEX_LOG", "/nonexistent/other"},
                                        {"OTHER", "kept"}},
                                       [&] {
                                         ::unsetenv("TANEX_LOG_LEVEL");
                                         ::unsetenv("LD_LIBRARY_PATH");
                                         return WEXITSTATUS(runShell(kLogEnvironment));
                                       });
  EXPECT_EQ(child.status, 0);
  EXPECT_EQ(readFile(folder.actionLog()),
            lines({"LD_LIBRARY_PATH=" + kLibraryFolder, "KELCOM_LOOPBACK_OUTBOX=" + folder.path(),
                   "KELCOM_LOOPBACK_SCRIPT=unset", "TANEX_LOG=" + folder.actionLog(),
                   "TANEX_LOG_LEVEL=unset", "OTHER=kept"}));
}

TEST_F(Run, Options_ReachTheEnvironmentAsAbsolutePaths) {
  scratch.write("script", "id 3\n");
  std::filesystem::create_symlink(kLibraryFolder, scratch / "library");
  arguments.script = "script";
  arguments.library = "library";
  arguments.trace = true;
  const ChildResult child = runInChild({{"LD_LIBRARY_PATH", "/before"}, {"OTHER", ""}}, [&] {
    if (::chdir(scratch.path().c_str()) != 0) return 1;
    return WEXITSTATUS(runShell(std::string(kLogEnvironment) + "; exec " LOOPBACK_PLAYER));
  });
  EXPECT_EQ(child.status, 0);
  EXPECT_EQ(
      readFile(folder.actionLog()),
      lines({"LD_LIBRARY_PATH=" + (scratch / "library") + ":/before",
             "KELCOM_LOOPBACK_OUTBOX=" + folder.path(),
             "KELCOM_LOOPBACK_SCRIPT=" + (scratch / "script"), "TANEX_LOG=" + folder.actionLog(),
             "TANEX_LOG_LEVEL=LOG_LEVEL_TRACE", "OTHER="}));
  EXPECT_EQ(linesOf(readFile(folder.record())).front(),
            R"({"call":"KEL_GetID","id":3,"result":0})");
}

TEST_F(Run, Interrupt_IsIgnoredHereAndDeadlyThere) {
  // The shell interrupts the rehearsal, which is its parent, then itself.
  EXPECT_EQ(WTERMSIG(runShell("kill -INT $PPID; kill -INT $$; sleep 5")), SIGINT);
  struct sigaction after = {};
  ::sigaction(SIGINT, nullptr, &after);
  EXPECT_EQ(after.sa_handler, SIG_DFL);
}

TEST_F(Run, InterruptThatWasIgnoredBefore_StaysIgnored) {
  ::signal(SIGINT, SIG_IGN);
  EXPECT_EQ(WEXITSTATUS(runShell("kill -INT $$; exit 3")), 3);
  ::signal(SIGINT, SIG_DFL);
}

TEST_F(Run, CommandThatCannotBeStarted_IsNamedInTheError) {
  arguments.command = scratch.write("garbage", "no program");
  ASSERT_EQ(::chmod(arguments.command.c_str(), 0755), 0);
  EXPECT_EQ(errorOf([this] { runShell(""); }),
            "cannot run " + arguments.command + ": Exec format error");
}

TEST_F(Run, CommandAndLibrary_AreRequired) {
  std::filesystem::create_directories(scratch / "folder/libkelcom.so");
  const std::string data = scratch.write("data", "");
  const struct {
    std::string command;
    std::string library;
    std::string error;
  } rows[] = {
      {LOOPBACK_PLAYER, kLibraryFolder, "none"},
      {scratch / "none", kLibraryFolder, "no command: " + (scratch / "none")},
      {scratch.path(), kLibraryFolder, "the command cannot be used: " + scratch.path()},
      {data, kLibraryFolder, "the command cannot be used: " + data},
      {LOOPBACK_PLAYER, scratch.path(), "no stand-in library: " + (scratch / "libkelcom.so")},
      {LOOPBACK_PLAYER, scratch / "folder",
       "the stand-in library cannot be used: " + (scratch / "folder/libkelcom.so")},
  };
  for (const auto& row : rows) {
    arguments.command = row.command;
    arguments.library = row.library;
    EXPECT_EQ(errorOf([this] { requireRunnable(arguments); }), row.error);
  }
}

}  // namespace
