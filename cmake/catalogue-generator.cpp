// Turns the message catalogue, a UTF-8 table for people (its head explains the layout), into a C++
// include file with the EUC-JP bytes of its texts:
//
//   catalogue_generator CATALOGUE OUTPUT
//
// Runs on the machine that builds, and depends on nothing of its locale. Every byte of a text is
// written as an octal escape of three digits: these mean the same to every compiler, whatever
// character set it reads or writes, and cannot swallow a digit that follows.
//
// Reports everything that is wrong with the catalogue, each as "FILE:LINE: message", on standard
// error. Exit status: 0 written; 1 not written, and whatever was at OUTPUT is as it was; 2 called
// wrongly.

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "rmglib/catalogue.h"

namespace {

constexpr char kHead[] = "// Generated from the message catalogue: change that, not this.\n";

struct Problem {
  int line;
  std::string text;
};

struct Row {
  int line;
  std::string type;
  int rc;
  int code;
  int kind;
  std::string name;  // of its text
};

/// A text or a heading. Its title is what stands in its brackets: "text NAME" or "heading N".
struct Block {
  int line;
  std::vector<std::string> lines;  // EUC-JP
  bool used = false;
};

struct Catalogue {
  std::vector<Row> rows;
  std::map<std::string, Block> blocks;  // by title
};

// --- character sets ------------------------------------------------------------------------------

class Converter {
 public:
  Converter(const char* to, const char* from) : m_handle(iconv_open(to, from)) {}
  ~Converter() {
    if (isOpen()) iconv_close(m_handle);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  /// The cast is how iconv_open(3) spells its failure.
  bool isOpen() const {
    return m_handle != reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr)
  }

  /// Converts one character. False when it has no exact counterpart, or is none of its own set.
  bool convert(const std::string& in, std::string& out) {
    char buffer[16];
    char* from = const_cast<char*>(in.data());  // iconv(3) does not write there
    char* to = buffer;
    std::size_t fromLeft = in.size();
    std::size_t toLeft = sizeof buffer;
    iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
    if (iconv(m_handle, &from, &fromLeft, &to, &toLeft) != 0) return false;
    out.assign(buffer, sizeof buffer - toLeft);
    return true;
  }

 private:
  iconv_t m_handle;
};

class EucEncoder {
 public:
  bool isOpen() const { return m_toEuc.isOpen() && m_fromEuc.isOpen() && m_toUcs.isOpen(); }

  /// Appends the EUC-JP form of a line to `out`. Returns what is wrong with it, "" when nothing is.
  std::string encode(const std::string& line, std::string& out) {
    for (std::size_t at = 0; at < line.size();) {
      const std::string character = line.substr(at, sequenceLength(line, at));
      at += character.size();
      if (isControl(character)) return "a control character in a text";
      std::string euc, back;
      if (!m_toUcs.convert(character, back)) return "not UTF-8";
      // The way back finds look-alikes, such as a yen sign that would turn into a backslash.
      if (!m_toEuc.convert(character, euc) || !m_fromEuc.convert(euc, back) || back != character) {
        return "'" + character + "' has no EUC-JP form";
      }
      out += euc;
    }
    return "";
  }

 private:
  /// A byte and the UTF-8 continuation bytes after it.
  static std::size_t sequenceLength(const std::string& text, std::size_t start) {
    std::size_t end = start + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) ++end;
    return end - start;
  }

  /// U+0000 to U+001F, and U+007F to U+009F.
  static bool isControl(const std::string& character) {
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) return first < 0x20 || first == 0x7F;
    return character.size() == 2 && first == 0xC2 &&
           static_cast<unsigned char>(character[1]) < 0xA0;
  }

  Converter m_toEuc{"EUC-JP", "UTF-8"};
  Converter m_fromEuc{"UTF-8", "EUC-JP"};
  Converter m_toUcs{"UCS-4", "UTF-8"};
};

// --- reading -------------------------------------------------------------------------------------

