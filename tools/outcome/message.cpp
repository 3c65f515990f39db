#include "tools/outcome/message.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "rmglib/kelcom.h"

namespace outcome {

namespace {

/// A message is cut to so many bytes, the zero byte after them included.
constexpr std::size_t kLongestMessage = 2047;

/// Takes known parts from the front of a text, one after the other.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : m_rest(text) {}

  bool literal(std::string_view part) {
    if (m_rest.compare(0, part.size(), part) != 0) return false;
    m_rest.remove_prefix(part.size());
    return true;
  }

  /// A number as printf(3) writes an int: no plus, no leading zero.
  bool number(int& value) {
    std::size_t length = m_rest.empty() || m_rest[0] != '-' ? 0 : 1;
    const std::size_t first = length;
    while (length < m_rest.size() && std::isdigit(static_cast<unsigned char>(m_rest[length])))
      ++length;
    if (length == first || (m_rest[first] == '0' && length > 1)) return false;
    const auto read = std::from_chars(m_rest.data(), m_rest.data() + length, value);
    if (read.ec != std::errc()) return false;
    m_rest.remove_prefix(length);
    return true;
  }

  bool hexadecimal(unsigned& value) {
    const auto read = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value, 16);
    if (read.ec != std::errc()) return false;
    m_rest.remove_prefix(static_cast<std::size_t>(read.ptr - m_rest.data()));
    return true;
  }

  /// Everything up to the last `end`, which is at the end of the text.
  bool upToEnd(std::string_view end, std::string_view& part) {
    if (m_rest.size() < end.size()) return false;
    const std::size_t length = m_rest.size() - end.size();
    if (m_rest.substr(length) != end) return false;
    part = m_rest.substr(0, length);
    m_rest = {};
    return true;
  }

  /// Everything up to the first `end`, and `end`.
  bool upTo(std::string_view end, std::string_view& part) {
    const std::size_t length = m_rest.find(end);
    if (length == std::string_view::npos) return false;
    part = m_rest.substr(0, length);
    m_rest.remove_prefix(length + end.size());
    return true;
  }

  std::string_view rest() const { return m_rest; }
  bool isAtEnd() const { return m_rest.empty(); }

 private:
  std::string_view m_rest;
};

bool beginsWith(std::string_view text, std::string_view begin) {
  return text.compare(0, begin.size(), begin) == 0;
}

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

constexpr std::string_view kFrame = "### main : ";
constexpr std::string_view kCall = "RM_Communicate call (param=0x";
constexpr std::string_view kIncidentText = "RM_Communicate call (param=0x40017 0 0 INCNO=\"";
constexpr std::string_view kCallEnd = " NULL  NULL)";
constexpr std::string_view kCancelled =
    "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status is "
    "not operating. (status=";

bool isNotification(unsigned request) {
  return request == kKelNotifyIncident || request == kKelNotifyErrorEvent ||
         request == kKelNotifyOtherEvent || request == kKelNotifyType1;
}

bool isData(unsigned request) {
  return request == kKelDataIncident || request == kKelDataEvent || request == kKelDataType1;
}

/// `",HOSTNAME="…",PART="i",TOTAL="n" NULL  NULL)` at the front of `text`, or elsewhere no match.
bool readIncidentEnd(std::string_view text, Message& message, std::size_t& length) {
  Scanner scanner(text);
  if (!scanner.literal("\",HOSTNAME=\"") || !scanner.upTo("\",PART=\"", message.host) ||
      !scanner.number(message.part) || !scanner.literal("\",TOTAL=\"") ||
      !scanner.number(message.total) || !scanner.literal("\"") || !scanner.literal(kCallEnd)) {
    return false;
  }
  length = text.size() - scanner.rest().size();
  return true;
}

/// The first end of an incident's notification in `text`: how many bytes the message has with it.
/// Nothing that a number holds ends it before, as long as it does not hold this end itself.
bool findIncidentEnd(std::string_view text, Message& message, std::size_t& length) {
  const std::string_view within = text.substr(0, kLongestMessage);
  for (std::size_t at = within.find("\",HOSTNAME=\"", kIncidentText.size());
       at != std::string_view::npos; at = within.find("\",HOSTNAME=\"", at + 1)) {
    std::size_t endLength = 0;
    if (!readIncidentEnd(within.substr(at), message, endLength)) continue;
    message.text = within.substr(kIncidentText.size(), at - kIncidentText.size());
    length = at + endLength;
    return true;
  }
  return false;
}

