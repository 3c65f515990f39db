#!/usr/bin/env python3
"""Mutation run: changes src or tools in one place after the other, and looks whether a test notices.

A mutant is compiled alone and linked in front of the library into the programs of the unit tests; one of the
tools into the programs of theirs, and into the tools that these start. Which these are the build says. The tests run
in a sandbox where the machine is read-only, since a mutant of the removal guard removes what it finds. First the tests
run whose files are named for the unit, then all others of the programs that have it in them, or in a tool that they
start. The first failure, crash or overrun kills the mutant; one that nothing notices survives.
"""

import argparse
import concurrent.futures
import contextlib
import json
import os
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter, defaultdict
from pathlib import Path

from mutants import Mutant, mutants_of

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
JUDGED = HERE / "judged.txt"

# promtool(1), which tests of the tools call, preallocates 512 MB.
SANDBOX = [
    "bwrap", "--cap-add", "ALL", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc",
    "--size", str(1 << 30), "--tmpfs", "/tmp", "--tmpfs", "/var/opt",
    "--unshare-pid", "--unshare-ipc", "--die-with-parent", "--chdir", "/tmp",
]  # fmt: skip
MEMORY_LIMIT = 6 << 30
COMPILE_LIMIT = 120
LEAST_TIME_LIMIT = 10  # seconds, and thrice what the cases take without a mutant
PLAIN_TIME_LIMIT = 300
QUICK = 0.2  # seconds: what a case takes that does not have to wait for the others
# And what one takes that is run for a mutant of another unit: a case of a large input or of a long wait hardly notices
# what no other one does. Where it would, the mutant counts as a survivor.
BEARABLE = 2.0
GONE = ("killed", "overran")
LEAST_SHARE = 95.0  # percent of the mutants, killed: below it the run fails
# A source that a test has as a part, and no library.
INCLUDED = {"src/main/main.cpp": "tests/main/main_fakes_CLog_test.cpp"}
# Each of its cases is hundreds of runs of the command, half a minute of waiting: what it alone would notice counts as
# a survivor.
LEFT_OUT = {"record_test"}
# What is compiled for which target: the folder of the target in the build, its name, and the rest.
OBJECT = re.compile(r"(?:(?P<folder>.+)/)?CMakeFiles/(?P<target>[^/]+)\.dir/(?P<path>.+)")
# Many cases sleep, or wait for a shell: more than a second's worth of them runs as so many processes at once.
SHARDS = 4


def run(words, **options):
    return subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", **options)


