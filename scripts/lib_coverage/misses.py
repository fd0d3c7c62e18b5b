"""The known misses: read from a list, compared with what a run missed."""

import collections
import re

# How a list looks:
#   src/infra/oss/kelThing.cpp
#       branch 1: if (first || second) {
#           The reason, on as many lines as it takes.
# "any" in place of the number stands for what one machine misses and another does not.
ENTRY = re.compile(r" {4}([a-z]+) ([1-9][0-9]*|any): (.+)")
ANY = 0


class Entry:
    """COUNT misses of one kind in lines of this text, and why they are not reached."""

    def __init__(self, kind, count, place):
        self.kind = kind
        self.count = count
        self.place = place
        self.reason = ""


def read(path, kinds):
    """The entries of a list; what has no file, no reason or another kind ends the program."""
    entries, file = [], None
    for number, line in enumerate(path.read_text().splitlines(), 1):
        match = ENTRY.fullmatch(line)
        if not line or line.startswith("#"):
            continue
        if not line.startswith(" "):
            file = line
        elif line.startswith(" " * 8) and entries:
            entries[-1].reason += line.strip()
        elif match and match[1] in kinds and file:
            count = ANY if match[2] == "any" else int(match[2])
            entries.append(Entry(match[1], count, (file, match[3])))
        else:
            raise SystemExit(f"{path}:{number}: not an entry: {line}")
    for entry in entries:
        if not entry.reason:
            raise SystemExit(f"{path}: no reason for {entry.place[1]}")
    return entries


class Source:
    """The text of source lines, as the lists name them."""

    def __init__(self, root):
        self.root = root
        self.files = {}

    def lines(self, file):
        if file not in self.files:
            self.files[file] = (self.root / file).read_text().splitlines()
        return self.files[file]

    def place(self, file, number):
        return file, self.lines(file)[number - 1].strip()

    def text(self, place):
        """What stands at a place of one line."""
        line = self.lines(place.file)[place.line - 1]
        return line[place.column - 1:place.last_column - 1] if place.line == place.last_line else ""


def compare(entries, missed, source):
    """Complaints about misses that no entry names, and about entries that name too many.

    missed: (file, line number) -> a description of each miss."""
    found, lines = collections.defaultdict(list), collections.defaultdict(list)
    for (file, number), descriptions in sorted(missed.items()):
        found[source.place(file, number)] += descriptions
        lines[source.place(file, number)].append(str(number))
    listed = collections.Counter()
    for entry in entries:
        listed[entry.place] += entry.count
    by_machine = {entry.place for entry in entries if entry.count == ANY}
    complaints = []
    for place in sorted((found.keys() | listed.keys()) - by_machine):
        if len(found[place]) != listed[place]:
            at = ",".join(lines[place])
            complaints.append(f"{place[0]}:{at}: {place[1]}\n    missed {len(found[place])}, "
                              f"listed {listed[place]}: {'; '.join(found[place])}")
    return complaints
