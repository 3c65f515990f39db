#include "tools/log/page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tools/log/json.h"
#include "tools/pageruns.h"

namespace {

using outcome::Encoding;
using outcome::Exchange;
using outcome::Verdict;

using Texts = std::vector<std::string>;

constexpr char kStart[] = "2026/11/20 12:00:00";

std::string pageOf(const std::vector<outcome::Run>& runs, const Page::Explain& explain = nullptr,
                   Encoding encoding = Encoding::kEither) {
  Page page(encoding, explain);
  for (const outcome::Run& run : runs) page.add("/var/log/a.log", run);
  return page.html();
}

/// All that stands between `begin` and the next `end` after it, in their order.
Texts between(const std::string& html, const std::string& begin, const std::string& end) {
  Texts found;
  std::size_t at = 0;
  while ((at = html.find(begin, at)) != std::string::npos) {
    at += begin.size();
    const std::size_t stop = html.find(end, at);
    found.push_back(html.substr(at, stop - at));
  }
  return found;
}

/// The only one.
std::string partOf(const std::string& html, const std::string& begin, const std::string& end) {
  const Texts found = between(html, begin, end);
  EXPECT_EQ(found.size(), 1U) << begin;
  return found.empty() ? "" : found.front();
}

std::size_t countOf(const std::string& html, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = html.find(text); at != std::string::npos; at = html.find(text, at + 1)) {
    ++count;
  }
  return count;
}

std::string runsOf(const std::string& html) {
  return partOf(html, "<section class=\"runs\">", "</section>");
}

/// The process ids of the runs that are listed.
Texts pidsOf(const std::string& html) {
  return between(html, "<span class=\"pid\">pid ", "</span>");
}

Texts totalsOf(const std::string& html) {
  const std::string table = partOf(html, "<table class=\"totals\">", "</table>");
  return between(table, "</th><td>", "</td>");
}

Texts daysOf(const std::string& html) {
  Texts rows = between(partOf(html, "<table class=\"days\">", "</table>"), "<tr><th scope=\"row\">",
                       "</td></tr>");
  for (std::string& row : rows) {
    for (const std::string tag : {"</th><td>", "</td><td>"}) {
      for (std::size_t at; (at = row.find(tag)) != std::string::npos;)
        row.replace(at, tag.size(), " ");
    }
  }
  return rows;
}

// --- a run ---------------------------------------------------------------------------------------

TEST(Page, WholeRun_IsOneElementWithItsTimeline) {
  outcome::Run run = runOf(Verdict::kPartly, kStart, "1 of 2 exchanges failed: /a: -62 (HTTP) x");
  run.exchanges = {notificationOf(1, 0), transferOf("/a", -62, "(HTTP) x")};
  run.missing = {"/b"};
  const auto explain = [](const outcome::Run&) {
    return Texts{"zero\none\ntwo \\ \x1b\xff", "\xe9\x80\x9a"};
  };
  EXPECT_EQ(
      partOf(pageOf({run}, explain), "<details class=\"run ", "</details>\n"),
      "partly\"><summary><span class=\"verdict partly\"><span aria-hidden=\"true\">◐</span> "
      "partly</span> <time datetime=\"2026-11-20T12:00:00\">2026-11-20 12:00:00</time> "
      "<span class=\"pid\">pid 4711</span> <span class=\"subject\">incident <bdi "
      "class=\"identity\">77</bdi> of <bdi class=\"host\">db01</bdi></span> <span class=\"reason\">"
      "<bdi class=\"why\">1 of 2 exchanges failed: /a: -62 (HTTP) x</bdi></span></summary>"
      "<div class=\"body\"><dl>"
      "<div><dt>Mode</dt><dd>incident</dd></div>"
      "<div><dt>Identity</dt><dd><bdi class=\"value\">77</bdi></dd></div>"
      "<div><dt>Host</dt><dd><bdi class=\"value\">db01</bdi></dd></div>"
      "<div><dt>Start</dt><dd><time datetime=\"2026-11-20T12:00:00\">2026-11-20 12:00:00</time>"
      "</dd></div>"
      "<div><dt>End</dt><dd><time datetime=\"2026-11-20T12:00:00\">2026-11-20 12:00:00</time>"
      "</dd></div>"
      "<div><dt>Took</dt><dd>0.25 s</dd></div>"
      "<div><dt>Exit status</dt><dd>0</dd></div>"
      "<div><dt>Process id</dt><dd>4711</dd></div>"
      "<div class=\"long\"><dt>Log</dt><dd><bdi class=\"value\">/var/log/a.log</bdi></dd></div>"
      "</dl><h3>2 exchanges of 2</h3><ol>"
      "<li class=\"zero\"><span class=\"kind\">notification</span> <code class=\"request\">0x40017"
      "</code> <span class=\"part\">part 1</span> <span class=\"code\">code 0</span></li>"
      "<li class=\"failed\"><span class=\"kind\">data</span> <code class=\"request\">0x4010b</code> "
      "<span class=\"code\">code -62</span> <bdi class=\"path\">/a</bdi> <bdi class=\"error\">(HTTP) "
      "x</bdi></li></ol>"
      "<h3>Listed files that could not be measured</h3><ul class=\"missing\"><li><bdi class=\"path\">"
      "/b</bdi></li></ul>"
      "<h3>What it means</h3><ul class=\"explained\"><li><bdi class=\"text\">zero\none\ntwo \\ \\x1b\\xff"
      "</bdi></li><li><bdi class=\"text\">通</bdi></li></ul></div>");
}

