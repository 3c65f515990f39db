#include "common/format.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::size_t kFirstBufferBytes = 1024;

struct FreeDeleter {
  void operator()(char* memory) const { std::free(memory); }
};
using HeapText = std::unique_ptr<char, FreeDeleter>;

/// Formats into `buffer` and tells whether the whole text, or all that there will ever be, is
/// there.
__attribute__((format(printf, 3, 0))) bool formatInto(char* buffer, std::size_t size,
                                                      const char* fmt, va_list args) {
  va_list attempt;
  va_copy(attempt, args);
  const int length = std::vsnprintf(buffer, size, fmt, attempt);
  va_end(attempt);
  return length < 0 || static_cast<std::size_t>(length) < size;
}

}  // namespace

const char* C(const char* text) { return text; }
const char* C(const std::string& text) { return text.c_str(); }
char* C(std::string& text) { return text.data(); }

std::string format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  std::string text = format_va(fmt, args);
  va_end(args);
  return text;
}

std::string format_va(const char* fmt, va_list args) {
  char first[kFirstBufferBytes];
  first[0] = '\0';
  if (formatInto(first, sizeof first, fmt, args)) return first;

  HeapText heap;
  const char* current = first;
  std::size_t size = sizeof first;
  for (;;) {
    // One byte more than is ever formatted: the size doubles below, so the sizes stay powers of two
    // and the text of a failed growth is cut at one of them.
    char* grown = static_cast<char*>(std::realloc(heap.get(), size * 2 + 1));
    if (grown == nullptr) return current;
    (void)heap.release();  // realloc has taken it over
    heap.reset(grown);
    current = grown;
    size *= 2;
    if (formatInto(grown, size, fmt, args)) return current;
  }
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
