// Both definition files: the input is the file.

#include <algorithm>

#include "fuzz/judges.h"
#include "fuzz/scratchfile.h"
#include "fuzz/target.h"
#include "support/testevent.h"

namespace {

struct Definition {
  int status = 0;
  Params params;
};

Definition rejected(const Params& params) { return {68, params}; }

/// The judge: what the definition `bytes` says to a reader of `keys`.
Definition definitionIn(const std::string& bytes, const Texts& keys) {
  Params params;
  for (const std::string& piece : piecesOf(bytes, 1023)) {
    const std::string line = withoutLineEnd(piece);
    if (line.empty() || piece.front() == '#') continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return rejected(params);
    const std::string key = line.substr(0, equals);
    const std::string value = line.substr(equals + 1);
    if (std::count(keys.begin(), keys.end(), key) == 0) return rejected(params);
    if (value.empty() && key != "MsgID") return rejected(params);
    params[key] = value;
  }
  for (const std::string& key : keys) {
    // Asking for a parameter inserts it, the first missing one included.
    if (params[key].empty() && key != "MsgID") return rejected(params);
  }
  return {0, params};
}

void tryEvent(const std::string& path, const std::string& bytes) {
  const Definition expected =
      definitionIn(bytes, {"Time", "Label", "HostName", "OSType", "OSName", "OSVersion", "PkgName",
                           "MsgType", "MsgID", "SendType", "EventID", "PartitionName"});
  TestEvent event;
  Arguments arguments({path});
  demandEqual(event.parseTanexEventMsg(arguments.argv()[0]), expected.status,
              "a definition of an event is accepted or rejected as a whole");
  demandEqual(event.m_params, expected.params, "the parameters are those of the event");
  const int accepted =
      expected.params.count("SendType") != 0 && expected.params.at("SendType") == std::string("err")
          ? CSendEventBase::kErrorEvent
          : CSendEventBase::kOtherEvent;
  demandEqual(event.getEventType(), expected.status == 0 ? accepted : 0,
              "the type follows from SendType");
}

void tryIncident(const std::string& path, const std::string& bytes) {
  const Definition expected =
      definitionIn(bytes, {"IncidentNumber", "HostName", "PartitionName", "CollectionTime"});
  TestEvent event;
  Arguments arguments({path});
  demandEqual(event.parseTanexMsg(arguments.argv()[0]), expected.status,
              "a definition of an incident is accepted or rejected as a whole");
  demandEqual(event.m_params, expected.params, "the parameters are those of the incident");
  demandEqual(event.getEventType(), 2, "an incident is one, whatever its file says");
}

}  // namespace

void tryInput(Input input) {
  static const ScratchFile file({"definition"});
  const std::string bytes = input.rest();
  file.write(bytes);
  tryEvent(file.path(), bytes);
  tryIncident(file.path(), bytes);
  demandEqual(file.read(), bytes, "the definition itself is not changed");
}
