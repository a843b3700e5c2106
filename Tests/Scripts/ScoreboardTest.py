"""Tests of scripts/scoreboard.py and its page; the folder of both is the argument."""

import json
import os
import sys
import tempfile
import unittest
import unittest.mock

SCRIPTS = sys.argv.pop()
sys.path.insert(0, SCRIPTS)
import scoreboard
import scoreboard_page


def board_of(*programs, longer=()):
    head = {"date": "2026-01-02 03:04 UTC", "command": "scripts/scoreboard 1", "machine": "2 cores"}
    return {**head, "programs": [program.record() for program in programs], "longer": list(longer)}


def program_with(name, figures, problems=()):
    program = scoreboard.Program(name.title(), name, ["run", name], [])
    program.figures, program.problems = list(figures.items()), list(problems)
    return program


def row_of(text, claim):
    return next(line for line in text.splitlines() if f"| {claim}" in line).split(" | ")


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

    def test_that_fail_say_so_on_the_page(self):
        program = self.run_shell("echo 'figure: b: 1'; exit 3")
        text = scoreboard_page.page(board_of(program))
        self.assertIn("- Title: `sh -c echo 'figure: b: 1'; exit 3` failed with exit status 3\n", text)
        self.assertIn("- Title: no figure for 'a'\n", text)

    def test_are_on_the_page_and_among_the_figures_as_soon_as_they_have_run(self):
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        os.mkdir("Docs")
        claim, figure = "median capture time of 15 cameras", "1.1 (at most 1.2)"
        first = scoreboard.Program("First", "bench", ["echo", f"figure: {claim}: {figure}"], ["time"])
        second = scoreboard.Program("Second", "second", ["sh", "-c", "cat Docs/*"], [])
        with unittest.mock.patch.object(scoreboard, "programs", lambda minutes: [first, second]):
            with unittest.mock.patch.object(sys, "argv", ["scoreboard", "1"]):
                self.assertEqual(scoreboard.main(), 0)
        with open(os.path.join(self.folder, "second.log"), encoding="utf-8") as log:
            seen = log.read()
        self.assertIn(f'"{claim}": "{figure}"', seen)
        self.assertIn("| 1.1 (at most 1.2) | holds |", seen)
        self.assertIn("- Second: not run\n", seen)
        with open("Docs/Reliability.md", encoding="utf-8") as final:
            self.assertNotIn("not run", final.read())

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
        self.assertEqual(saved, {"date": "2026-01-02 03:04 UTC", "command": "scripts/soak --minutes 60", "figures": {"a": "1"}})

    def test_without_date_and_command_or_without_figures_are_refused(self):
        for text in ("figure: a: 1\n", "run: 2026-01-02 03:04 UTC: scripts/soak\n"):
            with self.assertRaises(ValueError):
                self.read(text)


