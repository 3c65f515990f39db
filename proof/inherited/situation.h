#ifndef TANEXICS_PROOF_INHERITED_SITUATION_H
#define TANEXICS_PROOF_INHERITED_SITUATION_H

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "inherited/caller.h"

constexpr const char* kWitnessProgram = "/srv/bin/witness";
constexpr const char* kWitnessLibrary =
    "/srv/bin/libkelcom.so";                               // the loader looks at nothing there
constexpr const char* kMakersFolder = "/opt/QZKBkel/lib";  // where the maker installs his
constexpr const char* kOwnLibraryFolder = "/srv/lib";      // for LD_LIBRARY_PATH alone
constexpr const char* kTempFolder = "/srv/t";              // for odd places of TMPDIR

/// What becomes of the temporary directory.
enum class TempFate {
  kMade,     // it is made and removed
  kNoName,   // there is no name for one
  kNotMade,  // mkdir fails, with `mkdirStatus`
  kKept,     // it is made, and too shallow to be removed
};

/// Where the temporary directory is to be. The folders named here are below kTempFolder and made
/// beforehand.
struct TempPlace {
  std::string parent = "/tmp";     // as the command's lines name it
  std::string canonical = "/tmp";  // the same without detours
  TempFate fate = TempFate::kMade;
  int mkdirStatus = 0;  // wait status
  Texts leftBehind;     // where it is not made: what mkdir makes instead
  Texts folders;        // to be made for it
  Texts files;
  std::vector<std::pair<std::string, std::string>> links;  // name and target
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

/// What is tried, as it is put together.
class Catalogue {
 public:
  /// Adds a changed situation in each of the scenarios.
  void add(const std::string& family, std::initializer_list<const char*> scenarios,
           const std::string& what, const Change& change);

  std::vector<Situation> situations;
};

// The families, each by the file that adds it. Together they are everything that is tried, without
// what this system cannot do.
void addProcess(Catalogue& catalogue);  // signals, descriptors, limits, and what else a process has
void addEnvironment(Catalogue& catalogue);  // environment, PATH, loader, zone, locale
void addTemporary(Catalogue& catalogue);    // TMPDIR
void addMixtures(Catalogue& catalogue);     // much of it at once

/// The lowest niceness that can be handed down.
int leastNice();

#endif
