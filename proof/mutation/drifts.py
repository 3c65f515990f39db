#!/usr/bin/env python3
"""Drifts: changes to a reader or to a rule on one side alone, by which tanexics-check would say something else than the
command does. Each is built into the checker, or into the command, and proof/check has to notice. Fails where it does not,
and where a drift does not fit the source any more."""

import argparse
import concurrent.futures
import contextlib
import json
import os
import shlex
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from mutants import written
from mutate import ROOT, SANDBOX, Base, run

# By file: what drifts, the code that it has for this, and what stands there instead. Those of src are tried in the
# checker, and then in the command.
DRIFTS = {
    "src/sendevent/CSendEventSingleSystem.cpp": [
        ("a comment of a list is skipped", "if (piece[0] != '\\0') m_send", "if (piece[0] != '\\0' && piece[0] != '#') m_send"),
        ("an empty entry of a list is a path", "if (piece[0] != '\\0') m_send", "m_send"),
        ("a list without a path is accepted", "if (m_sendFileList.empty()) {", "if (false) {"),
        ("a joined number is taken", 'setParam("IncidentNumber", value + 2);', 'setParam("IncidentNumber", option + 2);'),
        ("a joined number may be of one byte", "if (strnlen(value, 2) < 2)", "if (strnlen(value, 2) < 1)"),
        ("a capital is an option too", 'if (beginsWith(option, "-r"))', 'if (beginsWith(option, "-r") || beginsWith(option, "-x"))'),
    ],
    "src/sendevent/SendEventBase_input.cpp": [
        ("another key may be left out", 'kOptionalKey[] = "MsgID"', 'kOptionalKey[] = "PkgName"'),
        ("a value may be empty", "if (value[0] == '\\0' && std::strcmp", "if (false && std::strcmp"),
        ("a comment may stand behind a blank", "if (piece[0] == '#') return", "if (piece[0] == '#' || piece[0] == ' ') return"),
        ("a line without a sign is skipped", "if (equals == nullptr) {", "if (equals == nullptr) return kExitSuccess;\n  if (false) {"),
        ("the last sign ends a key", "std::strchr(piece, '=')", "std::strrchr(piece, '=')"),
        ("anything but info is an error", '"err") == 0', '"info") != 0'),
        ("the first value of a key counts", "  setParam(key, value);", "  if (getParam(key)[0] == '\\0') setParam(key, value);"),
    ],
    "src/sendevent/SendEventBase_notification.cpp": [
        ("a notification has more room", "kFieldTextLimit = CSendEventBase::kFieldTextLimit;", "kFieldTextLimit = 900;"),
        ("a comment of an extract is quoted", "piece[0] == '#') piece", "false) piece"),
        ("one kind of extract is none", 'std::strstr(C(path), ".apllog.txt") != nullptr', "false"),
        ("a quote is not doubled", "    if (*src == '\"') {", "    if (false) {"),
        ("two fields change places", '{"Label", "HostName",', '{"HostName", "Label",'),
        ("an incident's number stands elsewhere", 'INCNO=\\"%s\\",HOSTNAME', 'INCNO=\\"%s \\",HOSTNAME'),
    ],
    "src/common/text/text.cpp": [
        ("a carriage return belongs to the line", "  if (length > 0 && text[length - 1] == '\\r') text[--length] = '\\0';\n", ""),
    ],
    "tools/check/commandline.cpp": [
        ("a value is not needed", "  } else if (!words.definition()) {", "  } else if (false) {"),
        ("a joined definition is cut", "return option() + 2;", "return option() + 3;"),
        ("a word too many is not told", "m_words.size() > used ?", "m_words.size() > used + 1 ?"),
        ("an empty number is not told", "  } else if (number.empty()) {", "  } else if (false) {"),
    ],
    "tools/check/definition.cpp": [
        ("a rejected line is warned of", "m_faults.error(piece.line, explanation.text);", "m_faults.warning(piece.line, explanation.text);"),
        ("a line that is meant for a key is forgotten", "if (explanation.meant) m_meant.insert(*explanation.meant);", ""),
        ("a missing key is not told", "if (m_meant.count(key) == 0) m_faults", "if (false) m_faults"),
        ("a key that is there twice is not told", "  if (before != lines.end()) {", "  if (false) {"),
        ("a SendType in capitals is not told", "return value != kErrorType && nearest", "return false && nearest"),
    ],
    "tools/check/list.cpp": [
        ("a directory is a file", 'return translated("is a directory");', 'return "";'),
        ("a list without a path is not told", "if (list.extent == Extent::kWhole && list.paths.empty()) {", "if (false) {"),
        ("a path that is there twice is not told", "    if (!isNew) {", "    if (false) {"),
        ("an entry is told of a line too early", "entries.add(list.paths.emplace_back(piece.text), piece.line);",
         "entries.add(list.paths.emplace_back(piece.text), piece.line - 1);"),
    ],
    "tools/check/pieces.cpp": [
        ("each piece is a line", "    if (bytes.back() != '\\n') continue;\n", ""),
        ("a zero byte is not told", "if (piece.bytes.find('\\0') !=", "if (false && piece.bytes.find('\\0') !="),
    ],
    "tools/check/notification.cpp": [
        ("a doubled quote ends a field", "if (isQuoted && byte == '\"' && text", "if (false && text"),
        ("a cut log line is whole", "if (sent[at] != value) not", "if (sent[at] != value && names[at] != kLogLine) not"),
        ("a byte more of an incident is there", "if (sent <= end) notification", "if (sent < end) notification"),
    ],
    "tools/check/report.cpp": [
        ("a file that is not measured has none", "bytes < 0 ? std::nullopt : std::optional(bytes)", "std::optional(bytes)"),
        ("only the sizes of a part of the files are told", "    for (const std::string& path : m_command.m_sendFileList) {",
         "    for (const std::string& path : m_command.m_sendFileList) {\n      if (m_report.files.size() > 4) break;"),
    ],
    "tools/check/json.cpp": [
        ("the first cut field is not in the JSON", "cut.push_back(loss.field);", "if (loss.isPart) cut.push_back(loss.field);"),
        ("a path is not as it is listed", '{{"path", readable(file.path)}', '{{"path", file.path}'),
    ],
}  # fmt: skip

