// What tanexics-check says of a list of files to send.

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>

#include "common/base/descriptor.h"
#include "support/childrun.h"
#include "support/inputfiles.h"
#include "tools/check/input.h"
#include "tools/check/list.h"
#include "tools/checked.h"

namespace {

class CheckList : public Checked {
 protected:
  std::string errorsIn(const std::string& bytes) {
    dir.write("list", bytes);
    return errorsOf({"list", "-i", "1"});
  }

  std::string warningsIn(const std::string& bytes) {
    dir.write("list", bytes);
    return warningsOf({"list", "-i", "1"});
  }
};

TEST_F(CheckList, Empty_NamesNoFile) {
  for (const char* bytes : {"", "\n", "\r\n\n", "\r"}) {
    EXPECT_EQ(errorsIn(bytes), "list: error: names no file to send\n");
  }
}

TEST_F(CheckList, Entry_IsWarnedOfOnceWithAllThatIsOdd) {
  const std::string a = kExtract;
  dir.write("#b", "");
  dir.write("rel", "");
  const struct {
    std::string bytes;
    std::string warnings;
  } rows[] = {
      {a + "\n\n" + a + "\r\n",
       "list:3: warning: \"" + a + "\" stands in line 1 too, and is sent once for each\n"},
      {"# comment\n#b",
       "list:1: warning: \"# comment\" is taken as a file name; it does not exist\n"
       "list:2: warning: \"#b\" is taken as a file name\n"},
      {"rel\n", "list:1: warning: \"rel\" is relative to where the command is started\n"},
      {" /b\n/b \n\t/b\t\n",
       "list:1: warning: \" /b\" begins with a blank; it is relative to where the command is "
       "started; it does not exist\n"
       "list:2: warning: \"/b \" ends with a blank; it does not exist\n"
       "list:3: warning: \"\\x09/b\\x09\" begins and ends with a blank; it has control bytes; it is "
       "relative to where the command is started; it does not exist\n"},
      {"\xef\xbb\xbf/b\n",
       "list:1: warning: \"\xef\xbb\xbf/b\" begins with a byte order mark; it is relative to where "
       "the command is started; it does not exist\n"},
      {"/b\x1b\n/b\x7f\n",
       "list:1: warning: \"/b\\x1b\" has control bytes; it does not exist\n"
       "list:2: warning: \"/b\\x7f\" has control bytes; it does not exist\n"},
      {"/\xa4\xa2\n", "list:1: warning: \"/あ\" does not exist\n"},
      {dir.path() + "\n", "list:1: warning: \"" + dir.path() + "\" is a directory\n"},
      {"/dev/null\n", "list:1: warning: \"/dev/null\" is a device\n"},
      {a + "/x\n", "list:1: warning: \"" + a + "/x\" cannot be examined: Not a directory\n"},
      {a + "\n", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(warningsIn(row.bytes), row.warnings) << row.bytes;
}

TEST_F(CheckList, SpecialFiles_AreNamedByTheirKind) {
  const std::string fifo = dir / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string socket = makeSocketFile(dir);
  EXPECT_EQ(warningsIn(fifo + "\n" + socket + "\n"), "list:1: warning: \"" + fifo +
                                                         "\" is a FIFO\n" + "list:2: warning: \"" +
                                                         socket + "\" is a socket\n");
}

TEST_F(CheckList, WhatThePiecesOfALineHide_IsTold) {
  const std::string longName = "/" + std::string(1022, 'x');  // a piece to its last byte
  const std::string tooLong = "cannot be examined: File name too long\n";
  const auto warning = [&](const std::string& name) {
    return "list:1: warning: \"" + name.substr(0, 200) + "...\" " + tooLong;
  };
  EXPECT_EQ(warningsIn(longName), warning(longName));
  EXPECT_EQ(warningsIn(longName + "\n"), warning(longName));
  EXPECT_EQ(warningsIn(longName + "\r\n"), warning(longName));
  EXPECT_EQ(warningsIn(longName + "/y" + std::string(2000, 'z')),
            warning(longName) +
                "list:1: warning: the line is longer than 1023 bytes: each further 1023 bytes are "
                "read as a line of their own\n"
                "list:1: warning: \"/y" +
                std::string(198, 'z') + "...\" " + tooLong + "list:1: warning: \"" +
                std::string(200, 'z') +
                "...\" is relative to where the command is started; it cannot be examined: File "
                "name too long\n");
  const std::string zero = kExtract + std::string("\0lost\0lost\n", 11) + std::string("\0\n/b", 4);
  EXPECT_EQ(warningsIn(zero),
            "list:1: warning: a zero byte: what follows it in the line is not read\n"
            "list:2: warning: a zero byte: what follows it in the line is not read\n"
            "list:3: warning: \"/b\" does not exist\n");
}

TEST_F(CheckList, ThatCannotBeRead_IsRejectedWithTheReason) {
  const std::string socket = makeSocketFile(dir);
  const std::string here = dir.path();
  const struct {
    std::string list;
    std::string error;
  } rows[] = {
      {"missing", "missing: error: does not exist\n"},
      {"", "\"\": error: does not exist\n"},
      {here, here + ": error: is a directory\n"},
      {"list/x", "list/x: error: cannot be examined: Not a directory\n"},
      {socket, socket + ": error: cannot be opened: No such device or address\n"},
      {"/proc/self/mem", "/proc/self/mem: error: cannot be read to its end: Input/output error\n"},
      {"/dev/null", "/dev/null: error: names no file to send\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(errorsOf({row.list, "-i", "1"}), row.error);
}

TEST_F(CheckList, ThatWouldHaveToBeWaitedFor_IsToldAndNotOpened) {
  const std::string fifo = dir / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(checked({fifo, "-i", "1"}),
            fifo +
                ": warning: is a FIFO, and not opened here: the command reads it until it ends\n"
                "result: not known\n");
  EXPECT_EQ(checked({"/dev/zero", "-i", "1"}),
            "/dev/zero: warning: is a device, and not opened here: the command reads it until it "
            "ends\n"
            "result: not known\n");
  const Descriptor other(::eventfd(0, EFD_CLOEXEC));
  const std::string number = "/proc/self/fd/" + std::to_string(other.get());
  EXPECT_EQ(checked({number, "-i", "1"}),
            number +
                ": warning: is no regular file, and not opened here: the command reads it until "
                "it ends\nresult: not known\n");
  // What is wrong for certain is told all the same.
  EXPECT_EQ(checked({fifo, "-x"}),
            "command line: error: \"-x\" is neither -i nor -r\n" + fifo +
                ": warning: is a FIFO, and not opened here: the command reads it until it ends\n"
                "result: rejected (68)\n");
}

TEST_F(CheckList, ThatSomebodyHasALeaseOn_IsNotWaitedFor) {
  const ChildResult child = runInChild([&] {
    ::signal(SIGIO, SIG_IGN);
    const Descriptor file(::open("list", O_RDWR | O_CLOEXEC));
    if (::fcntl(file.get(), F_SETLEASE, F_WRLCK) != 0) return 1;
    const std::string text = checked({"list", "-i", "1"});
    return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
  });
  EXPECT_EQ(child.out,
            "list: warning: cannot be opened at once, and is not waited for as the command would\n"
            "result: not known\n");
}

TEST_F(CheckList, ThatOnlyTheSuperUserMayRead_IsNotJudged) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs another user";
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((dir / "list").c_str(), 0), 0);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 1;
    const std::string text = checked({"list", "-i", "1"});
    return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
  });
  EXPECT_EQ(child.out,
            "list: warning: cannot be opened: Permission denied; whether the super-user can, as "
            "whom the command runs, is not known\n"
            "result: not known\n");
}

TEST_F(CheckList, FileThatTheCallerMayNotRead_IsWarnedOf) {
  if (!canBecomeNobody()) GTEST_SKIP() << "needs another user";
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod((dir / "list").c_str(), 0644), 0);
  ASSERT_EQ(::chmod(kExtract.c_str(), 0), 0);
  const ChildResult child = runInChild([&] {
    if (!becomeNobody()) return 1;
    const std::string text = warningsOf({"list", "-i", "1"});
    return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
  });
  EXPECT_EQ(child.out, "list:1: warning: \"" + kExtract + "\" cannot be read: Permission denied\n");
}