TEST(Page, RunOfWhichTheLogTellsNothing_SaysSo) {
  outcome::Run run;
  run.pid = 7;
  run.start = kStart;
  run.reason = "the beginning is not in the log";
  run.torn = 1;
  run.host = "";
  run.identity = "";
  run.exchanges.resize(1);
  run.exchanges[0].files = 3;
  EXPECT_EQ(
      partOf(pageOf({run}), "<span class=\"subject\">", "</details>\n"),
      "report <bdi class=\"identity\"></bdi></span> <span class=\"reason\"><bdi class=\"why\">the "
      "beginning is not in the log</bdi></span></summary><div class=\"body\"><dl>"
      "<div><dt>Mode</dt><dd><i>not in the log</i></dd></div>"
      "<div><dt>Identity</dt><dd><i>empty</i></dd></div>"
      "<div><dt>Host</dt><dd><i>empty</i></dd></div>"
      "<div><dt>Start</dt><dd><i>not in the log</i></dd></div>"
      "<div><dt>First line</dt><dd><time datetime=\"2026-11-20T12:00:00\">2026-11-20 12:00:00</time>"
      "</dd></div>"
      "<div><dt>End</dt><dd><i>not in the log</i></dd></div>"
      "<div><dt>Took</dt><dd><i>not in the log</i></dd></div>"
      "<div><dt>Exit status</dt><dd><i>not in the log</i></dd></div>"
      "<div><dt>Process id</dt><dd>7</dd></div>"
      "<div><dt>Torn</dt><dd>1 line missing or torn</dd></div>"
      "<div class=\"long\"><dt>Log</dt><dd><bdi class=\"value\">/var/log/a.log</bdi></dd></div>"
      "</dl><h3>1 exchange</h3><ol><li class=\"open\"><span class=\"kind\">notification</span> <span "
      "class=\"code\">no answer in the log</span> <span class=\"files\">and 2 more files</span>"
      "</li></ol></div>");
}

TEST(Page, TransferOfTwoFiles_HasOneMore) {
  outcome::Run run = runOf(Verdict::kDelivered, kStart);
  run.exchanges = {transferOf("/a", 0)};
  for (const auto& [files, more] : {std::pair{1, 0U}, {2, 1U}}) {
    run.exchanges[0].files = files;
    EXPECT_EQ(countOf(pageOf({run}), "<span class=\"files\">and 1 more file</span>"), more);
  }
}

TEST(Page, AnswerOf0WithAnError_IsMarkedAsAFailure) {
  outcome::Run run = runOf(Verdict::kUnknown, kStart);
  Exchange unsaid = notificationOf(1, 0);
  unsaid.error.reset();
  run.exchanges = {notificationOf(1, 0), notificationOf(1, 0, "e"), unsaid};
  EXPECT_EQ(between(pageOf({run}), "<li class=\"", "\""), (Texts{"zero", "failed", "failed"}));
}

TEST(Page, Encoding_DecidesHowTextsAreRead) {
  outcome::Run run = runOf(Verdict::kDelivered, kStart);
  run.host = "\xa5\xdb";
  EXPECT_EQ(partOf(pageOf({run}), "class=\"host\">", "<"), "ホ");
  EXPECT_EQ(partOf(pageOf({run}, nullptr, Encoding::kUtf8), "class=\"host\">", "<"), "\\xa5\\xdb");
}

// --- what is none of the page's own
// ---------------------------------------------------------------

