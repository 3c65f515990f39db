#ifndef TANEXICS_OUTCOME_READABLE_H
#define TANEXICS_OUTCOME_READABLE_H

#include <string>
#include <string_view>

namespace outcome {

/// How the texts of a log are read, each field by itself.
enum class Encoding {
  kEither,  ///< as UTF-8 where they are, else as EUC-JP
  kUtf8,
  kEucJp,
};

/// `bytes` as UTF-8 without control characters: what cannot be decoded, and each byte of a control
/// character, becomes `\xhh` in lower case, and a backslash is doubled.
std::string readable(std::string_view bytes, Encoding encoding);

}  // namespace outcome

#endif