TEST_F(CheckList, ThatReadsOtherwiseTheSecondTime_IsNotJudged) {
  const check::Report report = check::reportOn({"/proc/sys/kernel/random/uuid", "-i", "1"}, false);
  EXPECT_EQ(report.answer, check::Answer::kUnknown);
  EXPECT_TRUE(report.hasChanged);
}

TEST_F(CheckList, OfAMillionFaults_TheFirstThousandAndTheirNumberAreTold) {
  std::ofstream stream("list");
  for (int i = 1; i <= 100000; ++i) stream << "/none/" << i << '\n';
  stream.close();
  const Texts lines = linesOf(warningsOf({"list", "-i", "1"}));
  ASSERT_EQ(lines.size(), 1001u);
  EXPECT_EQ(lines[0], "list:1: warning: \"/none/1\" does not exist");
  EXPECT_EQ(lines[999], "list:1000: warning: \"/none/1000\" does not exist");
  EXPECT_EQ(lines[1000], "... and 99000 warnings more");
}

TEST_F(CheckList, WithTooManyEntries_IsCheckedAsFarAsItGoes) {
  std::ofstream stream("list");
  for (std::size_t i = 0; i < check::kMostEntries; ++i) stream << "/\n";
  stream << "\n/b\n";
  stream.close();
  const check::Report report = check::reportOn({"list", "-i", "1"}, false);
  EXPECT_EQ(report.answer, check::Answer::kAccepted);
  EXPECT_EQ(report.files.size(), check::kMostEntries);
  EXPECT_FALSE(report.notification);
  // Each but the first is there once more, and a directory: the last warning is that of the rest.
  EXPECT_EQ(report.faults.warnings(), check::kMostEntries + 1);
}

TEST_F(CheckList, ThatIsTooLarge_IsCheckedAsFarAsItGoes) {
  // One line that never ends, all zeros but for its beginning.
  std::ofstream("list") << kExtract;
  std::filesystem::resize_file("list", std::uintmax_t{10} << 30);
  EXPECT_EQ(warningsOf({"list", "-i", "1"}),
            "list: warning: is too large to be checked as a whole: its first 67108800 bytes are\n"
            "list:1: warning: a zero byte: what follows it in the line is not read\n");
  std::filesystem::resize_file("list", 0);
  std::filesystem::resize_file("list", std::uintmax_t{10} << 30);
  EXPECT_EQ(checked({"list", "-i", "1"}),
            "list: warning: is too large to be checked as a whole: its first 67108800 bytes are\n"
            "list:1: warning: a zero byte: what follows it in the line is not read\n"
            "result: not known\n");
}

TEST_F(CheckList, AsLargeAsCanBe_IsCheckedAsAWhole) {
  std::string bytes(check::kMostBytes, '\0');
  bytes.replace(0, kExtract.size() + 1, kExtract + "\n");
  EXPECT_EQ(warningsIn(bytes),
            "list:2: warning: a zero byte: what follows it in the line is not read\n");
  EXPECT_EQ(warningsIn(bytes + "\n"),
            "list: warning: is too large to be checked as a whole: its first " +
                std::to_string(kExtract.size() + 1) + " bytes are\n");
}

}  // namespace
