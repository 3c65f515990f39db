#include "common/common.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
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

/// Takes the address of the overload that is declared exactly as `Function`; without one the file
/// does not compile.
template <class Function>
constexpr bool isThere(Function* /*function*/) {
  return true;
}

// commands
static_assert(isThere<FILE*(Chars, int&, int&)>(&::s_popen));
static_assert(isThere<int(FILE*, int, int)>(&::s_pclose));
static_assert(isThere<int(Chars)>(&::s_system));
static_assert(isThere<int(Chars, int, int, int*, int)>(&::waitpid));
static_assert(isThere<int(int)>(&::exitStatus));
static_assert(isThere<int(Chars, char*)>(&::execGetLine));
static_assert(isThere<int(List&, Chars, int, List*, int)>(&::execGetLines));
static_assert(isThere<int(List&, Chars, int)>(&::execGetLinesTimeout));
static_assert(isThere<int(const Text&)>(&::count_RunningProcess));
static_assert(isThere<int()>(&::getTerminalLineCount));

// guarded removal
static_assert(isThere<Text(Text)>(&::getCanonicalPath));
static_assert(isThere<int(Text)>(&::isAllowDelete));
static_assert(isThere<int(Chars, int)>(&::removeFiles));

// formatting
static_assert(isThere<Chars(Chars)>(&::C));
static_assert(isThere<Chars(const Text&)>(&::C));
static_assert(isThere<char*(Text&)>(&::C));
static_assert(isThere<Text(Chars, ...)>(&::format));
static_assert(isThere<Text(Chars, va_list)>(&::format_va));
static_assert(isThere<Text(Chars, int)>(&::shellEsc));
static_assert(isThere<Text(const Text&, int)>(&::shellEsc));
static_assert(isThere<Text(Chars, char)>(&::quoteEsc));
static_assert(isThere<Text(Text, char)>(&::quoteEsc));

// paths
static_assert(isThere<int(Text&)>(&::eraseLastCRLF));
static_assert(isThere<int(char*)>(&::eraseLastCRLF));
static_assert(isThere<int(char*)>(&::eraseLastSlash));
static_assert(isThere<Text(Chars)>(&::eraseLastSlash));
static_assert(isThere<Text(Chars)>(&::parentPath));
static_assert(isThere<Text(const Text&)>(&::parentPath));
static_assert(isThere<Text(Chars, Text&)>(&::__xpg_basename));
static_assert(isThere<Text(const Text&, Text&)>(&::__xpg_basename));
static_assert(isThere<Text(Chars)>(&::__xpg_basename));
static_assert(isThere<Text(const Text&)>(&::__xpg_basename));
static_assert(isThere<Text(Chars, Text&)>(&::retrieveExt));
static_assert(isThere<Text(Chars)>(&::retrieveExt));
static_assert(isThere<Text(Chars, Text&)>(&::retrieveName));
static_assert(isThere<Text(Chars)>(&::retrieveName));
static_assert(isThere<int(Chars)>(&::isFullPath));
static_assert(isThere<int(const Text&)>(&::isFullPath));
static_assert(isThere<Text(Chars)>(&::justifyPath));
static_assert(isThere<Text(const Text&)>(&::justifyPath));

// texts
static_assert(isThere<int(Chars, Chars, List&, int)>(&::split));
static_assert(isThere<int(Chars, Chars, Vector&, int)>(&::split));
static_assert(isThere<Text(const List&, Chars)>(&::join));
static_assert(isThere<Text(const Vector&, Chars)>(&::join));
static_assert(isThere<Text(Chars)>(&::getEnvValue));
static_assert(isThere<Text(Chars)>(&::replaceEnvValue));
static_assert(isThere<void(char*)>(&::trim));
static_assert(isThere<char*(Text&)>(&::trim));
static_assert(isThere<Text(Chars)>(&::trimQuote));
static_assert(isThere<char*(char*)>(&::getValue));
static_assert(isThere<int(Chars, Text&, Text&)>(&::splitKeyVal));
static_assert(isThere<int(Chars)>(&::conv2Bool));
static_assert(isThere<Chars(const Map&, Chars)>(&::lookupString));
static_assert(isThere<int(Chars, Chars)>(&::matchWild));
static_assert(isThere<int(Chars)>(&::hasWildCard));
static_assert(isThere<int(const Text&)>(&::hasWildCard));
static_assert(isThere<Text(Chars, Chars)>(&::matchedString));
static_assert(isThere<void(char*)>(&::toLowerStr));
static_assert(isThere<Text(const Text&)>(&::toLowerStr));
static_assert(isThere<int(const Text&, const Text&, int)>(&::compareRightNoCase));
static_assert(isThere<int(Chars)>(&::isNumeric));
static_assert(isThere<int(const Text&)>(&::isNumeric));
static_assert(isThere<int(Chars)>(&::isAlpha));
static_assert(isThere<int(const Text&)>(&::isAlpha));
static_assert(isThere<int(Text&, Text, Text)>(&::replaceString));
static_assert(isThere<char*(char*, Chars, unsigned)>(&::strlcpy));
static_assert(isThere<int(Text, List&)>(&::logList));
static_assert(isThere<int(Text, Counts*, int)>(&::atOnce));
static_assert(std::is_same_v<decltype(mapOnce), Counts>);

