#include "tools/outcome/matching.h"

#include <utility>

namespace outcome {

namespace {

using Graph = Matching::Graph;

std::size_t index(int number) { return static_cast<std::size_t>(number); }

/// The lines that are reached from those of `open`, these included.
std::vector<bool> reachedBy(const Graph& next, std::vector<int> open) {
  std::vector<bool> reached(next.size(), false);
  for (const int line : open) reached[index(line)] = true;
  while (!open.empty()) {
    const std::size_t line = index(open.back());
    open.pop_back();
    for (const int other : next[line]) {
      if (reached[index(other)]) continue;
      reached[index(other)] = true;
      open.push_back(other);
    }
  }
  return reached;
}

/// All lines, each after those that a walk from it has come to first.
std::vector<int> inOrderOfReturn(const Graph& to) {
  std::vector<int> order;
  std::vector<int> way;
  std::vector<bool> isSeen(to.size(), false);
  std::vector<std::size_t> next(to.size(), 0);
  const auto go = [&](int line) {
    if (isSeen[index(line)]) return;
    isSeen[index(line)] = true;
    way.push_back(line);
  };
  for (std::size_t start = 0; start < to.size(); ++start) {
    go(static_cast<int>(start));
    while (!way.empty()) {
      const std::size_t at = index(way.back());
      if (next[at] < to[at].size()) {
        go(to[at][next[at]++]);
      } else {
        order.push_back(way.back());
        way.pop_back();
      }
    }
  }
  return order;
}

/// Gives a node one of those that its edges lead to, from which whoever has it may have to move on,
/// and so on. Returns whether there is a way.
bool findPartner(const Graph& edges, int node, std::vector<int>& partnerOf,
                 std::vector<int>& nodeOf) {
  std::vector<int> cameFrom(nodeOf.size(), -1);
  std::vector<int> open = {node};
  for (std::size_t at = 0; at < open.size(); ++at) {
    for (int partner : edges[index(open[at])]) {
      if (cameFrom[index(partner)] >= 0) continue;
      cameFrom[index(partner)] = open[at];
      if (nodeOf[index(partner)] >= 0) {
        open.push_back(nodeOf[index(partner)]);
        continue;
      }
      while (partner >= 0) {
        const int mover = cameFrom[index(partner)];
        nodeOf[index(partner)] = mover;
        std::swap(partner, partnerOf[index(mover)]);
      }
      return true;
    }
  }
  return false;
}

}  // namespace

Matching::Matching(const Graph& edges, const std::vector<bool>& isClosed)
    : m_lineOf(edges.size(), -1),
      m_textOf(isClosed.size(), -1),
      m_isPossible(coverLines(edges, isClosed) && coverTexts(edges)) {
  Graph from(m_textOf.size());
  Graph to(m_textOf.size());
  std::vector<int> bare;
  std::vector<int> open;
  for (std::size_t line = 0; line < m_textOf.size(); ++line) {
    const int text = m_textOf[line];
    if (text < 0) {
      bare.push_back(static_cast<int>(line));
      continue;
    }
    if (!isClosed[line]) open.push_back(static_cast<int>(line));
    to[line] = edges[index(text)];
    for (const int next : to[line]) from[index(next)].push_back(static_cast<int>(line));
  }
  m_canBeLeft = reachedBy(to, open);
  m_comesToBare = reachedBy(from, bare);
  findCircles(to, from);
}

bool Matching::isPossible() const { return m_isPossible; }

/// The texts go round in a circle; or those from this line on move until one finds a line that has
/// none, and the line that `text` leaves needs none, or gets that of another, until one is left
/// that needs none.
bool Matching::allows(int text, int line) const {
  const std::size_t left = index(m_lineOf[index(text)]);
  return m_circleOf[left] == m_circleOf[index(line)] ||
         (m_canBeLeft[left] && m_comesToBare[index(line)]);
}

/// Numbers the lines alike that reach one another (Kosaraju's algorithm).
void Matching::findCircles(const Graph& to, const Graph& from) {
  const std::vector<int> order = inOrderOfReturn(to);
  m_circleOf.assign(to.size(), -1);
  for (auto line = order.rbegin(); line != order.rend(); ++line) {
    if (m_circleOf[index(*line)] >= 0) continue;
    std::vector<int> open = {*line};
    m_circleOf[index(*line)] = *line;
    while (!open.empty()) {
      const std::size_t at = index(open.back());
      open.pop_back();
      for (const int other : from[at]) {
        if (m_circleOf[index(other)] >= 0) continue;
        m_circleOf[index(other)] = *line;
        open.push_back(other);
      }
    }
  }
}

bool Matching::coverTexts(const Graph& edges) {
  for (std::size_t text = 0; text < edges.size(); ++text) {
    if (m_lineOf[text] >= 0) continue;
    if (!findPartner(edges, static_cast<int>(text), m_lineOf, m_textOf)) return false;
  }
  return true;
}

bool Matching::coverLines(const Graph& edges, const std::vector<bool>& isClosed) {
  Graph texts(isClosed.size());
  for (std::size_t text = 0; text < edges.size(); ++text) {
    for (const int line : edges[text]) texts[index(line)].push_back(static_cast<int>(text));
  }
  for (std::size_t line = 0; line < isClosed.size(); ++line) {
    if (!isClosed[line]) continue;
    if (!findPartner(texts, static_cast<int>(line), m_textOf, m_lineOf)) return false;
  }
  return true;
}

}  // namespace outcome
