#include "tools/outcome/meaning.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace {

using outcome::endMeaning;
using outcome::passedOn;
using outcome::requestMeaning;
using outcome::statusMeaning;

TEST(RequestMeaning, Code_IsSaidInWords) {
  EXPECT_EQ(requestMeaning(0x40016), "notification of an event of type 1");
  EXPECT_EQ(requestMeaning(0x40017), "notification of an incident");
  EXPECT_EQ(requestMeaning(0x40204), "notification of an event with send type err");
  EXPECT_EQ(requestMeaning(0x40205), "notification of an event with another send type");
  EXPECT_EQ(requestMeaning(0x4010a), "data of an event of type 1");
  EXPECT_EQ(requestMeaning(0x4010b), "data of an incident");
  EXPECT_EQ(requestMeaning(0x4010d), "data of an event");
  EXPECT_EQ(requestMeaning(0x4010c), "unknown request code");
  EXPECT_EQ(requestMeaning(0), "unknown request code");
}

TEST(StatusMeaning, Word_IsSaidInWords) {
  EXPECT_EQ(statusMeaning(0x20), "operating");
  EXPECT_EQ(statusMeaning(0x10000), "maintenance");
  EXPECT_EQ(statusMeaning(0x20000), "stopped");
  EXPECT_EQ(statusMeaning(0x30000), "stopped for maintenance");
  EXPECT_EQ(statusMeaning(0x10020), "unknown status word");
}

/// The wait status of a run that exits with `status`.
int exited(int status) { return status * 256; }

TEST(EndMeaning, WaitStatus_IsSaidInWordsAndPassedOn) {
  const std::string code = ": an error code that the communication library threw";
  const struct {
    int waitStatus;
    int passedOn;
    std::string text;
  } rows[] = {
      {exited(0), 0, "0: the event was parsed, and nothing failed that the status tells of"},
      {exited(1), 1, "1: communication could not be prepared or started"},
      {exited(65), 65, "65: the caller is not the super-user"},
      {exited(66), 66, "66: the action log could not be initialised"},
      {exited(68), 68,
       "68: the command line, the list of files or the definition file was rejected"},
      {exited(78), 78, "78: the temporary directory of an incident could not be made"},
      {exited(127), 127, "127" + code + "; or the loader could not start the command"},
      {exited(33), 33, "33" + code + " (its low eight bits)"},
      {exited(255), 255, "255" + code + " (its low eight bits)"},
      {SIGABRT, 134, "none: ended by signal 6 (Aborted)"},
      {SIGKILL, 137, "none: ended by signal 9 (Killed)"},
      // With a core file.
      {SIGSEGV | 0x80, 139, "none: ended by signal 11 (Segmentation fault)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(endMeaning(row.waitStatus), row.text);
    EXPECT_EQ(passedOn(row.waitStatus), row.passedOn) << row.text;
  }
}

}  // namespace
