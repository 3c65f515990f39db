#include "inherited/run.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <stdexcept>

#include "inherited/stagefiles.h"
#include "sweep/launch.h"

namespace fs = std::filesystem;

const char* const kTempFolder = "/srv/t";

namespace {

const char* const kVarOpt = "/var/opt";
const char* const kLogFolder = "/var/opt/QZKBsoftmsg/log";

Testimony* testimony = nullptr;

void check(bool isDone, const std::string& what) {
  if (!isDone) throw std::runtime_error(what + ": " + std::strerror(errno));
}

void placeLink(const std::string& target, const fs::path& name) {
  fs::create_directories(name.parent_path());
  fs::remove(name);
  fs::create_symlink(target, name);
}

void makeTestimony() {
  const int file = ::open(kTestimonyFile, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  check(file >= 0 && ::ftruncate(file, sizeof(Testimony)) == 0, "testimony");
  ::close(file);
  testimony = openTestimony();
  check(testimony != nullptr, "mmap");
}

void orderTestimony(const Situation& situation) {
  std::memset(static_cast<void*>(testimony), 0, sizeof *testimony);
  testimony->collectedBytes = situation.scenario->collected.size();
  std::strncpy(testimony->zoneCall, situation.zoneCall.c_str(), sizeof testimony->zoneCall - 1);
  std::strncpy(testimony->zone, situation.zone.c_str(), sizeof testimony->zone - 1);
}

/// The witness in the place of the collection commands, and the closed library where the maker
/// installs it, and for some where only LD_LIBRARY_PATH leads.
void placePrograms(const Situation& situation) {
  for (const char* name : {"tanexcc", "tanexcs"}) {
    placeLink(kWitnessProgram, fs::path("/opt/dovra/tanex/bin") / name);
  }
  placeLink(kWitnessLibrary, fs::path(kMakersFolder) / "libkelcom.so");
  fs::remove_all(kOwnLibraryFolder);
  if (!situation.isLibraryElsewhere) return;
  placeLink(kWitnessLibrary, fs::path(kOwnLibraryFolder) / "libkelcom.so");
}

void makePlaces(const TempPlace& temp) {
  fs::remove_all(kTempFolder);
  fs::create_directories(kTempFolder);
  for (const std::string& folder : temp.folders) fs::create_directories(folder);
  for (const std::string& file : temp.files) ::close(::creat(file.c_str(), 0600));
  for (const auto& [name, target] : temp.links) fs::create_symlink(target, name);
}

/// What lies where a temporary directory may come to be.
std::set<std::string> itemsAround() {
  std::set<std::string> items;
  for (const char* folder : {"/tmp", kTempFolder}) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) items.insert(entry.path());
  }
  for (const char* folder : {kStage, "/srv/folders"}) {
    if (!fs::exists(folder)) continue;
    for (const auto& entry : fs::directory_iterator(folder)) {
      items.insert(entry.path());
      // What a directory that is too shallow to be removed has in it.
      if (entry.path().filename().string().compare(0, 5, "swcon") != 0) continue;
      for (const auto& inner : fs::directory_iterator(entry)) items.insert(inner.path());
    }
  }
  return items;
}

std::vector<std::string> newItems(const std::set<std::string>& before) {
  const std::set<std::string> now = itemsAround();
  std::vector<std::string> items;
  std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                      std::back_inserter(items));
  return items;
}

Launch launchIn(const Situation& situation, const Caller& caller) {
  Launch launch = launchOf(*situation.scenario);
  if (!situation.bug.empty()) launch.program = kSeededFile;
  launch.words = {caller.program};
  launch.words.insert(launch.words.end(), caller.words.begin(), caller.words.end());
  launch.environment.clear();
  launch.moreEnvironment = caller.environment;
  return launch;
}

}  // namespace

void enterInheritedStage(const InheritedEquipment& equipment) {
  const fs::path shell = fs::canonical("/bin/sh");
  enterStage({{kCommandFile, equipment.command},
              {kSeededFile, equipment.seeded},
              {kWitnessLibrary, equipment.library},
              {kWitnessProgram, equipment.witness},
              {kRealShell, shell}});
  mountMemory(kVarOpt);
  placeLink("/srv/log", kLogFolder);
  check(::mount(kWitnessProgram, shell.c_str(), nullptr, MS_BIND, nullptr) == 0,
        "mount(" + shell.string() + ")");
  makeTestimony();
}

Run runIn(const Situation& situation, bool isBlunt) {
  const Caller caller = isBlunt ? undisturbed(*situation.scenario).caller : situation.caller;
  prepareStage(*situation.scenario);
  placePrograms(situation);
  makePlaces(situation.temp);
  orderTestimony(situation);
  const Surroundings surroundings(caller);
  const std::set<std::string> before = itemsAround();
  Launch launch = launchIn(situation, caller);
  launch.handDown = [&] { return handDown(caller, surroundings, testimony); };

  Run run;
  run.begin = std::time(nullptr);
  Trace trace = runPlainly(launch);
  run.end = std::time(nullptr);
  run.left = newItems(before);
  run.outcome = collectOutcome(std::move(trace));
  run.outcome.record = testimony->record;
  const int count = std::min<int>(testimony->count, kMostObservations);
  run.observations.assign(testimony->observations, testimony->observations + count);
  run.isZoneChanged = !situation.zoneCall.empty() && testimony->zoneCall[0] == '\0';
  struct stat status = {};
  if (::stat(kActionLog, &status) == 0) run.logMode = status.st_mode;
  for (const std::string& item : run.left) fs::remove_all(item);
  return run;
}

const Observation* find(const Run& run, Role role) {
  const auto found =
      std::find_if(run.observations.begin(), run.observations.end(),
                   [role](const Observation& observation) { return observation.role == role; });
  return found == run.observations.end() ? nullptr : &*found;
}
