#ifndef TANEXICS_PROOF_INHERITED_CALLER_H
#define TANEXICS_PROOF_INHERITED_CALLER_H

#include <sys/resource.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/judge.h"

/// What one of the descriptors 0 to 2 is when the command starts.
enum class Stream {
  kOrdinary,   // /dev/null to read from, the files of the stage to write to
  kClosed,     // nothing
  kWrongWay,   // the ordinary one, open the wrong way: read only, or write only for 0
  kFull,       // /dev/full
  kBrokenPipe  // a pipe whose reader has gone
};
constexpr const char* kStreamNames[] = {"ordinary", "closed", "wrong-way", "full", "broken"};
constexpr int kStreamKinds = 5;

/// The working directory.
enum class Folder {
  kCase,        // that of the run's input
  kDeleted,     // one that is there no more
  kUnreadable,  // mode 0, and the right to pass over that given up
  kDeep,        // of a name longer than 4,096 bytes
  kDetached     // on a file system that was unmounted below it
};
constexpr const char* kFolderNames[] = {"case", "deleted", "unreadable", "deep", "detached"};
constexpr int kFolderKinds = 5;

enum class Session {
  kCallers,     // whatever the proof was started in
  kNoTerminal,  // one of its own, without a terminal
  kTerminal     // one of its own, with a terminal
};

/// All that a caller hands down to the command.
struct Caller {
  std::uint64_t ignored = 0;  // sets of signals
  std::uint64_t blocked = 0;
  std::uint64_t pending = 0;  // blocked as well
  std::array<Stream, kStreams> streams = {};
  std::map<int, rlim_t> limits;  // by number of the resource; soft ones
  Folder folder = Folder::kCase;
  std::string program;  // the first word of the argument list
  Texts words;          // the others
  Texts environment;
  mode_t mask = 022;
  int nice = 0;
  Session session = Session::kCallers;

  Stream& stream(int number) { return streams.at(static_cast<std::size_t>(number)); }
  Stream stream(int number) const { return streams.at(static_cast<std::size_t>(number)); }
};

/// The signals whose disposition and mask nobody may change.
constexpr std::uint64_t kFixedSignals = bitOf(9) | bitOf(19);

/// What has to be there for a caller: its working directory and its terminal. One object a run;
/// both go with it.
class Surroundings {
 public:
  /// Throws std::runtime_error when something cannot be had.
  explicit Surroundings(const Caller& caller);
  ~Surroundings();
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  /// The file of the terminal; empty where there is none.
  const std::string& terminal() const { return m_terminal; }

 private:
  Folder m_folder;
  int m_pair = -1;  // the other side of the terminal
  std::string m_terminal;
};

/// For the process that is about to become the command: makes everything as the caller has it, and
/// writes down what came of it. Returns whether it could.
bool handDown(const Caller& caller, const Surroundings& surroundings);

/// What of the caller's `observation` does not show; nothing when all of it has taken effect. The
/// argument list and the environment are looked at where `isLoaded`, by the command itself.
Findings unseen(const Caller& caller, const Observation& observation, bool isLoaded);

#endif
