#include "rmglib/IExtKelError.h"

#include <cstdio>
#include <cstring>
#include <istream>
#include <ostream>

#include "common/base/format.h"
#include "common/text/numbertext.h"
#include "rmglib/kelcom.h"

namespace {

constexpr std::size_t kSmtpMsgBytes = 256;

/// One line of the serialised form, terminating zero included.
constexpr std::size_t kLineBytes = 4096;
constexpr std::size_t kFieldCount = 4;

/// The library's return code for a web request that the server answered with an error status. The
/// statuses above the last one with a text of its own share the rows kept under the next number.
constexpr int kHttpStatusError = -52;
constexpr int kLastListedStatus = 258;
constexpr int kHigherStatuses = 259;

const char* orEmpty(const char* text) { return text == nullptr ? "" : text; }

/// The mail server's message, which need not be terminated within its field.
std::string smtpMessage(IExtKelError& record) {
  const char* message = orEmpty(record.getLastSmtpMsg());
  return std::string(message, strnlen(message, kSmtpMsgBytes));
}

/// The messages of the rows that stand for every higher web status. The rows' own type does not
/// count here, and nothing follows their text.
std::string higherStatusText() {
  std::string text;
  for (const EXTERR* row = catalogueRows(); !isClosingRow(*row); ++row) {
    if (row->rc != kHttpStatusError || row->code != kHigherStatuses) continue;
    text += row->message;
    text += '\n';
  }
  return text;
}

std::string rowsText(IExtKelError& record, const std::string& type, int rl, int code) {
  std::string text;
  for (const EXTERR* row = catalogueRows(); !isClosingRow(*row); ++row) {
    if (row->rc != rl || row->code != code || row->type != type) continue;
    EXTERR copy = *row;  // the operation takes a row that it may change
    text += record.formatExtRMError(copy);
  }
  return text;
}

/// The serialised form: return code, kind of error, agent's code and the mail server's message.
std::list<std::string> serialisedLines(IExtKelError& record) {
  return {std::to_string(record.getLastRMErrCode()) + '\n',
          std::to_string(record.getLastZWErrType()) + '\n',
          std::to_string(record.getLastZWErrCode()) + '\n', smtpMessage(record) + '\n'};
}

}  // namespace

IExtKelError::~IExtKelError() = default;

void IExtKelError::reportResult(int code, IExtKelError& e) {
  std::string text = std::to_string(code) + '\n';
  for (const std::string& line : serialisedLines(e)) text += line;
  text += '\n';
  // Not through std::cout, whose mere presence would lengthen every start of the command.
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

char* IExtKelError::getLastSmtpMsg() { return m_lastSmtpMsg; }

int IExtKelError::getLastZWErrType() { return m_lastZWErrType; }

const char* IExtKelError::getLastZWErrTypeStr() {
  switch (getLastZWErrType()) {
    case kKelSmtpError:
      return kSmtpType;
    case kKelHttpError:
      return kHttpType;
    default:
      return "";
  }
}

int IExtKelError::getLastZWErrCode() { return m_lastZWErrCode; }

int IExtKelError::getLastRMErrCode() { return m_lastRMErrCode; }

const char* IExtKelError::toString() {
  m_text.clear();
  if (getLastZWErrType() != kKelNoAgentError) {
    m_text = lookup(getLastZWErrTypeStr(), getLastRMErrCode(), getLastZWErrCode());
  }
  return C(m_text);
}

const char* IExtKelError::toString1line() {
  m_text.clear();
  if (getLastZWErrType() != kKelNoAgentError) {
    m_text = format("(%s) RL:%d,ZW-Agent:%d,Mailsvr:\"%s\"", orEmpty(getLastZWErrTypeStr()),
                    getLastRMErrCode(), getLastZWErrCode(), C(smtpMessage(*this)));
  }
  return C(m_text);
}

std::string IExtKelError::formatExtRMError(EXTERR& row) {
  std::string text = orEmpty(row.message);
  if (!text.empty()) text += '\n';

  const std::string heading = catalogueHeading(row.kind);
  if (!heading.empty()) text += heading + '\n' + smtpMessage(*this) + '\n';
  return text;
}

std::string IExtKelError::lookup(const char* type, int rl, int code) {
  const std::string key = orEmpty(type);
  const bool isHigherStatus =
      key == kHttpType && rl == kHttpStatusError && code > kLastListedStatus;
  return "(" + key + ") " + (isHigherStatus ? higherStatusText() : rowsText(*this, key, rl, code)) +
         format("RL:%d,ZW-Agent:%d\n", rl, code);
}

void IExtKelError::setData(std::list<std::string> values) {
  for (int* number : {&m_lastRMErrCode, &m_lastZWErrType, &m_lastZWErrCode}) {
    if (values.empty()) return;
    *number = toInt(values.front());
    values.pop_front();
  }
  if (values.empty()) return;

  // As strncpy(3): zeros to the end, none when the message takes the whole field.
  static_assert(sizeof m_lastSmtpMsg == kSmtpMsgBytes, "the bound of the message is its field");
  const char* message = values.front().c_str();
  std::memset(m_lastSmtpMsg, 0, kSmtpMsgBytes);
  std::memcpy(m_lastSmtpMsg, message, strnlen(message, kSmtpMsgBytes));
}

std::ostream& operator<<(std::ostream& out, IExtKelError& record) {
  for (const std::string& line : serialisedLines(record)) {
    // Unformatted, so that the stream's own number format and width play no part.
    if (out.good()) out.write(line.data(), static_cast<std::streamsize>(line.size()));
  }
  return out;
}

std::istream& operator>>(std::istream& in, IExtKelError& record) {
  std::list<std::string> values;
  char line[kLineBytes];
  while (values.size() < kFieldCount && in.good() && in.getline(line, sizeof line)) {
    values.emplace_back(line);
    record.setData(values);  // not once at the end, which a stream that throws does not reach
  }
  return in;
}
