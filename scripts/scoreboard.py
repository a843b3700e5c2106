"""Runs the programs that measure, keeps their figures and writes Docs/Reliability.md; scripts/scoreboard calls it.

A program prints a line `figure: CLAIM: VALUE` for each claim; the last colon counts. What it prints else goes to
build/scoreboard/. What the page makes of the figures stands in scoreboard_page.py.
"""

import argparse
import datetime
import json
import os
import platform
import re
import subprocess
import sys
from dataclasses import dataclass, field

from scoreboard_page import FAILED_IN_TURN, NOT_RUN, page

DOCUMENT = "Docs/Reliability.md"
FIGURES = "Docs/Reliability-figures.json"
LOGS = "build/scoreboard"
FIGURE = re.compile(r"^(?:\d+: )?figure: (.+): (.+)$")  # ctest puts a test's number before its lines
OPERATIONS = [
    "search",
    "identification",
    "identification with a grab",
    "build from description",
    "build from template",
    "build from connection",
    "capture of colours",
    "capture of grey",
    "picture",
    "picture command",
    "probe",
    "dump",
]
RUN = re.compile(r"^run: ([^:]+:\d\d UTC): (\S.*)$")


@dataclass
class Program:
    """What is run for a part of the document, and what it must have something to say about."""

    title: str
    name: str
    command: list
    claims: list  # regular expressions, each of which a claim or its figure must match
    before: list = field(default_factory=list)  # commands whose time and output do not count
    figures: list = field(default_factory=list)
    problems: list = field(default_factory=list)

    def repeat(self):
        return " ".join(self.command)

    def record(self):
        return {
            "name": self.name,
            "title": self.title,
            "command": self.repeat(),
            "figures": dict(self.figures),
            "problems": self.problems,
        }


def ctest(title, name, preset, options, claims, target="all"):
    """The tests of a preset, whose target is built before."""
    return Program(
        title,
        name,
        ["ctest", "--preset", preset, *options, "-j", str(os.cpu_count()), "--verbose"],
        ["tests passed", *claims],
        before=[
            ["cmake", "--preset", preset],
            ["cmake", "--build", "--preset", preset, "--target", target],
        ],
    )


