// The fields of a notification: the input chooses the size of the buffer and the text that stands
// in it at first, and then gives field after field: whether a comma follows, and the value.

#include <algorithm>

#include "fuzz/judges.h"
#include "fuzz/target.h"
#include "sendevent/SendEventBase.h"

namespace {

constexpr int kSizes[] = {897, 896, 895, 898, 1024, 2048, 0, -1};
constexpr int kFieldsAtMost = 32;

/// The value that a field without its comma quotes.
std::string unquoted(const std::string& field) {
  std::string value;
  for (std::size_t i = 1; i + 1 < field.size(); ++i) {
    value += field[i];
    if (field[i] == '"') ++i;
  }
  return value;
}

void appendField(std::vector<char>& buffer, int size, const std::string& value, bool comma) {
  const std::string before = buffer.data();
  const std::vector<char> source = exactCopy(value + '\0');
  CSendEventBase().convStr(buffer.data(), size, source.data(), comma ? 1 : 0);
  const std::string after = buffer.data();

  demandEqual(after, withField(before, size, value, comma), "the text with one more field");
  // A buffer that is larger than the format leaves its last comma room after the limit.
  const std::size_t longest = comma && size > 897 ? kFieldLimit + 1 : kFieldLimit;
  demand(after.size() <= std::max(before.size(), longest), "a notification stays in its limit");
  demand(after.compare(0, before.size(), before) == 0, "a field only appends");
  if (!comma && size > static_cast<int>(kFieldLimit)) {
    const std::string quoted = unquoted(after.substr(before.size()));
    demand(value.compare(0, quoted.size(), quoted) == 0, "a field quotes a beginning of its value");
  }
}

}  // namespace

void tryInput(Input input) {
  const int bufferSize = kSizes[input.choice(8)];
  // As large as the call is told, and where that is nonsense, large enough for what stands there.
  std::vector<char> buffer(static_cast<std::size_t>(bufferSize > 0 ? bufferSize : 1), '\0');
  const std::string first = input.longWord().substr(0, buffer.size() - 1);
  std::copy(first.begin(), first.end(), buffer.begin());

  for (int i = 0; i < kFieldsAtMost && !input.isEmpty(); ++i) {
    const bool comma = input.choice(2) == 1;
    appendField(buffer, bufferSize, input.longWord(), comma);
  }
}
