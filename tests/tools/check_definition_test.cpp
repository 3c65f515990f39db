// What tanexics-check says of the definition file of an event.

#include "tools/checked.h"

namespace {

class CheckDefinition : public Checked {
 protected:
  std::string errorsIn(const std::string& bytes) {
    dir.write("event", bytes);
    return errorsOf({"list", "-r", "event"});
  }

  std::string warningsIn(const std::string& bytes) {
    dir.write("event", bytes);
    return warningsOf({"list", "-r", "event"});
  }
};

TEST_F(CheckDefinition, Good_HasNothingToTell) {
  EXPECT_EQ(warningsIn(kEvent), "");
  std::string withReturns;
  for (const char byte : kEvent) withReturns += byte == '\n' ? "\r\n" : std::string(1, byte);
  EXPECT_EQ(warningsIn(withReturns), "");
}

TEST_F(CheckDefinition, EveryFault_IsToldAtOnce) {
  std::string bytes = eventWith("Label=disk", "Label disk");
  const auto replace = [&bytes](const std::string& from, const std::string& to) {
    bytes.replace(bytes.find(from), from.size(), to);
  };
  replace("HostName=", "Hostname=");
  replace("OSType=", "OSType =");
  replace("OSName=Debian", "OSName=");
  replace("MsgType=ERROR\n", "");
  replace("=err", "=ERR");
  EXPECT_EQ(errorsIn(bytes),
            "event:3: error: no \"=\" in \"Label disk\"; did you mean \"Label=disk\"?\n"
            "event:4: error: unknown key \"Hostname\"; did you mean HostName?\n"
            "event:5: error: unknown key \"OSType \" (a blank before \"=\")\n"
            "event:6: error: OSName has no value\n"
            "event:10: warning: SendType=ERR is sent as \"other event\" (0x40205); only \"err\" is "
            "exact\n"
            "event: error: MsgType is missing\n");
}

TEST_F(CheckDefinition, WrongKey_IsToldWithWhatIsMeant) {
  const struct {
    std::string line;
    std::string error;  // behind the quoted key
  } rows[] = {
      {" Label=disk", "\" Label\" (a blank before it)"},
      {"\tLabel\t=disk", "\"\\x09Label\\x09\" (a blank before it and a blank before \"=\")"},
      {"\"Label\"=disk", "\"\"Label\"\" (quotes around it)"},
      {"\xef\xbb\xbfLabel=disk", "\"\xef\xbb\xbfLabel\" (a byte order mark before it)"},
      {" Lable=disk", "\" Lable\" (a blank before it); did you mean Label?"},
      {"label=disk", "\"label\"; did you mean Label?"},
      {"Lab=disk", "\"Lab\"; did you mean Label?"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(errorsIn(eventWith("Label=disk", row.line)),
              "event:3: error: unknown key " + row.error + "\n");
  }
  const struct {
    std::string line;
    std::string error;
  } others[] = {
      {"Comment=disk", "\"Comment\"; tanexics-input(5) lists the keys"},
      {"\"=disk", "\"\"\"; tanexics-input(5) lists the keys"},
      {" =disk", "\" \" (a blank before it); tanexics-input(5) lists the keys"},
      {" # a=b", "\" # a\" (a blank before it); a comment begins with \"#\" and nothing before it"},
      {"\xef\xbb\xbf# a=b",
       "\"\xef\xbb\xbf# a\" (a byte order mark before it); a comment begins "
       "with \"#\" and nothing before it"},
  };
  for (const auto& row : others) {
    EXPECT_EQ(errorsIn(row.line + "\n" + kEvent),
              "event:1: error: unknown key " + row.error + "\n");
  }
  EXPECT_EQ(errorsIn("=disk\n" + kEvent), "event:1: error: no key before \"=\"\n");
}

TEST_F(CheckDefinition, LineWithoutEquals_IsToldWithWhatIsMeant) {
  const struct {
    std::string line;
    std::string error;  // behind the quoted line
  } rows[] = {
      {"Label: disk", "\"Label: disk\"; did you mean \"Label=disk\"?"},
      {"label", "\"label\"; did you mean \"Label=...\"?"},
      {" Label  a b", "\" Label  a b\"; did you mean \"Label=a b\"?"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(errorsIn(eventWith("Label=disk", row.line)),
              "event:3: error: no \"=\" in " + row.error + "\n");
  }
  const struct {
    std::string line;
    std::string error;
  } others[] = {
      {"  ", "\"  \"; a line is skipped where it is empty, and not where it has blanks"},
      {" # x", "\" # x\"; a comment begins with \"#\" and nothing before it"},
      {"\xef\xbb\xbf# x", "\"\xef\xbb\xbf# x\"; a comment begins with \"#\" and nothing before it"},
      {"[event]", "\"[event]\""},
      {"\xff\xfeT", "\"\\xff\\xfeT\"; a file in UTF-16 is not understood"},
      {"\xfe\xff\tT", "\"\\xfe\\xff\\x09T\"; a file in UTF-16 is not understood"},
  };
  for (const auto& row : others) {
    EXPECT_EQ(errorsIn(row.line + "\n" + kEvent),
              "event:1: error: no \"=\" in " + row.error + "\n");
  }
}

TEST_F(CheckDefinition, MissingKeys_AreAllTold) {
  std::string expected;
  for (const char* key : {"Time", "Label", "HostName", "OSType", "OSName", "OSVersion", "PkgName",
                          "MsgType", "SendType", "EventID", "PartitionName"}) {
    expected += std::string("event: error: ") + key + " is missing\n";
  }
  EXPECT_EQ(errorsIn(""), expected);
  EXPECT_EQ(errorsIn("# Label=disk\n\n"), expected);
  EXPECT_EQ(warningsIn(eventWith("MsgID=\n", "")), "");
}

TEST_F(CheckDefinition, Value_IsWarnedOfWhereItIsHardlyMeant) {
  const struct {
    std::string from;
    std::string to;
    std::string warnings;
  } rows[] = {
      {"=disk", "= disk", "event:3: warning: the value of Label begins with a blank\n"},
      {"=disk", "=di\tsk\x01 ",
       "event:3: warning: the value of Label ends with a blank; it has control bytes\n"},
      {"=disk",
       "=\xef\xbb\xbf"
       "disk",
       "event:3: warning: the value of Label begins with a byte order mark\n"},
      {"OSType", "Label=b\nOSType",
       "event:5: warning: Label once more: its value in line 3 does not count\n"},
      {"=err", "=Err ",
       "event:11: warning: SendType=Err  is sent as \"other event\" (0x40205); only "
       "\"err\" is exact\n"},
      {"=err", "=\"err\"",
       "event:11: warning: SendType=\"err\" is sent as \"other event\" (0x40205); "
       "only \"err\" is exact\n"},
      {"=err", "='error'",
       "event:11: warning: SendType='error' is sent as \"other event\" "
       "(0x40205); only \"err\" is exact\n"},
      {"=err", "=er",
       "event:11: warning: SendType=er is sent as \"other event\" (0x40205); only "
       "\"err\" is exact\n"},
      {"=err", "=eer ",
       "event:11: warning: SendType=eer  is sent as \"other event\" (0x40205); only "
       "\"err\" is exact\n"},
      {"=err", "=info", ""},
      {"=err", "= info", "event:11: warning: the value of SendType begins with a blank\n"},
      {"=err", "= ", "event:11: warning: the value of SendType begins and ends with a blank\n"},
      {"=disk", std::string("=di\0sk", 6),
       "event:3: warning: a zero byte: what follows it in the line is not read\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(warningsIn(eventWith(row.from, row.to)), row.warnings);
}

TEST_F(CheckDefinition, LongLine_IsReadInPieces) {
  const std::string warning =
      "the line is longer than 1023 bytes: each further 1023 bytes are read as a line of their own\n";
  EXPECT_EQ(errorsIn(eventWith("Label=disk", "Label=" + std::string(1017, 'x') + "y z")),
            "event:3: warning: " + warning +
                "event:3: error: no \"=\" in \"y z\" (behind 1023 bytes of the line)\n");
  EXPECT_EQ(errorsIn("#" + std::string(1022, '#') + "=\n" + kEvent),
            "event:1: warning: " + warning +
                "event:1: error: no key before \"=\" (behind 1023 bytes of the line)\n");
}

TEST_F(CheckDefinition, ThatCannotBeRead_IsRejectedWithTheReason) {
  const std::string here = dir.path();
  EXPECT_EQ(errorsOf({"list", "-r", "missing"}), "missing: error: does not exist\n");
  EXPECT_EQ(errorsOf({"list", "-r" + here}), here + ": error: is a directory\n");
  EXPECT_EQ(errorsOf({"list", "-r", "/proc/self/mem"}),
            "/proc/self/mem: error: cannot be read to its end: Input/output error\n");
  EXPECT_EQ(errorsOf({"missing", "-r", ""}),
            "missing: error: does not exist\n\"\": error: does not exist\n");
  EXPECT_EQ(checked({"list", "-r", "/dev/zero"}),
            "/dev/zero: warning: is a device, and not opened here: the command reads it until it "
            "ends\n"
            "result: not known\n");
}

TEST_F(CheckDefinition, ThatIsTooLarge_IsJudgedOnlyWhereItsBeginningIsWrong) {
  const auto enlarge = [this] {
    std::filesystem::resize_file(dir / "event", std::uintmax_t{10} << 30);
  };
  enlarge();
  const std::string warning = "event: warning: is too large to be checked as a whole: its first ";
  EXPECT_EQ(checked({"list", "-r", "event"}), warning + "190 bytes are\nresult: not known\n");
  dir.write("event", "nonsense\n");
  enlarge();
  EXPECT_EQ(errorsOf({"list", "-r", "event"}),
            warning + "9 bytes are\nevent:1: error: no \"=\" in \"nonsense\"\n");
}

}  // namespace
