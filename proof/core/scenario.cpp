#include "core/scenario.h"

#include <stdexcept>

#include "core/testimony.h"
#include "core/trace.h"

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

Scenario incident(const std::string& name) {
  Scenario scenario;
  scenario.name = name;
  scenario.arguments = {"list", "-i", "42"};
  scenario.files = {{"list", "/srv/case/first\n" + filler("\n") + "/srv/case/second\n"},
                    {"first", "the first file\n"},
                    {"second", std::string(300, 's')}};
  scenario.exchanges = 4;
  scenario.output = scenario.collected + kCollectedBySecond;
  return scenario;
}

Scenario event(const std::string& name, const std::string& definition = kDefinition) {
  Scenario scenario;
  scenario.name = name;
  scenario.arguments = {"list", "-r", "definition"};
  scenario.files = {
      {"list", "/srv/case/db01.syslog.txt\n/srv/case/other\n"},
      {"definition", definition},
      {"db01.syslog.txt", "# messages of db01\nOct  5 11:59:58 db01 kernel: sda: I/O error\n"},
      {"other", "the other file\n"}};
  scenario.exchanges = 2;
  return scenario;
}

/// The same, with an end before anything is collected or sent.
Scenario unsent(Scenario scenario, int status = kRejected) {
  scenario.status = status;
  scenario.exchanges = 0;
  scenario.output = "";
  return scenario;
}

void addRuns(std::vector<Scenario>& all) {
  constexpr std::size_t kAboveRotation = 512001;
  all.push_back(incident("incident"));
  all.emplace_back(incident("incident-trace")).environment[kLogLevel] = "LOG_LEVEL_TRACE";
  all.push_back(event("event-err"));
  all.emplace_back(event("event-trace")).environment[kLogLevel] = "LOG_LEVEL_TRACE";
  all.emplace_back(event("event-other", definitionWith("SendType=err", "SendType=warn")))
      .files["db01.syslog.txt"] = "# nothing\n";
  Scenario& stopped = all.emplace_back(incident("centre-stopped"));
  stopped.answers = "status 0x20000\n";
  stopped.exchanges = 0;
  stopped.status = 1;
  all.emplace_back(unsent(event("start-refused"), 1)).answers = "start -7\n";
  all.emplace_back(event("log-rotation")).logBytes = kAboveRotation;
}

void addRejections(std::vector<Scenario>& all) {
  const auto addArguments = [&all](const char* name, const Texts& arguments) {
    all.emplace_back(unsent(incident(name))).arguments = arguments;
  };
  const auto addDefinition = [&all](const char* name, const char* line, const char* replacement) {
    all.push_back(unsent(event(name, definitionWith(line, replacement))));
  };
  addArguments("reject-count", {"list", "-i"});
  addArguments("reject-option", {"list", "-x", "42"});
  addArguments("reject-list-missing", {"no-list", "-i", "42"});
  all.emplace_back(unsent(incident("reject-list-empty"))).files["list"] = "\n\r\n\n";
  addArguments("reject-definition-missing", {"list", "-r", "no-definition"});
  addDefinition("reject-format", "Label=disk", "Label");
  addDefinition("reject-keyword", "Label=disk", "label=disk");
  addDefinition("reject-value", "Label=disk", "Label=");
  addDefinition("reject-parameter", "Label=disk\n", "");
  all.emplace_back(unsent(incident("ordinary-user"), 65)).asOrdinaryUser = true;
}

void addOddities(std::vector<Scenario>& all) {
  all.emplace_back(incident("kept-items")).environment[kNotRemoved] = "1";
  all.emplace_back(incident("exchanges-refused")).answers = "communicate * -62 2 54\n";
  // Bytes that mean something to printf, zero bytes, and lines longer than a relayed piece.
  Scenario& hostile = all.emplace_back(incident("hostile-output"));
  const std::string longLine = std::string(1200, 'l') + "\n";
  hostile.collected = "%s %d %n %% 100%\n" + std::string("seen\0lost\n", 10) + longLine;
  hostile.output = "%s %d %n % 100%\nseen" + longLine + kCollectedBySecond;
  Scenario& missing = all.emplace_back(incident("files-missing"));
  missing.files.erase("second");
  missing.files["list"] = "first\n/srv/case/second\n";
}

std::vector<Scenario> makeScenarios() {
  std::vector<Scenario> all;
  addRuns(all);
  addRejections(all);
  addOddities(all);
  return all;
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
