#include "tools/outcome/weave.h"

#include <algorithm>
#include <utility>

#include "tools/outcome/matching.h"

namespace outcome {

namespace {

/// The texts that meet without a head between them, at most.
constexpr std::size_t kMostTexts = 6;

/// So many lines wait for what their processes write later, which mostly tells whose a text was.
constexpr std::size_t kMostKnot = 16;

/// In so many ways one text can stand in one line, at most, before too much is open to be told:
/// each of them is looked at again when a piece comes.
constexpr std::size_t kMostOpen = 32768;

bool accepts(const std::vector<Progress>& progress, const Message& message) {
  return std::any_of(progress.begin(), progress.end(),
                     [&](const Progress& one) { return one.accepts(message); });
}

void addOnce(std::vector<Progress>& all, const Progress& one) {
  if (std::find(all.begin(), all.end(), one) == all.end()) all.push_back(one);
}

void advanceInto(std::vector<Progress>& all, const std::vector<Progress>& progress,
                 const Message& message) {
  for (Progress one : progress) {
    if (!one.accepts(message)) continue;
    one.advance(message);
    addOnce(all, one);
  }
}

}  // namespace

/// All that a process may have come to by a line.
std::vector<Progress> Weave::after(const std::vector<Progress>& progress, const Line& line) {
  std::vector<Progress> next = line.isClosed ? std::vector<Progress>() : progress;
  for (const Text* text : line.candidates) advanceInto(next, progress, text->message);
  return next;
}

bool Weave::addHead(int pid, const std::vector<Progress>& progress) {
  const auto [found, isNew] = m_strands.try_emplace(pid);
  Strand& strand = found->second;
  if (isNew) strand.progress = progress;
  bool isWhole = true;
  if (!strand.lines.empty()) {
    if (strand.lines.back().candidates.empty()) {
      strand.lines.pop_back();
      isWhole = false;
    } else {
      Line& last = strand.lines.back();
      last.isClosed = last.isNew = last.isUnchecked = true;
    }
  }
  strand.lines.emplace_back();
  return isWhole;
}

std::size_t Weave::addText(std::string_view bytes) {
  // A text that holds what another begins with would be a forgery: it is read as several.
  std::vector<Message> messages;
  for (const auto& reading : readingsOf(bytes, kMostTexts)) {
    if (reading.size() > messages.size()) messages = reading;
  }
  std::vector<std::pair<Line*, const std::vector<Progress>*>> open;
  for (auto& [pid, strand] : m_strands) {
    Line& last = strand.lines.back();
    // One that has its text may wait for an earlier one of its process.
    if (!last.isClosed) open.emplace_back(&last, &strand.reached);
  }
  for (const Message& message : messages) {
    if (std::none_of(open.begin(), open.end(),
                     [&](const auto& one) { return accepts(*one.second, message); })) {
      return 0;
    }
  }
  for (const Message& message : messages) {
    Text& text = m_texts.emplace_back();
    text.bytes = message.whole;
    text.message = readMessage(text.bytes);
    for (auto& [line, progress] : open) {
      if (!accepts(*progress, message)) continue;
      line->candidates.push_back(&text);
      ++text.lines;
      line->isNew = line->isUnchecked = true;
    }
  }
  return messages.size();
}

bool Weave::Strand::isUnchecked() const {
  return std::any_of(lines.begin(), lines.end(), [](const Line& line) { return line.isUnchecked; });
}

/// Drops the other texts of a line; returns whether there were any.
template <class IsPossible>
bool Weave::keepPossible(Line& line, const IsPossible& isPossible) {
  const auto gone = std::remove_if(line.candidates.begin(), line.candidates.end(), [&](Text* text) {
    const bool isGone = !isPossible(*text);
    if (isGone) --text->lines;
    return isGone;
  });
  const bool hasChanged = gone != line.candidates.end();
  line.candidates.erase(gone, line.candidates.end());
  return hasChanged;
}

/// Drops texts that a process cannot have written in view of its lines before and after.
bool Weave::prunePasts() {
  bool hasChanged = false;
  for (auto& [pid, strand] : m_strands) {
    if (strand.isUnchecked()) hasChanged |= prunePast(strand);
  }
  return hasChanged;
}

bool Weave::prunePast(Strand& strand) {
  bool hasChanged = false;
  std::vector<Progress> progress = strand.progress;
  for (std::size_t index = 0; index < strand.lines.size(); ++index) {
    Line& line = strand.lines[index];
    line.isUnchecked = false;
    const Line* next = index + 1 < strand.lines.size() ? &strand.lines[index + 1] : nullptr;
    const bool isNextClosed = next != nullptr && next->isClosed;
    const auto isPossible = [&](const Text& text) {
      std::vector<Progress> reached;
      advanceInto(reached, progress, text.message);
      if (reached.empty() || !isNextClosed) return !reached.empty();
      return std::any_of(next->candidates.begin(), next->candidates.end(),
                         [&](const Text* other) { return accepts(reached, other->message); });
    };
    if (keepPossible(line, isPossible)) line.isNew = hasChanged = true;
    if (next != nullptr) progress = after(progress, line);
  }
  strand.reached = std::move(progress);
  strand.lines.front().isUnchecked = hasChanged;
  return hasChanged;
}

/// The lines that are not final, with the texts that they share.
std::vector<Weave::Knot> Weave::knots() {
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<Knot> found;
  for (Text& text : m_texts) text.knot = kNone;
  for (auto& [pid, strand] : m_strands) {
    for (Line& line : strand.lines) {
      if (line.isFinal || line.candidates.empty()) continue;
      std::size_t own = found.size();
      found.push_back({{&line}, {}});
      for (Text* text : line.candidates) {
        if (text->knot == kNone) {
          text->knot = own;
          found[own].texts.push_back(text);
        }
        if (text->knot == own) continue;
        // The smaller one goes into the larger one: otherwise a large one moves with each line.
        std::size_t other = text->knot;
        if (found[own].texts.size() < found[other].texts.size()) std::swap(own, other);
        Knot& to = found[own];
        Knot& from = found[other];
        for (Text* moved : from.texts) moved->knot = own;
        to.texts.insert(to.texts.end(), from.texts.begin(), from.texts.end());
        to.lines.insert(to.lines.end(), from.lines.begin(), from.lines.end());
        from = {};
      }
    }
  }
  found.erase(std::remove_if(found.begin(), found.end(),
                             [](const Knot& knot) { return knot.lines.empty(); }),
              found.end());
  return found;
}

/// Drops texts from a line that would leave another text without a line, or a closed line without
/// a text. Lines whose texts nobody else can have written are final.
bool Weave::pruneOthers(bool& isPossible) {
  bool hasChanged = false;
  for (const Knot& knot : knots()) {
    const bool isNew = std::any_of(knot.lines.begin(), knot.lines.end(),
                                   [](const Line* line) { return line->isNew; });
    if (!isNew) continue;
    for (std::size_t place = 0; place < knot.texts.size(); ++place) {
      knot.texts[place]->place = place;
    }
    std::vector<std::vector<int>> edges(knot.texts.size());
    std::vector<bool> isClosed;
    for (std::size_t line = 0; line < knot.lines.size(); ++line) {
      isClosed.push_back(knot.lines[line]->isClosed);
      for (const Text* text : knot.lines[line]->candidates) {
        edges[text->place].push_back(static_cast<int>(line));
      }
    }
    const Matching matching(edges, isClosed);
    if (!matching.isPossible()) {
      isPossible = false;
      continue;
    }
    bool hasPruned = false;
    for (std::size_t line = 0; line < knot.lines.size(); ++line) {
      hasPruned |= keepPossible(*knot.lines[line], [&](const Text& text) {
        return matching.allows(static_cast<int>(text.place), static_cast<int>(line));
      });
    }
    for (Line* line : knot.lines) {
      line->isNew = hasPruned;
      line->isUnchecked |= hasPruned;
    }
    hasChanged |= hasPruned;
    if (hasPruned) continue;
    // As many lines as texts: each has one of them, and nobody else any. Which one is known later
    // where they are of several kinds, since then the processes go on in different ways.
    const bool isTight = knot.texts.size() == knot.lines.size();
    if (!isTight) continue;
    const bool isClear = std::all_of(knot.lines.begin(), knot.lines.end(),
                                     [](const Line* line) { return hasOneKind(*line); });
    if (!isClear && knot.lines.size() < kMostKnot) continue;
    for (Line* line : knot.lines) line->isFinal = line->isClosed = line->isUnchecked = true;
    hasChanged = true;
  }
  return hasChanged;
}

/// Whether all that may stand in a line is of one kind.
bool Weave::hasOneKind(const Line& line) {
  const Kind kind = line.candidates.front()->message.kind;
  return std::all_of(line.candidates.begin(), line.candidates.end(),
                     [kind](const Text* text) { return text->message.kind == kind; });
}

bool Weave::settle(const Taker& take) {
  bool isPossible = countOpen() <= kMostOpen;
  bool goesOn = true;
  while (goesOn && isPossible) {
    goesOn = prunePasts();
    goesOn |= pruneOthers(isPossible);
  }
  // A text that nobody can have written: one of the pieces around it is lost.
  isPossible = isPossible && std::all_of(m_texts.begin(), m_texts.end(),
                                         [](const Text& text) { return text.lines > 0; });
  return isPossible && handOver(take);
}

/// In how many ways one of the texts can stand in one of the lines.
std::size_t Weave::countOpen() const {
  std::size_t count = 0;
  for (const auto& [pid, strand] : m_strands) {
    for (const Line& line : strand.lines) count += line.candidates.size();
  }
  return count;
}

/// Hands over the lines that are final, and forgets the processes that wait for nothing.
bool Weave::handOver(const Taker& take) {
  std::vector<std::pair<int, Line>> ready;
  std::vector<std::vector<Progress>> progress;
  for (auto strand = m_strands.begin(); strand != m_strands.end();) {
    auto& [pid, one] = *strand;
    while (!one.lines.empty() && one.lines.front().isFinal) {
      one.progress = after(one.progress, one.lines.front());
      ready.emplace_back(pid, std::move(one.lines.front()));
      progress.push_back(one.progress);
      one.lines.pop_front();
    }
    strand = one.lines.empty() ? m_strands.erase(strand) : std::next(strand);
  }
  if (ready.empty()) return true;  // all texts are held, as before
  for (std::size_t index = 0; index < ready.size(); ++index) {
    const Texts& texts = ready[index].second.candidates;
    if (texts.empty()) return false;
    Written written;
    written.message = texts.front()->message;
    for (const Text* text : texts) {
      const Message& other = text->message;
      written.isVague |= other.whole != written.message.whole;
      written.isBroken |= other.kind != written.message.kind;
    }
    take(ready[index].first, written, progress[index]);
  }
  for (const auto& [pid, line] : ready) {
    for (Text* text : line.candidates) --text->lines;
  }
  m_texts.remove_if([](const Text& text) { return text.lines == 0; });
  return true;
}

void Weave::giveUp(const Taker& take) {
  std::map<int, Strand> strands;
  strands.swap(m_strands);
  for (auto& [pid, strand] : strands) {
    for (const Line& line : strand.lines) {
      strand.progress = after(strand.progress, line);
      if (line.candidates.empty()) continue;
      Written written;
      written.message = line.candidates.front()->message;
      written.isVague = true;
      written.isBroken = true;
      take(pid, written, strand.progress);
    }
  }
  m_texts.clear();
}

}  // namespace outcome
