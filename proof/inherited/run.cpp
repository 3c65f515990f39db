#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "inherited/judge.h"

namespace fs = std::filesystem;

namespace {

void placeLink(const std::string& target, const fs::path& name) {
  fs::create_directories(name.parent_path());
  fs::remove(name);
  fs::create_symlink(target, name);
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
  Launch launch;
  launch.program = situation.bug.empty() ? kCommandFile : kSeededFile;
  launch.words = {caller.program};
  launch.words.insert(launch.words.end(), caller.words.begin(), caller.words.end());
  launch.environment = caller.environment;
  return launch;
}

Orders ordersFor(const Situation& situation) {
  Orders orders = {};
  situation.zoneCall.copy(orders.zoneCall, sizeof orders.zoneCall - 1);
  situation.zone.copy(orders.zone, sizeof orders.zone - 1);
  return orders;
}

}  // namespace

void enterInheritedStage(const std::string& command) {
  const fs::path shell = fs::canonical("/bin/sh");
  enterStage({{kCommandFile, command},
              {kSeededFile, SEEDED_COMMAND},
              {kWitnessLibrary, KELCOM_LIBRARY},
              {kWitnessProgram, WITNESS_PROGRAM},
              {kRealShell, shell}});
  mountMemory("/var/opt");
  placeLink("/srv/log", "/var/opt/QZKBsoftmsg/log");
  check(::mount(kWitnessProgram, shell.c_str(), nullptr, MS_BIND, nullptr) == 0,
        "mount(" + shell.string() + ")");
}

Run runIn(const Situation& situation, bool isBlunt) {
  const Caller caller = isBlunt ? undisturbed(*situation.scenario).caller : situation.caller;
  prepareStage(*situation.scenario, ordersFor(situation));
  placePrograms(situation);
  makePlaces(situation.temp);
  const Surroundings surroundings(caller);
  const std::set<std::string> before = itemsAround();
  Launch launch = launchIn(situation, caller);
  launch.handDown = [&] { return handDown(caller, surroundings); };

  Run run;
  run.begin = std::time(nullptr);
  Trace trace = runPlainly(launch);
  run.end = std::time(nullptr);
  run.left = newItems(before);
  run.outcome = collectOutcome(std::move(trace));
  const Testimony& found = *testimony();
  const int count = std::min<int>(found.count, kMostObservations);
  run.observations.assign(found.observations, found.observations + count);
  run.isZoneChanged = !situation.zoneCall.empty() && found.orders.zoneCall[0] == '\0';
  struct stat status = {};
  if (::stat(kActionLog, &status) == 0) run.logMode = status.st_mode;
  for (const std::string& item : run.left) fs::remove_all(item);
  return run;
}

const Observation* Run::find(Role role) const {
  for (const Observation& observation : observations) {
    if (observation.role == role) return &observation;
  }
  return nullptr;
}
