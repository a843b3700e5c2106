"""Compiles sources for Microsoft's ABI, with the libraries' headers for Windows and the standard library of MinGW-w64:
sizes, conversions, overloads and layouts are Visual C++'s, and so is what clang then finds wrong. Iterators of arrays
and of string views are classes, as in Visual C++'s library, and not pointers. The project's headers and those of its
libraries are told that the compiler is Microsoft's; the standard library and the system's headers are read before, as
they know no such compiler.

Usage: MicrosoftTest.py CLANG GCC LIBRARIES XMLCH INCLUDE-FOLDER... -- SOURCE...; XMLCH is the type of Xerces-C's
characters, char16_t or wchar_t.
"""

import concurrent.futures
import pathlib
import re
import subprocess
import sys
import tempfile

# They include themselves, once for each set of instructions.
ALONE = {"KorvaByteSum.cpp", "KorvaSampleKernels.cpp", "Luma.cpp"}
# Its sources use the same names.
ROOM_ALONE = "windows"
# So many compile as one, as they do for the sanitizers.
TOGETHER = 16
CONFIGURATION = "xercesc/util/Xerces_autoconf_config.hpp"
# So many pointers of the standard library's headers become classes.
ITERATORS = {
    "array": [(r"(typedef )((?:const )?value_type\*)(\s+(?:const_)?iterator;)", r"\1__gnu_cxx::__normal_iterator<\2, array>\3", 2)],
    "string_view": [
        (r"(using const_iterator\s*= )(const value_type\*)", r"\1__gnu_cxx::__normal_iterator<\2, basic_string_view>", 1),
        (r"(\n\s+c?(?:begin|end)\(\) const noexcept\s+\{ return )(this->_M_str(?: \+ this->_M_len)?);", r"\1const_iterator(\2);", 4),
        (r"traits_type::compare\(end\(\) - __xlen", r"traits_type::compare(data() + __len - __xlen", 1),
    ],
}
# Read before the compiler is said to be Microsoft's; those of Winsock come first.
BEFORE = ["bits/stdc++.h", "winsock2.h", "ws2tcpip.h", "mswsock.h", "windows.h", "iphlpapi.h", "netioapi.h", "aclapi.h",
          "fcntl.h", "io.h", "malloc.h", "process.h", "sddl.h", "shellapi.h"]


def folders(gcc):
    """Where g++ looks for the headers of C++ and of Windows, in its order."""
    told = subprocess.run([gcc, "-E", "-v", "-x", "c++", "/dev/null"], capture_output=True, text=True, check=True).stderr
    listed = told.partition("#include <...> search starts here:\n")[2].partition("End of search list")[0]
    return [folder.strip() for folder in listed.splitlines() if "c++" in folder or folder.endswith("mingw32/include")]


def write_iterators(folder, include_folders):
    """The standard library's headers whose iterators are pointers, with classes in their place."""
    for name, changes in ITERATORS.items():
        text = next(path for path in (pathlib.Path(each, name) for each in include_folders) if path.exists()).read_text()
        for pattern, change, count in changes:
            text, found = re.subn(pattern, change, text)
            if found != count:
                sys.exit(f"<{name}> of the standard library has other iterators than this test knows")
        (folder / name).write_text("#pragma GCC system_header\n" + text)


def text_of(sources):
    """A room's sources as one, each with a logger of its own by the same name."""
    lines = ["#define NOMINMAX", *(f"#include <{name}>" for name in BEFORE), "#define _MSC_VER 1930", "#define __pragma(what)"]
    lines += ["#define __FUNCSIG__ __PRETTY_FUNCTION__", "#include <log4cxx/logger.h>"]
    for number, source in enumerate(sources):
        lines.append("#undef logger")
        if "LoggerPtr logger" in source.read_text():
            lines.append(f"#define logger logger{number}")
        lines.append(f'#include "{source}"')
    return "\n".join(lines) + "\n"


def is_alone(source):
    return source.name in ALONE or source.parent.name == ROOM_ALONE


def compile_one(clang, options, folder, name, text):
    source, preprocessed = folder / f"{name}.cpp", folder / f"{name}.ii"
    source.write_text(text)
    common = ["-std=c++20", "-w"]
    for command in ([clang, "--target=x86_64-w64-mingw32", "-E", "-nostdinc++", *common, *options, source, "-o", preprocessed],
                    [clang, "--target=x86_64-pc-windows-msvc", "-fno-ms-extensions", "-fdeclspec", "-fexceptions",
                     "-fcxx-exceptions", *common, "-fsyntax-only", preprocessed]):
        done = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=300, check=False)
        if done.returncode != 0:
            return f"{name}:\n" + done.stderr[:3000]
    return ""


def main():
    clang, gcc, libraries, xmlch, *rest = sys.argv[1:]
    includes, sources = rest[: rest.index("--")], [pathlib.Path(name) for name in rest[rest.index("--") + 1 :]]
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        configuration = pathlib.Path(libraries, "include", CONFIGURATION).read_text()
        configuration, found = re.subn(r"(#define XERCES_XMLCH_T\s+)\w+", rf"\g<1>{xmlch}", configuration)
        if found != 1:
            sys.exit("Xerces-C does not say the type of its characters")
        (folder / CONFIGURATION).parent.mkdir(parents=True)
        (folder / CONFIGURATION).write_text(configuration)
        write_iterators(folder, folders(gcc))
        options = ["-DNativeCameraKorva_EXPORTS", "-DReferenceHost_EXPORTS", '-DKORVA_VERSION="1"',
                   '-DKORVA_LIBRARY_FOLDER="lib"', f"-I{folder}", *(f"-I{name}" for name in includes),
                   *(f"-isystem{name}" for name in [f"{libraries}/include", *folders(gcc)])]
        texts = {source.stem: text_of([source]) for source in sources if is_alone(source)}
        rooms = {}
        for source in sources:
            if not is_alone(source):
                rooms.setdefault(source.parent, []).append(source)
        for name, room in rooms.items():
            for first in range(0, len(room), TOGETHER):
                texts[f"{name.parent.name}-{name.name}{first}"] = text_of(room[first : first + TOGETHER])
        with concurrent.futures.ThreadPoolExecutor(2) as workers:
            errors = list(workers.map(lambda item: compile_one(clang, options, folder, *item), texts.items()))
    print(f"{len(sources)} sources in {len(texts)} pieces")
    sys.exit("\n".join(error for error in errors if error) or 0)


main()
