#include "loopback/rehearse/run.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "support/scratch.h"

namespace {

const std::string kLibraryFolder = std::filesystem::path(LOOPBACK_LIBRARY).parent_path();

class Run : public ::testing::Test {
 protected:
  Run() {
    arguments.command = LOOPBACK_PLAYER;
    arguments.library = kLibraryFolder;
  }

  int run(const std::vector<std::string>& words) {
    arguments.words = words;
    return runCommand(arguments, folder);
  }

  std::string requirementError() {
    try {
      requireRunnable(arguments);
      return "none";
    } catch (const std::exception& error) {
      return error.what();
    }
  }

  ScratchDir scratch;
  RehearsalFolder folder{""};
  Arguments arguments;
};

TEST_F(Run, ExitStatusAndSignal) {
  EXPECT_EQ(7, WEXITSTATUS(run({"exit", "7"})));
  EXPECT_EQ(0, run({}));
  EXPECT_EQ(SIGTERM, WTERMSIG(run({"kill", std::to_string(SIGTERM)})));
}

TEST_F(Run, CallsReachTheOutbox) {
  EXPECT_EQ(0, run({"stop"}));
  EXPECT_EQ("{\"call\":\"KEL_StopComm\",\"result\":0}\n", readFile(folder.record()));
}

TEST_F(Run, EnvironmentOfTheRehearsal) {
  ::setenv("KELCOM_LOOPBACK_SCRIPT", "/nonexistent/other", 1);
  ::setenv("KELCOM_LOOPBACK_OUTBOX", "/nonexistent/other", 1);
  ::setenv("TANEX_LOG", "/nonexistent/other", 1);
  ::setenv("RUN_TEST_OTHER", "kept", 1);
  ::unsetenv("TANEX_LOG_LEVEL");
  ::unsetenv("LD_LIBRARY_PATH");
  EXPECT_EQ(0, run({"environment", "LD_LIBRARY_PATH", "environment", "KELCOM_LOOPBACK_OUTBOX",
                    "environment", "KELCOM_LOOPBACK_SCRIPT", "environment", "TANEX_LOG",
                    "environment", "TANEX_LOG_LEVEL", "environment", "RUN_TEST_OTHER"}));
  EXPECT_EQ("LD_LIBRARY_PATH=" + kLibraryFolder +
                "\n"
                "KELCOM_LOOPBACK_OUTBOX=" +
                folder.path() +
                "\n"
                "KELCOM_LOOPBACK_SCRIPT unset\n"
                "TANEX_LOG=" +
                folder.actionLog() +
                "\n"
                "TANEX_LOG_LEVEL unset\n"
                "RUN_TEST_OTHER=kept\n",
            readFile(folder.actionLog()));
}

TEST_F(Run, OptionsReachTheEnvironment) {
  ASSERT_EQ(0, ::chdir(scratch.path().c_str()));
  scratch.write("script", "id 3\n");
  ASSERT_EQ(0, ::symlink(kLibraryFolder.c_str(), (scratch / "library").c_str()));
  ::setenv("LD_LIBRARY_PATH", "/before", 1);
  arguments.script = "script";
  arguments.library = "library";
  arguments.trace = true;
  const std::string here = std::filesystem::current_path();
  EXPECT_EQ(0, run({"environment", "LD_LIBRARY_PATH", "environment", "KELCOM_LOOPBACK_SCRIPT",
                    "environment", "TANEX_LOG_LEVEL", "id"}));
  ::unsetenv("LD_LIBRARY_PATH");
  EXPECT_EQ(0, ::chdir("/"));
  EXPECT_EQ("LD_LIBRARY_PATH=" + here + "/library:/before\nKELCOM_LOOPBACK_SCRIPT=" + here +
                "/script\nTANEX_LOG_LEVEL=LOG_LEVEL_TRACE\n",
            readFile(folder.actionLog()));
  EXPECT_EQ("{\"call\":\"KEL_GetID\",\"id\":3,\"result\":0}\n", readFile(folder.record()));
}

TEST_F(Run, InterruptIsIgnoredHereAndDeadlyThere) {
  arguments.command = "/bin/sh";
  // The shell interrupts the rehearsal, which is its parent, then itself.
  EXPECT_EQ(SIGINT, WTERMSIG(run({"-c", "kill -INT $PPID; kill -INT $$; sleep 5"})));
  struct sigaction after = {};
  ::sigaction(SIGINT, nullptr, &after);
  EXPECT_EQ(SIG_DFL, after.sa_handler);
}

TEST_F(Run, InterruptThatWasIgnoredBeforeStaysIgnored) {
  ::signal(SIGINT, SIG_IGN);
  arguments.command = "/bin/sh";
  EXPECT_EQ(3, WEXITSTATUS(run({"-c", "kill -INT $$; exit 3"})));
  ::signal(SIGINT, SIG_DFL);
}

TEST_F(Run, CommandThatCannotBeStarted) {
  arguments.command = scratch.write("garbage", "no program");
  ASSERT_EQ(0, ::chmod(arguments.command.c_str(), 0755));
  try {
    run({});
    FAIL() << "started";
  } catch (const std::exception& error) {
    EXPECT_EQ("cannot run " + arguments.command + ": Exec format error", error.what());
  }
}

TEST_F(Run, WhatIsRequired) {
  EXPECT_EQ("none", requirementError());
  arguments.command = scratch / "missing";
  EXPECT_EQ("no command: " + (scratch / "missing"), requirementError());
  arguments.command = scratch.path();
  EXPECT_EQ("the command cannot be used: " + scratch.path(), requirementError());
  arguments.command = scratch.write("data", "");
  EXPECT_EQ("the command cannot be used: " + (scratch / "data"), requirementError());
  arguments.command = LOOPBACK_PLAYER;
  arguments.library = scratch.path();
  EXPECT_EQ("no stand-in library: " + (scratch / "libkelcom.so"), requirementError());
  ASSERT_EQ(0, ::mkdir((scratch / "libkelcom.so").c_str(), 0700));
  EXPECT_EQ("the stand-in library cannot be used: " + (scratch / "libkelcom.so"),
            requirementError());
}

}  // namespace
