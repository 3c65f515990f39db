#include "sweep/stage.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

const char* const kSeededFile = "/srv/bin/seeded";

namespace {

const char* const kLoopbackFolder = "/srv/bin/loopback";
const char* const kHostileFolder = "/srv/bin/hostile";
const char* const kFenceFile = "/srv/bin/fence.so";
const char* const kAllocationFile = "/srv/bin/allocation.so";
const char* const kCollectionFolder = "/opt/dovra/tanex/bin";

void check(bool isDone, const std::string& what) {
  if (!isDone) throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string readFile(const fs::path& path) {
  const std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void writeFile(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  check(file.flush().good(), "write(" + path.string() + ")");
}

void writeProgram(const fs::path& path, const std::string& text) {
  writeFile(path, text);
  check(::chmod(path.c_str(), 0755) == 0, "chmod");
}

/// Sets how a mount, and all below it, may be used.
void setReadOnly(const char* where, bool isReadOnly) {
  mount_attr attributes = {};
  (isReadOnly ? attributes.attr_set : attributes.attr_clr) = MOUNT_ATTR_RDONLY;
  check(::mount_setattr(AT_FDCWD, where, isReadOnly ? AT_RECURSIVE : 0, &attributes,
                        sizeof attributes) == 0,
        std::string("mount_setattr(") + where + ")");
}

/// A shell script that leaves a file in its directory and prints `text`, which may hold any byte:
/// in one write, so that the number of reads is the same in every run, and by itself, because a
/// program more would be tried each time for nothing.
std::string collectionCommand(const std::string& text) {
  std::string escaped;
  for (const char byte : text) {
    char octal[8];
    std::snprintf(octal, sizeof octal, "\\%03o", static_cast<unsigned char>(byte));
    escaped += octal;
  }
  return "#!/bin/sh\n: > \"$1/data\"\nprintf '" + escaped + "'\n";
}

void clearFolder(const fs::path& folder) {
  if (!fs::exists(folder)) fs::create_directories(folder);
  for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry.path());
}

/// The files below `folder`, by path; a folder has the text "/".
void collectTree(const fs::path& folder, std::map<std::string, std::string>& files) {
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    files[entry.path()] = entry.is_directory() ? "/" : readFile(entry.path());
  }
}

}  // namespace

void mountMemory(const char* where) {
  check(::mount("none", where, "tmpfs", 0, "size=64m,mode=0755") == 0,
        std::string("mount(") + where + ")");
}

void enterStage(const Equipment& equipment) {
  enterStage({{kCommandFile, equipment.command},
              {std::string(kLoopbackFolder) + "/libkelcom.so", equipment.loopback},
              {std::string(kHostileFolder) + "/libkelcom.so", equipment.hostile},
              {kFenceFile, equipment.fence},
              {kAllocationFile, equipment.allocation},
              {kSeededFile, equipment.seeded}});
}

void enterStage(const std::map<std::string, std::string>& programs) {
  // Read before the build folder may be hidden by a mount.
  std::map<std::string, std::string> contents;
  for (const auto& [path, source] : programs) {
    contents[path] = readFile(source);
    if (contents[path].empty()) throw std::runtime_error("nothing to put at " + path);
  }
  check(::unshare(CLONE_NEWNS) == 0, "unshare");
  check(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "mount(/, private)");
  // The map of a user namespace is written through /proc.
  setReadOnly("/", true);
  setReadOnly("/proc", false);
  for (const char* where : {kStage, "/opt", "/tmp"}) mountMemory(where);
  check(::chmod("/tmp", 01777) == 0, "chmod(/tmp)");
  for (const auto& [path, bytes] : contents) writeProgram(path, bytes);
  for (const char* folder : {"/srv/out", "/srv/log", kOutbox}) fs::create_directories(folder);
  check(::umask(022) != static_cast<mode_t>(-1) && ::chdir("/") == 0, "chdir");
}

std::string initialLog(const Scenario& scenario) {
  const std::string line = "2026/01/01 00:00:00     1 an older line of the log, kept as it is\n";
  std::string text;
  while (text.size() < scenario.logBytes) text += line;
  text.resize(scenario.logBytes);
  return text;
}

