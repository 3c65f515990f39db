#!/usr/bin/env python3
"""Measures tanexics-log on logs of up to 1 GB of whole incidents, beside programs that do a small part of its work
(grep counts lines, awk and python3 count the answers of 0), and holds it to its limits: processor time and memory for
1 GB, and both growing no faster than the log. Prints a table, and fails, after the last row, where a limit is not held.
"""

import argparse
import math
import os
import resource
import subprocess
import sys
import tempfile
from pathlib import Path

BUILD = Path(__file__).resolve().parent.parent.parent / "build"
READER, METER = BUILD / "tanexics-log", BUILD / "proof/cost/meter"
MEGABYTE = 1 << 20
SIZES = [1, 10, 100, 1000]
MOST_SECONDS, MOST_MEGABYTES = 4.0, 64.0  # of the largest size
# What a byte may cost more in the largest log than in the smallest that a clock can measure.
MOST_GROWTH = 1.3
PYTHON = "import sys; print(sum(b\"code='0'\" in line for line in open(sys.argv[1], 'rb')))"


def incident(pid, number):
    """The lines of an incident with two files, the third of the runs refused."""
    code = -62 if number % 3 == 0 else 0
    text = f'(HTTP) RL:{code},ZW-Agent:54,Mailsvr:""' if code else ""
    messages = ["### main : /usr/local/sbin/tanexics started.", "VUQ90004L : com=uname -n 2>/dev/null",
                f"VUQ90004L : pid={pid + 1},wstat=00000000", "(CSendInfo::SendInfo) call startCom(RM_MODE_SYNC)=0"]
    for part in (1, 2):
        messages += [f"commonSendEvent Main Loop ({part}/2)",
                     f'RM_Communicate call (param=0x40017 0 0 INCNO="{number}",HOSTNAME="db01.example",PART="{part}",'
                     f'TOTAL="2" NULL  NULL)', f"RM_Communicate done (code='{code}', msg='{text}') ",
                     f"RM_Communicate call (param=0x4010b ? 1 /var/log/messages.{part} NULL  NULL)",
                     f"RM_Communicate done (code='{code}', msg='{text}') "]  # fmt: skip
    messages += ["commonSendEvent OK", f"VUQ90004L : pid={pid + 2},wstat=00000000",
                 f"VUQ90004L : com=mkdir -p /tmp/swconf{number}_ 2>/dev/null",
                 "ELAPSED:range='executing tanexics', time='0.172795'",
                 "### main : /usr/local/sbin/tanexics exit. code = 0"]  # fmt: skip
    return "".join(f"2026/11/22 08:{number // 60 % 60:02}:{number % 60:02} {pid:5} {message}\n" for message in messages)


def write_log(path, size):
    block = "".join(incident(1000 + number % 60000, number) for number in range(5000)).encode()
    with path.open("wb") as log:
        while log.tell() < size:
            log.write(block)


def seconds(words):
    """Processor seconds that a program took. It writes to a pipe: some end early where nobody wants their output."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(words, stdout=subprocess.PIPE)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def megabytes(words):
    """The resident memory that a program took at most. A small program starts it: a larger one's own would count."""
    words = [METER, "1", words[0], *words]
    environment = {**os.environ, "TANEX_LOG": os.devnull + "/none"}  # the log that is cleared before a run
    lines = subprocess.run(words, stdout=subprocess.PIPE, check=True, text=True, env=environment).stdout
    return int(lines.split()[-1]) / 1024


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--points", type=Path, default=os.devnull, help="file for the figures, to be drawn")
    options = parser.parse_args()
    programs = {"tanexics-log": [READER, "--last"],
                "grep -c": ["grep", "-c", "RM_Communicate done (code='0'"],
                "awk": ["awk", "/RM_Communicate done \\(code='0'/ {n++} END {print n}"],
                "python3": ["python3", "-c", PYTHON]}  # fmt: skip
    figures, broken = {}, []
    print(f"{'program':<14} {'MB':>6} {'CPU s':>8} {'s/GB':>8} {'peak MB':>8}")
    with tempfile.TemporaryDirectory(prefix="tanexics-bench-") as folder, options.points.open("w") as points:
        logs = {size: Path(folder) / f"{size}.log" for size in SIZES}
        for size, log in logs.items():
            write_log(log, size * MEGABYTE)
        for name, words in programs.items():
            points.write(f'"{name}"\n')
            for size, log in logs.items():
                cpu = min(seconds([*words, log]) for _ in range(3))
                peak = megabytes([*words, log]) if words[0] == READER else math.nan
                figures[name, size] = cpu, peak
                print(f"{name:<14} {size:6} {cpu:8.3f} {cpu / size * 1000:8.2f} {peak:8.1f}", flush=True)
                print(size, cpu, peak, file=points)
            points.write("\n\n")
    cpu, peak = figures["tanexics-log", SIZES[-1]]
    if cpu > MOST_SECONDS:
        broken.append(f"{cpu:.2f} s of processor time for {SIZES[-1]} MB")
    if peak > MOST_MEGABYTES:
        broken.append(f"{peak:.1f} MB of memory for {SIZES[-1]} MB")
    small = figures["tanexics-log", 100][0] / 100
    if cpu / SIZES[-1] > MOST_GROWTH * small:
        broken.append(f"a byte of {SIZES[-1]} MB costs {cpu / SIZES[-1] / small:.2f} times one of 100 MB")
    print("\nNot held:" if broken else "\nEvery limit is held.", *broken, sep="\n  ")
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main())
