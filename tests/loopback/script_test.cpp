#include "loopback/script.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>

namespace {

/// How a call ends, after what it has stored.
std::string ended(const Ending& ending, const std::string& stored) {
  if (ending.isThrown) return "throw" + std::to_string(ending.number);
  return stored.empty() ? std::to_string(ending.number) : stored;
}

/// The answers to one call.
std::string answer(Script& script, const std::string& call) {
  if (call.substr(0, 6) == "delay-") return std::to_string(script.nextDelay(call.substr(6)));
  if (call == "overwrites") return script.overwrites() ? "yes" : "no";
  if (call == "start") return ended(script.nextStart(), "");
  if (call == "stop") return ended(script.nextStop(), "");
  if (call == "id") {
    const IdReply reply = script.nextId();
    EXPECT_TRUE(reply.ending.isThrown || reply.ending.number == 0);
    return ended(reply.ending, std::to_string(reply.id));
  }
  if (call == "status") {
    const StatusReply reply = script.nextStatus();
    return ended(reply.ending,
                 std::to_string(reply.word) + "," + std::to_string(reply.ending.number));
  }
  const ExchangeReply reply = script.nextExchange(static_cast<unsigned>(std::stoul(call)));
  return ended(reply.ending, std::to_string(reply.ending.number) + "," +
                                 std::to_string(reply.errorType) + "," +
                                 std::to_string(reply.agentCode));
}

/// The answers to a row of calls: "id", "status", "start", "stop", or the code of an exchange.
std::string answers(Script script, const std::string& calls) {
  std::istringstream words(calls);
  std::string text;
  for (std::string call; words >> call;) text += (text.empty() ? "" : " ") + answer(script, call);
  return text;
}

TEST(Script, Calls_AreAnsweredByTheLines) {
  const std::string every = "id status start stop 7";
  const std::string defaults = "4711 32,0 0 0 0,0,0";
  const struct {
    const char* text;
    std::string calls;
    std::string expected;
  } rows[] = {
      {"", every, defaults},
      {"\n\r\n  \t\n# id 1\n   # stop 2\n#", every, defaults},
      {"id 12\nstatus 0x10000 3\nstart 4\nstop 5\ncommunicate 7 -62 2 54\n", every,
       "12 65536,3 4 5 -62,2,54"},
      // Successive lines answer in order, and the last one repeats.
      {"id 1\nid 2\n", "id id id", "1 2 2"},
      {"status 1\nstatus 2 9\n", "status status status", "1,0 2,9 2,9"},
      {"start 1\nstart 2\n", "start start start", "1 2 2"},
      {"stop 1\nstop 2\n", "stop stop stop", "1 2 2"},
      {"communicate 7 1\ncommunicate 7 2\n", "7 7 7", "1,0,0 2,0,0 2,0,0"},
      // Lines for a code win over the star, and do not fall back to it.
      {"communicate * 100\ncommunicate 0x10 1\ncommunicate * 200 1 -5\ncommunicate 16 2\n",
       "16 16 16 17 18 17", "1,0,0 2,0,0 2,0,0 100,0,0 200,1,-5 200,1,-5"},
      // Other codes succeed where there is no star.
      {"communicate 1 5", "2 1", "0,0,0 5,0,0"},
      {"communicate 4294967295 3", "4294967295", "3,0,0"},
      {"\tid \t 5   # five\r\nstatus 0x20# at once\r\n\r\nstart 7", "id status start", "5 32,0 7"},
      {"id throw 33\nid 5\nstatus throw -1\nstart throw 0\nstop throw 2\ncommunicate * throw 3",
       "id id status start stop 7", "throw33 5 throw-1 throw0 throw2 throw3"},
      {"communicate 7 throw 0xffffffff\ncommunicate 7 1 2 3", "7 7 8", "throw-1 1,2,3 0,0,0"},
      {"", "delay-id delay-stop overwrites", "0 0 no"},
      {"delay stop 0\ndelay stop 86400\ndelay stop forever\noverwrite\ndelay communicate 2",
       "delay-stop delay-stop delay-stop delay-stop delay-communicate delay-id overwrites",
       "0 86400 -1 -1 2 0 yes"},
  };
  for (const auto& [text, calls, expected] : rows) {
    EXPECT_EQ(answers(Script(text), calls), expected) << text;
  }
  EXPECT_EQ(answers(Script(), every), defaults);
}

TEST(Script, Numbers_HaveTheRangeOf32Bits) {
  const struct {
    const char* word;
    int expected;
  } rows[] = {
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
  for (const auto& [word, expected] : rows) {
    EXPECT_EQ(Script(std::string("start ") + word).nextStart().number, expected) << word;
  }
}

TEST(Script, BadLine_IsRejectedWithItsNumber) {
  const char* const exchange = "expected 'communicate CODE|* RESULT [TYPE AGENTCODE]'";
  const struct {
    std::string text;
    std::string message;
    int line = 1;
  } rows[] = {
      {"ID 1", "'ID' is no kind of line"},
      {"identifier 1", "'identifier' is no kind of line"},
      {"id", "expected 'id N'"},
      {"id 1 2", "expected 'id N'"},
      {"status", "expected 'status WORD [RESULT]'"},
      {"status 1 2 3", "expected 'status WORD [RESULT]'"},
      {"start", "expected 'start RESULT'"},
      {"start 1 2", "expected 'start RESULT'"},
      {"stop", "expected 'stop RESULT'"},
      {"stop 0 0", "expected 'stop RESULT'"},
      {"id throw", "expected 'id throw N'"},
      {"status throw 1 2", "expected 'status throw N'"},
      {"start throw", "expected 'start throw N'"},
      {"stop throw x", "'x' is no number"},
      {"stop throw 1 2", "expected 'stop throw N'"},
      {"communicate * throw", "expected 'communicate CODE|* throw N'"},
      {"communicate * throw 1 2 3", "expected 'communicate CODE|* throw N'"},
      {"communicate throw 1", "'throw' is no number"},
      {"delay", "expected 'delay KIND SECONDS|forever'"},
      {"delay stop", "expected 'delay KIND SECONDS|forever'"},
      {"delay stop 1 2", "expected 'delay KIND SECONDS|forever'"},
      {"delay 0x40017 1", "'0x40017' is no kind of call"},
      {"delay stop -1", "'-1' is not one of 0 to 86400 seconds"},
      {"delay stop 86401", "'86401' is not one of 0 to 86400 seconds"},
      {"delay stop ever", "'ever' is no number"},
      {"overwrite all", "expected 'overwrite'"},
      {"communicate", exchange},
      {"communicate *", exchange},
      {"communicate * 1 2", exchange},
      {"communicate * 1 2 3 4", exchange},
      {"communicate ** 1", "'**' is no number"},
      {"communicate -1 1", "'-1' is negative, which a request code never is"},
      {"communicate 1 x", "'x' is no number"},
      {"communicate 1 1 x 1", "'x' is no number"},
      {"communicate 1 1 1 x", "'x' is no number"},
      {"start -", "'-' is no number"},
      {"start --1", "'--1' is no number"},
      {"start +1", "'+1' is no number"},
      {"start 0x", "'0x' is no number"},
      {"start 0x-1", "'0x-1' is no number"},
      {"start 12a", "'12a' is no number"},
      {"start 1.5", "'1.5' is no number"},
      {"start 0xg", "'0xg' is no number"},
      {"start 4294967296", "'4294967296' does not fit in 32 bits"},
      {"start 0x100000000", "'0x100000000' does not fit in 32 bits"},
      {"start -2147483649", "'-2147483649' does not fit in 32 bits"},
      {"id 1\n# two\n\nstop x\nbad", "'x' is no number", 4},
      {"id 1\r\r\n", "'1\\x0d' is no number"},
      {{"id 1\0", 5}, "'1\\x00' is no number"},
      {"\x1b[31m", "'\\x1b[31m' is no kind of line"},
  };
  for (const auto& [text, message, line] : rows) {
    try {
      const Script script(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const ScriptError& error) {
      EXPECT_EQ(error.what(), message);
      EXPECT_EQ(error.line(), line) << text;
    }
  }
}

}  // namespace
