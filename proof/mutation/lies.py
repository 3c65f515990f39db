#!/usr/bin/env python3
"""Lies: defects by which tanexics-log would tell something else of a run than its log says. Each is built into the
reader on purpose, as a mutant is, and a test of the tools has to notice; a change that nothing notices is a run that
operators would be told the wrong thing of. Fails where one is not noticed, or does not fit the source any more."""

import argparse
import contextlib
import os
import sys
import tempfile
from pathlib import Path

from mutants import written
from mutate import GONE, ROOT, Base, tried

# By file: what the reader gets wrong, the code that it has for this, and what stands there instead.
LIES = {
    "message.cpp": [
        ("Error. is read as OK", 'message.number = scanner.rest() == "OK" ? 0 : 1;', "message.number = 0;"),
        ("an answer may hold another one", 'message.text) &&\n         isErrorText(message.text);', "message.text);"),
        ("a line that begins another hides it", " && !holdsBeginning(text);", ";"),
        ("a number's text ends with its first quote",
         'if (!readIncidentEnd(within.substr(at), message, endLength)) continue;',
         'if (!readIncidentEnd(within.substr(at), message, endLength)) return false;'),
        ("a rejection is no reason", '{"(CSendEventSingleSystem::parseCommandLine)",', '{"(no such line)",'),
        ("the line feed within a line ends it", "  if (bytes.back() == ' ') {\n    const", "  if (false) {\n    const"),
    ],
    "pieces.cpp": [
        ("a head within a line is not seen", "readHead(bytes.substr(at - kYearDigits)).length > 0", "false"),
        ("a date is a head without a process id", "if (!isPid || end", "if (end"),
    ],
    "progress.cpp": [
        ("a negative code is one of 0", "if (message.number != 0) {\n    ++failed;", "if (message.number > 0) {\n    ++failed;"),
        ("an answer of 0 hides its error", "} else if (!message.text.empty()) {", "} else if (false) {"),
        ("a lost answer is not counted", "  uncertain += answers - answered();\n", ""),
        ("a lost answer was of 0", "  uncertain += answers - answered();\n", "  accepted += answers - answered();\n"),
        ("an answer lost before Main Loop is not filled up", "      fillUp(answersBefore(part, false));\n", ""),
        ("an answer lost before a transfer is not filled up", "      fillUp(answersBefore(std::max(part, 1), true));\n",
         ""),
        ("an answer lost before OK is not filled up", "      fillUp(expected());\n      sent =", "      sent ="),
        ("an incident has two exchanges", "return isEvent ? 2 : 2 * total;", "return 2;"),
        ("an event has two exchanges a file", "return isEvent ? 2 : 2 * total;", "return 2 * total;"),
        ("a missing file is forgotten", "      isMissing = true;\n", ""),
        ("a lost line told of no missing file", "  ++torn;\n  if (!hasStarted) mayMiss = true;", "  ++torn;"),
        ("what may miss is forgotten", "if (isMissing || mayMiss)", "if (isMissing)"),
        ("a call that threw gave an answer", "accepted + (isOk ? doubtful : 0)", "accepted + doubtful"),
        ("a run without its beginning sent nothing", "phase == Phase::kEnded && hasBeginning && torn == 0",
         "phase == Phase::kEnded && torn == 0"),
        ("a run with a lost line sent nothing", "phase == Phase::kEnded && hasBeginning && torn == 0",
         "phase == Phase::kEnded && hasBeginning"),
        ("a run without its end sent nothing", "phase == Phase::kEnded && hasBeginning && torn == 0",
         "hasBeginning && torn == 0"),
        ("a refusal hides answers", "if (hasRefusal && answered() == 0)", "if (hasRefusal)"),
        ("answers too many are right", "|| answered() > expected())", "|| false)"),
        ("a call of any file follows", "(message.part == 0 || message.part == part)", "true"),
        ("OK ends a run before its last file", "(isModeKnown && isEvent ? true : part == total)", "true"),
    ],
    "weave.cpp": [
        ("texts of two processes are as they stand", "const bool isTight = knot.texts.size() == knot.lines.size();",
         "const bool isTight = true;"),
        ("what is given up is known", "written.isBroken = true;", "written.isBroken = false;"),
        ("any process has written any text", "    if (!one.accepts(message)) continue;\n    one.advance", "    one.advance"),
        ("of several codes the first one counts", "written.isVague |= other.whole != written.message.whole;", ""),
        ("of texts of several kinds the first one counts", "written.isBroken |= other.kind != written.message.kind;", ""),
        ("texts of several kinds need not wait for what follows", "text->message.kind == kind; });", "true; });"),
        ("a text that nobody can have written is none", "return text.lines > 0; });", "return true; });"),
        ("a line that has its text may have another", "if (!last.isClosed) open", "open"),
        ("a text that nobody can write next is somebody's", "      return 0;\n", "      return 1;\n"),
        ("any number of texts may be open", "bool isPossible = countOpen() <= kMostOpen;", "bool isPossible = true;"),
    ],
    "reader.cpp": [
        ("a text goes to whoever wrote the last head",
         "    m_weave.addHead(m_waiting, live(m_waiting).progress);\n    m_waiting = 0;\n",
         "    m_waiting = head.pid;\n    return;\n"),
        ("two heads of a process are one", "      for (Progress& one : own.progress) one.lose();\n      ++own.run.torn;\n", ""),
        ("a lost text was nobody else's", "      ++own.run.torn;\n      if (m_live.size() > 1) tearAll();\n", "      ++own.run.torn;\n"),
        ("two texts that met are one", "for (const Message& one : readings.front()) addToRun(pid, one);",
         "addToRun(pid, readings.front().front());"),
        ("texts that met were of one process", "  ++own.run.torn;\n  if (m_live.size() > 1) tearAll();\n  if (readings",
         "  ++own.run.torn;\n  if (readings"),
        ("a torn text is no loss", "    for (Progress& one : own.progress) one.lose();\n    if (m_keepLines)",
         "    if (m_keepLines)"),
        ("a text without a head is nobody's", "  if (m_live.size() > 1) {\n    tearAll();\n  } else if", "  if"),
        ("a line feed too many is none", "    tearAll();  // a head or a text is missing, and nobody knows whose\n", ""),
        ("a second beginning is not noticed", "  if (message.kind == Kind::kStarted) begin(pid);\n", ""),
        ("a second beginning among torn lines is not noticed",
         "  if (written.message.kind == Kind::kStarted) begin(pid);\n", ""),
        ("two runs of a process id are no dispute", "next.isDisputed = before.isDisputed = true;", ""),
        ("the rest of a disputed run is a run", "  if (own.isDisputed && isEnded(own.progress)) m_rests.insert(pid);\n", ""),
        ("what follows the rest of a run is none", "  m_rests.erase(pid);\n  before.isRest = false;\n", ""),
        ("the lines of a forged number are lines", "std::size_t length = ownLength(bytes, isWhole);", "std::size_t length = 0;"),
        ("of several verdicts the first one counts", "own.isDisputed || possible.size() != 1;",
         "own.isDisputed || possible.empty();"),
        ("torn lines decide", "own.isTorn || own.isDisputed", "own.isDisputed"),
        ("disputed lines decide", "own.isTorn || own.isDisputed", "own.isTorn"),
        ("a lost head costs nothing else", "  live.isPatched = true;\n  for (Progress& one : live.progress) one.lose();\n",
         "  live.isPatched = true;\n"),
        ("a text without a head is of the run that is known", "(m_live.size() > 1 || own.isPatched) tearAll",
         "(m_live.size() > 1) tearAll"),
        ("lines that do not fit are of this run", "    if (m_live.size() > 1 || own.isPatched) tearAll();\n    ++own.run.torn;\n  } else {",
         "    ++own.run.torn;\n  } else {"),
        ("a run without its end has one", "  if (!isEnded(own.progress)) own.run.end.clear();\n", ""),
        ("runs that are open at the end are forgotten", "  for (const auto& [order, pid] : open) close(pid);\n",
         "  m_live.clear();\n"),
        ("what has ended is given while a text is open", "m_weave.isEmpty() && m_waiting == 0 && m_unfinished == 0;",
         "m_weave.isEmpty() && m_unfinished == 0;"),
        ("what has ended is given while a line feed is open", "m_weave.isEmpty() && m_waiting == 0 && m_unfinished == 0;",
         "m_weave.isEmpty() && m_waiting == 0;"),
        ("what has ended is given while others mix", "m_weave.isEmpty() && m_waiting == 0 && m_unfinished == 0;",
         "m_waiting == 0 && m_unfinished == 0;"),
        ("what has ended is torn by nothing", "  for (Live& ended : m_ended) ended.isTorn = true;\n", ""),
        ("a text of a run without any is its own", "  if (live.progress == std::vector<Progress>{Progress()}) tearAll();\n", ""),
        ("a beginning among others is never lost", "isAmongOthers && message.kind != Kind::kStarted", "false"),
        ("a line feed between a head and its text is none", "m_isInterrupted || m_unfinished > 0", "m_unfinished > 0"),
        ("a text before a line feed is alone", "m_isInterrupted || m_unfinished > 0", "m_isInterrupted"),
        ("a beginning in a weave is never lost",
         "  if (written.isBroken || written.message.kind != Kind::kStarted) doubtBeginning(own);\n", ""),
        ("a line that is not known has no loss", "  if (written.isBroken) ++own.run.torn;\n", ""),
        ("a code of torn lines is known", "if (!isVague) {\n        run.exchanges.back().code", "if (true) {\n        run.exchanges.back().code"),
    ],
    "readable.cpp": [
        ("a control character is shown", "} else if (isControlCharacter(character)) {", "} else if (false) {"),
        ("a control character of EUC-JP is shown", "    if (isControlCharacter(character)) {\n      text += hexEscape(character.back",
         "    if (false) {\n      text += hexEscape(character.back"),
        ("a backslash may begin an escape", r'''text += "\\\\";''', r'''text += "\\";'''),
    ],
    "reason.cpp": [
        ("failed is what has no answer", "return one.code && !isAccepted(one); };", "return !isAccepted(one) && one.code.value_or(1); };"),
    ],
    "run.cpp": [
        ("an answer of 0 with an error is one of 0", "exchange.code == 0 && exchange.error.has_value() && exchange.error->empty()",
         "exchange.code == 0"),
    ],
}  # fmt: skip


