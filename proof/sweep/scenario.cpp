#include "sweep/scenario.h"

const char* const kStage = "/srv";
const char* const kCaseFolder = "/srv/case";
const char* const kActionLog = "/srv/log/msg_action.log";
const char* const kBackup = "/srv/log/msg_action.bak";
const char* const kOutbox = "/srv/outbox";
const char* const kScriptFile = "/srv/answers";
const char* const kOutputFile = "/srv/out/output";
const char* const kErrorFile = "/srv/out/errors";
const char* const kAllocationCount = "/srv/allocations";
const char* const kCommandFile = "/srv/bin/tanexics";

namespace {

constexpr std::size_t kAboveRotation = 512001;

/// Lines that count for nothing, more of them than one read(2) of a stream takes in: a file with
/// them in its middle can be read in part.
std::string filler(const std::string& line) {
  constexpr std::size_t kBytesOfRead = 4096;
  std::string text;
  while (text.size() <= kBytesOfRead) text += line;
  return text;
}

const std::string kDefinition =
    "# what happened\nTime=2026/10/05 12:00:00\nLabel=disk\nHostName=db01\nOSType=Linux\n"
    "OSName=Debian\nOSVersion=12\nPkgName=kernel\nMsgType=E\nMsgID=4001\nSendType=info\n"
    "EventID=17\nPartitionName=p0\n" +
    filler("# more of it\n") + "SendType=err\n";

/// The definition with one of its lines replaced.
std::string definitionWith(const std::string& line, const std::string& replacement) {
  std::string text = kDefinition;
  return text.replace(text.find(line), line.size(), replacement);
}

Scenario makeIncident(const std::string& name) {
  Scenario scenario;
  scenario.name = name;
  scenario.arguments = {"list", "-i", "42"};
  scenario.files = {{"list", "/srv/case/first\n" + filler("\n") + "/srv/case/second\n"},
                    {"first", "the first file\n"},
                    {"second", std::string(300, 's')}};
  scenario.exchanges = 4;
  scenario.output = scenario.collected + "collected by tanexcs\n";
  return scenario;
}

Scenario makeEvent(const std::string& name, const std::string& definition,
                   const std::string& extract) {
  Scenario scenario;
  scenario.name = name;
  scenario.arguments = {"list", "-r", "definition"};
  scenario.files = {{"list", "/srv/case/db01.syslog.txt\n/srv/case/other\n"},
                    {"definition", definition},
                    {"db01.syslog.txt", extract},
                    {"other", "the other file\n"}};
  scenario.exchanges = 2;
  return scenario;
}

const char* const kExtract = "# messages of db01\nOct  5 11:59:58 db01 kernel: sda: I/O error\n";

Scenario makeTracedIncident() {
  Scenario scenario = makeIncident("incident-trace");
  scenario.environment["TANEX_LOG_LEVEL"] = "LOG_LEVEL_TRACE";
  return scenario;
}

Scenario makeTracedEvent() {
  Scenario scenario = makeEvent("event-trace", kDefinition, kExtract);
  scenario.environment["TANEX_LOG_LEVEL"] = "LOG_LEVEL_TRACE";
  return scenario;
}

Scenario makeStopped() {
  Scenario scenario = makeIncident("centre-stopped");
  scenario.answers = "status 0x20000\n";
  scenario.exchanges = 0;
  scenario.status = 1;
  return scenario;
}

Scenario makeRefusedStart() {
  Scenario scenario = makeEvent("start-refused", kDefinition, kExtract);
  scenario.answers = "start -7\n";
  scenario.exchanges = 0;
  scenario.status = 1;
  return scenario;
}

Scenario makeRotation() {
  Scenario scenario = makeEvent("log-rotation", kDefinition, kExtract);
  scenario.logBytes = kAboveRotation;
  return scenario;
}

Scenario makeRejected(Scenario scenario) {
  scenario.status = 68;
  scenario.exchanges = 0;
  scenario.output = "";
  return scenario;
}

Scenario makeRejectedOption(const std::string& name, std::vector<std::string> arguments) {
  Scenario scenario = makeRejected(makeIncident(name));
  scenario.arguments = std::move(arguments);
  return scenario;
}

Scenario makeRejectedList(const std::string& name, const std::string& list) {
  Scenario scenario = makeRejected(makeIncident(name));
  scenario.files["list"] = list;
  return scenario;
}

Scenario makeRejectedDefinition(const std::string& name, const std::string& definition) {
  return makeRejected(makeEvent(name, definition, kExtract));
}

Scenario makeOrdinaryUser() {
  Scenario scenario = makeRejected(makeIncident("ordinary-user"));
  scenario.asOrdinaryUser = true;
  scenario.status = 65;
  return scenario;
}

Scenario makeKeptItems() {
  Scenario scenario = makeIncident("kept-items");
  scenario.environment["TANEX_NOT_DEL_TEMP"] = "1";
  return scenario;
}

Scenario makeRefusedExchanges() {
  Scenario scenario = makeIncident("exchanges-refused");
  scenario.answers = "communicate * -62 2 54\n";
  return scenario;
}

/// Bytes that mean something to printf, zero bytes, and lines longer than a relayed piece.
Scenario makeHostileOutput() {
  Scenario scenario = makeIncident("hostile-output");
  const std::string conversions = "%s %d %n %% 100%\n";
  const std::string longLine = std::string(1200, 'l') + "\n";
  scenario.collected = conversions + std::string("seen\0lost\n", 10) + longLine;
  scenario.output = "%s %d %n % 100%\nseen" + longLine + "collected by tanexcs\n";
  return scenario;
}

Scenario makeMissingFiles() {
  Scenario scenario = makeIncident("files-missing");
  scenario.files.erase("second");
  scenario.files["list"] = "first\n/srv/case/second\n";
  return scenario;
}

std::vector<Scenario> makeScenarios() {
  return {
      makeIncident("incident"),
      makeTracedIncident(),
      makeEvent("event-err", kDefinition, kExtract),
      makeTracedEvent(),
      makeEvent("event-other", definitionWith("SendType=err", "SendType=warn"), "# nothing\n"),
      makeStopped(),
      makeRefusedStart(),
      makeRotation(),
      makeRejectedOption("reject-count", {"list", "-i"}),
      makeRejectedOption("reject-option", {"list", "-x", "42"}),
      makeRejectedOption("reject-list-missing", {"no-list", "-i", "42"}),
      makeRejectedList("reject-list-empty", "\n\r\n\n"),
      makeRejectedOption("reject-definition-missing", {"list", "-r", "no-definition"}),
      makeRejectedDefinition("reject-format", definitionWith("Label=disk", "Label")),
      makeRejectedDefinition("reject-keyword", definitionWith("Label=disk", "label=disk")),
      makeRejectedDefinition("reject-value", definitionWith("Label=disk", "Label=")),
      makeRejectedDefinition("reject-parameter", definitionWith("Label=disk\n", "")),
      makeOrdinaryUser(),
      makeKeptItems(),
      makeRefusedExchanges(),
      makeHostileOutput(),
      makeMissingFiles(),
  };
}

}  // namespace

const std::vector<Scenario>& scenarios() {
  static const std::vector<Scenario> all = makeScenarios();
  return all;
}

bool keepsItems(const Scenario& scenario) {
  return scenario.environment.count("TANEX_NOT_DEL_TEMP") != 0;
}
