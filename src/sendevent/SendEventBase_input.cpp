#include "sendevent/SendEventBase.h"

#include <algorithm>
#include <cstring>

#include "common/base/format.h"
#include "common/base/piecereader.h"
#include "common/files/filesystem.h"
#include "common/text/text.h"
#include "log/CLog.h"
#include "sendevent/exitstatus.h"

namespace {

/// The one key that a definition may leave out or empty: not every message has an identifier.
constexpr char kOptionalKey[] = "MsgID";

bool isKnown(const std::vector<std::string>& keyList, const char* key) {
  return std::find(keyList.begin(), keyList.end(), key) != keyList.end();
}

}  // namespace

CSendEventBase::CSendEventBase() : m_eventType(kNotParsed) {}

CSendEventBase::~CSendEventBase() = default;

int CSendEventBase::parseTanexEventMsg(char* path) {
  m_eventType = kNotParsed;
  std::vector<std::string> keys = {
#include "sendevent/eventkeys.inc"
  };
  const int status = parseMsgCommon(path, keys);
  if (status == kExitSuccess) {
    m_eventType = std::strcmp(getParam("SendType"), "err") == 0 ? kErrorEvent : kOtherEvent;
  }
  return status;
}

int CSendEventBase::parseTanexMsg(char* path) {
  m_eventType = kIncident;
  std::vector<std::string> keys = {"IncidentNumber", "HostName", "PartitionName", "CollectionTime"};
  return parseMsgCommon(path, keys);
}

int CSendEventBase::parseMsgCommon(char* path, std::vector<std::string>& keyList) {
  // A copy: the path may be the value of a parameter that the file replaces.
  const std::string copy = path == nullptr ? "" : path;
  const char* file = C(copy);
  if (isFile(file) == 0) {
    gLog.ilog("%s not found.(CSendEventBase::parseMsgCommon)", file);
    return kExitBadInput;
  }
  const int status = readDefinition(file, keyList);
  if (status != kExitSuccess) return status;
  traceParams();
  return checkRequiredKeys(file, keyList);
}

int CSendEventBase::readDefinition(const char* path, const std::vector<std::string>& keyList) {
  PieceReader reader(path);
  if (!reader.isOpen()) {
    gLog.ilog("%s open error.(CSendEventBase::parseMsgCommon)", path);
    return kExitBadInput;
  }
  while (char* piece = reader.next()) {
    const int status = readDefinitionLine(piece, keyList);
    if (status != kExitSuccess) return status;
  }
  if (reader.hasFailed()) {
    // Whatever is missing, or has another value in a line that was not read: the disk is to blame.
    gLog.ilog("%s read error.(CSendEventBase::parseMsgCommon)", path);
    return kExitBadInput;
  }
  return kExitSuccess;
}

int CSendEventBase::readDefinitionLine(char* piece, const std::vector<std::string>& keyList) {
  if (piece[0] == '#') return kExitSuccess;
  eraseLastCRLF(piece);
  if (piece[0] == '\0') return kExitSuccess;

  char* equals = std::strchr(piece, '=');
  if (equals == nullptr) {
    gLog.ilog("%s format error.(CSendEventBase::parseMsgCommon)", piece);
    return kExitBadInput;
  }
  *equals = '\0';
  const char* key = piece;
  const char* value = equals + 1;
  if (!isKnown(keyList, key)) {
    gLog.ilog("%s Keyword error.(CSendEventBase::parseMsgCommon)", key);
    return kExitBadInput;
  }
  if (value[0] == '\0' && std::strcmp(key, kOptionalKey) != 0) {
    gLog.ilog("%s value error.(CSendEventBase::parseMsgCommon)", key);
    return kExitBadInput;
  }
  setParam(key, value);
  return kExitSuccess;
}

void CSendEventBase::traceParams() const {
  for (const auto& [key, value] : m_params) gLog.tlog("%s=%s", C(key), C(value));
}

int CSendEventBase::checkRequiredKeys(const char* path, const std::vector<std::string>& keyList) {
  for (const std::string& key : keyList) {
    if (getParam(C(key))[0] != '\0' || key == kOptionalKey) continue;
    // The line has always named the one reader, whichever it was.
    gLog.ilog("%s parameter error.(CSendEventBase::parseTanexMsg)", path);
    return kExitBadInput;
  }
  return kExitSuccess;
}

int CSendEventBase::getEventType() { return m_eventType; }

std::vector<std::string> CSendEventBase::getSendFileList() { return m_sendFileList; }

const char* CSendEventBase::getParam(const char* key) {
  if (key == nullptr) return "";
  return C(m_params[key]);
}

void CSendEventBase::setParam(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return;
  m_params[key] = value;
}
