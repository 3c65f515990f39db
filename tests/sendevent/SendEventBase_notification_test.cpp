#include "sendevent/SendEventBase.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "support/actionlog.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

using Texts = std::vector<std::string>;

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

  /// The excerpt of a file with these bytes.
  std::string excerptOf(const std::string& bytes) {
    return lineOf({m_dir.write("a.syslog.txt", bytes)});
  }

  ScratchDir m_dir;
  CapturedLog m_log{CapturedLog::Level::kTrace};
  TestEvent m_event;
};

TEST_F(SyslogLine, WithoutAMatchingPath) {
  const std::string close = m_dir.write("a.syslog.tx", "line\n");
  EXPECT_EQ(lineOf({}), "Software Log");
  EXPECT_EQ(lineOf({close, "/tmp/syslog.txt", "/tmp/a.SYSLOG.txt", "/tmp/a.applog.txt",
                    "/tmp/a.syslog-txt", ""}),
            "Software Log");
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(SyslogLine, OnlyComments) {
  EXPECT_EQ(excerptOf("# x\n#\n# y\n"), "");
  EXPECT_EQ(excerptOf("# x"), "");
  EXPECT_EQ(excerptOf(""), "");
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(SyslogLine, FirstLineBehindTheComments) {
  EXPECT_EQ(excerptOf("# x\nJan 1 host msg\nJan 2 host msg\n"), "Jan 1 host msg");
  EXPECT_EQ(excerptOf("first\n# x\nsecond\n"), "first");
  EXPECT_EQ(m_log.texts(), Texts());
}

TEST_F(SyslogLine, PathIsSearchedAnywhere) {
  ASSERT_EQ(::mkdir((m_dir / "a.apllog.txt.d").c_str(), 0700), 0);
  for (const char* name : {"a.syslog.txt", "a.syslog.txt.gz", "a.apllog.txt", ".apllog.txt.1",
                           "a.apllog.txt.d/plain"}) {
    EXPECT_EQ(lineOf({"/nowhere", m_dir.write(name, std::string(name) + "\n")}), name);
  }
}

TEST_F(SyslogLine, FirstMatchInListOrderCounts) {
  const std::string syslog = m_dir.write("a.syslog.txt", "system\n");
  const std::string apllog = m_dir.write("a.apllog.txt", "application\n");
  EXPECT_EQ(lineOf({syslog, apllog}), "system");
  EXPECT_EQ(lineOf({"/other", apllog, syslog}), "application");
}

TEST_F(SyslogLine, FileListedInTheResultItselfIsRead) {
  Texts files = {"/a", m_dir.write("b.syslog.txt", "second\n")};
  m_event.getSyslogLine(files, files[1]);
  EXPECT_EQ(files, (Texts{"/a", "second"}));
  files[1] = m_dir / "missing.syslog.txt";
  m_event.getSyslogLine(files, files[1]);
  EXPECT_EQ(files, (Texts{"/a", ""}));
  EXPECT_EQ(m_log.texts(), Texts{"syslogfile open error.FILE=" + (m_dir / "missing.syslog.txt") +
                                 "(CSendEventBase::getSyslogLine)"});
}

TEST_F(SyslogLine, FirstMatchCountsAlsoWhenItHoldsNothing) {
  const std::string empty = m_dir.write("a.syslog.txt", "#\n");
  const std::string full = m_dir.write("b.syslog.txt", "line\n");
  EXPECT_EQ(lineOf({empty, full}), "");
}

TEST_F(SyslogLine, MissingFile) {
  const std::string missing = m_dir / "a.syslog.txt";
  const std::string full = m_dir.write("b.syslog.txt", "line\n");
  EXPECT_EQ(lineOf({missing, full}), "");
  EXPECT_EQ(m_log.texts(),
            Texts{"syslogfile open error.FILE=" + missing + "(CSendEventBase::getSyslogLine)"});
}

TEST_F(SyslogLine, DirectoryThatMatches) {
  const std::string path = m_dir / "a.syslog.txt";
  ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
  EXPECT_EQ(lineOf({path}), "");
  EXPECT_EQ(m_log.bytes(), "");
}

TEST_F(SyslogLine, FileThatCanBeOpenedAndNotRead) {
  const std::string path = m_dir / "a.syslog.txt";
  ASSERT_EQ(::symlink("/proc/self/mem", path.c_str()), 0);  // EIO at its beginning
  EXPECT_EQ(lineOf({path}), "");
  EXPECT_EQ(m_log.texts(),
            Texts{"syslogfile read error.FILE=" + path + "(CSendEventBase::getSyslogLine)"});
}

TEST_F(SyslogLine, LineEnds) {
  EXPECT_EQ(excerptOf("line"), "line");
  EXPECT_EQ(excerptOf("line\r\n"), "line");
  EXPECT_EQ(excerptOf("line\r\r\n"), "line\r");
  EXPECT_EQ(excerptOf("\nline\n"), "") << "an empty line is a line";
  EXPECT_EQ(excerptOf("# x\n\r\nline\n"), "");
  EXPECT_EQ(excerptOf("  # no comment \n"), "  # no comment ");
  EXPECT_EQ(excerptOf("\xa4\xa2\xff\n"), "\xa4\xa2\xff");
  EXPECT_EQ(excerptOf("100%s\n"), "100%s");
  EXPECT_EQ(excerptOf(std::string("ab\0cd\nnext\n", 11)), "ab");
}

TEST_F(SyslogLine, LongLineGivesItsFirst1022Bytes) {
  EXPECT_EQ(excerptOf(x(1021) + "\nnext\n"), x(1021));
  EXPECT_EQ(excerptOf(x(1022) + "\nnext\n"), x(1022));
  EXPECT_EQ(excerptOf(x(1023) + "\nnext\n"), x(1022));
  EXPECT_EQ(excerptOf(x(5000) + "\nnext\n"), x(1022));
  EXPECT_EQ(excerptOf(x(1022)), x(1022));
  EXPECT_EQ(excerptOf(x(1021) + "\r\nnext\n"), x(1021)) << "the piece ends with the CR";
}

TEST_F(SyslogLine, LongCommentsSecondPieceIsLookedAtLikeALine) {
  EXPECT_EQ(excerptOf("#" + x(1020) + "\nnext\n"), "next");
  EXPECT_EQ(excerptOf("#" + x(1021) + "\nnext\n"), "") << "the line end alone is the second piece";
  EXPECT_EQ(excerptOf("#" + x(1021) + "rest\nnext\n"), "rest");
  EXPECT_EQ(excerptOf("#" + x(1021) + "#rest\nnext\n"), "next");
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

  /// The text alone, for an empty buffer of the size that notifications are built with.
  std::string fieldOf(const std::string& src, int comma) {
    const Converted converted = convert("", 897, src, comma);
    EXPECT_EQ(converted.cuts, 0);
    return converted.text;
  }

  /// Compares with the obvious implementation; the case in one line when they differ.
  void expectSame(int fill, int size, const std::string& src, int comma) {
    const std::string dst(static_cast<std::size_t>(fill), 'f');
    const Converted expected = convertSlowly(dst, size, src, comma != 0);
    const Converted actual = convert(dst, size, src, comma);
    if (actual == expected) return;
    ADD_FAILURE() << "fill " << fill << ", size " << size << ", value of " << src.size()
                  << " bytes, first quote at " << src.find('"') << ", comma " << comma << ":\n  "
                  << actual.text.size() << " bytes for " << expected.text.size() << ", "
                  << actual.cuts << " cuts for " << expected.cuts;
  }

  /// How often a cut was logged since the last question; any other line fails the test.
  int takeCuts() {
    if (::access(m_log.path().c_str(), F_OK) != 0) return 0;
    const Texts texts = m_log.take();
    EXPECT_EQ(texts, Texts(texts.size(), kCut));
    return static_cast<int>(texts.size());
  }

  CapturedLog m_log{CapturedLog::Level::kTrace};
  TestEvent m_event;
};

TEST_F(ConvStr, ValueWithCommaYieldsFiveCharacters) { EXPECT_EQ(fieldOf("ab", 1), "\"ab\","); }

TEST_F(ConvStr, QuoteIsDoubled) {
  EXPECT_EQ(fieldOf("a\"b", 0), "\"a\"\"b\"");
  EXPECT_EQ(fieldOf("\"", 0), "\"\"\"\"");
  EXPECT_EQ(fieldOf("\"\"", 1), "\"\"\"\"\"\",");
}

TEST_F(ConvStr, EmptyValue) {
  EXPECT_EQ(fieldOf("", 1), ",");
  EXPECT_EQ(fieldOf("", 0), "");
}

TEST_F(ConvStr, AnyNonZeroFlagAsksForTheComma) {
  EXPECT_EQ(fieldOf("a", -1), "\"a\",");
  EXPECT_EQ(fieldOf("a", 256), "\"a\",");
}

TEST_F(ConvStr, OtherBytesAreCopied) {
  EXPECT_EQ(fieldOf("\xa4\xa2\xff ,%s\\\n'", 0), "\"\xa4\xa2\xff ,%s\\\n'\"");
}

TEST_F(ConvStr, AppendsToTheText) {
  EXPECT_EQ(convert("\"a\",", 897, "b", 1), (Converted{"\"a\",\"b\",", 0}));
}

TEST_F(ConvStr, SizeOf895AndLessAppendsNothing) {
  for (const int size : {895, 894, 1, 0, -1, -897}) {
    for (const char* src : {"", "ab", "\""}) {
      EXPECT_EQ(convert("", size, src, 1), (Converted{"", 0})) << size;
      EXPECT_EQ(convert("f", size, src, 1), (Converted{"f", 0})) << size;
    }
  }
}

TEST_F(ConvStr, SizeOf896Appends) {
  EXPECT_EQ(convert("", 896, "ab", 1), (Converted{"\"ab\",", 0}));
}

TEST_F(ConvStr, FourBytesOfRoomAppendNothing) {
  EXPECT_EQ(convert(x(892), 897, "a", 1), (Converted{x(892), 0}));
  EXPECT_EQ(convert(x(892), 897, "", 1), (Converted{x(892), 0}));
  EXPECT_EQ(convert(x(896), 897, "a", 1), (Converted{x(896), 0}));
  EXPECT_EQ(convert(x(1000), 2048, "a", 1), (Converted{x(1000), 0}));
}

TEST_F(ConvStr, FiveBytesOfRoom) {
  EXPECT_EQ(convert(x(891), 897, "", 1), (Converted{x(891) + ",", 0}));
  EXPECT_EQ(convert(x(891), 897, "ab", 1), (Converted{x(891) + "\"ab\",", 0}));
  EXPECT_EQ(convert(x(891), 897, "abcd", 1), (Converted{x(891) + "\"abc\"", 1}));
  EXPECT_EQ(convert(x(891), 897, "a\"", 1), (Converted{x(891) + "\"a\"\"\"", 1}));
  EXPECT_EQ(convert(x(891), 897, "ab\"", 1), (Converted{x(891) + "\"ab\",", 1}));
}

TEST_F(ConvStr, LongValueYieldsExactly896CharactersAndNoComma) {
  const std::string expected = "\"" + x(894) + "\"";
  ASSERT_EQ(expected.size(), 896U);
  for (const int length : {895, 896, 2000}) {
    EXPECT_EQ(convert("", 897, x(length), 1), (Converted{expected, 1})) << length;
  }
}

TEST_F(ConvStr, ValueThatJustFitsIsLoggedAsWell) {
  EXPECT_EQ(convert("", 897, x(894), 1), (Converted{"\"" + x(894) + "\"", 1}));
  EXPECT_EQ(convert("", 897, x(893), 1), (Converted{"\"" + x(893) + "\",", 0}));
}

TEST_F(ConvStr, QuoteAtTheLimitIsNotSplit) {
  // 893 characters leave place for one more; the doubled quote needs two.
  EXPECT_EQ(convert("", 897, x(893) + "\"yz", 1), (Converted{"\"" + x(893) + "\",", 1}));
  EXPECT_EQ(convert("", 897, x(892) + "\"yz", 1), (Converted{"\"" + x(892) + "\"\"\"", 1}));
}

TEST_F(ConvStr, LaterCallsAppendWhileRoomIsLeft) {
  std::vector<char> buffer(897, '\0');
  m_event.convStr(buffer.data(), 897, x(884).c_str(), 1);  // 887 bytes, 9 left
  m_event.convStr(buffer.data(), 897, "", 1);              // 8
  m_event.convStr(buffer.data(), 897, "ab", 1);            // 3
  m_event.convStr(buffer.data(), 897, "ab", 1);
  EXPECT_EQ(buffer.data(), "\"" + x(884) + "\",,\"ab\",");
  EXPECT_EQ(takeCuts(), 0);
}

TEST_F(ConvStr, NullTextIsLeftAlone) {
  m_event.convStr(nullptr, 897, "a", 1);
  EXPECT_EQ(takeCuts(), 0);
}

TEST_F(ConvStr, NullValueCountsAsEmpty) {
  char text[897] = "f";
  m_event.convStr(text, 897, nullptr, 1);
  EXPECT_STREQ(text, "f,");
  m_event.convStr(text, 897, nullptr, 0);
  EXPECT_STREQ(text, "f,");
}

TEST_F(ConvStr, EveryLengthAgreesWithTheObviousImplementation) {
  for (int length = 0; length <= 2000; ++length) {
    for (const int comma : {0, 1}) expectSame(0, 897, x(length), comma);
  }
}

TEST_F(ConvStr, EveryLengthOfQuotesAgrees) {
  for (int length = 0; length <= 2000; ++length) {
    expectSame(0, 897, std::string(static_cast<std::size_t>(length), '"'), 1);
  }
}

TEST_F(ConvStr, QuotesAroundTheLimitAgreeAtEverySize) {
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

TEST_F(ConvStr, FillLevelsAgreeAtEverySize) {
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

TEST_F(ConvStr, NeverPassesTheLimit) {
  for (int fill = 0; fill <= 896; fill += 7) {
    for (const int size : {896, 897, 898, 2048}) {
      const Converted converted =
          convert(std::string(static_cast<std::size_t>(fill), 'f'), size, x(1000), 1);
      // The comma alone may stand after the limit, where the caller's buffer is longer.
      EXPECT_LE(converted.text.size(), size > 897 ? 897U : 896U) << fill << " " << size;
    }
  }
}

}  // namespace
