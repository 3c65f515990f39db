#include "log/linehead.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr long kFirstYear = 1900;  // what std::tm counts its years from

/// Appends `number` as printf(3) does with this width, filled up by zeros or by blanks. By hand:
/// over a head printf takes 3,600 instructions, and this 370, of the 4,300 of a line.
char* appendNumber(char* at, long number, std::ptrdiff_t width, char filler) {
  char text[24];
  const char* digits = text;
  const char* end = std::to_chars(text, text + sizeof text, number).ptr;
  if (number < 0 && filler == '0') {
    *at++ = *digits++;  // zeros stand after the sign, blanks in front of it
    --width;
  }
  for (std::ptrdiff_t missing = width - (end - digits); missing > 0; --missing) *at++ = filler;
  return std::copy(digits, end, at);
}

/// Appends "%02d" and a separator.
char* appendTwoDigits(char* at, long number, char separator) {
  if (number >= 0 && number < 100) {  // as every clock has it; halves the instructions of a head
    *at++ = static_cast<char>('0' + number / 10);
    *at++ = static_cast<char>('0' + number % 10);
  } else {
    at = appendNumber(at, number, 2, '0');
  }
  *at++ = separator;
  return at;
}

}  // namespace

std::size_t formatLineHead(char (&head)[kLineHeadBytes], const std::tm& local, int pid) {
  char* at = appendNumber(head, kFirstYear + local.tm_year, 4, '0');
  *at++ = '/';
  at = appendTwoDigits(at, 1L + local.tm_mon, '/');
  at = appendTwoDigits(at, local.tm_mday, ' ');
  at = appendTwoDigits(at, local.tm_hour, ':');
  at = appendTwoDigits(at, local.tm_min, ':');
  at = appendTwoDigits(at, local.tm_sec, ' ');
  at = appendNumber(at, pid, 5, ' ');
  *at++ = ' ';
  return static_cast<std::size_t>(at - head);
}