SOAK = {
    "soak: length": "60 minutes, seed 1",
    "soak: captures": "4000",
    "soak: findings": "0",
    "soak: not judged, as the machine was busy": "0",
    "soak: answers too late for a search": "0",
    "soak: heap in use, first third to last": "10.5 to 74.5 KiB",
    "soak: resident, first third to last": "100 to 4196 KiB",
    "soak: descriptors, first third to last": "9 to 9 open",
    "soak: threads, first third to last": "1 to 1 alive",
}
IN_TURN = {f"{failure}, search": "2" for failure in scoreboard.FAILED_IN_TURN}
# Program, beginning of its claim, figures that hold, what is shown of them, and figures that do not hold.
CLAIMS = [
    (
        "tests",
        "Every test",
        {"tests passed": "3 of 3"},
        "3 of 3",
        [{"tests passed": "3 of 4"}, {"tests passed": "3 of 4, 1 skipped on this system"}],
    ),
    (
        "tests",
        "A camera's fault",
        {
            "fault matrix, cells checked": "900",
            "fault cells checked over real sockets": "100",
            "ops held to their time bound": "7",
        },
        "1,000 cells, 7 operations in time",
        [{"ops held to their time bound": "0"}],
    ),
    (
        "tests",
        "Each allocation",
        IN_TURN,
        "2 allocations, 2 calls of the system, 2 of the host",
        [{"system calls failed once in turn, search": "0"}],
    ),
    (
        "tests",
        "Peak memory",
        {"peak memory, a": "1.5 MB, at most 16.0 MB", "peak memory, b": "3.0 MB, at most 3.0 MB"},
        "3.0 MB (at most 3.0 MB)",
        [{"peak memory, a": "16.1 MB, at most 16.0 MB"}],
    ),
    (
        "attack-asan",
        "Cameras that lie",
        {"attack, asan: rounds": "9", "attack, asan: findings": "0"},
        "9 rounds, 0 findings",
        [{"attack, asan: findings": "1"}],
    ),
    (
        "decoders",
        "Drawn PNG",
        {"PNG files against libpng": "5 files, of which 4 are pictures, none read differently"},
        "5 files, none read differently",
        [],
    ),
    (
        "memcheck",
        "Unit tests",
        {"unit tests under memcheck": "5 in 2 programs"},
        "5 tests in 2 programs",
        [{"unit tests under memcheck": "0 in 2 programs"}],
    ),
    ("soak", "Soak: wrong", SOAK, "0 in 60 min, 4,000 captures", [{name: "1"} for name in list(SOAK)[2:5]]),
    (
        "soak",
        "Soak: growth",
        SOAK,
        "+64.0 KiB, +4096 KiB, +0, +0",
        [
            {"soak: heap in use, first third to last": "10 to 74.5 KiB"},
            {"soak: resident, first third to last": "100 to 4197 KiB"},
            {"soak: descriptors, first third to last": "9 to 10 open"},
            {"soak: threads, first third to last": "1 to 2 alive"},
        ],
    ),
    (
        "fuzz",
        "Fuzzing",
        {"fuzzing A": "2000000 executions in 1 minutes, 0 findings"},
        "2 million in 1 targets, 0 findings",
        [{"fuzzing A": "2 executions, 1 findings"}],
    ),
    (
        "tests",
        "Search of 64",
        {"search of 64 cameras on 8 adapters": "5.1 s, at most 5.1 s on an idle machine"},
        "5.1 (at most 5.1)",
        [{"search of 64 cameras on 8 adapters": "5.2 s, at most 5.1 s on an idle machine"}],
    ),
    (
        "bench",
        "Time of a whole",
        {
            "whole capture over loopback": "ratio 2.81 to a receive, at most 2.875",
            "whole capture over loopback, freed memory given back": "ratio 2.5 to a receive, at most 2.6",
            "checksum": "ratio 0.35 to memcpy, at most 0.805",
        },
        "2.81 (at most 2.875)",
        [
            {"whole capture over loopback": "ratio 2.81 to a receive, at most 2.50"},
            {"checksum": "ratio 0.81 to memcpy, at most 0.805"},
        ],
    ),
    (
        "bench",
        "Time of 15",
        {"median capture time of 15 cameras": "1.100 (at most 1.15)"},
        "1.100 (at most 1.15)",
        [{"median capture time of 15 cameras": "1.151 (at most 1.15) OVER"}],
    ),
    (
        "coverage",
        "Coverage",
        {"line coverage of the plug-in": "95.0 %", "branch coverage of the plug-in": "90.0 %"},
        "95.0 %, 90.0 %",
        [{"line coverage of the plug-in": "94.9 %"}, {"branch coverage of the plug-in": "89.9 %"}],
    ),
    (
        "coverage",
        "Branches",
        {"branches of the readers": "7 of 8 covered, 1 lines out of reach"},
        "7 of 8, 1 lines listed",
        [{"branches of the readers": "7 of 8 covered, 0 lines out of reach"}],
    ),
]


class Claims(unittest.TestCase):
    def result(self, name, claim, figures, problems=()):
        """Figure and verdict."""
        cells = row_of(scoreboard_page.page(board_of(program_with(name, figures, problems))), claim)
        return cells[-2], cells[-1].removesuffix(" |")

    def test_are_all_tried_here(self):
        texts = [claim.text for claim in scoreboard_page.CLAIMS]
        self.assertEqual([text.startswith(tried[1]) for text, tried in zip(texts, CLAIMS, strict=True)], [True] * len(texts))

    def test_hold_within_their_bounds(self):
        for name, claim, figures, shown, _ in CLAIMS:
            self.assertEqual(self.result(name, claim, figures), (shown, "holds"))

    def test_do_not_hold_beyond_the_bound_that_is_shown(self):
        for name, claim, figures, _, worse in CLAIMS:
            for change in worse:
                self.assertEqual(self.result(name, claim, {**figures, **change})[1], "**does not hold**", change)

    def test_do_not_hold_if_their_program_failed(self):
        for name, claim, figures, shown, _ in CLAIMS:
            self.assertEqual(self.result(name, claim, figures, ["failed"]), (shown, "**does not hold**"))

    def test_are_not_measured_without_each_of_their_figures(self):
        for name, claim, _, _, _ in CLAIMS:
            self.assertEqual(self.result(name, claim, {}), ("–", "not measured yet"))
        for name in SOAK:
            left = {other: value for other, value in SOAK.items() if other != name}
            self.assertIn("–", [self.result("soak", "Soak: wrong", left)[0], self.result("soak", "Soak: growth", left)[0]], name)

    def test_are_not_measured_by_a_figure_without_its_bound(self):
        figures = {"peak memory, a": "1.5 MB, at most 16.0 MB", "peak memory, b": "3.0 MB"}
        self.assertEqual(self.result("tests", "Peak memory", figures), ("–", "not measured yet"))

    def test_are_not_measured_by_a_program_that_was_not_run(self):
        for name, claim, figures, _, _ in CLAIMS:
            self.assertEqual(self.result(name, claim, figures, ["not run"]), ("–", "not measured yet"))

    def test_name_a_stage_that_is_over_its_bound(self):
        figures = {"whole capture over loopback": "ratio 2 to a receive, at most 3", "checksum": "ratio 2 to memcpy, at most 1"}
        self.assertEqual(self.result("bench", "Time of a whole", figures)[0], "2 (at most 3); over: checksum")


