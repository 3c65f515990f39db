#!/usr/bin/env python3
"""Measures the command beside the floor under its cost (floor.c), turn by turn, and holds it to its limits: CPU time
against the floor's, memory a listed file, and no system call that the floor does not make. Prints a table of each,
and fails, after the last, where a limit is not held.

The runs of every size load a library in C, which no maker's library that throws can be; the short ones follow again
with one that brings the unwinder along, since loading it is most of what they cost above the floor.
"""

import argparse
import math
import os
import re
import statistics
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path
from typing import NamedTuple

BUILD = Path(__file__).resolve().parent.parent.parent / "build"
COMMAND, FLOOR, METER = BUILD / "tanexics", BUILD / "proof/cost/bench_floor", BUILD / "proof/cost/meter"
SILENT_LIBRARY, THROWING_LIBRARY = BUILD / "proof/cost", BUILD / "proof/cost/throwing"

# From here on a run is long enough for a limit: below it, what the machine does beside weighs more than what a file
# costs.
LIMITED_FILES = 1000
# Of memory, in lists of paths of 31 bytes, each of which is held twice: in the list, and in the copy for the library.
MOST_BYTES_A_FILE = 150
# The kernel counts resident memory up to some hundred kilobytes late, so that a file's share can be told of long
# lists only.
MEASURED_FILES = 10000
# Memory is asked for by the block, of which a program that keeps more may need more.
MEMORY_CALLS = {"brk", "mmap", "mremap", "munmap"}
BLOCK_BYTES = 132 * 1024
# A generated name takes as many random words as chance will have it.
CALL_BY_CHANCE = "getrandom"
# The call that silent-kelcom.c makes once everything is loaded.
LOADED_MARK = "getppid"
# A run of so many files takes seconds.
LONG_LIST = 100000
# The 95 % interval of a median needs as many values.
LEAST_TURNS = 6


class Kind(NamedTuple):
    """One kind of run."""

    name: str
    arguments: list  # behind the list of files; none for a run without arguments
    most_ratio: float  # of CPU time to the floor's; where there are files, from LIMITED_FILES on
    is_traced: bool = False
    own_calls: dict = {}  # what the command alone has to make

    def is_limited(self, files):
        return not self.arguments or files >= LIMITED_FILES


# The status that ends this run is thrown, and before the first throw the C++ runtime tells the kernel that its tables
# are set up.
WITHOUT_ARGUMENTS = Kind("no arguments", [], 1.2, own_calls={"futex": 1})


class Sample(NamedTuple):
    """What a run took, its children's share included."""

    cpu: float  # seconds, in user and system mode
    peak: float  # bytes of resident memory


class Comparison:
    """Of turns, each of a sample of the command and one of the floor: the ratios of CPU time are compared, rather than
    the sums, since a machine's speed may drift."""

    def __init__(self, turns):
        self.turns = len(turns)
        self.command, self.floor = (Sample(*map(statistics.median_high, zip(*samples))) for samples in zip(*turns))
        ratios = sorted(command.cpu / floor.cpu for command, floor in turns)
        self.ratio = statistics.median_high(ratios)
        # How many of the values lie below the median is a matter of tossing coins, whatever their distribution: half
        # of them, give or take half the root of their number, times 1.96 for 95 %.
        at = int(max(0, (self.turns - 1.96 * math.sqrt(self.turns)) / 2))
        self.low, self.high = ratios[at], ratios[-1 - at]


