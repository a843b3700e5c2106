"""Reads what gcov counted of the plug-in's own sources and says what the tests did not reach.

Usage: coverage_report.py ROOT EXCEPTIONS GCDA... ; scripts/coverage calls it.

What is counted. A line counts once, however often the compiler made code of it (templates, one copy for each
instruction set, headers in several objects); a closing brace is none. A branch is one way out of a decision: of an `if`, a loop, a `?:`, `&&`,
`||`, a `switch`. The compiler's exception edges are left out: both edges of a call that may throw (the one to the next
statement would be covered by whatever runs), and the tests on the way of an exception (which temporaries it destroys,
whether a `catch` is of its type). What a handler decides itself is counted, and so is what the compiler tests by
itself on other ways, of a temporary's life or of a static's first use.
"""

import collections
import json
import os
import subprocess
import sys

import gcov_graph

SOURCES = "BackEnd/NativeCameraKorva/"
LEAST_LINES = 95.0
LEAST_BRANCHES = 90.0

# Whoever reads what came from outside: all of it is covered, or stands in the list of exceptions.
READERS = {
    "message readers": ["KorvaBinaryCommunication.cpp", "KorvaByteSum.cpp", "KorvaMessage.h"],
    "reply readers": [
        "KorvaCommParser.cpp",
        "KorvaCameraLocator.cpp",
        "KorvaIdentification.cpp",
        "KorvaSoftwareVersion.cpp",
        "KorvaMacAddress.cpp",
        "KorvaAdapterList.cpp",
    ],
    "picture readers": [
        "KorvaPngDecoder.cpp",
        "KorvaSgiDecoder.cpp",
        "KorvaSampleKernels.cpp",
        "KorvaMemoryStream.h",
        "KorvaStreamReading.h",
    ],
}


def handler_lines(text):
    """The numbers of the lines within the bodies of catch clauses."""
    numbers, indent = set(), None
    for number, line in enumerate(text, 1):
        own = len(line) - len(line.lstrip())
        if indent is not None and own <= indent and line.strip():
            indent = None
        if indent is not None:
            numbers.add(number)
        if "} catch (" in line:
            indent = own
    return numbers


def decisions(branches, ways_out, in_handler):
    """How often each way out of each decision was taken."""
    kept, at = [], 0
    for ways, is_call, by_exception_only in ways_out:
        if not is_call and (in_handler or not by_exception_only):
            kept += [branch["count"] for branch in branches[at : at + ways]]
        at += ways
    return kept


class Source:
    """One file's counts."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as text:
            lines = text.read().splitlines()
        self.text = [line.strip() for line in lines]
        self.handlers = handler_lines(lines)
        self.lines = collections.Counter()
        # By line and function: a function is where it begins, so that all its copies are one.
        self.branches = collections.defaultdict(list)

    def add(self, document, graphs):
        """One object's counts, and the graphs of its functions by their names."""
        functions = {function["name"]: function for function in document["functions"]}
        for line in document["lines"]:
            # A closing brace is where the compiler puts what it destroys.
            if self.text[line["line_number"] - 1] != "}":
                self.lines[line["line_number"]] += line["count"]
            if line["branches"]:
                self._add_branches(os.path.normpath(document["file"]), line, functions, graphs)

    def _add_branches(self, file, line, functions, graphs):
        number, branches = line["line_number"], line["branches"]
        # gcov names no function where it has put together the copies of one.
        names = [line["function_name"]] if "function_name" in line else [n for n in graphs if n in functions]
        for name in names:
            ways_out = graphs[name].decisions().get((file, number), [])
            count = sum(ways for ways, _, _ in ways_out)
            own, branches = branches[:count], branches[count:]
            counts = decisions(own, ways_out, number in self.handlers)
            if counts:
                function = functions[name]
                place = (number, function["start_line"], function["start_column"])
                self.branches[place].append((function["execution_count"] > 0, counts))
        if branches:
            raise ValueError(f"gcov's counts and its notes do not fit, {file}:{number}")

    def ways(self):
        """Line, taken or not, of every way out of a decision."""
        for (number, _, _), copies in sorted(self.branches.items()):
            # A copy that never ran says nothing if another one did.
            ran = [counts for ran, counts in copies if ran] or [copies[0][1]]
            by_length = collections.defaultdict(list)
            for counts in ran:
                by_length[len(counts)].append(counts)
            for same in by_length.values():
                for counts in zip(*same):
                    yield number, sum(counts) > 0

    def missing(self):
        """By line: 1 where it did not run, and how many ways out of it were not taken."""
        missed = {n: [1, 0] for n, count in self.lines.items() if count == 0}
        for number, taken in self.ways():
            if not taken:
                missed.setdefault(number, [0, 0])[1] += 1
        return dict(sorted(missed.items()))


