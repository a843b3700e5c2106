"""Tests of scripts/test, whose folder is the argument, around programs that only say what they were asked."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = os.path.abspath(sys.argv.pop())

PROGRAMS = {
    "dpkg-query": "echo install ok installed",
    "uname": "cat machine",
    "unshare": "",
    "cmake": 'echo "cmake $*" >>asked',
    "git": "echo a.cpp",
    "clang-format": "",
    "ctest": """echo "ctest $*" >>asked
while [ $# -gt 0 ]; do [ "$1" != --output-junit ] || cp result.xml "$2"; shift; done
echo '1/1 Test #1: A ...***Skipped'
echo '100% tests passed, 0 tests failed out of 1'
echo 'closing line'
exit $(cat status)""",
}
STEPS = {"scripts/check-install": "echo installed", "scripts/tidy.py": "print('tidy said')"}
SKIPPED = '<testsuite><testcase name="A" status="notrun"><skipped/><system-out>no luck</system-out></testcase></testsuite>'


class Script(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        shutil.copytree(SCRIPTS, self.folder / "scripts")
        for name in ("Tests/Console", "Tests/Support", "Fuzz"):
            self.write(f"{name}/CMakeLists.txt", "")
        for name, text in PROGRAMS.items():
            self.write(f"bin/{name}", f"#!/bin/sh\n{text}\n")
        self.write("result.xml", "<testsuite/>")
        self.write("status", "0")
        self.write("machine", "x86_64")
        self.write("os-release", "ID=debian\nVERSION_ID=12\n")

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)

    def run_script(self, *arguments, **environment):
        own = {name: value for name, value in os.environ.items() if name != "CI"}
        own.update(PATH=f"{self.folder}/bin:{os.environ['PATH']}", KORVA_OS_RELEASE=f"{self.folder}/os-release", **environment)
        command = [self.folder / "scripts/test", *arguments]
        result = subprocess.run(command, capture_output=True, text=True, env=own, check=False)
        return result.returncode, result.stdout, result.stderr

    def asked(self):
        path = self.folder / "asked"
        return path.read_text(encoding="utf-8").splitlines() if path.exists() else []

    def test_ends_with_what_was_left_out_and_then_the_closing_lines(self):
        self.write("result.xml", SKIPPED)
        status, said, _ = self.run_script("--quick")
        self.assertEqual(status, 0)
        end = "dev: 1 left out: no luck\n    A\ntests left out: 1\n\n100% tests passed, 0 tests failed out of 1\nclosing line\n"
        self.assertTrue(said.endswith(end), said)
        self.assertEqual(said.count("closing line"), 1)
        self.assertIn("1/1 Test #1", said)

    def test_says_that_the_tests_for_windows_were_left_out(self):
        nowhere = "it runs programs for x86_64, and this machine is none"
        for machine, older, why in (("x86_64", "no luck", "no luck"), ("aarch64", "", nowhere), ("aarch64", "no luck", nowhere)):
            with self.subTest(machine=machine, older=older):
                self.write("machine", machine)
                self.write("build/windows-left-out", older and f"scripts/test-windows was left out: {older}\n")
                status, said, _ = self.run_script("--quick")
                self.assertEqual(status, 0)
                self.assertIn(f"== Left out\nscripts/test-windows was left out: {why}\ntests left out", said)
                status, said, _ = self.run_script("--quick", CI="true")
                self.assertEqual((status, said.splitlines()[-1]), (1, "closing line"))

    def test_says_nothing_of_windows_where_its_tests_can_run(self):
        status, said, _ = self.run_script("--quick", CI="true")
        self.assertEqual((status, "test-windows" in said), (0, False))

    def test_leaves_the_room_windows_to_its_script(self):
        self.write("scripts/test-windows", "#!/bin/sh\necho by Wine\n")
        status, said, _ = self.run_script("Windows")
        self.assertEqual((status, said.splitlines()[-1]), (0, "by Wine"))
        self.assertEqual(self.asked(), [])

    def test_fails_in_ci_where_a_test_was_left_out(self):
        self.write("result.xml", SKIPPED)
        status, said, _ = self.run_script("--quick", CI="true")
        self.assertEqual(status, 1)
        self.assertTrue(said.endswith("closing line\n"), said)

    def test_fails_with_ctest(self):
        self.write("status", "8")
        self.assertEqual(self.run_script("--quick")[0], 8)

    def run_whole(self, steps=None, **environment):
        self.write("a.cpp", "")
        self.write(".clang-tidy", "")
        for name, text in {**STEPS, **(steps or {})}.items():
            self.write(name, f"#!/bin/sh\n{text}\n" if name.endswith("install") else text)
        return self.run_script(**environment)

    def test_runs_everything_and_ends_with_the_closing_lines(self):
        status, said, errors = self.run_whole()
        self.assertEqual((status, errors), (0, ""))
        steps = [f"{preset}: 100% tests passed" for preset in ("dev", "asan", "tsan")]
        for line in [*steps, "every file is formatted", "installed", "tidy said"]:
            self.assertEqual(said.count(line), 1, line)
        self.assertTrue(said.endswith("tests left out: 0\n\n100% tests passed, 0 tests failed out of 1\nclosing line\n"), said)
        tests = [line.split()[2] for line in self.asked() if line.startswith("ctest")]
        self.assertEqual(tests, ["dev", "asan", "tsan"])

    def test_fails_in_ci_where_a_sanitizers_test_was_left_out(self):
        self.write("result.xml", SKIPPED)
        status, said, _ = self.run_whole(CI="true")
        self.assertEqual((status, said.count("left out: no luck")), (1, 3))
        self.assertTrue(said.endswith("closing line\n"), said)

    def test_fails_with_each_of_its_steps(self):
        for step in ({"scripts/check-install": "exit 1"}, {"scripts/tidy.py": "print('tidy said'); exit(1)"}):
            with self.subTest(step):
                status, said, _ = self.run_whole(step)
                self.assertEqual(status, 1)
                self.assertFalse(said.endswith("closing line\n"), said)

    def test_fails_with_the_tests_of_each_preset_and_ends_with_their_closing_lines(self):
        passes = PROGRAMS["ctest"]
        for preset in ("dev", "asan", "tsan"):
            with self.subTest(preset):
                self.write("bin/ctest", f'#!/bin/sh\n[ "$2" != {preset} ] || echo 8 >status\n{passes}\n')
                self.write("status", "0")
                status, said, _ = self.run_whole()
                self.assertEqual(status, 1)
                self.assertIn(f"tests of the preset {preset} failed\n1/1 Test #1", said)
                self.assertTrue(said.endswith("closing line\n"), said)

    def test_of_a_room_builds_and_runs_no_more(self):
        for room, folder in (("Console", "Tests/Console"), ("Fuzz", "Fuzz")):
            with self.subTest(room):
                self.write("asked", "")
                self.assertEqual(self.run_script(room)[0], 0)
                _, build, test = self.asked()
                self.assertRegex(build, f"^cmake --build --preset dev .*--target {folder}/all$")
                self.assertRegex(test, f"^ctest --test-dir build/dev/{folder} ")

    def test_refuses_what_is_no_room_and_names_those_that_are(self):
        for room in ("Nowhere", "Support", ""):
            with self.subTest(room):
                status, _, said = self.run_script(room or "Console", *([] if room else ["Fuzz"]))
                self.assertEqual((status, self.asked()), (1, []))
                self.assertIn("Console Fuzz" if room else "usage", said)


if __name__ == "__main__":
    unittest.main()
