// Listed files that are not what they should be, and lists of very many.

#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>

#include "e2e/support/cases.h"

namespace {

constexpr off_t kGiB = 1024LL * 1024 * 1024;

/// One listed file: what its measuring logs, and what becomes of it.
struct Listed {
  std::string path;
  std::string size;
  std::string error;  // why it cannot be measured, "" when it can
  std::string fate;
};

class ListedFiles : public CommandTest {
 protected:
  Machine machine;

  /// Sends an event and an incident with these files, and compares all they leave. `totals` are the
  /// bytes before each file, and of all.
  void expectSent(const std::vector<Listed>& files, const std::vector<std::string>& totals,
                  const std::function<bool()>& prepare = nullptr) const {
    std::string list;
    for (const Listed& file : files) list += file.path + "\n";
    machine.write("/case/list", list);
    std::string measures;
    for (std::size_t at = 0; at < files.size(); ++at) {
      const Listed& file = files[at];
      if (!file.error.empty()) {
        measures += "get file size error(" + file.path + "," + file.error + ")\n";
      }
      measures += measured(totals[at], file.path, file.size);
    }
    measures += measuredAll(totals.back());
    expectEvent(files, measures, prepare);
    machine.remove("/case/action.log");
    machine.remove("/case/outbox");
    expectIncident(files, measures, prepare);
  }

 private:
  void expectEvent(const std::vector<Listed>& files, const std::string& measures,
                   const std::function<bool()>& prepare) const {
    std::vector<Item> items;
    for (const Listed& file : files) items.push_back({file.path, file.fate});
    const std::string text = eventText("Software Log");
    const int count = static_cast<int>(files.size());
    expectRun(machine.run({{"/case/list", "-r", "/case/event.def"}, "", true, {}, prepare}),
              {framed(parameterLines() + measures + startedLine() +
                          eventPart("0x40204", text, count, files[0].path) + "commonSendEvent OK\n",
                      0),
               asked() + startComm() + notify("0x40204", text) + sendItems("0x4010d", items) +
                   stopped()});
  }

  void expectIncident(const std::vector<Listed>& files, const std::string& measures,
                      const std::function<bool()>& prepare) const {
    std::string parts;
    std::string exchanges = asked() + startComm();
    const int count = static_cast<int>(files.size());
    for (int part = 1; part <= count; ++part) {
      const Listed& file = files[static_cast<std::size_t>(part - 1)];
      parts += incidentPart("1", part, count, file.path);
      exchanges += notify("0x40017", incidentText("1", part, count));
      exchanges += sendItems("0x4010b", {{file.path, file.fate}});
    }
    expectRun(machine.run({{"/case/list", "-i", "1"}, "", true, {}, prepare}),
              {framed(hostNameLines(true) + measures + startedLine() + parts +
                          "commonSendEvent OK\n" + collectionLines(true),
                      0),
               exchanges + stopped()});
  }
};

TEST_F(ListedFiles, MissingFileCountsAsMinusOne) {
  expectSent({{"/case/none", "-1", "No such file or directory", "No such file or directory"},
              {"/case/a.txt", "6", "", "=items/0001-a.txt"}},
             {"0", "4294967295", "5"});
}

TEST_F(ListedFiles, OnlyMissingFilesWrapBelowZero) {
  expectSent({{"/case/none", "-1", "No such file or directory", "No such file or directory"},
              {"/case/a.txt/x", "-1", "Not a directory", "Not a directory"}},
             {"0", "4294967295", "4294967294"});
}

TEST_F(ListedFiles, Directory) {
  machine.makeFolder("/case/folder");
  struct stat status = {};
  ASSERT_EQ(::stat(machine.outside("/case/folder").c_str(), &status), 0);
  const std::string size = std::to_string(status.st_size);
  const std::string total = std::to_string(status.st_size + 6);
  expectSent({{"/case/folder", size, "", "not a regular file"},
              {"/case/a.txt", "6", "", "=items/0001-a.txt"}},
             {"0", size, total});
}

TEST_F(ListedFiles, Unreadable) {
  machine.write("/case/secret", "12345", 0000);
  expectSent({{"/case/secret", "5", "", "Permission denied"},
              {"/case/a.txt", "6", "", "=items/0001-a.txt"}},
             {"0", "5", "11"}, obeyPermissions);
}

TEST_F(ListedFiles, FifoIsNotOpened) {
  ASSERT_EQ(::mkfifo(machine.outside("/case/fifo").c_str(), 0600), 0);
  expectSent({{"/case/fifo", "0", "", "not a regular file"}}, {"0", "0"});
}

TEST_F(ListedFiles, Empty) {
  machine.write("/case/empty", "");
  expectSent({{"/case/empty", "0", "", "=items/0001-empty"}}, {"0", "0"});
}

TEST_F(ListedFiles, NameWithBlanksQuotesAndPercentSigns) {
  const std::string path = "/case/a b\"c'%s%n;$(x)";
  machine.write(path, "123");
  expectSent({{path, "3", "", "=items/0001-a b\"c'%s%n;$(x)"}}, {"0", "3"});
}

TEST_F(ListedFiles, RelativeNameIsSentAsItIs) {
  expectSent({{"a.txt", "6", "", "=items/0001-a.txt"}}, {"0", "6"});
}

TEST_F(ListedFiles, FourGiBAndMoreWrapTheTotal) {
  machine.makeSparse("/case/below", 4 * kGiB - 1);
  machine.makeSparse("/case/exact", 4 * kGiB);
  machine.makeSparse("/case/above", 5 * kGiB);
  expectSent({{"/case/below", "4294967295", "", "=items/0001-below"},
              {"/case/exact", "4294967296", "", "=items/0002-exact"},
              {"/case/above", "5368709120", "", "=items/0003-above"},
              {"/case/a.txt", "6", "", "=items/0004-a.txt"}},
             {"0", "4294967295", "4294967295", "1073741823", "1073741829"});
}

TEST_F(ListedFiles, FileDeletedBetweenMeasuringAndSending) {
  const std::string file = "/case/b.syslog.txt";
  machine.write("/case/list", file + "\n");
  const std::string text = eventTextWithoutExcerpt();
  std::string part = eventPart("0x40204", text, 1, file);
  part.insert(part.find('\n') + 1,
              "syslogfile open error.FILE=" + file + "(CSendEventBase::getSyslogLine)\n");
  expectRun(machine.run({{"/case/list", "-r", "/case/event.def"},
                         "",
                         true,
                         {{"LD_LIBRARY_PATH", "/testkelcom"},
                          {"TEST_KELCOM_CALLS", "/case/calls"},
                          {"TEST_KELCOM_REMOVE", file}}}),
            {framed(parameterLines() + measured("0", file, "23") + measuredAll("23") +
                        startedLine() + part + "commonSendEvent OK\n",
                    0)});
  EXPECT_FALSE(machine.exists(file));
  EXPECT_EQ(machine.read("/case/calls"),
            "KEL_GetID\nKEL_GetID\nKEL_GetStatus\nKEL_GetStatus\nKEL_StartComm\n"
            "KEL_Communicate\nKEL_Communicate\nKEL_StopComm\nKEL_StopComm\n");
}

// --- very many -----------------------------------------------------------------------------------

constexpr int kMany = 100000;
constexpr rlim_t kSmallStack = 256UL * 1024UL;

bool limitStack() {
  const rlimit limit = {kSmallStack, kSmallStack};
  return ::setrlimit(RLIMIT_STACK, &limit) == 0;
}

/// On the library that does nothing, so that the command's own time shows.
Call withoutRecord(const std::vector<std::string>& arguments, bool trace) {
  return {arguments, "", trace, {{"LD_LIBRARY_PATH", "/testkelcom"}}, limitStack};
}

class ManyFiles : public CommandTest {
 protected:
  Machine machine;