class Bench:
    def __init__(self, folder, turns, points):
        self.folder, self.turns, self.points = folder, turns, points
        self.log = folder / "action.log"
        self.broken = []  # what was not held, one sentence each
        (folder / "file").write_text("one line\n")
        keys = ["Time", "Label", "HostName", "OSType", "OSName", "OSVersion", "PkgName", "MsgType", "MsgID", "EventID",
                "PartitionName"]  # fmt: skip
        definition = folder / "event.def"
        definition.write_text("".join(f"{key}=value of {key}\n" for key in keys) + "SendType=err\n")
        self.kinds = [Kind("incident", ["-i", "4711"], 1.03), Kind("event", ["-r", definition], 1.15),
                      Kind("event, traced", ["-r", definition], 1.03, is_traced=True)]  # fmt: skip
        os.environ["TANEX_LOG"] = str(self.log)

    def words(self, program, kind, files):
        """A run's program and arguments; clears the log, and sets the environment for it."""
        self.log.unlink(missing_ok=True)
        os.environ["TANEX_LOG_LEVEL"] = "LOG_LEVEL_TRACE" if kind.is_traced else ""
        if not kind.arguments:
            return [program]
        listed = self.folder / f"list{files}"
        if not listed.exists():
            listed.write_text(f"{self.folder / 'file'}\n" * files)
        return [program, listed, *kind.arguments]

    def take_turns(self, kind, files, count):
        """So many samples of the command, each with one of the floor. A program in C takes them: a larger one's own
        memory would count as the peak of what it forks, and its own work would clear the caches."""
        words = [METER, str(count), COMMAND, FLOOR, *self.words(COMMAND, kind, files)[1:]]
        measured = subprocess.run(words, stdout=subprocess.PIPE, check=True, text=True).stdout
        samples = [], []
        for line in measured.splitlines():
            which, microseconds, kilobytes = map(int, line.split())
            samples[which].append(Sample(microseconds / 1e6, kilobytes * 1024))
        return list(zip(*samples))

    def compare_logs(self, kind, files):
        """Holds the floor to the command's log, without what differs from run to run."""
        logs = []
        for program in (COMMAND, FLOOR):
            subprocess.run(self.words(program, kind, files), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            varying = r"\d{4}/\d\d/\d\d \d\d:\d\d:\d\d +\d+ |pid=\d+|swcon\w+|main : \S+|time=.*"
            logs.append(re.sub(varying, "*", self.log.read_text()))
        if logs[0] != logs[1]:
            sys.exit(f"the floor does not log what the command logs: {kind.name}")

    def least_turns(self, files):
        """A short run takes a millisecond, of which the machine's mood is a larger part; in a long one, it evens out."""
        if files < LIMITED_FILES:
            return self.turns * (20 if files < 100 else 5)
        return self.turns if files < LONG_LIST else max(LEAST_TURNS, self.turns // 3)

    def compare(self, kind, files):
        """Takes turns; more of them, where a limit lies so near that they do not tell."""
        least = self.least_turns(files)
        self.take_turns(kind, files, 1)  # warms the caches
        runs = Comparison(turns := self.take_turns(kind, files, least))
        while kind.is_limited(files) and len(turns) < 4 * least and runs.low <= kind.most_ratio <= runs.high:
            runs = Comparison(turns := turns + self.take_turns(kind, files, LEAST_TURNS))
        return runs

    def measure(self, kind, sizes):
        """The runs of a kind from the smallest number of files, which is 0 or 1, to the largest."""
        self.points.write(f"\n\n# {kind.name}\n")
        single = None
        for files in sizes:
            runs = self.compare(kind, files)
            single = single or runs
            self.report(kind, files, runs, single)

    def report(self, kind, files, runs, single):
        is_measured = files >= MEASURED_FILES
        # What a run takes above one with a single file.
        each = [(run.peak - one.peak) / files if is_measured else 0
                for run, one in ((runs.command, single.command), (runs.floor, single.floor))]  # fmt: skip
        limit = f"{kind.most_ratio:.2f}" if kind.is_limited(files) else ""
        print(f"{kind.name:<24} {files:7} {runs.turns:6} {runs.command.cpu * 1e3:10.3f} {runs.floor.cpu * 1e3:10.3f} "
              f"{runs.ratio:7.3f} {runs.low:7.3f} {runs.high:7.3f} {limit:>6} {runs.command.peak / 1024:9.0f} "
              f"{runs.floor.peak / 1024:9.0f}" + (f" {each[0]:7.0f} {each[1]:7.0f}" if is_measured else ""), flush=True)
        print(files, runs.command.cpu * 1e3, runs.floor.cpu * 1e3, runs.ratio, runs.low, runs.high,
              runs.command.peak / 1e6, runs.floor.peak / 1e6, file=self.points, flush=True)
        if kind.is_limited(files) and runs.low > kind.most_ratio:
            self.breaks(kind, files, f"{runs.ratio:.3f} times the CPU time of the floor ({runs.low:.3f} to {runs.high:.3f})")
        if each[0] > MOST_BYTES_A_FILE:
            self.breaks(kind, files, f"{each[0]:.0f} bytes a file")

    def calls(self, program, kind, files):
        """Counts the system calls of a program and its children with strace(1), from where everything is loaded on."""
        trace = self.folder / "trace"
        subprocess.run(["strace", "-f", "-qq", "-e", "signal=none", "-o", trace, *self.words(program, kind, files)],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        # "PID NAME(...": other lines tell how an interrupted call went on.
        names = re.findall(r"^\d+ +(\w+)\(", trace.read_text(errors="replace"), re.MULTILINE)
        return Counter(names[names.index(LOADED_MARK) + 1 :])

    def compare_calls(self, kind, files):
        """The calls of a run and its children; none may be the command's alone."""
        command, floor = self.calls(COMMAND, kind, files), self.calls(FLOOR, kind, files)
        difference = {name: command[name] - floor[name] for name in sorted(command | floor)
                      if command[name] != floor[name] and name != CALL_BY_CHANCE}  # fmt: skip
        others = " ".join(f"{name} {count}" for name, count in difference.items())
        print(f"{kind.name:<24} {files:7} {command.total():10} {floor.total():10}   {others or 'none'}", flush=True)
        for name, count in difference.items():
            if name not in MEMORY_CALLS and count != kind.own_calls.get(name, 0):
                self.breaks(kind, files, f"{name} is called {count} times more")
        memory = sum(count for name, count in difference.items() if name in MEMORY_CALLS)
        if memory > math.ceil(MOST_BYTES_A_FILE * files / BLOCK_BYTES):
            self.breaks(kind, files, f"{memory} calls more ask for memory")

    def breaks(self, kind, files, what):
        self.broken.append(f"{kind.name}, {files} files: {what}")

    def run(self):
        os.environ["LD_LIBRARY_PATH"] = str(SILENT_LIBRARY)
        self.compare_logs(WITHOUT_ARGUMENTS, 0)
        for kind in self.kinds:
            self.compare_logs(kind, 10)

        print(f"{'run':<24} {'files':>7} {'turns':>6} {'CPU ms':>10} {'floor ms':>10} {'ratio':>7} {'95 % interval':>15} "
              f"{'limit':>6} {'peak KB':>9} {'floor KB':>9} {'B/file':>7} {'floor':>7}")
        self.measure(WITHOUT_ARGUMENTS, [0])
        for kind in self.kinds:
            self.measure(kind, [1, 10, 100, 1000, 10000, 100000])
        print("with a library that brings the unwinder along")
        os.environ["LD_LIBRARY_PATH"] = str(THROWING_LIBRARY)
        for kind in (WITHOUT_ARGUMENTS, *self.kinds):
            self.measure(kind._replace(name=f"{kind.name}, unwinder"), [1, 1000] if kind.arguments else [0])

        print(f"\n{'system calls':<24} {'files':>7} {'command':>10} {'floor':>10}   more than the floor")
        os.environ["LD_LIBRARY_PATH"] = str(SILENT_LIBRARY)
        self.compare_calls(WITHOUT_ARGUMENTS, 0)
        for kind in self.kinds:
            for files in (1, 10, 1010):
                self.compare_calls(kind, files)

        print("\nNot held:" if self.broken else "\nEvery limit is held.", *self.broken, sep="\n  ")
        return not self.broken


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--turns", type=int, default=15, metavar="N",
                        help="turns of each kind and size at least; of short runs, up to twenty times as many")
    parser.add_argument("--points", type=Path, default=os.devnull, help="file for the figures, to be drawn")
    options = parser.parse_args()
    if options.turns < LEAST_TURNS:
        parser.error(f"the 95 % interval needs {LEAST_TURNS} turns")
    with tempfile.TemporaryDirectory(prefix="tanexics-bench-") as folder, options.points.open("w") as points:
        return 0 if Bench(Path(folder), options.turns, points).run() else 1


if __name__ == "__main__":
    sys.exit(main())