def programs(minutes):
    """All that is run. Of MINUTES the soak gets two fifths and fuzzing two fifths, shared by its targets, of which one
    runs on each core, and each of the two attacks a tenth; all in whole minutes, at least one. The decoders read files
    in proportion. The others have one size and take the rest."""
    share = minutes * 2 // 5
    attack = ["--minutes", str(max(1, minutes // 10))]
    targets = len(os.listdir("Fuzz/Corpus"))
    fuzz_runs = os.path.join(LOGS, "fuzz")  # of their own, so that the figures are this run's alone
    return [
        ctest(
            "Faults, failures one by one, memory, many cameras",
            "tests",
            "dev",
            [],
            [
                "fault matrix",
                "fault cells checked over real sockets",
                "fault cells of searches and sample pictures checked over real sockets",
                "time bound",
                *[f"{failure}, {operation}:" for failure in FAILED_IN_TURN for operation in OPERATIONS],
                f"{FAILED_IN_TURN[0]}, registration:",
                "threw at the registration",
                "peak memory.*at most",
                "64 cameras",
            ],
        ),
        Program("Attack, under address and undefined-behaviour sanitizers", "attack-asan", ["scripts/attack", "asan", *attack], ["findings: 0"]),
        Program("Attack, under the thread sanitizer", "attack-tsan", ["scripts/attack", "tsan", *attack], ["findings: 0"]),
        Program(
            "Decoders against other readers",
            "decoders",
            ["env", f"KORVA_TIMES={minutes}", "build/dev/tests/DecoderDifferenceTest"],
            ["PNG files against libpng", "SGI files against plain loops"],
            before=[["cmake", "--build", "--preset", "dev", "--target", "DecoderDifferenceTest"]],
        ),
        Program("Memory, under memcheck", "memcheck", ["scripts/memcheck"], ["memcheck"]),
        Program("Soak", "soak", ["scripts/soak", "--minutes", str(max(1, share))], ["soak"]),
        Program(
            "Fuzzing",
            "fuzz",
            ["env", f"RUNS={fuzz_runs}", "scripts/fuzz", str(max(1, share * os.cpu_count() // targets))],
            [f"fuzzing {target}:" for target in sorted(os.listdir("Fuzz/Corpus"))],
            before=[["rm", "-rf", fuzz_runs]],
        ),
        Program("Benchmarks", "bench", ["scripts/bench", "--check"], ["whole capture", "hung one"]),
        Program("Coverage", "coverage", ["scripts/coverage"], ["line coverage", "branch coverage", "readers"]),
        ctest("Threads, under the thread sanitizer", "tsan", "tsan", ["-L", "threads"], [], "ThreadTests"),
    ]


def figures_in(lines):
    """Claim and value of every figure, in the order in which the claims came; of one said again, the last."""
    found = {}
    for line in lines:
        figure = FIGURE.match(line.rstrip())
        if figure:
            found[figure[1]] = figure[2]
    return list(found.items())


def passed_tests(lines):
    """ctest's own count, as a figure; skipped ones are not passed ones."""
    text = "".join(lines)
    result = re.search(r"\d+% tests passed, (\d+) tests? failed out of (\d+)", text)
    if not result:
        return []
    failed, all_tests = int(result[1]), int(result[2])
    skipped = len(re.findall(r"\*\*\*Skipped", text))
    said = f", {skipped} skipped on this system" if skipped else ""
    return [("tests passed", f"{all_tests - failed - skipped} of {all_tests}{said}")]


def run(program):
    log = os.path.join(LOGS, program.name + ".log")
    print(f"== {program.title}: {program.repeat()}", flush=True)
    with open(log, "w", encoding="utf-8") as output:
        for command in [*program.before, program.command]:
            try:
                status = subprocess.run(command, stdout=output, stderr=subprocess.STDOUT, check=False).returncode
            except OSError as error:
                program.problems.append(f"cannot be run: {error.strerror}")
                return
            if status != 0:
                program.problems.append(f"`{' '.join(command)}` failed with exit status {status}")
                break
    with open(log, encoding="utf-8", errors="replace") as output:
        lines = output.readlines()
    program.figures = passed_tests(lines) + figures_in(lines)


def check_claims(program):
    for claim in program.claims:
        if not any(re.search(claim, f"{name}: {value}", re.IGNORECASE) for name, value in program.figures):
            program.problems.append(f"no figure for '{claim}'")


def read_log(path):
    """A log that a script of this repository left: its own date and command, and its figures."""
    with open(path, encoding="utf-8", errors="replace") as text:
        lines = text.readlines()
    head = next((match for match in map(RUN.match, lines) if match), None)
    if head is None:
        raise ValueError(f"{path} does not say when and how it was run")
    figures = figures_in(lines)
    if not figures:
        raise ValueError(f"{path} has no figures; did its run come to an end?")
    return {"date": head[1], "command": head[2], "figures": dict(figures)}


def machine():
    """In general words."""
    memory = 0
    with open("/proc/meminfo", encoding="ascii") as text:
        memory = int(re.search(r"MemTotal: +(\d+)", text.read())[1])
    system = platform.freedesktop_os_release().get("PRETTY_NAME", platform.system())
    return f"{os.cpu_count()} cores, {round(memory / 2**20)} GiB of memory, {system} on {platform.machine()}"


def write(board):
    with open(FIGURES, "w", encoding="utf-8") as output:
        json.dump(board, output, indent=1, ensure_ascii=False)
        output.write("\n")
    with open(DOCUMENT, "w", encoding="utf-8") as output:
        output.write(page(board))


def rewrite(saved):
    """The page anew from the figures that are there, and from those of the longer runs given."""
    with open(FIGURES, encoding="utf-8") as text:
        board = json.load(text)
    board["longer"] += [run for run in saved if run not in board["longer"]]
    write(board)
    return 0


def main():
    parser = argparse.ArgumentParser(prog="scripts/scoreboard")
    parser.add_argument("minutes", nargs="?", type=int, default=10, metavar="MINUTES")
    parser.add_argument("--from", dest="logs", nargs="+", default=[], metavar="LOG")
    parser.add_argument("--page", action="store_true")
    arguments = parser.parse_args()
    if arguments.minutes < 1:
        parser.error("MINUTES must be at least 1")
    try:
        saved = [read_log(path) for path in arguments.logs]
    except (OSError, ValueError) as error:
        parser.error(str(error))
    if arguments.page:
        return rewrite(saved)

    os.makedirs(LOGS, exist_ok=True)
    date = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC")
    head = {"date": date, "command": f"scripts/scoreboard {arguments.minutes}", "machine": machine()}
    everything = programs(arguments.minutes)
    for program in everything:
        program.problems.append(NOT_RUN)
    for program in everything:
        program.problems.remove(NOT_RUN)
        run(program)
        check_claims(program)
        # Now, so that a run that is broken off leaves what it had.
        write({**head, "programs": [each.record() for each in everything], "longer": saved})

    problems = [f"{program.title}: {problem}" for program in everything for problem in program.problems]
    for problem in problems:
        print(f"scoreboard: {problem}", file=sys.stderr)
    print(f"{DOCUMENT} is written")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
