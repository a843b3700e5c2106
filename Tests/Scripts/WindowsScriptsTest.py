"""Tests of the scripts for Windows, whose folder is the argument, around programs that only say what they were asked."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = os.path.abspath(sys.argv.pop())
ALL = {"libpng1.6", "highway", "googletest", "expat", "apr", "apr-util", "log4cxx", "xerces-c"}
ARCHIVES = re.findall(r"\S+\.orig\.tar\.\w+", pathlib.Path(SCRIPTS, "windows-libraries").read_text(encoding="utf-8"))

# Each knows the folder as $root.
PROGRAMS = {
    "uname": "cat $root/machine",
    "dpkg-query": 'case "$*" in *Status*) cat $root/status ;; *) cat $root/versions ;; esac',
    "apt-get": """echo "apt-get $*" >>$root/asked
for last; do :; done
case "$*" in
*update) cat $root/newest >$root/index; exit "$(cat $root/network)" ;;
*source*) touch "$(sed -n "s/^ x 1 \\(${last%%=*}_.*\\)/\\1/p" $root/index)" ;;
esac""",
    "apt-cache": 'cat $root/index; exit "$(cat $root/known)"',
    "sha256sum": '[ "$1" = --check ] && cat >/dev/null || PATH=/usr/bin:/bin exec sha256sum "$@"',
    "tar": "echo licence",
    "patch": "",
    "cp": """for to; do :; done
case "$to" in */) mkdir -p "$to" ;; esac
if [ -d "$to" ]; then touch "$to/$(basename -- "$1")"; else cat "$1" >"$to" 2>/dev/null || echo licence >"$to"; fi""",
    "cmake": """echo "cmake $* [$CXXFLAGS]" >>$root/asked
for to; do :; done
case "$*" in
*"--target help") echo korva: ;;
--install*--strip*) mkdir -p "$to/bin"; cat $root/built >"$to/bin/korva.exe" ;;
esac""",
    "x86_64-w64-mingw32-g++-posix": "echo ${1#*=}",
    "x86_64-w64-mingw32-strip": "",
    "x86_64-w64-mingw32-objdump": "",
    "git": "echo 1",
    "zip": 'for to; do :; done; cat >/dev/null; touch "$to"; mv */ $root/packed',
    "unzip": 'mkdir -p "$4/package/bin"; touch "$4/package/bin/libx.dll"',
    "unshare": 'while [ "${1#--}" != "$1" ]; do shift; done; [ -e $root/networks ] && exec "$@"',
    "ip": "[ -e $root/adapters ]",
    "ctest": """while [ $# -gt 0 ]; do [ "$1" != --output-junit ] || cat $root/result.xml >"$2"; shift; done
echo '100% tests passed, 0 tests failed out of 1'
echo 'closing line'""",
}
FILES = {
    "machine": "x86_64\n", "status": "install ok installed\n", "versions": "g++ 12\n", "network": "0", "known": "0",
    "networks": "", "adapters": "", "built": "program", "result.xml": "<testsuite/>", "LICENSE": "may\n",
    "os-release": 'ID=debian\nVERSION_ID="12"\n', "CMakeLists.txt": "project(NativeCameraKorva VERSION 1.2.3\n",
    "cmake/MinGW.cmake": "set(A B)\n", "newest": "Version: 1\n" + "".join(f" x 1 {name}\n" for name in ARCHIVES),
    "index": "", "build/wine/ready": "", "Tests/Windows/left-out": "# What\nA S.One no luck\n",
}
NOBODY = "127.83.7.98: a computer is there, but no camera: it refuses TCP 32768 and 32769"
BY_WINE = f"""#!/bin/sh
[ -e libx.dll ] || exit 1
case "$*" in
*/host.exe) echo installed package works: yes ;;
*--version) echo korva 1.2.3 ;;
*identify*) echo '{NOBODY}'; exit 4 ;;
esac
"""


class WindowsScript(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        shutil.copytree(SCRIPTS, self.folder / "scripts")
        for name, text in FILES.items():
            self.write(name, text)
        for name, text in PROGRAMS.items():
            self.write(f"bin/{name}", f"#!/bin/sh\nroot={self.folder}\n{text}\n")

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)

    def change(self, name, old, new):
        text = (self.folder / name).read_text(encoding="utf-8")
        self.assertIn(old, text)
        self.write(name, text.replace(old, new))

    def run_script(self, name, *arguments, **environment):
        own = {name: value for name, value in os.environ.items() if name not in ("CI", "CFLAGS", "CXXFLAGS")}
        own.update(PATH=f"{self.folder}/bin:{os.environ['PATH']}", KORVA_OS_RELEASE=f"{self.folder}/os-release", **environment)
        result = subprocess.run([self.folder / "scripts" / name, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                env=own, check=False)
        return result.returncode, result.stdout, result.stderr

    def asked(self, pattern):
        """What was asked since the last time: what the pattern's group finds."""
        path = self.folder / "asked"
        text = path.read_text(encoding="utf-8") if path.exists() else ""
        self.write("asked", "")
        return re.findall(pattern, text, re.MULTILINE)


