#ifndef TANEXICS_TESTS_TOOLS_CHECKED_H
#define TANEXICS_TESTS_TOOLS_CHECKED_H

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <filesystem>
#include <string>

#include "support/scratch.h"
#include "support/testevent.h"
#include "tools/check/plain.h"
#include "tools/check/report.h"

/// A folder of input files, which is the current one meanwhile, and what the checker says of them.
class Checked : public testing::Test {
 protected:
  Checked() {
    std::filesystem::current_path(dir.path());
    dir.write("x.syslog.txt", "# head\nNov 15 12:00:05 db01 kernel: I/O error\n");
    dir.write("list", kExtract + "\n");
    dir.write("event", kEvent);
  }
  ~Checked() override { std::filesystem::current_path(m_before); }

  static std::string printed(const check::Report& report, const Terminal& terminal) {
    for (const check::Fault& fault : report.faults.kept()) {
      EXPECT_TRUE(fault.file || fault.line == 0) << "the command line has no lines: " << fault.text;
    }
    std::string text;
    check::writePlain(report, terminal, [&text](const std::string& piece) { text += piece; });
    return text;
  }

  /// All that is printed for these words.
  static std::string checked(const Texts& words, const Terminal& terminal = {}) {
    return printed(check::reportOn(words, false), terminal);
  }

  /// What is printed up to the result, for input that is rejected.
  static std::string errorsOf(const Texts& words) {
    const std::string text = checked(words);
    const std::string end = "result: rejected (68)\n";
    EXPECT_GE(text.size(), end.size());
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
    return text.substr(0, text.size() - end.size());
  }

  /// The warnings for input that is accepted, and that is all that is asked of it.
  static std::string warningsOf(const Texts& words) {
    const check::Report report = check::reportOn(words, false);
    EXPECT_EQ(report.answer, check::Answer::kAccepted);
    const std::string text = printed(report, {});
    return text.substr(0, text.find("sends "));
  }

  static std::string nodeName() {
    utsname names = {};
    ::uname(&names);
    return names.nodename;
  }

  ScratchDir dir;
  const std::string kExtract = dir / "x.syslog.txt";
  const std::string kEvent =
      "# disk failure on db01\n"
      "Time=2026/11/15 12:00:07\n"
      "Label=disk\n"
      "HostName=db01\n"
      "OSType=Linux\n"
      "OSName=Debian\n"
      "OSVersion=12\n"
      "PkgName=storage\n"
      "MsgType=ERROR\n"
      "MsgID=\n"
      "SendType=err\n"
      "EventID=42\n"
      "PartitionName=0\n";

  /// The event with `to` in the place of `from`, which stands in it.
  std::string eventWith(const std::string& from, const std::string& to) const {
    std::string bytes = kEvent;
    const std::size_t at = bytes.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return bytes.replace(at, from.size(), to);
  }

 private:
  const std::filesystem::path m_before = std::filesystem::current_path();
};

#endif
