#include "tools/rehearse/recorded.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "e2e/support/expected.h"

namespace {

struct Row {
  const char* what;
  Exchanges
      exchanges;  // expected, made, accepted, with an error, thrown 0, whether a file is missing
  const char* verdict;
  const char* reason;
};

TEST(VerdictOf, Exchanges_AreDecisiveUnlessWhatIsOpenDecides) {
  const Row rows[] = {
      {"none", {0, 0, 0, 0, 0, false}, "not-sent", "no exchange was made"},
      {"none of two", {2, 0, 0, 0, 0, false}, "not-sent", "no exchange was made"},
      {"all", {2, 2, 2, 0, 0, false}, "delivered", "all 2 exchanges accepted"},
      {"one", {1, 1, 1, 0, 0, false}, "delivered", "all 1 exchange accepted"},
      {"file missing",
       {2, 2, 2, 0, 0, true},
       "partly",
       "all 2 exchanges accepted; a listed file is missing"},
      {"some", {4, 4, 1, 0, 0, false}, "partly", "1 of 4 exchanges accepted"},
      {"no one", {2, 2, 0, 0, 0, false}, "refused", "0 of 2 exchanges accepted"},
      {"no one, file missing",
       {2, 2, 0, 0, 0, true},
       "refused",
       "0 of 2 exchanges accepted; a listed file is missing"},
      {"cut", {4, 1, 1, 0, 0, false}, "partly", "1 of 4 exchanges accepted, 1 made"},
      {"cut, none accepted",
       {4, 1, 0, 0, 0, false},
       "refused",
       "0 of 4 exchanges accepted, 1 made"},
      {"open alone",
       {2, 2, 0, 2, 0, false},
       "unknown",
       "0 of 2 exchanges accepted; 2 answered with 0 and an agent's error"},
      {"open besides accepted",
       {2, 2, 1, 1, 0, false},
       "unknown",
       "1 of 2 exchanges accepted; 1 answered with 0 and an agent's error"},
      {"open besides accepted, file missing",
       {2, 2, 1, 1, 0, true},
       "partly",
       "1 of 2 exchanges accepted; 1 answered with 0 and an agent's error; a listed file is missing"},
      {"open besides failed",
       {2, 2, 0, 1, 0, false},
       "unknown",
       "0 of 2 exchanges accepted; 1 answered with 0 and an agent's error"},
      {"open besides both",
       {4, 4, 1, 1, 0, false},
       "partly",
       "1 of 4 exchanges accepted; 1 answered with 0 and an agent's error"},
      {"thrown 0",
       {2, 2, 1, 0, 1, false},
       "unknown",
       "1 of 2 exchanges accepted; 1 left by throwing 0"},
  };
  for (const auto& [what, exchanges, verdict, reason] : rows) {
    EXPECT_STREQ(wordOf(verdictOf(exchanges)), verdict) << what;
    EXPECT_EQ(reasonOf(exchanges), reason) << what;
  }
}

/// What is read, in one line.
std::string read(const std::string& record) {
  std::istringstream stream(record);
  const Recorded recorded = readRecorded(stream);
  const Exchanges& all = recorded.exchanges;
  std::ostringstream text;
  text << all.made << '/' << all.expected << ' ' << all.accepted << '+' << all.withError << '+'
       << all.thrownZero << (all.isFileMissing ? " missing" : "")
       << (recorded.hasThrown ? " thrown" : "") << ' ' << recorded.unreadable;
  return text.str();
}

const std::string kIncident = "INCNO=\"1,TOTAL=\"9\"\",HOSTNAME=\"h\",PART=\"1\",TOTAL=\"3\"";

std::string thrown(const std::string& call, int value) {
  return "{\"call\":\"" + call +
         "\",\"code\":\"0x40204\",\"text\":\"t\",\"error\":null,\"thrown\":" +
         std::to_string(value) + "}\n";
}

TEST(ReadRecorded, Calls_AreCounted) {
  const std::string incident = notify("0x40017", kIncident);
  const std::string event = notify("0x40204", "t");
  const std::string null = R"({"call":"KEL_Communicate","code":"0x40017","text":null,)"
                           R"("items":null,"error":null,"result":0})"
                           "\n";
  const struct {
    std::string record;
    const char* expected;
  } rows[] = {
      {"", "0/0 0+0+0 0"},
      {asked() + startComm(7), "0/0 0+0+0 0"},
      {asked() + startComm() + incident + sendItems("0x4010b", {{"/a", "=items/1"}}) + stopped(),
       "2/2 2+0+0 0"},
      // What is cut short, by what the first notification says, or by one at least.
      {incident, "1/6 1+0+0 0"},
      {event, "1/2 1+0+0 0"},
      {notify("0x40016", "long"), "1/2 1+0+0 0"},
      {event + event + event, "3/3 3+0+0 0"},
      {null, "1/2 1+0+0 0"},
      {notify("0x40205", "t", {-7, 0, 0}) + notify("0x1", "t", {0, 2, 3}) + stopComm(),
       "2/2 0+1+0 0"},
      {sendItems("0x4010d", {{"/a", "not a regular file"}, {"/b", "cannot be opened: why"}}) +
           stopComm(),
       "1/1 1+0+0 0"},
      {sendItems("0x4010d", {{"/a", "=items/1"}, {"/b", "No such file or directory"}}) + stopComm(),
       "1/1 1+0+0 missing 0"},
      {thrown("KEL_Communicate", 0) + thrown("KEL_Communicate", 3) + stopComm(),
       "2/2 0+0+1 thrown 0"},
      {thrown("KEL_GetID", 33), "0/0 0+0+0 thrown 0"},
      {event + R"({"call":"KEL_Communicate","code":"0x4010d","error":null,"hangs":true})",
       "2/2 1+0+0 0"},
      {"7\n{\"call\":\n{}\n{\"call\":\"KEL_Communicate\"}\n" + event + stopComm(), "1/1 1+0+0 4"},
  };
  for (const auto& [record, expected] : rows) EXPECT_EQ(read(record), expected) << record;
}

}  // namespace