/// A quoted field of an event's text, its doubled quotes included; `next` begins after it.
std::string_view eventField(std::string_view text, std::size_t& next) {
  const std::size_t first = next;
  bool isQuoted = false;
  while (next < text.size() && (isQuoted || text[next] != ',')) {
    if (text[next] == '"') isQuoted = !isQuoted;
    ++next;
  }
  std::string_view field = text.substr(first, next - first);
  if (next < text.size()) ++next;
  if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
    field = field.substr(1, field.size() - 2);
  }
  return field;
}

bool readCall(std::string_view text, Message& message) {
  Scanner scanner(text);
  if (!scanner.literal(kCall) || !scanner.hexadecimal(message.request)) return false;
  if (isNotification(message.request)) {
    if (!scanner.literal(" 0 0 ")) return false;
    message.kind = Kind::kNotification;
    if (message.request == kKelNotifyIncident) {
      std::size_t length = 0;
      if (findIncidentEnd(text, message, length)) return length == text.size();
      // A number of two thousand bytes leaves nothing of what follows it.
      return scanner.literal("INCNO=\"") && text.size() == kLongestMessage && text.back() == '\0';
    }
    std::string_view sent;
    if (!scanner.upToEnd(kCallEnd, sent)) return false;
    std::size_t next = 0;
    for (int skipped = 0; skipped < 2; ++skipped) eventField(sent, next);  // time, and an empty one
    message.text = eventField(sent, next);
    message.host = eventField(sent, next);
    return true;
  }
  if (!isData(message.request)) return false;
  message.kind = Kind::kData;
  return scanner.literal(" ? ") && scanner.number(message.total) && scanner.literal(" ") &&
         scanner.upToEnd(kCallEnd, message.text);
}

/// What the library says of a failure is made of a kind, two numbers and the mail server's message.
bool isErrorText(std::string_view text) {
  if (text.empty()) return true;
  Scanner scanner(text);
  int number = 0;
  std::string_view kind;
  return scanner.literal("(") && scanner.upTo(") RL:", kind) &&
         (kind.empty() || kind == "SMTP" || kind == "HTTP") && scanner.number(number) &&
         scanner.literal(",ZW-Agent:") && scanner.number(number) &&
         scanner.literal(",Mailsvr:\"") && endsWith(scanner.rest(), "\"") &&
         scanner.rest().find("RM_Communicate ") == std::string_view::npos;
}

bool readDone(std::string_view text, Message& message) {
  Scanner scanner(text);
  message.kind = Kind::kDone;
  return scanner.literal("RM_Communicate done (code='") && scanner.number(message.number) &&
         scanner.literal("', msg='") && scanner.upToEnd("') ", message.text) &&
         isErrorText(message.text);
}

bool readFrame(std::string_view text, Message& message) {
  Scanner scanner(text);
  if (!scanner.literal(kFrame)) return false;
  if (endsWith(text, " started.") && text.find(kFrame, 1) == std::string_view::npos) {
    message.kind = Kind::kStarted;
    return scanner.upToEnd(" started.", message.text);
  }
  constexpr std::string_view kCode = " exit. code = ";
  const std::size_t at = text.rfind(kCode);
  if (at == std::string_view::npos || text.find(kFrame, 1) != std::string_view::npos) return false;
  message.kind = Kind::kExit;
  message.text = text.substr(kFrame.size(), at >= kFrame.size() ? at - kFrame.size() : 0);
  Scanner code(text.substr(at + kCode.size()));
  return code.number(message.number) && code.isAtEnd();
}

bool readElapsed(std::string_view text, Message& message) {
  Scanner scanner(text);
  message.kind = Kind::kElapsed;
  return scanner.literal("ELAPSED:range='executing tanexics', time='") &&
         scanner.upToEnd("'", message.text) &&
         message.text.find_first_not_of("-.0123456789einfa") == std::string_view::npos;
}

