// Listed files that are not what they should be, and lists of very many.

#include <sys/resource.h>
#include <sys/stat.h>

#include "e2e/support/cases.h"

namespace {

constexpr off_t kGiB = 1024LL * 1024 * 1024;

const File kStandard = {"/case/a.txt", 6};

std::string listOf(const std::vector<File>& files) {
  std::string list;
  for (const File& file : files) list += file.path + "\n";
  return list;
}

class ListedFiles : public MachineTest {
 protected:
  /// Sends an event and an incident with these files, and compares all they leave.
  void expectSent(const std::vector<File>& files, const Prepare& prepare = nullptr,
                  const std::string& list = "") const {
    machine.write("/case/list", list.empty() ? listOf(files) : list);
    Sending sending;
    sending.files = files;
    sending.text = eventText("Software Log");
    expectRun(machine.run(eventCall().traced().prepared(prepare)), sending.event());
    machine.clear();
    expectRun(machine.run(incidentCall().traced().prepared(prepare)), sending.incident());
  }
};

TEST_F(ListedFiles, OnlyMissing_TotalWrapsBelowZero) {
  const std::vector<File> files = {{"/case/none", -1, "No such file or directory"},
                                   {"/case/a.txt/x", -1, "Not a directory"}};
  expectSent(files);
  EXPECT_NE(machine.log().find("final_total='4294967294'"), std::string::npos);
}

TEST_F(ListedFiles, Directory_IsMeasuredAndNotSent) {
  machine.makeFolder("/case/folder");
  struct stat status = {};
  ASSERT_EQ(::stat(machine.outside("/case/folder").c_str(), &status), 0);
  expectSent({{"/case/folder", status.st_size, "not a regular file"}, kStandard});
}

TEST_F(ListedFiles, Unreadable_IsMeasuredAndNotSent) {
  machine.write("/case/secret", "12345", 0000);
  expectSent({{"/case/secret", 5, "Permission denied"}, kStandard}, obeyPermissions);
}

TEST_F(ListedFiles, Fifo_IsNotOpened) {
  ASSERT_EQ(::mkfifo(machine.outside("/case/fifo").c_str(), 0600), 0);
  expectSent({{"/case/fifo", 0, "not a regular file"}});
}

TEST_F(ListedFiles, EmptyRelativeAndOddlyNamed_AreSent) {
  machine.write("/case/empty", "");
  machine.write("/case/a b\"c'%s%n;$(x)", "123");
  expectSent({{"/case/empty", 0}, {"a.txt", 6}, {"/case/a b\"c'%s%n;$(x)", 3}});
}

TEST_F(ListedFiles, FourGiBAndMore_WrapTheTotal) {
  machine.makeSparse("/case/below", 4 * kGiB - 1);
  machine.makeSparse("/case/exact", 4 * kGiB);
  machine.makeSparse("/case/above", 5 * kGiB);
  expectSent({{"/case/below", 4294967295},
              {"/case/exact", 4294967296},
              {"/case/above", 5368709120},
              kStandard});
  EXPECT_NE(machine.log().find("final_total='1073741829'"), std::string::npos);
}

TEST_F(ListedFiles, OddList_IsReadByItsPieces) {
  const std::string x1023(1023, 'x');
  const std::string missing = "No such file or directory";
  const std::string zeroByte(1, '\0');
  // Blank lines go and so does one carriage return before a line end, a line is cut into pieces of
  // 1,023 bytes, and a zero byte hides the rest of its piece.
  const std::string list = "\n/case/a.txt\r\n\r\n#comment\n \n/case/a.txt\r\r\n%s%n%d\n\xa5\xff\n" +
                           x1023 + "yz\n" + zeroByte + "lost\n/case/a.txt" + zeroByte +
                           "lost\n/case/a.txt";
  expectSent({kStandard,
              {"#comment", -1, missing},
              {" ", -1, missing},
              {"/case/a.txt\r", -1, missing},
              {"%s%n%d", -1, missing},
              {"\xa5\xff", -1, missing},
              {x1023, -1, "File name too long"},
              {"yz", -1, missing},
              kStandard,
              kStandard},
             nullptr, list);
}

TEST_F(ListedFiles, FileDeletedAfterMeasuring_IsNamedAllTheSame) {
  const std::string file = "/case/b.syslog.txt";
  machine.write("/case/list", file + "\n");
  Sending sending;
  sending.files = {{file, 23}};
  sending.text = eventText("");
  sending.excerptError = "syslogfile open error.FILE=" + file + "(CSendEventBase::getSyslogLine)\n";
  const Call call = eventCall().traced().with({{"LD_LIBRARY_PATH", "/testkelcom"},
                                               {"TEST_KELCOM_CALLS", "/case/calls"},
                                               {"TEST_KELCOM_REMOVE", file}});
  expectRun(machine.run(call), {sending.event().log});
  EXPECT_FALSE(machine.exists(file));
  EXPECT_EQ(machine.read("/case/calls"),
            "KEL_GetID\nKEL_GetID\nKEL_GetStatus\nKEL_GetStatus\nKEL_StartComm\n"
            "KEL_Communicate\nKEL_Communicate\nKEL_StopComm\nKEL_StopComm\n");
}

// --- very many -----------------------------------------------------------------------------------

constexpr int kMany = 40000;  // pointers to them are more than that
constexpr rlim_t kSmallStack = 256UL * 1024UL;

bool limitStack() {
  const rlimit limit = {kSmallStack, kSmallStack};
  return ::setrlimit(RLIMIT_STACK, &limit) == 0;
}

double userSeconds() {
  rusage usage = {};
  EXPECT_EQ(::getrusage(RUSAGE_CHILDREN, &usage), 0);
  return static_cast<double>(usage.ru_utime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
}

class ManyFiles : public MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    std::string list;
    for (int number = 0; number < kMany; ++number) list += "/case/a.txt\n";
    machine.write("/case/list", list);
  }