TEST(Page, HostileTexts_MakeNoElementAndEndNone) {
  const std::string tame = pageOf({runOf(Verdict::kRefused, kStart)});
  for (const std::string& text : hostileTexts()) {
    SCOPED_TRACE(text);
    outcome::Run harmless = runOf(Verdict::kRefused, kStart, "r");
    outcome::Run run = runOf(Verdict::kRefused, kStart, text);
    for (outcome::Run* one : {&harmless, &run}) {
      const std::string value = one == &run ? text : "r";
      one->identity = value;
      one->host = value;
      one->exchanges = {transferOf(value, -1, value)};
      one->missing = {value};
    }
    const auto htmlOf = [](const std::string& log, const outcome::Run& one) {
      Page page(Encoding::kEither, [&one](const outcome::Run&) { return Texts{one.reason}; });
      page.add(log, one);
      return page.html();
    };
    const std::string html = htmlOf(text, run);
    const std::string other = htmlOf("r", harmless);
    // None of these is more often in it than in a page with a plain letter for the text.
    for (const char* mark : {"<", ">", "\"", "'"}) {
      EXPECT_EQ(countOf(html, mark), countOf(other, mark)) << mark;
    }
    EXPECT_EQ(std::count_if(html.begin(), html.end(),
                            [](char byte) {
                              const auto value = static_cast<unsigned char>(byte);
                              return (value < 0x20 && byte != '\n') || value == 0x7f;
                            }),
              0);
  }
}

TEST(Page, EveryByte_IsEscapedOrItself) {
  outcome::Run run = runOf(Verdict::kRefused, kStart);
  run.host = std::string("&<>\"'\\\0\n\x7f\xff", 10);
  EXPECT_EQ(partOf(pageOf({run}), "<bdi class=\"host\">", "</bdi>"),
            "&amp;&lt;&gt;&quot;&#39;\\\\\\x00\\x0a\\x7f\\xff");
}

TEST(IsoTime, ADayAndMore_IsRewritten) {
  EXPECT_EQ(isoTime("2026/11/20 "), "2026-11-20T");
  EXPECT_EQ(isoTime("2026/11/20"), "2026/11/20");
  EXPECT_EQ(isoTime(""), "");
}

TEST(Page, HostileTime_IsText) {
  outcome::Run run = runOf(Verdict::kRefused, "2026/11/<\" 12:00:00");
  run.hasStart = false;
  const std::string html = pageOf({run});
  EXPECT_EQ(countOf(html, "-<"), 0U);
  EXPECT_EQ(daysOf(html), Texts{"2026-11-&lt;&quot; 0 0 1 0 0 1"});
}

TEST(Page, Policy_AllowsItsOwnStyleAlone) {
  const std::string html = pageOf({});
  const std::string policy = partOf(
      html, "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; ", "\">");
  EXPECT_EQ(policy.substr(0, 18), "style-src 'sha256-");
  EXPECT_EQ(policy.substr(policy.find("; ")), "; base-uri 'none'; form-action 'none'");
  for (const char* outside : {"href", "src=", "@import", "://", "<script", "<link", "<base"}) {
    EXPECT_EQ(html.find(outside), std::string::npos) << outside;
  }
}

// --- the figures
// ----------------------------------------------------------------------------------

TEST(Page, NoRuns_SaysSoAndHasNeitherChartNorList) {
  const std::string html = pageOf({});
  EXPECT_EQ(partOf(html, "<h1>", "</header>"),
            "What became of the reports</h1>\n<p>No runs of tanexics. Times are local times of the "
            "machine.</p>");
  EXPECT_EQ(totalsOf(html), (Texts{"0", "0", "0", "0", "0"}));
  EXPECT_EQ(countOf(html, "class=\"chart\""), 0U);
  EXPECT_EQ(countOf(html, "class=\"runs\""), 0U);
}

