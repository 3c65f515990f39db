// tanexics-check as a person runs it: its options, its texts and its exit statuses.

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "support/childrun.h"
#include "tools/checked.h"
#include "tools/helptext.h"

namespace {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

class TanexicsCheck : public Checked {
 protected:
  /// Runs the program in a shell, in the folder of the test; `words` as a shell has them.
  Outcome run(const std::string& words) const {
    const std::string program = TANEXICS_CHECK;
    const ChildResult result =
        runProgram({"/bin/sh", "-c",
                    "cd " + dir.path() + "; PATH=" + program.substr(0, program.rfind('/')) +
                        ":$PATH; " + words},
                   {{"TANEX_LOG", dir / "action.log"}, {"TANEX_LOG_LEVEL", "LOG_LEVEL_TRACE"}});
    return {result.exitCode(), result.out, result.err};
  }

  Outcome check(const std::string& words) const { return run("tanexics-check " + words); }

  /// What a command in a shell shows on a terminal of so many columns. script(1) gives it one,
  /// whose lines end with a carriage return.
  std::string shownOn(int columns, const std::string& command) const {
    const std::string words = "stty cols " + std::to_string(columns) + "; " + command;
    std::string text;
    for (const char byte : run("script -qec '" + words + "' /dev/null").out) {
      if (byte != '\r') text += byte;
    }
    return text;
  }

  const std::string m_fileRow = "file \"" + kExtract + "\": 46 bytes\n";
  const std::string m_notification =
      "\"2026/11/15 12:00:07\",,\"disk\",\"db01\",\"Linux\",\"Debian\",\"12\",\"storage\",\"ERROR\",,"
      "\"Nov 15 12:00:05 db01 kernel: I/O error\"";
  const std::string m_accepted =
      "sends an error event (0x40204) with 1 file of 46 bytes\n"
      "notification (118 of 896 bytes): " +
      m_notification + "\n" + m_fileRow + "result: accepted\n";
};

TEST_F(TanexicsCheck, Accepted_Is0AndLeavesNothing) {
  const Outcome outcome = check("list -r event");
  EXPECT_EQ(outcome.out, m_accepted);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(check("list -i 42").status, 0);
  EXPECT_EQ(namesIn(dir.path()), (Texts{"event", "list", "x.syslog.txt"}));
}

TEST_F(TanexicsCheck, Rejected_Is68) {
  const Outcome outcome = check("--strict missing -r event");
  EXPECT_EQ(outcome.out, "missing: error: does not exist\nresult: rejected (68)\n");
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.status, 68);
  EXPECT_EQ(check("").status, 68);
  EXPECT_EQ(check("list").status, 68);
}

TEST_F(TanexicsCheck, Warnings_Are1OnlyWhereItIsStrict) {
  EXPECT_EQ(check("list -i ''").status, 0);
  EXPECT_EQ(check("--strict list -i ''").status, 1);
  EXPECT_EQ(check("--strict list -r event").status, 0);
}

TEST_F(TanexicsCheck, NotKnown_Is74) {
  ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
  const Outcome outcome = check("fifo -i 1");
  EXPECT_EQ(outcome.out,
            "fifo: warning: is a FIFO, and not opened here: the command reads it until it ends\n"
            "result: not known\n");
  EXPECT_EQ(outcome.status, 74);
  EXPECT_EQ(
      check("--json fifo -i 1").out,
      "{\"result\":null,\"status\":null,\"faults\":[{\"file\":\"fifo\",\"line\":null,"
      "\"severity\":\"warning\",\"text\":\"is a FIFO, and not opened here: the command reads it "
      "until it ends\"}],\"notification\":null,\"cut\":[],\"files\":[]}\n");
  const Outcome changing = check("/proc/sys/kernel/random/uuid -i 1");
  EXPECT_EQ(changing.err, "tanexics-check: the input has changed while it was checked\n");
  EXPECT_EQ(linesOf(changing.out).back(), "result: not known");
  EXPECT_EQ(changing.status, 74);
}