  /// On a small stack, and on the library that does nothing, so that the command's own time shows.
  /// The system's time is not counted: most of it goes into a log that is opened for each line.
  RunResult run(const Call& call) const {
    const double before = userSeconds();
    RunResult result =
        machine.run(call.with({{"LD_LIBRARY_PATH", "/testkelcom"}}).prepared(limitStack));
    EXPECT_LT(userSeconds() - before, 10.0);
    EXPECT_EQ(result.child.exitCode(), 0);
    return result;
  }

  /// The log, which may have been rotated, ends with this.
  static void expectEnd(const std::string& log, const std::string& end) {
    ASSERT_GE(log.size(), end.size());
    EXPECT_EQ(log.substr(log.size() - end.size()), end);
  }

  /// An event from the start of communication on.
  const std::string sent = startedLine() +
                           eventPart("0x40204", eventText("Software Log"), kMany, "/case/a.txt") +
                           "commonSendEvent OK\n";
};

TEST_F(ManyFiles, Event_TakesLittleTimeAndStack) { expectRun(run(eventCall()), {framed(sent, 0)}); }

TEST_F(ManyFiles, TracedEvent_TakesLittleTimeAndStack) {
  const std::string size = std::to_string(6 * kMany);
  const std::string last = std::to_string(6 * kMany - 6);
  const LogText end = measured(last, "/case/a.txt", "6") + measuredAll(size) + sent;
  const std::string whole = framed(end.trace, 0);
  expectEnd(run(eventCall().traced()).log, whole.substr(whole.find('\n') + 1));
}

TEST_F(ManyFiles, Incident_TakesLittleTimeAndStack) {
  const std::string whole = framed(incidentPart("1", kMany, kMany, "/case/a.txt") +
                                       "commonSendEvent OK\n" + collectionLines().info,
                                   0);
  expectEnd(run(incidentCall()).log, whole.substr(whole.find('\n') + 1));
}

}  // namespace
