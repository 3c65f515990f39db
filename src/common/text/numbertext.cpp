#include "common/text/numbertext.h"

#include <cstdlib>

#include "common/base/format.h"

const char* commas(long long value, std::string& out) {
  out = format("%lld", value);
  for (std::size_t places = 3; places < out.size(); places += 4) {
    out.insert(out.size() - places, 1, ',');
  }
  return C(out);
}

int KB(int bytes) {
  if (bytes > 0 && bytes < 1024) return 1;
  return bytes / 1024;
}

int toInt(const char* text) {
  return text == nullptr ? 0 : static_cast<int>(std::strtol(text, nullptr, 10));
}

int toInt(const std::string& text) { return toInt(C(text)); }
