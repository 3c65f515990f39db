// Texts: characters counted, references to variables replaced, split and joined, and formatted.

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <list>

#include "common/base/format.h"
#include "common/text/encoding.h"
#include "common/text/environment.h"
#include "common/text/fields.h"
#include "fuzz/judges.h"

namespace {

// --- the counters of characters ------------------------------------------------------------------

bool isBetween(unsigned value, unsigned first, unsigned last) {
  return first <= value && value <= last;
}

/// How many bytes belong to the character that begins at a place; behind the end there are zeros.
std::size_t lengthAt(const std::string& text, std::size_t place, const std::string& encoding) {
  const auto byte = [&](std::size_t at) -> unsigned {
    return place + at < text.size() ? static_cast<unsigned char>(text[place + at]) : 0;
  };
  if (encoding == "euc") {
    const std::size_t pair = byte(1) >= 0xa0 ? 2 : 1;
    if (byte(0) == 0x8f) return pair == 2 && byte(2) >= 0xa0 ? 3 : 1;
    return byte(0) == 0x8e ? pair : byte(0) >= 0xa0 ? 2 : 1;
  }
  if (encoding == "utf8" && isBetween(byte(0), 0xc0, 0xfd)) {
    std::size_t length = 1;
    for (unsigned bit = 0x40; (byte(0) & bit) != 0; bit >>= 1) ++length;
    return length;
  }
  const bool isLead = isBetween(byte(0), 0x81, 0x9f) || isBetween(byte(0), 0xe0, 0xef);
  const bool isSecond = isBetween(byte(1), 0x40, 0xfc) && byte(1) != 0x7f;
  return encoding == "sjis" && isLead && isSecond ? 2 : 1;
}

/// The judge.
int countedIn(const std::string& encoding, const std::string& text) {
  int count = 0;
  for (std::size_t at = 0; at < text.size(); at += lengthAt(text, at, encoding)) ++count;
  return count;
}

// The input chooses the encoding's name, and is the text.
const Target kCharacterCount("charactercount", [](Input input) {
  static const struct {
    const char* lang;
    std::string encoding;
  } kLanguages[] = {
      {"ja_JP.eucJP", "euc"}, {"ja_JP.UTF-8", "utf8"}, {"ja_JP.SJIS", "sjis"},    {"C", "C"},
      {"JAPANESE", "euc"},    {"ja_jp.utf8", "utf8"},  {"japanese.SJIS", "sjis"}, {"", "C"},
      {"ja", "euc"},          {"JA_JP.UJIS", "euc"},   {"japanese.euc", "euc"},   {"ja_JP", "euc"},
      {"ja_JP.UTF", "C"},     {"ja_JP.eucJP.x", "C"},  {"en_US.UTF-8", "C"},      {"j", "C"},
  };
  const auto& [lang, named] = kLanguages[input.choice(16)];
  const std::string text = input.rest();
  const int length = static_cast<int>(text.size());
  std::vector<unsigned> bytes;
  for (const char byte : text) bytes.push_back(static_cast<unsigned char>(byte));
  bytes.shrink_to_fit();

  demandEqual(check_EUCMultiByteLength(bytes.data(), length), countedIn("euc", text), "EUC-JP");
  demandEqual(check_UTF8MultiByteLength(bytes.data(), length), countedIn("utf8", text), "UTF-8");
  demandEqual(check_SJISMultiByteLength(bytes.data(), length), countedIn("sjis", text),
              "Shift_JIS");

  ::setenv("LANG", lang, 1);
  std::string encoding = "left over";
  demandEqual(getEncoding(encoding), named, "the encoding of LANG");
  demandEqual(getCharactorLength(exactCopy(text).data(), length), countedIn(named, text),
              "the count in LANG's encoding");
});

// --- references to environment variables ---------------------------------------------------------

std::string valueOf(const std::string& name) {
  const std::string beginning = name + "=";
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (std::strncmp(*entry, beginning.c_str(), beginning.size()) == 0) {
      return *entry + beginning.size();
    }
  }
  return "";
}