std::vector<std::string> splitBlanks(const std::string& text) {
  constexpr char kBlanks[] = " \t";
  std::vector<std::string> words;
  for (std::size_t start = text.find_first_not_of(kBlanks); start != std::string::npos;) {
    const std::size_t end = std::min(text.find_first_of(kBlanks, start), text.size());
    words.push_back(text.substr(start, end - start));
    start = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

/// The whole of `text` as a decimal number, without a plus sign.
bool parseInt(const std::string& text, int& number) {
  if (text.find_first_not_of("-0123456789") != std::string::npos) return false;
  char* end = nullptr;
  errno = 0;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (end == text.c_str() || *end != '\0' || errno != 0) return false;
  if (value < INT_MIN || value > INT_MAX) return false;
  number = static_cast<int>(value);
  return true;
}

/// Names become part of C++ identifiers. Not std::islower, which asks the locale.
bool isName(const std::string& text) {
  const std::string letters = "abcdefghijklmnopqrstuvwxyz";
  return !text.empty() && letters.find(text[0]) != std::string::npos &&
         text.find_first_not_of(letters + "0123456789_") == std::string::npos;
}

std::string headingTitle(int kind) { return "heading " + std::to_string(kind); }

class Reader {
 public:
  Reader(EucEncoder& encoder, Catalogue& catalogue, std::vector<Problem>& problems)
      : m_encoder(encoder), m_catalogue(catalogue), m_problems(problems) {}

  void take(const std::string& line) {
    ++m_line;
    if (line.empty() || line[0] == '#') return;
    if (line[0] == '[') {
      openSection(line);
    } else if (m_section == Section::kRows) {
      takeRow(line);
    } else if (m_section == Section::kBlock) {
      takeTextLine(line);
    } else if (m_section == Section::kNone) {
      problem("outside of any section");
    }
  }

  /// After the last line: whether the parts fit together. Not asked while a line itself is wrong,
  /// since a row that could not be read would make its text look unused.
  void finish() {
    if (!m_problems.empty()) return;
    if (m_catalogue.rows.empty()) problemAt(1, "no rows");
    for (const Row& row : m_catalogue.rows) {
      use("text " + row.name, row.line);
      if (row.kind != 0) use(headingTitle(row.kind), row.line);
    }
    for (const auto& [title, block] : m_catalogue.blocks) {
      if (!block.used) problemAt(block.line, "[" + title + "] is used by no row");
      if (block.lines.empty()) problemAt(block.line, "[" + title + "] has no lines");
    }
  }

 private:
  /// kSkipped: after a bad section line, whose lines would only be reported in its stead.
  enum class Section { kNone, kRows, kBlock, kSkipped };

  void problem(const std::string& text) { problemAt(m_line, text); }
  void problemAt(int line, const std::string& text) { m_problems.push_back({line, text}); }

  void openSection(const std::string& line) {
    m_section = Section::kSkipped;
    if (line == "[rows]") {
      m_section = Section::kRows;
      return;
    }
    if (line.back() != ']') return problem("a section line without ']' at its end");
    const std::vector<std::string> words = splitBlanks(line.substr(1, line.size() - 2));
    int kind = 0;
    if (words.size() == 2 && words[0] == "text" && isName(words[1])) {
      openBlock("text " + words[1]);
    } else if (words.size() == 2 && words[0] == "heading" && parseInt(words[1], kind) && kind > 0) {
      openBlock(headingTitle(kind));
    } else {
      problem("not a section: it must be [rows], [text NAME] or [heading N]");
    }
  }

  void openBlock(const std::string& title) {
    const auto [found, isNew] = m_catalogue.blocks.try_emplace(title);
    if (!isNew) {
      const std::string first = std::to_string(found->second.line);
      return problem("[" + title + "] is defined twice, first in line " + first);
    }
    found->second.line = m_line;
    m_block = &found->second;
    m_section = Section::kBlock;
  }

  void takeRow(const std::string& line) {
    const std::vector<std::string> words = splitBlanks(line);
    if (words.size() != 5) {
      return problem("not a row: it must have type, return code, agent code, kind and text name");
    }
    Row row{m_line, words[0], 0, 0, 0, words[4]};
    if (row.type != kHttpType && row.type != kSmtpType) {
      return problem("type '" + row.type + "' is neither HTTP nor SMTP");
    }
    int* const numbers[] = {&row.rc, &row.code, &row.kind};
    for (std::size_t i = 0; i < 3; ++i) {
      if (!parseInt(words[i + 1], *numbers[i])) {
        return problem("'" + words[i + 1] + "' is not a number");
      }
    }
    if (row.rc == kClosingCode && row.code == kClosingCode) {
      const std::string code = std::to_string(kClosingCode);
      return problem(code + ", " + code + " is the closing row, which the build adds");
    }
    m_catalogue.rows.push_back(row);
  }

  void takeTextLine(const std::string& line) {
    if (line[0] != '|') return problem("not a text line: it must begin with '|'");
    std::string euc;
    const std::string trouble = m_encoder.encode(line.substr(1), euc);
    if (!trouble.empty()) problem(trouble);
    m_block->lines.push_back(euc);
  }

  void use(const std::string& title, int line) {
    const auto found = m_catalogue.blocks.find(title);
    if (found == m_catalogue.blocks.end()) return problemAt(line, "there is no [" + title + "]");
    found->second.used = true;
  }

  EucEncoder& m_encoder;
  Catalogue& m_catalogue;
  std::vector<Problem>& m_problems;
  int m_line = 0;
  Section m_section = Section::kNone;
  Block* m_block = nullptr;  // map nodes do not move
};

/// Reads the catalogue at `path`. False when the file itself cannot be read.
bool readCatalogue(const char* path, Reader& reader) {
  // Not by a stream: not each C++ library tells the end of a file from a failure.
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "rb"), std::fclose);
  if (!file) return false;
  char* line = nullptr;
  std::size_t room = 0;
  for (ssize_t size; (size = ::getline(&line, &room, file.get())) >= 0;) {
    const bool isWhole = line[size - 1] == '\n';
    reader.take(std::string(line, static_cast<std::size_t>(isWhole ? size - 1 : size)));
  }
  std::free(line);
  if (std::ferror(file.get()) != 0) return false;
  reader.finish();
  return true;
}

