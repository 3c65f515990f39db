#include "check/recorded.h"

#include <sys/stat.h>
#include <sys/utsname.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "check/losses.h"
#include "fuzz/inputjudge.h"
#include "loopback/bytes.h"
#include "support/childrun.h"
#include "tools/outcome/readable.h"

namespace {

using nlohmann::json;

/// Bytes that the record has escaped, as the checker shows them.
std::string shownOf(const json& recorded) {
  return outcome::readable(unescapeBytes(recorded.get<std::string>()).value_or("?"),
                           outcome::Encoding::kEither);
}

/// The exchanges of a run, in their order.
std::vector<json> exchangesIn(const std::string& outbox) {
  std::vector<json> exchanges;
  std::ifstream record(outbox + "/exchanges.jsonl");
  for (std::string line; std::getline(record, line);) {
    json call = json::parse(line);
    if (call["call"] == "KEL_Communicate") exchanges.push_back(std::move(call));
  }
  return exchanges;
}

/// What a run sends, as the checker tells it.
struct Sent {
  json notification;
  json files = json::array();
};

Sent sentIn(const std::vector<json>& exchanges, const std::string& outbox) {
  Sent sent;
  for (const json& exchange : exchanges) {
    if (exchange.contains("text")) {
      if (sent.notification.is_null()) sent.notification = exchange["text"];
      continue;
    }
    for (const json& item : exchange["items"]) {
      json bytes;
      if (item.contains("copy")) {
        bytes = std::filesystem::file_size(outbox + '/' + item["copy"].get<std::string>());
      }
      sent.files.push_back({{"path", shownOf(item["path"])}, {"bytes", bytes}});
    }
  }
  return sent;
}

/// The fields that the text of a notification does not have, or not whole.
json cutIn(const CheckInput& input, const Told& told, const std::string& text) {
  Texts losses;
  if (told.type == CSendEventBase::kIncident) {
    utsname names = {};
    ::uname(&names);
    Params params = told.params;
    params["HostName"] = names.nodename;
    losses = lossesOfIncident(params, told.list.size(), text);
  } else {
    losses = lossesOfEvent(told.params, extractOf(input.files, told.list), text);
  }
  json cut = json::array();
  for (const std::string& loss : losses) cut.push_back(loss.substr(loss.find(" of ") + 4));
  return cut;
}

bool isThere(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0;
}

/// Those of the files that were not copied have no size in the record; it is not compared.
void forgetSizes(json& files, const json& recorded) {
  for (std::size_t at = 0; at < std::min(files.size(), recorded.size()); ++at) {
    if (recorded[at]["bytes"].is_null() && isThere(files[at]["path"])) {
      files[at]["bytes"] = nullptr;
    }
  }
}

}  // namespace

Recorded runRecorded(const Programs& programs, const CheckInput& input, const std::string& outbox) {
  Recorded result;
  const auto demand = [&result](const json& checker, const json& recorded, const char* what) {
    const auto textOfJson = [](const json& value) {
      return value.dump(-1, ' ', false, json::error_handler_t::replace);
    };
    if (checker == recorded) return;
    result.differences.push_back(std::string(what) + ": " + textOfJson(checker) + ", not " +
                                 textOfJson(recorded));
  };
  Texts words = {programs.checker, "--json", "--"};
  words.insert(words.end(), input.words.begin(), input.words.end());
  const ChildResult checker = runProgram(words);
  words.erase(words.begin() + 1);
  const std::string plain = runProgram(words).out;
  words.erase(words.begin(), words.begin() + 2);
  words.insert(words.begin(), programs.command);
  const ChildResult command = runProgram(words, {{"LD_LIBRARY_PATH", programs.libraryFolder},
                                                 {"KELCOM_LOOPBACK_OUTBOX", outbox},
                                                 {"TANEX_LOG", "/dev/null"}});
  result.isAccepted = command.exitCode() != 68;
  const json report = json::parse(checker.out, nullptr, /*allow_exceptions=*/false);
  if (report.is_discarded()) {
    result.differences = {"the checker says: " + checker.out + checker.err};
    return result;
  }
  const std::vector<json> exchanges = exchangesIn(outbox);
  Sent sent = sentIn(exchanges, outbox);
  json files = report["files"];
  forgetSizes(files, sent.files);
  demand(checker.exitCode(), command.exitCode(), "the exit status");
  demand(report["status"], command.exitCode(), "status");
  demand(report["result"], result.isAccepted ? "accepted" : "rejected", "result");
  demand(files, sent.files, "files");
  const bool isSent = !sent.notification.is_null();
  demand(report["notification"], isSent ? json(shownOf(sent.notification)) : json(),
         "notification");
  if (isSent) {
    // The kind of report is told to people alone.
    const std::string kind = " (" + exchanges[0]["code"].get<std::string>() + ") with ";
    demand(plain.find(kind) != std::string::npos, true, "the request");
    Texts all = {"tanexics"};
    all.insert(all.end(), input.words.begin(), input.words.end());
    const std::string text = unescapeBytes(sent.notification.get<std::string>()).value_or("?");
    demand(report["cut"], cutIn(input, meaningOf(all, input.files), text), "cut");
  } else {
    demand(report["cut"], json::array(), "cut");
  }
  std::filesystem::remove_all(outbox);
  return result;
}
