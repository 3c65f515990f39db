#include "sendevent/SendEventBase.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

const std::string kHere = "(CSendEventBase::getSyslogLine)";
const std::string kCut = "string convert error (CSendEventBase::convStr)";

std::string x(int count) { return std::string(static_cast<std::size_t>(count), 'x'); }

// --- excerpt -------------------------------------------------------------------------------------

class SyslogLine : public testing::Test {
 protected:
  std::string lineOf(const Texts& files) {
    std::string line = "old";
    m_event.getSyslogLine(files, line);
    return line;
  }

  ScratchDir m_dir;
  CapturedLog m_log{CapturedLog::Level::kTrace};
  TestEvent m_event;
};

TEST_F(SyslogLine, FirstLineAfterTheComments_IsTakenInItsFirst1022Bytes) {
  const std::pair<std::string, std::string> table[] = {
      {"", ""},
      {"# x", ""},
      {"# x\n#\n# y\n", ""},
      {"# x\nJan 1 host msg\nJan 2 host msg\n", "Jan 1 host msg"},
      {"first\n# x\nsecond\n", "first"},
      {"  # no comment \n", "  # no comment "},
      {"line", "line"},
      {"line\r\n", "line"},
      {"line\r\r\n", "line\r"},
      // An empty line is a line.
      {"\nline\n", ""},
      {"# x\n\r\nline\n", ""},
      {"\xa4\xa2\xff\n", "\xa4\xa2\xff"},
      {"100%s\n", "100%s"},
      {std::string("ab\0cd\nnext\n", 11), "ab"},
      {x(1021) + "\nnext\n", x(1021)},
      {x(1021) + "\r\nnext\n", x(1021)},
      {x(1022) + "\nnext\n", x(1022)},
      {x(1023) + "\nnext\n", x(1022)},
      // The second piece of a long comment is looked at like a line, its line end alone too.
      {"#" + x(1020) + "\nnext\n", "next"},
      {"#" + x(1021) + "\nnext\n", ""},
      {"#" + x(1021) + "rest\nnext\n", "rest"},
      {"#" + x(1021) + "#rest\nnext\n", "next"},
  };
  for (const auto& [bytes, line] : table) {
    EXPECT_EQ(lineOf({m_dir.write("a.syslog.txt", bytes)}), line) << bytes;
    EXPECT_EQ(m_log.take(), Texts());
  }
}