  void SetUp() override {
    CommandTest::SetUp();
    std::string list;
    for (int number = 0; number < kMany; ++number) list += "/case/a.txt\n";
    machine.write("/case/list", list);
  }

  /// The last lines of the log, and their order.
  static std::vector<std::string> tail(const std::string& log, std::size_t count) {
    std::vector<std::string> all = linesOf(log);
    return {all.end() - static_cast<std::ptrdiff_t>(count), all.end()};
  }
};

TEST_F(ManyFiles, EventTakesAFewSecondsAtMostAndASmallStack) {
  const auto start = std::chrono::steady_clock::now();
  const RunResult result =
      machine.run(withoutRecord({"/case/list", "-r", "/case/event.def"}, false));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  expectRun(result,
            {framed(startedLine() +
                        eventPart("0x40204", eventText("Software Log"), kMany, "/case/a.txt") +
                        "commonSendEvent OK\n",
                    0)});
}

TEST_F(ManyFiles, TracedEventTakesAFewSecondsAtMostAndASmallStack) {
  const auto start = std::chrono::steady_clock::now();
  const RunResult result =
      machine.run(withoutRecord({"/case/list", "-r", "/case/event.def"}, true));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(result.child.exitCode(), 0);
  // The log was rotated, but never between the last file and the end.
  const std::string end = measured("599994", "/case/a.txt", "6") + measuredAll("600000") +
                          startedLine() +
                          eventPart("0x40204", eventText("Software Log"), kMany, "/case/a.txt") +
                          "commonSendEvent OK\n";
  const std::string whole = framed(end, 0);
  const std::string expected = whole.substr(whole.find('\n') + 1);
  ASSERT_GE(result.log.size(), expected.size());
  EXPECT_EQ(result.log.substr(result.log.size() - expected.size()), expected);
}

TEST_F(ManyFiles, IncidentTakesSomeSecondsAtMostAndASmallStack) {
  const auto start = std::chrono::steady_clock::now();
  const RunResult result = machine.run(withoutRecord({"/case/list", "-i", "1"}, false));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(50));
  EXPECT_EQ(result.child.exitCode(), 0);
  EXPECT_EQ(tail(result.log, 10), linesOf(incidentPart("1", kMany, kMany, "/case/a.txt") +
                                          "commonSendEvent OK\n" + collectionLines() +
                                          "ELAPSED:range='executing tanexics', time='*'\n"
                                          "### main : tanexics exit. code = 0\n"));
}

}  // namespace
