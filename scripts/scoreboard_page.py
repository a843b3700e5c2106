"""The page of claims that scripts/scoreboard.py writes: what is claimed, what was measured, whether it holds.

A board is what Docs/Reliability-figures.json holds: date, command and machine of one run of the scoreboard, its
programs with figures and problems, and the saved logs of longer runs. Each figure is judged here once more by the bound
that the page shows.
"""

import re
from dataclasses import dataclass
from typing import Callable

NOT_RUN = "not run"
UNMEASURED = "–"
MOST_PROBLEMS = 8
PROBLEM_WIDTH = 97
FAILED_IN_TURN = ["allocations failed once in turn", "system calls failed once in turn", "host calls that threw once in turn"]


class Unmeasured(Exception):
    """There is no such figure."""


class Figures:
    """Claim and value of what one or several runs printed; a claim may stand there more than once."""

    def __init__(self, pairs):
        self.pairs = pairs

    def matches(self, claim, value):
        """The groups of `value` in each figure whose claim matches; Unmeasured if there is none."""
        named = [found for name, found in self.pairs if re.search(claim, name)]
        matches = [match.groups() for match in (re.search(value, found) for found in named) if match]
        if not matches or len(matches) < len(named):
            raise Unmeasured(claim)
        return matches

    def last(self, claim, value=r"^(\d+)"):
        return self.matches(claim, value)[-1]

    def total(self, claim):
        return sum(int(count) for (count,) in self.matches(claim, r"^(\d+)"))


@dataclass
class Claim:
    """A row of the page. `measure` gives the figure, and whether it is within the bound."""

    text: str
    bound: str
    programs: list
    measure: Callable


def all_passed(figures):
    runs = figures.matches("^tests passed$", r"^((\d+) of (\d+).*)")
    return " and ".join(run[0] for run in runs), all(passed == every for _, passed, every in runs)


def faults(figures):
    cells = figures.total("^fault matrix, cells checked") + figures.total("^fault cells .*checked over real sockets")
    in_time = figures.total("held to their time bound")
    return f"{cells:,} cells, {in_time:,} operations in time", cells > 0 < in_time


def failures(figures):
    counts = [figures.total(failure) for failure in FAILED_IN_TURN]
    return "{:,} allocations, {:,} calls of the system, {:,} of the host".format(*counts), all(counts)


def memory(figures):
    peaks = [(float(peak), float(most)) for peak, most in figures.matches("^peak memory", r"^([\d.]+) MB, at most ([\d.]+) MB")]
    largest, most = max(peaks)
    return f"{largest} MB (at most {most} MB)", all(peak <= bound for peak, bound in peaks)


def attack(figures):
    rounds = figures.total("^attack, .*: rounds")
    found = figures.total("^attack, .*: findings")
    return f"{rounds:,} rounds, {found} findings", found == 0


def decoders(figures):
    files = [int(count) for (count,) in figures.matches("files against", r"(\d+) files, .*none read differently")]
    return f"{sum(files):,} files, none read differently", True


def memcheck(figures):
    tests, programs = figures.last("under memcheck", r"^(\d+) in (\d+) programs")
    return f"{tests} tests in {programs} programs", int(tests) > 0


def soak(figures):
    (minutes,), (captures,) = figures.last("^soak: length", r"^([\d.]+)"), figures.last("^soak: captures")
    bad = sum(int(figures.last(f"^soak: {what}")[0]) for what in ("findings", "not judged", "answers too late"))
    return f"{bad} in {minutes} min, {int(captures):,} captures", bad == 0


def growth(figures):
    """Heap, resident memory, descriptors and threads, from the first third of a soak to the last."""
    grown = []
    for what in ("heap in use", "resident", "descriptors", "threads"):
        first, last = figures.last(f"^soak: {what}", r"^([\d.]+) to ([\d.]+)")
        grown.append(float(last) - float(first))
    held = all(by <= most for by, most in zip(grown, (64, 4096, 0, 0)))
    return "{:+.1f} KiB, {:+.0f} KiB, {:+.0f}, {:+.0f}".format(*grown), held


def fuzzing(figures):
    most, found = {}, 0
    runs = figures.matches("^fuzzing", r"^(\d+) executions.* (\d+) findings")
    names = [name for name, _ in figures.pairs if name.startswith("fuzzing")]
    for name, (executions, findings) in zip((name.split(",")[0] for name in names), runs):
        most[name] = max(most.get(name, 0), int(executions))  # a log may go on from another
        found += int(findings)
    return f"{sum(most.values()) / 1e6:.0f} million in {len(most)} targets, {found} findings", found == 0


def ratio(claim, value):
    def measure(figures):
        taken, most = figures.last(claim, value)
        return f"{taken} (at most {most})", float(taken) <= float(most)

    return measure


def stages(figures):
    """The whole capture; also what other stage is over its bound."""
    shown, _ = ratio("^whole capture over loopback$", r"ratio ([\d.]+) .*at most ([\d.]+)")(figures)
    rows = [(name, re.search(r"^ratio ([\d.]+) .*at most ([\d.]+)", value)) for name, value in figures.pairs]
    over = [name for name, match in rows if match and float(match[1]) > float(match[2])]
    return "; over: ".join([shown, *over]), not over


def coverage(figures):
    lines, branches = (figures.last(f"^{kind} coverage", r"^([\d.]+) %")[0] for kind in ("line", "branch"))
    return f"{lines} %, {branches} %", float(lines) >= 95 and float(branches) >= 90


