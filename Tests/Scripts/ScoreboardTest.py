"""Tests of scripts/scoreboard.py, whose folder is the argument."""

import os
import sys
import tempfile
import unittest
import unittest.mock

sys.path.insert(0, sys.argv.pop())
import scoreboard


class Figures(unittest.TestCase):
    def test_are_found_among_other_lines(self):
        lines = ["figure: a: 1 of 2\n", "text figure: b: 3\n", "17: figure: c: 4: 5\n", "figure: without value\n"]
        self.assertEqual(scoreboard.figures_in(lines), [("a", "1 of 2"), ("c: 4", "5")])

    def test_that_are_said_again_count_as_said_last(self):
        self.assertEqual(scoreboard.figures_in(["figure: a: 1\n", "figure: a: 2\n"]), [("a", "2")])

    def test_of_ctest_do_not_count_skipped_tests_as_passed(self):
        lines = ["1/5 Test #1: x ...***Skipped 0.1 sec\n", "80% tests passed, 1 tests failed out of 5\n"]
        self.assertEqual(scoreboard.passed_tests(lines), [("tests passed", "3 of 5, 1 skipped on this system")])


class Programs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        scoreboard.LOGS = folder.name

    def run_shell(self, text, claims=("a",), before=()):
        program = scoreboard.Program("Title", "name", ["sh", "-c", text], list(claims), list(before))
        scoreboard.run(program)
        scoreboard.check_claims(program)
        return program

    def test_that_print_their_claims_have_no_problem(self):
        program = self.run_shell("echo 'figure: a: 1'")
        self.assertEqual((program.figures, program.problems), ([("a", "1")], []))

    def test_that_fail_are_a_problem_whatever_they_print(self):
        program = self.run_shell("echo 'figure: a: 1'; exit 3")
        self.assertEqual(len(program.problems), 1)
        self.assertIn("exit status 3", program.problems[0])

    def test_that_do_not_exist_are_a_problem(self):
        program = scoreboard.Program("Title", "name", ["/there/is/none"], [])
        scoreboard.run(program)
        self.assertIn("cannot be run", program.problems[0])

    def test_that_say_nothing_of_a_claim_are_a_problem(self):
        self.assertEqual(self.run_shell("echo 'figure: b: 1'").problems, ["no figure for 'a'"])

    def test_are_not_run_where_what_comes_before_fails(self):
        program = self.run_shell("echo 'figure: a: 1'", before=[["false"]])
        self.assertEqual(program.figures, [])
        self.assertIn("`false` failed", program.problems[0])

    def test_that_fail_say_so_in_the_document(self):
        program = self.run_shell("echo 'figure: b: 1'; exit 3")
        text = scoreboard.document("2026-01-02 03:04 UTC", "scripts/scoreboard 1", [program], [])
        self.assertIn("| b | 1 |", text)
        self.assertIn("| **not shown** | `sh -c echo 'figure: b: 1'; exit 3` failed with exit status 3 |", text)
        self.assertIn("| **not shown** | no figure for 'a' |", text)

    def test_are_in_the_document_as_soon_as_they_have_run(self):
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        os.mkdir("Docs")
        first = scoreboard.Program("First", "first", ["sh", "-c", "echo 'figure: a: 1'"], ["a"])
        second = scoreboard.Program("Second", "second", ["sh", "-c", "cat Docs/Reliability.md"], [])
        with unittest.mock.patch.object(scoreboard, "programs", lambda minutes: [first, second]):
            with unittest.mock.patch.object(sys, "argv", ["scoreboard", "1"]):
                self.assertEqual(scoreboard.main(), 0)
        with open(os.path.join(self.folder, "second.log"), encoding="utf-8") as log:
            seen = log.read()
        self.assertIn("| a | 1 |", seen)
        self.assertIn("| **not shown** | not run |", seen)
        with open("Docs/Reliability.md", encoding="utf-8") as final:
            self.assertNotIn("not shown", final.read())

    def test_divide_the_minutes(self):
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        for target in range(2 * os.cpu_count()):
            os.makedirs(f"Fuzz/Corpus/{target}")
        for minutes, soak, fuzz, attack in ((1, 1, 1, 1), (10, 4, 2, 1), (60, 24, 12, 6)):
            commands = [program.repeat() for program in scoreboard.programs(minutes)]
            self.assertIn(f"scripts/soak --minutes {soak}", commands)
            self.assertIn(f"env RUNS={self.folder}/fuzz scripts/fuzz {fuzz}", commands)
            for sanitizers in ("asan", "tsan"):
                self.assertIn(f"scripts/attack {sanitizers} --minutes {attack}", commands)


class SavedLogs(unittest.TestCase):
    def read(self, text):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "log")
            with open(path, "w", encoding="utf-8") as log:
                log.write(text)
            return scoreboard.read_log(path)

    def test_keep_their_own_date_and_command(self):
        saved = self.read("run: 2026-01-02 03:04 UTC: scripts/soak --minutes 60\nfigure: a: 1\n")
        self.assertEqual((saved.date, saved.command), ("2026-01-02 03:04 UTC", "scripts/soak --minutes 60"))
        text = scoreboard.document("2026-02-03 04:05 UTC", "scripts/scoreboard 1", [], [saved])
        self.assertIn("`scripts/soak --minutes 60`, 2026-01-02 03:04 UTC:", text)
        self.assertIn("| a | 1 |", text)

    def test_without_date_and_command_or_without_figures_are_refused(self):
        for text in ("figure: a: 1\n", "run: 2026-01-02 03:04 UTC: scripts/soak\n"):
            with self.assertRaises(ValueError):
                self.read(text)


if __name__ == "__main__":
    unittest.main()