TEST_F(TanexicsCheck, Json_HasEveryField) {
  dir.write("list", kExtract + "\n/none\\\xff\n");
  dir.write("event", eventWith("=disk", "=\x01" + std::string(892, 'x')));
  const Outcome outcome = check("--json list -r event");
  const std::string label(873, 'x');
  EXPECT_EQ(
      outcome.out,
      "{\"result\":\"accepted\",\"status\":0,\"faults\":[{\"file\":\"list\",\"line\":2,\"severity\":"
      "\"warning\",\"text\":\"\\\"/none\\\\\\\\\\\\xff\\\" does not exist\"},{\"file\":\"event\","
      "\"line\":3,\"severity\":\"warning\",\"text\":\"the value of Label has control bytes\"},{"
      "\"file\":\"event\",\"line\":3,\"severity\":\"warning\",\"text\":\"the notification is 896 of "
      "896 bytes; cut: Label; not sent: HostName, OSType, OSName, OSVersion, PkgName, MsgType and the "
      "log line\"}],\"notification\":\"\\\"2026/11/15 12:00:07\\\",,\\\"\\\\x01" +
          label.substr(0, 870) +
          "\\\"\",\"cut\":[\"Label\",\"HostName\",\"OSType\",\"OSName\",\"OSVersion\",\"PkgName\","
          "\"MsgType\",\"log line\"],\"files\":[{\"path\":\"" +
          kExtract + "\",\"bytes\":46},{\"path\":\"/none\\\\\\\\\\\\xff\",\"bytes\":null}]}\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(
      check("--json list -x").out,
      "{\"result\":\"rejected\",\"status\":68,\"faults\":[{\"file\":null,\"line\":null,"
      "\"severity\":\"error\",\"text\":\"\\\"-x\\\" is neither -i nor -r\"},{\"file\":\"list\","
      "\"line\":2,\"severity\":\"warning\",\"text\":\"\\\"/none\\\\\\\\\\\\xff\\\" does not "
      "exist\"}],\"notification\":null,\"cut\":[],\"files\":[]}\n");
}

TEST_F(TanexicsCheck, FirstLine_HasItsNumber) {
  dir.write("list", "/none\n");
  const auto report = nlohmann::json::parse(check("--json list -i 42").out);
  EXPECT_EQ(report["faults"].at(0)["line"], 1);
}

TEST_F(TanexicsCheck, EventWithoutAnExtract_HasItsNotification) {
  dir.write("list", "/etc/hostname\n");
  const auto report = nlohmann::json::parse(check("--json list -r event").out);
  EXPECT_EQ(report["notification"],
            m_notification.substr(0, m_notification.find("Nov")) + "Software Log\"");
}

TEST_F(TanexicsCheck, Json_TellsOfTheRestLast) {
  std::string bytes;
  for (int i = 0; i < 1200; ++i) bytes += "/none\n";
  dir.write("list", bytes);
  dir.write("event", "nonsense\n");
  const auto report = nlohmann::json::parse(check("--json list -r event").out);
  ASSERT_EQ(report["faults"].size(), 1001u);
  EXPECT_EQ(report["faults"][987]["line"], 988);
  EXPECT_EQ(report["faults"][988]["text"], "no \"=\" in \"nonsense\"");
  EXPECT_EQ(report["faults"][1000], (nlohmann::json{{"file", nullptr},
                                                    {"line", nullptr},
                                                    {"severity", "warning"},
                                                    {"text", "... and 212 warnings more"}}));
}

TEST_F(TanexicsCheck, OwnOptions_StandInFrontAlone) {
  dir.write("--json", kExtract + "\n");
  dir.write("-h", kExtract + "\n");
  EXPECT_EQ(check("-- --json -r event").out, m_accepted);
  EXPECT_EQ(check("./-h -r event").out, m_accepted);
  EXPECT_EQ(check("--strict -- -h -r event").out, m_accepted);
  EXPECT_EQ(linesOf(check("list --json -i 1").out)[0],
            "command line: error: \"--json\" is neither -i nor -r");
  for (const char* words : {"--bogus list -i 1", "--jso list"}) {
    const Outcome outcome = check(words);
    EXPECT_EQ(outcome.status, 64) << words;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.substr(0, 16), "tanexics-check: ");
  }
}

TEST_F(TanexicsCheck, HelpAndVersion_ArePrinted) {
  EXPECT_EQ(
      missingFrom(
          check("--help").out,
          {"Tells whether tanexics would accept its input, and what it would send.",
           "Usage: tanexics-check [OPTIONS] LISTFILE -i NUMBER "
           "tanexics-check [OPTIONS] LISTFILE -r EVENTFILE",
           "--help", "--json Print one JSON object", "--strict End with 1 where there are warnings",
           "--environment Look at the library, the log and what else a run needs, too",
           "--version"}),
      Texts());
  EXPECT_EQ(check("-h").out, check("--help").out);
  EXPECT_EQ(check("--version list").out.substr(0, 15), "tanexics-check ");
  EXPECT_EQ(check("--version").status, 0);
}

TEST_F(TanexicsCheck, Environment_IsLookedAtWhereItIsAskedFor) {
  const std::string head = "TANEX_LOG: warning: is empty: a run keeps no record";
  const auto hasIt = [&](const std::string& words) {
    const Texts lines = linesOf(run("TANEX_LOG= tanexics-check " + words).out);
    return std::count(lines.begin(), lines.end(), head);
  };
  EXPECT_EQ(hasIt("--environment list -r event"), 1);
  EXPECT_EQ(hasIt("--environment list -x"), 1);
  EXPECT_EQ(hasIt("list -r event"), 0);
}

