"""Compares the tables of virtual functions that clang lays out with VirtualTables.txt.

VirtualTablesTest.py native|microsoft CLANG INCLUDE-FOLDER... [-- GCC XERCES-FOLDER]

The order of virtual operations is the interface between host and plug-in, and compilers differ in how they put
overloads. "native" is this system's ABI, in which an operation that is overridden may have an entry of its own behind
the interface's. "microsoft" is that of Windows: the headers are preprocessed as for MinGW-w64, whose g++ GCC and
standard library are free, and compiled for Visual C++.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).parent
NAMESPACE = re.compile(r"Tolvane::DeviceFramework2::Device::(Exceptions::)?")
OPERATION = re.compile(r"\w+::(~?\w+\(.*\)( const)?)")
ENTRY = re.compile(r" +\d+ \| (.*)")


def run(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, timeout=120)
    if done.returncode != 0:
        sys.exit(done.stderr[:2000] or f"{command[0]} failed")
    return done.stdout


def folders(gcc):
    """Where g++ looks for the standard library of C++, in its order."""
    told = subprocess.run([gcc, "-E", "-v", "-x", "c++", "/dev/null"], capture_output=True, text=True, check=True).stderr
    listed = told.partition("#include <...> search starts here:\n")[2].partition("End of search list")[0]
    return [folder.strip() for folder in listed.splitlines() if "c++" in folder]


def compiled(abi, clang, includes, gcc, xerces, name, options):
    """What clang says of a probe."""
    with tempfile.TemporaryDirectory() as scratch:
        source = HERE / name
        options = ["-std=c++20", "-w", *options]
        if abi == "microsoft":
            # Alone: beside it are the headers of this system.
            only_xerces = pathlib.Path(scratch, "include")
            only_xerces.mkdir()
            (only_xerces / "xercesc").symlink_to(pathlib.Path(xerces, "xercesc"))
            source = pathlib.Path(scratch, "Probe.ii")
            run(clang, "--target=x86_64-w64-mingw32", "-E", "-nostdinc++", *options, "-include", HERE / "Standard.h",
                *(f"-isystem{folder}" for folder in folders(gcc)), *(f"-I{folder}" for folder in includes),
                f"-idirafter{only_xerces}", HERE / name, "-o", source)
            options += ["--target=x86_64-pc-windows-msvc", "-fno-ms-extensions"]
            includes = []
        return run(clang, *options, *(f"-I{folder}" for folder in includes), "-S", "-emit-llvm", source)


def operation(entry):
    """Of an entry's text the operation; None of what is no operation, or the destructor's entry that deletes nothing."""
    found = OPERATION.search(entry)
    if found is None or "[complete]" in entry:
        return None
    return "destructor" if found[1].startswith("~") else found[1]


def tables(dump):
    """{(class, part): [operation...]}; a part is called by the class that begins it, here also by its heirs."""
    found, whole, parts, above = {}, None, [], ""
    for line in NAMESPACE.sub("", dump).splitlines():
        address = re.match(r" +-- \(([\w:]+), \d+\) vtable address --", line)
        if heading := re.match(r"(VFT|Vt)able for ('.*') \(", line):
            names = re.findall(r"'([\w:]+)'", heading[2])
            whole, parts = names[-1], names[:1] if heading[1] == "VFT" else []
        elif not line.startswith(" "):
            whole = None
        elif whole and address:
            parts = [*(parts if "vtable address" in above else []), address[1]]
        elif whole and (entry := ENTRY.match(line)) and (entry := operation(entry[1])):
            for part in parts:
                found.setdefault((whole, part), []).append(entry)
        above = line
    return found


def due():
    """VirtualTables.txt in the same form."""
    table, rows = {}, []
    for line in (HERE / "VirtualTables.txt").read_text(encoding="utf-8").splitlines():
        if line.startswith("#") or not line:
            continue
        if not line.startswith(" "):
            rows = []
            for name in line.split(", "):
                whole, _, part = name.partition(" as ")
                table[whole, part or whole] = rows
            continue
        number, text = line.split(maxsplit=1)
        if int(number) != len(rows):
            sys.exit(f"VirtualTables.txt: slot {number} does not follow {len(rows) - 1}: {text}")
        rows.append(text)
    return table


def differences(table, laid_out, exact):
    for (whole, part), rows in table.items():
        slots = laid_out.get((whole, part), [])
        if (slots if exact else slots[:len(rows)]) != rows:
            yield f"{whole} as {part}: due are\n  " + "\n  ".join(rows) + "\nbut there are\n  " + "\n  ".join(slots)
    if exact:
        for whole, part in laid_out.keys() - table.keys():
            if not whole.startswith("std::"):
                yield f"VirtualTables.txt has no {whole} as {part}"


def main():
    arguments, _, microsofts = " ".join(sys.argv[1:]).partition(" -- ")
    abi, clang, *includes = arguments.split()
    dumped = compiled(abi, clang, includes, *(microsofts.split() or [None, None]), "Probe.cpp",
                      ["-o", "/dev/null", "-Xclang", "-fdump-vtable-layouts"])
    laid_out = tables(dumped)
    sys.exit("\n".join(differences(due(), laid_out, abi == "microsoft")) or 0)


if __name__ == "__main__":
    main()
