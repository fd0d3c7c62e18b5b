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
    "DataBuffer": r"kelDataBuffer|kelText(Block|Replace)|kelHexText|kelDecimalText|"
                  r"kelKernelsAvx2(Hex|Search)",
    "Formatter": r"kelFormatter|kelNumberParse|kelDecimalText|kelLocaleTable|kelAsciiText",
    "Socket": r"kelSocket(\.|Errors|Exception)|kelConnect\.|kelDescriptor|kelItemPrefix|kelAddressList",
    "address records": r"kelAddressRecord",
}

# A condition that the compiler decides: constants and template parameters are spelt like this here.
CONSTANT = re.compile(r"!?[A-Z][A-Z0-9_]+|sizeof ?\(\w+\) == \d|__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__")

Place = collections.namedtuple("Place", "file line column last_line last_column")
# Instances of a fold expression stand at one place and have different numbers of conditions.
Decision = collections.namedtuple("Decision", "place condition_count")


class Conditions:
    """Every decision of two or more conditions, and every outcome of every condition.

    A template counts as reached where one of its instances is, and a condition as independent where
    one instance shows it."""

    def __init__(self, path, source):
        self.source = source
        self.taken = collections.defaultdict(lambda: [0, 0])  # Place -> times true, times false
        self.decisions = {}  # Decision -> a flag for each condition
        for file in json.loads(path.read_text())["data"][0]["files"]:
            name = str(pathlib.Path(file["filename"]).relative_to(source.root))
            for record in file["branches"]:
                self.add_outcomes(Place(name, *record[:4]), record[4:6])
            for record in file["mcdc_records"]:
                self.add_decision(Place(name, *record[:4]), record[-1])
        self.of_file = collections.defaultdict(list)
        for place in self.taken:
            self.of_file[place.file].append(place)
        self.inside = {decision: self.conditions_of(decision.place) for decision in self.decisions}
        for place in [place for place in self.taken if self.is_constant(place)]:
            self.drop(place)

    def add_outcomes(self, place, counts):
        self.taken[place] = [old + new for old, new in zip(self.taken[place], counts)]

    def add_decision(self, place, flags):
        decision = Decision(place, len(flags))
        known = self.decisions.get(decision, [False] * len(flags))
        self.decisions[decision] = [old or new for old, new in zip(known, flags)]

    def is_constant(self, place):
        """Not counted in any instance, since nothing is asked when the program runs."""
        return self.taken[place] == [0, 0] and CONSTANT.fullmatch(self.source.text(place)) is not None

    def conditions_of(self, outer):
        return sorted(place for place in self.of_file[outer.file] if encloses(outer, place))

    def drop(self, place):
        del self.taken[place]
        for decision, conditions in self.inside.items():
            if place in conditions:
                del self.decisions[decision][conditions.index(place)]
                conditions.remove(place)

    def missed_conditions(self):
        """(file, line number) -> what of the decision there does not show to decide by itself."""
        missed = collections.defaultdict(list)
        for decision, flags in self.decisions.items():
            for number, flag in enumerate(flags):
                if not flag:
                    missed[decision.place[:2]].append(self.name_of(decision, number))
        return missed

    def name_of(self, decision, number):
        """A condition as the source has it; by its number in a fold expression, which has it once."""
        conditions = self.inside[decision]
        if len(conditions) == len(self.decisions[decision]):
            return self.source.text(conditions[number])
        return f"condition {number + 1} of {decision.condition_count}"

    def missed_outcomes(self):
        """(file, line number) -> what never was true, or never false."""
        missed = collections.defaultdict(list)
        for place, counts in self.taken.items():
            for outcome, count in zip(("true", "false"), counts):
                if count == 0:
                    missed[place[:2]].append(f"{self.source.text(place)} never {outcome}")
        return missed

    def files(self):
        return sorted({decision.place.file for decision in self.decisions})

    def covered(self, *files):
        """Conditions covered and conditions in all."""
        flags = [flag for decision, flags in self.decisions.items() if decision.place.file in files
                 for flag in flags]
        return flags.count(True), len(flags)


def encloses(outer, inner):
    return (outer.file == inner.file and outer[1:3] <= inner[1:3] and inner[3:] <= outer[3:])


def files_of(subject, files):
    return [file for file in files if re.match(SUBJECTS[subject], pathlib.PurePath(file).name)]
