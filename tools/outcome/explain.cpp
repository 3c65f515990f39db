#include "tools/outcome/explain.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <regex>
#include <string_view>

#include "rmglib/catalogue.h"
#include "rmglib/kelcom.h"
#include "supportpage.h"
#include "tools/common/language.h"
#include "tools/outcome/explanation.h"
#include "tools/outcome/meaning.h"
#include "tools/outcome/pieces.h"
#include "tools/outcome/readable.h"

namespace outcome {

namespace {

// What the page says in its prose, of a row with a star and of the rows of a table.

std::string notOfTheCommand(const std::string& sentence) {
  return translated(
      "%s; such lines are never written by the command: they come from programs that use its "
      "library of common functions",
      {sentence});
}

std::string invalidParam(const std::string& position, const std::string& function) {
  return translated(
      "%s, \"invalid param\", of %s: a function was called without a value that it needs, and did "
      "nothing",
      {position, function});
}

std::string onStandardError(const std::string& position, const std::string& function) {
  return translated("%s, of %s: on standard error, before abort(3); the command never gets there",
                    {position, function});
}

// --- the page ------------------------------------------------------------------------------------

using Cells = std::vector<std::string_view>;

/// A table of the page.
struct Table {
  Cells heads;
  std::vector<Cells> rows;
};

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// The cells of "| A | B |".
Cells cellsOf(std::string_view line) {
  Cells cells;
  line.remove_prefix(1);
  for (std::size_t end = line.find('|'); end != std::string_view::npos; end = line.find('|')) {
    cells.push_back(trimmed(line.substr(0, end)));
    line.remove_prefix(end + 1);
  }
  return cells;
}

std::vector<Table> tablesOf(std::string_view page) {
  std::vector<Table> tables;
  bool isInTable = false;
  while (!page.empty()) {
    const std::size_t end = std::min(page.find('\n'), page.size() - 1);
    const std::string_view line = page.substr(0, end);
    page.remove_prefix(end + 1);
    const bool isRow = line.substr(0, 1) == "|";
    if (isRow && !isInTable) {
      tables.push_back({cellsOf(line), {}});
    } else if (isRow && line.substr(0, 2) != "|-") {
      tables.back().rows.push_back(cellsOf(line));
      tables.back().rows.back().resize(tables.back().heads.size());
    }
    isInTable = isRow;
  }
  return tables;
}

/// The rows of the tables with these first two heads.
std::vector<Cells> rowsUnder(std::string_view first, std::string_view second) {
  static const std::vector<Table> tables = tablesOf(kSupportPage);
  std::vector<Cells> rows;
  for (const Table& table : tables) {
    if (table.heads.size() < 2 || table.heads[0] != first || table.heads[1] != second) continue;
    rows.insert(rows.end(), table.rows.begin(), table.rows.end());
  }
  return rows;
}

/// The text of a cell, with `quote` in place of the marks around code.
std::string plain(std::string_view cell, const std::string& quote = "\"") {
  static const std::regex marks("`{1,2}");
  return std::regex_replace(std::string(cell), marks, quote);
}

/// What a cell says, in the language that is spoken.
std::string said(std::string_view cell) { return translation(plain(cell).c_str()); }

/// "NUMBER, "TEXT": MEANING", of a row with these three, whose number may have a star.
std::string sentenceOf(const Cells& row) {
  std::string_view number = row[0];
  const bool hasStar = number.back() == '*';
  if (hasStar) number = trimmed(number.substr(0, number.size() - 1));
  const std::string sentence = std::string(number) + ", " + plain(row[1]) + ": " + said(row[2]);
  return hasStar ? notOfTheCommand(sentence) : sentence;
}

// --- the words -----------------------------------------------------------------------------------

/// The number that `text` is, as a whole.
std::optional<int> intOf(const std::string& text, int base = 10) {
  int number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, base);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

/// What the page says of a status word; `isCancelled`: of the one that kept a run from sending,
/// also where the page does not have it.
std::vector<std::string> explainStatus(int status, bool isCancelled) {
  for (const Cells& row : rowsUnder("W", "Status word")) {
    const bool isOther = row[1].empty();
    if (isOther ? !isCancelled : row[0] != std::to_string(status)) continue;
    std::string word = std::to_string(status);
    if (!isOther) word += " (" + std::string(row[1]) + ')';
    const bool isSent = !isCancelled && row[3] == "yes";
    // TRANSLATORS: the word, what it means, "yes" or "no"
    const std::string sentence =
        translated("status word %s: %s; sent: %s",
                   {word, said(row[2]), translated(isSent ? marked("yes") : marked("no"))});
    if (row[4].empty()) return {sentence};
    // TRANSLATORS: the same, and why it stands in a line of the log
    return {
        translated(isCancelled ? marked("%s, %s") : marked("%s; in a \"Cancel sending\" line: %s"),
                   {sentence, said(row[4])})};
  }
  return {};
}

/// "exit status 78: MEANING", of one that the log has.
std::string exitSentence(int status) {
  return translated("exit status %s", {std::to_string(status) + ": " + exitMeaning(status)});
}

std::vector<std::string> explainExit(int status) {
  constexpr int kLargest = 255;
  constexpr int kSignals = 128;
  constexpr int kLastSignal = 31;
  if (status < 0 || status > kLargest) return {exitSentence(status)};
  // TRANSLATORS: the status, a colon and what it means
  std::vector<std::string> sentences = {translated("exit status %s", {endMeaning(status << 8)})};
  if (status > kSignals && status <= kSignals + kLastSignal) {
    sentences.push_back(translated("exit status %s of a shell: %s",
                                   {std::to_string(status), endMeaning(status - kSignals)}));
  }
  return sentences;
}

/// What the catalogue says of a key, in one line; nothing where it has no such row. `message` is
/// the mail server's.
std::vector<std::string> explainError(const std::string& type, int result, int code,
                                      const std::string& message) {
  const int agent = type == kSmtpType ? kKelSmtpError : kKelHttpError;
  std::vector<std::string> lines = explanationLines(result, agent, code);
  if (lines.size() < 2) return {};  // the numbers alone
  const auto place = std::find(lines.begin(), lines.end(), "");
  if (place != lines.end() && !message.empty()) {
    *place = message;
  } else if (place != lines.end()) {
    lines.erase(place - 1, place + 1);  // with the line that announces it
  }
  std::string sentence;
  for (const std::string& line : lines) sentence += (sentence.empty() ? "" : " ") + line;
  return {sentence};
}

/// Of an error as the log has it; nothing where `text` is none.
std::vector<std::string> explainErrorText(const std::string& text) {
  static const std::regex form(
      "\\((HTTP|SMTP)\\) RL:(-?[0-9]{1,10}),ZW-Agent:(-?[0-9]{1,10}),Mailsvr:\"");
  std::smatch found;
  if (!std::regex_search(text, found, form, std::regex_constants::match_continuous)) return {};
  const std::string message = found.suffix();
  const std::optional<int> result = intOf(found[2]);
  const std::optional<int> code = intOf(found[3]);
  if (!result || !code || message.empty() || message.back() != '"') return {};
  return explainError(
      found[1], *result, *code,
      readable(std::string_view(message).substr(0, message.size() - 1), Encoding::kEither));
}

std::vector<std::string> explainErrorKey(const std::string& type, const std::string& result,
                                         const std::string& code) {
  const std::optional<int> resultNumber = intOf(result);
  const std::optional<int> codeNumber = intOf(code);
  std::vector<std::string> sentences;
  if (!resultNumber || !codeNumber) return sentences;
  for (const char* const one : {kHttpType, kSmtpType}) {
    if (!type.empty() && type != one) continue;
    for (std::string& sentence : explainError(one, *resultNumber, *codeNumber, "")) {
      sentences.push_back(std::move(sentence));
    }
  }
  return sentences;
}

/// Whether `text` may be the one that `cell` shows, as far as the first of its words in capitals,
/// which stand for what changes.
bool mayBe(const std::string& text, const std::string& cell) {
  static const std::regex code("`([^`]*)`");
  static const std::regex variable("\\b[A-Z]+\\b");
  for (std::sregex_iterator span(cell.begin(), cell.end(), code), end; span != end; ++span) {
    const std::string shown = (*span)[1];
    std::smatch found;
    const bool hasVariable = std::regex_search(shown, found, variable);
    const std::string begin = hasVariable ? std::string(found.prefix()) : shown;
    if (text.compare(0, begin.size(), begin) == 0) return true;
  }
  return false;
}

/// What a message number means, of the texts that it has, or where `text` is given, of that one.
std::vector<std::string> explainNumber(const std::string& number,
                                       const std::optional<std::string>& text) {
  std::vector<std::string> sentences;
  for (const Cells& row : rowsUnder("Number", "Text")) {
    if (row[0].substr(0, number.size()) != number) continue;
    if (text && !mayBe(*text, std::string(row[1]))) continue;
    sentences.push_back(sentenceOf(row));
  }
  return sentences;
}

/// `position`: with its parentheses.
std::vector<std::string> explainPosition(const std::string& position) {
  std::vector<std::string> sentences;
  const auto has = [&](const Cells& row) {
    return row[0].find(position) != Cells::value_type::npos;
  };
  for (const Cells& row : rowsUnder("Position", "Text")) {
    if (has(row)) sentences.push_back(sentenceOf(row));
  }
  for (const Cells& row : rowsUnder("Position", "Function")) {
    if (!has(row)) continue;
    sentences.push_back(notOfTheCommand(invalidParam(position, plain(row[1], ""))));
  }
  return sentences;
}

std::vector<std::string> explainAssertion(const std::string& position) {
  for (const Cells& row : rowsUnder("On standard error", "Function")) {
    if (row[0].find(' ' + position + '(') == Cells::value_type::npos) continue;
    return {onStandardError(position, plain(row[1], ""))};
  }
  return {};
}

// --- a run ---------------------------------------------------------------------------------------

constexpr std::string_view kCancelled = "(CSendInfo::SendInfo) Cancel sending ";
constexpr std::string_view kStatus = "(status=";

/// Of the line that says that the line to the centre was not operating.
std::vector<std::string> explainReason(const std::string& reason) {
  if (reason.compare(0, kCancelled.size(), kCancelled) != 0) return {};
  const std::size_t at = reason.rfind(kStatus);
  if (at == std::string::npos) return {};
  const std::size_t first = at + kStatus.size();
  const std::optional<int> status = intOf(reason.substr(first, reason.find(')', first) - first));
  return status ? explainStatus(*status, true) : std::vector<std::string>();
}

/// Of the message number that a line of the log has, if it has one.
std::vector<std::string> explainLine(const std::string& line) {
  static const std::regex form("(VUQ[0-9]{5}L) : ");
  const std::string message = line.substr(readHead(line).length);
  std::smatch found;
  if (!std::regex_search(message, found, form, std::regex_constants::match_continuous)) return {};
  return explainNumber(found[1], found.suffix());
}

}  // namespace

std::vector<std::string> explain(const std::string& word) {
  // No part is without a limit, as the stack that a match takes grows with it.
  static const std::regex status("0x([0-9A-Fa-f]{1,8})|[0-9]{1,10}");
  static const std::regex exitStatus("exit/(-?[0-9]{1,10})");
  static const std::regex error("(?:(HTTP|SMTP)/)?(-?[0-9]{1,10})/(-?[0-9]{1,10})");
  static const std::regex number("VUQ[0-9]{5}L");
  static const std::regex position("\\([A-Za-z]{1,40}:[0-9]{1,10}\\)");
  static const std::regex barePosition("[A-Za-z]{1,40}:[0-9]{1,10}");
  static const std::regex assertion("[a-z]{1,40}\\.cpp:[0-9]{1,10}");
  std::smatch found;
  if (std::regex_match(word, found, status)) {
    const auto value = found[1].matched ? intOf(found[1], 16) : intOf(word);
    return value ? explainStatus(*value, false) : std::vector<std::string>();
  }
  if (std::regex_match(word, found, exitStatus)) {
    const auto value = intOf(found[1]);
    return value ? explainExit(*value) : std::vector<std::string>();
  }
  if (std::regex_match(word, found, error)) return explainErrorKey(found[1], found[2], found[3]);
  if (std::regex_match(word, number)) return explainNumber(word, std::nullopt);
  if (std::regex_match(word, position)) return explainPosition(word);
  if (std::regex_match(word, barePosition)) return explainPosition('(' + word + ')');
  if (std::regex_match(word, assertion)) return explainAssertion(word);
  return explainErrorText(word);
}

std::vector<std::string> explanationsOf(const Run& run) {
  std::vector<std::string> sentences;
  const auto add = [&sentences](const std::vector<std::string>& more) {
    for (const std::string& one : more) {
      if (std::find(sentences.begin(), sentences.end(), one) == sentences.end()) {
        sentences.push_back(one);
      }
    }
  };
  if (run.exitCode) {
    add({exitSentence(*run.exitCode)});
  }
  add(explainReason(run.reason));
  for (const Exchange& exchange : run.exchanges) add(explainErrorText(exchange.error.value_or("")));
  for (const std::string& line : run.lines) add(explainLine(line));
  return sentences;
}

}  // namespace outcome
