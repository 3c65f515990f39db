#include "common/text/padding.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "common/base/format.h"
#include "common/text/encoding.h"

namespace {

/// How a text stands to its width: `pad` blanks are missing, or, when it is wide enough, -1.
struct Fit {
  long long width;  // in the characters of the text
  long long pad;
};

Fit fit(const std::string& text, int len, int width) {
  const int bytes = static_cast<int>(
      std::min<std::size_t>(static_cast<std::size_t>(std::max(len, 0)), text.size()));
  const int characters = getCharactorLength(C(text), bytes);
  assert(characters != 0);
  if (characters == 0) return {0, -1};
  const bool isSingleByte = bytes / characters == 1;
  const long long available = isSingleByte ? 2LL * width : width;
  if (available <= characters) return {available, -1};
  return {available, (available - characters) * (isSingleByte ? 1 : 2)};
}

}  // namespace

char* getStrPatting(const std::string& text, int len, int width, char* dst) {
  if (dst == nullptr) return dst;
  const long long pad = fit(text, len, width).pad;
  if (pad > 0) std::memset(dst, ' ', static_cast<std::size_t>(pad));
  // Found by its terminator, not by the blanks: what `dst` may hold already stays before the text.
  char* end = dst + std::strlen(dst);
  std::memcpy(end, C(text), std::strlen(C(text)) + 1);
  return dst;
}

int getStrPattingTail(std::string& text, int len, int width) {
  const Fit fitted = fit(text, len, width);
  if (fitted.pad < 0) return static_cast<int>(fitted.width);
  text.append(static_cast<std::size_t>(fitted.pad), ' ');
  return static_cast<int>(fitted.pad);
}
