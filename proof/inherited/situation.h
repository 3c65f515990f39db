#ifndef TANEXICS_PROOF_INHERITED_SITUATION_H
#define TANEXICS_PROOF_INHERITED_SITUATION_H

#include <sys/resource.h>

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "core/judge.h"

constexpr const char* kWitnessProgram = "/srv/bin/witness";
constexpr const char* kWitnessLibrary =
    "/srv/bin/libkelcom.so";                               // the loader looks at nothing there
constexpr const char* kMakersFolder = "/opt/QZKBkel/lib";  // where the maker installs his
constexpr const char* kOwnLibraryFolder = "/srv/lib";      // for LD_LIBRARY_PATH alone
constexpr const char* kTempFolder = "/srv/t";              // for odd places of TMPDIR

/// What one of the descriptors 0 to 2 is when the command starts.
enum class Stream {
  kOrdinary,   // /dev/null to read from, the files of the stage to write to
  kClosed,     // nothing
  kWrongWay,   // the ordinary one, open the wrong way: read only, or write only for 0
  kFull,       // /dev/full
  kBrokenPipe  // a pipe whose reader has gone
};
constexpr const char* kStreamNames[] = {"ordinary", "closed", "wrong-way", "full", "broken"};
constexpr int kStreamKinds = std::size(kStreamNames);

/// The working directory.
enum class Folder {
  kCase,        // that of the run's input
  kDeleted,     // one that is there no more
  kUnreadable,  // mode 0, and the right to pass over that given up
  kDeep,        // of a name longer than 4,096 bytes
  kDetached     // on a file system that was unmounted below it
};
constexpr const char* kFolderNames[] = {"case", "deleted", "unreadable", "deep", "detached"};
constexpr int kFolderKinds = std::size(kFolderNames);

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

/// What becomes of the temporary directory.
enum class TempFate {
  kMade,     // it is made and removed
  kNoName,   // there is no name for one
  kNotMade,  // mkdir fails, with `mkdirStatus`
  kKept,     // it is made, and too shallow to be removed
};

/// Where the temporary directory is to be.
struct TempPlace {
  std::string parent = "/tmp";     // as the command's lines name it
  std::string canonical = "/tmp";  // the same without detours; made where it is not there
  TempFate fate = TempFate::kMade;
  int mkdirStatus = 0;    // wait status
  Texts leftBehind = {};  // where it is not made: what mkdir makes instead
};

/// One thing handed down, in one scenario.
struct Situation {
  std::string family;
  std::string name;  // enough to try it again
  const Scenario* scenario = nullptr;
  Caller caller;
  TempPlace temp;
  bool isLibraryElsewhere = false;  // LD_LIBRARY_PATH leads to another copy of the closed library
  bool hasNoCommands = false;       // nothing is found through PATH
  std::string zoneCall;             // the call in which the closed library changes the time zone
  std::string zone;                 // to this one
  std::string bug;                  // of the seeded command; empty for the command itself
};

/// An ordinary caller of `scenario`.
Situation undisturbed(const Scenario& scenario);

/// The scenarios of this proof: some of those of the other one, by absolute names, so that the
/// working directory makes no difference, and some in which the first collection command prints
/// more than a buffer or a pipe takes.
const std::vector<Scenario>& inheritedScenarios();

// What makes a situation of an ordinary one.
using Change = std::function<void(Situation&)>;
void asAlways(Situation& situation);
Change having(const std::string& variable);  // in front of all others of the environment
Change having(int stream, Stream kind);
Change limitedTo(int resource, rlim_t value);
Change changingZone(const std::string& call, const std::string& zone);
template <class Value, class Given>
Change having(Value Caller::*member, const Given& given) {
  return [member, value = Value(given)](Situation& situation) { situation.caller.*member = value; };
}

/// Several changes, one after the other.
Change all(const std::vector<Change>& changes);

/// An ordinary caller's situation, changed by `change`. `what` tells it from the others of its
/// family.
Situation changed(const std::string& scenario, const std::string& family, const std::string& what,
                  const Change& change);

// The scenarios in which most is tried: those that run every kind of child, and without a rotation.
const std::initializer_list<const char*> kAllChildren = {"incident", "event-err", "log-rotation"};
const std::initializer_list<const char*> kSending = {"incident", "event-err"};

/// What is tried, as it is put together.
struct Catalogue {
  std::vector<Situation> situations;

  /// Adds a changed situation in each of the scenarios.
  void add(const std::string& family, std::initializer_list<const char*> scenarios,
           const std::string& what, const Change& change);
};

// The families, each by the file that adds it. Together they are everything that is tried, without
// what this system cannot do.
void addProcess(Catalogue& catalogue);  // signals, descriptors, limits, and what else a process has
void addMixtures(Catalogue& catalogue);     // much of it at once
void addEnvironment(Catalogue& catalogue);  // PATH, loader, zone, locale, TMPDIR

/// The lowest niceness that can be handed down.
int leastNice();

#endif