def lies():
    """Each as a mutant, by what it says; and what does not stand in its file, or not once."""
    found, outdated = {}, []
    for name, changes in LIES.items():
        path = f"tools/outcome/{name}"
        mutants, missing = written(path, (ROOT / path).read_text(), changes, "lie")
        found.update(mutants)
        outdated += missing
    return found, outdated


def main():
    parser = argparse.ArgumentParser(description="Builds lies into the reader of the action log; the tests must notice.")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N")
    parser.add_argument("--folder", type=Path, help="where the build is kept for a next run")
    options = parser.parse_args()
    found, outdated = lies()
    if outdated:
        sys.exit("\n".join(outdated))
    names = {mutant: what for what, mutant in found.items()}
    with contextlib.nullcontext(options.folder) if options.folder else tempfile.TemporaryDirectory() as folder:
        folder = Path(folder).resolve()
        folder.mkdir(parents=True, exist_ok=True)
        base = Base(folder, options.jobs, {mutant.path for mutant in names})
        verdicts = tried(base, list(names), names, options.jobs)
    print(f"\n{'lie':<58}{'line':<34}found")
    missed = 0
    for what, mutant in found.items():
        verdict, _ = verdicts[mutant]
        is_found = verdict in GONE
        missed += not is_found
        print(f"{what:<58}{mutant.path}:{mutant.line:<{33 - len(mutant.path)}}{'yes' if is_found else f'NO: {verdict}'}")
    print(f"\n{len(found)} lies, {len(found) - missed} found")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