bool readSending(std::string_view text, Message& message) {
  Scanner scanner(text);
  if (!scanner.literal("commonSendEvent ")) return false;
  if (scanner.rest() == "OK" || scanner.rest() == "Error.") {
    message.kind = Kind::kSent;
    message.number = scanner.rest() == "OK" ? 0 : 1;
    return true;
  }
  message.kind = Kind::kLoop;
  return scanner.literal("Main Loop (") && scanner.number(message.number) && scanner.literal("/") &&
         scanner.number(message.total) && scanner.literal(")") && scanner.isAtEnd();
}

bool readConnection(std::string_view text, Message& message) {
  message.text = text;
  if (text == "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0") {
    message.kind = Kind::kStartedComm;
    return true;
  }
  message.kind = Kind::kRefusal;
  Scanner scanner(text);
  if (scanner.literal(kCancelled)) {
    return scanner.number(message.number) && scanner.literal(") ") &&
           (scanner.isAtEnd() || scanner.rest() == "\n");
  }
  if (scanner.literal("(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=")) {
    return scanner.number(message.number) && scanner.literal(")") && scanner.isAtEnd();
  }
  message.kind = Kind::kOther;
  return scanner.literal("(CSendInfo::") && text.find("RM_Communicate ") == std::string_view::npos;
}

constexpr std::string_view kRejections[] = {"(CSendEventSingleSystem::parseCommandLine)",
                                            "(CSendEventBase::parseMsgCommon)",
                                            "(CSendEventBase::parseTanexMsg)"};

bool isRejection(std::string_view text) {
  return std::any_of(std::begin(kRejections), std::end(kRejections),
                     [text](std::string_view end) { return endsWith(text, end); });
}

/// What every message that takes part in an outcome begins with, but for a rejection; and what none
/// but these begins with.
constexpr std::string_view kMarks[] = {
    "RM_Communicate ", "commonSendEvent ", kFrame,
    "ELAPSED:range=",  "(CSendInfo::",     "get file size error(",
};
constexpr std::string_view kWords[] = {
    "not Super-User", "make tempname error (",  "parameter ",
    "No send file.(", "EventType param error.",
};

/// A rejection begins with whatever the caller gave, and may stand right after another message.
bool holdsMark(std::string_view text) {
  return std::any_of(std::begin(kMarks), std::end(kMarks), [text](std::string_view mark) {
    return text.find(mark) != std::string_view::npos;
  });
}

bool readRefusal(std::string_view text, Message& message) {
  message.kind = Kind::kRefusal;
  message.text = text;
  if (text == "not Super-User" || text == "EventType param error.") return true;
  return isRejection(text) && !holdsMark(text);
}

bool readMissing(std::string_view text, Message& message) {
  Scanner scanner(text);
  if (!scanner.literal("get file size error(") || !scanner.upToEnd(")", message.text)) return false;
  message.kind = Kind::kMissing;
  const std::size_t comma = message.text.rfind(',');
  if (comma == std::string_view::npos) return false;
  message.text = message.text.substr(0, comma);
  return true;
}

/// What a message begins with that has no part in the outcome.
constexpr std::string_view kOthers[] = {
    "[T](",
    "[I](",
    "VUQ9",
    "string convert error (CSendEventBase::convStr)",
    "syslogfile open error.FILE=",
    "syslogfile read error.FILE=",
    "get file date error(",
    "count_RunningProcess failed to exec command(",
    "CollectionTime=",
    "EventID=",
    "HostName=",
    "IncidentNumber=",
    "Label=",
    "MsgID=",
    "MsgType=",
    "OSName=",
    "OSType=",
    "OSVersion=",
    "PartitionName=",
    "PkgName=",
    "SendType=",
    "Time=",
};

/// Whether `text` begins as a message does that takes part in an outcome.
bool beginsMessage(std::string_view text) {
  const auto begins = [text](std::string_view begin) { return beginsWith(text, begin); };
  return std::any_of(std::begin(kMarks), std::end(kMarks), begins) ||
         std::any_of(std::begin(kWords), std::end(kWords), begins);
}

/// Whether a message that takes part in an outcome begins somewhere in `text`.
bool holdsBeginning(std::string_view text) {
  static const auto isFirst = [] {
    std::array<bool, 256> first = {};
    for (const std::string_view begin : kMarks) first[static_cast<unsigned char>(begin[0])] = true;
    for (const std::string_view begin : kWords) first[static_cast<unsigned char>(begin[0])] = true;
    return first;
  }();
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (isFirst[static_cast<unsigned char>(text[at])] && beginsMessage(text.substr(at)))
      return true;
  }
  return false;
}

