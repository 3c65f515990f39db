#ifndef TANEXICS_OUTCOME_READER_H
#define TANEXICS_OUTCOME_READER_H

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/outcome/pieces.h"
#include "tools/outcome/progress.h"
#include "tools/outcome/run.h"
#include "tools/outcome/weave.h"

namespace outcome {

/// Reads the bytes of one action log and gives its runs, each when it ends. Linear in the bytes, in
/// one pass; the memory is that of the runs that are open.
///
/// A verdict is given where every way to complete what is missing, and to give the texts of torn
/// lines to the processes, comes to the same one; otherwise it is `kUnknown`. Texts that look like
/// the command's own are read as they stand.
class Reader {
 public:
  using Sink = std::function<void(Run run)>;

  /// `sink`       gets each run, in the order in which they end.
  /// `keepLines`  whether a run has its lines.
  explicit Reader(Sink sink, bool keepLines = false);

  /// The next bytes of the log, cut wherever it may be.
  void feed(std::string_view bytes);

  /// The log has come to its end: the runs without an end are given, in the order of their first
  /// lines. The reader is fed nothing afterwards.
  void finish();

  /// The first line that is none of an action log, without its line feed; empty for none.
  const std::string& firstForeignLine() const { return m_foreignLine; }

 private:
  struct Live {
    Run run;
    std::vector<Progress> progress;
    unsigned long order = 0;    // of the first line
    std::string head;           // of the line that waits for its text
    bool awaitsAnswer = false;  // the last exchange has no answer yet
    bool isPatched = false;     // it was given a text that had no head of its own
    bool isTorn = false;        // its lines cannot be told from those of others
    bool isDisputed = false;    // another run had its process id meanwhile
    bool isRest = false;        // of a run that was closed with another of its process id
  };

  std::size_t readPiece(std::string_view bytes, bool isWhole);
  void onHead(const Head& head, std::string_view bytes);
  void onText(std::string_view text);
  void onLineFeed();
  void onStrayText(std::string_view text);
  static void patch(Live& live);
  void onTornText(std::string_view text);
  void settle();
  void take(int pid, const Written& written, const std::vector<Progress>& progress);
  void addToRun(int pid, const Message& message);
  void begin(int pid);
  void note(Live& live, const Message& message, bool isVague);
  void doubtBeginning(const Live& live);
  void tearAll();
  void closeIfEnded(int pid);
  void close(int pid);
  void giveEnded();
  void give(Live ended);
  Live& live(int pid);

  Sink m_sink;
  bool m_keepLines;
  std::string m_buffer;
  std::unordered_map<int, Live> m_live;
  std::deque<Live> m_ended;
  unsigned long m_order = 0;
  std::unordered_set<int> m_rests;  // process ids of which a run may go on that was closed before
  Weave m_weave;
  int m_waiting = 0;             // the one process whose text is next; 0: none, or a weave
  bool m_isInterrupted = false;  // a line feed stands between that one's head and text
  int m_unfinished = 0;          // lines that have their text and not their line feed
  bool m_isAtStart = true;
  std::string m_foreignLine;
};

}  // namespace outcome

#endif
