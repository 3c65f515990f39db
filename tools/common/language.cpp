#include "tools/common/language.h"

#include <langinfo.h>
#include <libintl.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/common/converter.h"

namespace {

constexpr char kDomain[] = "tanexics";
constexpr char kSystemDomain[] = "libc";  // the reasons of strerror(3)
constexpr char kUtf8[] = "UTF-8";

/// What is spoken; the process has one language, as it has one locale.
struct Language {
  bool isTranslated = false;
  std::string encoding;  // what the caller reads; empty: UTF-8
};

Language& spoken() {
  static Language language;
  return language;
}

/// The folder that catalogues are taken from; empty where that cannot be known.
std::string catalogueFolder(const std::string& installed) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
  if (error) return "";
  const fs::path beside = own / "share" / "locale";
  return fs::is_directory(beside, error) ? beside : own / installed;
}

/// The name of the character set of the caller's locale; that of none is "ANSI_X3.4-1968".
std::string callersEncoding() {
  std::setlocale(LC_CTYPE, "");
  std::string name = ::nl_langinfo(CODESET);
  std::setlocale(LC_CTYPE, "C");
  return name;
}

}  // namespace

void speakAsCaller(const std::string& installed) {
  const char* chosen = std::getenv("LANGUAGE");
  if (chosen != nullptr && std::strchr(chosen, '/') != nullptr) ::unsetenv("LANGUAGE");
  const std::string folder = catalogueFolder(installed);
  if (folder.empty() || std::setlocale(LC_MESSAGES, "") == nullptr) return;
  ::bindtextdomain(kDomain, folder.c_str());
  ::bind_textdomain_codeset(kDomain, kUtf8);
  ::bind_textdomain_codeset(kSystemDomain, kUtf8);
  // The head of each catalogue names its language in the characters of that language.
  const std::string head = ::dgettext(kDomain, "");
  const std::string encoding = callersEncoding();
  std::string_view unreadable = head;
  Converter(encoding.c_str(), kUtf8).takeConvertible(unreadable);
  if (head.empty() || !unreadable.empty()) {
    speakEnglish();
    return;
  }
  spoken() = {true, encoding == kUtf8 ? "" : encoding};
}

void speakEnglish() {
  std::setlocale(LC_MESSAGES, "C");
  spoken() = {};
}

bool isTranslated() { return spoken().isTranslated; }

std::string asCallerReads(std::string_view text) {
  const std::string& encoding = spoken().encoding;
  return encoding.empty() ? std::string(text) : convertedOrEscaped(text, encoding.c_str(), kUtf8);
}

std::string filled(const char* format, std::initializer_list<std::string_view> values) {
  std::string text;
  std::size_t next = 0;
  const auto add = [&](std::size_t index) {
    if (index < values.size()) text += *(values.begin() + index);
  };
  for (std::string_view rest = format; !rest.empty();) {
    const std::size_t at = std::min(rest.find('%'), rest.size());
    text += rest.substr(0, at);
    rest.remove_prefix(at);
    if (rest.substr(0, 2) == "%s") {
      add(next++);
      rest.remove_prefix(2);
    } else if (rest.size() >= 4 && rest[1] >= '1' && rest[1] <= '9' && rest.substr(2, 2) == "$s") {
      add(static_cast<std::size_t>(rest[1] - '1'));
      rest.remove_prefix(4);
    } else if (!rest.empty()) {
      text += '%';
      rest.remove_prefix(rest.substr(0, 2) == "%%" ? 2 : 1);
    }
  }
  return text;
}

const char* translation(const char* message) {
  return isTranslated() ? ::dgettext(kDomain, message) : message;
}

std::string translated(const char* message, std::initializer_list<std::string_view> values) {
  return filled(translation(message), values);
}

std::string translatedCount(const char* one, const char* many, std::uint64_t number,
                            std::initializer_list<std::string_view> values) {
  const char* message = number == 1 ? one : many;
  // A form depends on the last digits: on 32-bit systems the library takes no more of them.
  constexpr std::uint64_t kTurn = 1000000;
  const auto last = static_cast<unsigned long>(number < kTurn ? number : kTurn + number % kTurn);
  return filled(isTranslated() ? ::dngettext(kDomain, one, many, last) : message, values);
}
