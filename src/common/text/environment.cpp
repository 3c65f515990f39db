#include "common/text/environment.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "common/base/format.h"
#include "common/base/pathparts.h"
#include "log/loglines.h"

namespace {

bool isNameByte(char byte) {
  return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '_';
}

/// Expands the reference of the form "$NAME" that `text` begins with; returns what follows it.
const char* expandDollar(const char* text, std::string& expanded) {
  const char* end = text + 1;
  while (isNameByte(*end)) ++end;
  const std::string name(text + 1, end);
  expanded += name.empty() ? "$" : getEnvValue(C(name));
  return end;
}

/// The same for the form "%NAME%"; without a closing "%" the rest of the text is no reference.
const char* expandPercent(const char* text, std::string& expanded) {
  const char* end = std::strchr(text + 1, '%');
  if (end == nullptr) {
    expanded += text;
    return text + std::strlen(text);
  }
  const std::string name(text + 1, end);
  expanded += name.empty() ? "%" : getEnvValue(C(name));
  return end + 1;
}

}  // namespace

std::string getEnvValue(const char* name) {
  if (name == nullptr) {
    invalidParamAt("common", 602);
    return "";
  }
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::string replaceEnvValue(const char* text) {
  std::string expanded;
  while (text != nullptr && *text != '\0') {
    if (*text == '$') {
      text = expandDollar(text, expanded);
    } else if (*text == '%') {
      text = expandPercent(text, expanded);
    } else {
      expanded += *text++;
    }
  }
  return expanded;
}

std::string getInstallRoot(int withSlash) {
  std::string installRoot = eraseLastSlash(C(getEnvValue("PKG_INSTALL_ROOT")));
  if (withSlash != 0) installRoot += '/';
  return installRoot;
}