CHECKER, COMMAND = "checker", "command"
# What has the drift in it, on each side, and what is asked of the proof then.
PROOF = "proof/check/tanexics-prove-check"
PROGRAMS = {CHECKER: [PROOF, "tanexics-check"], COMMAND: ["tanexics"]}
WORDS = {CHECKER: ["--count", "20000", "--runs", "80"], COMMAND: ["--count", "0", "--runs", "300"]}
TIME_LIMIT = 300


class Build(Base):
    """The build without a drift."""

    def __init__(self, folder, jobs):
        self.folder, self.jobs, self.tree, self.build = folder, jobs, folder / "tree", folder / "build"
        shutil.rmtree(self.tree, ignore_errors=True)
        shutil.copytree(ROOT, self.tree, ignore=lambda folder, names: [
            name for name in names if Path(folder) == ROOT and name.startswith((".git", "build"))])
        # A program that the tests need and the proof does not.
        self.must(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                   "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -DNDEBUG", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DPROMTOOL=none"])
        self.must(["ninja", "-C", self.build, "-j", str(jobs), *PROGRAMS[CHECKER], *PROGRAMS[COMMAND]])
        self.compile = {os.path.relpath(entry["file"], self.tree): shlex.split(entry["command"])
                        for entry in json.loads((self.build / "compile_commands.json").read_text())}
        self.link = {target: self.link_command(target) for side in PROGRAMS for target in PROGRAMS[side]}

    def proof(self, side, programs=()):
        """Runs the proof; `programs`, by their targets, take the places of those that were built."""
        words = SANDBOX + ["--ro-bind", str(self.folder), str(self.folder)]
        for target, program in programs:
            words += ["--ro-bind", str(program), str(self.build / target)]
        words += [str(self.build / PROOF), "--jobs", "1", *WORDS[side]]
        return run(words, timeout=TIME_LIMIT)


def tried(build, mutant, side):
    """Whether the proof notices, in a word."""
    with tempfile.TemporaryDirectory(dir=build.folder) as folder:
        folder = Path(folder)
        source, output = folder / Path(mutant.path).name, folder / "drift.o"
        source.write_text(mutant.apply((build.tree / mutant.path).read_text()))
        words = list(build.compile[mutant.path])
        words[words.index("-o") + 1], words[-1] = str(output), str(source)
        compiled = run([*words, "-w"], cwd=build.build)
        if compiled.returncode != 0:
            return f"NO: it does not compile\n{compiled.stdout}"
        programs = []
        for target in PROGRAMS[side]:
            programs.append((target, folder / Path(target).name))
            linked = run(build.link_words(target, [output], programs[-1][1]), cwd=build.build)
            if linked.returncode != 0:
                return f"NO: it does not link\n{linked.stdout}"
        try:
            done = build.proof(side, programs)
        except subprocess.TimeoutExpired:
            return "yes, as it does not end"
        return "NO" if done.returncode == 0 else "yes"


def told(build, what, side, mutant):
    """The same, and tells of it on standard error as it is found."""
    result = tried(build, mutant, side)
    print(f"{side}: {what}: {result}", file=sys.stderr, flush=True)
    return result


def drifts():
    """Each as a mutant with its side, and what it says; and what does not stand in its file, or not once."""
    found, outdated = [], []
    for path, changes in DRIFTS.items():
        mutants, missing = written(path, (ROOT / path).read_text(), changes, "drift")
        sides = [CHECKER, COMMAND] if path.startswith("src/") else [CHECKER]
        found += [(what, side, mutant) for what, mutant in mutants.items() for side in sides]
        outdated += missing
    return found, outdated


def main():
    parser = argparse.ArgumentParser(description="Lets the checker drift from the command; the proof must notice.")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N")
    parser.add_argument("--folder", type=Path, help="where the build is kept for a next run")
    parser.add_argument("--only", default="", metavar="TEXT", help="those that have TEXT in what they say")
    options = parser.parse_args()
    found, outdated = drifts()
    found = [drift for drift in found if options.only in drift[0]]
    if outdated:
        sys.exit("\n".join(outdated))
    with contextlib.nullcontext(options.folder) if options.folder else tempfile.TemporaryDirectory() as folder:
        folder = Path(folder).resolve()
        folder.mkdir(parents=True, exist_ok=True)
        build = Build(folder, options.jobs)
        for side in PROGRAMS:
            done = build.proof(side)
            if done.returncode != 0:
                sys.exit(f"the proof fails without a drift:\n{done.stdout}")
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            results = list(pool.map(lambda drift: told(build, *drift), found))
    print(f"{'drift':<52}{'side':<10}{'line':<54}found")
    for (what, side, mutant), result in zip(found, results):
        print(f"{what:<52}{side:<10}{f'{mutant.path}:{mutant.line}':<54}{result}")
    missed = sum(result.startswith("NO") for result in results)
    print(f"\n{len(found)} drifts, {len(found) - missed} found")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
