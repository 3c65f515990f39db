#include "common/base/number.h"

#include <cstdlib>

#include "common/base/format.h"

int toInt(const char* text) {
  return text == nullptr ? 0 : static_cast<int>(std::strtol(text, nullptr, 10));
}

int toInt(const std::string& text) { return toInt(C(text)); }