class Libraries(WindowsScript):
    def made(self, *arguments):
        status, _, errors = self.run_script("windows-libraries", *arguments)
        self.assertEqual((status, errors), (0, ""))
        names = self.asked(r"^cmake --build \S+/build/(\S+) ")
        self.assertEqual(len(names), len(set(names)))
        return set(names)

    def test_are_made_once(self):
        self.assertEqual([self.made(), self.made()], [ALL, set()])

    def test_are_those_of_another_folder_too(self):
        self.made()
        (self.folder / "build/windows-libraries").rename(self.folder / "elsewhere")
        self.assertEqual(self.made(f"{self.folder}/elsewhere"), set())

    def test_are_made_again_where_they_would_be_made_otherwise(self):
        self.made()
        for what, change, due in (
            ("patch", lambda: self.write("scripts/windows/xerces-c-more.patch", "x"), {"xerces-c"}),
            ("patch of what is in another", lambda: self.write("scripts/windows/apr-more.patch", "x"), {"apr", "apr-util", "log4cxx"}),
            ("option", lambda: self.change("scripts/windows-libraries", "PNG_TESTS=OFF", "PNG_TESTS=ON"), {"libpng1.6"}),
            ("archive", lambda: self.change("scripts/windows-libraries", "566fc7731", "566fc7732"), {"highway"}),
            ("what APR is compiled with", lambda: self.change("scripts/windows-libraries", "=0x0601", "=0x0602"), ALL),
            ("toolchain", lambda: self.write("cmake/MinGW.cmake", "set(A C)\n"), ALL),
            ("compiler", lambda: self.write("versions", "g++ 13\n"), ALL),
        ):
            with self.subTest(what):
                change()
                self.assertEqual([self.made(), self.made()], [due, set()])

    def test_are_made_again_where_that_failed(self):
        self.write("bin/cmake", "#!/bin/sh\nexit 1\n")
        status, _, errors = self.run_script("windows-libraries")
        self.assertEqual((status, errors.splitlines()[-1].split(";")[0]), (1, "windows-libraries: libpng1.6 cannot be built for Windows"))
        self.write("bin/cmake", f"#!/bin/sh\nroot={self.folder}\n{PROGRAMS['cmake']}\n")
        self.assertEqual(self.made(), ALL)

    def test_do_not_say_where_they_were_made(self):
        self.run_script("windows-libraries")
        cache = self.folder / "build/windows-libraries"
        flags = dict(self.asked(r"^cmake -S \S+/source/([^/ ]+)/\S* .*\[(.*)\]$"))
        self.assertEqual(set(flags), ALL)
        for name, said in flags.items():
            for kind in ("source", "build"):
                self.assertIn(f'"-ffile-prefix-map={cache}/{kind}/{name}=."', said)

    def test_are_looked_for_again_where_an_older_answer_lacks_one(self):
        self.write("build/windows-libraries/apt/known", "")
        self.write("index", "Version: 1\n")
        status, _, errors = self.run_script("windows-libraries")
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual(len(self.asked("^apt-get .*update$")), 1)

    def test_that_are_gone_are_named(self):
        self.change("newest", " x 1 expat_2.5.0.orig.tar.gz\n", "")
        for known in ("0", "100"):
            with self.subTest(known):
                self.write("known", known)
                status, _, errors = self.run_script("windows-libraries")
                self.assertEqual(status, 1)
                self.assertEqual(errors, "windows-libraries: Debian's archive has no expat_2.5.0.orig.tar.gz of expat any more\n")