TEST_F(SyslogLine, FirstPathThatHasTheNameAnywhere_Counts) {
  ASSERT_EQ(::mkdir((m_dir / "a.apllog.txt.d").c_str(), 0700), 0);
  const std::string empty = m_dir.write("empty.syslog.txt", "#\n");
  for (const char* name : {"a.syslog.txt", "a.syslog.txt.gz", "a.apllog.txt", ".apllog.txt.1",
                           "a.apllog.txt.d/plain"}) {
    const std::string path = m_dir.write(name, std::string(name) + "\n");
    EXPECT_EQ(lineOf({"/nowhere", path, empty}), name);
    EXPECT_EQ(lineOf({empty, path}), "") << "also when it holds nothing";
  }
  const std::string close = m_dir.write("a.syslog.tx", "line\n");
  EXPECT_EQ(lineOf({}), "Software Log");
  EXPECT_EQ(lineOf({close, "/tmp/syslog.txt", "/tmp/a.SYSLOG.txt", "/tmp/a.applog.txt",
                    "/tmp/a.syslog-txt", ""}),
            "Software Log");
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(SyslogLine, FileListedInTheResultItself_IsRead) {
  Texts files = {"/a", m_dir.write("b.syslog.txt", "second\n")};
  m_event.getSyslogLine(files, files[1]);
  EXPECT_EQ(files, (Texts{"/a", "second"}));
  const std::string missing = m_dir / "missing.syslog.txt";
  files[1] = missing;
  m_event.getSyslogLine(files, files[1]);
  EXPECT_EQ(files, (Texts{"/a", ""}));
  EXPECT_EQ(m_log.texts(), Texts{"syslogfile open error.FILE=" + missing + kHere});
}

TEST_F(SyslogLine, FileThatCannotBeRead_GivesNothingAndIsToldUnlessItIsADirectory) {
  const std::string full = m_dir.write("b.syslog.txt", "line\n");
  const std::string missing = m_dir / "missing.syslog.txt";
  const std::string directory = m_dir / "directory.syslog.txt";
  const std::string broken = m_dir / "broken.syslog.txt";
  ASSERT_EQ(::mkdir(directory.c_str(), 0700), 0);
  ASSERT_EQ(::symlink("/proc/self/mem", broken.c_str()), 0);  // EIO at its beginning
  EXPECT_EQ(lineOf({missing, full}), "");
  EXPECT_EQ(m_log.take(), Texts{"syslogfile open error.FILE=" + missing + kHere});
  EXPECT_EQ(lineOf({directory, full}), "");
  EXPECT_EQ(m_log.take(), Texts());
  EXPECT_EQ(lineOf({broken, full}), "");
  EXPECT_EQ(m_log.take(), Texts{"syslogfile read error.FILE=" + broken + kHere});
}

// --- fields --------------------------------------------------------------------------------------

/// What one call of convStr makes of a text.
struct Converted {
  std::string text;
  int cuts = 0;

  bool operator==(const Converted& other) const { return text == other.text && cuts == other.cuts; }
};

void PrintTo(const Converted& converted, std::ostream* out) {
  *out << converted.text << " with " << converted.cuts << " cuts";
}

/// The second, obvious implementation: the rules as they are told, on strings.
Converted convertSlowly(const std::string& dst, int size, const std::string& src, bool comma) {
  const int limit = 896;
  const int length = static_cast<int>(dst.size());
  const int room = limit - length;
  Converted result{dst, 0};
  if (size < limit || room <= 4) return result;

  const auto appendAtMost = [&result](const std::string& text, int count) {
    if (count > 0) result.text += text.substr(0, static_cast<std::size_t>(count));
  };
  if (!src.empty()) {
    std::string field = "\"";
    const auto isFull = [&] { return static_cast<int>(field.size()) >= room - 1; };
    for (const char c : src) {
      if (c == '"') field += '"';
      if (c == '"' && isFull()) {
        field.pop_back();
        ++result.cuts;
        break;
      }
      field += c;
      if (isFull()) {
        ++result.cuts;
        break;
      }
    }
    if (static_cast<int>(field.size()) < room) field += '"';
    appendAtMost(field, size - length - 1);
  }
  if (comma) appendAtMost(",", size - static_cast<int>(result.text.size()) - 1);
  return result;
}

class ConvStr : public testing::Test {
 protected:
  /// Calls convStr on a buffer of exactly the bytes that it may use.
  Converted convert(const std::string& dst, int size, const std::string& src, int comma) {
    std::vector<char> buffer(std::max(dst.size() + 1, static_cast<std::size_t>(std::max(size, 1))),
                             '\x7f');
    std::memcpy(buffer.data(), dst.c_str(), dst.size() + 1);
    m_event.convStr(buffer.data(), size, src.c_str(), comma);
    return {buffer.data(), takeCuts()};
  }

  /// Compares with the obvious implementation; the case in one line when they differ.
  void expectSame(int fill, int size, const std::string& src, int comma) {
    const std::string dst(static_cast<std::size_t>(fill), 'f');
    const Converted expected = convertSlowly(dst, size, src, comma != 0);
    const Converted actual = convert(dst, size, src, comma);
    // The comma alone may stand after the limit, where the caller's buffer is longer.
    const std::size_t limit = std::max(dst.size(), size > 897 ? std::size_t{897} : 896);
    if (actual == expected && actual.text.size() <= limit) return;
    ADD_FAILURE() << "fill " << fill << ", size " << size << ", value of " << src.size()
                  << " bytes, first quote at " << src.find('"') << ", comma " << comma << ":\n  "
                  << actual.text.size() << " bytes for " << expected.text.size() << ", "
                  << actual.cuts << " cuts for " << expected.cuts;
  }

  /// How often a cut was logged since the last question; any other line fails the test.
  int takeCuts() {
    if (m_log.bytes().empty()) return 0;
    const Texts texts = m_log.take();
    EXPECT_EQ(texts, Texts(texts.size(), kCut));
    return static_cast<int>(texts.size());
  }

  CapturedLog m_log{CapturedLog::Level::kTrace};
  TestEvent m_event;
};

TEST_F(ConvStr, EveryField_IsQuotedAndCutAtTheLimit) {
  struct Row {
    std::string dst;
    int size;
    std::string src;
    int comma;
    Converted expected;
  };
  const Row rows[] = {
      {"", 897, "ab", 1, {"\"ab\",", 0}},
      {"\"a\",", 897, "b", 1, {"\"a\",\"b\",", 0}},
      {"", 897, "a", -1, {"\"a\",", 0}},
      {"", 897, "a", 256, {"\"a\",", 0}},
      {"", 897, "", 1, {",", 0}},
      {"", 897, "", 0, {"", 0}},
      {"", 897, "a\"b", 0, {"\"a\"\"b\"", 0}},
      {"", 897, "\"\"", 1, {"\"\"\"\"\"\",", 0}},
      {"", 897, "\xa4\xa2\xff ,%s\\\n'", 0, {"\"\xa4\xa2\xff ,%s\\\n'\"", 0}},
      // Sizes below 896.
      {"", 896, "ab", 1, {"\"ab\",", 0}},
      {"f", 895, "ab", 1, {"f", 0}},
      {"f", 895, "", 1, {"f", 0}},
      {"f", 1, "\"", 1, {"f", 0}},
      {"", 0, "ab", 1, {"", 0}},
      {"f", -897, "ab", 1, {"f", 0}},
      // Four bytes of room and five.
      {x(892), 897, "a", 1, {x(892), 0}},
      {x(892), 897, "", 1, {x(892), 0}},
      {x(1000), 2048, "a", 1, {x(1000), 0}},
      {x(891), 897, "", 1, {x(891) + ",", 0}},
      {x(891), 897, "ab", 1, {x(891) + "\"ab\",", 0}},
      {x(891), 897, "abcd", 1, {x(891) + "\"abc\"", 1}},
      {x(891), 897, "a\"", 1, {x(891) + "\"a\"\"\"", 1}},
      {x(891), 897, "ab\"", 1, {x(891) + "\"ab\",", 1}},
      // A value that just fits is logged as well, and a doubled quote at the limit is not split.
      {"", 897, x(893), 1, {"\"" + x(893) + "\",", 0}},
      {"", 897, x(894), 1, {"\"" + x(894) + "\"", 1}},
      {"", 897, x(895), 1, {"\"" + x(894) + "\"", 1}},
      {"", 897, x(2000), 1, {"\"" + x(894) + "\"", 1}},
      {"", 897, x(893) + "\"yz", 1, {"\"" + x(893) + "\",", 1}},
      {"", 897, x(892) + "\"yz", 1, {"\"" + x(892) + "\"\"\"", 1}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(convert(row.dst, row.size, row.src, row.comma), row.expected);
    EXPECT_EQ(convertSlowly(row.dst, row.size, row.src, row.comma != 0), row.expected);
  }
}

TEST_F(ConvStr, Null_IsNoTextAndAnEmptyValue) {
  m_event.convStr(nullptr, 897, "a", 1);
  char text[897] = "f";
  m_event.convStr(text, 897, nullptr, 1);
  EXPECT_STREQ(text, "f,");
  m_event.convStr(text, 897, nullptr, 0);
  EXPECT_STREQ(text, "f,");
  EXPECT_EQ(takeCuts(), 0);
}

TEST_F(ConvStr, EveryLength_AgreesWithTheObviousImplementation) {
  for (int length = 0; length <= 2000; ++length) {
    expectSame(0, 897, x(length), 0);
    expectSame(0, 897, x(length), 1);
    expectSame(0, 897, std::string(static_cast<std::size_t>(length), '"'), 1);
  }
}

TEST_F(ConvStr, QuotesAroundTheLimit_AgreeAtEverySize) {
  for (const int size : {895, 896, 897, 898, 2048}) {
    for (int place = 885; place <= 900; ++place) {
      for (int quotes = 1; quotes <= 3; ++quotes) {
        std::string src = x(910);
        for (int i = 0; i < quotes; ++i) src[static_cast<std::size_t>(place + i)] = '"';
        for (const int comma : {0, 1}) expectSame(0, size, src, comma);
      }
    }
  }
}

TEST_F(ConvStr, FillLevels_AgreeAtEverySize) {
  for (const int fill : {0,   1,   2,   100, 448, 800, 880, 885, 887, 888,
                         889, 890, 891, 892, 893, 894, 895, 896, 897, 1000}) {
    const int room = std::max(0, 896 - fill);
    for (const int size : {895, 896, 897, 898, 2048}) {
      for (int length = std::max(0, room - 6); length <= room + 3; ++length) {
        for (int quote = std::max(0, length - 6); quote <= length; ++quote) {
          std::string src = x(length);
          if (quote < length) src[static_cast<std::size_t>(quote)] = '"';
          expectSame(fill, size, src, length % 2);
          expectSame(fill, size, src, (length + 1) % 2);
        }
      }
    }
  }
}

}  // namespace
