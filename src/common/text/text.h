#ifndef TANEXICS_COMMON_TEXT_TEXT_H
#define TANEXICS_COMMON_TEXT_TEXT_H

#include <climits>
#include <cstdint>
#include <string>

// Where an unsigned is as wide as a size, newer C libraries' function of this name has the same
// arguments and another result: callers get ours under another name, once theirs is declared.
#if SIZE_MAX == UINT_MAX
#include <cstring>
#define strlcpy tanexics_strlcpy
#endif

// Edits of byte strings. White space is what isspace(3) says. A null argument without a line of its
// own below is answered with an empty text, or nothing is done.

/// Removes one trailing line feed, then one trailing carriage return: "a\r\n", "a\n" and "a\r"
/// become "a", "a\n\r" becomes "a\n". Returns 0; the pointer form edits in place, and for null logs
/// "invalid param" at (common:1525) and returns -1.
int eraseLastCRLF(std::string& text);
int eraseLastCRLF(char* text);

/// Removes white space at both ends, in place. The string form returns the text's own characters,
/// which stay valid until the text changes.
void trim(char* text);
char* trim(std::string& text);

/// A copy of `text` without the double quotes around it, where it both begins and ends with one; a
/// single double quote is both, and gives "". Null: "", and "invalid param" is logged at
/// (common:335).
std::string trimQuote(const char* text);

/// A copy of `text` in which every `quote` stands twice.
std::string quoteEsc(const char* text, char quote);
std::string quoteEsc(std::string text, char quote);

/// Replaces every `from`, from left to right, by `to`; what was inserted is not looked at again.
/// Returns 0, or -1, with nothing changed, when `text` or `from` is empty.
int replaceString(std::string& text, std::string from, std::string to);

/// The longest common beginning of two texts, compared byte by byte. Either null: "", and "invalid
/// param" is logged at (common:412).
std::string matchedString(const char* a, const char* b);

/// Copies at most `size` - 1 bytes of `src`, fills the rest of `dst` with zeros, and ends it with a
/// zero in every case. Not the function of this name that newer C libraries have: it returns `dst`,
/// or null for a size of 0, for which nothing is copied.
///
/// `dst`  at least `size` bytes, which may overlap those of `src`. Null, or a null `src`, ends the
///        process by abort(3), for a size of 0 as well, after
///        "*** assertion failed,P=PID\n*** common.cpp:19(dst != __null && src != __null)\n" on
///        standard error.
char* strlcpy(char* dst, const char* src, unsigned size);

/// The number of lines of a text; a last one without line end counts. Null ends the process by
/// abort(3), after "*** assertion failed,P=PID\n*** common.cpp:2176(t != __null)\n" on standard
/// error.
int countLines(const char* text);

#endif
