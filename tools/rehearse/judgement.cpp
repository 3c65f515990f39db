#include "tools/rehearse/judgement.h"

#include <sys/wait.h>

#include <fstream>
#include <iterator>

#include "tools/common/language.h"
#include "tools/outcome/reader.h"
#include "tools/outcome/reason.h"

using outcome::Run;
using outcome::Verdict;

namespace {

/// Whether a log from which nothing is missing has the run.
bool isWhole(const std::vector<Run>& runs) {
  return runs.size() == 1 && runs[0].hasStart && !runs[0].end.empty() && runs[0].torn == 0;
}

std::string whyOpen(const std::vector<Run>& runs) {
  if (runs.empty()) return translated("it has no run");
  if (runs.size() > 1) {
    return translated("it has %s runs, and not one", {std::to_string(runs.size())});
  }
  return translatedReasonOf(runs[0]);
}

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Run> runsIn(const RehearsalFolder& folder) {
  std::vector<Run> runs;
  outcome::Reader reader([&runs](Run run) { runs.push_back(std::move(run)); });
  reader.feed(bytesOf(folder.actionLogBackup()));
  reader.feed(bytesOf(folder.actionLog()));
  reader.finish();
  return runs;
}

std::optional<Recorded> recordIn(const RehearsalFolder& folder) {
  std::ifstream record(folder.record());
  if (!record) return std::nullopt;
  return readRecorded(record);
}

/// Why the record decides nothing; empty where it does, or where the log would know the same.
std::string gapOf(const std::optional<Recorded>& recorded) {
  if (!recorded) return translated("there is none");
  if (recorded->unreadable > 0) {
    return translatedCount("%s line cannot be read", "%s lines cannot be read",
                           static_cast<std::size_t>(recorded->unreadable),
                           {std::to_string(recorded->unreadable)});
  }
  return recorded->exchanges.thrownZero > 0 ? reasonOf(recorded->exchanges) : "";
}

}  // namespace

Judgement judge(const std::optional<Recorded>& recorded, const std::vector<Run>& runs,
                int waitStatus) {
  Judgement result;
  const bool isOne = runs.size() == 1;
  const std::string gap = gapOf(recorded);
  const bool isRecordWhole = recorded && recorded->unreadable == 0;
  if (isRecordWhole) result.fromRecord = verdictOf(recorded->exchanges);
  if (isOne) result.fromLog = runs[0].verdict;

  result.verdict = isRecordWhole ? result.fromRecord : result.fromLog;
  const bool isLogsReason = result.fromRecord == result.fromLog || !isRecordWhole;
  result.reason = isLogsReason ? whyOpen(runs) : reasonOf(recorded->exchanges);
  if (result.fromRecord == result.fromLog) return result;

  // What a log cannot have: the end of a run that was ended, and by which call something was
  // thrown.
  const bool mayBeOpen =
      !isWhole(runs) || WIFSIGNALED(waitStatus) || (recorded && recorded->hasThrown);
  if (result.fromLog == Verdict::kUnknown && mayBeOpen) {
    result.openInLog = whyOpen(runs);
  } else if (result.fromRecord == Verdict::kUnknown && !gap.empty()) {
    result.openInRecord = gap;
  } else {
    result.isContradiction = true;
  }
  return result;
}

Judgement judgementOf(const RehearsalFolder& folder, int waitStatus) {
  return judge(recordIn(folder), runsIn(folder), waitStatus);
}
