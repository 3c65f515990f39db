#include "tools/rehearse/situationlist.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "tools/common/language.h"
#include "tools/rehearse/screen.h"

namespace {

namespace fs = std::filesystem;

constexpr char kEnding[] = ".script";
constexpr char kCommentHead[] = "# ";
constexpr std::size_t kColumnGap = 2;
constexpr std::size_t kBelowIndent = 4;

/// The comment that a script begins with.
std::string firstComment(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  if (!std::getline(file, line)) throw std::runtime_error(translated("%s: cannot be read", {path}));
  const std::string head = kCommentHead;
  if (line.compare(0, head.size(), head) != 0) {
    throw std::runtime_error(translated("%s: does not begin with a comment", {path}));
  }
  return line.substr(head.size());
}

}  // namespace

std::vector<Situation> readSituations(const std::string& folder) {
  std::error_code error;
  fs::directory_iterator entries(folder, error);
  if (error) {
    throw std::runtime_error(translated("%s: cannot be read: %s", {folder, error.message()}));
  }

  std::vector<Situation> situations;
  for (const fs::directory_entry& entry : entries) {
    const fs::path& path = entry.path();
    if (path.extension() == kEnding) {
      situations.push_back({path.stem(), translation(firstComment(path).c_str()), path});
    }
  }
  std::sort(situations.begin(), situations.end(),
            [](const Situation& a, const Situation& b) { return a.name < b.name; });
  return situations;
}

std::string situationRows(const std::vector<Situation>& situations, std::size_t width) {
  constexpr std::size_t kLeastForSentences = 30;
  std::size_t column = 0;
  for (const Situation& situation : situations) {
    column = std::max(column, situation.name.size() + kColumnGap);
  }
  const bool isBeside = width == 0 || width >= column + kLeastForSentences;
  std::string rows;
  for (const auto& [name, sentence, script] : situations) {
    if (isBeside) {
      std::string row = name;
      row.append(column - name.size(), ' ').append(sentence);
      rows += screenRows(row, 0, column, width);
    } else {
      rows += screenRows(name, 0, 0, width);
      rows += screenRows(sentence, kBelowIndent, kBelowIndent, width);
    }
  }
  return rows;
}
