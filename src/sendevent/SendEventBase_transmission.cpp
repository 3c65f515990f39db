#include "sendevent/SendEventBase.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "common/base/format.h"
#include "common/base/unwind.h"
#include "common/files/filesystem.h"
#include "log/CLog.h"
#include "log/loglines.h"
#include "rmglib/CVuqRmgLib.h"
#include "rmglib/kelcom.h"
#include "sendevent/exitstatus.h"

namespace {

/// The request codes of one event type.
struct RequestCodes {
  int eventType;
  unsigned notification;
  unsigned data;
};

constexpr RequestCodes kRequestCodes[] = {
    {CSendEventBase::kType1, kKelNotifyType1, kKelDataType1},
    {CSendEventBase::kIncident, kKelNotifyIncident, kKelDataIncident},
    {CSendEventBase::kErrorEvent, kKelNotifyErrorEvent, kKelDataEvent},
    {CSendEventBase::kOtherEvent, kKelNotifyOtherEvent, kKelDataEvent},
};

const RequestCodes* findRequestCodes(int eventType) {
  for (const RequestCodes& codes : kRequestCodes) {
    if (codes.eventType == eventType) return &codes;
  }
  return nullptr;
}

/// The listed files that one request sends.
struct FileRange {
  std::size_t first;
  std::size_t count;
};

/// An event goes out in one request, whatever is listed; anything else file by file.
FileRange filesOfRequest(int eventType, std::size_t index, std::size_t fileCount) {
  const bool isEvent =
      eventType == CSendEventBase::kErrorEvent || eventType == CSendEventBase::kOtherEvent;
  return isEvent ? FileRange{0, fileCount} : FileRange{index, 1};
}

/// The list as the library gets it, which may write into what it is handed: a copy of its own. In
/// one block: with a string for each path, a listed file would take a third more instructions, and
/// 50 bytes more.
class PathCopies {
 public:
  explicit PathCopies(const std::vector<std::string>& files) {
    std::size_t bytes = 0;
    for (const std::string& file : files) bytes += file.size() + 1;
    m_block.reserve(bytes);  // so that the pointers into it stay good
    m_paths.reserve(files.size());
    for (const std::string& file : files) {
      m_paths.push_back(m_block.data() + m_block.size());
      m_block.append(C(file), file.size() + 1);
    }
  }
  PathCopies(const PathCopies&) = delete;
  PathCopies& operator=(const PathCopies&) = delete;

  /// Where each path begins. Zero-terminated.
  const std::vector<char*>& paths() const { return m_paths; }