TEST(Page, RunsOfTwoDays_AreCountedByDayAndVerdict) {
  const std::string html = pageOf({runOf(Verdict::kDelivered, "2026/11/21 08:00:00"),
                                   runOf(Verdict::kDelivered, "2026/11/20 08:00:00"),
                                   runOf(Verdict::kPartly, "2026/11/20 09:00:00"),
                                   runOf(Verdict::kRefused, "2026/11/20 09:00:00"),
                                   runOf(Verdict::kNotSent, "2026/11/20 09:00:00"),
                                   runOf(Verdict::kNotSent, "2026/11/20 09:00:00"),
                                   runOf(Verdict::kUnknown, "2026/11/21 10:00:00")});
  EXPECT_EQ(
      partOf(html, "</h1>\n<p>", " Times"),
      "7 runs of tanexics, from <time datetime=\"2026-11-20T08:00:00\">2026-11-20 "
      "08:00:00</time> to <time datetime=\"2026-11-21T10:00:00\">2026-11-21 10:00:00</time>.");
  EXPECT_EQ(totalsOf(html), (Texts{"2", "1", "1", "2", "1"}));
  EXPECT_EQ(daysOf(html), (Texts{"2026-11-20 1 1 1 2 0 5", "2026-11-21 1 0 0 0 1 2"}));
  EXPECT_EQ(
      between(partOf(html, "<table class=\"days\">", "</table>"), "<th scope=\"col\">", "</th>"),
      (Texts{"Day", "delivered", "partly", "refused", "not-sent", "unknown", "all"}));
  EXPECT_EQ(partOf(html, "<div class=\"filter\"", "</div>"),
            " role=\"radiogroup\" aria-label=\"Which runs are shown\"><label><input type=\"radio\" "
            "name=\"show\" id=\"show-all\" checked> all 7</label>"
            " <label><input type=\"radio\" name=\"show\" id=\"show-delivered\"> delivered 2</label>"
            " <label><input type=\"radio\" name=\"show\" id=\"show-partly\"> partly 1</label>"
            " <label><input type=\"radio\" name=\"show\" id=\"show-refused\"> refused 1</label>"
            " <label><input type=\"radio\" name=\"show\" id=\"show-not-sent\"> not-sent 2</label>"
            " <label><input type=\"radio\" name=\"show\" id=\"show-unknown\"> unknown 1</label>");
  EXPECT_EQ(partOf(html, "<svg class=\"chart\" role=\"img\" ", " aria-label"),
            "width=\"146\" height=\"219\" viewBox=\"0 0 146 219\"");
  // Five units are 160 pixels high: the parts stand on one another, the days side by side.
  EXPECT_EQ(
      partOf(html, "the table below\">\n", "</svg>"),
      "<g class=\"levels\"><line x1=\"0\" x2=\"130\" y1=\"183\" y2=\"183\"/><text x=\"134\" "
      "y=\"183\" dy=\"4\">0</text><line x1=\"0\" x2=\"130\" y1=\"23\" y2=\"23\"/><text x=\"134\" "
      "y=\"23\" dy=\"4\">5</text></g>\n"
      "<g><title>2026-11-20: 1 delivered, 1 partly, 1 refused, 2 not-sent</title>"
      "<rect x=\"18\" y=\"151\" width=\"42\" height=\"32\" fill=\"url(#fill-delivered)\"/>"
      "<rect x=\"18\" y=\"119\" width=\"42\" height=\"32\" fill=\"url(#fill-partly)\"/>"
      "<rect x=\"18\" y=\"87\" width=\"42\" height=\"32\" fill=\"url(#fill-refused)\"/>"
      "<rect x=\"18\" y=\"23\" width=\"42\" height=\"64\" fill=\"url(#fill-not-sent)\"/>"
      "<text x=\"39\" y=\"199\">11-20</text><text x=\"39\" y=\"214\">2026</text></g>\n"
      "<g><title>2026-11-21: 1 delivered, 1 unknown</title>"
      "<rect x=\"74\" y=\"151\" width=\"42\" height=\"32\" fill=\"url(#fill-delivered)\"/>"
      "<rect x=\"74\" y=\"119\" width=\"42\" height=\"32\" fill=\"url(#fill-unknown)\"/>"
      "<text x=\"95\" y=\"199\">11-21</text></g>\n");
}

TEST(Page, OneAmongThousands_IsStillSeen) {
  std::vector<outcome::Run> runs(3000, runOf(Verdict::kDelivered, kStart));
  runs.push_back(runOf(Verdict::kRefused, kStart));
  const std::string chart = partOf(pageOf(runs), "the table below\">\n", "</svg>");
  EXPECT_EQ(between(chart, "width=\"42\" height=\"", "\""), (Texts{"96", "3"}));
  EXPECT_EQ(between(chart, "dy=\"4\">", "<"), (Texts{"0", "2500", "5000"}));
}

TEST(Page, VerdictDelivered_IsSaidOfNoOtherRun) {
  for (const Verdict verdict :
       {Verdict::kPartly, Verdict::kRefused, Verdict::kNotSent, Verdict::kUnknown}) {
    const std::string html = pageOf({runOf(verdict, kStart)});
    EXPECT_EQ(countOf(runsOf(html), "delivered"), 0U) << wordOf(verdict);
    EXPECT_EQ(countOf(partOf(html, "the table below\">\n", "</svg>"), "delivered"), 0U);
    EXPECT_EQ(totalsOf(html)[0], "0");
  }
}

