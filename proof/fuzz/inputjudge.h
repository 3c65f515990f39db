#ifndef TANEXICS_PROOF_FUZZ_INPUTJUDGE_H
#define TANEXICS_PROOF_FUZZ_INPUTJUDGE_H

#include <algorithm>
#include <map>
#include <string>

#include "fuzz/judges.h"
#include "support/testevent.h"

// The judges of what a run is told.

/// What a run knows of its event after it has read a part of its input.
struct Told {
  int status = 0;
  int type = CSendEventBase::kNotParsed;
  Texts list;
  Params params;
};

/// The judge: what a list of files to send names.
inline Texts entriesOf(const std::string& bytes) {
  Texts entries = linesIn(bytes, 1023);
  entries.erase(std::remove(entries.begin(), entries.end(), ""), entries.end());
  return entries;
}

/// The judge: whether a line of a definition says nothing.
inline bool isSkipped(const std::string& line) { return line.empty() || line.front() == '#'; }

/// The judge: whether one that says something is rejected by a reader of `keys`.
inline bool isRejected(const std::string& line, const Texts& keys) {
  const std::size_t equals = line.find('=');
  const std::string key = line.substr(0, equals);
  const bool isKey = std::count(keys.begin(), keys.end(), key) != 0;
  const bool hasValue = equals + 1 < line.size() || key == "MsgID";
  return equals == std::string::npos || !isKey || !hasValue;
}

/// The judge: what the definition `bytes` says to a reader of `keys`.
inline Told definitionIn(const std::string& bytes, const Texts& keys) {
  Params params;
  for (const std::string& line : linesIn(bytes, 1023)) {
    if (isSkipped(line)) continue;
    if (isRejected(line, keys)) return {68, 0, {}, params};
    const std::size_t equals = line.find('=');
    params[line.substr(0, equals)] = line.substr(equals + 1);
  }
  for (const std::string& key : keys) {
    // Asking for a parameter inserts it, the first missing one included.
    if (params[key].empty() && key != "MsgID") return {68, 0, {}, params};
  }
  const auto sendType = params.find("SendType");
  const bool isError = sendType != params.end() && sendType->second == "err";
  return {0, isError ? CSendEventBase::kErrorEvent : CSendEventBase::kOtherEvent, {}, params};
}

inline const Texts kEventKeys = {"Time",   "Label",     "HostName", "OSType",
                                 "OSName", "OSVersion", "PkgName",  "MsgType",
                                 "MsgID",  "SendType",  "EventID",  "PartitionName"};

/// The judge: what a command line means, where `files` has the bytes of what can be read.
inline Told meaningOf(const Texts& words, const std::map<std::string, std::string>& files) {
  Told told;
  told.status = 68;
  const auto listed = files.find(words.size() < 3 ? "" : words[1]);
  if (listed == files.end()) return told;
  told.list = entriesOf(listed->second);
  if (told.list.empty()) return told;

  const std::string option = words[2].substr(0, 2);
  const bool isJoined = words[2].size() > 2;
  const bool hasNext = words.size() > 3;
  if (option == "-i") {
    told.type = CSendEventBase::kIncident;
    // A number that is joined to its option is looked for in the next word.
    if (!hasNext || (isJoined && words[3].size() < 2)) return told;
    told.status = 0;
    told.params["IncidentNumber"] = words[3].substr(isJoined ? 2 : 0);
  } else if (option == "-r" && (isJoined || hasNext)) {
    const auto definition = files.find(isJoined ? words[2].substr(2) : words[3]);
    if (definition == files.end()) return told;
    const Texts list = told.list;
    told = definitionIn(definition->second, kEventKeys);
    told.list = list;
  }
  return told;
}

#endif
