#include "inherited/seeded.h"

#include <csignal>

#include "inherited/families.h"
#include "inherited/sweep.h"

namespace {

using Change = void (*)(Situation&);

/// The situation of a bug, in `scenario`.
Seed makeSeed(const std::string& bug, const char* scenario, const std::string& judge,
              Change change) {
  Catalogue catalogue;
  catalogue.add(kSeededRow, {scenario}, bug, change);
  Seed seed = {catalogue.situations().front(), judge};
  setBug(seed.situation, bug);
  return seed;
}

void ordinary(Situation&) {}
void ignoreSigchld(Situation& situation) { situation.caller.ignored = bitOf(SIGCHLD); }
void breakOutput(Situation& situation) { situation.caller.streams[1] = Stream::kBrokenPipe; }
void closeInput(Situation& situation) { situation.caller.streams[0] = Stream::kClosed; }
void closeOutput(Situation& situation) { situation.caller.streams[1] = Stream::kClosed; }
void limitFiles(Situation& situation) { situation.caller.limits[RLIMIT_FSIZE] = 500; }
void maskAll(Situation& situation) { situation.caller.mask = 0777; }
void maskNothing(Situation& situation) { situation.caller.mask = 0; }
void setZone(Situation& situation) { setVariable(situation.caller, "TZ=XST-9"); }
void changeZone(Situation& situation) {
  situation.zoneCall = "KEL_StartComm";
  situation.zone = "XST-9";
}
void deleteFolder(Situation& situation) { situation.caller.folder = Folder::kDeleted; }

}  // namespace

const std::vector<Seed>& allSeeds() {
  static const std::vector<Seed> seeds = {
      makeSeed("sigchld-kept", "incident", "end: ", ignoreSigchld),
      makeSeed("sigpipe-default", "incident-above-buffer", "end: signal 13", breakOutput),
      makeSeed("sigxfsz-default", "event-err", "end: signal 25", limitFiles),
      makeSeed("handler-installed", "event-err", "command in KEL_GetID: catches", ordinary),
      makeSeed("signals-handed-on", "incident", "shell of uname", ordinary),
      makeSeed("signal-blocked", "incident", "shell of uname", ordinary),
      makeSeed("mask-kept", "event-err", "log: its permission bits", maskAll),
      makeSeed("mask-kept", "incident", "temporary directory: ", maskNothing),
      makeSeed("descriptors-closed", "event-err", "command in KEL_GetID: ", closeInput),
      makeSeed("descriptors-closed", "incident", "command in KEL_GetID: ", closeOutput),
      makeSeed("zone-ignored", "event-err", "log: line 1 has the head", setZone),
      makeSeed("zone-kept", "event-err", "log: line ", changeZone),
      makeSeed("folder-needed", "event-err", "end: ", deleteFolder)};
  return seeds;
}

void setBug(Situation& situation, const std::string& bug) {
  situation.bug = bug;
  std::vector<std::string>& environment = situation.caller.environment;
  for (auto entry = environment.begin(); entry != environment.end();) {
    entry = entry->compare(0, 11, "SEEDED_BUG=") == 0 ? environment.erase(entry) : entry + 1;
  }
  environment.push_back("SEEDED_BUG=" + bug);
}

std::string nameOf(const Seed& seed) { return seed.situation.name; }
