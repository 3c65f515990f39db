#ifndef TANEXICS_PROOF_FUZZ_NOTIFICATIONJUDGE_H
#define TANEXICS_PROOF_FUZZ_NOTIFICATIONJUDGE_H

#include <string>

#include "fuzz/judges.h"
#include "support/testevent.h"

// The judges of what a run says to the support centre.

/// The judge: the line that a notification quotes from an extract.
inline std::string excerptOf(const std::string& bytes) {
  for (const std::string& line : linesIn(bytes, 1022)) {
    if (line.substr(0, 1) != "#") return line;
  }
  return "";
}

/// The usable length of an event notification.
constexpr std::size_t kFieldLimit = 896;

/// The judge: `text` with one more field. A field takes at most the room that is left, its quotes
/// included; a byte, or a doubled quote, that does not fit ends it.
inline std::string withField(const std::string& text, int size, const std::string& value,
                             bool comma) {
  if (size < static_cast<int>(kFieldLimit) || text.size() + 4 >= kFieldLimit) return text;
  std::string field = "\"";
  for (const char byte : value) {
    const std::string unit(byte == '"' ? 2 : 1, byte);
    if (text.size() + field.size() + unit.size() + 1 > kFieldLimit) break;
    field += unit;
  }
  const std::size_t longest = static_cast<std::size_t>(size) - 1;
  std::string longer = value.empty() ? text : (text + field + '"').substr(0, longest);
  if (comma && longer.size() < longest) longer += ',';
  return longer;
}

/// The keys of an event's fields; "" for the one that is always empty.
constexpr const char* kFieldKeys[] = {"Time",   "",          "Label",   "HostName", "OSType",
                                      "OSName", "OSVersion", "PkgName", "MsgType",  "MsgID"};

/// The judge: the notification of an event.
inline std::string fieldText(const Params& params, const std::string& extract) {
  std::string text;
  for (const char* key : kFieldKeys) {
    text = withField(text, 897, *key == '\0' ? "" : params.at(key), /*comma=*/true);
  }
  return withField(text, 897, excerptOf(extract), /*comma=*/false);
}

/// The judge: that of an incident's file.
inline std::string incidentText(const Params& params, std::size_t number, std::size_t count) {
  const std::string text = "INCNO=\"" + params.at("IncidentNumber") + "\",HOSTNAME=\"" +
                           params.at("HostName") + "\",PART=\"" + std::to_string(number) +
                           "\",TOTAL=\"" + std::to_string(count) + "\"";
  return text.substr(0, 2046);
}

#endif
