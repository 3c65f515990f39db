#include "tools/log/page.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "loopback/bytes.h"
#include "tools/log/json.h"
#include "tools/log/pagestyle.h"

using outcome::counted;
using outcome::Encoding;
using outcome::Exchange;
using outcome::Run;
using outcome::Verdict;

namespace {

// --- texts ---------------------------------------------------------------------------------------

/// What a verdict looks like beside its word: colours and hatchings are chosen by the word, in the
/// style.
struct Kind {
  Verdict verdict;
  const char* mark;
  const char* meaning;
};

constexpr Kind kKinds[] = {
    {Verdict::kDelivered, "✓", "every exchange was made and accepted"},
    {Verdict::kPartly, "◐", "some exchanges were accepted, or a listed file was missing"},
    {Verdict::kRefused, "✕", "exchanges were made, and none was accepted"},
    {Verdict::kNotSent, "⊘", "no exchange was made, and the log says why"},
    {Verdict::kUnknown, "?", "the log leaves open what became of it"},
};

std::size_t indexOf(Verdict verdict) { return static_cast<std::size_t>(verdict); }

std::string number(std::size_t value) { return std::to_string(value); }

/// Text as it stands between tags and in attributes.
std::string escaped(std::string_view text) {
  std::string html;
  html.reserve(text.size());
  for (const char byte : text) {
    switch (byte) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\'':
        html += "&#39;";
        break;
      default:
        html += byte;
    }
  }
  return html;
}

/// UTF-8 as an element that keeps what it does to the direction of writing to itself. Of a long
/// text the beginning.
std::string isolated(std::string_view text, const std::string& name,
                     std::size_t most = Page::kMostText) {
  std::string_view rest = text;
  while (!rest.empty() && text.size() - rest.size() < most) {
    rest.remove_prefix(std::max<std::size_t>(utf8Length(rest), 1));
  }
  std::string html = "<bdi class=\"" + name + "\">" +
                     escaped(text.substr(0, text.size() - rest.size())) + "</bdi>";
  if (!rest.empty()) {
    html += "<span class=\"cut\"> … " + counted(rest.size(), "byte") + " more</span>";
  }
  return html;
}

/// A text of the log.
std::string logText(const std::string& bytes, Encoding encoding, const std::string& name) {
  return isolated(readable(bytes, encoding), name);
}

/// An explanation, line by line.
std::string explanation(const std::string& text) {
  std::string lines;
  std::size_t at = 0;
  while (at <= text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines += (at == 0 ? "" : "\n") + visibleBytes(std::string_view(text).substr(at, end - at));
    at = end + 1;
  }
  return isolated(lines, "text", Page::kMostExplanation);
}

std::string badge(Verdict verdict) {
  const std::string word = wordOf(verdict);
  return "<span class=\"verdict " + word + "\"><span aria-hidden=\"true\">" +
         kKinds[indexOf(verdict)].mark + "</span> " + word + "</span>";
}

std::string timeElement(const std::string& time) {
  const std::string iso = escaped(readable(isoTime(time), Encoding::kUtf8));
  std::string shown = iso;
  std::replace(shown.begin(), shown.end(), 'T', ' ');
  return "<time datetime=\"" + iso + "\">" + shown + "</time>";
}

std::string dayOf(const Run& run) {
  constexpr std::size_t kDay = 10;
  return readable(isoTime(run.start).substr(0, kDay), Encoding::kUtf8);
}

// --- a run ---------------------------------------------------------------------------------------

/// Which exchanges of a run are listed: all, or so many that failed, then the first ones.
std::vector<bool> chosenOf(const std::vector<Exchange>& exchanges) {
  std::vector<bool> chosen(exchanges.size());
  std::size_t free = Page::kMostExchanges;
  for (const bool fine : {false, true}) {
    for (std::size_t at = 0; at < exchanges.size() && free > 0; ++at) {
      if (isAccepted(exchanges[at]) != fine) continue;
      chosen[at] = true;
      --free;
    }
  }
  return chosen;
}