// the file system and the host
static_assert(isThere<int(Chars)>(&::isFile));
static_assert(isThere<int(const Text&)>(&::isFile));
static_assert(isThere<int(Chars)>(&::isDir));
static_assert(isThere<int(const Text&)>(&::isDir));
static_assert(isThere<std::int64_t(Chars)>(&::getFileSize));
static_assert(isThere<int(Chars, int)>(&::makeDir));
static_assert(isThere<int(const Text&, int)>(&::makeDir));
static_assert(isThere<Text()>(&::getHostname));
static_assert(isThere<Text()>(&::getDomainname));
static_assert(isThere<Text()>(&::getCwd));
static_assert(isThere<int(List&, Chars, int, int, int)>(&::getFileList));
static_assert(isThere<int(Vector&, Chars, int, int, int)>(&::getFileList));
static_assert(isThere<int(Chars)>(&::getDirSize));
static_assert(isThere<int(const Text&, int&, int)>(&::getDirFileSize));
static_assert(isThere<std::int64_t(const List&, int)>(&::getTotalFileSize));
static_assert(isThere<int(Chars)>(&::getFreeSize));
static_assert(isThere<int(const Text&, Text&)>(&::getFileDate));
static_assert(isThere<int(Chars, int)>(&::isAccessible));
static_assert(isThere<int(Chars)>(&::isExecutable));
static_assert(isThere<int(const Text&)>(&::isExecutable));
static_assert(isThere<int(Chars)>(&::isReadable));
static_assert(isThere<int(const Text&)>(&::isReadable));
static_assert(isThere<int()>(&::isAdmin));
static_assert(isThere<Text(List&)>(&::acquireSamePrefix));
static_assert(isThere<int(Chars, Chars)>(&::dupDir));
static_assert(isThere<Text(int)>(&::getInstallRoot));

// encodings and times
static_assert(isThere<Text&(Text&)>(&::getEncoding));
static_assert(isThere<int(const unsigned int*, int)>(&::check_EUCMultiByteLength));
static_assert(isThere<int(const unsigned int*, int)>(&::check_UTF8MultiByteLength));
static_assert(isThere<int(const unsigned int*, int)>(&::check_SJISMultiByteLength));
static_assert(isThere<int(Chars, int)>(&::getCharactorLength));
static_assert(isThere<char*(const Text&, int, int, char*)>(&::getStrPatting));
static_assert(isThere<int(Text&, int, int)>(&::getStrPattingTail));
static_assert(isThere<int(int, int&, int&, int, int)>(&::convertTimeToStr));
static_assert(isThere<int(char*)>(&::convTimeValue));
static_assert(isThere<int(time_t)>(&::getUTCOffset));
static_assert(isThere<time_t(Text&, time_t)>(&::getTimeStr));
static_assert(isThere<Text(time_t)>(&::getTimeStr));
static_assert(isThere<int(Chars, char*)>(&::convDate));
static_assert(isThere<Chars(long long, Text&)>(&::commas));
static_assert(isThere<int(int)>(&::KB));
static_assert(isThere<double()>(&::elapsedTime));
static_assert(isThere<int(Chars)>(&::countLines));
static_assert(isThere<int(int&, int)>(&::checkReceiveData));
static_assert(isThere<int()>(&::getch));

}  // namespace
