"""Tests of scripts/fuzz.py, whose folder is the argument, with programs that speak as libFuzzer does."""

import os
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv[-1])
SCRIPT = os.path.abspath(os.path.join(sys.argv.pop(), "fuzz.py"))
import fuzz

QUIET = """#!/bin/sh
printf '%s\\n' "$@" >arguments; echo "$ASAN_OPTIONS" >options
echo '#2	INITED cov: 10 ft: 20 corp: 1/1b'
echo '#9	NEW    cov: 12 ft: 30 corp: 2/2b'
echo 'stat::number_of_executed_units: 600'
"""
FINDING = QUIET + "for kind in crash slow-unit; do echo x >runs/B/findings/$kind-1; done; exit 77\n"


class Moments(unittest.TestCase):
    def after(self, *lines):
        progress = fuzz.Progress()
        for second, line in enumerate(lines, 1):
            progress.note(line, second)
        return progress.covered, progress.featured

    def test_new_coverage_is_more_than_there_was(self):
        lines = ["#1 INITED cov: 5 ft: 1", "#2 NEW cov: 5 ft: 2", "#3 NEW cov: 6 ft: 2", "#4 NEW cov: 6 ft: 3"]
        self.assertEqual(self.after(*lines), (3, 4))

    def test_what_the_corpus_had_is_nothing_new(self):
        self.assertEqual(self.after("#1 INITED cov: 5 ft: 1", "#8 pulse cov: 7 ft: 1", "cov: 9"), (None, None))


class Runs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        for name in ("Fuzz/Dictionaries", "Fuzz/Corpus", "programs"):
            os.makedirs(os.path.join(self.folder, name))
        self.write("Fuzz/Lengths", "AB 7\nA 4096\n")
        self.write("Fuzz/Dictionaries/A.dict", "")
        self.write("programs/A", QUIET)
        self.write("programs/B", FINDING)

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(path, 0o755)

    def read(self, name):
        with open(os.path.join(self.folder, name), encoding="utf-8") as file:
            return file.read()

    def run_targets(self, *targets, preset="fuzz", **environment):
        options = f"--minutes 3 --jobs 2 --preset {preset} --runs runs --programs programs".split()
        command = [sys.executable, "-B", SCRIPT, *options, *targets]
        environment = {**os.environ, **environment}
        return subprocess.run(command, capture_output=True, text=True, cwd=self.folder, env=environment, check=False)

    def test_say_what_came_of_them(self):
        result = self.run_targets("A")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        row = next(line for line in result.stdout.splitlines() if line.startswith("A "))
        self.assertEqual(row.split(), "A 600 600 10 -> 12 20 -> 30 0 0 0".split())
        figure = "figure: fuzzing A: 600 executions in 0 minutes, last new coverage after 0 minutes, 0 findings"
        self.assertEqual(result.stdout.splitlines()[-1], figure)
        self.assertIn("#9\tNEW", self.read("runs/A/log"))

    def test_go_on_from_the_totals_of_former_ones(self):
        self.write("runs/A/totals", "1000 7200 7000 60 120\n")
        figure = "A: 1600 executions in 120 minutes, last new coverage after 120 minutes, 0 findings"
        self.assertIn(figure, self.run_targets("A").stdout)
        self.assertEqual(self.read("runs/A/totals").split(), ["1600", "7200", "7000", "7200", "7200"])

    def test_without_news_keep_the_moments_of_former_ones(self):
        self.write("programs/A", "#!/bin/sh\necho '#2	INITED cov: 10 ft: 20'\n")
        self.write("runs/A/totals", "1000 7200 7000 60 180\n")
        row = next(line for line in self.run_targets("A").stdout.splitlines() if line.startswith("A "))
        self.assertEqual(row.split(), "A 0 0 10 -> 10 20 -> 20 119 117 0".split())

    def test_without_sanitizers_say_so(self):
        self.assertIn("figure: fuzzing A, without sanitizers: 600", self.run_targets("A", preset="fuzz-plain").stdout)

    def test_that_find_something_fail_but_all_are_run(self):
        result = self.run_targets("B", "A")
        self.assertEqual(result.returncode, 1)
        self.assertIn("something was found", result.stderr)
        self.assertIn("fuzzing B: 600 executions in 0 minutes, last new coverage after 0 minutes, 1 findings", result.stdout)
        self.assertIn("fuzzing A: 600 executions", result.stdout)

    def test_are_given_their_bounds(self):
        self.run_targets("A", ASAN_OPTIONS="a=b")
        arguments = self.read("arguments").split()
        expected = ["-max_total_time=180", "-dict=Fuzz/Dictionaries/A.dict", "-timeout=120"]
        expected += ["-malloc_limit_mb=256", "-rss_limit_mb=1024", "-artifact_prefix=runs/A/findings/"]
        self.assertLessEqual(set(expected), set(arguments))
        self.assertEqual([option for option in arguments if "max_len" in option], ["-max_len=4096"])
        self.assertEqual(arguments[-2:], ["runs/A/corpus", "Fuzz/Corpus/A"])
        self.assertEqual(self.read("options"), "quarantine_size_mb=1:malloc_context_size=1:a=b\n")


if __name__ == "__main__":
    unittest.main()
