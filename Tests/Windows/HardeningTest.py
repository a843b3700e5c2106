"""Reads from the built files the defences that Docs/Security.md says they have.

Usage: HardeningTest.py OBJDUMP FILE...
"""

import re
import subprocess
import sys

DUE = {
    "a place of the loader's choice": r"^\s+DYNAMIC_BASE$",
    "one among all that 64 bits tell apart": r"^\s+HIGH_ENTROPY_VA$",
    "what moves it there": r"^The Data Directory\n(?:.*\n)*?Entry 5 [0-9a-f]*[1-9a-f][0-9a-f]* .*Base Relocation",
    "a stack that is not executable": r"^\s+NX_COMPAT$",
    "guards of the return addresses on its stack": r"\b__stack_chk_fail$",
    "the standard library's assertions": r"\b\w*__glibcxx_assert_fail\w*$",
}
# In one of them at least: MinGW-w64 checks few operations.
SIZES = re.compile(r"\b__(?!stack)\w+_chk$", re.MULTILINE)


def main(objdump, *files):
    lacks, checked = [], 0
    for file in files:
        header = subprocess.run([objdump, "-p", file], capture_output=True, text=True, check=True).stdout
        lacks += [f"{file} lacks {what}" for what, sign in DUE.items() if not re.search(sign, header, re.MULTILINE)]
        checked += bool(SIZES.search(header))
    if not checked:
        lacks.append("none has the C library's checks of sizes")
    print(f"{len(files)} files, {len(DUE)} defences")
    return "\n".join(lacks) or 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
