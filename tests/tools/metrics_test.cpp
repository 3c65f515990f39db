#include "tools/log/metrics.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "support/childrun.h"
#include "support/environmentguard.h"
#include "support/eucjp.h"
#include "support/pattern.h"
#include "support/scratch.h"

namespace {

using outcome::Encoding;
using outcome::Exchange;
using outcome::Verdict;
using namespace std::string_literals;

const char kMorning[] = "2026/11/15 12:00:07";  // in Japan
constexpr long kMorningUnix = 1794711607;
const char kHourLater[] = "2026/11/15 13:00:07";
constexpr long kHourLaterUnix = kMorningUnix + 3600;

const char kNoRun[] =
    "# HELP tanexics_log_runs Runs in the log, by what became of the report.\n"
    "# TYPE tanexics_log_runs gauge\n"
    "# HELP tanexics_log_torn_runs Runs in the log of which lines are missing, torn or not "
    "understood.\n"
    "# TYPE tanexics_log_torn_runs gauge\n"
    "# HELP tanexics_log_failed_exchanges Exchanges in the log that were answered with a code other "
    "than 0.\n"
    "# TYPE tanexics_log_failed_exchanges gauge\n"
    "# HELP tanexics_log_last_run_delivered Whether the run that began last was delivered: 1 or 0.\n"
    "# TYPE tanexics_log_last_run_delivered gauge\n"
    "# HELP tanexics_log_last_run_start_timestamp_seconds When the run that began last did so; 0 "
    "where the log has no such time.\n"
    "# TYPE tanexics_log_last_run_start_timestamp_seconds gauge\n"
    "# HELP tanexics_log_last_delivered_run_start_timestamp_seconds The same of the runs that were "
    "delivered; 0 for none.\n"
    "# TYPE tanexics_log_last_delivered_run_start_timestamp_seconds gauge\n"
    "# EOF\n";

outcome::Run runOf(const std::string& start, Verdict verdict) {
  outcome::Run run;
  run.start = start;
  run.verdict = verdict;
  return run;
}

outcome::Run runWithAnswers(const std::vector<std::optional<int>>& codes) {
  outcome::Run run = runOf(kMorning, Verdict::kPartly);
  for (const std::optional<int>& code : codes) {
    Exchange exchange;
    exchange.code = code;
    run.exchanges.push_back(exchange);
  }
  return run;
}

outcome::Run tornRun(int places) {
  outcome::Run run = runOf(kMorning, Verdict::kUnknown);
  run.torn = places;
  return run;
}

/// What stands behind "tanexics_log_" and the name of a family, in the order of its lines.
Texts samplesOf(const Metrics& metrics, const std::string& family) {
  const std::string head = "tanexics_log_" + family;
  Texts samples;
  for (const std::string& line : linesOf(metrics.text())) {
    if (line.compare(0, head.size() + 1, head + '{') == 0) {
      samples.push_back(line.substr(head.size()));
    }
  }
  return samples;
}

/// The value of the `log` label for this path.
std::string labelOf(const std::string& path, Encoding encoding = Encoding::kEither) {
  Metrics metrics(encoding);
  metrics.add(path, runOf(kMorning, Verdict::kDelivered));
  const Texts samples = samplesOf(metrics, "last_run_delivered");
  const std::string head = "{log=\"";
  const std::string tail = "\"} 1";
  return samples.size() == 1
             ? samples[0].substr(head.size(), samples[0].size() - head.size() - tail.size())
             : "";
}

/// What promtool(1) says of a text as either format; empty where it accepts it.
std::string complaintsAbout(const std::string& text) {
  const ScratchDir dir;
  dir.write("text", text);
  // What reads OpenMetrics there wants a time behind each number.
  std::string timed;
  for (const std::string& line : linesOf(text)) {
    timed += line + (line[0] == '#' ? "\n" : " 1700000000\n");
  }
  dir.write("timed", timed);
  const ChildResult result =
      runProgram({"/bin/sh", "-c",
                  "cd \"$1\" && \"$2\" check metrics <text 2>&1 && "
                  "{ \"$2\" tsdb create-blocks-from openmetrics timed blocks >blocks.out 2>&1 || "
                  "{ cat blocks.out; false; }; }",
                  "sh", dir.path(), PROMTOOL});
  return result.exitCode() == 0 ? result.out : result.out + "(refused)";
}

/// What promtool(1) says of a file of docs/fleet, for which it is called with these words.
ChildResult promtool(const std::string& words, const std::string& file) {
  return runProgram({"/bin/sh", "-c", "cd \"$1\" && \"$3\" " + words + " \"$2\" 2>&1", "sh",
                     FLEET_FOLDER, file, PROMTOOL});
}

TEST(Metrics_text, NoRun_HeadsAlone) { EXPECT_EQ(Metrics(Encoding::kEither).text(), kNoRun); }

TEST(Metrics_text, TwoLogs_WholeText) {
  const TimeZoneGuard zone("JST-9");
  Metrics metrics(Encoding::kEither);
  metrics.add("/var/b.log", runOf(kMorning, Verdict::kNotSent));
  metrics.add("/var/a.log", runOf(kMorning, Verdict::kDelivered));
  metrics.add("/var/a.log", runWithAnswers({0, -55, std::nullopt}));
  metrics.add("/var/a.log", runOf(kHourLater, Verdict::kRefused));
  metrics.add("/var/a.log", tornRun(2));
  EXPECT_EQ(
      metrics.text(),
      "# HELP tanexics_log_runs Runs in the log, by what became of the report.\n"
      "# TYPE tanexics_log_runs gauge\n"
      "tanexics_log_runs{log=\"/var/a.log\",verdict=\"delivered\"} 1\n"
      "tanexics_log_runs{log=\"/var/a.log\",verdict=\"partly\"} 1\n"
      "tanexics_log_runs{log=\"/var/a.log\",verdict=\"refused\"} 1\n"
      "tanexics_log_runs{log=\"/var/a.log\",verdict=\"not-sent\"} 0\n"
      "tanexics_log_runs{log=\"/var/a.log\",verdict=\"unknown\"} 1\n"
      "tanexics_log_runs{log=\"/var/b.log\",verdict=\"delivered\"} 0\n"
      "tanexics_log_runs{log=\"/var/b.log\",verdict=\"partly\"} 0\n"
      "tanexics_log_runs{log=\"/var/b.log\",verdict=\"refused\"} 0\n"
      "tanexics_log_runs{log=\"/var/b.log\",verdict=\"not-sent\"} 1\n"
      "tanexics_log_runs{log=\"/var/b.log\",verdict=\"unknown\"} 0\n"
      "# HELP tanexics_log_torn_runs Runs in the log of which lines are missing, torn or not "
      "understood.\n"
      "# TYPE tanexics_log_torn_runs gauge\n"
      "tanexics_log_torn_runs{log=\"/var/a.log\"} 1\n"
      "tanexics_log_torn_runs{log=\"/var/b.log\"} 0\n"
      "# HELP tanexics_log_failed_exchanges Exchanges in the log that were answered with a code "
      "other than 0.\n"
      "# TYPE tanexics_log_failed_exchanges gauge\n"
      "tanexics_log_failed_exchanges{log=\"/var/a.log\"} 1\n"
      "tanexics_log_failed_exchanges{log=\"/var/b.log\"} 0\n"
      "# HELP tanexics_log_last_run_delivered Whether the run that began last was delivered: 1 or "
      "0.\n"
      "# TYPE tanexics_log_last_run_delivered gauge\n"
      "tanexics_log_last_run_delivered{log=\"/var/a.log\"} 0\n"
      "tanexics_log_last_run_delivered{log=\"/var/b.log\"} 0\n"
      "# HELP tanexics_log_last_run_start_timestamp_seconds When the run that began last did so; "
      "0 where the log has no such time.\n"
      "# TYPE tanexics_log_last_run_start_timestamp_seconds gauge\n"
      "tanexics_log_last_run_start_timestamp_seconds{log=\"/var/a.log\"} 1794715207\n"
      "tanexics_log_last_run_start_timestamp_seconds{log=\"/var/b.log\"} 1794711607\n"
      "# HELP tanexics_log_last_delivered_run_start_timestamp_seconds The same of the runs that "
      "were delivered; 0 for none.\n"
      "# TYPE tanexics_log_last_delivered_run_start_timestamp_seconds gauge\n"
      "tanexics_log_last_delivered_run_start_timestamp_seconds{log=\"/var/a.log\"} 1794711607\n"
      "tanexics_log_last_delivered_run_start_timestamp_seconds{log=\"/var/b.log\"} 0\n"
      "# EOF\n");
}

TEST(Metrics_text, NoRun_AcceptedAsBothFormats) {
  EXPECT_EQ(complaintsAbout(Metrics(Encoding::kEither).text()), "");
}

TEST(Metrics_text, HostilePaths_AcceptedAsBothFormats) {
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
  Metrics metrics(Encoding::kEither);
  for (const std::string& path :
       {""s, "/var/log/a.log"s, allBytes, "\"} 1\ntanexics_log_runs{log=\""s, "\\"s, "\\n"s,
        "\n# EOF\n"s, "# TYPE x counter"s, "\xff\xfe"s, "\xc2\x85"s, "\xe3\x81"s,
        toEuc("障害/報告.log"), "障害/報告.log"s, std::string(4095, '"')}) {
    metrics.add(path, runOf(kMorning, Verdict::kDelivered));
    metrics.add(path, runOf(kHourLater, Verdict::kRefused));
  }
  EXPECT_EQ(complaintsAbout(metrics.text()), "");
}

// The two formats differ, and a check that accepts everything would show nothing.
TEST(Metrics_text, DamagedText_IsRefused) {
  const std::string text = Metrics(Encoding::kEither).text();
  EXPECT_NE(complaintsAbout(text.substr(0, text.size() - "# EOF\n"s.size())), "");
  EXPECT_NE(complaintsAbout("a{log=\"\"\"} 1\n" + text), "");
}

TEST(Metrics_add, EachVerdict_CountedByItself) {
  const std::vector<std::pair<Verdict, std::string>> verdicts = {{Verdict::kDelivered, "delivered"},
                                                                 {Verdict::kPartly, "partly"},
                                                                 {Verdict::kRefused, "refused"},
                                                                 {Verdict::kNotSent, "not-sent"},
                                                                 {Verdict::kUnknown, "unknown"}};
  Metrics metrics(Encoding::kEither);
  Texts expected;
  int number = 0;
  for (const auto& [verdict, word] : verdicts) {
    ++number;
    for (int run = 0; run < number; ++run) metrics.add("a", runOf(kMorning, verdict));
    expected.push_back("{log=\"a\",verdict=\"" + word + "\"} " + std::to_string(number));
  }
  EXPECT_EQ(samplesOf(metrics, "runs"), expected);
}

TEST(Metrics_add, RunIsNotDelivered_LastOneIsNot) {
  for (const Verdict verdict :
       {Verdict::kPartly, Verdict::kRefused, Verdict::kNotSent, Verdict::kUnknown}) {
    Metrics metrics(Encoding::kEither);
    metrics.add("a", runOf(kMorning, verdict));
    EXPECT_EQ(samplesOf(metrics, "last_run_delivered"), Texts{"{log=\"a\"} 0"}) << wordOf(verdict);
    EXPECT_EQ(samplesOf(metrics, "last_delivered_run_start_timestamp_seconds"),
              Texts{"{log=\"a\"} 0"})
        << wordOf(verdict);
  }
}

TEST(Metrics_add, Answers_FailuresAreCounted) {
  Metrics metrics(Encoding::kEither);
  metrics.add("a", runWithAnswers({}));
  metrics.add("a", runWithAnswers({0, std::nullopt}));
  EXPECT_EQ(samplesOf(metrics, "failed_exchanges"), Texts{"{log=\"a\"} 0"});
  metrics.add("a", runWithAnswers({-55, 1, 0}));
  metrics.add("a", runWithAnswers({-79}));
  EXPECT_EQ(samplesOf(metrics, "failed_exchanges"), Texts{"{log=\"a\"} 3"});
}

TEST(Metrics_add, TornPlaces_RunsAreCounted) {
  Metrics metrics(Encoding::kEither);
  metrics.add("a", tornRun(0));
  EXPECT_EQ(samplesOf(metrics, "torn_runs"), Texts{"{log=\"a\"} 0"});
  metrics.add("a", tornRun(3));
  metrics.add("a", tornRun(1));
  EXPECT_EQ(samplesOf(metrics, "torn_runs"), Texts{"{log=\"a\"} 2"});
}

TEST(Metrics_add, OrderOfStarts_SaysWhichIsTheLast) {
  const outcome::Run delivered = runOf(kMorning, Verdict::kDelivered);
  const outcome::Run deliveredLater = runOf(kHourLater, Verdict::kDelivered);
  const outcome::Run refused = runOf(kMorning, Verdict::kRefused);
  const outcome::Run refusedLater = runOf(kHourLater, Verdict::kRefused);
  const struct {
    const char* title;
    std::vector<outcome::Run> runs;
    long isLastDelivered;
    long long start;
    long long deliveredStart;
  } rows[] = {
      {"one", {delivered}, 1, kMorningUnix, kMorningUnix},
      {"delivered last", {refused, deliveredLater}, 1, kHourLaterUnix, kHourLaterUnix},
      {"refused last", {delivered, refusedLater}, 0, kHourLaterUnix, kMorningUnix},
      // A run without an end comes after all others.
      {"an old one comes late", {deliveredLater, refused}, 1, kHourLaterUnix, kHourLaterUnix},
      {"an old one comes late", {refusedLater, delivered}, 0, kHourLaterUnix, kMorningUnix},
      {"an old delivered one", {deliveredLater, delivered}, 1, kHourLaterUnix, kHourLaterUnix},
      {"the same second", {delivered, refused}, 0, kMorningUnix, kMorningUnix},
      {"the same second", {refused, delivered}, 0, kMorningUnix, kMorningUnix},
      {"the same second", {delivered, delivered}, 1, kMorningUnix, kMorningUnix},
  };
  const TimeZoneGuard zone("JST-9");
  for (const auto& row : rows) {
    Metrics metrics(Encoding::kEither);
    for (const outcome::Run& run : row.runs) metrics.add("a", run);
    const auto sample = [](long long number) {
      return Texts{"{log=\"a\"} " + std::to_string(number)};
    };
    EXPECT_EQ(samplesOf(metrics, "last_run_delivered"), sample(row.isLastDelivered)) << row.title;
    EXPECT_EQ(samplesOf(metrics, "last_run_start_timestamp_seconds"), sample(row.start))
        << row.title;
    EXPECT_EQ(samplesOf(metrics, "last_delivered_run_start_timestamp_seconds"),
              sample(row.deliveredStart))
        << row.title;
  }
}

TEST(Metrics_add, Start_AsUnixTimeOfTheZone) {
  const struct {
    const char* zone;
    const char* start;
    long long unixTime;
  } rows[] = {
      {"UTC0", kMorning, kMorningUnix + 9 * 3600},
      {"JST-9", kMorning, kMorningUnix},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2026/07/01 00:00:00", 1782856800},  // in summer: two hours
      {"CET-1CEST,M3.5.0,M10.5.0/3", "2026/12/01 00:00:00", 1796079600},
      {"UTC0", "1970/01/01 00:00:00", 0},
      {"UTC0", "2038/01/19 03:14:08", 2147483648},
      {"UTC0", "9999/12/31 23:59:59", 253402300799},
      {"UTC0", "1969/12/31 23:59:59", 0},
      {"UTC0", "2026/13/01 00:00:00", 0},
      {"UTC0", "9999/99/99 99:99:99", 0},
      {"UTC0", "2026/11/15 12:00:07 ", 0},
      {"UTC0", "2026/11/15", 0},
      {"UTC0", "", 0},
  };
  for (const auto& row : rows) {
    const TimeZoneGuard zone(row.zone);
    Metrics metrics(Encoding::kEither);
    metrics.add("a", runOf(row.start, Verdict::kDelivered));
    const Texts expected{"{log=\"a\"} " + std::to_string(row.unixTime)};
    EXPECT_EQ(samplesOf(metrics, "last_run_start_timestamp_seconds"), expected) << row.start;
    EXPECT_EQ(samplesOf(metrics, "last_delivered_run_start_timestamp_seconds"), expected)
        << row.start;
    EXPECT_EQ(samplesOf(metrics, "last_run_delivered"), Texts{"{log=\"a\"} 1"}) << row.start;
    metrics.add("b", runOf(row.start, Verdict::kRefused));
    EXPECT_EQ(samplesOf(metrics, "last_run_delivered")[1], "{log=\"b\"} 0") << row.start;
  }
}

TEST(Metrics_add, Path_ReadableAndEscaped) {
  EXPECT_EQ(labelOf("/var/log/a b.log"), "/var/log/a b.log");
  EXPECT_EQ(labelOf("a\"b"), R"(a\"b)");
  EXPECT_EQ(labelOf("a\\b"), R"(a\\\\b)");
  EXPECT_EQ(labelOf("a\nb"), R"(a\\x0ab)");
  EXPECT_EQ(labelOf("a\xff"), R"(a\\xff)");
  EXPECT_EQ(labelOf("障害"), "障害");
  EXPECT_EQ(labelOf(toEuc("障害")), "障害");
  EXPECT_EQ(labelOf(toEuc("報告"), Encoding::kUtf8), R"(\\xca\\xf3\\xb9\\xf0)");
}

// A series that comes twice makes the collector refuse the file.
TEST(Metrics_add, PathsThatReadTheSame_AreOneLog) {
  Metrics metrics(Encoding::kEither);
  metrics.add("障害", runOf(kMorning, Verdict::kDelivered));
  metrics.add(toEuc("障害"), runOf(kHourLater, Verdict::kRefused));
  EXPECT_EQ(samplesOf(metrics, "last_run_delivered"), Texts{"{log=\"障害\"} 0"});
  EXPECT_EQ(complaintsAbout(metrics.text()), "");
}

TEST(FleetRules, File_IsAccepted) {
  const ChildResult result = promtool("check rules", "alerts.yml");
  EXPECT_EQ(result.exitCode(), 0) << result.out;
}

TEST(FleetRules, Situations_RaiseTheirAlerts) {
  const ChildResult result = promtool("test rules", "alerts_test.yml");
  EXPECT_EQ(result.exitCode(), 0) << result.out;
}

// A rule about numbers that nobody writes is silent for ever.
TEST(FleetRules, Numbers_AreThoseOfTheProgram) {
  const std::string rules = readFile(FLEET_FOLDER + "/alerts.yml"s);
  std::set<std::string> names;
  for (const auto& match : findPattern(rules, "tanexics_log_\\w+")) names.insert(match[0]);
  EXPECT_GT(names.size(), 2U);
  for (const std::string& one : names) {
    EXPECT_NE(("\n"s + kNoRun).find("\n# TYPE " + one + " gauge\n"), std::string::npos) << one;
  }
}

}  // namespace