std::string exchangeItem(const Exchange& exchange, Encoding encoding) {
  const char* state = isAccepted(exchange) ? "zero" : exchange.code ? "failed" : "open";
  std::string html = std::string("<li class=\"") + state + "\"><span class=\"kind\">" +
                     (exchange.isData ? "data" : "notification") + "</span>";
  if (exchange.request) {
    html += " <code class=\"request\">" + outcome::requestText(*exchange.request) + "</code>";
  }
  if (exchange.part) {
    html += " <span class=\"part\">part " + std::to_string(*exchange.part) + "</span>";
  }
  html += " <span class=\"code\">" +
          (exchange.code ? "code " + std::to_string(*exchange.code) : "no answer in the log") +
          "</span>";
  if (exchange.path) html += ' ' + logText(*exchange.path, encoding, "path");
  if (exchange.files > 1) {
    html += " <span class=\"files\">and " +
            counted(static_cast<std::size_t>(exchange.files) - 1, "more file") + "</span>";
  }
  if (exchange.error && !exchange.error->empty()) {
    html += ' ' + logText(*exchange.error, encoding, "error");
  }
  return html + "</li>";
}

std::string exchangeList(const Run& run, Encoding encoding) {
  const std::vector<bool> chosen = chosenOf(run.exchanges);
  const auto listed = static_cast<std::size_t>(std::count(chosen.begin(), chosen.end(), true));
  std::string html = "<h3>" + counted(run.exchanges.size(), "exchange");
  if (run.expected) html += " of " + std::to_string(*run.expected);
  html += "</h3>";
  if (listed == 0) return html;
  html += "<ol>";
  for (std::size_t at = 0; at < chosen.size(); ++at) {
    if (chosen[at]) html += exchangeItem(run.exchanges[at], encoding);
  }
  html += "</ol>";
  if (listed < chosen.size()) {
    html += "<p class=\"rest\">" + counted(chosen.size() - listed, "exchange") +
            " not listed; those that failed go first.</p>";
  }
  return html;
}

std::string fileList(const Run& run, Encoding encoding) {
  if (run.missing.empty()) return "";
  std::string html = "<h3>Listed files that could not be measured</h3><ul class=\"missing\">";
  const std::size_t listed = std::min(run.missing.size(), Page::kMostFiles);
  for (std::size_t at = 0; at < listed; ++at) {
    html += "<li>" + logText(run.missing[at], encoding, "path") + "</li>";
  }
  html += "</ul>";
  if (listed < run.missing.size()) {
    html +=
        "<p class=\"rest\">" + counted(run.missing.size() - listed, "file") + " not listed.</p>";
  }
  return html;
}

std::string explanationList(std::vector<std::string> texts) {
  if (texts.empty()) return "";
  std::string html = "<h3>What it means</h3><ul class=\"explained\">";
  const std::size_t listed = std::min(texts.size(), Page::kMostTexts);
  for (std::size_t at = 0; at < listed; ++at) html += "<li>" + explanation(texts[at]) + "</li>";
  html += "</ul>";
  if (listed < texts.size()) {
    html += "<p class=\"rest\">" + counted(texts.size() - listed, "text") + " not listed.</p>";
  }
  return html;
}

/// What was reported, in a few words.
std::string subjectOf(const Run& run, Encoding encoding) {
  const char* mode = wordOf(run.mode);
  std::string html = mode == nullptr ? "report" : mode;
  if (run.identity) html += ' ' + logText(*run.identity, encoding, "identity");
  if (run.host && !run.host->empty()) html += " of " + logText(*run.host, encoding, "host");
  return html;
}

/// One of a run's fields; `html` is nothing where the log does not tell.
std::string field(const std::string& name, const std::optional<std::string>& html,
                  const std::string& start = "<div>") {
  return start + "<dt>" + name + "</dt><dd>" + html.value_or("<i>not in the log</i>") +
         "</dd></div>";
}

std::optional<std::string> maybeText(const std::optional<std::string>& bytes, Encoding encoding) {
  if (!bytes) return std::nullopt;
  if (bytes->empty()) return "<i>empty</i>";
  return logText(*bytes, encoding, "value");
}

std::optional<std::string> secondsOf(const Run& run) {
  if (!run.elapsed) return std::nullopt;
  char text[32];
  std::snprintf(text, sizeof text, "%.6g s", *run.elapsed);
  return text;
}

