"""Runs libFuzzer programs side by side and adds up what came of them; scripts/fuzz calls it.

Each target has a folder in RUNS: its corpus, its findings, the log of its last run, and in `totals` five whole numbers
over all runs: executions, seconds, seconds of processor time, and after how many of the seconds the last new coverage
(lines of code, in short) and the last new feature (the same lines more often, in another order) came.
"""

import argparse
import concurrent.futures
import os
import re
import subprocess
import sys
import time
from dataclasses import astuple, dataclass

# A small quarantine and short stacks are faster; a find says more when it is replayed.
SANITIZER = "quarantine_size_mb=1:malloc_context_size=1"
OPTIONS = "-print_final_stats=1 -close_fd_mask=2 -timeout=120 -entropic=0 -malloc_limit_mb=256 -rss_limit_mb=1024".split()
PROGRESS = re.compile(r"#\d+\s+(INITED|NEW)\s+cov: (\d+)")
ROW = "{:<20} {:>13} {:>8} {:>13} {:>15} {:>13} {:>13} {:>8}"


@dataclass
class Totals:
    executions: int = 0
    seconds: int = 0
    cpu: int = 0
    covered: int = 0
    featured: int = 0

    @staticmethod
    def read(path):
        try:
            with open(path, encoding="ascii") as text:
                return Totals(*map(int, text.read().split()))
        except FileNotFoundError:
            return Totals()

    def write(self, path):
        with open(path, "w", encoding="ascii") as text:
            text.write(" ".join(map(str, astuple(self))) + "\n")


class Progress:
    """When the last new coverage and the last new feature came, from libFuzzer's lines."""

    def __init__(self):
        self.most, self.covered, self.featured = 0, None, None

    def note(self, line, seconds):
        said = PROGRESS.match(line)
        if not said:
            return
        coverage = int(said[2])
        if said[1] == "NEW":
            self.featured = seconds
            if coverage > self.most:
                self.covered = seconds
        self.most = max(self.most, coverage)


@dataclass
class Outcome:
    """One run of one target."""

    name: str
    status: int
    seconds: int
    executions: int
    coverage: str
    features: str
    findings: int
    totals: Totals

    def row(self):
        since = [(self.totals.seconds - last) // 60 for last in (self.totals.covered, self.totals.featured)]
        speed = self.executions // max(self.seconds, 1)
        return ROW.format(self.name, self.executions, speed, self.coverage, self.features, *since, self.findings)

    def figure(self, build):
        totals = self.totals
        return (
            f"figure: fuzzing {self.name}{build}: {totals.executions} executions in {totals.seconds // 60} minutes, "
            f"last new coverage after {totals.covered // 60} minutes, {self.findings} findings"
        )


def numbers(pattern, text):
    return re.findall(pattern + r" *(\d+)", text) or ["0"]


def first_to_last(pattern, text):
    found = numbers(pattern, text)
    return f"{found[0]} -> {found[-1]}"


def options_of(target, minutes, work):
    options = [f"-max_total_time={minutes * 60}", *OPTIONS, f"-artifact_prefix={work}/findings/"]
    with open("Fuzz/Lengths", encoding="ascii") as text:
        options += [f"-max_len={line.split()[1]}" for line in text if line.split()[:1] == [target]]
    words = f"Fuzz/Dictionaries/{target}.dict"
    if os.path.exists(words):
        options.append(f"-dict={words}")
    return [*options, f"{work}/corpus", f"Fuzz/Corpus/{target}"]


def run(target, arguments):
    """Runs one target to its end and adds the run to its totals."""
    work = os.path.join(arguments.runs, target)
    for folder in ("corpus", "findings"):
        os.makedirs(os.path.join(work, folder), exist_ok=True)
    own = os.environ.get("ASAN_OPTIONS")
    environment = {**os.environ, "ASAN_OPTIONS": f"{SANITIZER}:{own}" if own else SANITIZER}
    progress, text, start = Progress(), [], time.monotonic()
    command = [os.path.join(arguments.programs, target), *options_of(target, arguments.minutes, work)]
    with open(os.path.join(work, "log"), "w", buffering=1, encoding="utf-8") as log:
        process = subprocess.Popen(
            command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=environment, text=True, errors="replace"
        )
        for line in process.stdout:
            log.write(line)
            text.append(line)
            progress.note(line, int(time.monotonic() - start))
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    seconds, said = int(time.monotonic() - start), "".join(text)

    totals = Totals.read(os.path.join(work, "totals"))
    if progress.covered is not None:
        totals.covered = totals.seconds + progress.covered
    if progress.featured is not None:
        totals.featured = totals.seconds + progress.featured
    executions = int(numbers("stat::number_of_executed_units:", said)[-1])
    totals.executions += executions
    totals.seconds += seconds
    totals.cpu += int(used.ru_utime + used.ru_stime)
    totals.write(os.path.join(work, "totals"))

    found = [name for name in os.listdir(os.path.join(work, "findings")) if not name.startswith("slow-unit-")]
    coverage, features = first_to_last("cov:", said), first_to_last("ft:", said)
    return Outcome(target, process.returncode, seconds, executions, coverage, features, len(found), totals)


def run_all(arguments):
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        try:
            return list(pool.map(lambda target: run(target, arguments), arguments.targets))
        except KeyboardInterrupt:
            pool.shutdown(cancel_futures=True)
            raise


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--minutes", type=int, required=True)
    parser.add_argument("--jobs", type=int, required=True)
    parser.add_argument("--preset", required=True)
    parser.add_argument("--runs", required=True)
    parser.add_argument("--programs", required=True)
    parser.add_argument("targets", nargs="+")
    arguments = parser.parse_args()

    count, minutes = len(arguments.targets), arguments.minutes
    print(f"\n== Fuzzing {count} targets for {minutes} min each, {arguments.jobs} at a time", flush=True)
    outcomes = run_all(arguments)
    heads = ["target", "executions", "exec/s", "coverage", "features", "min. since new", "min. since new", "findings"]
    print(ROW.format(*heads))
    print(ROW.format("", "", "", "", "", "coverage", "feature", ""))
    for outcome in outcomes:
        print(outcome.row())
    print(f"All runs in {arguments.runs} together:")
    for outcome in outcomes:
        print(outcome.figure(", without sanitizers" if arguments.preset == "fuzz-plain" else ""))
    if any(outcome.status for outcome in outcomes):
        where = f"{arguments.runs}/*/log and {arguments.runs}/*/findings"
        print(f"fuzz: something was found, or a target ended early; see {where}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
