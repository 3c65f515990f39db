// What the checker says of a run's input, against the command's own readers and the judges.

#include <algorithm>

#include "check/demandagreement.h"
#include "fuzz/judges.h"

namespace {

/// `text` with `to` wherever `from` stands.
std::string replaced(const std::string& text, const std::string& from, const std::string& to) {
  const Texts parts = slowSplit(text, from);
  std::string result = parts[0];
  for (std::size_t at = 1; at < parts.size(); ++at) result += to + parts[at];
  return result;
}

// The input is four texts, each ended by a line "%%": the words, one a line; the list; the
// definition; the log extract. In the first two LIST, EVENT and EXTRACT stand for the paths of
// these files, and a slash becomes an underscore; with an empty folder as the current one no file
// of the machine is named.
const Target kCheck("check", [](Input input) {
  static const ScratchFolder folder;
  Texts texts = slowSplit(input.rest(), "%%\n", 4);
  for (std::size_t at = 0; at < 2; ++at) {
    std::replace(texts[at].begin(), texts[at].end(), '/', '_');
    texts[at] = replaced(texts[at], "LIST", folder / "list");
    texts[at] = replaced(texts[at], "EVENT", folder / "event");
    texts[at] = replaced(texts[at], "EXTRACT", folder / "x.syslog.txt");
  }
  std::replace(texts[0].begin(), texts[0].end(), '\0', '0');
  CheckInput checked;
  checked.words = slowSplit(texts[0], "\n");
  checked.words.pop_back();  // what stands behind the last line
  const char* const names[] = {"list", "event", "x.syslog.txt"};
  for (std::size_t at = 0; at < 3; ++at) {
    checked.files[folder.write(names[at], texts[at + 1])] = texts[at + 1];
  }
  const std::filesystem::path home = std::filesystem::current_path();
  std::filesystem::create_directory(folder / "empty");
  std::filesystem::current_path(folder / "empty");
  demandAgreement(checked);
  std::filesystem::current_path(home);
  for (const auto& [path, bytes] : checked.files) {
    demandEqual(folder.read(path.substr(path.rfind('/') + 1)), bytes, "the files stay");
  }
});

}  // namespace