void clearRecord() {
  clearFolder(fs::path(kOutbox) / "items");
  fs::remove(fs::path(kOutbox) / "exchanges.jsonl");
}

void prepareStage(const Scenario& scenario) {
  for (const char* folder : {kCaseFolder, "/tmp", "/opt", "/srv/log", "/srv/out"}) {
    clearFolder(folder);
  }
  clearRecord();
  for (const auto& [name, text] : scenario.files) writeFile(fs::path(kCaseFolder) / name, text);
  writeFile(kScriptFile, scenario.answers);
  const fs::path collection = kCollectionFolder;
  writeProgram(collection / "tanexcc", collectionCommand(scenario.collected));
  writeProgram(collection / "tanexcs", collectionCommand("collected by tanexcs\n"));
  if (scenario.logBytes > 0) writeFile(kActionLog, initialLog(scenario));
}

Launch launchOf(const Scenario& scenario) {
  Launch launch;
  launch.program = kCommandFile;
  launch.words = {kCommandFile};
  launch.words.insert(launch.words.end(), scenario.arguments.begin(), scenario.arguments.end());
  launch.environment = scenario.environment;
  launch.environment["PATH"] = "/usr/bin:/bin";
  launch.environment["TANEX_LOG"] = kActionLog;
  launch.environment["LD_LIBRARY_PATH"] = kLoopbackFolder;
  launch.environment["LD_PRELOAD"] = kFenceFile;
  launch.environment["KELCOM_LOOPBACK_OUTBOX"] = kOutbox;
  launch.environment["KELCOM_LOOPBACK_SCRIPT"] = kScriptFile;
  launch.folder = kCaseFolder;
  launch.output = kOutputFile;
  launch.errors = kErrorFile;
  launch.asOrdinaryUser = scenario.asOrdinaryUser;
  return launch;
}

Launch hostileLaunchOf(const Scenario& scenario, const std::string& call, const std::string& deed) {
  Launch launch = launchOf(scenario);
  launch.environment["LD_LIBRARY_PATH"] = kHostileFolder;
  launch.environment.erase("LD_PRELOAD");
  launch.environment["HOSTILE_RECORD"] = std::string(kOutbox) + "/exchanges.jsonl";
  launch.environment["HOSTILE_CALL"] = call;
  launch.environment["HOSTILE_DEED"] = deed;
  return launch;
}

Launch allocationLaunchOf(const Scenario& scenario, const std::string& which) {
  Launch launch = launchOf(scenario);
  launch.environment["LD_PRELOAD"] = kAllocationFile;
  launch.environment["FAILING_ALLOCATION"] = which;
  // The trace tells how far a removal had come.
  launch.environment["TANEX_LOG_LEVEL"] = "LOG_LEVEL_TRACE";
  launch.environment["FAILING_ALLOCATION_COUNT"] = kAllocationCount;
  return launch;
}

Launch seededLaunchOf(const Scenario& scenario, const std::string& seed) {
  Launch launch = launchOf(scenario);
  launch.program = kSeededFile;
  launch.environment["SEEDED_BUG"] = seed;
  return launch;
}

Outcome runTraced(const Launch& launch, const Disturbance& disturbance) {
  return collectOutcome(trace(launch, disturbance));
}

Outcome collectOutcome(Trace trace) {
  Outcome outcome;
  outcome.trace = std::move(trace);
  outcome.log = readFile(kActionLog);
  outcome.backup = readFile(kBackup);
  outcome.output = readFile(kOutputFile);
  outcome.errors = readFile(kErrorFile);
  outcome.record = readFile(fs::path(kOutbox) / "exchanges.jsonl");
  for (const auto& entry : fs::directory_iterator(fs::path(kOutbox) / "items")) {
    outcome.items["items/" + entry.path().filename().string()] = readFile(entry.path());
  }
  for (const auto& entry : fs::recursive_directory_iterator("/tmp")) {
    outcome.temporary.push_back(entry.path());
  }
  collectTree(kCaseFolder, outcome.inputs);
  collectTree("/opt", outcome.inputs);
  return outcome;
}
