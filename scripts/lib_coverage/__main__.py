"""Compares what the tests reach with the goals and the known misses; see scripts/coverage, scripts/conditions."""

import pathlib
import sys

import misses
from conditions import SUBJECTS, Conditions, files_of
from lines import Lines

ROOT = pathlib.Path(__file__).resolve().parents[2]
KNOWN = ROOT / "tests" / "coverage"
BRANCH_GOAL = 98.0
CONDITION_GOAL = 95.0


def row(name, reached, all_of):
    share = percent(reached, all_of)
    return f"{name:<28} {reached:>6} of {all_of:>6} {share:8.2f} %"


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
    reached = found.branches - sum(map(len, found.missed_branches.values()))
    real = found.branches - artefacts
    print(row("lines", found.lines - len(found.missed_lines), found.lines))
    print(row("branches", reached, found.branches))
    print(row("without artefacts", reached, real))
    if percent(reached, real) < BRANCH_GOAL:
        complaints.append(f"fewer than {BRANCH_GOAL} % of the branches are reached")
    return complaints


def check_conditions(report):
    """What llvm-cov counted, for each source and for the subjects that have to be covered whole."""
    source = misses.Source(ROOT)
    found = Conditions(report, source)
    known = misses.read(KNOWN / "conditions.txt", {"condition", "outcome"})
    complaints = misses.compare(of_kind(known, "condition"), found.missed_conditions(), source)
    complaints += misses.compare(of_kind(known, "outcome"), found.missed_outcomes(), source)
    for file in found.files():
        print(row(pathlib.PurePath(file).name, *found.covered(file)))
    print()
    for subject in SUBJECTS:
        reached, all_of = found.covered(*files_of(subject, found.files()))
        print(row(subject, reached, all_of))
        if reached < all_of:
            complaints.append(f"{subject}: not every condition is covered")
    reached, all_of = found.covered(*found.files())
    print(row("conditions", reached, all_of))
    if percent(reached, all_of) < CONDITION_GOAL:
        complaints.append(f"fewer than {CONDITION_GOAL} % of the conditions are covered")
    taken = [count > 0 for counts in found.taken.values() for count in counts]
    print(row("outcomes", taken.count(True), len(taken)))
    return complaints


def main():
    what, report = sys.argv[1:]
    complaints = {"lines": check_lines, "conditions": check_conditions}[what](pathlib.Path(report))
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0


sys.exit(main())
