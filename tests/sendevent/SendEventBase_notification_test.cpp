#include "sendevent/SendEventBase.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "support/actionlog.h"
#include "support/scratch.h"
#include "support/testevent.h"

namespace {

const std::string kHere = "(CSendEventBase::getSyslogLine)";

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

/// What one call of convStr makes of a text, and how many cuts it logs.
using Converted = std::pair<std::string, int>;

class ConvStr : public testing::Test {
 protected:
  /// Calls convStr on a buffer of exactly the bytes that it may use.
  Converted convert(const std::string& dst, int size, const std::string& src, int comma) {
    std::vector<char> buffer(std::max(dst.size() + 1, static_cast<std::size_t>(std::max(size, 1))),
                             '\x7f');
    std::memcpy(buffer.data(), dst.c_str(), dst.size() + 1);
    m_event.convStr(buffer.data(), size, src.c_str(), comma);
    const Texts cuts = m_log.take();
    EXPECT_EQ(cuts, Texts(cuts.size(), "string convert error (CSendEventBase::convStr)"));
    return {buffer.data(), static_cast<int>(cuts.size())};
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
      {x(891), 897, "\"\"", 1, {x(891) + "\"\"\"\",", 1}},
      // The smallest buffer takes the closing quote, and a larger one has room for the comma.
      {x(891), 896, "ab", 1, {x(891) + "\"ab\"", 0}},
      {x(891), 896, "abc", 1, {x(891) + "\"abc", 1}},
      {x(891), 898, "abcd", 1, {x(891) + "\"abc\",", 1}},
      {"", 2048, x(2000), 1, {"\"" + x(894) + "\",", 1}},
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
  }
}

TEST_F(ConvStr, Null_IsNoTextAndAnEmptyValue) {
  m_event.convStr(nullptr, 897, "a", 1);
  char text[897] = "f";
  m_event.convStr(text, 897, nullptr, 1);
  EXPECT_STREQ(text, "f,");
  m_event.convStr(text, 897, nullptr, 0);
  EXPECT_STREQ(text, "f,");
  EXPECT_EQ(m_log.texts(), Texts());
}

}  // namespace
