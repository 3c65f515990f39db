#include "tools/common/optionerror.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "tools/common/language.h"

namespace {

/// What may be said, the more particular before the more general.
constexpr const char* kSentences[] = {
    marked("The following argument was not expected: %s"),
    marked("The following arguments were not expected: %s"),
    marked("Could not convert: %s = %s"),
    marked("%s: %s required %s missing"),
    marked("%s: At Most %s required but received %s"),
    marked("%s excludes %s"),
    marked("%s is required"),
};

constexpr std::size_t kMostValues = 3;
using Values = std::array<std::string_view, kMostValues>;

/// What stands in the places of `sentence` in `text`; nothing where that is another one.
std::optional<Values> valuesIn(std::string_view text, std::string_view sentence) {
  constexpr std::string_view kPlace = "%s";
  Values values;
  std::size_t place = sentence.find(kPlace);
  if (text.substr(0, place) != sentence.substr(0, place)) return std::nullopt;
  text.remove_prefix(place);
  for (std::size_t next = 0; place != std::string_view::npos; ++next) {
    sentence.remove_prefix(place + kPlace.size());
    place = sentence.find(kPlace);
    const std::string_view between = sentence.substr(0, place);
    // The last place reaches to the end of the text, or to what closes the sentence.
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

std::string translatedOptionError(const std::string& sentence) {
  for (const char* known : kSentences) {
    if (const auto values = valuesIn(sentence, known)) {
      return translated(known, {(*values)[0], (*values)[1], (*values)[2]});
    }
  }
  return sentence;
}
