// References to environment variables: the input is the text.

#include "common/text/environment.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "fuzz/target.h"

namespace {

void setVariables() {
  ::setenv("A", "1", 1);
  ::setenv("A1", "$A%A%", 1);  // a value is not expanded again
  ::setenv("A_B", "%", 1);
  ::setenv("EMPTY", "", 1);
  ::setenv("a b", "a blank in its name", 1);
  ::setenv("\xc6\xfc", "\xcb\xdc", 1);
}

std::string valueOf(const std::string& name) {
  const std::string beginning = name + "=";
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (std::strncmp(*entry, beginning.c_str(), beginning.size()) == 0) {
      return *entry + beginning.size();
    }
  }
  return "";
}

/// The judge: one byte after the other, with a token that is pending and the byte that began it.
class Scanner {
 public:
  std::string expand(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
      if (take(text[i])) ++i;
    }
    if (m_mode == '$') endDollar();
    return m_mode == '%' ? m_result + m_token : m_result;
  }

 private:
  /// False when the byte ended a token and is to be looked at once more.
  bool take(char byte) {
    if (m_mode == '$') {
      const bool isName =
          byte == '_' || (byte > 0 && std::isalnum(static_cast<unsigned char>(byte)) != 0);
      if (isName) {
        m_token += byte;
      } else {
        endDollar();
      }
      return isName;
    }
    if (m_mode == '%') {
      takeInPercent(byte);
    } else if (byte == '$' || byte == '%') {
      m_mode = byte;
      m_token = byte;
    } else {
      m_result += byte;
    }
    return true;
  }

  void takeInPercent(char byte) {
    if (byte != '%') {
      m_token += byte;
      return;
    }
    m_result += m_token == "%" ? "%" : valueOf(m_token.substr(1));
    m_mode = 0;
  }

  void endDollar() {
    m_result += m_token == "$" ? "$" : valueOf(m_token.substr(1));
    m_mode = 0;
  }

  std::string m_result;
  std::string m_token;
  char m_mode = 0;
};

}  // namespace

void tryInput(Input input) {
  static const bool isSet = (setVariables(), true);
  demand(isSet, "the variables are set");
  const std::string text = input.word();
  demandEqual(replaceEnvValue(exactCopy(text + '\0').data()), Scanner().expand(text),
              "references are replaced by their values");
  demandEqual(getEnvValue(text.c_str()), text.empty() ? "" : valueOf(text), "a variable's value");
}
