#include "common/capture/execgetlines.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <list>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/descriptors.h"
#include "support/logtexts.h"
#include "support/pattern.h"
#include "support/scratch.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

Texts asVector(const std::list<std::string>& lines) { return Texts(lines.begin(), lines.end()); }

/// A run of execGetLines, the lists filled with something that must vanish.
struct Capture {
  Capture(const std::string& command, int maxLines, bool withErrors = false, int maxErrors = -1) {
    std::list<std::string> lineList = {"left over"};
    std::list<std::string> errorList = {"left over"};
    result = execGetLines(lineList, command.c_str(), maxLines, withErrors ? &errorList : nullptr,
                          maxErrors);
    lines = asVector(lineList);
    errors = asVector(errorList);
  }
  int result;
  Texts lines;
  Texts errors;
};

TEST(ExecGetLines, Maxima_KeepAsManyLinesOfEitherOutput) {
  const std::tuple<const char*, int, int, Texts, Texts> kRows[] = {
      {"true", -1, -1, {}, {}},
      {"seq 1 3; seq 4 6 >&2", -1, -1, {"1", "2", "3"}, {"4", "5", "6"}},
      {"seq 1 3; seq 4 6 >&2", 0, 1, {}, {"4"}},
      {"seq 1 3; seq 4 6 >&2", 2, 0, {"1", "2"}, {}},
      {"seq 1 3; seq 4 6 >&2", 4, 3, {"1", "2", "3"}, {"4", "5", "6"}}};
  for (const auto& [command, maxLines, maxErrors, lines, errors] : kRows) {
    const Capture run(command, maxLines, true, maxErrors);
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.lines, lines) << command << ", " << maxLines;
    EXPECT_EQ(run.errors, errors) << command << ", " << maxErrors;
  }
}

TEST(ExecGetLines, LinesAround1023Bytes_AreCutThere) {
  const ScratchDir dir;
  const std::string full(1023, 'x');
  const std::pair<std::size_t, Texts> kRows[] = {{1022, {full.substr(1), "end"}},
                                                 {1023, {full, "", "end"}},
                                                 {1024, {full, "x", "end"}},
                                                 {1500, {full, std::string(477, 'x'), "end"}}};
  for (const auto& [length, lines] : kRows) {
    const std::string path = dir.write("output", std::string(length, 'x') + "\nend");
    EXPECT_EQ(Capture("cat " + path, -1).lines, lines) << length;
    EXPECT_EQ(Capture("cat " + path + " >&2", -1, true).errors, lines) << length;
  }
}

TEST(ExecGetLines, MoreThanAPipeHolds_IsReadToItsEndWhateverIsKept) {
  const ScratchDir dir;
  const std::string done = dir / "done";
  const Capture run("seq 1 100000; seq 1 100000 >&2; : >" + done, 1, true);
  EXPECT_EQ(run.result, 0);
  EXPECT_EQ(run.lines, Texts({"1"}));
  ASSERT_EQ(run.errors.size(), 100000u);
  EXPECT_EQ(run.errors.back(), "100000");
  EXPECT_EQ(::access(done.c_str(), F_OK), 0);
}

TEST(ExecGetLines, CommandThatIsAnEntryOfEitherResult_IsRunAndLogged) {
  const std::string command = "echo one; echo two >&2 # too long to need no memory of its own";
  for (const bool isOutput : {true, false}) {
    const CapturedLog log;
    std::list<std::string> lines = {"left over", command};
    std::list<std::string> errors = {command};
    EXPECT_EQ(execGetLines(lines, (isOutput ? lines : errors).back().c_str(), -1, &errors, -1), 0);
    EXPECT_EQ(asVector(lines), Texts({"one"}));
    EXPECT_EQ(asVector(errors), Texts({"two"}));
    EXPECT_EQ(withoutPids(log.texts()),
              Texts({"VUQ90004L : com=" + command, "VUQ90004L : pid=<pid>,wstat=00000000"}));
  }
}

TEST(ExecGetLines, OneListForBoth_HasTheErrorOutputAfterTheOutput) {
  std::list<std::string> lines = {"left over"};
  EXPECT_EQ(execGetLines(lines, "echo two >&2; echo one", -1, &lines, -1), 0);
  EXPECT_EQ(asVector(lines), Texts({"one", "two"}));
}

