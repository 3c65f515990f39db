// The program as a person runs it: its options, its texts and its exit statuses.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/childrun.h"
#include "tools/logbytes.h"

namespace {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

class TanexicsLog : public testing::Test {
 protected:
  /// Runs the program in a shell, in the folder of the test; `words` as a shell has them.
  Outcome run(const std::string& words) const {
    const ChildResult result = runProgram(
        {"/bin/sh", "-c", "cd " + dir.path() + "; PATH=" + folder() + ":$PATH; " + words},
        {{"TZ", "UTC"}, {"TANEX_LOG", dir / "default.log"}});
    return {result.exitCode(), result.out, result.err};
  }

  Outcome log(const std::string& words) const { return run("tanexics-log " + words); }

  static std::string folder() {
    const std::string program = TANEXICS_LOG;
    return program.substr(0, program.rfind('/'));
  }

  /// The process ids of the runs that are printed.
  Texts pids(const std::string& words) const {
    Texts found;
    for (const std::string& line : linesOf(log("--json " + words).out)) {
      found.push_back(std::to_string(nlohmann::json::parse(line)["pid"].get<int>()));
    }
    return found;
  }

  ScratchDir dir;
};

std::string at(const std::string& time, int pid, const Texts& messages) {
  std::string bytes;
  for (const std::string& message : messages) bytes += headOf(pid, time) + message + '\n';
  return bytes;
}

constexpr char kDelivered[] =
    "2026-11-21T23:30:33       7  delivered  incident 42 of db01: all 2 exchanges accepted\n";

TEST_F(TanexicsLog, Runs_AreALineEachAndTheWorstDecidesTheStatus) {
  const std::string delivered = linesOf(7, incident({0, 0}));
  const std::string unknown = linesOf(8, {kStartedLine});
  const std::string refused = linesOf(9, event({-1, -1}));
  const struct {
    std::string bytes;
    int status;
    std::string out;
  } rows[] = {
      {delivered, 0, kDelivered},
      {delivered + unknown, 2,
       std::string(kDelivered) +
           "2026-11-21T23:30:33       8  unknown    -: the end is not in the log\n"},
      {refused + unknown + delivered, 1,
       "2026-11-21T23:30:33       9  refused    error-event Disk \"a\", full of db01: 2 of 2 exchanges "
       "failed: notification 1: -1\n" +
           std::string(kDelivered) +
           "2026-11-21T23:30:33       8  unknown    -: the end is not in the log\n"},
  };
  for (const auto& row : rows) {
    dir.write("a.log", row.bytes);
    const Outcome outcome = log("a.log");
    EXPECT_EQ(outcome.out, row.out);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, row.status);
  }
}

TEST_F(TanexicsLog, Json_HasEveryField) {
  Texts messages = incident({0, -55});
  messages[6] = doneLine(-55, "(HTTP) RL:-55,ZW-Agent:49,Mailsvr:\"\"");
  messages.insert(messages.begin() + 1, "get file size error(/b\\\x01\xff,Permission denied)");
  dir.write("a.log", linesOf(7882, messages) + linesOf(8, {kStartedLine}));
  EXPECT_EQ(
      log("--json a.log").out,
      R"({"log":"a.log","pid":7882,"start":"2026-11-21T23:30:33","end":"2026-11-21T23:30:33",)"
      R"("elapsed":0.012,"mode":"incident","identity":"42","host":"db01","verdict":"partly",)"
      R"("reason":"1 of 2 exchanges failed: /file1: -55 (HTTP) RL:-55,ZW-Agent:49,Mailsvr:\"\"; )"
      R"(1 listed file could not be measured: /b\\\\\\x01\\xff","exit":0,"expected":2,"exchanges":[)"
      R"({"kind":"notification","request":"0x40017","part":1,"files":0,"path":null,"code":0,"error":""},)"
      R"({"kind":"data","request":"0x4010b","part":1,"files":1,"path":"/file1","code":-55,)"
      R"("error":"(HTTP) RL:-55,ZW-Agent:49,Mailsvr:\"\""}],"missing":["/b\\\\\\x01\\xff"],"torn":0})"
      "\n"
      R"({"log":"a.log","pid":8,"start":"2026-11-21T23:30:33","end":null,"elapsed":null,"mode":null,)"
      R"("identity":null,"host":null,"verdict":"unknown","reason":"the end is not in the log",)"
      R"("exit":null,"expected":null,"exchanges":[],"missing":[],"torn":0})"
      "\n");
}