std::string fieldsOf(const std::string& log, const Run& run, Encoding encoding) {
  const char* mode = wordOf(run.mode);
  const std::string first = run.hasStart ? "Start" : "First line";
  std::string html = "<dl>" + field("Mode", mode == nullptr ? std::nullopt : std::optional(mode)) +
                     field("Identity", maybeText(run.identity, encoding)) +
                     field("Host", maybeText(run.host, encoding));
  if (!run.hasStart) html += field("Start", std::nullopt);
  html += field(first, timeElement(run.start)) +
          field("End", run.end.empty() ? std::nullopt : std::optional(timeElement(run.end))) +
          field("Took", secondsOf(run)) +
          field("Exit status",
                run.exitCode ? std::optional(std::to_string(*run.exitCode)) : std::nullopt) +
          field("Process id", std::to_string(run.pid));
  if (run.torn > 0) {
    html += field("Torn", counted(static_cast<std::size_t>(run.torn), "line") + " missing or torn");
  }
  return html + field("Log", logText(log, Encoding::kUtf8, "value"), "<div class=\"long\">") +
         "</dl>";
}

std::string runElement(const std::string& log, const Run& run, Encoding encoding,
                       std::vector<std::string> explained) {
  const std::string word = wordOf(run.verdict);
  return "<details class=\"run " + word + "\"><summary>" + badge(run.verdict) + ' ' +
         timeElement(run.start) + " <span class=\"pid\">pid " + std::to_string(run.pid) +
         "</span> <span class=\"subject\">" + subjectOf(run, encoding) +
         "</span> <span class=\"reason\">" + logText(run.reason, encoding, "why") +
         "</span></summary><div class=\"body\">" + fieldsOf(log, run, encoding) +
         exchangeList(run, encoding) + fileList(run, encoding) +
         explanationList(std::move(explained)) + "</div></details>\n";
}

// --- the figures ---------------------------------------------------------------------------------

template <class Counts>
std::size_t sumOf(const Counts& counts) {
  std::size_t sum = 0;
  for (const std::size_t one : counts) sum += one;
  return sum;
}

std::string rectangle(std::size_t x, std::size_t y, std::size_t width, std::size_t height,
                      const std::string& word) {
  return "<rect x=\"" + number(x) + "\" y=\"" + number(y) + "\" width=\"" + number(width) +
         "\" height=\"" + number(height) + "\" fill=\"url(#fill-" + word + ")\"/>";
}

/// The least of 1, 2, 5, 10, 20, 50 ... that is not below `value`.
std::size_t roundTop(std::size_t value) {
  std::size_t top = 1;
  for (std::size_t at = 0; top < value; ++at) top = at % 3 == 1 ? top / 2 * 5 : top * 2;
  return top;
}

/// Where things stand in the chart, in pixels.
struct Grid {
  static constexpr std::size_t kHeight = 160;  // of the highest level
  static constexpr std::size_t kLeast = 3;     // of a part, however small it is
  static constexpr std::size_t kAbove = 23;    // room for parts that are higher than they should be
  static constexpr std::size_t kBase = kAbove + kHeight;
  static constexpr std::size_t kBelow = 36;
  static constexpr std::size_t kLeft = 18;
  static constexpr std::size_t kLabel = 40;  // width of a day's label
  static constexpr std::size_t kDigit = 8;

  explicit Grid(std::size_t days, std::size_t most)
      : top(roundTop(most)),
        pitch(std::clamp<std::size_t>(1000 / days, 11, 56)),
        bar(pitch - pitch / 4) {}

  std::size_t heightOf(std::size_t value) const {
    if (value == 0) return 0;
    const double share = static_cast<double>(value) / static_cast<double>(top);
    return std::max(kLeast, static_cast<std::size_t>(share * kHeight));
  }

  std::size_t top;    // the value of the highest level
  std::size_t pitch;  // from one bar to the next
  std::size_t bar;    // width of a bar
};

/// The value's line across the chart.
std::string level(const Grid& grid, std::size_t value, std::size_t right) {
  const std::string y = number(Grid::kBase - grid.heightOf(value));
  return "<line x1=\"0\" x2=\"" + number(right) + "\" y1=\"" + y + "\" y2=\"" + y +
         "\"/><text x=\"" + number(right + 4) + "\" y=\"" + y + "\" dy=\"4\">" + number(value) +
         "</text>";
}

/// "2026-11-20: 3 delivered, 1 refused".
template <class Counts>
std::string inWords(const std::string& day, const Counts& counts) {
  std::string words;
  for (const Kind& kind : kKinds) {
    const std::size_t value = counts[indexOf(kind.verdict)];
    if (value == 0) continue;
    words += (words.empty() ? ": " : ", ") + number(value) + ' ' + wordOf(kind.verdict);
  }
  return escaped(day) + words;
}

