"""Tests of scripts/coverage_report.py, whose folder is the argument."""

import contextlib
import io
import os
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv.pop())
import coverage_report


CALL, DECISION, CLEANUP = (2, True, False), (2, False, False), (2, False, True)  # as a graph tells them


def branches(*counts):
    return [{"count": count} for count in counts]


class Decisions(unittest.TestCase):
    def test_a_call_that_may_throw_is_none(self):
        self.assertEqual(coverage_report.decisions(branches(3, 0, 0, 0), [CALL, CALL], False), [])

    def test_an_if_between_calls_has_two_ways(self):
        ways = [CALL, DECISION, CALL]
        self.assertEqual(coverage_report.decisions(branches(1, 0, 2, 0, 1, 0), ways, False), [2, 0])

    def test_a_switch_has_all_its_ways(self):
        self.assertEqual(coverage_report.decisions(branches(1, 0, 5), [(3, False, False)], False), [1, 0, 5])

    def test_a_test_on_the_way_of_an_exception_is_none_but_in_a_handler(self):
        self.assertEqual(coverage_report.decisions(branches(1, 0), [CLEANUP], False), [])
        self.assertEqual(coverage_report.decisions(branches(1, 0), [CLEANUP], True), [1, 0])

    def test_of_handlers_are_those_between_their_braces(self):
        code = ["try {", "    a();", "} catch (const X& x) {", "    b();", "", "    c();", "} catch (...) {", "}", "d();"]
        self.assertEqual(coverage_report.handler_lines(code), {4, 5, 6})


class Graph:
    """Of a function whose line 2 has one decision."""

    def decisions(self):
        return {("f.cpp", 2): [DECISION]}


class Reports(unittest.TestCase):
    CODE = "int f(int i) {\n    if (i == 1)\n        return 2;\n    return 3;\n}\n"

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.path = os.path.join(self.folder.name, "f.cpp")
        with open(self.path, "w", encoding="utf-8") as text:
            text.write(self.CODE)
        self.source = coverage_report.Source(self.path)

    def count(self, taken, not_taken, name="f", column=1, file="f.cpp"):
        ran = taken + not_taken
        function = {"name": name, "start_line": 1, "start_column": column, "execution_count": ran}
        lines = [(1, ran, []), (2, ran, branches(taken, not_taken)), (3, taken, []), (4, not_taken, [])]
        self.source.add(
            {
                "file": file,
                "functions": [function],
                "lines": [
                    {"line_number": number, "count": count, "branches": ways, "function_name": name}
                    for number, count, ways in lines
                ],
            },
            {name: Graph()},
        )

    def check(self, exceptions=None):
        """The complaints about the file, were it the only reader."""
        report = coverage_report.Report({"f.cpp": self.source}, exceptions or {})
        former, coverage_report.READERS = coverage_report.READERS, {"readers": ["f.cpp"]}
        try:
            with contextlib.redirect_stdout(io.StringIO()) as self.output:
                found = report.print_missing()
                report.check_totals()
                report.check_readers(found)
                report.check_exceptions(found)
        finally:
            coverage_report.READERS = former
        return report.complaints

    def test_has_nothing_to_say_where_all_is_covered(self):
        self.count(1, 1)
        self.assertEqual(self.check(), [])
        self.assertIn("figure: line coverage of the plug-in: 100.0 %", self.output.getvalue())
        self.assertIn("figure: branch coverage of the plug-in: 100.0 %", self.output.getvalue())

    def test_knows_a_file_by_any_of_its_names(self):
        self.count(1, 0, file="folder/../f.cpp")
        self.assertEqual(self.source.missing(), {2: [0, 1], 4: [1, 0]})

    def test_counts_the_copies_of_a_function_as_one(self):
        self.count(1, 0, "f<int>")
        self.count(0, 1, "f<long>")
        self.assertEqual(self.source.missing(), {})

    def test_does_not_take_another_function_on_the_same_line_for_a_copy(self):
        self.count(1, 0)
        self.count(1, 1, "f::lambda", column=9)
        self.assertEqual(self.source.missing(), {2: [0, 1]})

    def test_does_not_count_a_copy_that_never_ran_beside_one_that_did(self):
        self.count(1, 1, "sse2::f")
        self.count(0, 0, "avx3::f")
        self.assertEqual(self.source.missing(), {})

    def test_complains_of_too_little_and_of_what_a_reader_lacks(self):
        self.count(1, 0)
        complaints = "\n".join(self.check())
        self.assertIn("line coverage is 75.0 %", complaints)
        self.assertIn("branch coverage is 50.0 %", complaints)
        self.assertIn("f.cpp: 1 branch not covered and not listed: if (i == 1)", complaints)
        self.assertIn("f.cpp: 1 line not covered and not listed: return 3;", complaints)

    def test_accepts_what_is_listed(self):
        self.count(1, 0)
        listed = {("f.cpp", "if (i == 1)"): ("1 branch", "why"), ("f.cpp", "return 3;"): ("1 line", "why")}
        self.assertFalse([c for c in self.check(listed) if "coverage is" not in c])

    def test_refuses_an_exception_that_is_none(self):
        for name, listed, complaint in (
            ("covered", {("f.cpp", "if (i == 1)"): ("1 branch", "why")}, "covered after all"),
            ("gone", {("f.cpp", "if (i == 2)"): ("1 branch", "why")}, "no such line"),
            ("elsewhere", {("g.cpp", "if (i == 1)"): ("1 branch", "why")}, "no such line"),
        ):
            with self.subTest(name):
                self.source = coverage_report.Source(self.path)
                self.count(1, 1)
                self.assertIn(complaint, "\n".join(self.check(listed)))

    def test_refuses_an_exception_that_says_something_else_or_gives_no_reason(self):
        for said, reason, complaint in (("2 branches", "why", "but it is 1 branch"), ("1 branch", "", "no reason")):
            with self.subTest(complaint):
                self.source = coverage_report.Source(self.path)
                self.count(1, 0)
                self.assertIn(complaint, "\n".join(self.check({("f.cpp", "if (i == 1)"): (said, reason)})))

    def test_reads_the_list_of_exceptions(self):
        path = os.path.join(self.folder.name, "list")
        with open(path, "w", encoding="utf-8") as text:
            text.write("# a comment\n\nf.cpp: if (a: b)\n    1 branch\n    A reason\n    of two lines.\n")
        self.assertEqual(
            coverage_report.read_exceptions(path), {("f.cpp", "if (a: b)"): ("1 branch", "A reason of two lines.")}
        )


if __name__ == "__main__":
    unittest.main()
