#include "common/common.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <list>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Text = std::string;
using Chars = const char*;
using List = std::list<Text>;
using Vector = std::vector<Text>;
using Map = std::map<Text, Text>;
using Counts = std::map<Text, int>;

/// Takes the address of the overload that is declared exactly as `Function`; without one the
/// program does not compile.
template <class Function>
bool isThere(Function* function) {
  return function != nullptr;
}

#define EXPECT_DECLARED(name, ...) EXPECT_TRUE(isThere<__VA_ARGS__>(&::name)) << #name

TEST(Declarations, CommandExecution_IsAsPublished) {
  EXPECT_DECLARED(s_popen, FILE * (Chars, int&, int&));
  EXPECT_DECLARED(s_pclose, int(FILE*, int, int));
  EXPECT_DECLARED(s_system, int(Chars));
  EXPECT_DECLARED(waitpid, int(Chars, int, int, int*, int));
  EXPECT_DECLARED(exitStatus, int(int));
  EXPECT_DECLARED(execGetLine, int(Chars, char*));
  EXPECT_DECLARED(execGetLines, int(List&, Chars, int, List*, int));
  EXPECT_DECLARED(execGetLinesTimeout, int(List&, Chars, int));
  EXPECT_DECLARED(count_RunningProcess, int(const Text&));
  EXPECT_DECLARED(getTerminalLineCount, int());
}

TEST(Declarations, GuardedRemoval_IsAsPublished) {
  EXPECT_DECLARED(getCanonicalPath, Text(Text));
  EXPECT_DECLARED(isAllowDelete, int(Text));
  EXPECT_DECLARED(removeFiles, int(Chars, int));
}

TEST(Declarations, Formatting_IsAsPublished) {
  EXPECT_DECLARED(C, Chars(Chars));
  EXPECT_DECLARED(C, Chars(const Text&));
  EXPECT_DECLARED(C, char*(Text&));
  EXPECT_DECLARED(format, Text(Chars, ...));
  EXPECT_DECLARED(format_va, Text(Chars, va_list));
  EXPECT_DECLARED(shellEsc, Text(Chars, int));
  EXPECT_DECLARED(shellEsc, Text(const Text&, int));
  EXPECT_DECLARED(quoteEsc, Text(Chars, char));
  EXPECT_DECLARED(quoteEsc, Text(Text, char));
}

TEST(Declarations, Paths_AreAsPublished) {
  EXPECT_DECLARED(eraseLastCRLF, int(Text&));
  EXPECT_DECLARED(eraseLastCRLF, int(char*));
  EXPECT_DECLARED(eraseLastSlash, int(char*));
  EXPECT_DECLARED(eraseLastSlash, Text(Chars));
  EXPECT_DECLARED(parentPath, Text(Chars));
  EXPECT_DECLARED(parentPath, Text(const Text&));
  EXPECT_DECLARED(__xpg_basename, Text(Chars, Text&));
  EXPECT_DECLARED(__xpg_basename, Text(const Text&, Text&));
  EXPECT_DECLARED(__xpg_basename, Text(Chars));
  EXPECT_DECLARED(__xpg_basename, Text(const Text&));
  EXPECT_DECLARED(retrieveExt, Text(Chars, Text&));
  EXPECT_DECLARED(retrieveExt, Text(Chars));
  EXPECT_DECLARED(retrieveName, Text(Chars, Text&));
  EXPECT_DECLARED(retrieveName, Text(Chars));
  EXPECT_DECLARED(isFullPath, int(Chars));
  EXPECT_DECLARED(isFullPath, int(const Text&));
  EXPECT_DECLARED(justifyPath, Text(Chars));
  EXPECT_DECLARED(justifyPath, Text(const Text&));
}