TEST(ExecGetLines, WhateverStandardDescriptorIsClosed_OutputArrives) {
  const std::string command =
      "for i in 0 1 2; do [ -e /proc/$$/fd/$i ] && echo $i; done; echo error >&2";
  for (int closed = 0; closed < 8; ++closed) {
    Texts expected = {"0", "1", "2"};
    if ((closed & 1) != 0) expected.erase(expected.begin());
    const CapturedLog log;
    const ChildResult child = runInChild([&] {
      closeStandardDescriptors(closed);
      const Capture discarding(command, -1);
      const Capture keeping(command, -1, true);
      if (discarding.result != 0 || discarding.lines != expected) return 1;
      if (keeping.result != 0 || keeping.lines != expected) return 2;
      return keeping.errors == Texts({"error"}) ? 0 : 3;
    });
    EXPECT_EQ(child.exitCode(), 0) << "closed: " << closed;
    const std::string start = "VUQ90004L : com=" + command;
    const std::string end = "VUQ90004L : pid=<pid>,wstat=00000000";
    EXPECT_EQ(withoutPids(log.texts()), Texts({start, end, start, end})) << "closed: " << closed;
  }
}

TEST(ExecGetLines, Child_HasTheCallersGroupAndInputAndTheNullDeviceForErrors) {
  const ChildResult child = runInChild([] {
    const Capture run("ps -o pgid= -p $$ | tr -d ' '; readlink /proc/$$/fd/0 /proc/$$/fd/2", -1);
    return run.lines == Texts({std::to_string(::getpgrp()), "/dev/null", "/dev/null"}) ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
}

TEST(ExecGetLines, Child_InheritsTheStandardDescriptorsOnly) {
  for (const bool withErrors : {false, true}) {
    const ChildResult child = runInChild([&] {
      if (!closeOtherDescriptors()) return 77;
      std::puts(Capture("echo /proc/self/fd/*", -1, withErrors).lines.at(0).c_str());
      return 0;
    });
    // The shell itself reads the directory through descriptor 3.
    EXPECT_EQ(child.out, "/proc/self/fd/0 /proc/self/fd/1 /proc/self/fd/2 /proc/self/fd/3\n");
  }
}

TEST(ExecGetLines, WithErrorList_ErrorOutputIsATemporaryFileThatVanishes) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const int before = upcomingDescriptor(1);
  const std::string number = std::to_string(upcomingDescriptor(3));  // after those of the pipe
  const std::string command = "readlink /proc/$$/fd/2; echo $$";
  const Capture run(command, -1, true);
  ASSERT_EQ(run.lines.size(), 2u);
  const std::string path = run.lines[0];
  EXPECT_TRUE(matchesPattern(path, "/tmp/execGetLines[A-Za-z0-9]{6}_")) << path;
  EXPECT_FALSE(fs::exists(path));
  EXPECT_EQ(upcomingDescriptor(1), before);
  EXPECT_EQ(log.texts(),
            inOrder({{"[T](common:1345):execGetLines():count=-1," + command,
                      "[T](CTemp:73):getTemp_sub():prefix=/tmp,templ=execGetLines",
                      "[T](CTemp:156):getTemp_sub():exit=1,type=FILE,FD=" + number + "," + path,
                      "VUQ90004L : com=" + command,
                      "VUQ90004L : pid=" + run.lines[1] + ",wstat=00000000"},
                     tracedExit(0),
                     {"[T](CTemp:188):delTempFile:" + path,
                      "[T](common:469):getCanonicalPath():" + path + "," + path,
                      "[T](common:520):/bin/rm -fr " + path + " >/dev/null 2>&1"},
                     tracedExit(0)}));
}

TEST(ExecGetLines, ChildThatCannotBeWaitedFor_HasTheStatusMinusOne) {
  const CapturedLog log;
  const ChildResult child = runInChild([] {
    std::signal(SIGCHLD, SIG_IGN);  // the kernel keeps no status then
    const Capture run("echo $$", -1);
    std::fputs(run.lines.at(0).c_str(), stdout);
    return run.result == -1 ? 0 : 1;
  });
  EXPECT_EQ(child.exitCode(), 0);
  EXPECT_EQ(log.texts(), Texts({"VUQ90004L : com=echo $$",
                                "VUQ90004L : waitpid(pid=" + child.out + ") : No child processes",
                                "VUQ90004L : pid=" + child.out + ",wstat=ffffffff"}));
}

TEST(ExecGetLines, ErrorFileGoneAfterTheRun_IsLoggedAsVUQ90007L) {
  const CapturedLog log;
  const Capture run("readlink /proc/$$/fd/2; rm \"$(readlink /proc/$$/fd/2)\"; exit 3", -1, true);
  EXPECT_EQ(run.result, 3);
  ASSERT_EQ(run.lines.size(), 1u);
  EXPECT_EQ(run.errors, Texts());
  EXPECT_EQ(
      withoutPids(log.texts()),
      Texts({"VUQ90004L : com=readlink /proc/$$/fd/2; rm \"$(readlink /proc/$$/fd/2)\"; exit 3",
             "VUQ90004L : pid=<pid>,wstat=00000300",
             "VUQ90007L : failed to fopen():" + run.lines[0] + ",No such file or directory"}));
}

}  // namespace
