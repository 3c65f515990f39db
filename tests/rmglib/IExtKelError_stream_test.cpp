#include "rmglib/IExtKelError.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <iomanip>
#include <list>
#include <locale>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "support/childrun.h"
#include "support/errorrecord.h"

namespace {

// --- setData -------------------------------------------------------------------------------------

struct SetDataCase {
  std::list<std::string> values;
  std::string fields;
};

TEST(IExtKelErrorSetData, StopsWhereTheListEnds) {
  const std::vector<SetDataCase> table = {
      {{}, "1|2|3|old"},
      {{"10"}, "10|2|3|old"},
      {{"10", "20"}, "10|20|3|old"},
      {{"10", "20", "30"}, "10|20|30|old"},
      {{"10", "20", "30", "new"}, "10|20|30|new"},
      {{"10", "20", "30", "new", "more"}, "10|20|30|new"},
      {{"10", "20", "30", ""}, "10|20|30|"},
  };
  for (const SetDataCase& row : table) {
    Record record(1, 2, 3, "old");
    record.setData(row.values);
    EXPECT_EQ(fields(record), row.fields);
  }
}

TEST(IExtKelErrorSetData, NumbersAreConvertedAsAtoi) {
  const std::vector<std::pair<std::string, int>> table = {
      {"", 0},
      {"abc", 0},
      {"-79", -79},
      {"+5", 5},
      {" \t12x", 12},
      {"0x10", 0},
      {"010", 10},
      {"2147483647", INT_MAX},
      {"-2147483648", INT_MIN},
      {std::string("1\0002", 3), 1},
  };
  for (const auto& [text, number] : table) {
    Record record;
    record.setData({text, text, text});
    EXPECT_EQ(record.m_lastRMErrCode, number) << text;
    EXPECT_EQ(record.m_lastZWErrType, number) << text;
    EXPECT_EQ(record.m_lastZWErrCode, number) << text;
  }
}

TEST(IExtKelErrorSetData, NumbersBeyondIntWrapAsInTheCLibrary) {
  if (sizeof(long) != 8) GTEST_SKIP() << "the values below are those of a 64-bit long";
  Record record;
  record.setData({"4294967297", "99999999999999999999", "-99999999999999999999"});
  EXPECT_EQ(fields(record), "1|-1|0|");
}

TEST(IExtKelErrorSetData, MessageOf255BytesIsTerminated) {
  Record record(0, 0, 0, std::string(256, 'o'));
  record.setData({"0", "0", "0", std::string(255, 'n')});
  EXPECT_EQ(std::string(record.m_lastSmtpMsg, 256), std::string(255, 'n') + '\0');
}

TEST(IExtKelErrorSetData, MessageOf256BytesFillsTheFieldUnterminated) {
  Record record;
  record.setData({"0", "0", "0", std::string(255, 'n') + "e"});
  EXPECT_EQ(std::string(record.m_lastSmtpMsg, 256), std::string(255, 'n') + "e");
}

TEST(IExtKelErrorSetData, LongerMessageIsCutAndTheTextBufferUntouched) {
  Record record;
  record.m_text = "buffer";
  record.setData({"0", "0", "0", std::string(256, 'n') + "rest"});
  EXPECT_EQ(std::string(record.m_lastSmtpMsg, 256), std::string(256, 'n'));
  EXPECT_EQ(record.m_text, "buffer");
}

TEST(IExtKelErrorSetData, ShorterMessageLeavesNothingOfTheEarlierOne) {
  Record record(0, 0, 0, std::string(256, 'o'));
  record.setData({"0", "0", "0", "new"});
  EXPECT_EQ(std::string(record.m_lastSmtpMsg, 256), "new" + std::string(253, '\0'));
}

// --- operator<< ----------------------------------------------------------------------------------

TEST(IExtKelErrorWrite, FourLines) {
  Record record(-79, 1, -25, "535 no");
  EXPECT_EQ(serialised(record), "-79\n1\n-25\n535 no\n");
}

TEST(IExtKelErrorWrite, EmptyRecord) {
  Record record;
  EXPECT_EQ(serialised(record), "0\n0\n0\n\n");
}

TEST(IExtKelErrorWrite, UnterminatedMessageIsReadToItsEnd) {
  Record record(INT_MIN, 2, INT_MAX, std::string(256, 'm'));
  EXPECT_EQ(serialised(record), "-2147483648\n2\n2147483647\n" + std::string(256, 'm') + "\n");
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(IExtKelErrorWrite, FormatOfTheStreamDoesNotMatter) {
  Record record(1000000, 1, 255, "m");
  std::ostringstream out;
  out.imbue(std::locale(std::locale::classic(), new Grouping));
  out << std::hex << std::showpos << std::setfill('*') << std::setw(20) << record;
  EXPECT_EQ(out.str(), "1000000\n1\n255\nm\n");
}

TEST(IExtKelErrorWrite, ReturnsTheStream) {
  Record record;
  std::ostringstream out;
  EXPECT_EQ(&(out << record), &out);
}

TEST(IExtKelErrorWrite, NothingToAStreamThatIsNotGood) {
  Record record;
  for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
    std::ostringstream out;
    out.setstate(state);
    out << record;
    EXPECT_EQ(out.str(), "") << state;
  }
}

/// Takes so many lines, then refuses everything; counts what it refused.
struct ShortBuffer : std::streambuf {
  explicit ShortBuffer(int lines) : left(lines) {}
  std::streamsize xsputn(const char* data, std::streamsize size) override {
    if (left == 0) {
      ++refused;
      return 0;
    }
    --left;
    taken.append(data, static_cast<std::size_t>(size));
    return size;
  }
  int_type overflow(int_type) override {
    ++refused;
    return traits_type::eof();
  }
  int left;
  int refused = 0;
  std::string taken;
};

TEST(IExtKelErrorWrite, StopsAtTheFirstLineThatIsRefused) {
  Record record(-79, 1, -25, "m");
  const std::string taken[] = {"", "-79\n", "-79\n1\n", "-79\n1\n-25\n"};
  for (int lines = 0; lines < 4; ++lines) {
    ShortBuffer buffer(lines);
    std::ostream out(&buffer);
    out << record;
    EXPECT_EQ(buffer.taken, taken[lines]);
    EXPECT_EQ(buffer.refused, 1) << lines;
    EXPECT_TRUE(out.bad()) << lines;
  }
}

// --- operator>> ----------------------------------------------------------------------------------

TEST(IExtKelErrorRead, FourLines) {
  Record record(1, 1, 1, "old");
  EXPECT_EQ(read(record, "-79\n2\n-25\n535 no\n"), "-79|2|-25|535 no");
}

TEST(IExtKelErrorRead, LineThatIsNoNumberIsZero) {
  Record record(1, 1, 1, "old");
  EXPECT_EQ(read(record, "x\n\n12x\n\n"), "0|0|12|");
}

TEST(IExtKelErrorRead, FurtherLinesStayInTheStream) {
  Record first;
  Record second;
  std::istringstream in("1\n2\n3\na\n4\n5\n6\nb\n");
  in >> first >> second;
  EXPECT_EQ(fields(first), "1|2|3|a");
  EXPECT_EQ(fields(second), "4|5|6|b");
  EXPECT_TRUE(in.good());
}

TEST(IExtKelErrorRead, MissingLinesLeaveTheirFields) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"", "1|2|3|old"},
      {"10\n", "10|2|3|old"},
      {"10\n20\n", "10|20|3|old"},
      {"10\n20\n30\n", "10|20|30|old"},
  };
  for (const auto& [text, expected] : table) {
    Record record(1, 2, 3, "old");
    EXPECT_EQ(read(record, text), expected) << text;
  }
}

