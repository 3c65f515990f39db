// The texts of the error record: the input is the kind of error, the return code and the agent's
// code, in one byte each or in four, and the mail server's message.

#include "fuzz/target.h"
#include "rmglib/catalogue.h"
#include "support/errorrecord.h"

namespace {

/// The judge of one row's text.
std::string rowText(const EXTERR& row, const std::string& message) {
  std::string text = row.message;
  if (!text.empty()) text += '\n';
  if (row.kind == 1 || row.kind == 2) {
    text.append(catalogueHeading(row.kind)).append("\n").append(message).append("\n");
  }
  return text;
}

/// The judge of `lookup`: asks every row.
std::string explanation(const std::string& type, int rc, int code, const std::string& message) {
  const bool isHigherStatus = type == "HTTP" && rc == -52 && code > 258;
  std::string text = "(" + type + ") ";
  for (const EXTERR* row = catalogueRows(); row->rc != 9999 || row->code != 9999; ++row) {
    if (isHigherStatus && row->rc == -52 && row->code == 259) {
      text.append(row->message).append("\n");
    } else if (!isHigherStatus && row->rc == rc && row->code == code && row->type == type) {
      text += rowText(*row, message);
    }
  }
  return text + "RL:" + std::to_string(rc) + ",ZW-Agent:" + std::to_string(code) + "\n";
}

std::string oneLine(const std::string& type, const Record& record) {
  return "(" + type + ") RL:" + std::to_string(record.m_lastRMErrCode) +
         ",ZW-Agent:" + std::to_string(record.m_lastZWErrCode) + ",Mailsvr:\"" + record.message() +
         "\"";
}

void tryRecord(Record record) {
  const std::string type = record.m_lastZWErrType == 1   ? "SMTP"
                           : record.m_lastZWErrType == 2 ? "HTTP"
                                                         : "";
  demandEqual(std::string(record.getLastZWErrTypeStr()), type, "the name of the kind of error");
  const std::string expected =
      explanation(type, record.m_lastRMErrCode, record.m_lastZWErrCode, record.message());
  const bool isError = record.m_lastZWErrType != 0;
  demandEqual(std::string(record.toString()), isError ? expected : "", "the text of a record");
  demandEqual(std::string(record.toString1line()), isError ? oneLine(type, record) : "",
              "the line of a record");
  demandEqual(std::string(record.toString()), isError ? expected : "", "the text once more");
}

void tryLookup(Record record, const std::string& type) {
  const int rc = record.m_lastRMErrCode;
  const int code = record.m_lastZWErrCode;
  demandEqual(record.lookup(type.c_str(), rc, code), explanation(type, rc, code, record.message()),
              "what is said about a key");
}

void tryRow(Record record, int kind, const std::string& text) {
  EXTERR row = {"SMTP", 0, 0, kind, text.c_str()};
  demandEqual(record.formatExtRMError(row), rowText(row, record.message()), "the text of a row");
}

}  // namespace

void tryInput(Input input) {
  const bool isShort = input.choice(2) == 0;
  const auto number = [&] { return isShort ? static_cast<int>(input.byte()) : input.number(); };
  const int type = isShort ? static_cast<int>(input.choice(4)) : input.number();
  const int rc = isShort ? -number() : number();
  const int code = isShort && type != 2 ? -number() : number();
  const std::string message = input.longWord();
  const Record record(rc, type, code, message);
  tryRecord(record);
  for (const char* name : {"HTTP", "SMTP", ""}) tryLookup(record, name);
  const std::string word = input.word();
  tryLookup(record, word);
  tryRow(record, type, word);
}
