// Formatting into texts, and texts that are taken for formats: the input is a number and a text.

#include "common/base/format.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fuzz/target.h"

namespace {

/// The judge of `bareFormat`: what printing the format gives.
std::string printedAs(const std::string& text) {
  std::string printed;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string pair = text.substr(i, 2);
    if (pair == "%%") ++i;
    if (pair == "%m") {
      ++i;
      printed += std::strerror(ENOENT);
    } else {
      printed += text[i];
    }
  }
  return printed;
}

void tryBareFormat(const std::string& text) {
  std::vector<char> fmt(text.size() * 2 + 1);
  bareFormat(text.c_str(), fmt.data());
  std::vector<char> printed((text.size() + 1) * std::strlen(std::strerror(ENOENT)) + 1);
  errno = ENOENT;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  const int length = std::snprintf(printed.data(), printed.size(), fmt.data());
#pragma GCC diagnostic pop
  demandEqual(std::string(printed.data()), printedAs(text), "a text prints as itself");
  demandEqual(length, static_cast<int>(std::strlen(printed.data())), "and as a whole");
}

}  // namespace

void tryInput(Input input) {
  const int number = input.number();
  const std::string text = input.longWord();
  demandEqual(format("%s", text.c_str()), text, "a text of any length stays whole");
  demandEqual(format("%d|%s%%", number, text.c_str()), std::to_string(number) + "|" + text + "%",
              "a format of several parts");
  const int width = number % 5000;
  demandEqual(format("%*s", width, ""), std::string(static_cast<std::size_t>(std::abs(width)), ' '),
              "a width either way");
  tryBareFormat(text);
}