/// The judge: one byte after the other, with the token that is pending, which its first byte
/// begins.
std::string expanded(const std::string& text) {
  std::string result;
  std::string token;
  const auto endToken = [&result, &token] {
    result += token.size() == 1 ? token : valueOf(token.substr(1));
    token.clear();
  };
  for (const char byte : text) {
    const bool isName =
        byte == '_' || (byte > 0 && std::isalnum(static_cast<unsigned char>(byte)) != 0);
    if (token.substr(0, 1) == "$" && !isName) endToken();
    if (token.substr(0, 1) == "%" && byte == '%') {
      endToken();
    } else if (!token.empty() || byte == '$' || byte == '%') {
      token += byte;
    } else {
      result += byte;
    }
  }
  if (token.substr(0, 1) == "$") endToken();
  return result + token;
}

// The input is the text.
const Target kEnvironment("environment", [](Input input) {
  ::setenv("A", "1", 1);
  ::setenv("A1", "$A%A%", 1);  // a value is not expanded again
  ::setenv("A_B", "%", 1);
  ::setenv("EMPTY", "", 1);
  ::setenv("a b", "a blank in its name", 1);
  ::setenv("\xc6\xfc", "\xcb\xdc", 1);
  const std::string text = input.word();
  demandEqual(replaceEnvValue(exactCopy(text + '\0').data()), expanded(text),
              "references are replaced by their values");
  demandEqual(getEnvValue(text.c_str()), text.empty() ? "" : valueOf(text), "a variable's value");
});

// --- splitting and joining -----------------------------------------------------------------------

// The input is the number of fields, the delimiter and the text.
const Target kFields("fields", [](Input input) {
  const int maxFields = static_cast<int>(input.choice(16)) - 1;
  const std::string delim = input.word();
  const std::string text = input.word();
  if (delim.empty()) return;  // the caller's mistake

  Texts fields = {"left over"};
  const int count = split(exactCopy(text + '\0').data(), delim.c_str(), fields, maxFields);
  demandEqual(fields, slowSplit(text, delim, maxFields), "the fields of a text");
  demandEqual(count, static_cast<int>(fields.size()), "their number");
  if (maxFields <= 1) demandEqual(join(fields, delim.c_str()), text, "joined, they are the text");

  std::list<std::string> list = {"left over"};
  demandEqual(split(text.c_str(), delim.c_str(), list, maxFields), count, "a list's number");
  demandEqual(Texts(list.begin(), list.end()), fields, "a list has the same fields");
  demandEqual(join(list, delim.c_str()), join(fields, delim.c_str()), "and joins the same");
});

// --- formatting ----------------------------------------------------------------------------------

/// The judge of `bareFormat`: what printing the format gives.
std::string printedAs(const std::string& text) {
  std::string printed;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string pair = text.substr(i, 2);
    printed += pair == "%m" ? std::strerror(ENOENT) : text.substr(i, 1);
    if (pair == "%m" || pair == "%%") ++i;
  }
  return printed;
}

// The input is a number and a text, which is also taken for a format.
const Target kFormat("format", [](Input input) {
  const int number = input.number();
  const std::string text = input.longWord();
  demandEqual(format("%s", text.c_str()), text, "a text of any length stays whole");
  demandEqual(format("%d|%s%%", number, text.c_str()), std::to_string(number) + "|" + text + "%",
              "a format of several parts");
  const int width = number % 5000;
  demandEqual(format("%*s", width, ""), std::string(static_cast<std::size_t>(std::abs(width)), ' '),
              "a width either way");

  std::vector<char> fmt(text.size() * 2 + 1);
  bareFormat(text.c_str(), fmt.data());
  std::vector<char> printed((text.size() + 1) * std::strlen(std::strerror(ENOENT)) + 1);
  errno = ENOENT;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int length = std::snprintf(printed.data(), printed.size(), fmt.data());
#pragma GCC diagnostic pop
  demandEqual(std::string(printed.data()), printedAs(text), "a text prints as itself");
  demandEqual(length, static_cast<int>(std::strlen(printed.data())), "and as a whole");
});

}  // namespace
