#include "common/text/numbertext.h"

#include "common/base/assertion.h"
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

int countLines(const char* text) {
  if (text == nullptr) assertionFailed(2176, "t != __null");
  int count = 0;
  for (const char* byte = text; *byte != '\0'; ++byte) {
    // Every line feed ends a line, and so does the end of a text that does not end with one.
    if (*byte == '\n' || byte[1] == '\0') ++count;
  }
  return count;
}