TEST_F(TanexicsLog, Options_ChooseRuns) {
  dir.write("a.log", at("2026/11/20 23:59:59", 1, incident({0, 0})) +
                         at("2026/11/21 00:00:00", 2, event({0, 0})) +
                         at("2026/11/21 23:59:59", 3, incident({-1, -1})) +
                         at("2026/11/22 00:00:00", 4, unsent("not Super-User", 65)));
  const struct {
    const char* words;
    Texts pids;
  } rows[] = {
      {"", {"1", "2", "3", "4"}},
      {"--since 2026-11-21", {"2", "3", "4"}},
      {"--since 2026-11-21T00:00:01", {"3", "4"}},
      {"--since 2000-02-29 --until 2400-02-29", {"1", "2", "3", "4"}},
      {"--since 2024-02-29", {"1", "2", "3", "4"}},
      {"--until 2026-11-21", {"1", "2", "3"}},
      {"--until 2026-11-20T23:59:59", {"1"}},
      {"--pid 3", {"3"}},
      {"--incident 42", {"1", "3"}},
      {"--incident 4", {}},
      {"--verdict delivered", {"1", "2"}},
      {"--verdict refused,not-sent", {"3", "4"}},
      {"--last", {"4"}},
      {"--last=2 --verdict delivered,partly,refused", {"2", "3"}},
      {"--last=9", {"1", "2", "3", "4"}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(pids(row.words + std::string(" a.log")), row.pids) << row.words;
}

TEST_F(TanexicsLog, OlderGeneration_IsOneLogWithTheOther) {
  const std::string bytes = linesOf(7, incident({0, 0}));
  dir.write("a.bak", bytes.substr(0, 300));
  dir.write("a.log", bytes.substr(300));
  dir.write("default.bak", bytes.substr(0, 300));
  dir.write("default.log", bytes.substr(300));
  EXPECT_EQ(log("a.bak a.log").out, kDelivered);
  EXPECT_EQ(log("").out, kDelivered);
  EXPECT_EQ(run("TANEX_LOG=none.log tanexics-log").err,
            "tanexics-log: none.log: No such file or directory\n");
  // The name of its own older generation.
  EXPECT_EQ(pids("a.bak"), (Texts{"7"}));
  EXPECT_EQ(run("TANEX_LOG=a.bak tanexics-log").out, log("a.bak").out);
  EXPECT_EQ(pids("a.log a.bak").size(), 2u);
  EXPECT_EQ(pids("a.bak ./a.log").size(), 2u);  // of another folder, as far as the names tell
}

TEST_F(TanexicsLog, Lines_StandBelowTheirRun) {
  dir.write("a.log", linesOf(7, unsent("not Super-User", 65)));
  EXPECT_EQ(log("--lines a.log").out,
            "2026-11-21T23:30:33       7  not-sent   -: not Super-User\n"
            "    2026/11/21 23:30:33     7 ### main : tanexics started.\n"
            "    2026/11/21 23:30:33     7 not Super-User\n"
            "    2026/11/21 23:30:33     7 ELAPSED:range='executing tanexics', time='0.012000'\n"
            "    2026/11/21 23:30:33     7 ### main : tanexics exit. code = 65\n");
}

TEST_F(TanexicsLog, Texts_AreReadAsTheyAreOrAsIsSaid) {
  Texts messages = event({0, 0});
  messages[3] =
      "RM_Communicate call (param=0x40204 0 0 \"t\",,\"\xa4\xa2\",\"\xe3\x81\x82\" NULL  NULL)";
  dir.write("a.log", linesOf(7, messages));
  const auto names = [this](const std::string& words) {
    const auto run = nlohmann::json::parse(log("--json " + words + " a.log").out);
    return Texts{run["identity"], run["host"]};
  };
  EXPECT_EQ(names(""), (Texts{"あ", "あ"}));
  EXPECT_EQ(names("--encoding utf-8"), (Texts{"\\xa4\\xa2", "あ"}));
  EXPECT_EQ(names("--encoding euc-jp"), (Texts{"あ", "\\xe3\\x81\\x82"}));
}

TEST_F(TanexicsLog, Metrics_ArePrintedOnceAlsoWithoutARun) {
  dir.write("a.log", linesOf(7, incident({0, 0})) + linesOf(8, event({-1, -1})));
  dir.write("empty", "");
  const Outcome some = log("--openmetrics a.log");
  EXPECT_NE(some.out.find("tanexics_log_runs{log=\"a.log\",verdict=\"delivered\"} 1\n"),
            std::string::npos)
      << some.out;
  EXPECT_EQ(some.status, 1);
  EXPECT_EQ(linesOf(some.out).back(), "# EOF");
  EXPECT_EQ(linesOf(log("--openmetrics empty").out).back(), "# EOF");
}

TEST_F(TanexicsLog, Page_IsWrittenInsteadOfLinesOrNotAtAll) {
  dir.write("a.log", linesOf(7, incident({0, 0})));
  const Outcome written = log("--html page.html a.log");
  EXPECT_EQ(written.out + written.err, "");
  EXPECT_EQ(written.status, 0);
  EXPECT_NE(readFile(dir / "page.html").find("all 2 exchanges accepted"), std::string::npos);
  dir.write("a.log", linesOf(7, inserted(unsent("not Super-User", 65), 1,
                                         "VUQ90103L : failed to create dir:/tmp/a")));
  EXPECT_EQ(log("--html page.html a.log").status, 1);
  EXPECT_NE(readFile(dir / "page.html").find("VUQ90103L, "), std::string::npos);
  EXPECT_EQ(linesOf(log("--json --html page.html a.log").out).size(), 1u);
  const Outcome refused = log("--html nowhere/page.html a.log");
  EXPECT_EQ(refused.err, "tanexics-log: nowhere/page.html: No such file or directory\n");
  EXPECT_EQ(refused.status, 74);
}

TEST_F(TanexicsLog, Explanations_AreSentencesOfWordsAndOfRuns) {
  const Outcome words = log("explain 0x20000 exit/65");
  EXPECT_EQ(words.out,
            "status word 131072 (0x20000): stopped; sent: no\n"
            "exit status 65: the caller is not the super-user\n");
  EXPECT_EQ(words.status, 0);
  const Outcome none = log("explain frob exit/65");
  EXPECT_EQ(none.out, "exit status 65: the caller is not the super-user\n");
  EXPECT_EQ(none.err,
            "tanexics-log: frob: not known; words are like 131072, 0x20000, -62/54, SMTP/-79/-26, "
            "VUQ90103L, common:602, exit/78\n");
  EXPECT_EQ(none.status, 64);
  EXPECT_EQ(log("explain").status, 64);
  dir.write("a.log", linesOf(7, unsent("not Super-User", 65)));
  EXPECT_EQ(log("--explain a.log").out,
            "2026-11-21T23:30:33       7  not-sent   -: not Super-User\n"
            "    exit status 65: the caller is not the super-user\n");
}

TEST_F(TanexicsLog, FollowedFileThatCannotBeRead_IsToldAsAnyOther) {
  const Outcome outcome = log("--follow none.log");
  EXPECT_EQ(outcome.err, "tanexics-log: none.log: No such file or directory\n");
  EXPECT_EQ(outcome.status, 74);
}

TEST_F(TanexicsLog, Terminal_HasColoursAndItsOwnWidth) {
  dir.write("a.log", linesOf(7, incident({0, 0})) + linesOf(8, event({-1, -1})) +
                         linesOf(9, {kStartedLine}));
  // script(1) gives it a terminal, whose lines end with a carriage return.
  const auto shown = [this](const std::string& words) {
    std::string text;
    for (const char byte : run("script -qec 'stty cols 40; " + words + "' /dev/null").out) {
      if (byte != '\r') text += byte;
    }
    return text;
  };
  EXPECT_EQ(shown("tanexics-log --pid 7 a.log"),
            "2026-11-21T23:30:33       7  \x1b[32mdelivered\x1b[0m\n"
            "    incident 42 of db01: all 2 exchanges\n"
            "    accepted\n");
  EXPECT_EQ(shown("tanexics-log --pid 8 a.log"),
            "2026-11-21T23:30:33       8  \x1b[31mrefused\x1b[0m\n"
            "    error-event Disk \"a\", full of db01:\n"
            "    2 of 2 exchanges failed:\n"
            "    notification 1: -1\n");
  EXPECT_EQ(shown("tanexics-log --pid 9 a.log"),
            "2026-11-21T23:30:33       9  \x1b[33munknown\x1b[0m\n"
            "    -: the end is not in the log\n");
  EXPECT_EQ(shown("NO_COLOR=1 tanexics-log --pid 9 a.log"),
            "2026-11-21T23:30:33       9  unknown\n"
            "    -: the end is not in the log\n");
  EXPECT_EQ(shown("NO_COLOR= tanexics-log --pid 9 a.log | cat"),
            "2026-11-21T23:30:33       9  unknown    -: the end is not in the log\n");
}

TEST_F(TanexicsLog, EveryMode_HasItsWord) {
  Texts other = event({0, 0});
  other[3].replace(other[3].find("0x40204"), 7, "0x40205");
  Texts type1 = incident({0, 0});
  type1[3] = "RM_Communicate call (param=0x40016 0 0 NULL NULL  NULL)";
  type1[5] = dataCall("/a", "0x4010a");
  dir.write("a.log", linesOf(1, other) + linesOf(2, type1));
  Texts modes;
  for (const std::string& line : linesOf(log("--json a.log").out)) {
    const auto run = nlohmann::json::parse(line);
    modes.push_back(run["mode"].get<std::string>() + ' ' + run["verdict"].get<std::string>());
  }
  EXPECT_EQ(modes, (Texts{"event delivered", "type1 delivered"}));
}

TEST_F(TanexicsLog, WrongCommandLine_Is64AndSaysWhatWouldBeRight) {
  const struct {
    const char* words;
    const char* complaint;
  } rows[] = {
      {"--since 2026-13-01",
       "--since: no such time: '2026-13-01'; it is written YYYY-MM-DD or YYYY-MM-DDTHH:MM:SS"},
      {"--since 2026-02-29T00:00:00",
       "--since: no such time: '2026-02-29T00:00:00'; it is written YYYY-MM-DD or "
       "YYYY-MM-DDTHH:MM:SS"},
      {"--until 2100-02-29",
       "--until: no such time: '2100-02-29'; it is written YYYY-MM-DD or YYYY-MM-DDTHH:MM:SS"},
      {"--until 2026-02-01T24:00:00",
       "--until: no such time: '2026-02-01T24:00:00'; it is written YYYY-MM-DD or "
       "YYYY-MM-DDTHH:MM:SS"},
      {"--until yesterday",
       "--until: no such time: 'yesterday'; it is written YYYY-MM-DD or YYYY-MM-DDTHH:MM:SS"},
      {"--verdict lost",
       "--verdict: there is none like 'lost'; they are delivered, partly, refused, not-sent, unknown"},
      {"--pid x", "--pid: no such process id: 'x'; it is a number such as 4711"},
      {"--pid -1", "--pid: no such process id: '-1'; it is a number such as 4711"},
      {"--pid 7x", "--pid: no such process id: '7x'; it is a number such as 4711"},
      {"--nothing", "The following argument was not expected: --nothing; --help shows the options"},
      {"--encoding sjis", "--encoding: there is none like 'sjis'; they are utf-8 and euc-jp"},
      {"--last=0", "--last: the number is 1 or more"},
      {"--last=x", "--last: the number is 1 or more"},
      {"--json --openmetrics", "--json excludes --openmetrics"},
      {"--follow --last", "--follow excludes --last"},
      {"--follow a b", "--follow: one log can be followed, and no more"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = log(row.words);
    EXPECT_EQ(outcome.err, "tanexics-log: " + std::string(row.complaint) + "\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.status, 64) << row.words;
  }
  EXPECT_EQ(log("--version").out.substr(0, 13), "tanexics-log ");
  EXPECT_EQ(log("--version").status, 0);
  const Outcome help = log("--help");
  EXPECT_NE(help.out.find("\n  LOG ...    "), std::string::npos) << help.out;
  EXPECT_EQ(help.status, 0);
}

TEST_F(TanexicsLog, ProcessId_IsANumber) {
  dir.write("a.log", linesOf(7, incident({0, 0})));
  EXPECT_EQ(log("--pid 7 a.log").status, 0);
  EXPECT_NE(log("--pid 0 a.log").status, 64);
  EXPECT_EQ(log("--pid=-1 a.log").status, 64);
}

TEST_F(TanexicsLog, Day_IsOneOfTheCalendar) {
  dir.write("a.log", linesOf(7, incident({0, 0})));
  for (const char* day :
       {"2026-01-01", "2026-01-31", "2026-02-28", "2028-02-29", "2026-04-30", "2026-06-30",
        "2026-09-30", "2026-11-30", "2026-12-31", "2026-12-31T23:59:60", "1600-02-29"}) {
    EXPECT_EQ(log(std::string("--since 2000-01-01 --until ") + day + " a.log").err.find("such"),
              std::string::npos)
        << day;
  }
  for (const char* day :
       {"2026-00-01",          "2026-01-00",       "2026-01-32", "2028-02-30",
        "2026-03-32",          "2026-04-31",       "2026-05-32", "2026-06-31",
        "2026-07-32",          "2026-08-32",       "2026-09-31", "2026-10-32",
        "2026-11-31",          "2026-12-32",       "2026-13-31", "2026/01/01",
        "2026-01-1x",          "202x-01-01",       "x026-01-01", "2026-01-01T00:60:00",
        "2026-01-01T00:00:61", "2026-01-01T00:00", "20260-1-01"}) {
    const Outcome outcome = log(std::string("--since ") + day + " a.log");
    EXPECT_EQ(outcome.status, 64) << day;
    EXPECT_NE(outcome.err.find("no such time"), std::string::npos) << outcome.err;
  }
}

TEST_F(TanexicsLog, InputThatIsNone_IsToldBySubjectAndReason) {
  dir.write("a.log", linesOf(7, incident({0, 0})));
  dir.write("passwd", "root:x:0\nbin:x:1\n");
  dir.write("empty", "");
  const struct {
    const char* words;
    int status;
    std::string out;
    std::string err;
  } rows[] = {
      {"none.log", 74, "", "tanexics-log: none.log: No such file or directory\n"},
      {"none.log a.log", 74, kDelivered, "tanexics-log: none.log: No such file or directory\n"},
      {". ", 74, "", "tanexics-log: .: Is a directory\n"},
      {"empty", 3, "", "tanexics-log: no run found\n"},
      {"passwd", 3, "",
       "tanexics-log: no run found; the first line that is not understood: root:x:0\n"},
      {"--pid 8 a.log", 3, "", "tanexics-log: no run found\n"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = log(row.words);
    EXPECT_EQ(outcome.out, row.out);
    EXPECT_EQ(outcome.err, row.err);
    EXPECT_EQ(outcome.status, row.status) << row.words;
  }
  EXPECT_EQ(run("cat a.log | tanexics-log /dev/stdin").out, kDelivered);
  EXPECT_EQ(log("").err,
            "tanexics-log: " + (dir / "default.log") + ": No such file or directory\n");
}

TEST_F(TanexicsLog, StandardOutput_ThatCannotBeWrittenIs74) {
  std::string bytes;
  for (int pid = 1; pid < 2000; ++pid) bytes += linesOf(pid, incident({0, 0}));
  dir.write("a.log", bytes);
  for (const std::string words : {"a.log", "explain exit/65", "--help"}) {
    const Outcome closed = log(words + " >&-");
    EXPECT_EQ(closed.err, "tanexics-log: standard output: Bad file descriptor\n");
    EXPECT_EQ(closed.status, 74);
    const Outcome full = log(words + " >/dev/full");
    EXPECT_EQ(full.err, "tanexics-log: standard output: No space left on device\n");
    EXPECT_EQ(full.status, 74);
  }
  // Well above what a count of coverage takes, which is written at the end.
  const Outcome limited = run("trap - XFSZ; ulimit -f 1000; tanexics-log --json a.log >out");
  EXPECT_EQ(limited.err, "tanexics-log: standard output: File too large\n");
  EXPECT_EQ(limited.status, 74);
  const Outcome outcome = run("{ tanexics-log a.log; echo $? >status; } | head -1; cat status");
  EXPECT_EQ(linesOf(outcome.out).back(), "74");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(TanexicsLog, Follow_PrintsEachRunWhenItEndsThroughARotation) {
  const std::string whole = linesOf(7, incident({0, 0}));
  dir.write("more", whole.substr(300));
  dir.write("next", linesOf(8, event({0, 0})));
  dir.write("last", linesOf(9, event({0, 0})));
  dir.write("new", linesOf(10, event({0, 0})));
  dir.write("a.log", whole.substr(0, 300));
  // Its reader goes after the fourth run: it ends by the fifth.
  const Outcome followed = run(
      "{ tanexics-log --follow --json a.log; echo $? >status; } | head -n 4 >out & "
      "wait_for() { for i in $(seq 200); do [ \"$(wc -l <out)\" = $1 ] && return; sleep 0.05; done; }; "
      "sleep 0.3; cat more >>a.log; sleep 0.5; cat next >>a.log; cp a.log a.bak; : >a.log; "
      "cat last >>a.log; sleep 0.7; mv a.log a.old; cat new >a.log; wait_for 4; cat next >>a.log; wait; "
      "cat out");
  EXPECT_EQ(readFile(dir / "status"), "74\n");
  Texts pids;
  for (const std::string& line : linesOf(followed.out)) {
    pids.push_back(std::to_string(nlohmann::json::parse(line)["pid"].get<int>()) + " " +
                   nlohmann::json::parse(line)["verdict"].get<std::string>());
  }
  EXPECT_EQ(pids, (Texts{"7 delivered", "8 delivered", "9 delivered", "10 delivered"}));
}

}  // namespace
