#include "tools/check/json.h"

#include <nlohmann/json.hpp>

#include "sendevent/exitstatus.h"
#include "tools/outcome/readable.h"

using nlohmann::ordered_json;

namespace check {

namespace {

std::string readable(const std::string& bytes) {
  return outcome::readable(bytes, outcome::Encoding::kEither);
}

ordered_json faultOf(const Fault& fault) {
  return {{"file", fault.file ? ordered_json(readable(*fault.file)) : ordered_json()},
          {"line", fault.line > 0 ? ordered_json(fault.line) : ordered_json()},
          {"severity", fault.isError ? "error" : "warning"},
          {"text", fault.text}};
}

/// Gives the items of a list, each as it is made.
class ListWriter {
 public:
  explicit ListWriter(const std::function<void(const std::string&)>& write) : m_write(write) {}

  void add(const ordered_json& item) {
    m_write((m_isEmpty ? "" : ",") + item.dump());
    m_isEmpty = false;
  }

 private:
  const std::function<void(const std::string&)>& m_write;
  bool m_isEmpty = true;
};

}  // namespace

void writeJson(const Report& report, const std::function<void(const std::string&)>& write) {
  ordered_json result;
  ordered_json status;
  if (report.answer == Answer::kAccepted) {
    result = "accepted";
    status = kExitSuccess;
  } else if (report.answer == Answer::kRejected) {
    result = "rejected";
    status = kExitBadInput;
  }
  write("{\"result\":" + result.dump() + ",\"status\":" + status.dump() + ",\"faults\":[");
  ListWriter faults(write);
  for (const Fault& fault : report.faults.kept()) faults.add(faultOf(fault));
  if (const std::string rest = report.faults.rest(); !rest.empty()) {
    faults.add(faultOf({std::nullopt, 0, report.faults.isErrorLeftOut(), rest}));
  }
  ordered_json text;
  ordered_json cut = ordered_json::array();
  if (report.notification) {
    text = readable(report.notification->text);
    for (const Loss& loss : report.notification->losses) cut.push_back(loss.field);
  }
  write("],\"notification\":" + text.dump() + ",\"cut\":" + cut.dump() + ",\"files\":[");
  ListWriter files(write);
  for (const ListedFile& file : report.files) {
    files.add({{"path", readable(file.path)},
               {"bytes", file.bytes ? ordered_json(*file.bytes) : ordered_json()}});
  }
  write("]}\n");
}

}  // namespace check