class Page(unittest.TestCase):
    def longer(self, *runs):
        return [{"date": f"2026-01-0{day} 00:00 UTC", "command": "x", "figures": figures} for day, figures in runs]

    def test_has_longer_runs_in_a_column_of_their_own(self):
        logs = self.longer((2, SOAK), (1, {**SOAK, "soak: findings": "1"}))
        text = scoreboard_page.page(board_of(program_with("soak", SOAK), longer=logs))
        self.assertEqual(row_of(text, "Soak: wrong")[3:], ["0 in 60 min, 4,000 captures"] * 2 + ["holds |"])
        self.assertIn("- **B**: 2 longer runs of single programs, 2026-01-01 00:00 UTC to 2026-01-02 00:00 UTC;\n", text)

    def test_counts_the_longest_run_of_a_target_and_the_findings_of_all(self):
        logs = [(1, {"fuzzing A": "9000000 executions, 1 findings"}), (2, {"fuzzing A": "4000000 executions, 0 findings"})]
        text = scoreboard_page.page(board_of(program_with("fuzz", {}), longer=self.longer(*logs)))
        self.assertEqual(row_of(text, "Fuzzing")[3:], ["–", "9 million in 1 targets, 1 findings", "**does not hold** |"])

    def test_says_how_each_claim_is_repeated(self):
        text = scoreboard_page.page(board_of(program_with("bench", {})))
        self.assertIn("| 12, 13 | `run bench` |\n", text)

    def test_is_short_whatever_went_wrong(self):
        names = sorted({name for claim in scoreboard_page.CLAIMS for name in claim.programs})
        programs = [program_with(name, {}, ["x" * 1000] * 5) for name in names]
        text = scoreboard_page.page(board_of(*programs, longer=self.longer((1, SOAK), (2, SOAK))))
        self.assertLessEqual(len(text.splitlines()), 60)
        self.assertEqual([line for line in text.splitlines() if len(line) > 100 and not line.startswith("|")], [])
        self.assertIn(f"- {5 * len(names) - 8} more, in the figures' file.\n", text)

    def test_of_the_repository_is_what_its_figures_say(self):
        docs = os.path.join(SCRIPTS, os.pardir, "Docs")
        with open(os.path.join(docs, "Reliability-figures.json"), encoding="utf-8") as text:
            board = json.load(text)
        with open(os.path.join(docs, "Reliability.md"), encoding="utf-8") as text:
            self.assertEqual(text.read(), scoreboard_page.page(board))

    def test_is_written_anew_from_its_figures_and_from_logs_each_once(self):
        self.addCleanup(os.chdir, os.getcwd())
        with tempfile.TemporaryDirectory() as folder:
            os.chdir(folder)
            os.mkdir("Docs")
            board = board_of(program_with("soak", SOAK))
            scoreboard.write(board)
            os.remove(scoreboard.DOCUMENT)
            with open("log", "w", encoding="utf-8") as log:
                log.write("run: 2026-01-02 03:04 UTC: scripts/attack asan\nfigure: attack, asan: findings: 0\n")
            arguments = ["scoreboard", "--page", "--from", "log"]
            with unittest.mock.patch.object(scoreboard, "programs", lambda minutes: []):
                for given in (arguments[:2], arguments, arguments):
                    with unittest.mock.patch.object(sys, "argv", given):
                        self.assertEqual(scoreboard.main(), 0)
                    with open(scoreboard.DOCUMENT, encoding="utf-8") as text:
                        self.assertEqual(text.read(), scoreboard_page.page(board))
                    board["longer"] = [scoreboard.read_log("log")]
            os.chdir(os.sep)


if __name__ == "__main__":
    unittest.main()