// --- the limits
// -----------------------------------------------------------------------------------

TEST(Page, MoreDaysThanStandByThemselves_CountAsEarlier) {
  std::vector<outcome::Run> runs;
  for (std::size_t at = 0; at < Page::kMostDays + 2; ++at) {
    char start[64];
    std::snprintf(start, sizeof start, "2026/%02zu/%02zu 00:00:00", 1 + at / 28, 1 + at % 28);
    runs.push_back(runOf(at == 0 ? Verdict::kUnknown : Verdict::kDelivered, start));
  }
  // Late ones too, whatever the order.
  runs.push_back(runOf(Verdict::kRefused, "2026/01/02 00:00:00"));
  const std::string html = pageOf(runs);
  const Texts days = daysOf(html);
  ASSERT_EQ(days.size(), Page::kMostDays + 1);
  EXPECT_EQ(days[0], "earlier 1 0 1 0 1 3");
  EXPECT_EQ(daysOf(pageOf({runs.begin() + 1, runs.end() - 1}))[0], "earlier 1 0 0 0 0 1");
  EXPECT_EQ(days[1], "2026-01-03 1 0 0 0 0 1");
  EXPECT_EQ(days.back(), "2026-04-10 1 0 0 0 0 1");
  EXPECT_EQ(
      partOf(html, "<figcaption>", "</figcaption>"),
      "Runs by the day of their first line, hatched as in the table above. Days without a run "
      "are left out, and so are days before the last 92, with 3 runs.");
}

TEST(Page, Labels_AreAsManyAsFitAndNameEachYearOnce) {
  std::vector<outcome::Run> runs;
  for (int day = 1; day <= 28; ++day) {
    char start[64];
    std::snprintf(start, sizeof start, "2025/12/%02d 00:00:00", day);
    runs.push_back(runOf(Verdict::kDelivered, start));
    std::snprintf(start, sizeof start, "2026/01/%02d 00:00:00", day);
    runs.push_back(runOf(Verdict::kDelivered, start));
  }
  const std::string chart = partOf(pageOf(runs), "the table below\">\n", "</svg>");
  EXPECT_EQ(between(chart, "y=\"199\">", "<"),
            (Texts{"12-02", "12-05", "12-08", "12-11", "12-14", "12-17", "12-20", "12-23", "12-26",
                   "01-01", "01-04", "01-07", "01-10", "01-13", "01-16", "01-19", "01-22", "01-25",
                   "01-28"}));
  EXPECT_EQ(between(chart, "y=\"214\">", "<"), (Texts{"2025", "2026"}));
}

TEST(Page, TwoLogs_AreListedByTimeTheLatestFirst) {
  Page page(Encoding::kEither);
  const auto add = [&page](const std::string& log, int pid, const std::string& start) {
    outcome::Run run = runOf(Verdict::kDelivered, start);
    run.pid = pid;
    page.add(log, run);
  };
  add("a", 1, "2026/11/20 12:00:00");
  add("a", 2, "2026/11/20 12:00:00");
  add("b", 3, "2026/11/19 12:00:00");
  add("b", 4, "2026/11/21 12:00:00");
  EXPECT_EQ(pidsOf(page.html()), (Texts{"4", "2", "1", "3"}));
  EXPECT_EQ(between(page.html(), "<dt>Log</dt><dd><bdi class=\"value\">", "<"),
            (Texts{"b", "a", "a", "b"}));
}

