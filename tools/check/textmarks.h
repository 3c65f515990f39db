#ifndef TANEXICS_CHECK_TEXTMARKS_H
#define TANEXICS_CHECK_TEXTMARKS_H

#include <string>
#include <string_view>
#include <vector>

namespace check {

/// A byte order mark, as some editors put it in front of a text in UTF-8.
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

/// Whether the byte is a blank or a tab.
bool isBlank(char byte);

/// Whether `text` begins with a byte order mark.
bool hasByteOrderMark(std::string_view text);

/// What is seldom meant of a text that is sent as it stands, each as it follows the word "it":
/// "begins with a blank", "has control bytes".
std::vector<std::string> marksOf(std::string_view text);

}  // namespace check

#endif
