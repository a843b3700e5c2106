#!/usr/bin/env python3
"""clang-tidy over the product's own sources; exit 1 if it has anything to say.

Sources of one library are read together: most of its time goes into the headers that they share.

usage: scripts/tidy.py COMPILE_COMMANDS FOLDER...   (in the repository; what is read is written to build/tidy)
"""
import json
import os
import re
import sys
from concurrent.futures import ThreadPoolExecutor
from subprocess import run

UNIT = 16  # sources at most, so that there is enough to do for each processor

# Each source of the plug-in has a logger of its own by the same name, which it keeps here too.
OWN_LOGGER = "#include <log4cxx/logger.h>\n#undef logger\n#define logger logger{}\n"


def library(entry):
    words = entry["command"].split()
    return words[words.index("-o") + 1].split(".dir/")[0]


def is_of_the_product(entry, rooms):
    """Tests compile some of its sources once more for themselves."""
    return os.path.relpath(entry["file"]).split("/")[0] in rooms and not library(entry).startswith("Tests/")


def each(entry):
    """The entries of the sources that a unit of the build's own includes; the entry itself of any other source."""
    if not os.path.basename(entry["file"]).startswith("unity_"):
        return [entry]
    with open(entry["file"], encoding="utf-8") as file:
        sources = re.findall(r'^#include "(.+)"', file.read(), re.MULTILINE)
    return [entry | {"file": source, "command": entry["command"].replace(entry["file"], source)} for source in sources]


GCC_ONLY = ("-fno-gnu-unique", "-Wno-restrict", "-Wno-subobject-linkage")

# Sources of the platform that name things as others of it do, or as the C library.
READ_ALONE = ("IpHelper.cpp", "QuerySocket.cpp", "Winsock.cpp")


def company(entry):
    """Those with which a source can be read: of its library, if neither or both speak to the platform by Windows' names
    of sockets. Vector code includes itself, once per instruction set."""
    with open(entry["file"], encoding="utf-8") as file:
        text = file.read()
    if "foreach_target.h" in text or os.path.basename(entry["file"]) in READ_ALONE:
        return entry["file"]
    sockets = ('#include "Platform/Winsock.h"', '#include "Platform/IpHelper.h"')
    return library(entry), any(sign in text for sign in sockets)


def units(entries):
    groups = {}
    for entry in entries:
        groups.setdefault(company(entry), []).append(entry)
    for group in groups.values():
        for first in range(0, len(group), UNIT):
            yield group[first : first + UNIT]


def write(unit, path):
    """Writes a unit's source; returns its compile command, without what is g++'s alone."""
    with open(path, "w", encoding="utf-8") as file:
        for number, entry in enumerate(unit):
            if "/BackEnd/" in entry["file"]:
                file.write(OWN_LOGGER.format(number))
            file.write(f'// NOLINTNEXTLINE(bugprone-suspicious-include)\n#include "{entry["file"]}"\n')
    words = [word for word in unit[0]["command"].split() if word not in GCC_ONLY]
    words[words.index("-c") + 1] = path
    return {"directory": unit[0]["directory"], "file": path, "command": " ".join(words)}


def check(path):
    tidy = run(["clang-tidy", "--quiet", "-p", os.path.dirname(path), path], capture_output=True, text=True)
    return tidy.stdout + tidy.stderr if tidy.returncode else ""


def main(commands, rooms):
    folder = os.path.abspath("build/tidy")
    os.makedirs(folder, exist_ok=True)
    with open(commands, encoding="utf-8") as file:
        entries = [entry for listed in json.load(file) for entry in each(listed) if is_of_the_product(entry, rooms)]
    # In one order, whatever the build compiles together.
    entries.sort(key=lambda entry: entry["file"])
    written = [
        write(unit, os.path.join(folder, f"{number}.cpp")) for number, unit in enumerate(units(entries))
    ]
    with open(os.path.join(folder, "compile_commands.json"), "w", encoding="utf-8") as file:
        json.dump(written, file, indent=1)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        said = [text for text in pool.map(check, [entry["file"] for entry in written]) if text]
    print("".join(said), end="")
    print(f"{len(entries)} sources, {'warnings' if said else 'no warnings'}")
    return 1 if said else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2:]))