bool beginsOther(std::string_view text) {
  return std::any_of(std::begin(kOthers), std::end(kOthers),
                     [text](std::string_view begin) { return beginsWith(text, begin); });
}

bool readOther(std::string_view text, Message& message) {
  message.kind = Kind::kOther;
  // A message that another one was written into the middle of would hide it.
  return beginsOther(text) && !holdsBeginning(text);
}

using Reading = bool (*)(std::string_view, Message&);

bool tryReading(Reading reading, std::string_view text, Message& message) {
  Message found;
  found.whole = text;
  if (!reading(text, found)) return false;
  message = found;
  return true;
}

bool readNoTempDir(std::string_view text, Message& message) {
  message.kind = Kind::kNoTempDir;
  return text == "make tempname error (CSendEventSingleSystem::SendEvent)";
}

void collectReadings(std::string_view bytes, std::size_t most, std::vector<Message>& before,
                     std::vector<std::vector<Message>>& found) {
  if (found.size() >= kMostReadings || most == 0) return;
  const Message whole = readMessage(bytes);
  if (whole.kind != Kind::kUnread) {
    found.push_back(before);
    found.back().push_back(whole);
  }
  if (most == 1) return;
  // One may begin anywhere.
  const bool hasRejection = std::any_of(
      std::begin(kRejections), std::end(kRejections),
      [bytes](std::string_view end) { return bytes.find(end) != std::string_view::npos; });
  for (std::size_t at = 1; at < bytes.size(); ++at) {
    const std::string_view rest = bytes.substr(at);
    const bool isBeginning = beginsMessage(rest) || beginsOther(rest);
    if (!isBeginning && !hasRejection) continue;
    const Message first = readMessage(bytes.substr(0, at));
    if (first.kind == Kind::kUnread || (!isBeginning && first.kind == Kind::kOther)) continue;
    before.push_back(first);
    collectReadings(rest, most - 1, before, found);
    before.pop_back();
  }
}

}  // namespace

Message readMessage(std::string_view text) {
  Message message;
  message.whole = text;
  if (text.empty()) return message;
  constexpr Reading kCalls[] = {readDone, readCall};
  constexpr Reading kAll[] = {readSending, readConnection, readFrame,   readElapsed,
                              readMissing, readNoTempDir,  readRefusal, readOther};
  if (text.front() == 'R') {
    for (const Reading reading : kCalls) {
      if (tryReading(reading, text, message)) return message;
    }
  }
  for (const Reading reading : kAll) {
    if (tryReading(reading, text, message)) return message;
  }
  return message;
}

std::size_t ownLength(std::string_view bytes, bool isWholeInput) {
  const std::size_t compared = std::min(bytes.size(), kIncidentText.size());
  if (bytes.substr(0, compared) == kIncidentText.substr(0, compared)) {
    if (compared < kIncidentText.size()) return isWholeInput ? 0 : kMoreNeeded;
    Message message;
    std::size_t length = 0;
    if (findIncidentEnd(bytes, message, length)) return length;
    return isWholeInput || bytes.size() >= kLongestMessage ? 0 : kMoreNeeded;
  }
  return 0;
}

bool endsInLineFeed(std::string_view bytes) {
  if (bytes.back() == ' ') {
    const std::size_t cancelled = bytes.rfind(kCancelled);
    const std::size_t total = bytes.rfind("[T](SendEventBase:491):");
    const std::size_t last = cancelled == std::string_view::npos ? total : cancelled;
    return last != std::string_view::npos && readMessage(bytes.substr(last)).kind != Kind::kUnread;
  }
  return endsWith(bytes, "'bytes.") &&
         bytes.find("[T](SendEventBase:486):") != std::string_view::npos;
}

std::vector<std::vector<Message>> readingsOf(std::string_view bytes, std::size_t most) {
  std::vector<std::vector<Message>> found;
  std::vector<Message> before;
  collectReadings(bytes, most, before, found);
  return found;
}

}  // namespace outcome
