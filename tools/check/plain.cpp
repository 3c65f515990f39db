#include "tools/check/plain.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "rmglib/kelcom.h"
#include "sendevent/exitstatus.h"
#include "tools/check/command.h"
#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

namespace check {

namespace {

constexpr std::size_t kIndent = 4;

std::string readable(const std::string& bytes) {
  return outcome::readable(bytes, outcome::Encoding::kEither);
}

std::string placeOf(const Fault& fault) {
  if (!fault.file) return "command line";
  std::string place = fault.file->empty() ? "\"\"" : readable(*fault.file);
  if (fault.line > 0) place += ':' + std::to_string(fault.line);
  return place;
}

std::string severityOf(bool isError, const Terminal& terminal) {
  return isError ? coloured("error", kRed, terminal) : coloured("warning", kYellow, terminal);
}

std::string resultOf(const Report& report, const Terminal& terminal) {
  switch (report.answer) {
    case Answer::kRejected:
      return coloured("rejected", kRed, terminal) + " (" + std::to_string(kExitBadInput) + ')';
    case Answer::kUnknown:
      return coloured("not known", kYellow, terminal);
    case Answer::kAccepted:
      break;
  }
  const std::size_t warnings = report.faults.warnings();
  return coloured("accepted", kGreen, terminal) +
         (warnings > 0 ? ", " + counted(warnings, "warning") : "");
}

/// What would be sent, in one line.
std::string sendingOf(const Report& report) {
  const bool isIncident = report.eventType == Command::kIncident;
  const bool isError = report.eventType == Command::kErrorEvent;
  const unsigned code = isIncident ? kKelNotifyIncident
                        : isError  ? kKelNotifyErrorEvent
                                   : kKelNotifyOtherEvent;
  const char* what = isIncident ? "an incident" : isError ? "an error event" : "another event";
  std::uint64_t bytes = 0;
  for (const ListedFile& file : report.files) {
    bytes += static_cast<std::uint64_t>(file.bytes.value_or(0));
  }
  return std::string("sends ") + what + " (" + outcome::requestText(code) + ") with " +
         counted(report.files.size(), "file") + " of " + counted(bytes, "byte");
}

std::string notificationOf(const Report& report) {
  const bool isFirst = report.eventType == Command::kIncident && report.files.size() > 1;
  std::string head = isFirst ? "first notification" : "notification";
  if (!report.notification) return head + ": not known";
  const Notification& notification = *report.notification;
  return head + " (" + std::to_string(notification.text.size()) + " of " +
         std::to_string(notification.limit) + " bytes): " + readable(notification.text);
}

/// The fields that are cut, or that are left out; empty for none.
std::string lossesOf(const Notification& notification, bool isPart) {
  std::vector<std::string> fields;
  for (const Loss& loss : notification.losses) {
    if (loss.isPart == isPart) fields.push_back(loss.field);
  }
  if (fields.empty()) return "";
  return (isPart ? "cut in it: " : "left out of it: ") + listed(fields);
}

std::string fileOf(const ListedFile& file) {
  return "file \"" + readable(file.path) + "\": " +
         (file.bytes ? counted(static_cast<std::size_t>(*file.bytes), "byte") : "not measured");
}

}  // namespace

void writePlain(const Report& report, const Terminal& terminal,
                const std::function<void(const std::string&)>& write) {
  const auto writeLine = [&](const std::string& line) {
    if (!line.empty()) write(wrapped(line, terminal.width, kIndent) + '\n');
  };
  for (const Fault& fault : report.faults.kept()) {
    writeLine(placeOf(fault) + ": " + severityOf(fault.isError, terminal) + ": " + fault.text);
  }
  writeLine(report.faults.rest());
  if (report.answer == Answer::kAccepted) {
    writeLine(sendingOf(report));
    writeLine(notificationOf(report));
    if (report.notification) {
      writeLine(lossesOf(*report.notification, true));
      writeLine(lossesOf(*report.notification, false));
    }
    const std::size_t shown = std::min(report.files.size(), kMostFilesShown);
    for (std::size_t at = 0; at < shown; ++at) writeLine(fileOf(report.files[at]));
    if (shown < report.files.size()) {
      writeLine("... and " + counted(report.files.size() - shown, "file") + " more");
    }
  }
  writeLine("result: " + resultOf(report, terminal));
}

}  // namespace check
