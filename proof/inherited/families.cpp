#include "inherited/families.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "inherited/stagefiles.h"

namespace {

/// What the first collection command prints, see witness.cpp.
std::string collectedText(std::size_t bytes) {
  std::string text;
  while (text.size() + kCollectedLine < bytes) text += std::string(kCollectedLine - 1, 'c') + "\n";
  const std::string line = std::string(kCollectedLine - 1, 'c') + "\n";
  return text + line.substr(line.size() - (bytes - text.size()));
}

Scenario prepared(Scenario scenario, std::size_t collectedBytes) {
  for (const auto& [name, text] : scenario.files) {
    for (std::string& argument : scenario.arguments) {
      if (argument == name) argument = std::string(kCaseFolder) + "/" + name;
    }
  }
  if (scenario.output.empty()) return scenario;
  scenario.collected = collectedText(collectedBytes);
  scenario.output = scenario.collected + kCollectedBySecond;
  return scenario;
}

const Scenario& original(const std::string& name) {
  for (const Scenario& scenario : scenarios()) {
    if (scenario.name == name) return scenario;
  }
  throw std::invalid_argument("no scenario is called " + name);
}

Scenario renamed(Scenario scenario, const std::string& name) {
  scenario.name = name;
  return scenario;
}

std::vector<Scenario> makeScenarios() {
  constexpr std::size_t kBelowBuffer = 20;
  constexpr std::size_t kAboveBuffer = 10000;  // of standard output, 4,096 bytes
  constexpr std::size_t kAbovePipe = 200000;   // which holds 65,536
  std::vector<Scenario> all;
  for (const char* name :
       {"incident", "incident-trace", "event-err", "event-trace", "log-rotation"}) {
    all.push_back(prepared(original(name), kBelowBuffer));
  }
  const Scenario& incident = original("incident");
  all.push_back(renamed(prepared(incident, kAboveBuffer), "incident-above-buffer"));
  all.push_back(renamed(prepared(incident, kAbovePipe), "incident-above-pipe"));
  return all;
}

const Scenario& scenarioOf(const std::string& name) {
  for (const Scenario& scenario : inheritedScenarios()) {
    if (scenario.name == name) return scenario;
  }
  throw std::invalid_argument("no scenario is called " + name);
}

}  // namespace

const std::vector<Scenario>& inheritedScenarios() {
  static const std::vector<Scenario> all = makeScenarios();
  return all;
}

Situation undisturbed(const Scenario& scenario) {
  Situation situation;
  situation.family = "undisturbed";
  situation.name = "undisturbed " + scenario.name;
  situation.scenario = &scenario;
  situation.caller.program = kCommandFile;
  situation.caller.words = scenario.arguments;
  situation.caller.environment = {"PATH=/usr/bin:/bin"};
  for (const auto& [name, value] : scenario.environment) {
    situation.caller.environment.push_back(name);
    situation.caller.environment.back() += "=" + value;
  }
  situation.caller.nice = ::getpriority(PRIO_PROCESS, 0);
  return situation;
}

void Catalogue::add(const std::string& family, std::initializer_list<const char*> scenarios,
                    const std::string& what, const std::function<void(Situation&)>& change) {
  for (const char* name : scenarios) {
    Situation situation = undisturbed(scenarioOf(name));
    situation.family = family;
    situation.name = name;
    situation.name.append(" ").append(family).append(" ").append(what);
    change(situation);
    m_situations.push_back(std::move(situation));
  }
}

std::vector<Situation> allSituations() {
  Catalogue catalogue;
  addSignals(catalogue);
  addStreams(catalogue);
  addLimits(catalogue);
  addProcess(catalogue);
  addEnvironment(catalogue);
  addTemporary(catalogue);
  addMixtures(catalogue);
  return std::move(catalogue.situations());
}

bool canDo(const std::function<bool()>& something) {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(something() ? 0 : 1);
  int status = -1;
  return pid > 0 && ::waitpid(pid, &status, 0) == pid && status == 0;
}

void setVariable(Caller& caller, const std::string& entry) {
  caller.environment.insert(caller.environment.begin(), entry);
}

int leastNice() {
  constexpr int kLeast = -20;
  static const int least = canDo([] { return ::setpriority(PRIO_PROCESS, 0, kLeast) == 0; })
                               ? kLeast
                               : ::getpriority(PRIO_PROCESS, 0);
  return least;
}

std::vector<std::string> leftOut() {
  std::vector<std::string> what = {
      "SIGKILL and SIGSTOP ignored or blocked: the kernel allows neither"};
  if (leastNice() > -20) what.emplace_back("less niceness than the caller's: not permitted here");
  return what;
}
