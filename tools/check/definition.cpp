#include "tools/check/definition.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "rmglib/kelcom.h"
#include "sendevent/exitstatus.h"
#include "tools/check/command.h"
#include "tools/check/pieces.h"
#include "tools/check/textmarks.h"
#include "tools/common/language.h"
#include "tools/common/listed.h"
#include "tools/common/nearest.h"
#include "tools/outcome/run.h"

namespace check {

namespace {

constexpr char kSendTypeKey[] = "SendType";
constexpr char kErrorType[] = "err";

/// What the command's reader has made of one piece.
struct Reading {
  bool isRejected = false;
  std::string text;                // what it has seen, without the line end
  std::optional<std::string> key;  // what it took for the key; none: the piece has no "="
  std::string value;               // and for the value
};

/// Has the command read a piece. It leaves its marks in it: the end of the key, where it found one,
/// and that of the text.
Reading readPiece(char* piece, Command& command, const std::vector<std::string>& keys) {
  const std::string before = piece;
  Reading reading;
  reading.isRejected = command.readDefinitionLine(piece, keys) != kExitSuccess;
  const std::size_t end = std::strlen(piece);
  if (end < before.size() && before[end] == '=') {
    reading.key = piece;
    reading.value = piece + end + 1;
    reading.text = *reading.key + '=' + reading.value;
  } else {
    reading.text = piece;
  }
  return reading;
}

// --- a key that there is not ---------------------------------------------------------------------

/// Something around a key that does not belong to it.
struct Wrapping {
  std::string_view bare;             // the key without it
  std::vector<std::string> remarks;  // what it is
};

/// Takes away what may stand around a key by mistake.
Wrapping unwrapped(std::string_view key) {
  Wrapping wrapping;
  if (hasByteOrderMark(key)) {
    key.remove_prefix(kByteOrderMark.size());
    wrapping.remarks.push_back(translated("a byte order mark before it"));
  }
  const std::size_t size = key.size();
  while (!key.empty() && isBlank(key.front())) key.remove_prefix(1);
  if (key.size() < size) wrapping.remarks.push_back(translated("a blank before it"));
  const std::size_t rest = key.size();
  while (!key.empty() && isBlank(key.back())) key.remove_suffix(1);
  if (key.size() < rest) wrapping.remarks.push_back(translated("a blank before \"=\""));
  if (key.size() > 1 && key.front() == '"' && key.back() == '"') {
    key = key.substr(1, key.size() - 2);
    wrapping.remarks.push_back(translated("quotes around it"));
  }
  wrapping.bare = key;
  return wrapping;
}

/// The key that is most likely meant by a word, if any is.
std::optional<std::string> meantBy(std::string_view word, const std::vector<std::string>& keys) {
  const auto found = std::find(keys.begin(), keys.end(), word);
  return found != keys.end() ? std::optional(*found) : nearestWord(word, keys);
}

/// What is wrong, and the key that is meant all the same.
struct Explanation {
  std::string text;
  std::optional<std::string> meant;
};

/// What is wrong, with the rule that is to be remembered.
std::string withCommentRule(const std::string& text) {
  return translated("%s; a comment begins with \"#\" and nothing before it", {text});
}

/// What is wrong, with what is likely meant.
std::string withMeant(const std::string& text, const std::string& meant) {
  return translated("%s; did you mean %s?", {text, meant});
}

Explanation explainUnknownKey(const std::string& key, const std::vector<std::string>& keys) {
  if (key.empty()) return {translated("no key before \"=\""), std::nullopt};
  const Wrapping wrapping = unwrapped(key);
  Explanation explanation = {translated("unknown key %s", {quoted(key)}),
                             meantBy(wrapping.bare, keys)};
  if (!wrapping.remarks.empty()) explanation.text += " (" + listed(wrapping.remarks) + ')';
  if (!wrapping.bare.empty() && wrapping.bare.front() == '#') {
    explanation.text = withCommentRule(explanation.text);
  } else if (explanation.meant && *explanation.meant != wrapping.bare) {
    explanation.text = withMeant(explanation.text, *explanation.meant);
  } else if (!explanation.meant) {
    explanation.text = translated("%s; tanexics-input(5) lists the keys", {explanation.text});
  }
  return explanation;
}

/// Whether the byte may be one of a key.
bool isLetter(char byte) { return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z'); }

Explanation explainMissingEquals(const std::string& text, const std::vector<std::string>& keys) {
  const std::string_view bare = unwrapped(text).bare;
  Explanation explanation = {translated("no \"=\" in %s", {quoted(text)}), std::nullopt};
  const std::string_view begin = bare.substr(0, 2);
  if (begin == "\xff\xfe" || begin == "\xfe\xff") {
    explanation.text = translated("%s; a file in UTF-16 is not understood", {explanation.text});
    return explanation;
  }
  if (bare.empty()) {
    explanation.text = translated(
        "%s; a line is skipped where it is empty, and not where it has blanks", {explanation.text});
    return explanation;
  }
  if (bare.front() == '#') {
    explanation.text = withCommentRule(explanation.text);
    return explanation;
  }
  const auto* const end = std::find_if_not(bare.begin(), bare.end(), isLetter);
  const auto length = static_cast<std::size_t>(end - bare.begin());
  explanation.meant = meantBy(bare.substr(0, length), keys);
  if (!explanation.meant) return explanation;
  std::string_view value = bare.substr(length);
  value.remove_prefix(std::min(value.find_first_not_of(" \t:"), value.size()));
  explanation.text =
      withMeant(explanation.text,
                quoted(*explanation.meant + '=' + (value.empty() ? "..." : std::string(value))));
  return explanation;
}

// --- the definition ------------------------------------------------------------------------------

/// Whether a type of event is not "err", and may be meant for it.
bool isNearlyError(const std::string& value) {
  std::string_view bare = value;
  const auto isAround = [](char byte) { return isBlank(byte) || byte == '"' || byte == '\''; };
  while (!bare.empty() && isAround(bare.front())) bare.remove_prefix(1);
  while (!bare.empty() && isAround(bare.back())) bare.remove_suffix(1);
  return value != kErrorType && nearestWord(bare, {kErrorType, "error"});
}

class DefinitionCheck {
 public:
  explicit DefinitionCheck(FaultsOf& faults) : m_faults(faults), m_pieces(faults) {}

  void add(const Piece& piece) {
    m_pieces.add(piece);
    const Reading reading = readPiece(piece.text, m_command, m_keys);
    if (reading.isRejected) {
      const Explanation explanation = explain(reading, piece.offset);
      m_faults.error(piece.line, explanation.text);
      if (explanation.meant) m_meant.insert(*explanation.meant);
    } else if (reading.key) {
      remarkOn(*reading.key, reading.value, piece.line);
      lines[*reading.key] = piece.line;
    }
  }

  /// Tells of the keys that are missing, but for those that a wrong line is meant to give.
  void addMissing(const std::string& path) {
    for (const std::string& key : m_keys) {
      if (m_command.checkRequiredKeys(path.c_str(), {key}) == kExitSuccess) continue;
      if (m_meant.count(key) == 0) m_faults.error(0, translated("%s is missing", {key}));
    }
  }

  std::map<std::string, std::size_t> lines;  // of the keys that were accepted

 private:
  Explanation explain(const Reading& reading, std::size_t offset) const {
    Explanation explanation;
    if (!reading.key) {
      explanation = explainMissingEquals(reading.text, m_keys);
    } else if (std::find(m_keys.begin(), m_keys.end(), *reading.key) == m_keys.end()) {
      explanation = explainUnknownKey(*reading.key, m_keys);
    } else {
      const bool isEmpty = reading.value.empty();
      const char* const message = isEmpty ? marked("%s has no value") : marked("%s is rejected");
      const std::string subject = isEmpty ? *reading.key : quoted(reading.text);
      explanation = {translated(message, {subject}), reading.key};
    }
    if (offset > 0) {
      explanation.text = translated("%s (behind %s bytes of the line)",
                                    {explanation.text, std::to_string(offset)});
    }
    return explanation;
  }

  void remarkOn(const std::string& key, const std::string& value, std::size_t line) {
    const auto before = lines.find(key);
    if (before != lines.end()) {
      m_faults.warning(line, translated("%s once more: its value in line %s does not count",
                                        {key, std::to_string(before->second)}));
    }
    if (key == kSendTypeKey && isNearlyError(value)) {
      m_faults.warning(
          line, translated("SendType=%s is sent as \"other event\" (%s); only \"%s\" is exact",
                           {shown(value), outcome::requestText(kKelNotifyOtherEvent), kErrorType}));
      return;
    }
    const std::vector<std::string> marks = marksOf(value);
    if (marks.empty()) return;
    // TRANSLATORS: a key, and what is said of its value, such as "begins with a blank"
    m_faults.warning(line, translated("the value of %s %s", {key, sentenceOf(marks)}));
  }

  FaultsOf& m_faults;
  PieceRemarks m_pieces;
  Command m_command;
  std::vector<std::string> m_keys = eventKeys();
  std::set<std::string> m_meant;
};

}  // namespace

Definition checkDefinition(const std::string& path, Faults& faults) {
  FaultsOf own(path, faults);
  Input input = readInput(path, own);
  DefinitionCheck check(own);
  forEachPiece(input.bytes, [&check](const Piece& piece) {
    check.add(piece);
    return true;
  });
  if (input.extent == Extent::kWhole) check.addMissing(path);
  return {input.extent, std::move(check.lines)};
}

}  // namespace check
