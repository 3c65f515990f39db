#include "tools/common/nearest.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t kLeastBeginning = 3;

char lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](char one) { return lower(one); });
  return result;
}

/// How many letters have to be put in, left out, replaced or exchanged with their neighbour to make
/// one text the other; a letter counts once.
std::size_t distanceOf(const std::string& a, const std::string& b) {
  // Row by row: of the beginnings of `a`, to each beginning of `b`.
  std::array<std::vector<std::size_t>, 3> rows;
  for (auto& row : rows) row.resize(b.size() + 1);
  for (std::size_t column = 0; column <= b.size(); ++column) rows[0][column] = column;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t>& row = rows[i % 3];
    const std::vector<std::size_t>& above = rows[(i + 2) % 3];
    const std::vector<std::size_t>& twoAbove = rows[(i + 1) % 3];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, replaced});
      const bool isSwap = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (isSwap) row[j] = std::min(row[j], twoAbove[j - 2] + 1);
    }
  }
  return rows[a.size() % 3][b.size()];
}

}  // namespace

std::optional<std::string> nearestWord(std::string_view word,
                                       const std::vector<std::string>& known) {
  const std::string wanted = lower(word);
  const std::string* nearest = nullptr;
  const std::string* beginning = nullptr;
  std::size_t beginnings = 0;
  std::size_t least = 0;
  for (const std::string& one : known) {
    const std::string candidate = lower(one);
    // A text that is much longer is not like it, and measuring it takes its time.
    if (wanted.size() > 2 * candidate.size()) continue;
    if (wanted == candidate) return one;
    if (candidate.compare(0, wanted.size(), wanted) == 0) {
      if (beginning == nullptr) beginning = &one;
      ++beginnings;
    }
    const std::size_t distance = distanceOf(wanted, candidate);
    if (distance > candidate.size() / 3) continue;
    if (nearest == nullptr || distance < least) {
      nearest = &one;
      least = distance;
    }
  }
  if (wanted.size() >= kLeastBeginning && beginnings == 1) return *beginning;
  if (nearest == nullptr) return std::nullopt;
  return *nearest;
}
