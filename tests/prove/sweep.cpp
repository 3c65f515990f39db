#include "prove/sweep.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <deque>
#include <iostream>
#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>

#include "prove/judge.h"
#include "prove/story.h"
#include "prove/trial.h"

const char* const kSelfTestRow = "self-test";

namespace {

using Json = nlohmann::json;

const char* const kNotHit = "0: the fault was not seen to hit";

/// The part of the work that one process does.
class Worker {
 public:
  Worker(const Plan& plan, unsigned number) : m_plan(plan), m_number(number) {}

  /// Returns rows and findings, as JSON.
  Json work() {
    enterStage(m_plan.equipment);
    makeReferences();
    makeTrials();
    for (std::size_t at = m_number; at < m_trials.size(); at += m_plan.jobs) tryOut(m_trials[at]);
    return {{"rows", m_rows}, {"findings", m_findings}};
  }

 private:
  void makeReferences();
  void makeTrials();
  void addUntraced();
  void addSelfTests();
  void add(std::vector<Trial> trials);
  void tryOut(const Trial& trial);
  void count(const std::string& row, const char* column, int more = 1);
  void note(const std::string& row, const std::string& trial,
            const std::vector<std::string>& broken);
  const Reference& referenceOf(const std::string& scenario) const;

  const Plan& m_plan;
  unsigned m_number;
  std::deque<Reference> m_references;
  std::vector<Trial> m_trials;
  Json m_rows = Json::object();
  Json m_findings = Json::array();
};

void Worker::count(const std::string& row, const char* column, int more) {
  Json& counts = m_rows[row];
  if (!counts.is_object()) counts = Json::object();
  counts[column] = counts.value(column, 0) + more;
}

void Worker::note(const std::string& row, const std::string& trial,
                  const std::vector<std::string>& broken) {
  if (broken.empty()) return;
  count(row, "broken");
  // Bytes of a hostile command may be anything.
  const std::string text = Json(broken).dump(-1, ' ', true, Json::error_handler_t::replace);
  m_findings.push_back({{"trial", trial}, {"broken", Json::parse(text)}});
}

void Worker::makeReferences() {
  for (const Scenario& scenario : scenarios()) {
    prepareStage(scenario);
    Outcome first = runTraced(launchOf(scenario), {});
    prepareStage(scenario);
    const Outcome second = runTraced(launchOf(scenario), {});
    if (m_number == 0) {
      count(scenario.name, "calls", static_cast<int>(first.trace.calls.size()));
      note(scenario.name, scenario.name + " undisturbed", judgeReference(scenario, first, second));
    }
    m_references.push_back({&scenario, std::move(first), m_plan.isBlunt});
  }
}

const Reference& Worker::referenceOf(const std::string& scenario) const {
  for (const Reference& reference : m_references) {
    if (reference.scenario->name == scenario) return reference;
  }
  throw std::invalid_argument("no scenario is called " + scenario);
}

void Worker::add(std::vector<Trial> trials) {
  for (Trial& trial : trials) {
    const bool isWanted = (m_plan.scenario.empty() || trial.row == m_plan.scenario) &&
                          (m_plan.only.empty() || trial.name == m_plan.only);
    if (isWanted) m_trials.push_back(std::move(trial));
  }
}

void Worker::makeTrials() {
  for (const Reference& reference : m_references) add(callTrials(reference));
  for (const char* name : {"event-err", "log-rotation", "incident"}) {
    add(signalTrials(referenceOf(name)));
  }
  // The other families and the self-tests have their own ways to a fault.
  if (!m_plan.isBlunt) addUntraced();
  // The same order in every process, so that each takes its own share of it.
  std::mt19937 random(m_plan.seed);
  std::shuffle(m_trials.begin(), m_trials.end(), random);
  if (m_plan.sample > 0 && m_trials.size() > m_plan.sample) m_trials.resize(m_plan.sample);
  // The proof of the machinery is never left to chance.
  if (!m_plan.isBlunt) addSelfTests();
}

void Worker::addUntraced() {
  for (const Reference& reference : m_references) add(allocationTrials(reference));
  add(libraryTrials(referenceOf("event-err")));
  add(throwTrials(referenceOf("incident")));
}

void Worker::addSelfTests() {
  for (const Reference& reference : m_references) add(endTrials(reference));
  add(selfTrials(referenceOf("event-err"), referenceOf("incident")));
}

void Worker::tryOut(const Trial& trial) {
  Verdict verdict;
  try {
    verdict = trial.run();
    if (!verdict.isHit) verdict.broken.emplace_back(kNotHit);
  } catch (const std::exception& error) {
    verdict.broken.push_back(std::string("0: ") + error.what());
  }
  // Asked for one trial alone, somebody wants to see it.
  if (!m_plan.only.empty()) std::cout << storyOf(verdict.run) << std::flush;
  count(trial.row, "tried");
  count(trial.row, "hit", verdict.isHit ? 1 : 0);
  note(trial.row, trial.name, verdict.broken);
}

/// Runs one share of the work in a process of its own; what it found goes to `report`.
pid_t startWorker(const Plan& plan, unsigned number, int report) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  Json found;
  try {
    found = Worker(plan, number).work();
  } catch (const std::exception& error) {
    found["failure"] = error.what();
  }
  const std::string text = found.dump();
  ::_exit(::write(report, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

std::string readReport(int report) {
  const off_t size = ::lseek(report, 0, SEEK_END);
  std::string text(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
  if (::pread(report, text.data(), text.size(), 0) != size) text.clear();
  return text;
}

void addRows(std::vector<Row>& rows, const Json& found) {
  for (const auto& [name, counts] : found.items()) {
    const auto isOfName = [&wanted = name](const Row& row) { return row.name == wanted; };
    auto row = std::find_if(rows.begin(), rows.end(), isOfName);
    if (row == rows.end()) {
      rows.emplace_back();
      row = rows.end() - 1;
      row->name = name;
    }
    row->calls += counts.value("calls", 0);
    row->tried += counts.value("tried", 0);
    row->hit += counts.value("hit", 0);
    row->broken += counts.value("broken", 0);
  }
}

void addReport(Result& result, const std::string& text) {
  const Json found = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!found.is_object()) throw std::runtime_error("a worker ended without a report");
  if (found.contains("failure")) throw std::runtime_error(found.value("failure", ""));
  addRows(result.rows, found["rows"]);
  for (const Json& finding : found["findings"]) {
    result.findings.push_back({finding.value("trial", ""), finding["broken"]});
  }
}

}  // namespace

Result sweep(const Plan& plan) {
  std::vector<int> reports;
  for (unsigned number = 0; number < plan.jobs; ++number) {
    reports.push_back(::memfd_create("report", MFD_CLOEXEC));
    if (startWorker(plan, number, reports.back()) < 0) throw std::runtime_error("no worker");
  }
  while (::wait(nullptr) > 0 || errno == EINTR) continue;
  Result result;
  // In the order of the scenarios; the other families follow.
  for (const Scenario& scenario : scenarios()) {
    result.rows.emplace_back();
    result.rows.back().name = scenario.name;
  }
  for (const int report : reports) {
    addReport(result, readReport(report));
    ::close(report);
  }
  return result;
}
