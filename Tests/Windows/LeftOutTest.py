"""Each line of left-out leaves out something that there is: cases of a program that runs by Wine ("ToolTests
Suite.Case"), a whole program that is not built for Windows ("TortureTests *"), or sources that are not
("Tests/Room/OneTest.cpp,OtherTest.cpp *"). And each has its reason.

Usage: LeftOutTest.py LEFT-OUT BUILD-OF-THIS-SYSTEM BUILD-FOR-WINDOWS
"""

import fnmatch
import functools
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).parents[2]
BY_WINE = ROOT / "scripts/windows/by-wine"
OF_THIS_SYSTEM = ("ToolTests", "FixedPortTests")  # given the tool for Windows
LONGEST = 120  # seconds of one run
list_file, here, windows = (pathlib.Path(place).absolute() for place in sys.argv[1:4])


@functools.cache
def cases(program):
    command = [BY_WINE, windows / "tests" / f"{program}.exe"]
    if program in OF_THIS_SYSTEM:
        command = [here / "tests" / program]
    said = subprocess.run([*command, "--gtest_list_tests"], capture_output=True, timeout=LONGEST, check=True, text=True).stdout
    all_cases, suite = [], ""
    for line in said.splitlines():
        word = line.split("#")[0].strip()
        if line.startswith("  "):
            all_cases.append(suite + word)
        elif word.endswith("."):
            suite = word
    return all_cases


@functools.cache
def built_sources():
    return {pathlib.Path(entry["file"]).resolve() for entry in json.loads((windows / "compile_commands.json").read_text())}


def complaint(line):
    """What is wrong with a line, or nothing."""
    what, pattern, reason = (line.split(maxsplit=2) + ["", ""])[:3]
    if len(reason.split()) < 2:
        return "has no reason"
    if "/" in what:
        folder, _, names = what.rpartition("/")
        files = [ROOT / folder / name for name in names.split(",")]
        wrong = [file.name for file in files if not file.is_file() or file.resolve() in built_sources()]
        return f"{wrong} do not exist, or are built for Windows" if wrong or pattern != "*" else ""
    if pattern == "*":
        exists = any(f"korva_test({what}\n" in (file.read_text() + "\n").replace(" ", "\n") for file in ROOT.glob("Tests/*/CMakeLists.txt"))
        is_built = (windows / "tests" / f"{what}.exe").exists() or what in OF_THIS_SYSTEM
        return "does not exist, or is built for Windows" if is_built or not exists else ""
    if what not in OF_THIS_SYSTEM and not (windows / "tests" / f"{what}.exe").is_file():
        return "is no program for Windows"
    return "" if any(fnmatch.fnmatchcase(case, pattern) for case in cases(what)) else "names no case"


lines = [line for line in list_file.read_text(encoding="utf-8").splitlines() if line and not line.startswith("#")]
errors = [f"{line}: {wrong}" for line in lines if (wrong := complaint(line))]
sys.exit("\n".join(errors) or (0 if lines else "nothing is left out"))