def readers(figures):
    """What is left out is judged by the program: a line that is not covered must be listed."""
    rows = figures.matches("^branches of the", r"^(\d+) of (\d+) covered, (\d+) lines")
    taken, ways, listed = (sum(int(each[at]) for each in rows) for at in range(3))
    return f"{taken} of {ways}, {listed} lines listed", taken == ways or listed > 0


BESIDE = "beside the figure"
CLAIMS = [
    Claim("Every test passes; those with threads also under the thread sanitizer", "all", ["tests", "tsan"], all_passed),
    Claim("A camera's fault, wherever it strikes, has the outcome that the protocol gives it, in its time", "each", ["tests"], faults),
    Claim("Each allocation and call of system and host fails once: no crash, no leak", "each", ["tests"], failures),
    Claim("Peak memory of the costliest hostile input", BESIDE, ["tests"], memory),
    Claim("Cameras that lie, over real sockets, under sanitizers", "0 findings", ["attack-asan", "attack-tsan"], attack),
    Claim("Drawn PNG and SGI files, right and damaged, are read as independent readers do", "each", ["decoders"], decoders),
    Claim("Unit tests under memcheck: no error, no leak", "each", ["memcheck"], memcheck),
    Claim("Soak: wrong or lost pictures, answers not judged or too late", "0", ["soak"], soak),
    Claim("Soak: growth of heap, resident memory, open files, threads", "64 KiB, 4096 KiB, 0, 0", ["soak"], growth),
    Claim("Fuzzing of every reader: executions", "0 findings", ["fuzz"], fuzzing),
    Claim(
        "Search of 64 cameras on 8 adapters, in seconds",
        BESIDE,
        ["tests"],
        ratio("^search of 64 cameras", r"^([\d.]+) s, at most ([\d.]+) s"),
    ),
    Claim("Time of a whole capture, in those of a bare receive; other stages: their own bounds", BESIDE, ["bench"], stages),
    Claim(
        "Time of 15 cameras beside a hung one, in those without it",
        BESIDE,
        ["bench"],
        ratio("^median capture time", r"^([\d.]+) \(at most ([\d.]+)\)"),
    ),
    Claim("Coverage of the plug-in: lines, branches", "at least 95 %, 90 %", ["coverage"], coverage),
    Claim("Branches of all readers, but what `Tests/coverage-exceptions.txt` lists", "all", ["coverage"], readers),
]


def cell(claim, figures):
    """What a run shows for a claim, and whether it holds: None if nothing was measured."""
    try:
        return claim.measure(Figures(figures))
    except Unmeasured:
        return UNMEASURED, None


def verdict(results, problems):
    """Of one claim: what its runs show, and what went wrong in the programs that measure it."""
    if False in results or any(problem != NOT_RUN for problem in problems):
        return "**does not hold**"
    return "holds" if True in results else "not measured yet"


def row(*cells):
    return "| " + " | ".join(str(text).replace("|", "\\|") for text in cells) + " |\n"


def by_date(runs):
    return sorted(runs, key=lambda past: past["date"])


def table(board):
    runs = ["A", "B"] if board["longer"] else ["A"]
    longer = [pair for past in by_date(board["longer"]) for pair in past["figures"].items()]
    text = row("", "Claim", "Bound", *runs, "Verdict") + row(*["---"] * (len(runs) + 4))
    for number, claim in enumerate(CLAIMS, 1):
        programs = [program for program in board["programs"] if program["name"] in claim.programs]
        figures = [pair for program in programs for pair in program["figures"].items()]
        cells = [cell(claim, figures)] + ([cell(claim, longer)] if board["longer"] else [])
        problems = [problem for program in programs for problem in program["problems"]]
        if any(problem == NOT_RUN for problem in problems):
            cells[0] = (UNMEASURED, None)
        text += row(number, claim.text, claim.bound, *[shown for shown, _ in cells], verdict([held for _, held in cells], problems))
    return text


def runs_of(board):
    text = f"- **A**: {board['date']}, `{board['command']}`;\n  {board['machine']}.\n"
    if board["longer"]:
        dates = [past["date"] for past in by_date(board["longer"])]
        text += f"- **B**: {len(dates)} longer runs of single programs, {dates[0]} to {dates[-1]};\n"
        text += "  the newest soak, and of each fuzz target the run with the most executions.\n"
    return text


def went_wrong(board):
    """At most so many lines: the logs have the rest."""
    problems = [f"{program['title']}: {problem}" for program in board["programs"] for problem in program["problems"]]
    if not problems:
        return ""
    kept = [line if len(line) <= PROBLEM_WIDTH else line[:PROBLEM_WIDTH] + "…" for line in problems[:MOST_PROBLEMS]]
    left = len(problems) - len(kept)
    kept += [f"{left} more, in the figures' file."] if left else []
    return "\n## Not shown by run A\n\n" + "".join(f"- {problem}\n" for problem in kept)


def repeat(board):
    text = "\n## How to repeat each\n\n`scripts/scoreboard [MINUTES]` runs all of them.\n\n"
    text += row("Claims", "Command") + row("---", "---")
    for program in board["programs"]:
        numbers = [str(number) for number, claim in enumerate(CLAIMS, 1) if program["name"] in claim.programs]
        text += row(", ".join(numbers), f"`{program['command']}`")
    return text


def page(board):
    text = "# Reliability\n\n"
    text += "What is claimed of the plug-in, and what was measured last. `scripts/scoreboard` writes this page;\n"
    text += "[Reliability-figures.json](Reliability-figures.json) has every figure that its programs printed.\n\n"
    text += runs_of(board)
    text += "\nEach figure is judged by the bound on this page, and by the program that printed it. A dash\n"
    text += "means that the run did not measure it.\n\n"
    return text + table(board) + went_wrong(board) + repeat(board)
