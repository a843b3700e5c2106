"""Says which tests ran in name only, and why; scripts/test calls it.

Usage: left_out.py JUNIT-FILE... ; each is what `ctest --output-junit` wrote of the preset that it is named after
(dev-tests.xml). A test is left out where ctest did not run it, or where it or a case within it skipped itself. Exit
status 1 with CI in the environment, unless the reason of each says that an instrumented build (a sanitizer's) cannot
judge it.
"""

import collections
import os
import re
import sys
import xml.etree.ElementTree

SKIPPED_CASE = re.compile(r"^\[  SKIPPED \] (\S+) \(\d+ ms\)$")
CASE = re.compile(r"^\[( RUN      |       OK |  FAILED  )\] ")
PLACE = re.compile(r"^\S+:\d+: Skipped$")
ACCEPTED = re.compile(r"\binstrumented build\b")
NO_REASON = "without a reason"


def skipped_cases(output):
    """Name and reason of each GoogleTest case that skipped itself."""
    said = []
    for line in output.splitlines():
        skipped = SKIPPED_CASE.match(line)
        if skipped:
            yield skipped[1], " ".join(said) or NO_REASON
        if skipped or CASE.match(line):
            said = []
        elif line.strip() and not PLACE.match(line):
            said.append(line.strip())


def left_out_of(case):
    """Name and reason of all that one test of ctest's leaves out."""
    output = case.findtext("system-out") or ""
    name = case.get("name")
    cases = list(skipped_cases(output))
    if cases:
        # A program that is one test of ctest's may have many cases.
        return [(case_name if case_name in name else f"{name}: {case_name}", why) for case_name, why in cases]
    if case.get("status") == "disabled":
        return [(name, "disabled")]
    if case.find("skipped") is None:
        return []
    said = [line.strip() for line in output.splitlines() if line.strip()]
    return [(name, said[-1] if said else NO_REASON)]


def read(path):
    """{reason: [test]} of one file."""
    found = collections.defaultdict(list)
    for case in xml.etree.ElementTree.parse(path).getroot().iter("testcase"):
        for name, why in left_out_of(case):
            found[why].append(name)
    return found


def main(paths, environment):
    total, objections = 0, 0
    for path in paths:
        preset = os.path.basename(path).removesuffix("-tests.xml")
        for why, names in read(path).items():
            total += len(names)
            if not ACCEPTED.search(why):
                objections += len(names)
            print(f"{preset}: {len(names)} left out: {why}")
            for name in names:
                print(f"    {name}")
    print(f"tests left out: {total}")
    if objections and environment.get("CI"):
        print(f"left_out: with CI set, {objections} of them had to run", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:], os.environ))
