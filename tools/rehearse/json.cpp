#include "tools/rehearse/json.h"

#include <fstream>

#include "tools/outcome/meaning.h"
#include "tools/outcome/readable.h"
#include "tools/rehearse/record.h"

namespace {

using Json = nlohmann::ordered_json;

std::string readable(const std::string& bytes) {
  return outcome::readable(bytes, outcome::Encoding::kUtf8);
}

Json textOrNull(const std::string& text) { return text.empty() ? Json() : Json(readable(text)); }

/// The same value with every string of the record as it is to be read.
Json readableValue(const Json& value) {
  if (value.is_string()) return readable(bytesOf(value));
  Json result = value;
  if (value.is_structured()) {
    for (auto& [key, member] : result.items()) member = readableValue(member);
  }
  return result;
}

Json fileOf(const Json& item, const RehearsalFolder& folder) {
  const auto member = [&item](const char* name) {
    return item.contains(name) ? readableValue(item.at(name)) : Json();
  };
  const auto bytes = bytesOfCopy(item, folder);
  return {{"path", member("path")},
          {"bytes", bytes ? Json(*bytes) : Json()},
          {"copy", member("copy")},
          {"error", member("error")}};
}

/// What the record has, in the three forms that are asked for.
struct Parts {
  Json calls = Json::array();
  Json texts = Json::array();
  Json files = Json::array();
};

void addCall(const Json& call, const RehearsalFolder& folder, Parts& parts) {
  Parts own;
  own.calls.push_back(readableValue(call));
  if (call.at("call").is_string() && call.contains("text") && call.at("text").is_string()) {
    own.texts.push_back(readableValue(call.at("text")));
  }
  if (call.contains("items")) {
    for (const Json& item : call.at("items")) own.files.push_back(fileOf(item, folder));
  }
  // All or nothing of a call: what has no such shape throws above.
  parts.calls.insert(parts.calls.end(), own.calls.begin(), own.calls.end());
  parts.texts.insert(parts.texts.end(), own.texts.begin(), own.texts.end());
  parts.files.insert(parts.files.end(), own.files.begin(), own.files.end());
}

Parts partsOf(const RehearsalFolder& folder) {
  Parts parts;
  std::ifstream record(folder.record());
  for (std::string line; std::getline(record, line);) {
    try {
      addCall(Json::parse(line), folder, parts);
    } catch (const Json::exception&) {
      parts.calls.push_back({{"unreadable", readable(line)}});
    }
  }
  return parts;
}

void addLines(const std::string& path, Json& lines) {
  std::ifstream log(path, std::ios::binary);
  for (std::string line; std::getline(log, line);) lines.push_back(readable(line));
}

}  // namespace

std::string makeJson(const RehearsalFolder& folder, int waitStatus, const Judgement& judgement) {
  const Parts parts = partsOf(folder);
  Json log = Json::array();
  addLines(folder.actionLogBackup(), log);
  addLines(folder.actionLog(), log);
  Json judged;
  judged["record"] = wordOf(judgement.fromRecord);
  judged["log"] = wordOf(judgement.fromLog);
  judged["agree"] = !judgement.isContradiction;
  judged["openInRecord"] = textOrNull(judgement.openInRecord);
  judged["openInLog"] = textOrNull(judgement.openInLog);

  Json object;
  object["calls"] = parts.calls;
  object["texts"] = parts.texts;
  object["files"] = parts.files;
  object["log"] = log;
  object["status"] = outcome::passedOn(waitStatus);
  object["ended"] = outcome::endMeaning(waitStatus);
  object["verdict"] = wordOf(judgement.verdict);
  object["reason"] = readable(judgement.reason);
  object["judged"] = judged;
  object["outbox"] = textOrNull(folder.isKept() ? folder.path() : "");
  return object.dump();
}
