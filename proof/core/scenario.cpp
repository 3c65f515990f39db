#include "core/scenario.h"

#include <stdexcept>

#include "core/testimony.h"

namespace {

const char* const kLogLevel = "TANEX_LOG_LEVEL";
const char* const kNotRemoved = "TANEX_NOT_DEL_TEMP";

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

/// The scenarios as they are put together. What an addition returns is valid until the next one.
class Scenarios {
 public:
  Scenario& addIncident(const std::string& name) {
    Scenario& scenario = add(name);
    scenario.arguments = {"list", "-i", "42"};
    scenario.files = {{"list", "/srv/case/first\n" + filler("\n") + "/srv/case/second\n"},
                      {"first", "the first file\n"},
                      {"second", std::string(300, 's')}};
    scenario.exchanges = 4;
    scenario.output = scenario.collected + kCollectedBySecond;
    return scenario;
  }

  Scenario& addEvent(const std::string& name, const std::string& definition = kDefinition) {
    Scenario& scenario = add(name);
    scenario.arguments = {"list", "-r", "definition"};
    scenario.files = {
        {"list", "/srv/case/db01.syslog.txt\n/srv/case/other\n"},
        {"definition", definition},
        {"db01.syslog.txt", "# messages of db01\nOct  5 11:59:58 db01 kernel: sda: I/O error\n"},
        {"other", "the other file\n"}};
    scenario.exchanges = 2;
    return scenario;
  }

  void addRejectedOption(const std::string& name, const std::vector<std::string>& arguments) {
    reject(addIncident(name)).arguments = arguments;
  }

  void addRejectedDefinition(const std::string& name, const std::string& definition) {
    reject(addEvent(name, definition));
  }

  /// Nothing is sent.
  static Scenario& reject(Scenario& scenario, int status = 68) {
    scenario.status = status;
    scenario.exchanges = 0;
    scenario.output = "";
    return scenario;
  }

  std::vector<Scenario> all;

 private:
  Scenario& add(const std::string& name) {
    all.emplace_back();
    all.back().name = name;
    return all.back();
  }
};

void addRuns(Scenarios& scenarios) {
  constexpr std::size_t kAboveRotation = 512001;
  scenarios.addIncident("incident");
  scenarios.addIncident("incident-trace").environment[kLogLevel] = "LOG_LEVEL_TRACE";
  scenarios.addEvent("event-err");
  scenarios.addEvent("event-trace").environment[kLogLevel] = "LOG_LEVEL_TRACE";
  scenarios.addEvent("event-other", definitionWith("SendType=err", "SendType=warn"))
      .files["db01.syslog.txt"] = "# nothing\n";
  Scenario& stopped = scenarios.addIncident("centre-stopped");
  stopped.answers = "status 0x20000\n";
  stopped.exchanges = 0;
  stopped.status = 1;
  Scenario& refused = scenarios.addEvent("start-refused");
  refused.answers = "start -7\n";
  refused.exchanges = 0;
  refused.status = 1;
  scenarios.addEvent("log-rotation").logBytes = kAboveRotation;
}

void addRejections(Scenarios& scenarios) {
  scenarios.addRejectedOption("reject-count", {"list", "-i"});
  scenarios.addRejectedOption("reject-option", {"list", "-x", "42"});
  scenarios.addRejectedOption("reject-list-missing", {"no-list", "-i", "42"});
  scenarios.reject(scenarios.addIncident("reject-list-empty")).files["list"] = "\n\r\n\n";
  scenarios.addRejectedOption("reject-definition-missing", {"list", "-r", "no-definition"});
  scenarios.addRejectedDefinition("reject-format", definitionWith("Label=disk", "Label"));
  scenarios.addRejectedDefinition("reject-keyword", definitionWith("Label=disk", "label=disk"));
  scenarios.addRejectedDefinition("reject-value", definitionWith("Label=disk", "Label="));
  scenarios.addRejectedDefinition("reject-parameter", definitionWith("Label=disk\n", ""));
  scenarios.reject(scenarios.addIncident("ordinary-user"), 65).asOrdinaryUser = true;
}

void addOddities(Scenarios& scenarios) {
  scenarios.addIncident("kept-items").environment[kNotRemoved] = "1";
  scenarios.addIncident("exchanges-refused").answers = "communicate * -62 2 54\n";
  // Bytes that mean something to printf, zero bytes, and lines longer than a relayed piece.
  Scenario& hostile = scenarios.addIncident("hostile-output");
  const std::string longLine = std::string(1200, 'l') + "\n";
  hostile.collected = "%s %d %n %% 100%\n" + std::string("seen\0lost\n", 10) + longLine;
  hostile.output = "%s %d %n % 100%\nseen" + longLine + kCollectedBySecond;
  Scenario& missing = scenarios.addIncident("files-missing");
  missing.files.erase("second");
  missing.files["list"] = "first\n/srv/case/second\n";
}

std::vector<Scenario> makeScenarios() {
  Scenarios scenarios;
  addRuns(scenarios);
  addRejections(scenarios);
  addOddities(scenarios);
  return std::move(scenarios.all);
}

}  // namespace

const std::vector<Scenario>& scenarios() {
  static const std::vector<Scenario> all = makeScenarios();
  return all;
}

const Scenario& findScenario(const std::vector<Scenario>& all, const std::string& name) {
  for (const Scenario& scenario : all) {
    if (scenario.name == name) return scenario;
  }
  throw std::invalid_argument("no scenario is called " + name);
}

bool keepsItems(const Scenario& scenario) { return scenario.environment.count(kNotRemoved) != 0; }
