#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <functional>
#include <list>
#include <string>
#include <vector>

#include "common/common.h"
#include "support/actionlog.h"
#include "support/childrun.h"
#include "support/environmentguard.h"

namespace {

using List = std::list<std::string>;
using Texts = std::vector<std::string>;

// For the overload that takes characters.
constexpr const char* kNull = nullptr;
constexpr char* kNullBuffer = nullptr;

/// What every function of the library makes of a null argument, a row for each.
class NullArguments : public testing::Test {
 protected:
  /// The call before gave `result`, and logged "invalid param" at this position.
  template <class Result, class Expected>
  void at(int position, const Result& result, const Expected& expected) {
    expect({"[I](common:" + std::to_string(position) + "):invalid param"}, result, expected);
  }

  /// It logged nothing.
  template <class Result, class Expected>
  void silent(const char* call, const Result& result, const Expected& expected) {
    SCOPED_TRACE(call);
    expect({}, result, expected);
  }

  template <class Result, class Expected>
  void expect(const Texts& logged, const Result& result, const Expected& expected) {
    EXPECT_EQ(result, expected) << testing::PrintToString(logged);
    EXPECT_EQ(log.take(), logged);
  }

  CapturedLog log{CapturedLog::Level::kTrace};
  List list = {"left over"};
  Texts vector = {"left over"};
  std::string text = "left over";
  std::string other = "left over";
};

TEST_F(NullArguments, OfTexts_AreLoggedAtTheirPositions) {
  at(335, trimQuote(kNull), "");
  at(412, matchedString(kNull, "a"), "");
  at(412, matchedString("a", kNull), "");
  at(412, matchedString(kNull, kNull), "");
  at(557, splitKeyVal(kNull, text, other), 0);
  EXPECT_EQ(text + other, "");
  at(583, matchWild(kNull, "a"), 0);
  at(583, matchWild("*", kNull), 0);
  at(583, matchWild(kNull, kNull), 0);
  at(602, getEnvValue(kNull), "");
  at(790, isAlpha(kNull), 0);
  at(819, isNumeric(kNull), 0);
  at(961, std::string(lookupString({{"", "of the empty key"}}, kNull)), "");
  at(1060, conv2Bool(kNull), 0);
  at(1525, eraseLastCRLF(kNullBuffer), -1);
  at(2469, join(List({"a", "b"}), kNull), "");
  at(2493, join(Texts({"a", "b"}), kNull), "");
  at(2748, split(kNull, "/", list, 3), 0);
  EXPECT_EQ(list, List());
  at(2812, split(kNull, "/", vector, 3), 0);
  EXPECT_EQ(vector, Texts());
}

TEST_F(NullArguments, OfFiles_AreLoggedAtTheirPositions) {
  at(362, dupDir(kNull, "/tmp"), 0);
  at(362, dupDir("/tmp", kNull), 0);
  at(362, dupDir(kNull, kNull), 0);
  at(511, removeFiles(kNull, 1), -1);
  at(754, justifyPath(kNull), "");
  at(870, isFullPath(kNull), 0);
  at(1271, isFile(kNull), 0);
  expect({"get file size error((null),Bad address)"}, getFileSize(kNull), -1);
  at(2519, getFileList(list, kNull, 1, 1, 0), -1);
  EXPECT_EQ(list, List({"left over"}));
  at(2599, getFileList(vector, kNull, 1, 1, 0), -1);
  EXPECT_EQ(vector, Texts({"left over"}));
}

TEST_F(NullArguments, OfCommands_AreLoggedAtTheirPositionsAndChangeNothing) {
  List errors = {"left over"};
  at(1341, execGetLines(list, kNull, -1, &errors, -1), -1);
  EXPECT_EQ(errors, List({"left over"}));
  at(2951, execGetLinesTimeout(list, kNull, 5), -1);
  EXPECT_EQ(list, List({"left over"}));
}

TEST_F(NullArguments, OfPermissions_AreLoggedWithTheMode) {
  const std::string logged = "[I](common:1000):filename is NULL , mode=";
  expect({logged + "00000000"}, isAccessible(kNull, 0), 0);
  expect({logged + "7fffffff"}, isAccessible(kNull, INT_MAX), 0);
  expect({logged + "ffffffff"}, isAccessible(kNull, -1), 0);
  expect({logged + "00000001"}, isExecutable(kNull), 0);
  expect({logged + "00000004"}, isReadable(kNull), 0);
}

TEST_F(NullArguments, OfOtherFunctions_AreNotLogged) {
  silent("toLowerStr", (toLowerStr(kNullBuffer), 0), 0);
  silent("trim", (trim(kNullBuffer), 0), 0);
  silent("quoteEsc", quoteEsc(kNull, '"'), "");
  silent("shellEsc", shellEsc(kNull, 1), "");
  silent("getValue", std::string(getValue(nullptr)), "");
  silent("replaceEnvValue", replaceEnvValue(kNull), "");
  silent("hasWildCard", hasWildCard(kNull), 0);
  silent("toInt", toInt(kNull), 0);
  silent("split", split("a", kNull, list, 3), 0);
  EXPECT_EQ(list, List());
  silent("split", split("a", kNull, vector, 3), 0);
  EXPECT_EQ(vector, Texts());
  silent("convTimeValue", convTimeValue(nullptr), -1);
  char date[17] = "left over";
  silent("convDate", convDate(kNull, date), 0);
  EXPECT_STREQ(date, "left over");
  silent("convDate", convDate("202611151200", nullptr), 0);
  silent("check_EUCMultiByteLength", check_EUCMultiByteLength(nullptr, 5), 0);
  silent("check_UTF8MultiByteLength", check_UTF8MultiByteLength(nullptr, 5), 0);
  silent("check_SJISMultiByteLength", check_SJISMultiByteLength(nullptr, 5), 0);
  for (const char* encoding : {"C", "ja", "ja_JP.SJIS", "ja_JP.UTF-8"}) {
    const EnvironmentGuard lang("LANG", encoding);
    silent("getCharactorLength", getCharactorLength(nullptr, 3), 0);
  }
  silent("getStrPatting", getStrPatting("ab", 2, 2, nullptr), kNullBuffer);
  silent("isDir", isDir(kNull), 0);
  silent("makeDir", makeDir(kNull, 1), -1);
  silent("getDirSize", getDirSize(kNull), -1);
  silent("getFreeSize", getFreeSize(kNull), -1);
  silent("execGetLine", execGetLine(kNull, date), -1);
  EXPECT_STREQ(date, "left over");
}

/// `body` must end its process by abort(3), after the process id and this condition.
void expectAssertion(const std::string& condition, const std::function<void()>& body) {
  const ChildResult child = runInChild([&body] {
    const rlimit none = {0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    std::printf("P=%d", static_cast<int>(::getpid()));
    std::fflush(stdout);
    body();
    return 0;
  });
  EXPECT_EQ(child.signal(), SIGABRT);
  EXPECT_EQ(child.err,
            "*** assertion failed," + child.out + "\n*** common.cpp:" + condition + "\n");
}

TEST_F(NullArguments, ThatLeaveNothingSensibleToAnswer_EndTheProcessWithAnAssertion) {
  char dst[] = "###";
  expectAssertion("19(dst != __null && src != __null)", [] { ::strlcpy(nullptr, "abc", 3U); });
  expectAssertion("19(dst != __null && src != __null)", [&] { ::strlcpy(dst, nullptr, 3U); });
  expectAssertion("19(dst != __null && src != __null)", [] { ::strlcpy(nullptr, nullptr, 0U); });
  expectAssertion("2176(t != __null)", [] { countLines(nullptr); });
  expectAssertion("1491(file != __null)", [] { waitpid(nullptr, 1445, 1, nullptr, 0); });
  EXPECT_EQ(log.bytes(), "");
}

}  // namespace
