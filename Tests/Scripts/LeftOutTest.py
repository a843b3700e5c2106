"""Tests of scripts/left_out.py, whose folder is the argument, on what ctest itself writes."""

import contextlib
import io
import os
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv.pop())
import left_out

NO_NETWORKS = "This system does not let its users make network namespaces."
INSTRUMENTED = "An instrumented build does without."


def case(name, why=""):
    """What GoogleTest prints of a case that passed, or skipped itself."""
    skipped = f"x.cpp:36: Skipped\n{why}\n\n[  SKIPPED ] {name} (0 ms)\n" if why else f"[       OK ] {name} (0 ms)\n"
    return f"[ RUN      ] {name}\n{skipped}"


class LeftOut(unittest.TestCase):
    def run_ctest(self, *tests):
        """The file that ctest writes of tests: name, output, exit status and further properties of each."""
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        with open(os.path.join(folder.name, "CTestTestfile.cmake"), "w", encoding="utf-8") as text:
            for name, output, status, *properties in tests:
                text.write(f"add_test([=[{name}]=] sh -c [=[printf '%s' '{output}'; exit {status}]=])\n")
                settings = " ".join(["SKIP_RETURN_CODE 77", *properties])
                text.write(f"set_tests_properties([=[{name}]=] PROPERTIES {settings})\n")
        path = os.path.join(folder.name, "dev-tests.xml")
        command = ["ctest", "--output-junit", path, "--test-output-size-passed", "1000000"]
        subprocess.run(command, cwd=folder.name, capture_output=True, check=True)
        return path

    def found(self, *tests):
        return dict(left_out.read(self.run_ctest(*tests)))

    def test_is_nothing_where_all_ran(self):
        self.assertEqual(self.found(("A", case("S.One"), 0)), {})

    def test_is_a_test_that_ctest_skipped_with_the_last_thing_it_said(self):
        self.assertEqual(self.found(("A", f"first\n{NO_NETWORKS}\n", 77)), {NO_NETWORKS: ["A"]})

    def test_is_a_case_that_skipped_itself_named_once(self):
        skips = 'SKIP_REGULAR_EXPRESSION "SKIPPED"'
        self.assertEqual(self.found(("S.One", case("S.One", "no luck"), 0, skips)), {"no luck": ["S.One"]})

    def test_is_each_case_that_skipped_itself_within_a_program_that_passed(self):
        output = case("S.One", "no luck") + "x" * 5000 + "\n" + case("S.Two") + case("S.Three", "no luck")
        end = "[  SKIPPED ] 2 tests, listed below:\n[  SKIPPED ] S.One\n[  SKIPPED ] S.Three\n"
        self.assertEqual(self.found(("A", output + end, 0)), {"no luck": ["A: S.One", "A: S.Three"]})

    def test_is_a_test_that_was_disabled(self):
        self.assertEqual(self.found(("A", "", 0, "DISABLED ON")), {"disabled": ["A"]})

    def judge(self, environment, *tests):
        with contextlib.redirect_stdout(io.StringIO()) as said, contextlib.redirect_stderr(io.StringIO()):
            status = left_out.main([self.run_ctest(*tests)], environment)
        return status, said.getvalue()

    def test_is_counted_and_named_with_its_reason(self):
        status, said = self.judge({}, ("A", NO_NETWORKS, 77), ("B", NO_NETWORKS, 77))
        self.assertEqual(said, f"dev: 2 left out: {NO_NETWORKS}\n    A\n    B\ntests left out: 2\n")
        self.assertEqual(status, 0)

    def test_is_a_failure_in_ci_but_where_an_instrumented_build_cannot_judge(self):
        for why, status in ((NO_NETWORKS, 1), (INSTRUMENTED, 0)):
            with self.subTest(why):
                self.assertEqual(self.judge({"CI": "true"}, ("A", case("S.One", why), 0))[0], status)


if __name__ == "__main__":
    unittest.main()
