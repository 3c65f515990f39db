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

TEST(IExtKelErrorSetData, EveryList_SetsTheFieldsThatItReaches) {
  const std::vector<std::pair<std::list<std::string>, std::string>> table = {
      {{}, "1|2|3|old"},
      {{"10"}, "10|2|3|old"},
      {{"10", "20"}, "10|20|3|old"},
      {{"10", "20", "30"}, "10|20|30|old"},
      {{"10", "20", "30", "new"}, "10|20|30|new"},
      {{"10", "20", "30", "new", "more"}, "10|20|30|new"},
      {{"10", "20", "30", ""}, "10|20|30|"},
      // Numbers as atoi(3) takes them.
      {{"-2147483648", " \t12x", std::string("1\0002", 3)}, "-2147483648|12|1|old"},
      {{"abc", "", "+5"}, "0|0|5|old"},
  };
  for (const auto& [values, expected] : table) {
    Record record(1, 2, 3, "old");
    record.setData(values);
    EXPECT_EQ(fields(record), expected);
  }
}

TEST(IExtKelErrorSetData, Message_FillsItsFieldAndNothingElse) {
  const std::string n255(255, 'n');
  const std::vector<std::pair<std::string, std::string>> table = {
      {"new", "new" + std::string(253, '\0')},
      {n255, n255 + '\0'},
      {n255 + "e", n255 + "e"},
      {n255 + "erest", n255 + "e"},
  };
  for (const auto& [message, field] : table) {
    Record record(0, 0, 0, std::string(256, 'o'));
    record.m_text = "buffer";
    record.setData({"0", "0", "0", message});
    EXPECT_EQ(std::string(record.m_lastSmtpMsg, 256), field);
    EXPECT_EQ(record.m_text, "buffer");
  }
}

// --- operator<< ----------------------------------------------------------------------------------

TEST(IExtKelErrorWrite, EveryRecord_IsFourLines) {
  const std::string m256(256, 'm');
  const std::vector<std::pair<Record, std::string>> table = {
      {{-79, 1, -25, "535 no"}, "-79\n1\n-25\n535 no\n"},
      {{}, "0\n0\n0\n\n"},
      {{INT_MIN, 2, INT_MAX, m256}, "-2147483648\n2\n2147483647\n" + m256 + "\n"},
  };
  for (const auto& [record, text] : table) {
    Record written = record;
    std::ostringstream out;
    EXPECT_EQ(&(out << written), &out);
    EXPECT_EQ(out.str(), text);
  }
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(IExtKelErrorWrite, FormatOfTheStream_DoesNotMatter) {
  Record record(1000000, 1, 255, "m");
  std::ostringstream out;
  out.imbue(std::locale(std::locale::classic(), new Grouping));
  out << std::hex << std::showpos << std::setfill('*') << std::setw(20) << record;
  EXPECT_EQ(out.str(), "1000000\n1\n255\nm\n");
}

TEST(IExtKelErrorWrite, StreamThatIsNotGood_GetsNothing) {
  Record record;
  for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
    std::ostringstream out;
    out.setstate(state);
    out << record;
    EXPECT_EQ(out.str(), "") << state;
  }
}

/// Has room for so many bytes.
struct ShortBuffer : std::streambuf {
  explicit ShortBuffer(std::size_t room) : bytes(room, '\0') {
    setp(bytes.data(), bytes.data() + room);
  }
  std::string taken() const { return {pbase(), pptr()}; }
  std::string bytes;
};

TEST(IExtKelErrorWrite, LineThatIsRefused_IsTheLast) {
  Record record(-79, 1, -25, "m");
  const std::string whole = serialised(record);
  for (std::size_t room = 0; room < whole.size(); ++room) {
    ShortBuffer buffer(room);
    std::ostream out(&buffer);
    out << record;
    EXPECT_EQ(buffer.taken(), whole.substr(0, room));
    EXPECT_TRUE(out.bad()) << room;
  }
}

// --- operator>> ----------------------------------------------------------------------------------

