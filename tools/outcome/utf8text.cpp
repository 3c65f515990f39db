#include "tools/outcome/utf8text.h"

#include "loopback/bytes.h"
#include "tools/common/converter.h"

namespace outcome {

std::string utf8Text(std::string_view bytes, const char* encoding) {
  Converter converter("UTF-8", encoding);
  std::string text = converter.takeConvertible(bytes);
  while (!bytes.empty()) {
    text += hexEscape(bytes.front());
    bytes.remove_prefix(1);
    text += converter.takeConvertible(bytes);
  }
  return text;
}

}  // namespace outcome
