"""Lines and branches, from the report of gcovr in JSON."""

import json
import re

# Sources whose functions gcc puts into every caller. It counts their branches once for each of these
# places, hundreds of times for one branch of the source, so only their lines count here; their outcomes
# count in scripts/conditions.
COPIED = re.compile(r".*/(kelAvx2\w*\.h|kelKernelsAvx\w+\.cpp|kel(CodePageName|ShortText|Transcode|UTF8Iterator)\.h)")


class Lines:
    def __init__(self, path):
        self.lines = self.branches = 0
        self.missed_lines = {}  # (file, line number) -> a description of each miss
        self.missed_branches = {}
        for file in json.loads(path.read_text())["files"]:
            for line in file["lines"]:
                self.add((file["file"], line["line_number"]), line)

    def add(self, place, line):
        if line.get("gcovr/noncode"):
            return
        self.lines += 1
        if line["count"] == 0:
            self.missed_lines[place] = ["line"]
        if COPIED.fullmatch(place[0]):
            return
        # What follows a call that throws is no decision of the source.
        branches = [branch for branch in line["branches"] if not branch["throw"]]
        self.branches += len(branches)
        missed = [f"branch {i}" for i, branch in enumerate(branches) if branch["count"] == 0]
        if missed:
            self.missed_branches[place] = missed
