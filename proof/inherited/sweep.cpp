#include "inherited/sweep.h"

#include <algorithm>
#include <deque>
#include <iostream>
#include <random>
#include <stdexcept>

#include "inherited/judge.h"
#include "inherited/seeded.h"
#include "sweep/story.h"

const char* const kSeededRow = "seeded bugs";

namespace {

const std::string kExceptionHead = "exception ";

using Texts = std::vector<std::string>;

/// The part of the work that one process does.
class Worker {
 public:
  Worker(const InheritedPlan& plan, unsigned number) : m_plan(plan), m_number(number) {}

  Tally work() {
    enterInheritedStage(m_plan.equipment);
    makeReferences();
    chooseSituations();
    for (std::size_t at = m_number; at < m_situations.size(); at += m_plan.jobs) {
      tryOut(m_situations[at]);
    }
    if (!m_plan.isBlunt) trySeeds();
    return m_tally;
  }

 private:
  void makeReferences();
  void chooseSituations();
  void tryOut(const Situation& situation);
  void trySeeds();
  void trySeed(const Seed& seed);
  Judgement judged(const Situation& situation);
  const Undisturbed& undisturbedOf(const Scenario& scenario) const;
  bool isWanted(const std::string& family, const std::string& name) const;

  const InheritedPlan& m_plan;
  unsigned m_number;
  std::deque<Undisturbed> m_references;
  std::vector<Situation> m_situations;
  Tally m_tally;
};

void Worker::makeReferences() {
  for (const Scenario& scenario : inheritedScenarios()) {
    const Situation situation = undisturbed(scenario);
    Undisturbed reference;
    reference.scenario = &scenario;
    reference.run = runIn(situation, /*isBlunt=*/false);
    reference.expected = expectationFrom(scenario, reference.run);
    m_references.push_back(std::move(reference));
    if (m_number != 0) continue;
    // A second run must be like the first, with nothing excepted.
    Judgement judgement = judged(situation);
    for (const std::string& what : judgement.unseen)
      judgement.broken.push_back("0: unseen: " + what);
    for (const std::string& what : judgement.claimed)
      judgement.broken.push_back("0: claimed: " + what);
    const Expected& expected = m_references.back().expected;
    if (expected.output != scenario.output) judgement.broken.emplace_back("0: another output");
    if (!expected.errors.empty()) judgement.broken.push_back("0: " + expected.errors);
    m_tally.note("undisturbed", situation.name, judgement.broken);
  }
}

const Undisturbed& Worker::undisturbedOf(const Scenario& scenario) const {
  for (const Undisturbed& reference : m_references) {
    if (reference.scenario == &scenario) return reference;
  }
  throw std::invalid_argument("no reference for " + scenario.name);
}

bool Worker::isWanted(const std::string& family, const std::string& name) const {
  return (m_plan.family.empty() || family == m_plan.family) &&
         (m_plan.only.empty() || name == m_plan.only);
}

void Worker::chooseSituations() {
  for (Situation& situation : allSituations()) {
    if (isWanted(situation.family, situation.name)) m_situations.push_back(std::move(situation));
  }
  // The same order in every process, so that each takes its own share of it.
  std::mt19937 random(m_plan.seed);
  std::shuffle(m_situations.begin(), m_situations.end(), random);
  if (m_plan.sample > 0 && m_situations.size() > m_plan.sample) m_situations.resize(m_plan.sample);
}

Judgement Worker::judged(const Situation& situation) {
  const Run run = runIn(situation, m_plan.isBlunt);
  // Asked for one alone, somebody wants to see it.
  if (!m_plan.only.empty() && situation.name == m_plan.only) {
    std::cout << storyOf(run.outcome) << std::flush;
  }
  return judgeInherited(situation, undisturbedOf(*situation.scenario), run);
}

void Worker::tryOut(const Situation& situation) {
  Judgement judgement;
  try {
    judgement = judged(situation);
  } catch (const std::exception& error) {
    judgement.unseen.emplace_back(error.what());
  }
  m_tally.count(situation.family, "tried");
  m_tally.count(situation.family, "seen", judgement.unseen.empty() ? 1 : 0);
  m_tally.count(situation.family, "excepted", judgement.claimed.empty() ? 0 : 1);
  for (const std::string& name : judgement.claimed) m_tally.count(exceptionRow(name), "claimed");
  Texts broken = judgement.broken;
  for (const std::string& what : judgement.unseen)
    broken.push_back("not seen to take effect: " + what);
  m_tally.note(situation.family, situation.name, broken);
}

void Worker::trySeeds() {
  const std::vector<Seed>& seeds = allSeeds();
  for (std::size_t at = m_number; at < seeds.size(); at += m_plan.jobs) {
    if (isWanted(kSeededRow, nameOf(seeds[at]))) trySeed(seeds[at]);
  }
}

/// The bug must be found where it shows, and nothing must be found without it.
void Worker::trySeed(const Seed& seed) {
  Texts broken;
  Situation situation = seed.situation;
  const Texts found = judged(situation).broken;
  const bool isFound = std::any_of(found.begin(), found.end(), [&seed](const std::string& what) {
    return what.compare(0, seed.judge.size(), seed.judge) == 0;
  });
  if (!isFound) {
    broken.push_back("the seeded bug is not found by " + seed.judge);
    broken.insert(broken.end(), found.begin(), found.end());
  }
  setBug(situation, "none");
  for (const std::string& what : judged(situation).broken)
    broken.push_back("without the bug: " + what);
  m_tally.count(kSeededRow, "tried");
  m_tally.count(kSeededRow, "seen");
  m_tally.note(kSeededRow, nameOf(seed), broken);
}

}  // namespace

std::string exceptionRow(const std::string& exception) { return kExceptionHead + exception; }

bool isExceptionRow(const std::string& row) {
  return row.compare(0, kExceptionHead.size(), kExceptionHead) == 0;
}

Tally sweepInherited(const InheritedPlan& plan) {
  return workTogether(plan.jobs, [&plan](unsigned number) { return Worker(plan, number).work(); });
}