 private:
  std::string m_block;
  std::vector<char*> m_paths;
};

/// The bytes of the reply that the calls are handed, terminator included.
constexpr std::size_t kReplyBytes = 2048;

/// What the calls of the library have given so far.
struct Outcome {
  int rc = 0;                    // the last result; it is logged, and never acted on
  int errorCode = 0;             // the last integer thrown
  char reply[kReplyBytes] = "";  // handed to the calls and logged; nothing fills it today
};

/// Makes a call that may throw an integer; the last one thrown is remembered.
template <class Call>
void rememberThrown(int& errorCode, const Call& call) {
  try {
    call();
  } catch (int code) {
    errorCode = code;
  }
}

void logDone(CVuqRmgLib& client, int rc) {
  gLog.ilog("RM_Communicate done (code='%d', msg='%s') ", rc, client.toString1line());
}

bool prepareEnvironment(CVuqRmgLib& client) {
  try {
    client.setEnv();
  } catch (const CVuqRmgLib::FailGetStatusRmsLibException& e) {
    gLog.ilog("(CSendInfo::SendInfo) GetStatusRmsLib() error=%d", e.code());
    return false;
  } catch (const CVuqRmgLib::UnsupportCenterCodeException& e) {
    gLog.ilog("(CSendInfo::SendInfo) getCenterCode() unknown center code=%d", e.code());
    return false;
  } catch (const CVuqRmgLib::FailRM_SetEnvException& e) {
    gLog.ilog("(CSendInfo::SendInfo) RM_SetEnv() error =%d", e.code());
    return false;
  } catch (int code) {
    if (code == 0) return true;
    gLog.ilog("(CSendInfo::SendInfo) RM_SetEnv error \"%d\"", code);
    return false;
  }
  return true;
}

void measureFiles(const std::vector<char*>& files) {
  std::uint32_t total = 0;  // wraps at 4 GiB, and so does the figure in the log
  for (const char* path : files) {
    const std::int64_t size = getFileSize(path);
    traceAt("SendEventBase", 486, "current_total='%u'  target='%s' size='%lld'bytes.\n", total,
            path, static_cast<long long>(size));
    total += static_cast<std::uint32_t>(size);
  }
  traceAt("SendEventBase", 491, "final_total='%u' bytes. \n", total);
}

bool isReachable(CVuqRmgLib& client) {
  // Both questions are always asked, each with a query of its own.
  const bool isOperating = client.isOperate();
  const bool isInMaintenance = client.isMaintenance();
  if (isOperating || isInMaintenance) return true;
  gLog.ilog(
      "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status is not operating. (status=%d) \n",
      client.getLastStatus());
  return false;
}

bool startCommunication(CVuqRmgLib& client) {
  try {
    client.startCom();
  } catch (const CVuqRmgLib::FailRM_StartCommException& e) {
    gLog.ilog("(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=%d)", e.code());
    return false;
  }
  gLog.ilog("(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0");
  return true;
}

/// `text`: the notification, null for none.
void notify(CVuqRmgLib& client, unsigned code, char* text, Outcome& outcome) {
  if (text == nullptr) {
    gLog.ilog("RM_Communicate call (param=0x%x 0 0 NULL NULL %s NULL)", code, outcome.reply);
  } else {
    gLog.ilog("RM_Communicate call (param=0x%x 0 0 %s NULL %s NULL)", code, text, outcome.reply);
  }
  rememberThrown(outcome.errorCode,
                 [&] { outcome.rc = client.sendNotify(code, text, outcome.reply); });
  logDone(client, outcome.rc);
}

void sendData(CVuqRmgLib& client, unsigned code, char** paths, int count, Outcome& outcome) {
  gLog.ilog("RM_Communicate call (param=0x%x ? %d %s NULL %s NULL)", code, count, paths[0],
            outcome.reply);
  rememberThrown(outcome.errorCode,
                 [&] { outcome.rc = client.sendData(code, paths, count, outcome.reply); });
  logDone(client, outcome.rc);
}

}  // namespace

int CSendEventBase::commonSendEvent(int /*incidentFlag*/, char* /*machineId*/) {
  return releasingOwners([this] {
    CVuqRmgLib client;
    return sendThrough(client);
  });
}

int CSendEventBase::sendThrough(CVuqRmgLib& client) {
  if (!prepareEnvironment(client)) return kExitNotStarted;
  const PathCopies files(m_sendFileList);
  measureFiles(files.paths());
  if (!isReachable(client)) return kExitNotStarted;
  if (!startCommunication(client)) return kExitNotStarted;

  const RequestCodes* codes = findRequestCodes(getEventType());
  if (codes == nullptr) {
    gLog.ilog("EventType param error.");
    return kExitBadInput;  // the client's destructor stops communication
  }

  int errorCode = sendFiles(client, codes->notification, codes->data, files.paths());
  // Not stopCom: the client stays marked as started and stops once more when it is destroyed. Both
  // stops are intended; the library has always been given two.
  rememberThrown(errorCode, [&client] { client.CVuqRmgLibImpl::RM_StopComm(); });

  gLog.ilog("%s", errorCode != 0 ? "commonSendEvent Error." : "commonSendEvent OK");
  return errorCode;
}

/// Returns the last integer that a call has thrown, 0 when none has.
int CSendEventBase::sendFiles(CVuqRmgLib& client, unsigned notificationCode, unsigned dataCode,
                              const std::vector<char*>& files) {
  Outcome outcome;
  char text[kNotificationBytes];
  std::vector<char*> handed(files.size());  // the library may write here, too
  const int fileCount = static_cast<int>(files.size());
  for (std::size_t index = 0; index < files.size();) {
    const int number = static_cast<int>(index + 1);
    gLog.ilog("commonSendEvent Main Loop (%d/%d)", number, fileCount);
    // Asked anew for each request.
    const FileRange range = filesOfRequest(getEventType(), index, files.size());
    notify(client, notificationCode, buildNotification(text, number, fileCount), outcome);
    // Also when the notification failed: the result of an exchange is logged, and decides nothing.
    char** paths = handed.data() + range.first;
    std::copy_n(files.data() + range.first, range.count, paths);
    sendData(client, dataCode, paths, static_cast<int>(range.count), outcome);
    index = range.first + range.count;
  }
  return outcome.errorCode;
}
