"""Lines and branches, from the report of gcovr in JSON."""

import collections
import json


class Lines:
    def __init__(self, path):
        self.lines = self.branches = 0
        self.missed_lines = collections.Counter()
        self.missed_branches = collections.Counter()
        for file in json.loads(path.read_text())["files"]:
            for line in file["lines"]:
                self.add((file["file"], line["line_number"]), line)

    def add(self, place, line):
        if line.get("gcovr/noncode"):
            return
        self.lines += 1
        if line["count"] == 0:
            self.missed_lines[place] += 1
        # What follows a call that throws is no decision of the source.
        branches = [branch for branch in line["branches"] if not branch["throw"]]
        self.branches += len(branches)
        missed = sum(branch["count"] == 0 for branch in branches)
        if missed:
            self.missed_branches[place] += missed
