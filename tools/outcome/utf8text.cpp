#include "tools/outcome/utf8text.h"

#include "tools/common/converter.h"

namespace outcome {

std::string utf8Text(std::string_view bytes, const char* encoding) {
  return convertedOrEscaped(bytes, "UTF-8", encoding);
}

}  // namespace outcome