/// One day: its parts on one another, from `x` on.
template <class Counts>
std::string stack(const Grid& grid, std::size_t x, const std::string& day, const Counts& counts) {
  std::string html = "<title>" + inWords(day, counts) + "</title>";
  std::size_t y = Grid::kBase;
  for (const Kind& kind : kKinds) {
    const std::size_t height = grid.heightOf(counts[indexOf(kind.verdict)]);
    if (height == 0) continue;
    y -= height;
    html += rectangle(x, y, grid.bar, height, wordOf(kind.verdict));
  }
  return html;
}

std::string label(std::size_t x, std::size_t y, const std::string& text) {
  return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\">" + escaped(text) + "</text>";
}

/// The days side by side. A day is "YYYY-MM-DD"; its year is named where it begins.
template <class Days>
std::string chart(const Days& days) {
  constexpr std::size_t kYear = 4;
  std::size_t most = 0;
  for (const auto& [day, counts] : days) most = std::max(most, sumOf(counts));
  const Grid grid(days.size(), most);
  const std::size_t right = Grid::kLeft + days.size() * grid.pitch;
  const std::string width = number(right + 8 + number(grid.top).size() * Grid::kDigit);
  const std::string height = number(Grid::kBase + Grid::kBelow);
  std::string html = "<svg class=\"chart\" role=\"img\" width=\"" + width + "\" height=\"" +
                     height + "\" viewBox=\"0 0 " + width + ' ' + height +
                     "\" aria-label=\"Runs by day and verdict; the same figures stand in the table "
                     "below\">\n<g class=\"levels\">" +
                     level(grid, 0, right);
  if (grid.top % 2 == 0) html += level(grid, grid.top / 2, right);
  html += level(grid, grid.top, right) + "</g>\n";
  const std::size_t step = (Grid::kLabel + grid.pitch - 1) / grid.pitch;
  std::size_t x = Grid::kLeft;
  std::size_t left = days.size();
  std::string year;
  for (const auto& [day, counts] : days) {
    html += "<g>" + stack(grid, x, day, counts);
    --left;
    // Counted from the last day, which always has its label.
    if (left % step == 0 && day.size() > kYear) {
      const std::size_t middle = x + grid.bar / 2;
      html += label(middle, Grid::kBase + 16, day.substr(kYear + 1));
      if (day.substr(0, kYear) != year) {
        year = day.substr(0, kYear);
        html += label(middle, Grid::kBase + 31, year);
      }
    }
    html += "</g>\n";
    x += grid.pitch;
  }
  return html + "</svg>\n";
}

template <class Counts>
std::string row(const std::string& head, const Counts& counts) {
  std::string html = "<tr><th scope=\"row\">" + head + "</th>";
  for (const std::size_t value : counts) html += "<td>" + number(value) + "</td>";
  return html + "<td>" + number(sumOf(counts)) + "</td></tr>\n";
}

}  // namespace

Page::Page(Encoding encoding, Explain explain)
    : m_encoding(encoding), m_explain(std::move(explain)) {}

void Page::count(const Run& run) {
  const std::size_t verdict = indexOf(run.verdict);
  ++m_all[verdict];
  ++m_days[dayOf(run)][verdict];
  if (m_days.size() <= kMostDays) return;
  const auto oldest = m_days.begin();
  for (std::size_t at = 0; at < m_earlier.size(); ++at) m_earlier[at] += oldest->second[at];
  m_days.erase(oldest);
}

void Page::dropOldest() {
  const auto oldest = m_items.begin();
  m_bytes -= oldest->second.html.size();
  m_horizon = oldest->first;
  m_items.erase(oldest);
}

void Page::add(const std::string& log, const Run& run) {
  count(run);
  if (run.start < m_horizon) return;
  std::vector<std::string> explained;
  if (m_explain) explained = m_explain(run);
  std::string html = runElement(log, run, m_encoding, std::move(explained));
  m_bytes += html.size();
  m_items.emplace(run.start, Item{run.verdict, std::move(html)});
  while (m_items.size() > kMostRuns || m_bytes > kMostBytes) dropOldest();
}

