// The rehearsal on a terminal of its own, and in several locales.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "loopback/bytes.h"
#include "support/childrun.h"
#include "support/scratch.h"

namespace {

/// The columns of a row without the escape sequences of colours, by the definition of the
/// characters that the catalogue and the situations have.
std::size_t columnsOf(std::string row) {
  std::size_t columns = 0;
  while (!row.empty()) {
    if (row[0] == '\x1b') {
      row.erase(0, row.find('m') + 1);
      continue;
    }
    const std::size_t length = utf8Length(row);
    columns += length >= 3 ? 2 : 1;
    row.erase(0, length);
  }
  return columns;
}

class RehearseOnTerminal : public testing::Test {
 protected:
  /// What a terminal of so many columns is sent by a shell command, without carriage returns but
  /// those within a line.
  static std::string shown(int columns, const std::string& command,
                           std::map<std::string, std::string> environment = {}) {
    environment["SHELL"] = "/bin/sh";  // others have their say about a locale
    const std::string all = "stty -onlcr cols " + std::to_string(columns) + "; " + command;
    return runProgram({"/usr/bin/script", "-qec", all, "/dev/null"}, environment).out;
  }

  const ScratchDir scratch;
  const std::string file = scratch.write("a-file-of-a-rather-long-name-that-needs-two-rows", "x");
  const std::string script = scratch.write("script", "communicate * -62 2 54\n");
  const std::string report =
      REHEARSE " --script " + script + " --command " LOOPBACK_PLAYER " -- " + file;
};

TEST_F(RehearseOnTerminal, Rows_FitItsWidth) {
  for (const int columns : {40, 80, 200}) {
    for (const std::string& command : {report, std::string(REHEARSE " --situations")}) {
      const std::string text = shown(columns, command);
      std::size_t widest = 0;
      for (const std::string& row : linesOf(text)) widest = std::max(widest, columnsOf(row));
      EXPECT_LE(widest, static_cast<std::size_t>(columns)) << text;
      EXPECT_GE(widest, std::min<std::size_t>(static_cast<std::size_t>(columns) - 8, 90)) << text;
    }
  }
}

TEST_F(RehearseOnTerminal, Pipe_HasNoWidthAndNoColours) {
  const std::string piped = runProgram({"/bin/sh", "-c", report + " | cat"}).out;
  EXPECT_NE(piped.find("                      1 bytes  " + file + "\n"), std::string::npos)
      << piped;
  EXPECT_EQ(piped.find('\x1b'), std::string::npos);
  EXPECT_EQ(shown(40, report + " | cat"), piped);
  const std::string situations = runProgram({REHEARSE, "--situations"}).out;
  EXPECT_EQ(shown(40, REHEARSE " --situations | cat"), situations);
  EXPECT_EQ(linesOf(situations).size(), namesIn(LOOPBACK_SITUATIONS).size());
}

TEST_F(RehearseOnTerminal, Colours_AreThereUnlessNobodyWantsThem) {
  const std::string coloured = shown(80, report);
  const std::string plain = shown(80, report, {{"NO_COLOR", "1"}});
  const std::string word = "refused: 0 of 2 exchanges accepted";
  EXPECT_NE(coloured.find("  \x1b[31mrefused\x1b[0m: 0 of 2 exchanges accepted\n"),
            std::string::npos)
      << coloured;
  EXPECT_NE(plain.find("  " + word + "\n"), std::string::npos) << plain;
  EXPECT_EQ(plain.find('\x1b'), std::string::npos);
  EXPECT_EQ(shown(80, report, {{"NO_COLOR", ""}}), coloured);
}

TEST_F(RehearseOnTerminal, LocaleWithoutACatalogue_MakesNoDifference) {
  const std::string command =
      report + "; " REHEARSE " --situations; " REHEARSE " --situation stop-fail --";
  const std::string expected = shown(80, command, {{"LC_ALL", "C"}});
  EXPECT_NE(expected.find("接続異常が発生しました。"), std::string::npos) << expected;
  for (const char* locale : {"C", "C.UTF-8", "en_US.UTF-8"}) {
    EXPECT_TRUE(shown(80, command, {{"LANG", locale}, {"LC_ALL", ""}}) == expected) << locale;
    EXPECT_TRUE(shown(80, command, {{"LC_ALL", locale}}) == expected) << locale;
  }
}

TEST_F(RehearseOnTerminal, LongRun_HasALineThatGoesAway) {
  scratch.write("script", "delay stop 2\n");
  const std::string text = shown(80, report);
  EXPECT_NE(text.find("1 s, 5 calls\x1b[K\r"), std::string::npos) << text;
  EXPECT_NE(text.find("\r\x1b[KWhat the centre"), std::string::npos) << text;
  const std::string piped = shown(80, report + " 2>" + (scratch / "errors"));
  EXPECT_EQ(piped.find("1 s, "), std::string::npos) << piped;
  EXPECT_EQ(readFile(scratch / "errors"), "");
  scratch.write("script", "");
  EXPECT_EQ(shown(80, report).find(" s, "), std::string::npos) << "a short one";
}

}  // namespace
