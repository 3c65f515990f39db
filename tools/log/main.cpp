#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

#include "common/base/callersignals.h"
#include "loopback/bytes.h"
#include "tools/common/complain.h"
#include "tools/common/language.h"
#include "tools/common/standardoutput.h"
#include "tools/log/input.h"
#include "tools/log/json.h"
#include "tools/log/metrics.h"
#include "tools/log/options.h"
#include "tools/log/page.h"
#include "tools/log/plain.h"
#include "tools/log/writefile.h"
#include "tools/outcome/explain.h"
#include "tools/outcome/reader.h"

namespace {

using outcome::Run;
using outcome::Verdict;

bool isChosen(const Run& run, const Options& options) {
  if (run.start < options.since) return false;
  if (!options.until.empty() && run.start > options.until) return false;
  if (options.pid && run.pid != *options.pid) return false;
  if (options.incident &&
      (run.mode != outcome::Mode::kIncident || run.identity != options.incident)) {
    return false;
  }
  return options.verdicts.empty() || options.verdicts.count(run.verdict) != 0;
}

/// The runs that were chosen, on their way to standard output.
class Output {
 public:
  Output(const Options& options, StandardOutput& output)
      : m_options(options),
        m_output(output),
        m_layout{Terminal::ofStandardOutput(), options.encoding},
        m_metrics(options.encoding),
        m_page(options.encoding, outcome::explanationsOf) {}

  void add(const std::string& log, Run run) {
    if (!isChosen(run, m_options)) return;
    if (m_options.last == 0) {
      print(log, std::move(run));
      return;
    }
    m_last.emplace_back(log, std::move(run));
    if (m_last.size() > m_options.last) m_last.pop_front();
  }

  /// Prints what had to wait for the end.
  void end() {
    for (auto& [log, run] : m_last) print(log, std::move(run));
    m_last.clear();
    if (m_options.form == Form::kOpenMetrics) write(m_metrics.text());
    flush();
  }

  /// Writes the page, if one is wanted. Returns the reason where that fails.
  std::string writePage() const {
    return m_options.html.empty() ? "" : writeWhole(m_options.html, m_page.html());
  }

  void flush() { m_output.flush(); }

  bool hasFailed() const { return m_output.error() != 0; }

  int status() const {
    if (m_runs == 0) return kNoRun;
    if (m_hasFailure) return kSomeFailed;
    return m_hasUnknown ? kSomeUnknown : kAllDelivered;
  }

 private:
  void print(const std::string& log, Run run) {
    ++m_runs;
    m_hasUnknown |= run.verdict == Verdict::kUnknown;
    m_hasFailure |= run.verdict != Verdict::kUnknown && run.verdict != Verdict::kDelivered;
    if (!m_options.html.empty()) m_page.add(log, run);
    switch (m_options.form) {
      case Form::kJson:
        write(jsonOf(run, log, m_options.encoding) + '\n');
        break;
      case Form::kOpenMetrics:
        m_metrics.add(log, run);
        break;
      case Form::kText:
        if (m_options.html.empty()) write(textOf(std::move(run)));
        break;
    }
  }

  std::string textOf(Run run) const {
    std::string explanations;
    if (m_options.explain) {
      for (const std::string& one : outcome::explanationsOf(run))
        explanations += "    " + one + '\n';
    }
    if (!m_options.lines) run.lines.clear();  // kept for the explanations alone
    return plainTextOf(run, m_layout) + explanations;
  }

  void write(const std::string& text) { m_output.write(text); }

