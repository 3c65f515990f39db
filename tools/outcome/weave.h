#ifndef TANEXICS_OUTCOME_WEAVE_H
#define TANEXICS_OUTCOME_WEAVE_H

#include <deque>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/outcome/progress.h"

namespace outcome {

/// What a process has written in one line, as far as it is known.
struct Written {
  Message message;        ///< one that it may have written
  bool isVague = false;   ///< it may have written another of the same kind
  bool isBroken = false;  ///< not even the kind is known
};

/// Lines of several processes that mix. A line is written in three parts, and between two parts of
/// one process any number of parts of others may stand; a text does not say whose it is. A text is
/// kept until one process alone can have written it: each one had its head written before, took no
/// other text meanwhile, and has come so far that the text can be its next; and every text was
/// written by somebody, and every process that begins another line has written a text.
class Weave {
 public:
  /// Gets what a process has written, and all that it may have come to by that. The views of the
  /// message are valid during the call.
  using Taker =
      std::function<void(int pid, const Written& written, const std::vector<Progress>& progress)>;

  bool isEmpty() const { return m_strands.empty(); }

  /// The head of a line of `pid`, which has come to `progress` where it is new here. Returns false
  /// where the process cannot have written the text of its line before; that is taken as lost.
  bool addHead(int pid, const std::vector<Progress>& progress);

  /// What stands between two heads or line feeds, once what came before is settled. Returns of how
  /// many messages it is made; 0, and nothing changes, where it can be given to nobody.
  std::size_t addText(std::string_view bytes);

  /// Hands over, in the order of each process, what is known to be written. Returns false where the
  /// parts do not fit together: then some are lost.
  bool settle(const Taker& take);

  /// Gives up: hands over all that the processes may have come to, and forgets them.
  void giveUp(const Taker& take);

 private:
  struct Text {
    std::string bytes;
    Message message;
    std::size_t lines = 0;  // that it may stand in
    std::size_t knot = 0;   // while knots are made: its own
    std::size_t place = 0;  // among the texts of its knot
  };
  using Texts = std::vector<Text*>;

  /// A line: its head is written, its text is one of these.
  struct Line {
    Texts candidates;
    bool isClosed = false;    // its text was written: another line of the process has begun
    bool isFinal = false;     // nobody else can have written any of these
    bool isNew = true;        // changed since the line was last compared with others
    bool isUnchecked = true;  // changed since the lines of its process were last gone through
  };
  struct Strand {
    std::vector<Progress> progress;  // before the first line
    std::vector<Progress> reached;   // before the last line, when its lines were last gone through
    std::deque<Line> lines;
    bool isUnchecked() const;
  };
  /// Lines that may have taken texts from one another.
  struct Knot {
    std::vector<Line*> lines;
    Texts texts;
  };

  static std::vector<Progress> after(const std::vector<Progress>& progress, const Line& line);
  template <class IsPossible>
  static bool keepPossible(Line& line, const IsPossible& isPossible);
  bool prunePasts();
  static bool prunePast(Strand& strand);
  bool pruneOthers(bool& isPossible);
  std::vector<Knot> knots();
  static bool hasOneKind(const Line& line);
  std::size_t countOpen() const;
  bool handOver(const Taker& take);

  std::map<int, Strand> m_strands;
  std::list<Text> m_texts;  // each stays where it is
};

}  // namespace outcome

#endif
