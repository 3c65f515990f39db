#include "core/stage.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
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

#include "core/calls.h"

namespace fs = std::filesystem;

namespace {

const char* const kCollectionFolder = "/opt/dovra/tanex/bin";

Testimony* shared = nullptr;

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

void makeTestimony() {
  const int file = ::open(kTestimonyFile, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  check(file >= 0 && ::ftruncate(file, sizeof(Testimony)) == 0, "testimony");
  ::close(file);
  shared = openTestimony();
  check(shared != nullptr, "mmap");
}

}  // namespace

void check(bool isDone, const std::string& what) {
  if (!isDone) throw std::runtime_error(what + ": " + std::strerror(errno));
}

void mountMemory(const char* where) {
  check(::mount("none", where, "tmpfs", 0, "size=64m,mode=0755") == 0,
        std::string("mount(") + where + ")");
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
  makeTestimony();
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

void prepareStage(const Scenario& scenario, Orders orders) {
  for (const char* folder : {kCaseFolder, "/tmp", "/opt", "/srv/log", "/srv/out"}) {
    clearFolder(folder);
  }
  clearRecord();
  std::memset(static_cast<void*>(shared), 0, sizeof *shared);
  orders.collectedBytes = scenario.collected.size();
  shared->orders = orders;
  for (const auto& [name, text] : scenario.files) writeFile(fs::path(kCaseFolder) / name, text);
  writeFile(kScriptFile, scenario.answers);
  const fs::path collection = kCollectionFolder;
  writeProgram(collection / "tanexcc", collectionCommand(scenario.collected));
  writeProgram(collection / "tanexcs", collectionCommand(kCollectedBySecond));
  if (scenario.logBytes > 0) writeFile(kActionLog, initialLog(scenario));
}

Testimony* testimony() { return shared; }

Launch launchOf(const Scenario& scenario, const std::map<std::string, std::string>& changes) {
  Launch launch;
  launch.program = kCommandFile;
  launch.words = {kCommandFile};
  launch.words.insert(launch.words.end(), scenario.arguments.begin(), scenario.arguments.end());
  std::map<std::string, std::string> environment = changes;  // what is there already stays
  environment.insert({{"PATH", "/usr/bin:/bin"},
                      {"TANEX_LOG", kActionLog},
                      {"LD_LIBRARY_PATH", kLoopbackFolder},
                      {"LD_PRELOAD", kPreloadFile},
                      {"KELCOM_LOOPBACK_OUTBOX", kOutbox},
                      {"KELCOM_LOOPBACK_SCRIPT", kScriptFile}});
  environment.insert(scenario.environment.begin(), scenario.environment.end());
  for (const auto& [name, value] : environment) launch.environment.push_back(name + "=" + value);
  launch.asOrdinaryUser = scenario.asOrdinaryUser;
  return launch;
}

Outcome collectOutcome(Trace trace) {
  Outcome outcome;
  outcome.trace = std::move(trace);
  outcome.log = readFile(kActionLog);
  outcome.backup = readFile(kBackup);
  outcome.output = readFile(kOutputFile);
  outcome.errors = readFile(kErrorFile);
  // The stand-in's, or that of the other closed library.
  outcome.record = readFile(fs::path(kOutbox) / "exchanges.jsonl") + shared->record;
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

std::string storyOf(const Outcome& run) {
  std::ostringstream story;
  for (std::size_t number = 0; number < run.trace.processes.size(); ++number) {
    const Process& process = run.trace.processes[number];
    story << "process " << number << " of " << process.parent << ": " << process.program << " "
          << process.shell << ": " << endText(process.waitStatus) << "\n";
  }
  for (const Call& call : run.trace.calls) {
    story << call.process << "." << call.number << " " << findCall(call.kind)->name << " "
          << call.target;
    if (call.isHit) story << " = " << errorName(call.error);
    if (!call.bytes.empty()) story << " \"" << call.bytes << "\"";
    story << "\n";
  }
  story << "--- log\n"
        << run.log << "--- standard output\n"
        << run.output << "--- standard error\n"
        << run.errors << "--- exchanges\n"
        << run.record << "--- temporary items\n";
  for (const std::string& path : run.temporary) story << path << "\n";
  return story.str() + "--- end: " + endText(run.trace.waitStatus) + "\n";
}