TEST(IExtKelErrorRead, EveryText_SetsTheFieldsWhoseLinesItHasWhetherOrNotItsStreamThrows) {
  constexpr auto kEnded = std::ios::eofbit | std::ios::failbit;
  struct Row {
    std::string text;
    std::string fields;
    std::ios::iostate state;
  };
  const Row rows[] = {
      {"-79\n2\n-25\n535 no\n", "-79|2|-25|535 no", std::ios::goodbit},
      {"x\n\n12x\n\n", "0|0|12|", std::ios::goodbit},
      {std::string("1\0002\n2\n3\nm\0n\n", 12), "1|2|3|m", std::ios::goodbit},
      // Lines that are missing.
      {"", "1|2|3|old", kEnded},
      {"10\n", "10|2|3|old", kEnded},
      {"10\n20\n", "10|20|3|old", kEnded},
      {"10\n20\n30\n", "10|20|30|old", kEnded},
      // A last line without its end.
      {"10", "10|2|3|old", std::ios::eofbit},
      {"10\n20", "10|20|3|old", std::ios::eofbit},
      {"10\n20\n30\nnew", "10|20|30|new", std::ios::eofbit},
      // Lines of 4,095 bytes, which fit, and of 4,096.
      {std::string(4094, ' ') + "7\n2\n3\n" + std::string(4095, 'm') + "\n",
       "7|2|3|" + std::string(256, 'm'), std::ios::goodbit},
      {"10\n" + std::string(4095, ' ') + "7\n30\nnew\n", "10|2|3|old", std::ios::failbit},
      {"10\n20\n30\n" + std::string(4096, 'm') + "\n", "10|20|30|old", std::ios::failbit},
  };
  for (const Row& row : rows) {
    for (const bool isThrowing : {false, true}) {
      SCOPED_TRACE(row.text);
      Record record(1, 2, 3, "old");
      std::istringstream in(row.text);
      if (isThrowing) in.exceptions(std::ios::failbit);
      if (isThrowing && (row.state & std::ios::failbit) != 0) {
        EXPECT_THROW(in >> record, std::ios::failure);
      } else {
        EXPECT_EQ(&(in >> record), &in);
      }
      EXPECT_EQ(fields(record), row.fields);
      EXPECT_EQ(in.rdstate(), row.state);
    }
  }
}

TEST(IExtKelErrorRead, FurtherLines_StayInTheStream) {
  Record first;
  Record second;
  std::istringstream in("1\n2\n3\na\n4\n5\n6\nb\n");
  in >> first >> second;
  EXPECT_EQ(fields(first), "1|2|3|a");
  EXPECT_EQ(fields(second), "4|5|6|b");
  EXPECT_TRUE(in.good());
}

TEST(IExtKelErrorRead, StreamThatIsNotGood_GivesNothing) {
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

/// Gives its text, and throws where it ends.
struct ThrowingBuffer : std::streambuf {
  explicit ThrowingBuffer(std::string bytes) : text(std::move(bytes)) {
    setg(text.data(), text.data(), text.data() + text.size());
  }
  int_type underflow() override { throw std::ios::failure("the medium is gone"); }
  std::string text;
};

TEST(IExtKelErrorRead, BufferThatThrows_KeepsTheLinesBeforeWhetherOrNotItsStreamThrows) {
  for (const bool isThrowing : {true, false}) {
    ThrowingBuffer buffer("10\n20\n7");
    std::istream in(&buffer);
    Record record(1, 2, 3, "old");
    if (isThrowing) {
      in.exceptions(std::ios::badbit);
      EXPECT_THROW(in >> record, std::ios::failure);
    } else {
      in >> record;
      EXPECT_TRUE(in.bad());
    }
    EXPECT_EQ(fields(record), "10|20|3|old");
  }
}

// --- reportResult --------------------------------------------------------------------------------

TEST(IExtKelErrorReport, CodeRecordAndEmptyLine_ArePrintedAtOnce) {
  const ChildResult child = runInChild([]() -> int {
    Record self(9, 9, 9, "self");
    Record other(-79, 1, -25, "535 no");
    self.reportResult(-3, other);
    ::_exit(0);
  });
  EXPECT_EQ(child.out, "-3\n-79\n1\n-25\n535 no\n\n");
}

}  // namespace
