#ifndef TANEXICS_OUTCOME_UTF8TEXT_H
#define TANEXICS_OUTCOME_UTF8TEXT_H

#include <string>
#include <string_view>

namespace outcome {

/// A text in UTF-8 for a person to read.
///
/// `bytes`     the text in the encoding that it has; zero bytes count as any other.
/// `encoding`  the name of that encoding, as iconv_open(3) takes it.
///
/// A byte that is part of no character of the encoding becomes `\xHH`. Where this machine does not
/// know the encoding, all bytes above 0x7f do.
std::string utf8Text(std::string_view bytes, const char* encoding);

}  // namespace outcome

#endif
