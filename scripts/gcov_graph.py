"""Reads the notes (.gcno) that g++ 12 and later write beside an object for gcov: which way each function can go.

gcov's own output does not tell code that only an exception reaches from other code; these graphs do. llvm-cov reads
the notes of g++ 4.8 at the latest, and clang's own counters would judge another compiler's build than the tests'.
"""

import collections
import os
import struct

FUNCTION, BLOCKS, ARCS, LINES = 0x01000000, 0x01410000, 0x01430000, 0x01450000
FAKE, FALLTHROUGH = 2, 4


class _Reader:
    def __init__(self, data):
        self.data = data
        self.at = 0

    def number(self):
        self.at += 4
        return struct.unpack_from("<I", self.data, self.at - 4)[0]

    def text(self):
        length = self.number()
        self.at += length
        return self.data[self.at - length : self.at].rstrip(b"\0").decode()


class Function:
    """The blocks of one function, each with its ways out."""

    def __init__(self, name, source):
        self.name = name
        self.source = source
        self.block_count = 0
        self.arcs = collections.defaultdict(list)  # block: [(block, flags)]
        self.lines = {}  # block: (file, line) of its last line
        self._decisions = None

    def _ways(self, block):
        return [(to, flags) for to, flags in self.arcs[block] if not flags & FAKE]

    def _is_call(self, block):
        """A call that need not come back has a fake arc; its arcs but the fall-through are for exceptions."""
        return any(flags & FAKE for _, flags in self.arcs[block])

    def _without_exception(self):
        """The blocks that are reached although nothing is thrown."""
        reached, to_visit = set(), [0]
        while to_visit:
            block = to_visit.pop()
            if block in reached:
                continue
            reached.add(block)
            is_call = self._is_call(block)
            to_visit += [to for to, flags in self._ways(block) if not is_call or flags & FALLTHROUGH]
        return reached

    def decisions(self):
        """{(file, line): [(ways out, is a call's, is reached only by an exception)]}, in gcov's order."""
        if self._decisions is not None:
            return self._decisions
        reached = self._without_exception()
        found = collections.defaultdict(list)
        line = None
        for block in range(self.block_count):
            line = self.lines.get(block, line)
            ways = self._ways(block)
            # Neither where a function begins nor where it ends is part of a line.
            if line and len(ways) > 1 and block > 1:
                found[line].append((len(ways), self._is_call(block), block not in reached))
        self._decisions = found
        return found


def read_notes(path):
    """The functions in a notes file, by their mangled names."""
    with open(path, "rb") as notes:
        reader = _Reader(notes.read())
    if reader.number() != 0x67636E6F:
        raise ValueError(f"{path} is not made by gcov's compiler")
    version = reader.number()
    if (version >> 24) < ord("B") or ((version >> 24) == ord("B") and (version >> 16 & 0xFF) < ord("2")):
        raise ValueError(f"{path} is older than this script understands")
    reader.number(), reader.number()
    reader.text()
    reader.number()
    functions, current = {}, None
    while reader.at + 8 <= len(reader.data):
        tag, length = reader.number(), reader.number()
        end = reader.at + length
        if tag == FUNCTION:
            reader.at += 12
            name = reader.text()
            reader.number()
            current = functions.setdefault(name, Function(name, reader.text()))
        elif tag == BLOCKS:
            current.block_count = reader.number()
        elif tag == ARCS:
            source = reader.number()
            while reader.at < end:
                current.arcs[source].append((reader.number(), reader.number()))
        elif tag == LINES:
            _read_lines(reader, end, current)
        reader.at = end
    return functions


def _read_lines(reader, end, function):
    block, file = reader.number(), None
    while reader.at < end:
        line = reader.number()
        if line:
            former = function.lines.get(block)
            # gcov takes the last line in the file, not the last in time.
            if former is None or former[0] != file or former[1] < line:
                function.lines[block] = (file, line)
        else:
            name = reader.text()
            file = os.path.normpath(name) if name else file  # as a compiler cache may leave a/../b
