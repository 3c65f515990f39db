#include "loopback/script.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

void expectExchange(Script& script, unsigned code, const ExchangeReply& expected) {
  const ExchangeReply reply = script.nextExchange(code);
  EXPECT_EQ(expected.result, reply.result);
  EXPECT_EQ(expected.errorType, reply.errorType);
  EXPECT_EQ(expected.agentCode, reply.agentCode);
}

void expectStatus(Script& script, const StatusReply& expected) {
  const StatusReply reply = script.nextStatus();
  EXPECT_EQ(expected.word, reply.word);
  EXPECT_EQ(expected.result, reply.result);
}

void expectDefaults(Script script) {
  EXPECT_EQ(4711, script.nextId());
  expectStatus(script, {0x20, 0});
  EXPECT_EQ(0, script.nextStart());
  EXPECT_EQ(0, script.nextStop());
  expectExchange(script, 0x40017, {0, 0, 0});
}

TEST(Script, NoLineGivesTheDefaults) {
  expectDefaults(Script());
  expectDefaults(Script(""));
  expectDefaults(Script("\n\r\n  \t\n# id 1\n   # stop 2\n#"));
}

TEST(Script, EveryKindOfLine) {
  Script script(
      "id 12\n"
      "status 0x10000 3\n"
      "start 4\n"
      "stop 5\n"
      "communicate 0x40017 -62 2 54\n");
  EXPECT_EQ(12, script.nextId());
  expectStatus(script, {0x10000, 3});
  EXPECT_EQ(4, script.nextStart());
  EXPECT_EQ(5, script.nextStop());
  expectExchange(script, 0x40017, {-62, 2, 54});
}

TEST(Script, SuccessiveLinesAnswerInOrderAndTheLastRepeats) {
  Script script(
      "status 1\nstatus 2 9\n"
      "id 1\nid 2\n"
      "start 1\nstart 2\n"
      "stop 1\nstop 2\n"
      "communicate 7 1\ncommunicate 7 2\n");
  expectStatus(script, {1, 0});
  for (int round = 0; round < 3; ++round) expectStatus(script, {2, 9});
  for (const int expected : {1, 2, 2}) {
    EXPECT_EQ(expected, script.nextId());
    EXPECT_EQ(expected, script.nextStart());
    EXPECT_EQ(expected, script.nextStop());
    expectExchange(script, 7, {expected, 0, 0});
  }
}

TEST(Script, LinesForACodeWinOverTheStarAndDoNotFallBackToIt) {
  Script script(
      "communicate * 100\n"
      "communicate 0x10 1\n"
      "communicate * 200 1 -5\n"
      "communicate 16 2\n");
  for (const int expected : {1, 2, 2}) expectExchange(script, 0x10, {expected, 0, 0});
  expectExchange(script, 0x11, {100, 0, 0});
  expectExchange(script, 0x12, {200, 1, -5});
  expectExchange(script, 0x11, {200, 1, -5});
}

TEST(Script, CodesWithoutALineSucceedWhereThereIsNoStar) {
  Script script("communicate 1 5");
  expectExchange(script, 2, {0, 0, 0});
}

TEST(Script, CommentsBlanksAndLineEnds) {
  Script script("\tid \t 5   # five\r\nstatus 0x20# at once\r\n\r\nstart 7");
  EXPECT_EQ(5, script.nextId());
  expectStatus(script, {0x20, 0});
  EXPECT_EQ(7, script.nextStart());
}

struct NumberCase {
  const char* word;
  int value;
};

TEST(Script, NumbersHaveTheRangeOf32Bits) {
  const NumberCase cases[] = {
      {"0", 0},
      {"-0", 0},
      {"010", 10},
      {"0X1f", 31},
      {"0xABCDEF", 0xabcdef},
      {"-62", -62},
      {"-0x3e", -62},
      {"2147483647", INT_MAX},
      {"2147483648", INT_MIN},
      {"-2147483648", INT_MIN},
      {"-0x80000000", INT_MIN},
      {"4294967295", -1},
      {"0xffffffff", -1},
  };
  for (const NumberCase& row : cases) {
    Script script(std::string("start ") + row.word);
    EXPECT_EQ(row.value, script.nextStart()) << row.word;
  }
}

TEST(Script, CodesHaveTheUnsignedRange) {
  Script script("communicate 4294967295 3");
  expectExchange(script, UINT_MAX, {3, 0, 0});
}

struct ErrorCase {
  const char* text;
  int line;
  const char* message;
};

TEST(Script, BadLines) {
  const ErrorCase cases[] = {
      {"ID 1", 1, "'ID' is no kind of line"},
      {"identifier 1", 1, "'identifier' is no kind of line"},
      {"id", 1, "expected 'id N'"},
      {"id 1 2", 1, "expected 'id N'"},
      {"status", 1, "expected 'status WORD [RESULT]'"},
      {"status 1 2 3", 1, "expected 'status WORD [RESULT]'"},
      {"start", 1, "expected 'start RESULT'"},
      {"start 1 2", 1, "expected 'start RESULT'"},
      {"stop", 1, "expected 'stop RESULT'"},
      {"stop 0 0", 1, "expected 'stop RESULT'"},
      {"communicate", 1, "expected 'communicate CODE|* RESULT [TYPE AGENTCODE]'"},
      {"communicate *", 1, "expected 'communicate CODE|* RESULT [TYPE AGENTCODE]'"},
      {"communicate * 1 2", 1, "expected 'communicate CODE|* RESULT [TYPE AGENTCODE]'"},
      {"communicate * 1 2 3 4", 1, "expected 'communicate CODE|* RESULT [TYPE AGENTCODE]'"},
      {"communicate ** 1", 1, "'**' is no number"},
      {"communicate -1 1", 1, "'-1' is negative, which a request code never is"},
      {"communicate 1 x", 1, "'x' is no number"},
      {"communicate 1 1 x 1", 1, "'x' is no number"},
      {"communicate 1 1 1 x", 1, "'x' is no number"},
      {"start -", 1, "'-' is no number"},
      {"start --1", 1, "'--1' is no number"},
      {"start +1", 1, "'+1' is no number"},
      {"start 0x", 1, "'0x' is no number"},
      {"start 0x-1", 1, "'0x-1' is no number"},
      {"start 12a", 1, "'12a' is no number"},
      {"start 1.5", 1, "'1.5' is no number"},
      {"start 0xg", 1, "'0xg' is no number"},
      {"start 4294967296", 1, "'4294967296' does not fit in 32 bits"},
      {"start 0x100000000", 1, "'0x100000000' does not fit in 32 bits"},
      {"start -2147483649", 1, "'-2147483649' does not fit in 32 bits"},
      {"id 1\n# two\n\nstop x\nbad", 4, "'x' is no number"},
      {"id 1\r\r\n", 1, "'1\\x0d' is no number"},
      {"\x1b[31m", 1, "'\\x1b[31m' is no kind of line"},
  };
  for (const ErrorCase& row : cases) {
    try {
      const Script script(row.text);
      ADD_FAILURE() << "accepted: " << row.text;
    } catch (const ScriptError& error) {
      EXPECT_EQ(row.line, error.line()) << row.text;
      EXPECT_STREQ(row.message, error.what());
    }
  }
}

TEST(Script, ZeroBytesAreNoPartOfAnyLine) {
  EXPECT_THROW(Script(std::string_view("id 1\0", 5)), ScriptError);
}

}  // namespace