class Base:
    """The unmutated build: how each file is compiled, each test linked, and how long each runs."""

    def __init__(self, folder, jobs, paths):
        """`paths`: the files that will be mutated; only what they need is built."""
        self.folder, self.jobs = folder, jobs
        self.tree, self.build = folder / "tree", folder / "build"
        self.plain, self.plain_locks = {}, defaultdict(threading.Lock)
        # A kept tree may hold what has gone since. What has not changed keeps its time, and is not built again.
        shutil.rmtree(self.tree, ignore_errors=True)
        shutil.copytree(ROOT, self.tree, ignore=lambda folder, names: [
            name for name in names if Path(folder) == ROOT and name.startswith((".git", "build"))])
        # Where scripts/common.sh puts it if the machine has none; the sandbox sees this tree alone.
        promtool = Path("build/promtool/promtool")
        if (ROOT / promtool).exists():
            (self.tree / promtool).parent.mkdir(parents=True)
            shutil.copy2(ROOT / promtool, self.tree / promtool)
        linker = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"] if shutil.which("ld.lld") else []
        self.must(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                   "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -DNDEBUG -D_GLIBCXX_ASSERTIONS", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", *linker])
        entries = json.loads((self.build / "compile_commands.json").read_text())
        self.compile = {os.path.relpath(entry["file"], self.tree): shlex.split(entry["command"]) for entry in entries}
        self.objects = {path: words[words.index("-o") + 1] for path, words in self.compile.items()}
        self.files = self.files_of_tests({is_tool(path) for path in paths})
        self.tests = sorted(self.files)
        self.of_tools = {OBJECT.fullmatch(output)["target"] for path, output in self.objects.items()
                         if path.startswith("tests/tools/")}
        self.must(["ninja", "-C", self.build, "-j", str(self.jobs), *self.tests])
        tools = self.programs_of_tools()
        self.started = {test: sorted(tools & self.order_of(f"tests/{test}")) for test in self.tests}
        self.link = {test: self.link_command(f"tests/{test}") for test in self.tests}
        self.link.update({tool: self.link_command(tool) for tool in set().union(*self.started.values())})
        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            self.units = dict(zip(self.link, pool.map(self.units_of, self.link)))
        # The cases of the programs of many files, by the file that they stand in.
        self.cases = {test: self.cases_of(test) for test in self.tests if len(self.files[test]) > 1}

    def files_of_tests(self, kinds):
        """The programs of the tests of tools, of src or of both (`kinds`: whether of tools), each with the names of
        its files."""
        units = {path.name for path in (self.tree / "src").iterdir()} | {""}
        files = defaultdict(list)
        for path, output in self.objects.items():
            found = re.fullmatch(r"tests/(?:(\w+)/)?(?:.+/)?(\w+_test)\.cpp", path)
            if not found or found[2] in LEFT_OUT:
                continue
            folder = found[1] or ""
            if (folder == "tools" or folder in units) and (folder == "tools") in kinds:
                files[OBJECT.fullmatch(output)["target"]].append(found[2])
        return files

    def programs_of_tools(self):
        """The programs that are made of sources of tools."""
        listed = run(["ninja", "-C", self.build, "-t", "targets", "all"], check=True).stdout
        programs = set(re.findall(r"^([^/\n]+): CXX_EXECUTABLE_LINKER__", listed, re.MULTILINE))
        return programs & {OBJECT.fullmatch(output)["target"] for path, output in self.objects.items() if is_tool(path)}

    def order_of(self, target):
        """What is built before the target without being a part of it."""
        listed = run(["ninja", "-C", self.build, "-t", "query", target], check=True).stdout
        return set(re.findall(r"^ +\|\| (\S+)$", listed, re.MULTILINE))

    @staticmethod
    def must(words):
        done = run(words)
        if done.returncode != 0:
            sys.exit(done.stdout)

    def cases_of(self, test):
        listing = self.folder / "cases.json"
        self.must([self.build / "tests" / test, "--gtest_list_tests", f"--gtest_output=json:{listing}"])
        cases = defaultdict(list)
        for suite in json.loads(listing.read_text())["testsuites"]:
            for case in suite["testsuite"]:
                cases[Path(case["file"]).stem].append(f"{suite['name']}.{case['name']}")
        return cases

    def link_command(self, target):
        command = run(["ninja", "-C", self.build, "-t", "commands", "-s", target], check=True).stdout
        return shlex.split(command.split("&&")[1])

    def units_of(self, program):
        """The objects that the program has in it, those of a library as LIBRARY(OBJECT)."""
        with tempfile.NamedTemporaryFile(dir=self.folder) as output:
            traced = self.link_words(program, [], output.name) + ["-Wl,--trace"]
            listed = run(traced, cwd=self.build).stdout
        return {re.sub(r"^\S*/(?=lib[^/(]+\.a\()", "", line) for line in listed.splitlines()}

    def has_unit(self, program, path):
        """Whether a mutant of the source takes part in the program."""
        if path in INCLUDED:
            return Path(INCLUDED[path]).stem in self.files.get(program, [])
        target, name = OBJECT.fullmatch(self.objects[path]).group("target", "path")
        return not self.units[program].isdisjoint({f"lib{target}.a({Path(name).name})", self.objects[path]})

    def link_words(self, test, objects, output, replaced=None):
        # An object of the mutant comes before the library, or in the place of `replaced`.
        words = [word for word in self.link[test] if not (replaced and word.endswith(replaced))]
        at = words.index("-o")
        words[at + 1] = str(output)
        return words[: at + 2] + [str(name) for name in objects] + words[at + 2 :]

    def times(self, test):
        """The cases that the test has without a mutant, and how long each takes; it runs when first asked about."""
        with self.plain_locks[test]:
            if test not in self.plain:
                self.plain[test] = self.run_plain(test)
            return self.plain[test]

    def run_plain(self, test):
        done = self.execute(self.build / "tests" / test)
        outcomes = re.findall(r"^\[ +(OK|FAILED) +\] (\S+?),? .*?\((\d+) ms\)$", done.stdout, re.MULTILINE)
        failing = sorted({name for outcome, name, _ in outcomes if outcome == "FAILED"})
        if failing:
            print(f"{test}: fails without a mutant in the sandbox, left out: {' '.join(failing)}", flush=True)
        elif done.returncode != 0:
            raise RuntimeError(f"{test} does not come to its end without a mutant:\n{done.stdout[-2000:]}")
        return {name: int(ms) / 1000 for outcome, name, ms in outcomes if outcome == "OK"}

    def execute(self, program, cases=None, tools=()):
        """Runs these cases of a program up to the first that fails; without cases, all of them to the end. It and
        `tools` take the place of those of the same name that were built: some look at what stands beside them."""
        words = SANDBOX + ["--ro-bind", str(self.folder), str(self.folder)]
        built = self.build / "tests" / program.name
        for replaced, by in [(built, program), *((self.build / tool.name, tool) for tool in tools)]:
            words += ["--ro-bind", str(by), str(replaced)]
        words.append(str(built))
        if cases:
            words += ["--gtest_fail_fast", "--gtest_filter=" + ":".join(cases)]
        shards = SHARDS
        limit = PLAIN_TIME_LIMIT
        if cases:
            shards = min(shards, len(cases)) if sum(cases.values()) > 1 else 1
            limit = LEAST_TIME_LIMIT + 3 * max(max(cases.values()), sum(cases.values()) / shards)
        stop = threading.Event()
        with concurrent.futures.ThreadPoolExecutor(shards) as pool:
            done = list(pool.map(lambda shard: self.sandboxed(words, limit, shard, shards, stop), range(shards)))
        return subprocess.CompletedProcess(words, max(abs(shard.returncode) for shard in done),
                                           "".join(shard.stdout for shard in done))

    @staticmethod
    def sandboxed(words, limit, shard, shards, stop):
        """Runs one shard; the first one that fails ends the others, whose results do not matter any more."""
        def bound():
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
            # Whoever goes round in circles is found earlier than whoever waits, and on a busy machine as well.
            resource.setrlimit(resource.RLIMIT_CPU, (int(limit / 2), int(limit / 2)))
        share = {"GTEST_TOTAL_SHARDS": str(shards), "GTEST_SHARD_INDEX": str(shard)}
        deadline = time.monotonic() + limit
        with tempfile.TemporaryFile("w+", errors="replace") as output:
            with subprocess.Popen(words, stdout=output, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                                  preexec_fn=bound, start_new_session=True,
                                  env={**os.environ, **share}) as process:
                while process.poll() is None and not stop.is_set() and time.monotonic() < deadline:
                    stop.wait(0.01)
                is_late = process.poll() is None and not stop.is_set()
                # The sandbox outside alone would leave the one inside behind, if that is still being set up.
                if process.poll() is None:
                    os.killpg(process.pid, signal.SIGKILL)
            output.seek(0)
            if is_late or (process.returncode != 0 and "--gtest_fail_fast" in words):
                stop.set()
            if is_late:
                raise subprocess.TimeoutExpired(words, limit)
            return subprocess.CompletedProcess(words, process.returncode, output.read())


class Trial:
    """One mutant, from source to verdict."""

    def __init__(self, base, mutant, is_judged):
        self.base = base
        self.mutant = mutant
        self.is_judged = is_judged

    def prepared(self, folder):
        """The source, changed, in a folder of its own."""
        self.folder = folder
        self.object = folder / "mutant.o"
        # The folder is an include directory too, for the one source that a test includes: main.cpp.
        source = folder.joinpath(*Path(self.mutant.path).parts[1:])
        source.parent.mkdir(parents=True)
        source.write_text(self.mutant.apply((self.base.tree / self.mutant.path).read_text()))
        return source

    def verdict(self):
        with tempfile.TemporaryDirectory(dir=self.base.folder) as folder:
            source = self.prepared(Path(folder))
            if not self.compiled(source, self.object):
                return "stillborn", ""
            outcome, test = self.tried_by(self.steps(own=True))
            if outcome == "survived" and self.is_same_code(source):
                return "same code", ""
            # A judged mutant has been through all else.
            return self.tried_by(self.steps(own=False)) if outcome == "survived" and not self.is_judged else (outcome, test)

    def is_control(self):
        """Whether the tests notice nothing of this mutant, which changes nothing."""
        with tempfile.TemporaryDirectory(dir=self.base.folder) as folder:
            source = self.prepared(Path(folder))
            return self.compiled(source, self.object) and all(
                self.tried_by(self.steps(own))[0] == "survived" for own in (True, False))

    def tried_by(self, tests):
        """What takes least first."""
        for test, cases in sorted(tests, key=lambda step: sum(step[1].values())):
            outcome = self.outcome(test, cases)
            if outcome != "survived":
                return outcome, test
        return "survived", ""

    def compiled(self, source, output, *options):
        unit = INCLUDED.get(self.mutant.path, self.mutant.path)
        words = list(self.base.compile[unit])
        words[words.index("-o") + 1] = str(output)
        if unit == self.mutant.path:
            words[-1] = str(source)
        else:
            words.insert(1, f"-I{source.parent.parent}")
        words = [word for word in words if word != "-Werror"] + ["-w", *options]
        return run(words, cwd=self.base.build, timeout=COMPILE_LIMIT).returncode == 0

    def is_same_code(self, source):
        """Whether the optimiser makes the same of both: then no test can tell them apart."""
        plain = self.folder / "plain" / source.relative_to(self.folder)
        plain.parent.mkdir(parents=True)
        shutil.copyfile(self.base.tree / self.mutant.path, plain)
        objects = [self.folder / "mutant-O2.o", self.folder / "plain-O2.o"]
        for text, output in zip((source, plain), objects):
            if not self.compiled(text, output, "-O2"):
                return False
        return objects[0].read_bytes() == objects[1].read_bytes()

    def steps(self, own):
        """The programs that have the unit in them, each with its cases: those that are named for the unit, or all
        others; the quick ones, which notice most, apart from those that take long."""
        tests = [test for test in self.base.tests if self.changed(test)]
        has_file = any(self.is_own(file) for test in tests for file in self.base.files[test])
        for test in tests:
            named = self.named_cases(test, has_file)
            if own and not named:
                continue
            times = {case: seconds for case, seconds in self.base.times(test).items()
                     if own == (case in named) and (has_file and own or seconds < BEARABLE)}
            yield test, {case: seconds for case, seconds in times.items() if seconds < QUICK}
            yield test, {case: seconds for case, seconds in times.items() if seconds >= QUICK}

    def changed(self, test):
        """Of the test's program and the tools that it starts, those that have the unit in them."""
        path = self.mutant.path
        if is_tool(path) != (test in self.base.of_tools):
            return []
        return [name for name in (test, *self.base.started[test]) if self.base.has_unit(name, path)]

    def named_cases(self, test, has_file):
        """The cases of files that are named for the unit; where it has none, of all files."""
        if test in self.base.cases:
            return {case for file, cases in self.base.cases[test].items() if not has_file or self.is_own(file)
                    for case in cases}
        return set(self.base.times(test)) if self.is_own(self.base.files[test][0]) else set()

    def is_own(self, test):
        return test.startswith(f"{Path(self.mutant.path).stem}_")

    def program(self, target):
        """The test's program, or the tool, with the mutant in it; None where it does not link."""
        path, program = self.mutant.path, self.folder / target
        replaced = f"/{Path(INCLUDED[path]).name}.o" if path in INCLUDED else self.base.objects[path]
        if not program.exists():
            linked = run(self.base.link_words(target, [self.object], program, replaced), cwd=self.base.build)
            if linked.returncode != 0:
                return None
        return program

    def outcome(self, test, cases):
        if not cases:
            return "survived"
        programs = {target: self.program(target) for target in self.changed(test)}
        if None in programs.values():
            return "stillborn"
        program = programs.pop(test, self.base.build / "tests" / test)
        try:
            done = self.base.execute(program, cases, programs.values())
        except subprocess.TimeoutExpired:
            return "overran"
        return "survived" if done.returncode == 0 else "killed"


def judgements():
    """Survivors that were looked at and are no fault of the tests, as `keys_of` names them: each with its reason."""
    judged, reason = {}, ""
    for line in JUDGED.read_text().splitlines():
        if not line.startswith("    "):
            reason = line
            continue
        first, *others = line.strip().split("  or  ")
        place = first[: first.rindex(": ", 0, first.index("  ->  ")) + 2]
        judged.update({key: reason for key in [first, *(place + change for change in others)]})
    return judged


def keys_of(path):
    """What tells each mutant of a file from the others, wherever its line stands: the line and the change, and
    a number from the second such place on."""
    text = (ROOT / path).read_text()
    keys, seen = {}, Counter()
    for mutant in mutants_of(path, text):
        key = f"{path}: {text.splitlines()[mutant.line - 1].strip()}: {mutant.change()}"
        seen[key] += 1
        keys[mutant] = key if seen[key] == 1 else f"{key} #{seen[key]}"
    return keys


def is_tool(path):
    return path.startswith("tools/")


def sources(folder):
    return sorted(str(path.relative_to(ROOT)) for path in (ROOT / folder).rglob("*.cpp"))


def outdated_judgements():
    """Those whose line has changed: the mutant that stands there now has not been looked at."""
    known = {key for path in sources("src") + sources("tools") for key in keys_of(path).values()}
    return [key for key in judgements() if key not in known]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--files", nargs="+", metavar="FILE", help="sources to mutate (default: all of src)")
    parser.add_argument("--sample", type=int, metavar="N", help="try N mutants, chosen by chance")
    parser.add_argument("--seed", type=int, help="of the choice (default: a new one, printed)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N")
    parser.add_argument("--folder", type=Path, help="where the build is kept for a next run")
    parser.add_argument("--list", action="store_true", help="list the mutants and stop")
    return parser.parse_args()


def chosen(options):
    names = options.files or sources("src")
    found = [mutant for name in names for mutant in mutants_of(name, (ROOT / name).read_text())]
    if options.sample is not None and options.sample < len(found):
        seed = random.randrange(1 << 32) if options.seed is None else options.seed
        print(f"{options.sample} of {len(found)} mutants, --seed {seed}")
        found = random.Random(seed).sample(found, options.sample)
    return found


def tried(base, mutants, keys, jobs):
    """The verdicts by the mutants; each is told on standard error as it is found."""
    verdicts, judged = {}, judgements()
    # What notices a mutant that changes nothing would notice each of them.
    for path in {mutant.path for mutant in mutants[:jobs]}:
        if not Trial(base, Mutant(path, 0, "", "", 1, "none"), is_judged=False).is_control():
            sys.exit(f"{path}: a test fails although nothing is changed")
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        trials = {pool.submit(Trial(base, mutant, keys[mutant] in judged).verdict): mutant for mutant in mutants}
        for count, trial in enumerate(concurrent.futures.as_completed(trials), 1):
            mutant = trials[trial]
            verdict, test = verdicts[mutant] = trial.result()
            print(f"{count}/{len(trials)} {verdict}: {mutant.path}:{mutant.line}: {mutant.change()} {test}",
                  file=sys.stderr, flush=True)
    return verdicts


def report(mutants, verdicts, keys):
    judged = judgements()
    counts, survivors, harmless = defaultdict(Counter), [], []
    for mutant in mutants:
        (verdict, test), key = verdicts[mutant], keys[mutant]
        if key in judged:
            harmless.append((mutant, judged[key] if verdict == "survived" else f"{verdict} by {test} all the same"))
            verdict = "judged" if verdict == "survived" else verdict
        elif verdict == "survived":
            survivors.append((mutant, key))
        counts[mutant.path][verdict] += 1

    columns = ["killed", "overran", "survived", "judged", "same code", "stillborn"]
    print(f"\n{'file':<46}" + "".join(f"{name:>11}" for name in columns) + f"{'killed %':>10}")
    total = sum(counts.values(), Counter())
    for path, count in [*sorted(counts.items()), ("all", total)]:
        print(f"{path:<46}" + "".join(f"{count[c]:>11}" for c in columns) + f"{share(count):>10.1f}")

    print("\nSurvivors" + ("" if survivors else ": none"))
    for mutant, key in survivors:
        print(f"{mutant.path}:{mutant.line}: {mutant.kind}: {mutant.change()}\n    {key}")
    if harmless:
        print("\nJudged to be no fault of the tests")
    for mutant, reason in harmless:
        print(f"{mutant.path}:{mutant.line}: {mutant.change()}\n    {reason}")
    return share(total) >= LEAST_SHARE


def share(count):
    gone = sum(count[verdict] for verdict in GONE)
    counted = gone + count["survived"]
    return 100.0 * gone / counted if counted else 100.0


def main():
    options = arguments()
    mutants = chosen(options)
    if options.list:
        for mutant in mutants:
            print(f"{mutant.path}:{mutant.line}: {mutant.kind}: {mutant.change()}")
        return 0
    outdated = outdated_judgements()
    if outdated:
        sys.exit("\n".join(["judgements of lines that are no more:", *outdated]))
    keys = {mutant: key for path in {m.path for m in mutants} for mutant, key in keys_of(path).items()}
    with contextlib.nullcontext(options.folder) if options.folder else tempfile.TemporaryDirectory() as folder:
        folder = Path(folder).resolve()
        folder.mkdir(parents=True, exist_ok=True)
        base = Base(folder, options.jobs, {mutant.path for mutant in mutants})
        verdicts = tried(base, mutants, keys, options.jobs)
    return 0 if report(mutants, verdicts, keys) else 1


if __name__ == "__main__":
    sys.exit(main())
