#include "inherited/situation.h"

#include <sys/resource.h>

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

std::vector<Scenario> makeScenarios() {
  constexpr std::size_t kBelowBuffer = 20;
  constexpr std::size_t kAboveBuffer = 10000;  // of standard output, 4,096 bytes
  constexpr std::size_t kAbovePipe = 200000;   // which holds 65,536
  std::vector<Scenario> all;
  for (const char* name :
       {"incident", "incident-trace", "event-err", "event-trace", "log-rotation"}) {
    all.push_back(prepared(findScenario(scenarios(), name), kBelowBuffer));
  }
  all.push_back(prepared(scenarios().front(), kAboveBuffer));
  all.back().name = "incident-above-buffer";
  all.push_back(prepared(scenarios().front(), kAbovePipe));
  all.back().name = "incident-above-pipe";
  return all;
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
    situation.caller.environment.push_back(std::string(name).append("=") + value);
  }
  situation.caller.nice = ::getpriority(PRIO_PROCESS, 0);
  return situation;
}

void asAlways(Situation& /*situation*/) {}

Change having(const std::string& variable) {
  return [variable](Situation& situation) {
    Texts& environment = situation.caller.environment;
    environment.insert(environment.begin(), variable);
  };
}

Change having(int stream, Stream kind) {
  return [=](Situation& situation) { situation.caller.stream(stream) = kind; };
}

Change limitedTo(int resource, rlim_t value) {
  return [=](Situation& situation) { situation.caller.limits[resource] = value; };
}

Change changingZone(const std::string& call, const std::string& zone) {
  return [=](Situation& situation) {
    situation.zoneCall = call;
    situation.zone = zone;
  };
}

Change all(const std::vector<Change>& changes) {
  return [changes](Situation& situation) {
    for (const Change& change : changes) change(situation);
  };
}

Situation changed(const std::string& scenario, const std::string& family, const std::string& what,
                  const Change& change) {
  Situation situation = undisturbed(findScenario(inheritedScenarios(), scenario));
  situation.family = family;
  situation.name = scenario + " " + family + " " + what;
  change(situation);
  return situation;
}

void Catalogue::add(const std::string& family, std::initializer_list<const char*> scenarios,
                    const std::string& what, const Change& change) {
  for (const char* scenario : scenarios) {
    situations.push_back(changed(scenario, family, what, change));
  }
}
