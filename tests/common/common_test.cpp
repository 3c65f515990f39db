#include "common/common.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <initializer_list>
#include <list>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

// Every function of the library is declared as it was published: its users are built apart from it.

namespace {

using Text = std::string;
using Chars = const char*;
using List = std::list<Text>;
using Vector = std::vector<Text>;
using Map = std::map<Text, Text>;
using Counts = std::map<Text, int>;

/// Takes the addresses of the overloads that are declared exactly as `Function`; where there is
/// none the file does not compile.
template <class Function>
constexpr bool areThere(std::initializer_list<Function*> /*functions*/) {
  return true;
}

static_assert(areThere<FILE*(Chars, int&, int&)>({::s_popen}));
static_assert(areThere<int(FILE*, int, int)>({::s_pclose}));
static_assert(areThere<int(Chars)>({::s_system, ::isFullPath, ::conv2Bool, ::hasWildCard,
                                    ::isNumeric, ::isAlpha, ::isFile, ::isDir, ::getDirSize,
                                    ::getFreeSize, ::isExecutable, ::isReadable, ::countLines}));
static_assert(areThere<int(Chars, int, int, int*, int)>({::waitpid}));
static_assert(areThere<int(int)>({::exitStatus, ::KB}));
static_assert(areThere<int(Chars, char*)>({::execGetLine, ::convDate}));
static_assert(areThere<int(List&, Chars, int, List*, int)>({::execGetLines}));
static_assert(areThere<int(List&, Chars, int)>({::execGetLinesTimeout}));
static_assert(areThere<int(const Text&)>({::count_RunningProcess, ::isFullPath, ::hasWildCard,
                                          ::isNumeric, ::isAlpha, ::isFile, ::isDir, ::isExecutable,
                                          ::isReadable}));
static_assert(areThere<int()>({::getTerminalLineCount, ::isAdmin, ::getch}));
static_assert(areThere<Text(Text)>({::getCanonicalPath}));
static_assert(areThere<int(Text)>({::isAllowDelete}));
static_assert(areThere<int(Chars, int)>({::removeFiles, ::makeDir, ::isAccessible,
                                         ::getCharactorLength}));
static_assert(areThere<Chars(Chars)>({::C}));
static_assert(areThere<Chars(const Text&)>({::C}));
static_assert(areThere<char*(Text&)>({::C, ::trim}));
static_assert(areThere<Text(Chars, ...)>({::format}));
static_assert(areThere<Text(Chars, va_list)>({::format_va}));
static_assert(areThere<Text(Chars, int)>({::shellEsc}));
static_assert(areThere<Text(const Text&, int)>({::shellEsc}));
static_assert(areThere<Text(Chars, char)>({::quoteEsc}));
static_assert(areThere<Text(Text, char)>({::quoteEsc}));
static_assert(areThere<int(Text&)>({::eraseLastCRLF}));
static_assert(areThere<int(char*)>({::eraseLastCRLF, ::eraseLastSlash, ::convTimeValue}));
static_assert(areThere<Text(Chars)>({::eraseLastSlash, ::parentPath, ::__xpg_basename,
                                     ::retrieveExt, ::retrieveName, ::justifyPath, ::getEnvValue,
                                     ::replaceEnvValue, ::trimQuote}));
static_assert(areThere<Text(const Text&)>({::parentPath, ::__xpg_basename, ::justifyPath,
                                           ::toLowerStr}));
static_assert(areThere<Text(Chars, Text&)>({::__xpg_basename, ::retrieveExt, ::retrieveName}));
static_assert(areThere<Text(const Text&, Text&)>({::__xpg_basename}));
static_assert(areThere<int(Chars, Chars, List&, int)>({::split}));
static_assert(areThere<int(Chars, Chars, Vector&, int)>({::split}));
static_assert(areThere<Text(const List&, Chars)>({::join}));
static_assert(areThere<Text(const Vector&, Chars)>({::join}));
static_assert(areThere<void(char*)>({::trim, ::toLowerStr}));
static_assert(areThere<char*(char*)>({::getValue}));
static_assert(areThere<int(Chars, Text&, Text&)>({::splitKeyVal}));
static_assert(areThere<Chars(const Map&, Chars)>({::lookupString}));
static_assert(areThere<int(Chars, Chars)>({::matchWild, ::dupDir}));
static_assert(areThere<Text(Chars, Chars)>({::matchedString}));
static_assert(areThere<int(const Text&, const Text&, int)>({::compareRightNoCase}));
static_assert(areThere<int(Text&, Text, Text)>({::replaceString}));
static_assert(areThere<char*(char*, Chars, unsigned)>({::strlcpy}));
static_assert(areThere<int(Text, List&)>({::logList}));
static_assert(areThere<int(Text, Counts*, int)>({::atOnce}));
static_assert(areThere<std::int64_t(Chars)>({::getFileSize}));
static_assert(areThere<int(const Text&, int)>({::makeDir}));
static_assert(areThere<Text()>({::getHostname, ::getDomainname, ::getCwd}));
static_assert(areThere<int(List&, Chars, int, int, int)>({::getFileList}));
static_assert(areThere<int(Vector&, Chars, int, int, int)>({::getFileList}));
static_assert(areThere<int(const Text&, int&, int)>({::getDirFileSize}));
static_assert(areThere<std::int64_t(const List&, int)>({::getTotalFileSize}));
static_assert(areThere<int(const Text&, Text&)>({::getFileDate}));
static_assert(areThere<Text(List&)>({::acquireSamePrefix}));
static_assert(areThere<Text(int)>({::getInstallRoot}));
static_assert(areThere<Text&(Text&)>({::getEncoding}));
static_assert(areThere<int(const unsigned int*, int)>(
    {::check_EUCMultiByteLength, ::check_UTF8MultiByteLength, ::check_SJISMultiByteLength}));
static_assert(areThere<char*(const Text&, int, int, char*)>({::getStrPatting}));
static_assert(areThere<int(Text&, int, int)>({::getStrPattingTail}));
static_assert(areThere<int(int, int&, int&, int, int)>({::convertTimeToStr}));
static_assert(areThere<int(time_t)>({::getUTCOffset}));
static_assert(areThere<time_t(Text&, time_t)>({::getTimeStr}));
static_assert(areThere<Text(time_t)>({::getTimeStr}));
static_assert(areThere<Chars(long long, Text&)>({::commas}));
static_assert(areThere<double()>({::elapsedTime}));
static_assert(areThere<int(int&, int)>({::checkReceiveData}));
static_assert(std::is_same_v<decltype(mapOnce), Counts>);

}  // namespace
