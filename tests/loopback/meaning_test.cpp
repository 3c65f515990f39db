#include "loopback/rehearse/meaning.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace {

/// The wait status of a run that exits with `status`.
int exited(int status) { return status * 256; }

TEST(Meaning, RequestCodes) {
  EXPECT_EQ("notification of an event of type 1", requestMeaning(0x40016));
  EXPECT_EQ("notification of an incident", requestMeaning(0x40017));
  EXPECT_EQ("notification of an event with send type err", requestMeaning(0x40204));
  EXPECT_EQ("notification of an event with another send type", requestMeaning(0x40205));
  EXPECT_EQ("data of an event of type 1", requestMeaning(0x4010a));
  EXPECT_EQ("data of an incident", requestMeaning(0x4010b));
  EXPECT_EQ("data of an event", requestMeaning(0x4010d));
  EXPECT_EQ("unknown request code", requestMeaning(0x4010c));
  EXPECT_EQ("unknown request code", requestMeaning(0));
}

TEST(Meaning, StatusWords) {
  EXPECT_EQ("operating", statusMeaning(0x20));
  EXPECT_EQ("maintenance", statusMeaning(0x10000));
  EXPECT_EQ("stopped", statusMeaning(0x20000));
  EXPECT_EQ("stopped for maintenance", statusMeaning(0x30000));
  EXPECT_EQ("unknown status word", statusMeaning(0x10020));
}

TEST(Meaning, AgentErrorTypes) {
  EXPECT_EQ("SMTP", agentMeaning(1));
  EXPECT_EQ("HTTP", agentMeaning(2));
  EXPECT_EQ("type -3", agentMeaning(-3));
}

struct EndCase {
  int waitStatus;
  int passedOn;
  std::string text;
};

TEST(Meaning, EndsOfARun) {
  const EndCase cases[] = {
      {exited(0), 0, "0: the event was parsed, and nothing failed that the status tells of"},
      {exited(1), 1, "1: communication could not be prepared or started"},
      {exited(65), 65, "65: the caller is not the super-user"},
      {exited(66), 66, "66: the action log could not be initialised"},
      {exited(68), 68,
       "68: the command line, the list of files or the definition file was rejected"},
      {exited(78), 78, "78: the temporary directory of an incident could not be made"},
      {exited(127), 127,
       "127: an error code that the communication library threw; or the loader could not start the "
       "command"},
      {exited(33), 33,
       "33: an error code that the communication library threw (its low eight bits)"},
      {exited(255), 255,
       "255: an error code that the communication library threw (its low eight bits)"},
      {SIGABRT, 134, "none: ended by signal 6 (Aborted)"},
      {SIGKILL, 137, "none: ended by signal 9 (Killed)"},
      // With a core file.
      {SIGSEGV | 0x80, 139, "none: ended by signal 11 (Segmentation fault)"},
  };
  for (const EndCase& row : cases) {
    EXPECT_EQ(row.text, endMeaning(row.waitStatus));
    EXPECT_EQ(row.passedOn, passedOn(row.waitStatus)) << row.text;
  }
}

}  // namespace
