#include "tools/outcome/matching.h"

#include <algorithm>

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

void visit(const Graph& to, int line, std::vector<bool>& isSeen, std::vector<int>& order) {
  if (isSeen[index(line)]) return;
  isSeen[index(line)] = true;
  for (const int next : to[index(line)]) visit(to, next, isSeen, order);
  order.push_back(line);
}

}  // namespace

Matching::Matching(const Graph& edges, const std::vector<bool>& isClosed)
    : m_edges(edges),
      m_lineOf(edges.size(), -1),
      m_textOf(isClosed.size(), -1),
      m_isPossible(coverLines(isClosed) && coverTexts()) {
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
    to[line] = m_edges[index(text)];
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
  std::vector<bool> isSeen(to.size(), false);
  std::vector<int> order;
  for (std::size_t line = 0; line < to.size(); ++line)
    visit(to, static_cast<int>(line), isSeen, order);
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

bool Matching::coverTexts() {
  for (std::size_t text = 0; text < m_edges.size(); ++text) {
    if (m_lineOf[text] >= 0) continue;
    std::vector<bool> isSeen(m_textOf.size(), false);
    if (!findLine(static_cast<int>(text), isSeen)) return false;
  }
  return true;
}

bool Matching::coverLines(const std::vector<bool>& isClosed) {
  for (std::size_t line = 0; line < isClosed.size(); ++line) {
    if (!isClosed[line]) continue;
    std::vector<bool> isSeen(m_edges.size(), false);
    if (!findText(static_cast<int>(line), isSeen)) return false;
  }
  return true;
}

bool Matching::findLine(int text, std::vector<bool>& isSeen) {
  for (const int line : m_edges[index(text)]) {
    if (isSeen[index(line)]) continue;
    isSeen[index(line)] = true;
    const int other = m_textOf[index(line)];
    if (other >= 0 && !findLine(other, isSeen)) continue;
    m_textOf[index(line)] = text;
    m_lineOf[index(text)] = line;
    return true;
  }
  return false;
}

bool Matching::findText(int line, std::vector<bool>& isSeen) {
  for (std::size_t text = 0; text < m_edges.size(); ++text) {
    const auto& lines = m_edges[text];
    if (isSeen[text] || std::find(lines.begin(), lines.end(), line) == lines.end()) continue;
    isSeen[text] = true;
    const int other = m_lineOf[text];
    if (other >= 0 && !findText(other, isSeen)) continue;
    m_textOf[index(line)] = static_cast<int>(text);
    m_lineOf[text] = line;
    return true;
  }
  return false;
}

}  // namespace outcome
