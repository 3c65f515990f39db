// The stream form of the error record. The first byte of the input chooses: a record of the
// following three numbers and the message after them, which is written and read back; or any text,
// which is read.

#include "support/errorrecord.h"

#include <cstdlib>
#include <sstream>

#include "fuzz/target.h"

namespace {

/// The judge of reading: the lines that are taken from a text, and whether the text was too short,
/// or a line too long, for all four.
struct Taken {
  Texts lines;
  bool hasFailed = false;

  explicit Taken(std::string text) {
    bool isAtEnd = false;  // a last line without its end leaves nothing to ask for
    while (lines.size() < 4 && !isAtEnd && !hasFailed) {
      const std::size_t end = text.find('\n');
      const std::string line = text.substr(0, end);
      isAtEnd = end == std::string::npos;
      hasFailed = text.empty() || line.size() > 4095;
      if (!hasFailed) lines.push_back(upToZero(line));
      text = isAtEnd ? "" : text.substr(end + 1);
    }
  }
};

void demandFields(const Record& record, const Record& expected) {
  demandEqual(record.m_lastRMErrCode, expected.m_lastRMErrCode, "the return code");
  demandEqual(record.m_lastZWErrType, expected.m_lastZWErrType, "the kind of error");
  demandEqual(record.m_lastZWErrCode, expected.m_lastZWErrCode, "the agent's code");
  demandEqual(record.message(), expected.message(), "the mail server's message");
}

void tryReading(const std::string& text) {
  Record record(1, 2, 3, "left over");
  Record expected = record;
  const Taken taken(text);
  const Texts& lines = taken.lines;
  if (!lines.empty()) expected.m_lastRMErrCode = std::atoi(lines[0].c_str());
  if (lines.size() > 1) expected.m_lastZWErrType = std::atoi(lines[1].c_str());
  if (lines.size() > 2) expected.m_lastZWErrCode = std::atoi(lines[2].c_str());
  if (lines.size() > 3) {
    expected = Record(expected.m_lastRMErrCode, expected.m_lastZWErrType, expected.m_lastZWErrCode,
                      lines[3]);
  }

  std::istringstream stream(text);
  stream >> record;
  demandFields(record, expected);
  demandEqual(stream.fail(), taken.hasFailed, "a stream fails where it has no further line");
}

void tryRoundTrip(Record written) {
  std::stringstream stream;
  stream << written;
  demandEqual(stream.str(),
              std::to_string(written.m_lastRMErrCode) + '\n' +
                  std::to_string(written.m_lastZWErrType) + '\n' +
                  std::to_string(written.m_lastZWErrCode) + '\n' + written.message() + '\n',
              "the four lines of a record");

  Record record(9, 9, 9, "left over");
  stream >> record;
  const std::string message = written.message();
  demandFields(record, Record(written.m_lastRMErrCode, written.m_lastZWErrType,
                              written.m_lastZWErrCode, message.substr(0, message.find('\n'))));
}

}  // namespace

void tryInput(Input input) {
  if (input.choice(2) == 0) {
    tryReading(input.rest());
    return;
  }
  const int rc = input.number();
  const int type = input.number();
  const int code = input.number();
  tryRoundTrip(Record(rc, type, code, input.longWord()));
}
