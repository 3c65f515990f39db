#include "sweep/story.h"

#include <sstream>

#include "sweep/calls.h"
#include "sweep/ending.h"

namespace {

void tellProcesses(const Trace& trace, std::ostream& story) {
  for (std::size_t number = 0; number < trace.processes.size(); ++number) {
    const Process& process = trace.processes[number];
    story << "process " << number << " of " << process.parent << ": " << process.program << " "
          << process.shell << ": " << endText(process.waitStatus) << "\n";
  }
}

void tellCalls(const Trace& trace, std::ostream& story) {
  for (const Call& call : trace.calls) {
    const CallKind* kind = findCall(call.kind);
    story << call.process << "." << call.number << " " << kind->name << " " << call.target;
    if (call.isHit) story << " = " << errorName(call.error);
    if (!call.bytes.empty()) story << " \"" << call.bytes << "\"";
    story << "\n";
  }
}

}  // namespace

std::string storyOf(const Outcome& run) {
  std::ostringstream story;
  tellProcesses(run.trace, story);
  tellCalls(run.trace, story);
  story << "--- log\n"
        << run.log << "--- standard output\n"
        << run.output << "--- standard error\n"
        << run.errors << "--- exchanges\n"
        << run.record << "--- temporary items\n";
  for (const std::string& path : run.temporary) story << path << "\n";
  return story.str() + "--- end: " + endText(run.trace.waitStatus) + "\n";
}
