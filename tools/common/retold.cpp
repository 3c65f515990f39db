#include "tools/common/retold.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "tools/common/language.h"

namespace {

constexpr std::size_t kMostValues = 3;
using Values = std::array<std::string_view, kMostValues>;

/// What stands in the places of `message` in `text`; nothing where that is another one.
std::optional<Values> valuesIn(std::string_view text, std::string_view message) {
  constexpr std::string_view kPlace = "%s";
  Values values;
  std::size_t place = message.find(kPlace);
  if (text.substr(0, place) != message.substr(0, place)) return std::nullopt;
  text.remove_prefix(place);
  for (std::size_t next = 0; place != std::string_view::npos; ++next) {
    message.remove_prefix(place + kPlace.size());
    place = message.find(kPlace);
    const std::string_view between = message.substr(0, place);
    // The last place reaches to the end of the text, or to what closes the message.
    const bool isLast = place == std::string_view::npos;
    const std::size_t end = isLast ? text.size() - std::min(text.size(), between.size())
                                   : std::min(text.find(between), text.size());
    if (text.substr(end, between.size()) != between) return std::nullopt;
    values[next] = text.substr(0, end);
    text.remove_prefix(end + between.size());
  }
  return values;
}

}  // namespace

std::string retold(const std::string& text, std::initializer_list<const char*> messages) {
  for (const char* message : messages) {
    if (const auto values = valuesIn(text, message)) {
      return translated(message, {(*values)[0], (*values)[1], (*values)[2]});
    }
  }
  return text;
}
