#include "sendevent/SendEventBase.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/base/format.h"
#include "common/base/piecereader.h"
#include "common/text/text.h"
#include "log/CLog.h"

namespace {

constexpr int kFieldTextLimit = CSendEventBase::kFieldTextLimit;
constexpr int kFieldTextBytes = kFieldTextLimit + 1;

/// With so much room or less no field is begun, although four bytes would hold the shortest one:
/// the centre has never been sent such a last field.
constexpr int kTooLittleRoom = 4;

constexpr std::size_t kExcerptBytes = 1023;

bool isLogExtract(const std::string& path) {
  return std::strstr(C(path), ".syslog.txt") != nullptr ||
         std::strstr(C(path), ".apllog.txt") != nullptr;
}

int lengthOf(const char* text) { return static_cast<int>(std::strlen(text)); }

/// What `getSyslogLine` gives.
std::string excerptOf(const std::vector<std::string>& files) {
  const auto extract = std::find_if(files.begin(), files.end(), isLogExtract);
  if (extract == files.end()) return "Software Log";
  PieceReader reader(C(*extract), kExcerptBytes);
  if (!reader.isOpen()) {
    gLog.ilog("syslogfile open error.FILE=%s(CSendEventBase::getSyslogLine)", C(*extract));
    return "";
  }
  char* piece = reader.next();
  while (piece != nullptr && piece[0] == '#') piece = reader.next();
  if (piece != nullptr) {
    eraseLastCRLF(piece);
    return piece;
  }
  // A directory can be opened and not read; it has always counted as an extract without a line.
  if (reader.hasFailed() && errno != EISDIR) {
    gLog.ilog("syslogfile read error.FILE=%s(CSendEventBase::getSyslogLine)", C(*extract));
  }
  return "";
}

/// Appends at most `limit` bytes of `text` to `dst`.
void appendBounded(char* dst, const char* text, int limit) {
  if (limit > 0) std::strncat(dst, text, static_cast<std::size_t>(limit));
}

void logCut() { gLog.ilog("string convert error (CSendEventBase::convStr)"); }

/// Builds the quoted form of `src` in `field`, of at most `room` bytes, and logs where it is cut.
void quoteInto(char (&field)[kFieldTextBytes], const char* src, int room) {
  int length = 0;
  field[length++] = '"';
  for (; *src != '\0'; ++src) {
    if (*src == '"') {
      field[length++] = '"';
      if (length >= room - 1) {
        logCut();
        --length;  // half of a doubled quote would end the field too early
        break;
      }
    }
    field[length++] = *src;
    if (length >= room - 1) {
      logCut();
      break;
    }
  }
  field[length++] = '"';  // the loop has left a byte of the room for it
  field[length] = '\0';
}

}  // namespace

char* CSendEventBase::buildNotification(char (&text)[kNotificationBytes], int fileNumber,
                                        int fileCount) {
  switch (getEventType()) {
    case kErrorEvent:
    case kOtherEvent:
      buildEventText(text);
      return text;
    case kIncident:
      buildIncidentText(text, fileNumber, fileCount);
      return text;
    default:
      return nullptr;
  }
}

void CSendEventBase::buildIncidentText(char (&text)[kNotificationBytes], int fileNumber,
                                       int fileCount) {
  std::snprintf(text, sizeof text - 1, "INCNO=\"%s\",HOSTNAME=\"%s\",PART=\"%d\",TOTAL=\"%d\"",
                getParam("IncidentNumber"), getParam("HostName"), fileNumber, fileCount);
}

void CSendEventBase::buildEventText(char (&text)[kNotificationBytes]) {
  std::memset(text, 0, sizeof text);
  convStr(text, kFieldTextBytes, getParam("Time"), /*comma=*/1);
  convStr(text, kFieldTextBytes, "", /*comma=*/1);
  for (const char* key :
       {"Label", "HostName", "OSType", "OSName", "OSVersion", "PkgName", "MsgType", "MsgID"}) {
    convStr(text, kFieldTextBytes, getParam(key), /*comma=*/1);
  }
  std::string excerpt;
  getSyslogLine(m_sendFileList, excerpt);
  convStr(text, kFieldTextBytes, C(excerpt), /*comma=*/0);
}

void CSendEventBase::getSyslogLine(const std::vector<std::string>& files, std::string& line) {
  line = excerptOf(files);  // at the end alone: `line` may be one of the files
}

void CSendEventBase::convStr(char* dst, int size, const char* src, int comma) {
  if (dst == nullptr) return;
  const int length = lengthOf(dst);
  // The room follows from the notification's format alone; `size` bounds what is appended.
  const int room = kFieldTextLimit - length;
  if (size < kFieldTextLimit || room <= kTooLittleRoom) return;
  if (src != nullptr && src[0] != '\0') {
    char field[kFieldTextBytes];
    quoteInto(field, src, room);
    appendBounded(dst, field, size - length - 1);
  }
  if (comma != 0) appendBounded(dst, ",", size - lengthOf(dst) - 1);
}
