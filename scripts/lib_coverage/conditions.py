"""Conditions of decisions, and outcomes of conditions, from the export of llvm-cov."""

import collections
import json
import pathlib
import re

# Where each subject that has to be covered whole does its work.
SUBJECTS = {
    "Base64": r"kelBase64\.|kelBase64Text|kelBase64Steps|kelKernels\w*Base64",
    "UTF8Iterator": r"kelUTF8Iterator|kelUtf8Scan|kelUtfSteps|kelAvx2Utf8|kelKernelsAvx2Text",
    "ExtendedProperties": r"kelExtendedProperties|kelPropert(ies|y)|kelReferenceResolver|kelTextHash",
    "DataBuffer": r"kelDataBuffer|kelTextBlock|kelTextReplace|kelHexText|kelDecimalText|kelKernelsAvx2(Hex|Search)",
    "Formatter": r"kelFormatter|kelNumberParse|kelDecimalText|kelLocaleTable|kelAsciiText",
    "Socket": r"kelSocket(\.|Errors|Exception)|kelConnect|kelDescriptor|kelItemPrefix|kelAddressList",
    "address records": r"kelAddressRecord",
}


class Conditions:
    """Every decision of two or more conditions, and every outcome of every condition.

    A template counts as reached where one of its instances is, and as independent where one shows it."""

    def __init__(self, path, root):
        self.independent = collections.defaultdict(list)  # (file, span) -> a flag for each condition
        self.taken = collections.defaultdict(lambda: [0, 0])  # (file, span) -> times true, times false
        for file in json.loads(path.read_text())["data"][0]["files"]:
            name = str(pathlib.Path(file["filename"]).relative_to(root))
            for record in file["mcdc_records"]:
                self.add_decision((name, *record[:4]), record[-1])
            for record in file["branches"]:
                self.add_outcomes((name, *record[:4]), record[4:6])

    def add_decision(self, place, flags):
        known = self.independent[place] or [False] * len(flags)
        self.independent[place] = [old or new for old, new in zip(known, flags)]

    def add_outcomes(self, place, counts):
        self.taken[place] = [old + new for old, new in zip(self.taken[place], counts)]

    def missed_conditions(self):
        return count_by_line((place, flags.count(False)) for place, flags in self.independent.items())

    def missed_outcomes(self):
        return count_by_line((place, counts.count(0)) for place, counts in self.taken.items())

    def files(self):
        return sorted({place[0] for place in [*self.independent, *self.taken]})


def count_by_line(counts):
    lines = collections.Counter()
    for place, count in counts:
        if count:
            lines[place[:2]] += count
    return lines


def subjects_of(file):
    name = pathlib.PurePath(file).name
    return [subject for subject, pattern in SUBJECTS.items() if re.match(pattern, name)]