TEST_F(TanexicsCheck, Terminal_HasColoursAndItsOwnWidth) {
  dir.write("list", "/none\n" + kExtract + "\n");
  const auto shown = [this](const std::string& command) { return shownOn(40, command); };
  EXPECT_EQ(shown("tanexics-check list -x"),
            "command line: \x1b[31merror\x1b[0m: \"-x\" is neither -i\n"
            "    nor -r\n"
            "list:1: \x1b[33mwarning\x1b[0m: \"/none\" does not exist\n"
            "result: \x1b[31mrejected\x1b[0m (68)\n");
  EXPECT_EQ(linesOf(shown("tanexics-check list -i 1")).back(),
            "result: \x1b[32maccepted\x1b[0m, 1 warning");
  EXPECT_EQ(linesOf(shown("tanexics-check /dev/zero -i 1")).back(),
            "result: \x1b[33mnot known\x1b[0m");
  EXPECT_EQ(linesOf(shown("NO_COLOR=1 tanexics-check list -x")).back(), "result: rejected (68)");
  EXPECT_EQ(linesOf(shown("tanexics-check list -x | cat")).back(), "result: rejected (68)");
}

/// The columns of a line, in which each character of three bytes is a wide one.
std::size_t columnsOf(const std::string& line) {
  std::size_t columns = 0;
  for (const char byte : line) {
    const auto value = static_cast<unsigned char>(byte);
    columns += value >= 0xe0 ? 2 : (value & 0xc0) == 0x80 ? 0 : 1;
  }
  return columns;
}

/// `text` without what broken lines have more than whole ones.
std::string unbroken(std::string text) {
  for (std::size_t at = 0; (at = text.find("\n    ", at)) != std::string::npos;) {
    text.replace(at, 5, " ");
  }
  return text;
}

TEST_F(TanexicsCheck, Terminal_OfAnyWidthShowsWhatAPipeHas) {
  dir.write("list", "x.syslog.txt\n# a comment\n");
  dir.write("event",
            eventWith("=disk", "=\xa4\xa2\xa4\xa4 \xa4\xa6 disk sda\x01 of db01, the first one") +
                "Label=\xe3\x81\x82 disk\nComment=x\n");
  for (const std::string words : {"list -r event", "list -i 4711"}) {
    const std::string piped = check(words).out;
    std::size_t lines = static_cast<std::size_t>(-1);
    for (const int columns : {40, 80, 200}) {
      const std::string text = shownOn(columns, "NO_COLOR=1 tanexics-check " + words);
      EXPECT_EQ(unbroken(text), piped) << columns;
      for (const std::string& line : linesOf(text)) {
        // A word that is longer stands alone.
        const bool isOneWord =
            line.find(' ', std::min(line.find_first_not_of(' '), line.size())) == std::string::npos;
        EXPECT_TRUE(isOneWord || columnsOf(line) <= static_cast<std::size_t>(columns)) << line;
      }
      EXPECT_LE(linesOf(text).size(), lines) << columns;
      lines = linesOf(text).size();
    }
    EXPECT_GT(linesOf(shownOn(40, "tanexics-check " + words)).size(), linesOf(piped).size());
  }
}

TEST_F(TanexicsCheck, LocaleWithoutACatalogue_ChangesNothing) {
  dir.write("list", "/none\n" + kExtract + "\n");
  dir.write("event", eventWith("=disk", "=\xa4\xa2 \xe3\x81\x82 \xff"));
  for (const std::string words : {"list -r event", "--json list -r event", "/ -i 1"}) {
    const std::string plain = run("LC_ALL=C tanexics-check " + words).out;
    const std::string shown = shownOn(80, "LC_ALL=C tanexics-check " + words);
    for (const std::string locale : {"LANG=C", "LC_ALL=C.UTF-8", "LC_ALL=en_US.UTF-8"}) {
      EXPECT_EQ(run(locale + " tanexics-check " + words).out, plain) << locale;
      EXPECT_EQ(shownOn(80, locale + " tanexics-check " + words), shown) << locale;
    }
  }
}

TEST_F(TanexicsCheck, OutputThatCannotBeWritten_Is74) {
  for (const std::string words : {"list -r event", "--json list -r event", "--help"}) {
    const Outcome closed = check(words + " >&-");
    EXPECT_EQ(closed.err, "tanexics-check: standard output: Bad file descriptor\n") << words;
    EXPECT_EQ(closed.status, 74) << words;
    const Outcome full = check(words + " >/dev/full");
    EXPECT_EQ(full.err, "tanexics-check: standard output: No space left on device\n") << words;
    EXPECT_EQ(full.status, 74) << words;
  }
  const Outcome unread =
      run("{ tanexics-check list -r event; echo $? >status; } | true; sleep 0.1");
  EXPECT_EQ(unread.err, "");
}

}  // namespace
