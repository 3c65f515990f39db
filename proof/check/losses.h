#ifndef TANEXICS_PROOF_CHECK_LOSSES_H
#define TANEXICS_PROOF_CHECK_LOSSES_H

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "fuzz/notificationjudge.h"

// The judge of what a notification does not tell: it looks at the text alone, from front to back.

/// The name of this machine while the judge is asked.
constexpr char kHostName[] = "db01";

/// The bytes that the log line is quoted from, of a run on `list`. `files`: what may be named, by
/// path.
inline std::string extractOf(const std::map<std::string, std::string>& files, const Texts& list) {
  for (const std::string& path : list) {
    if (path.find(".syslog.txt") == std::string::npos &&
        path.find(".apllog.txt") == std::string::npos) {
      continue;
    }
    if (const auto found = files.find(path); found != files.end()) return found->second;
    // A file that is known may have other names.
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  return "Software Log";  // a text of the command's own
}

/// `value` between quotes, and doubled where it has some.
inline std::string quotedField(const std::string& value) {
  std::string field = "\"";
  for (const char byte : value) field += std::string(byte == '"' ? 2 : 1, byte);
  return field + '"';
}

/// The fields of which `text`, the notification of an event, has only a part or nothing, each as
/// "a part of KEY" or "all of KEY". `extract`: the bytes that the log line is quoted from.
inline Texts lossesOfEvent(const Params& params, const std::string& extract,
                           const std::string& text) {
  Texts losses;
  std::size_t at = 0;
  const auto add = [&](const std::string& name, const std::string& value) {
    if (value.empty()) {
      ++at;
      return;
    }
    const std::string field = quotedField(value);
    const std::string rest = text.substr(std::min(at, text.size()));
    const bool isWhole = rest.substr(0, field.size()) == field &&
                         (rest.size() == field.size() || rest[field.size()] == ',');
    if (isWhole) {
      at += field.size() + 1;
      return;
    }
    losses.push_back((rest.empty() ? "all of " : "a part of ") + name);
    at = text.size();
  };
  for (const char* key : kFieldKeys) add(key, *key == '\0' ? "" : params.at(key));
  add("log line", excerptOf(extract));
  return losses;
}

/// The same for that of the first of `count` files of an incident.
inline Texts lossesOfIncident(const Params& params, std::size_t count, const std::string& text) {
  const struct {
    std::string name;
    std::string head;
    std::string value;
  } fields[] = {{"IncidentNumber", "INCNO=\"", params.at("IncidentNumber")},
                {"HostName", ",HOSTNAME=\"", params.at("HostName")},
                {"PART", ",PART=\"", "1"},
                {"TOTAL", ",TOTAL=\"", std::to_string(count)}};
  Texts losses;
  std::size_t at = 0;
  for (const auto& field : fields) {
    at += field.head.size();
    const std::size_t end = at + field.value.size();
    if (text.size() <= end)
      losses.push_back((text.size() > at ? "a part of " : "all of ") + field.name);
    at = end + 1;
  }
  return losses;
}

#endif
