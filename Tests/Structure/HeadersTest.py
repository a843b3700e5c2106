"""Each header includes what it uses of the standard library itself; the repository's folder is the argument.

That it compiles is not enough: another header may stop including what this one leans on.
"""

import pathlib
import re
import subprocess
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop())

# By header: names that it alone gives, as far as headers here use them.
NAMES = {
    "array": "array",
    "atomic": "atomic",
    "chrono": "chrono",
    "condition_variable": "condition_variable",
    "cstddef": "byte nullptr_t ptrdiff_t size_t",
    "cstdint": "int16_t int32_t int64_t int8_t intptr_t uint16_t uint32_t uint64_t uint8_t uintptr_t",
    "deque": "deque",
    "filesystem": "filesystem",
    "fstream": "ifstream ofstream",
    "functional": "function",
    "initializer_list": "initializer_list",
    "limits": "numeric_limits",
    "list": "list",
    "map": "map multimap",
    "memory": "make_shared make_unique shared_ptr unique_ptr weak_ptr",
    "mutex": "lock_guard mutex scoped_lock unique_lock",
    "new": "bad_alloc nothrow",
    "optional": "nullopt optional",
    "regex": "regex",
    "set": "multiset set",
    "span": "span",
    "sstream": "istringstream ostringstream stringstream",
    "stdexcept": "invalid_argument logic_error out_of_range runtime_error",
    "string": "getline stoi stoul string to_string u8string wstring",
    "string_view": "string_view wstring_view",
    "thread": "thread",
    "tuple": "tie tuple",
    "utility": "exchange forward move pair swap",
    "variant": "variant visit",
    "vector": "vector",
}
HEADER_OF = {name: header for header, names in NAMES.items() for name in names.split()}


def leaned_on(text):
    """The headers that a header's text uses and does not include."""
    included = set(re.findall(r"^#include <(\w+)>", text, re.MULTILINE))
    code = re.sub(r"//.*", "", text)
    used = {HEADER_OF[name] for name in re.findall(r"\bstd::(\w+)", code) if name in HEADER_OF}
    return sorted(used - included)


class Headers(unittest.TestCase):
    def test_include_what_they_use(self):
        command = ["git", "-C", str(ROOT), "ls-files", "--cached", "--others", "--exclude-standard", "*.h"]
        headers = subprocess.run(command, capture_output=True, text=True, check=True).stdout.split()
        self.assertGreater(len(headers), 100)
        for header in headers:
            with self.subTest(header):
                self.assertEqual(leaned_on((ROOT / header).read_text(encoding="utf-8")), [])


class Rule(unittest.TestCase):
    def test_finds_a_name_whose_header_is_not_included(self):
        text = "#include <string>\nstd::string a(std::size_t b, std::vector<int> c);\n"
        self.assertEqual(leaned_on(text), ["cstddef", "vector"])

    def test_reads_no_comments(self):
        self.assertEqual(leaned_on("// a std::vector\n"), [])


if __name__ == "__main__":
    unittest.main()
