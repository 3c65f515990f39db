#ifndef TANEXICS_COMMON_TEXT_PADDING_H
#define TANEXICS_COMMON_TEXT_PADDING_H

#include <string>

// Padding to a display width, which is counted in double-width characters: a text with fewer than
// two bytes a character on average is taken for single bytes and measured against twice the width,
// also when it holds some longer ones. The number of characters, which `getCharactorLength` counts,
// must not be 0, as it is for an empty text: an assertion in debug builds; other builds then pad
// with nothing.

/// Writes the blanks that fill `text` up to `width` and then, after them, the text itself.
///
/// `len`  the bytes of `text` by which it is measured; at most its length counts.
/// `dst`  zero-filled, with room for the blanks, the text and a terminator. Returned. Null: nothing
///        is written.
char* getStrPatting(const std::string& text, int len, int width, char* dst);

/// Appends to `text` the blanks that fill it up to `width`. Returns their number; when the text is
/// as wide already, the width (doubled for single bytes), and nothing is appended. 0 for a text
/// without characters.
int getStrPattingTail(std::string& text, int len, int width);

#endif