def read_counts(root, data_files):
    sources = {}
    for data in data_files:
        command = ["gcov", "--json-format", "--stdout", "--branch-probabilities", "--branch-counts", data]
        run = subprocess.run(command, capture_output=True, text=True, check=True, cwd=os.path.dirname(data))
        graphs = gcov_graph.read_notes(data.removesuffix(".gcda") + ".gcno")
        for document in map(json.loads, run.stdout.splitlines()):
            for counted in document["files"]:
                name = os.path.relpath(os.path.join(document["current_working_directory"], counted["file"]), root)
                if name.startswith(SOURCES):
                    short = os.path.basename(name)  # no two rooms have files of one name
                    if short not in sources:
                        sources[short] = Source(os.path.join(root, name))
                    sources[short].add(counted, graphs)
    return sources


def read_exceptions(path):
    """What is accepted as not covered: {(file, line's text): [what is missing there, reason]}."""
    exceptions = {}
    entry = None
    with open(path, encoding="utf-8") as text:
        for line in text:
            if line.startswith("#") or not line.strip():
                continue
            if not line[0].isspace():
                file, _, code = line.strip().partition(": ")
                entry = exceptions.setdefault((file, code), [])
            else:
                entry.append(line.strip())
    return {key: (said[0], " ".join(said[1:])) for key, said in exceptions.items()}


def missing_text(lines, branches):
    parts = []
    if lines:
        parts.append(f"{lines} line" + ("s" if lines > 1 else ""))
    if branches:
        parts.append(f"{branches} branch" + ("es" if branches > 1 else ""))
    return ", ".join(parts)


def percent(part, whole):
    return 100.0 if whole == 0 else 100.0 * part / whole


class Report:
    def __init__(self, sources, exceptions):
        self.sources = sources
        self.exceptions = exceptions
        self.complaints = []

    def totals(self, names):
        lines = [count > 0 for name in names for count in self.sources[name].lines.values()]
        ways = [taken for name in names for _, taken in self.sources[name].ways()]
        return sum(lines), len(lines), sum(ways), len(ways)

    def print_table(self):
        print(f"{'file':34} {'lines':>13} {'branches':>17}")
        for name in sorted(self.sources) + ["all"]:
            names = sorted(self.sources) if name == "all" else [name]
            ran, lines, taken, ways = self.totals(names)
            print(
                f"{name:34} {f'{ran}/{lines}':>7} {percent(ran, lines):5.1f} "
                f"{f'{taken}/{ways}':>11} {percent(taken, ways):5.1f}"
            )

    def print_missing(self):
        print("\nNot covered:")
        found = collections.defaultdict(lambda: [0, 0])
        for name, source in sorted(self.sources.items()):
            for number, (line, branches) in source.missing().items():
                code = source.text[number - 1]
                found[name, code][0] += line
                found[name, code][1] += branches
                known = " (listed)" if (name, code) in self.exceptions else ""
                print(f"  {name}:{number}: {missing_text(line, branches)}{known}: {code}")
        return {key: missing_text(*counts) for key, counts in found.items()}

    def check_exceptions(self, found):
        for (name, code), (said, reason) in self.exceptions.items():
            entry = f"exception '{name}: {code}'"
            if name not in self.sources or code not in self.sources[name].text:
                self.complaints.append(f"{entry}: there is no such line")
            elif (name, code) not in found:
                self.complaints.append(f"{entry}: it is covered after all")
            elif found[name, code] != said:
                self.complaints.append(f"{entry}: it says {said}, but it is {found[name, code]}")
            elif not reason:
                self.complaints.append(f"{entry}: it gives no reason")

    def check_readers(self, found):
        for kind, names in READERS.items():
            for name in names:
                if name not in self.sources:
                    self.complaints.append(f"{kind}: nothing was counted of {name}")
            for (name, code), what in found.items():
                if name in names and (name, code) not in self.exceptions:
                    self.complaints.append(f"{kind}: {name}: {what} not covered and not listed: {code}")
            _, _, taken, ways = self.totals([name for name in names if name in self.sources])
            listed = sum((name, code) in self.exceptions for name, code in found if name in names)
            print(f"figure: branches of the {kind}: {taken} of {ways} covered, {listed} lines out of reach")

    def check_totals(self):
        ran, lines, taken, ways = self.totals(self.sources)
        for kind, share, least in (
            ("line", percent(ran, lines), LEAST_LINES),
            ("branch", percent(taken, ways), LEAST_BRANCHES),
        ):
            print(f"figure: {kind} coverage of the plug-in: {share:.1f} %")
            if share < least:
                self.complaints.append(f"{kind} coverage is {share:.1f} %, and at least {least} % is wanted")


def main(root, exceptions_file, *data_files):
    report = Report(read_counts(root, data_files), read_exceptions(exceptions_file))
    if not report.sources:
        return "nothing was counted"
    report.print_table()
    found = report.print_missing()
    print()
    report.check_totals()
    report.check_readers(found)
    report.check_exceptions(found)
    for complaint in report.complaints:
        print(f"coverage: {complaint}", file=sys.stderr)
    return 1 if report.complaints else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
