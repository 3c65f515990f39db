#include "tools/outcome/pieces.h"

#include <charconv>
#include <cstring>

namespace outcome {

namespace {

constexpr std::string_view kTimeShape = "dddd/dd/dd dd:dd:dd ";
constexpr std::size_t kYearDigits = 4;
constexpr std::size_t kLeastPidWidth = 5;

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

bool hasShape(std::string_view bytes) {
  if (bytes.size() < kTimeShape.size()) return false;
  for (std::size_t at = 0; at < kTimeShape.size(); ++at) {
    if (kTimeShape[at] == 'd' ? !isDigit(bytes[at]) : bytes[at] != kTimeShape[at]) return false;
  }
  return true;
}

}  // namespace

Head readHead(std::string_view bytes) {
  Head head;
  if (!hasShape(bytes)) return head;
  std::size_t at = kTimeShape.size();
  const std::size_t first = at;
  while (at < bytes.size() && bytes[at] == ' ') ++at;
  const auto read = std::from_chars(bytes.data() + at, bytes.data() + bytes.size(), head.pid);
  const auto end = static_cast<std::size_t>(read.ptr - bytes.data());
  const bool isPid = read.ec == std::errc() && isDigit(bytes[at]) &&
                     end - first >= kLeastPidWidth &&
                     (at == first || end - first == kLeastPidWidth);
  if (!isPid || end >= bytes.size() || bytes[end] != ' ') return head;
  head.time = bytes.substr(0, kTimeShape.size() - 1);
  head.length = end + 1;
  return head;
}

std::size_t findPiece(std::string_view bytes) {
  const void* feed = std::memchr(bytes.data(), '\n', bytes.size());
  const std::size_t end =
      feed == nullptr ? bytes.size()
                      : static_cast<std::size_t>(static_cast<const char*>(feed) - bytes.data());
  // A head shows itself by the first slash of its date.
  std::size_t at = 0;
  while (const void* slash = std::memchr(bytes.data() + at, '/', end - at)) {
    at = static_cast<std::size_t>(static_cast<const char*>(slash) - bytes.data());
    if (at >= kYearDigits && readHead(bytes.substr(at - kYearDigits)).length > 0) {
      return at - kYearDigits;
    }
    ++at;
  }
  return end;
}

}  // namespace outcome
