"""Compares what the tests reach with the goals and the known misses; see scripts/coverage, scripts/conditions."""

import pathlib
import sys

import misses
from conditions import SUBJECTS, Conditions, subjects_of
from lines import Lines

ROOT = pathlib.Path(__file__).resolve().parents[2]
KNOWN = ROOT / "tests" / "coverage"
BRANCH_GOAL = 98.0
CONDITION_GOAL = 95.0


def row(name, reached, all_of):
    share = percent(reached, all_of)
    return f"{name:<20} {reached:>6} of {all_of:>6} {share:8.2f} %"


def percent(reached, all_of):
    return 100.0 * reached / all_of if all_of else 0.0


def of_kind(entries, *kinds):
    return [entry for entry in entries if entry.kind in kinds]


def total(entries):
    return sum(entry.count for entry in entries)


def check_lines(report):
    """What gcovr counted. Misses that only the compiler made are listed apart, as artefacts."""
    found = Lines(report)
    known = misses.read(KNOWN / "lines.txt", {"line", "branch", "artefact"})
    source = misses.Source(ROOT)
    complaints = misses.compare(of_kind(known, "line"), found.missed_lines, source)
    complaints += misses.compare(of_kind(known, "branch", "artefact"), found.missed_branches, source)
    artefacts = total(of_kind(known, "artefact"))
    reached = found.branches - sum(found.missed_branches.values())
    real = found.branches - artefacts
    print(row("lines", found.lines - sum(found.missed_lines.values()), found.lines))
    print(row("branches", reached, found.branches))
    print(row("without artefacts", reached, real))
    if percent(reached, real) < BRANCH_GOAL:
        complaints.append(f"fewer than {BRANCH_GOAL} % of the branches are reached")
    return complaints


def check_conditions(report):
    """What llvm-cov counted, for each source and for the subjects that have to be covered whole."""
    found = Conditions(report, ROOT)
    known = misses.read(KNOWN / "conditions.txt", {"condition", "constant", "outcome"})
    source = misses.Source(ROOT)
    complaints = misses.compare(of_kind(known, "condition", "constant"), found.missed_conditions(), source)
    complaints += misses.compare(of_kind(known, "outcome"), found.missed_outcomes(), source)
    tables = Tables(found, known)
    for file in found.files():
        if tables.all_of(file):
            print(row(short(file), tables.reached(file), tables.all_of(file)))
    print()
    for subject in SUBJECTS:
        files = [file for file in found.files() if subject in subjects_of(file)]
        print(row(subject, tables.reached(*files), tables.all_of(*files)))
        if tables.reached(*files) < tables.all_of(*files):
            complaints.append(f"{subject}: not every condition is covered")
    print(row("conditions", tables.reached(*found.files()), tables.all_of(*found.files())))
    if percent(tables.reached(*found.files()), tables.all_of(*found.files())) < CONDITION_GOAL:
        complaints.append(f"fewer than {CONDITION_GOAL} % of the conditions are covered")
    missed = sum(found.missed_outcomes().values())
    print(row("outcomes", 2 * len(found.taken) - missed, 2 * len(found.taken)))
    return complaints


class Tables:
    """Conditions for each file, without those that are constant."""

    def __init__(self, found, known):
        self.counts = {}
        for place, flags in found.independent.items():
            self.add(place[0], sum(flags), len(flags))
        for entry in of_kind(known, "constant"):
            self.add(entry.place[0], 0, -entry.count)

    def add(self, file, reached, all_of):
        old = self.counts.get(file, (0, 0))
        self.counts[file] = (old[0] + reached, old[1] + all_of)

    def reached(self, *files):
        return sum(self.counts.get(file, (0, 0))[0] for file in files)

    def all_of(self, *files):
        return sum(self.counts.get(file, (0, 0))[1] for file in files)


def short(file):
    return pathlib.PurePath(file).name


def main():
    what, report = sys.argv[1:]
    complaints = {"lines": check_lines, "conditions": check_conditions}[what](pathlib.Path(report))
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0


sys.exit(main())