TEST(IExtKelErrorRead, LastLineWithoutLineEndCounts) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"10", "10|2|3|old"}, {"10\n20", "10|20|3|old"}, {"10\n20\n30\nnew", "10|20|30|new"}};
  for (const auto& [text, expected] : table) {
    Record record(1, 2, 3, "old");
    EXPECT_EQ(read(record, text), expected) << text;
  }
}

TEST(IExtKelErrorRead, LastLineWithoutLineEndIsNoFailure) {
  Record record;
  std::istringstream in("10\n20");
  in >> record;
  EXPECT_EQ(in.rdstate(), std::ios::eofbit);
}

TEST(IExtKelErrorRead, NothingFromAStreamThatIsNotGood) {
  for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
    Record record(1, 2, 3, "old");
    std::istringstream in("10\n20\n30\nnew\n");
    in.setstate(state);
    in >> record;
    EXPECT_EQ(fields(record), "1|2|3|old") << state;
    in.clear();
    EXPECT_EQ(in.tellg(), std::streampos(0)) << state;
  }
}

TEST(IExtKelErrorRead, LineOf4095BytesFits) {
  Record record;
  const std::string number = std::string(4094, ' ') + "7";
  EXPECT_EQ(read(record, number + "\n2\n3\n" + std::string(4095, 'm') + "\n"),
            "7|2|3|" + std::string(256, 'm'));
}