// --- writing -------------------------------------------------------------------------------------

std::string literal(const std::string& bytes) {
  std::string text = "\"";
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += '\\';
    for (const int shift : {6, 3, 0}) text += "01234567"[(value >> shift) & 7];
  }
  return text + "\"";
}

/// The lines of a block, one literal a line, joined by line feeds.
std::string literals(const Block& block) {
  std::string text;
  for (std::size_t i = 0; i < block.lines.size(); ++i) {
    const bool isLast = i + 1 == block.lines.size();
    text += "\n    " + literal(block.lines[i] + (isLast ? "" : "\n"));
  }
  return text;
}

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::string generate(const Catalogue& catalogue) {
  const std::string textPrefix = "text ";
  const std::string headingPrefix = "heading ";
  std::string texts, headings, rows;
  for (const auto& [title, block] : catalogue.blocks) {
    if (startsWith(title, textPrefix)) {
      const std::string name = title.substr(textPrefix.size());
      texts += "constexpr char kText_" + name + "[] =" + literals(block) + ";\n";
    } else {
      const std::string kind = title.substr(headingPrefix.size());
      headings += "    {" + kind + "," + literals(block) + "},\n";
    }
  }
  for (const Row& row : catalogue.rows) {
    rows += "    {\"" + row.type + "\", " + std::to_string(row.rc) + ", " +
            std::to_string(row.code) + ", " + std::to_string(row.kind) + ", kText_" + row.name +
            "},\n";
  }
  const std::string closing = std::to_string(kClosingCode);
  return kHead + texts + "constexpr EXTERR kRows[] = {\n" + rows + "    {\"\", " + closing + ", " +
         closing + ", 0, \"\"},\n};\nconstexpr Heading kHeadings[] = {\n" + headings +
         "    {0, \"\"},\n};\n";
}

/// Writes a draft beside `path` and moves it there, so that no half-written file is ever compiled.
/// False, with the reason in errno, leaves no draft behind.
bool writeFile(const std::string& path, const std::string& content) {
  const std::string draft = path + ".draft";
  std::FILE* file = std::fopen(draft.c_str(), "wb");
  if (file == nullptr) return false;
  bool isWritten = std::fwrite(content.data(), 1, content.size(), file) == content.size();
  int reason = errno;
  if (std::fclose(file) != 0 && isWritten) {
    isWritten = false;
    reason = errno;
  }
  if (isWritten) {
    if (std::rename(draft.c_str(), path.c_str()) == 0) return true;
    reason = errno;
  }
  (void)std::remove(draft.c_str());  // there is nothing more to do about it
  errno = reason;
  return false;
}

int fail(const std::string& context, const std::string& text) {
  std::cerr << context << ": " << text << '\n';
  return 1;
}

int report(const char* path, std::vector<Problem>& problems) {
  std::stable_sort(problems.begin(), problems.end(),
                   [](const Problem& a, const Problem& b) { return a.line < b.line; });
  for (const Problem& problem : problems) {
    fail(path + (":" + std::to_string(problem.line)), problem.text);
  }
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: catalogue_generator CATALOGUE OUTPUT\n";
    return 2;
  }
  EucEncoder encoder;
  if (!encoder.isOpen()) return fail("iconv", "no conversion between UTF-8 and EUC-JP here");

  Catalogue catalogue;
  std::vector<Problem> problems;
  Reader reader(encoder, catalogue, problems);
  errno = 0;
  if (!readCatalogue(argv[1], reader)) {
    return fail(argv[1], std::string("cannot be read: ") + std::strerror(errno));
  }
  if (!problems.empty()) return report(argv[1], problems);
  if (!writeFile(argv[2], generate(catalogue))) {
    return fail(argv[2], std::string("cannot be written: ") + std::strerror(errno));
  }
  return 0;
}
