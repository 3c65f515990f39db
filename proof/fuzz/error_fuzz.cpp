// The error record: its stream form and its texts.

#include <algorithm>
#include <sstream>

#include "fuzz/judges.h"
#include "rmglib/catalogue.h"
#include "support/errorrecord.h"

namespace {

// --- the stream form -----------------------------------------------------------------------------

void tryReading(const std::string& text) {
  // The judge: the lines that are taken, up to one that is too long or not there.
  Texts lines = slowSplit(text, "\n");
  const bool hasLastEnd = lines.back().empty();
  if (hasLastEnd) lines.pop_back();
  const auto firstLong = std::find_if(lines.begin(), lines.end(),
                                      [](const std::string& line) { return line.size() > 4095; });
  const bool isCut = firstLong != lines.end();
  lines.erase(firstLong, lines.end());
  const auto number = [&lines](std::size_t at) {
    return at < lines.size() ? std::atoi(lines[at].c_str()) : static_cast<int>(at) + 1;
  };
  const Record expected(number(0), number(1), number(2),
                        lines.size() > 3 ? lines[3].c_str() : "left over");

  Record record(1, 2, 3, "left over");
  std::istringstream stream(text);
  stream >> record;
  demandEqual(fields(record), fields(expected), "the fields that are read");
  // A last line without its end leaves nothing to ask for.
  demandEqual(stream.fail(), lines.size() < 4 && (hasLastEnd || isCut),
              "a stream fails where it has no further line");
}

void tryRoundTrip(Record written) {
  const std::string message = written.message();
  const std::string text = serialised(written);
  demandEqual(text,
              std::to_string(written.m_lastRMErrCode) + '\n' +
                  std::to_string(written.m_lastZWErrType) + '\n' +
                  std::to_string(written.m_lastZWErrCode) + '\n' + message + '\n',
              "the four lines of a record");

  Record record(9, 9, 9, "left over");
  demandEqual(read(record, text),
              fields(Record(written.m_lastRMErrCode, written.m_lastZWErrType,
                            written.m_lastZWErrCode, message.substr(0, message.find('\n')))),
              "the fields that were written");
}

// The first byte of the input chooses: a record of the following three numbers and the message
// after them, which is written and read back; or any text, which is read.
const Target kErrorRecord("errorrecord", [](Input input) {
  if (input.choice(2) == 0) {
    tryReading(input.rest());
    return;
  }
  const int rc = input.number();
  const int type = input.number();
  const int code = input.number();
  tryRoundTrip(Record(rc, type, code, input.longWord()));
});

// --- the texts -----------------------------------------------------------------------------------

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
std::string explanation(const std::string& type, const Record& record) {
  const int rc = record.m_lastRMErrCode;
  const int code = record.m_lastZWErrCode;
  const bool isHigherStatus = type == "HTTP" && rc == -52 && code > 258;
  std::string text = "(" + type + ") ";
  for (const EXTERR* row = catalogueRows(); row->rc != 9999 || row->code != 9999; ++row) {
    if (isHigherStatus && row->rc == -52 && row->code == 259) {
      text.append(row->message).append("\n");
    } else if (!isHigherStatus && row->rc == rc && row->code == code && row->type == type) {
      text += rowText(*row, record.message());
    }
  }
  return text + "RL:" + std::to_string(rc) + ",ZW-Agent:" + std::to_string(code) + "\n";
}

// The input is the kind of error, the return code and the agent's code, in one byte each or in
// four, the mail server's message and another kind's name, which is a row's text as well.
const Target kErrorText("errortext", [](Input input) {
  const bool isShort = input.choice(2) == 0;
  const auto number = [&] { return isShort ? static_cast<int>(input.byte()) : input.number(); };
  const int kind = isShort ? static_cast<int>(input.choice(4)) : input.number();
  const int rc = isShort ? -number() : number();
  const int code = isShort && kind != 2 ? -number() : number();
  const std::string message = input.longWord();
  Record record(rc, kind, code, message);

  const std::string type = kind == 1 ? "SMTP" : kind == 2 ? "HTTP" : "";
  demandEqual(std::string(record.getLastZWErrTypeStr()), type, "the name of the kind of error");
  const std::string text = kind == 0 ? "" : explanation(type, record);
  demandEqual(std::string(record.toString()), text, "the text of a record");
  demandEqual(std::string(record.toString1line()),
              kind == 0 ? ""
                        : "(" + type + ") RL:" + std::to_string(rc) + ",ZW-Agent:" +
                              std::to_string(code) + ",Mailsvr:\"" + record.message() + "\"",
              "the line of a record");
  demandEqual(std::string(record.toString()), text, "the text once more");

  const std::string word = input.word();
  for (const std::string& name : {std::string("HTTP"), std::string("SMTP"), std::string(), word}) {
    demandEqual(record.lookup(name.c_str(), rc, code), explanation(name, record),
                "what is said about a key");
  }
  EXTERR row = {"SMTP", 0, 0, kind, word.c_str()};
  demandEqual(record.formatExtRMError(row), rowText(row, record.message()), "the text of a row");
});

}  // namespace
