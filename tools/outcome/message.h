#ifndef TANEXICS_OUTCOME_MESSAGE_H
#define TANEXICS_OUTCOME_MESSAGE_H

#include <string_view>
#include <vector>

namespace outcome {

/// The messages of the action log that tell what becomes of a run.
enum class Kind {
  kStarted,       ///< "### main : PROGRAM started."
  kExit,          ///< "### main : PROGRAM exit. code = NUMBER"
  kElapsed,       ///< "ELAPSED:range='executing tanexics', time='TEXT'"
  kRefusal,       ///< nothing is sent: `text` says why
  kStartedComm,   ///< communication was started
  kLoop,          ///< "commonSendEvent Main Loop (NUMBER/TOTAL)"
  kNotification,  ///< the call of a notification, REQUEST
  kData,          ///< the call of a transfer, REQUEST, of TOTAL files, the first one PATH
  kDone,          ///< the answer to a call: NUMBER, and `text`
  kSent,          ///< "commonSendEvent OK" (NUMBER 0) or "commonSendEvent Error." (NUMBER 1)
  kMissing,       ///< a listed file, `text`, could not be measured
  kNoTempDir,     ///< no temporary directory for the collection commands
  kOther,         ///< known, and without a part in the outcome
  kUnread,        ///< nothing that the command writes, or a part of it
};

/// One message. All views are into the text that it was read from.
struct Message {
  Kind kind = Kind::kUnread;
  std::string_view whole;
  int number = 0;
  int total = 0;
  unsigned request = 0;
  std::string_view text;  ///< what the kind says
  std::string_view host;  ///< of a notification that names it
  int part = 0;           ///< of an incident's notification; 0 where it has none
};

/// Reads `text` as one whole message, without head and line feed. Anything else is `kUnread`.
Message readMessage(std::string_view text);

/// How many of `bytes`, which begin with a message, are that message, although some of them look
/// like line feeds and heads: an incident's number may hold what it likes. 0 where the message ends
/// as usual, before the next line feed or head; `kMoreNeeded` where the end of `bytes` leaves it
/// open and `isWholeInput` is not set.
constexpr std::size_t kMoreNeeded = static_cast<std::size_t>(-1);
std::size_t ownLength(std::string_view bytes, bool isWholeInput);

/// Whether the line feed after `bytes`, of one message or several, is a part of the last one, which
/// has one of its own.
bool endsInLineFeed(std::string_view bytes);

/// All ways to read `bytes`, which have no head between them, as 1 to `most` messages after one
/// another, none of which is `kUnread`. At most `kMostReadings`.
constexpr std::size_t kMostReadings = 64;
std::vector<std::vector<Message>> readingsOf(std::string_view bytes, std::size_t most);

}  // namespace outcome

#endif
