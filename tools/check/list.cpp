#include "tools/check/list.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/files/filesystem.h"
#include "common/text/text.h"
#include "tools/check/pieces.h"
#include "tools/check/textmarks.h"
#include "tools/common/language.h"

namespace check {

namespace {

/// What keeps the file from being sent as it is meant; empty for a regular one that can be read.
std::string stateOf(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) {
    const int error = errno;
    return error == ENOENT ? translated("does not exist")
                           : translated("cannot be examined: %s", {std::strerror(error)});
  }
  if (S_ISDIR(status.st_mode)) return translated("is a directory");
  if (const char* kind = specialKind(status.st_mode))
    return translated("is %s", {translated(kind)});
  if (isReadable(path) == 0) return translated("cannot be read: %s", {std::strerror(errno)});
  return "";
}

/// What is told of one entry after the other.
class EntryRemarks {
 public:
  explicit EntryRemarks(FaultsOf& faults) : m_faults(faults) {}

  /// `path`  not empty; it stays where it is.
  void add(const std::string& path, std::size_t line) {
    std::vector<std::string> remarks = marksOf(path);
    if (path.front() == '#') {
      remarks.insert(remarks.begin(), translated("is taken as a file name"));
    } else if (path.front() != '/') {
      remarks.push_back(translated("is relative to where the command is started"));
    }
    const auto [first, isNew] = m_lines.emplace(path, line);
    if (!isNew) {
      remarks.push_back(translated("stands in line %s too, and is sent once for each",
                                   {std::to_string(first->second)}));
    }
    if (std::string state = stateOf(path); !state.empty()) remarks.push_back(std::move(state));
    if (remarks.empty()) return;
    // TRANSLATORS: a path, and what is said of it, such as "is a directory"
    m_faults.warning(line, translated("%s %s", {quoted(path), sentenceOf(remarks)}));
  }

 private:
  FaultsOf& m_faults;
  std::unordered_map<std::string_view, std::size_t> m_lines;  // where a path stands first
};

}  // namespace

List checkList(const std::string& path, Faults& faults) {
  FaultsOf own(path, faults);
  Input input = readInput(path, own);
  List list;
  list.extent = input.extent;
  PieceRemarks pieces(own);
  EntryRemarks entries(own);
  forEachPiece(input.bytes, [&](const Piece& piece) {
    pieces.add(piece);
    eraseLastCRLF(piece.text);
    if (piece.text[0] == '\0') return true;
    if (list.paths.size() == kMostEntries) {
      list.extent = Extent::kPart;
      own.warning(piece.line,
                  translated("names too many files to be checked as a whole: the first %s are",
                             {std::to_string(kMostEntries)}));
      return false;
    }
    entries.add(list.paths.emplace_back(piece.text), piece.line);
    list.lines.push_back(piece.line);
    return true;
  });
  if (list.extent == Extent::kWhole && list.paths.empty()) {
    own.error(0, translated("names no file to send"));
  }
  return list;
}

}  // namespace check