TEST(IExtKelErrorRead, LineOf4096BytesIsAFailedRead) {
  Record record(1, 2, 3, "old");
  std::istringstream in("10\n" + std::string(4095, ' ') + "7\n30\nnew\n");
  in >> record;
  EXPECT_EQ(fields(record), "10|2|3|old");
  EXPECT_TRUE(in.fail());
}

TEST(IExtKelErrorRead, MessageThatDoesNotFitALineLeavesTheMessage) {
  Record record(1, 2, 3, "old");
  EXPECT_EQ(read(record, "10\n20\n30\n" + std::string(4096, 'm') + "\n"), "10|20|30|old");
}

TEST(IExtKelErrorRead, ZeroByteEndsALine) {
  Record record;
  EXPECT_EQ(read(record, std::string("1\0002\n2\n3\nm\0n\n", 12)), "1|2|3|m");
}

TEST(IExtKelErrorRead, ReturnsTheStream) {
  Record record;
  std::istringstream in("1\n");
  EXPECT_EQ(&(in >> record), &in);
}

/// What a record holds once a stream has thrown.
std::string fieldsAfterThrow(std::istream& in) {
  Record record(1, 2, 3, "old");
  EXPECT_THROW(in >> record, std::ios::failure);
  return fields(record);
}

TEST(IExtKelErrorRead, StreamThatThrowsKeepsTheLinesBefore) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"", "1|2|3|old"},
      {"10\n", "10|2|3|old"},
      {"10\n20\n", "10|20|3|old"},
      {"10\n20\n30\n", "10|20|30|old"},
      {"10\n20\n30\n" + std::string(4096, 'm') + "\n", "10|20|30|old"},
  };
  for (const auto& [text, expected] : table) {
    std::istringstream in(text);
    in.exceptions(std::ios::failbit);
    EXPECT_EQ(fieldsAfterThrow(in), expected) << text;
  }
}

/// Gives its text, and throws where it ends.
struct ThrowingBuffer : std::streambuf {
  explicit ThrowingBuffer(std::string bytes) : text(std::move(bytes)) {
    setg(text.data(), text.data(), text.data() + text.size());
  }
  int_type underflow() override { throw std::ios::failure("the medium is gone"); }
  std::string text;
};

TEST(IExtKelErrorRead, BufferThatThrowsKeepsTheLinesBefore) {
  ThrowingBuffer buffer("10\n20\n7");
  std::istream in(&buffer);
  in.exceptions(std::ios::badbit);
  EXPECT_EQ(fieldsAfterThrow(in), "10|20|3|old");
}

TEST(IExtKelErrorRead, BufferThatThrowsInAStreamThatDoesNotIsAFailedRead) {
  ThrowingBuffer buffer("10\n20\n7");
  std::istream in(&buffer);
  Record record(1, 2, 3, "old");
  in >> record;
  EXPECT_EQ(fields(record), "10|20|3|old");
  EXPECT_TRUE(in.bad());
}

TEST(IExtKelErrorRead, RestoresWhatWasWritten) {
  for (const std::string& message : {std::string(), std::string("550 denied"),
                                     std::string("  blanks  "), std::string(255, '\xA4')}) {
    Record record(-79, 1, INT_MIN, message);
    Record copy(5, 6, 7, std::string(256, 'x'));
    EXPECT_EQ(read(copy, serialised(record)), "-79|1|-2147483648|" + message);
  }
}

// --- reportResult --------------------------------------------------------------------------------

TEST(IExtKelErrorReport, PrintsCodeRecordAndEmptyLineOnStandardOutput) {
  Record self(9, 9, 9, "self");
  Record other(-79, 1, -25, "535 no");
  testing::internal::CaptureStdout();
  self.reportResult(-3, other);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "-3\n-79\n1\n-25\n535 no\n\n");
}

TEST(IExtKelErrorReport, ProcessThatEndsAtOnce_HasPrintedItAll) {
  const ChildResult child = runInChild([]() -> int {
    Record self(0, 0, 0, "");
    self.reportResult(-3, self);
    ::_exit(0);
  });
  EXPECT_EQ(child.out, "-3\n0\n0\n0\n\n\n");
}

}  // namespace
