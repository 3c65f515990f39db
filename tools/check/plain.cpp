#include "tools/check/plain.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "rmglib/kelcom.h"
#include "sendevent/exitstatus.h"
#include "tools/check/command.h"
#include "tools/common/language.h"
#include "tools/common/listed.h"
#include "tools/outcome/readable.h"
#include "tools/outcome/run.h"

namespace check {

namespace {

constexpr std::size_t kIndent = 4;

std::string readable(const std::string& bytes) {
  return outcome::readable(bytes, outcome::Encoding::kEither);
}

// Places, severities and the result are words that scripts look for: they are the same in every
// language.

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
  std::string accepted = coloured("accepted", kGreen, terminal);
  if (warnings == 0) return accepted;
  return accepted + ", " + std::to_string(warnings) + (warnings == 1 ? " warning" : " warnings");
}

std::string filesText(std::size_t number) {
  return translatedCount("%s file", "%s files", number, {std::to_string(number)});
}

std::string bytesText(std::uint64_t number) {
  return translatedCount("%s byte", "%s bytes", number, {std::to_string(number)});
}

/// What would be sent, in one line.
std::string sendingOf(const Report& report) {
  const bool isIncident = report.eventType == Command::kIncident;
  const bool isError = report.eventType == Command::kErrorEvent;
  const unsigned code = isIncident ? kKelNotifyIncident
                        : isError  ? kKelNotifyErrorEvent
                                   : kKelNotifyOtherEvent;
  const char* what = isIncident ? marked("an incident")
                     : isError  ? marked("an error event")
                                : marked("another event");
  std::uint64_t bytes = 0;
  for (const ListedFile& file : report.files) {
    bytes += static_cast<std::uint64_t>(file.bytes.value_or(0));
  }
  // TRANSLATORS: "an incident", its code, "2 files" and "300 bytes"
  return translated("sends %s (%s) with %s of %s",
                    {translated(what), outcome::requestText(code), filesText(report.files.size()),
                     bytesText(bytes)});
}

std::string notificationOf(const Report& report) {
  const bool isFirst = report.eventType == Command::kIncident && report.files.size() > 1;
  constexpr const char* kNotKnown[] = {marked("notification: not known"),
                                       marked("first notification: not known")};
  if (!report.notification) return translated(kNotKnown[isFirst ? 1 : 0]);
  const Notification& notification = *report.notification;
  return translated(isFirst ? marked("first notification (%s of %s bytes): %s")
                            : marked("notification (%s of %s bytes): %s"),
                    {std::to_string(notification.text.size()), std::to_string(notification.limit),
                     readable(notification.text)});
}

/// The fields that are cut, or that are left out; empty for none.
std::string lossesOf(const Notification& notification, bool isPart) {
  std::vector<std::string> fields;
  for (const Loss& loss : notification.losses) {
    if (loss.isPart != isPart) continue;
    fields.push_back(loss.field == kLogLine ? translated(kLogLine) : loss.field);
  }
  if (fields.empty()) return "";
  return translated(isPart ? marked("cut in it: %s") : marked("left out of it: %s"),
                    {listed(fields)});
}

std::string fileOf(const ListedFile& file) {
  const std::string path = readable(file.path);
  if (!file.bytes) return translated("file \"%s\": not measured", {path});
  return translated("file \"%s\": %s", {path, bytesText(static_cast<std::uint64_t>(*file.bytes))});
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
      writeLine(translated("... and %s more", {filesText(report.files.size() - shown)}));
    }
  }
  writeLine("result: " + resultOf(report, terminal));
}

}  // namespace check
