"""Compares the names that Microsoft's compilers give to what the library exports with ExportedNames.txt.

ExportedNamesTest.py microsoft CLANG INCLUDE-FOLDER... -- GCC XERCES-FOLDER

A host finds the functions by these names. All that the map of the exports names is among them. The standard library's classes bear theirs as Visual C++'s do, without the
namespace that MinGW-w64's has in between.
"""

import collections
import re
import sys

import VirtualTablesTest

OURS = re.compile(r"pnx_|\?\w+@Korva@@|\?\w+@Binary@Korva@@|\?+\w*@?CommParser@Korva@@|\?\w+KorvaCamera(Type)?@@")
PROBES = re.compile(r"\?nameAll@|\?\?\$name@")
# What a line says that a name means, or the map of the exports: the function's name with its scopes.
MEANT = re.compile(r"([\w:~]+(?:operator=)?)\(")
MAP = VirtualTablesTest.HERE.parents[1] / "BackEnd/NativeCameraKorva/NativeCameraKorva.map"
# The map has every spelling of std::size_t.
OTHER_SIZES = re.compile(r"unsigned (int|long)\)$")


def of_the_map():
    text = re.sub(r"/\*.*?\*/", "", MAP.read_text(encoding="utf-8"), flags=re.DOTALL)
    quoted = [name for name in re.findall(r'"([^"]+)";', text) if not OTHER_SIZES.search(name)]
    return collections.Counter([*(MEANT.match(name)[1] for name in quoted), *re.findall(r"^\s*(\w+);$", text, re.MULTILINE)])


def main():
    arguments, _, microsofts = " ".join(sys.argv[1:]).partition(" -- ")
    abi, clang, *includes = arguments.split()
    code = VirtualTablesTest.compiled(abi, clang, includes, *microsofts.split(), "Exports.cpp",
                                      ["-D_GLIBCXX_USE_CXX11_ABI=0", "-o", "-"])
    found = {name for name in re.findall(r'@"?((?:pnx_|\?)[^"\s(),]+)"?', code) if OURS.match(name) and not PROBES.match(name)}
    lines = (VirtualTablesTest.HERE / "ExportedNames.txt").read_text(encoding="utf-8").splitlines()
    due = {line for line in lines if line and not line.startswith(("#", " "))}
    named = collections.Counter([*(MEANT.search(line)[1] for line in lines if line.startswith(" ")),
                                 *(name for name in due if name.startswith("pnx_"))])
    exported = of_the_map()
    sys.exit("\n".join([*(f"exported, and not in the list: {name}" for name in exported - named),
                        *(f"in the list, and not exported: {name}" for name in named - exported),
                        *(f"not due: {name}" for name in sorted(found - due)),
                        *(f"due, and not there: {name}" for name in sorted(due - found))]) or 0)


main()
