#ifndef TANEXICS_COMMON_TEXT_ENCODING_H
#define TANEXICS_COMMON_TEXT_ENCODING_H

#include <string>

/// The encoding of texts that the environment variable LANG names, compared without regard to case:
/// "euc" for ja, japanese, japanese.euc, ja_JP, ja_JP.ujis and ja_JP.eucJP; "sjis" for ja_JP.SJIS
/// and japanese.sjis; "utf8" for ja_JP.UTF-8 and ja_JP.UTF8; "C", that is one byte a character, for
/// everything else, and when it is not set.
///
/// `enc`  out: the name; returned.
std::string& getEncoding(std::string& enc);

// The number of characters in a text of `len` bytes, one byte (0 to 255) an element of `a`. 0 for
// null and for a length below 1. Nothing past the end is looked at; what the end leaves of a
// character counts as one, but for a cut 8F character of EUC-JP, whose two bytes count as two.

/// EUC-JP: code sets 0 and 1 as they are, JIS X 0201 katakana after the single shift 8E, and JIS X
/// 0212 after 8F. The second byte of a plain two-byte character is not checked; a single shift
/// without fitting bytes after it is one character.
int check_EUCMultiByteLength(const unsigned int* a, int len);

/// UTF-8, by the lead bytes alone, in their original form of up to six bytes (RFC 2279). A
/// continuation byte in a lead byte's place is one character.
int check_UTF8MultiByteLength(const unsigned int* a, int len);

/// Shift_JIS (JIS X 0208 appendix 1). A lead byte without a fitting second byte is one character.
int check_SJISMultiByteLength(const unsigned int* a, int len);

/// The number of characters in the first `len` bytes of `text`, in the encoding of `getEncoding`. 0
/// for null, for a length below 1, and when memory runs out.
int getCharactorLength(const char* text, int len);

#endif
