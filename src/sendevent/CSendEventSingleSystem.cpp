#include "sendevent/CSendEventSingleSystem.h"

#include <cstdio>
#include <optional>

#include "common/base/format.h"
#include "common/base/piecereader.h"
#include "common/base/shell.h"
#include "common/base/unwind.h"
#include "common/capture/host.h"
#include "common/files/filesystem.h"
#include "common/text/text.h"
#include "log/CLog.h"
#include "rmglib/CVuqRmgLib.h"
#include "sendevent/exitstatus.h"
#include "sendevent/option.h"
#include "temp/CTemp.h"

namespace {

constexpr std::size_t kMachineIdBytes = 1024;
constexpr std::size_t kCommandBytes = 1023;

constexpr const char* kCollectionCommands[] = {
#include "sendevent/collectioncommands.inc"
};

int rejectCount() {
  gLog.ilog("parameter count error.(CSendEventSingleSystem::parseCommandLine)");
  return kExitBadInput;
}

/// Asks a client of its own for the machine identifier. Gives the integer that the library threw,
/// if it did; the identifier stays as it was then.
std::optional<int> readMachineId(char (&machineId)[kMachineIdBytes]) {
  CVuqRmgLib client;
  try {
    // Asked twice, and the second answer counts: the library has always seen two queries here.
    client.getMachineID();
    std::snprintf(machineId, sizeof machineId, "%s", client.getMachineID());
  } catch (int code) {
    return code;
  }
  return std::nullopt;
}

/// Lets the collection commands fill a temporary directory, whatever they end with.
int collectInformation() {
  CTemp temp;
  std::string directory;
  if (temp.getTempDir(directory, "swconf", nullptr) == 0) {
    gLog.ilog("make tempname error (CSendEventSingleSystem::SendEvent)");
    return kExitNoTempDir;
  }
  for (const char* program : kCollectionCommands) {
    char command[kCommandBytes];
    std::snprintf(command, sizeof command, "%s %s 2>/dev/null", program, C(directory));
    s_system(command);  // a collection that fails must not spoil a report that was sent
  }
  return kExitSuccess;
}

}  // namespace

CSendEventSingleSystem::CSendEventSingleSystem() = default;

CSendEventSingleSystem::~CSendEventSingleSystem() = default;

int CSendEventSingleSystem::parseCommandLine(int argc, char** argv) {
  m_eventType = kNotParsed;
  if (argc < 3) return rejectCount();
  const int status = readSendFileList(argv[1]);
  if (status != kExitSuccess) return status;
  return parseOption(argv[2], argc > 3 ? argv[3] : nullptr);
}

int CSendEventSingleSystem::readSendFileList(const char* path) {
  if (path == nullptr) path = "";
  if (isFile(path) == 0) {
    gLog.ilog("%s not found.(CSendEventSingleSystem::parseCommandLine)", path);
    return kExitBadInput;
  }
  PieceReader reader(path);
  if (!reader.isOpen()) {
    gLog.ilog("%s open error.(CSendEventSingleSystem::parseCommandLine)", path);
    return kExitBadInput;
  }
  while (char* piece = reader.next()) {
    eraseLastCRLF(piece);
    if (piece[0] != '\0') m_sendFileList.emplace_back(piece);
  }
  if (reader.hasFailed()) {
    // Part of a list is worse than none: nobody would ever ask for the files that are missing. And
    // nothing is said of what it holds, for which the disk is to blame.
    gLog.ilog("%s read error.(CSendEventSingleSystem::parseCommandLine)", path);
    return kExitBadInput;
  }
  if (m_sendFileList.empty()) {
    gLog.ilog("No send file.(CSendEventSingleSystem::parseCommandLine)");
    return kExitBadInput;
  }
  return kExitSuccess;
}

int CSendEventSingleSystem::parseOption(char* option, char* value) {
  if (beginsWith(option, "-i")) return parseIncidentOption(option, value);
  if (beginsWith(option, "-r")) return parseEventOption(option, value);
  gLog.ilog("parameter option error.(CSendEventSingleSystem::parseCommandLine)");
  return kExitBadInput;
}

int CSendEventSingleSystem::parseIncidentOption(const char* option, const char* value) {
  m_eventType = kIncident;
  if (value == nullptr) return rejectCount();
  if (!isJoined(option)) {
    setParam("IncidentNumber", value);
    return kExitSuccess;
  }
  // Odd and deliberate: a joined "-iTEXT" takes its number from the next argument, without that
  // argument's first two characters, and its own tail counts for nothing.
  if (strnlen(value, 2) < 2) return rejectCount();
  setParam("IncidentNumber", value + 2);
  return kExitSuccess;
}

int CSendEventSingleSystem::parseEventOption(char* option, char* value) {
  if (isJoined(option)) return parseTanexEventMsg(option + 2);
  if (value == nullptr) return rejectCount();
  return parseTanexEventMsg(value);
}

int CSendEventSingleSystem::sendEvent() {
  char machineId[kMachineIdBytes] = {};
  const auto thrown = releasingOwners([&machineId] { return readMachineId(machineId); });
  if (thrown) {
    gLog.tlog("(CSendInfo::CommSendInfo) caught error code=%d", *thrown);
    if (*thrown != 0) return *thrown;
  }
  ensureHostName();

  const bool isIncident = getEventType() == kIncident;
  const int status = commonSendEvent(isIncident ? 1 : 0, machineId);
  if (status != kExitSuccess && status != kExitNotStarted) return status;
  if (isIncident && releasingOwners(collectInformation) != kExitSuccess) return kExitNoTempDir;
  return status;
}

void CSendEventSingleSystem::ensureHostName() {
  if (getParam("HostName")[0] == '\0') setParam("HostName", C(getHostname()));
}
