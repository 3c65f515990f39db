#ifndef TANEXICS_OUTCOME_MATCHING_H
#define TANEXICS_OUTCOME_MATCHING_H

#include <cstddef>
#include <vector>

namespace outcome {

/// Whether each text of a knot of lines has a line, and each closed line a text.
///
/// Of one way to give them out all others follow: a text moves to another of its lines, the text
/// there moves on, and so on, until a line is reached that has none, or that the first one left.
/// So where the texts of lines can move is a graph of lines, and every question is one of what is
/// reached in it; see J.-C. Regin, "A filtering algorithm for constraints of difference" (1994).
class Matching {
 public:
  /// Of each node, those that follow it.
  using Graph = std::vector<std::vector<int>>;

  /// `edges`     edges[text] are the numbers of the lines that the text may stand in.
  /// `isClosed`  isClosed[line]: the line has a text, whichever that is.
  Matching(const Graph& edges, const std::vector<bool>& isClosed);

  /// Whether the texts can be given out so at all.
  bool isPossible() const;

  /// Whether it stays possible with `text` in `line`, which is one of its own. Only asked of what
  /// is possible.
  bool allows(int text, int line) const;

 private:
  void findCircles(const Graph& to, const Graph& from);
  bool coverTexts(const Graph& edges);
  bool coverLines(const Graph& edges, const std::vector<bool>& isClosed);

  std::vector<int> m_lineOf;  // of a text; -1: none
  std::vector<int> m_textOf;  // of a line; -1: none
  std::vector<bool> m_canBeLeft;
  std::vector<bool> m_comesToBare;
  std::vector<int> m_circleOf;
  bool m_isPossible;
};

}  // namespace outcome

#endif
