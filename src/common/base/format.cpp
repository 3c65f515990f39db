#include "common/base/format.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::size_t kFirstBufferBytes = 1024;

struct FreeDeleter {
  void operator()(char* memory) const { std::free(memory); }
};
using HeapText = std::unique_ptr<char, FreeDeleter>;

/// vsnprintf(3) on an argument list that stays as it was.
__attribute__((format(printf, 3, 0))) int formatInto(char* buffer, std::size_t size,
                                                     const char* fmt, va_list args) {
  va_list attempt;
  va_copy(attempt, args);
  const int length = std::vsnprintf(buffer, size, fmt, attempt);
  va_end(attempt);
  return length;
}

}  // namespace

std::string format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  std::string text = format_va(fmt, args);
  va_end(args);
  return text;
}

std::string format_va(const char* fmt, va_list args) {
  if (fmt == nullptr) return "";
  char first[kFirstBufferBytes];
  first[0] = '\0';
  std::size_t size = sizeof first;
  const int formatted = formatInto(first, size, fmt, args);
  if (formatted < 0 || static_cast<std::size_t>(formatted) < size) return first;

  // The buffer doubles until the text fits, so that a failed growth cuts the text at the largest
  // buffer that was to be had. The length is known by now: only the last buffer need be filled.
  const std::size_t length = static_cast<std::size_t>(formatted);
  HeapText heap;
  while (size <= length) {
    char* grown = static_cast<char*>(std::realloc(heap.get(), size * 2 + 1));
    if (grown == nullptr) break;
    (void)heap.release();  // realloc has taken it over
    heap.reset(grown);
    size *= 2;
  }
  if (heap == nullptr) return first;
  formatInto(heap.get(), size, fmt, args);
  return heap.get();
}

void bareFormat(const char* text, char* out) {
  while (*text != '\0') {
    const char byte = *text++;
    *out++ = byte;
    if (byte != '%') continue;
    const bool meaningful = *text == '%' || *text == 'm';
    *out++ = meaningful ? *text++ : '%';
  }
  *out = '\0';
}