std::string Page::dayTable() const {
  std::string html =
      "<details class=\"table\"><summary>The same as a table</summary>\n<div "
      "class=\"wide\" tabindex=\"0\" role=\"region\" aria-label=\"Table of the days\">"
      "<table class=\"days\"><caption>Runs by day and verdict</caption>\n<thead><tr><th "
      "scope=\"col\">Day</th>";
  for (const Kind& kind : kKinds) {
    html += std::string("<th scope=\"col\">") + wordOf(kind.verdict) + "</th>";
  }
  html += "<th scope=\"col\">all</th></tr></thead>\n<tbody>\n";
  if (sumOf(m_earlier) > 0) html += row("earlier", m_earlier);
  for (const auto& [day, counts] : m_days) html += row(escaped(day), counts);
  return html + "</tbody></table></div></details>\n";
}

std::string Page::figures() const {
  std::string html =
      "<section><h2>Verdicts</h2>\n<table class=\"totals\"><caption>Runs by verdict"
      "</caption>\n<thead><tr><th scope=\"col\">Verdict</th><th scope=\"col\">Runs</th>"
      "<th scope=\"col\">Meaning</th></tr></thead>\n<tbody>\n";
  for (const Kind& kind : kKinds) {
    html +=
        "<tr><th scope=\"row\"><svg class=\"key\" width=\"16\" height=\"16\" "
        "aria-hidden=\"true\">" +
        rectangle(0, 0, 16, 16, wordOf(kind.verdict)) + "</svg>" + badge(kind.verdict) +
        "</th><td>" + number(m_all[indexOf(kind.verdict)]) + "</td><td>" + kind.meaning +
        "</td></tr>\n";
  }
  html += "</tbody></table></section>\n";
  if (m_days.empty()) return html;
  html +=
      "<section><h2>Day by day</h2>\n<figure><div class=\"wide latest\" tabindex=\"0\" "
      "role=\"region\" aria-label=\"Chart of the days\">" +
      chart(m_days) +
      "</div>\n<figcaption>Runs by the day of their first line, hatched as in "
      "the table above. Days without a run are left out";
  if (sumOf(m_earlier) > 0) {
    html += ", and so are days before the last " + number(kMostDays) + ", with " +
            counted(sumOf(m_earlier), "run");
  }
  return html + ".</figcaption></figure>\n" + dayTable() + "</section>\n";
}

std::string Page::runs() const {
  std::string html = "<section class=\"runs\"><h2>Runs</h2>\n";
  const std::size_t all = sumOf(m_all);
  if (m_items.size() < all) {
    html += "<p class=\"rest\">The latest " + counted(m_items.size(), "run") + " of " +
            number(all) + "; " + number(all - m_items.size()) + " not listed.</p>\n";
  }
  Counts listed = {};
  for (const auto& [start, item] : m_items) ++listed[indexOf(item.verdict)];
  html +=
      "<div class=\"filter\" role=\"radiogroup\" aria-label=\"Which runs are shown\">"
      "<label><input type=\"radio\" name=\"show\" id=\"show-all\" checked> all " +
      number(m_items.size()) + "</label>";
  for (const Kind& kind : kKinds) {
    const std::string word = wordOf(kind.verdict);
    const std::size_t value = listed[indexOf(kind.verdict)];
    if (value == 0) continue;
    html.append(" <label><input type=\"radio\" name=\"show\" id=\"show-").append(word);
    html.append("\"> ").append(word).append(" ").append(number(value)).append("</label>");
  }
  html += "</div>\n";
  for (auto item = m_items.rbegin(); item != m_items.rend(); ++item) html += item->second.html;
  return html + "</section>\n";
}

std::string Page::html() const {
  const std::size_t all = sumOf(m_all);
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
      "style-src '";
  html.append(kPageStyleHash).append("'; base-uri 'none'; form-action 'none'\">\n");
  html +=
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"format-detection\" content=\"telephone=no, date=no, address=no, email=no\">\n"
      "<title>tanexics: what became of the reports</title>\n<style>";
  html.append(kPageStyle).append("</style>\n</head>\n<body>\n").append(kPagePatterns);
  html += "<main>\n<header><h1>What became of the reports</h1>\n<p>" +
          (all == 0 ? "No runs" : counted(all, "run"));
  html += " of tanexics";
  if (!m_items.empty() && m_items.size() == all) {
    html += ", from " + timeElement(m_items.begin()->first) + " to " +
            timeElement(m_items.rbegin()->first);
  } else if (!m_items.empty()) {
    html += ", the last one at " + timeElement(m_items.rbegin()->first);
  }
  html += ". Times are local times of the machine.</p></header>\n" + figures();
  if (!m_items.empty()) html += runs();
  return html + "</main>\n</body>\n</html>\n";
}