TEST(Declarations, Texts_AreAsPublished) {
  EXPECT_DECLARED(split, int(Chars, Chars, List&, int));
  EXPECT_DECLARED(split, int(Chars, Chars, Vector&, int));
  EXPECT_DECLARED(join, Text(const List&, Chars));
  EXPECT_DECLARED(join, Text(const Vector&, Chars));
  EXPECT_DECLARED(getEnvValue, Text(Chars));
  EXPECT_DECLARED(replaceEnvValue, Text(Chars));
  EXPECT_DECLARED(trim, void(char*));
  EXPECT_DECLARED(trim, char*(Text&));
  EXPECT_DECLARED(trimQuote, Text(Chars));
  EXPECT_DECLARED(getValue, char*(char*));
  EXPECT_DECLARED(splitKeyVal, int(Chars, Text&, Text&));
  EXPECT_DECLARED(conv2Bool, int(Chars));
  EXPECT_DECLARED(lookupString, Chars(const Map&, Chars));
  EXPECT_DECLARED(matchWild, int(Chars, Chars));
  EXPECT_DECLARED(hasWildCard, int(Chars));
  EXPECT_DECLARED(hasWildCard, int(const Text&));
  EXPECT_DECLARED(matchedString, Text(Chars, Chars));
  EXPECT_DECLARED(toLowerStr, void(char*));
  EXPECT_DECLARED(toLowerStr, Text(const Text&));
  EXPECT_DECLARED(compareRightNoCase, int(const Text&, const Text&, int));
  EXPECT_DECLARED(isNumeric, int(Chars));
  EXPECT_DECLARED(isNumeric, int(const Text&));
  EXPECT_DECLARED(isAlpha, int(Chars));
  EXPECT_DECLARED(isAlpha, int(const Text&));
  EXPECT_DECLARED(replaceString, int(Text&, Text, Text));
  EXPECT_DECLARED(strlcpy, char*(char*, Chars, unsigned));
  EXPECT_DECLARED(logList, int(Text, List&));
  EXPECT_DECLARED(atOnce, int(Text, Counts*, int));
  EXPECT_TRUE((std::is_same_v<decltype(mapOnce), Counts>));
}

TEST(Declarations, FileSystemAndHost_AreAsPublished) {
  EXPECT_DECLARED(isFile, int(Chars));
  EXPECT_DECLARED(isFile, int(const Text&));
  EXPECT_DECLARED(isDir, int(Chars));
  EXPECT_DECLARED(isDir, int(const Text&));
  EXPECT_DECLARED(getFileSize, std::int64_t(Chars));
  EXPECT_DECLARED(makeDir, int(Chars, int));
  EXPECT_DECLARED(makeDir, int(const Text&, int));
  EXPECT_DECLARED(getHostname, Text());
  EXPECT_DECLARED(getDomainname, Text());
  EXPECT_DECLARED(getCwd, Text());
  EXPECT_DECLARED(getFileList, int(List&, Chars, int, int, int));
  EXPECT_DECLARED(getFileList, int(Vector&, Chars, int, int, int));
  EXPECT_DECLARED(getDirSize, int(Chars));
  EXPECT_DECLARED(getDirFileSize, int(const Text&, int&, int));
  EXPECT_DECLARED(getTotalFileSize, std::int64_t(const List&, int));
  EXPECT_DECLARED(getFreeSize, int(Chars));
  EXPECT_DECLARED(getFileDate, int(const Text&, Text&));
  EXPECT_DECLARED(isAccessible, int(Chars, int));
  EXPECT_DECLARED(isExecutable, int(Chars));
  EXPECT_DECLARED(isExecutable, int(const Text&));
  EXPECT_DECLARED(isReadable, int(Chars));
  EXPECT_DECLARED(isReadable, int(const Text&));
  EXPECT_DECLARED(isAdmin, int());
  EXPECT_DECLARED(acquireSamePrefix, Text(List&));
  EXPECT_DECLARED(dupDir, int(Chars, Chars));
  EXPECT_DECLARED(getInstallRoot, Text(int));
}

TEST(Declarations, EncodingAndTime_AreAsPublished) {
  EXPECT_DECLARED(getEncoding, Text & (Text&));
  EXPECT_DECLARED(check_EUCMultiByteLength, int(const unsigned int*, int));
  EXPECT_DECLARED(check_UTF8MultiByteLength, int(const unsigned int*, int));
  EXPECT_DECLARED(check_SJISMultiByteLength, int(const unsigned int*, int));
  EXPECT_DECLARED(getCharactorLength, int(Chars, int));
  EXPECT_DECLARED(getStrPatting, char*(const Text&, int, int, char*));
  EXPECT_DECLARED(getStrPattingTail, int(Text&, int, int));
  EXPECT_DECLARED(convertTimeToStr, int(int, int&, int&, int, int));
  EXPECT_DECLARED(convTimeValue, int(char*));
  EXPECT_DECLARED(getUTCOffset, int(time_t));
  EXPECT_DECLARED(getTimeStr, time_t(Text&, time_t));
  EXPECT_DECLARED(getTimeStr, Text(time_t));
  EXPECT_DECLARED(convDate, int(Chars, char*));
  EXPECT_DECLARED(commas, Chars(long long, Text&));
  EXPECT_DECLARED(KB, int(int));
  EXPECT_DECLARED(elapsedTime, double());
  EXPECT_DECLARED(countLines, int(Chars));
  EXPECT_DECLARED(checkReceiveData, int(int&, int));
  EXPECT_DECLARED(getch, int());
}

}  // namespace