class Package(WindowsScript):
    def test_has_the_licences_of_all_that_is_in_it(self):
        status, _, errors = self.run_script("package-windows")
        self.assertEqual((status, errors), (0, ""))
        licences = {path.stem for path in (self.folder / "packed/licences").iterdir()}
        self.assertEqual(licences, ALL - {"googletest"} | {"NativeCameraKorva", "cli11", "gcc-runtime", "mingw-w64", "nlohmann-json", "zlib"})

    def test_does_not_say_where_it_was_built(self):
        for text, status in (("program\0./src/a.cpp\0", 0), ("../../src/a.c", 0), ("\0/usr/lib/gcc/a/c++/b.h\0", 0),
                             (f"\0{self.folder}/bin\0", 1), ("\0/some/where/a.cpp\0", 1)):
            with self.subTest(text):
                shutil.rmtree(self.folder / "packed", ignore_errors=True)
                self.write("built", text)
                found, _, errors = self.run_script("package-windows")
                self.assertEqual(found, status)
                said = "names of this machine's folders are in NativeCameraKorva-1.2.3-windows-x86_64/bin/korva.exe \n"
                self.assertEqual(errors, f"package-windows: {said}" if status else "")


class TestsByWine(WindowsScript):
    def run_tests(self, **environment):
        for name, text in (("windows-libraries", ""), ("package-windows", "#!/bin/sh\necho 'sum  package.zip'\n"), ("windows/by-wine", BY_WINE)):
            if name not in self.replaced:
                self.write(f"scripts/{name}", text or "#!/bin/sh\n")
        return self.run_script("test-windows", **environment)

    replaced = ()

    def test_end_with_what_was_left_out_and_then_the_closing_lines(self):
        status, said, _ = self.run_tests(CI="true")
        self.assertEqual(status, 0, said)
        end = "== Left out\nA: S.One: no luck\ntests left out: 0\n\n100% tests passed, 0 tests failed out of 1\nclosing line\n"
        self.assertTrue(said.endswith(end), said)
        for line in ("installed package works: yes", "korva 1.2.3", NOBODY):
            self.assertIn(f"\n{line}\n", said)

    def test_say_why_they_cannot_run(self):
        for name, text, why in (
            ("machine", "aarch64\n", "it runs programs for x86_64, and this machine is none"),
            ("os-release", "ID=ubuntu\nVERSION_ID=24.04\n", "compilers and libraries come from Debian 12, and this system is another one"),
            ("os-release", None, "compilers and libraries come from Debian 12, and this system is another one"),
            ("networks", None, "this system lets its users make no network namespaces"),
        ):
            with self.subTest(name):
                if text is None:
                    (self.folder / name).unlink()
                else:
                    self.write(name, text)
                line = f"scripts/test-windows was left out: {why}\n"
                status, said, _ = self.run_tests()
                self.assertEqual((status, said.endswith(line)), (77, True), said)
                self.assertEqual((self.folder / "build/windows-left-out").read_text(encoding="utf-8"), line)
                self.write(name, FILES[name])

    def test_say_that_packages_cannot_be_had(self):
        self.write("status", "unknown ok not-installed\n")
        self.write("network", "100")
        self.write("bin/sudo", '#!/bin/sh\nexec "$@"\n')
        status, said, _ = self.run_tests()
        self.assertEqual((status, said.splitlines()[-1]), (77, "scripts/test-windows was left out: its packages cannot be installed"))

    def test_fail_where_a_case_leaves_itself_out_in_ci(self):
        self.write("result.xml", '<testsuite><testcase name="B" status="run"><system-out>no time\r\n'
                                 "[  SKIPPED ] S.Two (0 ms)\r\n</system-out></testcase></testsuite>")
        for environment, due in (({}, 0), ({"CI": "true"}, 1)):
            with self.subTest(environment):
                status, said, _ = self.run_tests(**environment)
                self.assertEqual(status, due)
                self.assertIn("windows-mingw: 1 left out: no time\n    B: S.Two\n", said)

    def test_fail_without_networks_of_their_own(self):
        (self.folder / "adapters").unlink()
        status, said, _ = self.run_tests()
        self.assertEqual((status != 0, "closing line" in said), (True, False))

    def test_fail_where_a_program_of_the_package_does(self):
        self.replaced = ("windows/by-wine",)
        for program, line in (("host", "installed package works: yes"), ("tool", "korva 1.2.3"), ("plug-in", NOBODY)):
            with self.subTest(program):
                self.write("scripts/windows/by-wine", BY_WINE.replace(line, "crashed"))
                status, said, _ = self.run_tests()
                self.assertEqual(status, 1)
                self.assertTrue(said.endswith("closing line\n"), said)


if __name__ == "__main__":
    unittest.main()
