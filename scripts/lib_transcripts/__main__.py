"""Compares what the tests of several builds reported with what those of the first one did."""

import argparse
import collections
import pathlib
import sys

import differences
from transcript import ROOT, Transcript, label_of

LIST = ROOT / "tests" / "transcripts.txt"


def found_in(first, other):
    """Kind and text of each difference between two transcripts."""
    common = set(first.selected(label_of(other.preset)))
    # That a test failed says all; how far it came is in its own output.
    failed = {test for test in common if "fail" in (first.results[test], other.results.get(test))}
    expected = {name: result for name, result in first.results.items()
                if name.split(": ")[0] in common}
    for name in sorted(expected.keys() | other.results.keys()):
        if name not in failed and name.split(": ")[0] in failed:
            continue
        if name not in expected:
            yield "result", f"{name}: only here"
        elif name not in other.results:
            yield "absent", name
        elif expected[name] != other.results[name]:
            yield "result", f"{name}: {other.results[name]} instead of {expected[name]}"
    for test in sorted((common - failed) & other.lines.keys()):
        ours, theirs = (collections.Counter(t.lines[test]) for t in (first, other))
        yield from (("line", f"{test}: {line}") for line in ((ours - theirs) + (theirs - ours)))


def is_same(first, other, allowed):
    """Says what differs and is not in the list; true when nothing does."""
    unexplained = 0
    explained = 0
    for kind, text in found_in(first, other):
        if any([entry.covers(other.preset, kind, text) for entry in allowed]):
            explained += 1
        else:
            print(f"{other.preset}: {kind}: {text}")
            unexplained += 1
    if not unexplained:
        tests = len(other.lines)
        print(f"{other.preset} as {first.preset}: {tests} tests, {len(other.results) - tests} cases, "
              f"{sum(map(len, other.lines.values()))} lines; {explained} differences explained")
    return not unexplained


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("builds", nargs="+", type=pathlib.Path, help="folders of builds")
    first, *others = map(Transcript, parser.parse_args().builds)
    if not others:
        parser.error("at least two builds are needed")
    allowed = differences.read(LIST)
    same = [is_same(first, other, allowed) for other in others]
    compared = {other.preset for other in others}
    for entry in allowed:
        if compared.intersection(entry.presets) and not entry.used:
            print(f"{entry.place}: not met here: {entry.reason}")
    return 0 if all(same) else 1


if __name__ == "__main__":
    sys.exit(main())