  const Options& m_options;
  StandardOutput& m_output;
  Layout m_layout;
  Metrics m_metrics;
  Page m_page;
  std::deque<std::pair<std::string, Run>> m_last;
  std::size_t m_runs = 0;
  bool m_hasFailure = false;
  bool m_hasUnknown = false;
};

constexpr char kProgram[] = "tanexics-log";

void complainOf(const std::string& subject, const std::string& reason) {
  complain(kProgram, visibleBytes(subject) + ": " + reason);
}

/// Tells that standard output could not be written, for the reason `error`. Returns the exit
/// status.
int failedOutput(int error) {
  complainOf(translated("standard output"), std::strerror(error));
  return kCannotRead;
}

constexpr char kWords[] = "131072, 0x20000, -62/54, SMTP/-79/-26, VUQ90103L, common:602, exit/78";

/// Explains words, a sentence a line. Returns the exit status.
int explainWords(int count, const char* const* words, StandardOutput& output) {
  if (count == 0) {
    complainOf("explain", translated("a word is missing; words are like %s", {kWords}));
    return kWrongUsage;
  }
  int status = kAllDelivered;
  for (int at = 0; at < count; ++at) {
    const std::vector<std::string> sentences = outcome::explain(words[at]);
    for (const std::string& sentence : sentences) output.write(sentence + '\n');
    if (!sentences.empty()) continue;
    complainOf(words[at], translated("not known; words are like %s", {kWords}));
    status = kWrongUsage;
  }
  output.flush();
  return output.error() == 0 ? status : failedOutput(output.error());
}

/// Reads a log of one file or two, one after the other. Returns whether they could be read.
bool readLog(const Log& log, const Options& options, Output& output, outcome::Reader& reader) {
  bool isComplete = true;
  for (const std::string& file : log.files) {
    if (log.mayLackOlder && file != log.name() && !isThere(file)) continue;
    const bool isFollowed = options.follow && file == log.name();
    const auto take = [&](std::string_view bytes) {
      reader.feed(bytes);
      if (isFollowed) output.flush();
      return !output.hasFailed();
    };
    const std::string reason = isFollowed ? followFile(file, take) : readFile(file, take);
    if (reason.empty()) continue;
    complainOf(file, reason);
    isComplete = false;
  }
  return isComplete;
}

/// Reads the logs one after the other. Returns whether all of them could be read.
bool readAll(const Options& options, Output& output, std::string& foreignLine) {
  bool isComplete = true;
  for (const Log& log : logsOf(options.logs)) {
    outcome::Reader reader([&](Run run) { output.add(log.name(), std::move(run)); },
                           options.lines || options.explain || !options.html.empty());
    if (const auto bytes = options.follow ? std::nullopt : readTogether(log)) {
      reader.feed(*bytes);
    } else {
      isComplete = readLog(log, options, output, reader) && isComplete;
    }
    reader.finish();
    if (foreignLine.empty()) foreignLine = reader.firstForeignLine();
  }
  output.end();
  return isComplete;
}

}  // namespace

int main(int argc, char** argv) {
  settleSignals();
  StandardOutput standardOutput;
  speakAsCaller(TANEXICS_CATALOGUES);
  if (standardOutput.error() != 0) return failedOutput(standardOutput.error());
  if (argc > 1 && std::string_view(argv[1]) == "explain") {
    return explainWords(argc - 2, argv + 2, standardOutput);
  }
  Options options;
  std::string text;
  if (const auto status = readOptions(argc, argv, options, text)) {
    standardOutput.write(text);
    standardOutput.flush();
    return standardOutput.error() == 0 ? *status : failedOutput(standardOutput.error());
  }
  // What programs read, and the page, are the same for everybody.
  if (options.form != Form::kText || !options.html.empty()) speakEnglish();
  Output output(options, standardOutput);
  std::string foreignLine;
  const bool isComplete = readAll(options, output, foreignLine);
  if (output.hasFailed()) {
    // Whoever reads no further knows that already.
    return standardOutput.error() == EPIPE ? kCannotRead : failedOutput(standardOutput.error());
  }
  const std::string reason = output.writePage();
  if (!reason.empty()) complainOf(options.html, reason);
  if (!isComplete || !reason.empty()) return kCannotRead;
  if (output.status() == kNoRun) {
    complain(kProgram, foreignLine.empty()
                           ? translated("no run found")
                           : translated("no run found; the first line that is not understood: %s",
                                        {visibleBytes(foreignLine)}));
  }
  return output.status();
}
