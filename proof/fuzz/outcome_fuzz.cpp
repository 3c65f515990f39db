// The reader of the action log, which tanexics-log tells operators from: it never says more than
// the bytes allow.

#include <algorithm>
#include <map>
#include <optional>
#include <regex>
#include <set>

#include "fuzz/judges.h"
#include "tools/logbytes.h"

namespace {

using outcome::Run;
using outcome::Verdict;

// --- any bytes
// ------------------------------------------------------------------------------------

std::string textOf(const Run& run) {
  std::string text = std::to_string(run.pid) + ' ' + run.start + ' ' + run.end + ' ' +
                     testing::PrintToString(run.elapsed) + testing::PrintToString(run.exitCode) +
                     std::to_string(static_cast<int>(run.mode)) +
                     testing::PrintToString(run.identity) + testing::PrintToString(run.host) +
                     testing::PrintToString(run.expected) + ' ' + wordOf(run.verdict) + ' ' +
                     run.reason + ' ' + std::to_string(run.torn) + (run.hasStart ? " started" : "");
  for (const outcome::Exchange& one : run.exchanges) {
    text += one.isData ? "\n data " : "\n notification ";
    text += testing::PrintToString(one.request) + testing::PrintToString(one.part) +
            std::to_string(one.files) + testing::PrintToString(one.path) +
            testing::PrintToString(one.code) + testing::PrintToString(one.error);
  }
  return text + testing::PrintToString(run.missing) + testing::PrintToString(run.lines) + '\n';
}

/// All that the reader says of a log that it is fed in pieces which end at these places.
std::string readingOf(const std::string& log, const std::vector<std::size_t>& ends) {
  std::string text;
  outcome::Reader reader([&text](const Run& run) { text += textOf(run); }, true);
  std::size_t at = 0;
  for (const std::size_t end : ends) {
    const std::vector<char> piece = exactCopy(log.substr(at, end - at));
    reader.feed({piece.data(), piece.size()});
    at = end;
  }
  reader.finish();
  return text + reader.firstForeignLine();
}

/// What the judge finds in the lines of one process: those that are whole, by a table of what they
/// look like.
struct Lines {
  std::size_t answersOf0 = 0;  // without an agent's error
  std::size_t otherAnswers = 0;
  std::size_t ok = 0;
  std::size_t started = 0;
  int files = 0;  // by the largest number of files that a line names
  bool isEvent = false;
};

Lines linesOfOne(const std::string& log) {
  static const std::regex line("\\d{4}/\\d{2}/\\d{2} \\d{2}:\\d{2}:\\d{2} +\\d+ ([^\\n]*)",
                               std::regex::optimize);
  static const std::regex done("RM_Communicate done \\(code='(-?\\d+)', msg='(\\(?[^\\n]*)'\\) ");
  static const std::regex loop("commonSendEvent Main Loop \\(\\d{1,6}/(\\d{1,6})\\)");
  Lines found;
  for (const std::string& text : slowSplit(log, "\n")) {
    std::smatch match;
    if (text.size() > 400 || !std::regex_match(text, match, line)) continue;
    const std::string message = match[1];
    if (message == kOk) ++found.ok;
    if (message.rfind("### main : ", 0) == 0) ++found.started;
    found.isEvent |= message.find("(param=0x4020") != std::string::npos;
    if (std::regex_match(message, match, loop))
      found.files = std::max(found.files, std::stoi(match[1]));
    if (!std::regex_match(message, match, done)) continue;
    if (match[1] == "0" && match[2].length() == 0) {
      ++found.answersOf0;
    } else if (match[1] != "0" && match[2].length() == 0) {
      ++found.otherAnswers;
    }
  }
  return found;
}

std::size_t timesOf(const std::string& part, const std::string& text) {
  return slowSplit(text, part).size() - 1;
}

// The input: two bytes for the place at which the log is cut, and the log.
const Target kActionLog("actionlog", [](Input input) {
  const std::size_t place = input.byte() + 256 * input.byte();
  const std::string log = input.rest();
  const std::string whole = readingOf(log, {log.size()});
  demandEqual(readingOf(log, {place % (log.size() + 1), log.size()}), whole,
              "two pieces read the same");
  std::vector<std::size_t> each(log.size());
  for (std::size_t at = 0; at < each.size(); ++at) each[at] = at + 1;
  demandEqual(readingOf(log, each), whole, "single bytes read the same");

  const std::vector<Run> runs = runsOf(log);
  std::size_t expected = 0;
  std::size_t delivered = 0;
  std::set<int> processes;
  for (const Run& run : runs) {
    processes.insert(run.pid);
    if (run.verdict != Verdict::kDelivered) continue;
    ++delivered;
    demand(run.expected.value_or(0) >= 2, "a delivered run had exchanges to make");
    expected += static_cast<std::size_t>(*run.expected);
  }
  // Whatever is torn: these texts are not made of others.
  demand(delivered <= timesOf(kOk, log), "each delivered run said so");
  demand(expected <= timesOf("RM_Communicate done (code='0', msg='') ", log),
         "each exchange of a delivered run was answered with 0");
  // An incident's number may hold what looks like lines.
  if (processes.size() != 1 || runs.size() != 1 ||
      timesOf("INCNO=\"", log) != timesOf("\" NULL  NULL)\n", log)) {
    return;
  }
  const Lines lines = linesOfOne(log);
  if (lines.started > 2) return;
  const Verdict verdict = runs[0].verdict;
  if (verdict == Verdict::kDelivered) {
    demandEqual(lines.otherAnswers, 0u, "no exchange of a delivered run had another answer");
    const int least = lines.isEvent ? 2 : 2 * lines.files;
    demand(*runs[0].expected >= least, "a delivered run had all exchanges that its lines ask for");
  }
  if (verdict == Verdict::kRefused || verdict == Verdict::kNotSent) {
    demandEqual(lines.answersOf0, 0u, "no exchange was accepted");
  }
});

// --- runs whose outcome is known
// ------------------------------------------------------------------

/// What a process writes in one call of write(2).
struct Piece {
  std::size_t process;
  std::string bytes;
  bool isKept;  // the log would not show its loss
};

struct Truth {
  std::set<Verdict> verdicts;  // what the answers mean; an answer of 0 with an error leaves it open
  bool isPlain = true;         // no call threw, no such answer
};

constexpr char kHttpError[] = "(HTTP) RL:-55,ZW-Agent:53,Mailsvr:\"\"";

/// Verdict of a run that was accepted and refused so often.
Verdict verdictOf(int accepted, int failed, bool isMissing) {
  if (accepted == 0) return Verdict::kRefused;
  return failed > 0 || isMissing ? Verdict::kPartly : Verdict::kDelivered;
}

/// The lines of a run, as the input has them go; and what became of it.
Truth addRun(Input& input, Texts& messages) {
  Truth truth;
  const unsigned kind = input.choice(8);
  messages = {kStartedLine};
  if (kind == 7) {
    constexpr char kCancelled[] =
        "(CSendInfo::SendInfo) Cancel sending investigation information, because connection status "
        "is not operating. (status=131072) \n";
    const char* const kReasons[] = {
        "not Super-User", "(CSendInfo::SendInfo) CRMSenderBase::RM_StartComm() error(code=7)",
        "x format error.(CSendEventBase::parseMsgCommon)", kCancelled};
    messages.insert(messages.end(), {kReasons[input.choice(4)], kElapsedLine, exitLine(1)});
    truth.verdicts = {Verdict::kNotSent};
    return truth;
  }
  const bool isEvent = kind >= 4;
  const bool isMissing = kind % 4 == 3;
  const int files = static_cast<int>(input.choice(4)) + 1;
  const int parts = isEvent ? 1 : files;
  if (isMissing) messages.emplace_back("get file size error(/b,No such file or directory)");
  messages.emplace_back(kStartComm);
  int accepted = 0;
  int failed = 0;
  int either = 0;
  std::string answer = doneLine(0);
  bool hasThrown = false;
  const auto addAnswer = [&] {
    switch (input.choice(8)) {
      case 1:
        answer = doneLine(-55, kHttpError);
        ++failed;
        break;
      case 2:
        answer = doneLine(7);
        ++failed;
        break;
      case 3:
        answer = doneLine(0, kHttpError);
        ++either;
        break;
      case 4:
        hasThrown = true;  // nothing is known of it: what was answered before stands there again
        ++failed;
        break;
      default:
        answer = doneLine(0);
        ++accepted;
    }
    messages.push_back(answer);
  };
  for (int part = 1; part <= parts; ++part) {
    messages.push_back(loopLine(part, files));
    messages.push_back(isEvent ? kEventCall : incidentCall(part, files));
    addAnswer();
    messages.push_back(dataCall("/f", isEvent ? "0x4010d" : "0x4010b", isEvent ? files : 1));
    addAnswer();
  }
  messages.insert(messages.end(),
                  {hasThrown ? kError : kOk, kElapsedLine, exitLine(hasThrown ? 5 : 0)});
  for (int more = 0; more <= either; ++more) {
    truth.verdicts.insert(verdictOf(accepted + more, failed + either - more, isMissing));
  }
  truth.isPlain = !hasThrown && either == 0;
  return truth;
}

/// The pieces of all processes, each one's in its order, mixed as the input says.
std::vector<Piece> mixed(Input& input, const std::vector<Texts>& runs) {
  std::vector<std::vector<Piece>> waiting;
  for (std::size_t process = 0; process < runs.size(); ++process) {
    waiting.emplace_back();
    for (const std::string& message : runs[process]) {
      const bool isMissing = message.rfind("get file", 0) == 0;
      waiting.back().push_back({process, headOf(100 + static_cast<int>(process)), isMissing});
      waiting.back().push_back({process, message, false});
      waiting.back().push_back({process, "\n", false});
    }
    std::reverse(waiting.back().begin(), waiting.back().end());
  }
  std::vector<Piece> pieces;
  for (;;) {
    std::vector<std::size_t> left;
    for (std::size_t process = 0; process < runs.size(); ++process) {
      if (!waiting[process].empty()) left.push_back(process);
    }
    if (left.empty()) return pieces;
    const unsigned choice = left.size() == 1 ? 0 : input.byte();
    auto& own = waiting[left[choice % left.size()]];
    // Whole lines are the rule.
    const std::size_t count = choice < 128 ? (own.size() - 1) % 3 + 1 : 1;
    for (std::size_t piece = 0; piece < count; ++piece) {
      pieces.push_back(std::move(own.back()));
      own.pop_back();
    }
  }
}

/// Takes pieces, or bytes of them, away; returns whether it has.
bool lose(Input& input, std::vector<Piece>& pieces) {
  bool hasLost = false;
  for (unsigned left = input.choice(4); left > 0 && !pieces.empty(); --left) {
    const unsigned way = input.choice(4);
    const auto place =
        static_cast<std::ptrdiff_t>((input.byte() + 256 * input.byte()) % pieces.size());
    hasLost = true;
    if (way == 0) {
      pieces.erase(pieces.begin() + place, pieces.end());
    } else if (way == 1) {
      pieces.erase(pieces.begin(), pieces.begin() + place);
    } else if (Piece& one = *(pieces.begin() + place); !one.isKept) {
      one.bytes.resize(way == 2 ? 0 : input.byte() % (one.bytes.size() + 1));
    }
  }
  return hasLost;
}

// The input: how many processes there are, what each run is, in which order their pieces come, and
// what is lost of a run alone.
const Target kActionRun("actionrun", [](Input input) {
  std::vector<Texts> runs(input.choice(4) % 3 + 1);
  std::vector<Truth> truths;
  for (Texts& messages : runs) truths.push_back(addRun(input, messages));
  std::vector<Piece> pieces = mixed(input, runs);
  const bool hasLost = runs.size() == 1 && lose(input, pieces);
  std::string log;
  for (const Piece& piece : pieces) log += piece.bytes;

  std::map<int, int> found;
  for (const Run& run : runsOf(log)) {
    const auto process = static_cast<std::size_t>(run.pid - 100);
    demand(process < runs.size(), "the run is of a process that wrote");
    ++found[run.pid];
    const Truth& truth = truths[process];
    if (run.verdict == Verdict::kUnknown) {
      demand(hasLost || runs.size() > 1 || !truth.isPlain, "a whole run is known");
      continue;
    }
    if (truth.verdicts == std::set<Verdict>{run.verdict}) continue;
    std::fprintf(stderr, "%d %s\n%s", run.pid, wordOf(run.verdict), log.c_str());
    demand(false, "a verdict is what became of the run");
  }
  if (hasLost) return;
  demandEqual(found.size(), runs.size(), "each run is told");
  if (runs.size() == 1) demandEqual(found.begin()->second, 1, "a run alone is told once");
});

}  // namespace
