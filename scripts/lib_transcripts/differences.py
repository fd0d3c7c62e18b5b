"""The list of what may differ between the transcripts of two builds, and why."""

import re
import sys

KINDS = ("absent", "result", "line")


class Difference:
    def __init__(self, place, text):
        fields = [field.strip() for field in text.split(" | ")]
        if len(fields) != 4 or not all(fields) or fields[1] not in KINDS:
            sys.exit(f"{place}: not 'preset,... | {' or '.join(KINDS)} | pattern | reason'")
        self.place = place
        presets, self.kind, pattern, self.reason = fields
        self.presets = presets.split(",")
        self.pattern = re.compile(pattern)
        self.used = 0

    def covers(self, preset, kind, text):
        found = (preset in self.presets and self.kind == kind
                 and self.pattern.fullmatch(text) is not None)
        self.used += found
        return found


def read(path):
    numbered = enumerate(path.read_text().splitlines(), start=1)
    return [Difference(f"{path.name}:{number}", line) for number, line in numbered
            if line and not line.startswith("#")]
