#include "tools/common/listed.h"

#include "tools/common/language.h"

namespace {

/// `last` is the message that has the last text behind all others.
std::string inRow(const std::vector<std::string>& texts, const char* last) {
  std::string row;
  for (std::size_t at = 0; at < texts.size(); ++at) {
    const char* message = at + 1 == texts.size() ? last : marked("%s, %s");
    row = at == 0 ? texts[at] : translated(message, {row, texts[at]});
  }
  return row;
}

}  // namespace

std::string listed(const std::vector<std::string>& texts) {
  return inRow(texts, marked("%s and %s"));
}

std::string listedAsChoice(const std::vector<std::string>& texts) {
  return inRow(texts, marked("%s or %s"));
}