TEST(Page, MoreRunsThanAreListed_CountAllTheSame) {
  std::size_t asked = 0;
  Page page(Encoding::kEither, [&asked](const outcome::Run&) { return ++asked, Texts(); });
  outcome::Run run = runOf(Verdict::kRefused, "2026/11/20 12:00:01");
  for (std::size_t at = 0; at < Page::kMostRuns; ++at) page.add("a", run);
  EXPECT_EQ(countOf(page.html(), "not listed"), 0U);
  run.start = "2026/11/20 12:00:00";
  run.verdict = Verdict::kPartly;
  page.add("a", run);
  run.start = "2026/11/20 12:00:02";
  run.verdict = Verdict::kUnknown;
  page.add("a", run);
  run.start = "2026/11/20 12:00:00";
  page.add("a", run);
  // As old as what was dropped, and added later.
  run.start = "2026/11/20 12:00:01";
  run.verdict = Verdict::kNotSent;
  page.add("a", run);

  const std::string html = page.html();
  EXPECT_EQ(totalsOf(html), (Texts{"0", "1", "5000", "1", "2"}));
  EXPECT_EQ(partOf(html, "<p class=\"rest\">", "</p>"),
            "The latest 5000 runs of 5004; 4 not listed.");
  EXPECT_EQ(
      partOf(html, "</h1>\n<p>", " Times"),
      "5004 runs of tanexics, the last one at <time datetime=\"2026-11-20T12:00:02\">2026-11-20 "
      "12:00:02</time>.");
  EXPECT_EQ(pidsOf(html).size(), Page::kMostRuns);
  EXPECT_EQ(countOf(html, "<details class=\"run partly"), 0U);
  EXPECT_EQ(countOf(html, "<details class=\"run unknown"), 1U);
  EXPECT_EQ(countOf(html, "<details class=\"run not-sent"), 1U);
  EXPECT_EQ(asked, Page::kMostRuns + 3);  // not for what is older than what was dropped
}

TEST(Page, LongRuns_AreFewerAndThePageStaysBelowItsLimit) {
  outcome::Run run = runOf(Verdict::kRefused, kStart, std::string(5000, '<'));
  run.exchanges.assign(3000, transferOf(std::string(5000, '&'), -1, std::string(5000, '"')));
  run.missing.assign(3000, std::string(5000, '\''));
  const auto explain = [](const outcome::Run&) { return Texts(300, std::string(9000, '>')); };
  Page page(Encoding::kEither, explain);
  constexpr std::size_t kRuns = 10;
  for (std::size_t at = 0; at < kRuns; ++at) {
    run.start.back() = static_cast<char>('0' + at % 10);
    page.add("a", run);
  }
  const std::string html = page.html();
  EXPECT_LT(html.size(), Page::kMostBytes + 100'000);
  EXPECT_GT(html.size(), Page::kMostBytes / 2);
  const std::size_t listed = pidsOf(html).size();
  EXPECT_EQ(totalsOf(html)[2], std::to_string(kRuns));
  EXPECT_EQ(
      countOf(html, "<p class=\"rest\">The latest " + std::to_string(listed) + " runs of 10; " +
                        std::to_string(kRuns - listed) + " not listed.</p>"),
      1U);
}

TEST(Page, LongLists_AreCutAndSaySo) {
  outcome::Run run = runOf(Verdict::kPartly, kStart);
  run.exchanges.assign(Page::kMostExchanges + 5, notificationOf(1, 0));
  run.exchanges[3] = notificationOf(3, -1);
  run.exchanges.back() = notificationOf(9, -2);
  run.missing.assign(Page::kMostFiles + 1, "/b");
  const auto explain = [](const outcome::Run&) { return Texts(Page::kMostTexts + 2, "t"); };
  const std::string html = runsOf(pageOf({run}, explain));
  const Texts codes = between(html, "<span class=\"code\">code ", "<");
  ASSERT_EQ(codes.size(), Page::kMostExchanges);
  EXPECT_EQ(codes[2] + codes[3] + codes[4], "0-10");
  EXPECT_EQ(codes.back(), "-2");
  EXPECT_EQ(countOf(html, "<li><bdi class=\"path\">"), Page::kMostFiles);
  EXPECT_EQ(countOf(html, "<li><bdi class=\"text\">"), Page::kMostTexts);
  EXPECT_EQ(between(html, "<p class=\"rest\">", "</p>"),
            (Texts{"5 exchanges not listed; those that failed go first.", "1 file not listed.",
                   "2 texts not listed."}));
}

TEST(Page, LongText_IsCutBetweenCharacters) {
  outcome::Run run = runOf(Verdict::kDelivered, kStart);
  const std::string text(Page::kMostText - 1, 'x');
  run.host = text + "ab";
  EXPECT_EQ(partOf(pageOf({run}), "<bdi class=\"host\">", "</span>"),
            text + "a</bdi><span class=\"cut\"> … 1 byte more");
  run.host = text + "\xe9\x80\x9a" + "bcd";
  EXPECT_EQ(partOf(pageOf({run}), "<bdi class=\"host\">", "</span>"),
            text + "通</bdi><span class=\"cut\"> … 3 bytes more");
  run.host = text + "a";
  EXPECT_EQ(countOf(pageOf({run}), "class=\"cut\""), 0U);
}

}  // namespace
