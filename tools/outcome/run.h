#ifndef TANEXICS_OUTCOME_RUN_H
#define TANEXICS_OUTCOME_RUN_H

#include <optional>
#include <string>
#include <vector>

namespace outcome {

/// What became of a report, as far as the action log shows it.
enum class Verdict {
  kDelivered,  ///< every exchange was made and answered with 0
  kPartly,     ///< some were, or a listed file was missing
  kRefused,    ///< exchanges were made, and none was answered with 0
  kNotSent,    ///< no exchange was made, and the log says why
  kUnknown,    ///< the log leaves more than one of these possible
};

/// Why nothing can be said of a run although its own lines might decide.
enum class Doubt {
  kNone,
  kTorn,      ///< its lines cannot be told from those of runs at the same time
  kDisputed,  ///< another run began under its process id before it had ended
};

/// The word for a verdict, such as "not-sent". A static text.
const char* wordOf(Verdict verdict);

/// What a run reported.
enum class Mode { kNone, kIncident, kErrorEvent, kEvent, kType1 };

/// The word for a mode, such as "error-event"; null for none. A static text.
const char* wordOf(Mode mode);

/// A request code as the log has it, such as "0x40017".
std::string requestText(unsigned request);

/// One exchange with the centre. All texts of this file are bytes of the log, in whatever encoding;
/// what the log does not tell is empty.
struct Exchange {
  bool isData = false;               ///< the transfer of files; otherwise a notification
  std::optional<unsigned> request;   ///< the request code
  std::optional<int> part;           ///< the number of the listed file, from 1
  int files = 0;                     ///< of a transfer: how many
  std::optional<std::string> path;   ///< of a transfer: the first one
  std::optional<int> code;           ///< what the library returned
  std::optional<std::string> error;  ///< what it said of a failure; empty for nothing
};

/// Whether an exchange was answered with 0 and without an error.
bool isAccepted(const Exchange& exchange);

/// "1 run", "2 runs": `one` is the word for one of them, whose plural ends in s.
std::string counted(std::size_t number, const std::string& one);

/// One run of the command.
struct Run {
  int pid = 0;
  std::string start;  ///< "YYYY/MM/DD HH:MM:SS" of its first line; local time, without a zone
  std::string end;    ///< of its last line; empty where the log has no exit line
  std::optional<double> elapsed;  ///< seconds
  std::optional<int> exitCode;
  Mode mode = Mode::kNone;
  std::optional<std::string> identity;  ///< the incident's number, or the event's label
  std::optional<std::string> host;
  std::optional<int> expected;       ///< how many exchanges it had to make
  std::vector<Exchange> exchanges;   ///< in their order
  std::vector<std::string> missing;  ///< listed files that could not be measured
  std::vector<std::string> lines;    ///< its own lines, with their heads; where they were asked for
  int torn = 0;                      ///< places where a line is missing, torn or not understood
  bool hasStart = false;             ///< whether the log has its `started` line
  Verdict verdict = Verdict::kUnknown;
  Doubt doubt = Doubt::kNone;
  std::string reason;  ///< one sentence: why this verdict; in English
};

}  // namespace outcome

#endif
