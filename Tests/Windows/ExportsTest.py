"""Holds what the DLL exports against the map that rules the exports elsewhere: its names and no others, the host's
entry points undecorated.

Usage: ExportsTest.py OBJDUMP DLL MAP
"""

import re
import subprocess
import sys

# The map has every spelling of std::size_t.
OTHER_SIZES = re.compile(r"calculateChkSum\(unsigned char const\*, unsigned (int|long)\)$")


def output_of(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, check=True).stdout


def exported(objdump, library):
    table = output_of(objdump, "-p", library).partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    return re.findall(r"^\t\[ *\d+\](?: \+base\[ *\d+\] *[0-9a-f]+)? (\S+)$", table, re.MULTILINE)


def wanted(path):
    with open(path, encoding="utf-8") as file:
        text = re.sub(r"/\*.*?\*/", "", file.read(), flags=re.DOTALL)
    names = re.findall(r'"([^"]+)";', text) + re.findall(r"^\s*(\w+);$", text, re.MULTILINE)
    return {name for name in names if not OTHER_SIZES.search(name)}


def main(objdump, library, export_map):
    decorated = exported(objdump, library)
    found = set(output_of("c++filt", "-n", text="\n".join(decorated)).splitlines())
    expected = wanted(export_map)
    for name in sorted(found - expected):
        print(f"exported, but not in the map: {name}")
    for name in sorted(expected - found):
        print(f"in the map, but not exported: {name}")
    entries = [name for name in decorated if name.startswith("pnx_")]
    if sorted(entries) != ["pnx_initialize_device_plugin", "pnx_uninitialize_device_plugin"]:
        print(f"the host's entry points are {entries}")
        return 1
    print(f"{len(decorated)} exports, {len(expected)} names")
    return 0 if found == expected and len(expected) > 10 else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
