#include "common/base/shell.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/actionlog.h"
#include "support/environmentguard.h"
#include "support/scratch.h"

namespace {

/// How the shell reads `words`, in the directory `dir`: each word between brackets. Run by the C
/// library's own way to the shell.
std::string readByShell(const std::string& dir, const std::string& words) {
  const std::string command = "exec 2>/dev/null; cd " + dir + "; printf '[%s]' " + words;
  FILE* stream = ::popen(command.c_str(), "r");
  std::string output;
  for (int byte = std::fgetc(stream); byte != EOF; byte = std::fgetc(stream)) {
    output += static_cast<char>(byte);
  }
  ::pclose(stream);
  return output;
}

bool isWild(int byte) { return byte == '*' || byte == '?' || byte == '[' || byte == ']'; }

/// What the shell makes more of than a byte of a word, and `shellEsc` leaves alone on purpose.
bool isLeftAlone(int byte) { return byte == ';' || byte == '\n' || byte == '~'; }

std::string around(int byte) { return "a" + std::string(1, static_cast<char>(byte)) + "b"; }

// --- the escaped text ----------------------------------------------------------------------------

TEST(ShellEsc, EveryByte_GetsABackslashExactlyWhenListed) {
  const std::string special = "\"'\t ()|<>&#^`{}$\\";
  ASSERT_EQ(special.size(), 17u);
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text = around(byte);
    const std::string escaped = "a\\" + text.substr(1);
    const bool isSpecial = special.find(static_cast<char>(byte)) != std::string::npos;
    EXPECT_EQ(shellEsc(text, 0), isSpecial ? escaped : text) << byte;
    for (const int escWild : {1, 2, -1}) {
      EXPECT_EQ(shellEsc(text, escWild), isSpecial || isWild(byte) ? escaped : text) << byte;
      EXPECT_EQ(shellEsc(text.c_str(), escWild), shellEsc(text, escWild)) << byte;
    }
  }
}

TEST(ShellEsc, WholeTexts_AreEscapedByteByByte) {
  EXPECT_EQ(shellEsc("a b;c*", 0), "a\\ b;c*");
  EXPECT_EQ(shellEsc("a b;c*", 1), "a\\ b;c\\*");
  EXPECT_EQ(shellEsc("  ", 0), "\\ \\ ");
  EXPECT_EQ(shellEsc("\\ ", 0), "\\\\\\ ");
}

TEST(ShellEsc, NullAndEmptyText_AreEmptyWithoutALine) {
  const CapturedLog log(CapturedLog::Level::kTrace);
  const char* null = nullptr;
  for (const int escWild : {0, 1}) EXPECT_EQ(shellEsc(null, escWild) + shellEsc("", escWild), "");
  EXPECT_EQ(log.bytes(), "");
}

// --- what the shell makes of it ------------------------------------------------------------------

TEST(ShellEscInTheShell, EverySafeByte_ComesBackAsItself) {
  const ScratchDir dir;
  for (int byte = 1; byte < 256; ++byte) {
    if (isLeftAlone(byte)) continue;
    const std::string alone(1, static_cast<char>(byte));
    for (const int escWild : {0, 1}) {
      if (escWild == 0 && isWild(byte)) continue;
      EXPECT_EQ(
          readByShell(dir.path(), shellEsc(alone, escWild) + " " + shellEsc(around(byte), escWild)),
          "[" + alone + "][" + around(byte) + "]")
          << byte << ", " << escWild;
    }
  }
}

TEST(ShellEscInTheShell, WhatIsLeftAlone_KeepsItsMeaning) {
  const EnvironmentGuard home("HOME", "/some/home");
  const ScratchDir dir;
  dir.write("a1b", "");
  dir.write("a2b", "");
  for (const char* pattern : {"a*b", "a?b", "a[12]b"}) {
    EXPECT_EQ(readByShell(dir.path(), shellEsc(pattern, 0)), "[a1b][a2b]") << pattern;
  }
  for (const int escWild : {0, 1}) {
    EXPECT_EQ(readByShell(dir.path(), shellEsc("a;pwd", escWild)), "[a]" + dir.path() + "\n");
    EXPECT_EQ(readByShell(dir.path(), shellEsc("a\npwd", escWild)), "[a]" + dir.path() + "\n");
    EXPECT_EQ(readByShell(dir.path(), shellEsc("~/x", escWild)), "[/some/home/x]");
    EXPECT_EQ(readByShell(dir.path(), shellEsc("a~b", escWild)), "[a~b]");
  }
}

}  // namespace
