#ifndef TANEXICS_COMMON_BASE_FORMAT_H
#define TANEXICS_COMMON_BASE_FORMAT_H

#include <cstdarg>
#include <string>

/// The character pointer of a text, for printf-style calls. Nothing is copied: the pointer lives as
/// long as its argument, and a null pointer stays null.
inline const char* C(const char* text) { return text; }
inline const char* C(const std::string& text) { return text.c_str(); }
inline char* C(std::string& text) { return text.data(); }

/// Formats as printf(3) into a text of up to 2,147,483,647 bytes; null gives "".
///
/// When the system runs out of memory while the text is being formatted, the result is the text cut
/// at the last buffer that was to be had (1,023 bytes at least); nothing is logged. Where the C
/// library gives up, at a conversion that it rejects or beyond that length, the result is what it
/// wrote before, at most 1,023 bytes. Throws std::bad_alloc only for the result itself.
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

/// `format` on an argument list. `args` is left as it was, so that the caller still ends it.
std::string format_va(const char* fmt, va_list args) __attribute__((format(printf, 1, 0)));

/// Turns a text that is about to be used as a printf format without any argument into a format that
/// is safe to use so: "%%" and "%m" keep their meaning, the only two that need no argument, and
/// every other "%" is doubled, so that it comes out as itself.
///
/// `text`  must not be null.
/// `out`   at least twice the length of `text` plus one byte.
void bareFormat(const char* text, char* out);

#endif
