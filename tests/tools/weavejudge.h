#ifndef TANEXICS_TESTS_TOOLS_WEAVEJUDGE_H
#define TANEXICS_TESTS_TOOLS_WEAVEJUDGE_H

// Logs in which the lines of several processes mix, and a judge of who can have written what.

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "tools/logbytes.h"

/// What a process writes in one call of write(2).
struct Piece {
  std::size_t process;
  char part;  // h, t or f: a head, a text, a line feed
  std::string bytes;
};

inline std::vector<Piece> piecesOf(std::size_t process, const Texts& messages) {
  std::vector<Piece> pieces;
  for (const std::string& message : messages) {
    pieces.push_back({process, 'h', headOf(100 + static_cast<int>(process))});
    pieces.push_back({process, 't', message});
    pieces.push_back({process, 'f', "\n"});
  }
  return pieces;
}

using Log = std::vector<Piece>;

inline std::string bytesOf(const Log& log) {
  std::string bytes;
  for (const Piece& piece : log) bytes += piece.bytes;
  return bytes;
}

/// The verdict of a run whose lines stand alone.
inline std::string verdictAlone(const Texts& messages) {
  return wordOf(runsOf(linesOf(7, messages)).at(0).verdict);
}

/// What the texts of a run begin with, up to where those of one kind begin to differ.
inline Texts kindsOf(const Texts& messages) {
  Texts kinds;
  for (const std::string& text : messages) {
    const std::size_t differs = text.find_first_of("('");
    kinds.push_back(text.substr(0, differs == std::string::npos ? differs : differs + 1));
  }
  return kinds;
}

/// Whether `text` can stand where a run has a text that begins with `kind`.
inline bool beginsWithKind(const std::string& kind, const std::string& text) {
  return text.rfind(kind, 0) == 0;
}

/// The judge: slow and obvious. For each process the sequences of texts that it may have written,
/// in whichever way the texts are given to heads that wait for one, where each text fits in the
/// place of `kinds` that it comes to.
class Judge {
 public:
  using Fits = bool (*)(const std::string& kind, const std::string& text);

  /// `most`  how many steps it may take; `isWhole` is false where more are needed.
  Judge(const Log& log, const std::vector<Texts>& kinds, Fits fits = beginsWithKind,
        std::size_t most = kAnySteps)
      : m_log(log), m_kinds(kinds), m_fits(fits), m_left(most) {
    m_written.resize(kinds.size());
    m_isWaiting.resize(kinds.size(), false);
    possible.resize(kinds.size());
    go(0);
  }

  static constexpr std::size_t kAnySteps = static_cast<std::size_t>(-1);

  std::vector<std::set<Texts>> possible;
  bool isWhole = true;

 private:
  bool isNext(std::size_t process, const std::string& text) const {
    const std::size_t at = m_written[process].size();
    return at < m_kinds[process].size() && m_fits(m_kinds[process][at], text);
  }

  void go(std::size_t at) {
    isWhole = isWhole && m_left > 0;
    if (!isWhole) return;
    --m_left;
    if (at == m_log.size()) {
      for (std::size_t process = 0; process < m_kinds.size(); ++process) {
        possible[process].insert(m_written[process]);
      }
      return;
    }
    const Piece& piece = m_log[at];
    if (piece.part == 'f') return go(at + 1);
    if (piece.part == 'h') {
      if (m_isWaiting[piece.process]) return;
      m_isWaiting[piece.process] = true;
      go(at + 1);
      m_isWaiting[piece.process] = false;
      return;
    }
    for (std::size_t process = 0; process < m_kinds.size(); ++process) {
      if (!m_isWaiting[process] || !isNext(process, piece.bytes)) continue;
      m_isWaiting[process] = false;
      m_written[process].push_back(piece.bytes);
      go(at + 1);
      m_written[process].pop_back();
      m_isWaiting[process] = true;
    }
  }

  const Log& m_log;
  const std::vector<Texts>& m_kinds;
  std::vector<Texts> m_written;
  std::vector<bool> m_isWaiting;
  Fits m_fits;
  std::size_t m_left;
};

#endif
