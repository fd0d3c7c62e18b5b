"""Runs tools that look for mistakes in the sources; fails when one finds what has no reason."""

import argparse
import pathlib
import re
import subprocess
import sys

from tools import ROOT, TOOLS, Finding

ACCEPTED = pathlib.Path(__file__).with_name("accepted.txt")

SUPPRESSION = re.compile(r"(NOLINT(?:NEXTLINE|BEGIN)?(?:\([^)]*\))?|cppcheck-suppress \S+)(: \S)?")


class Reason:
    """A line of the list: findings that are known, and why they stay."""

    def __init__(self, number, line):
        fields = [field.strip() for field in line.split(" | ")]
        if len(fields) != 4 or not all(fields) or fields[0] not in TOOLS:
            sys.exit(f"{ACCEPTED}:{number}: not 'tool | check | file: message | reason'")
        self.tool, self.check, pattern, self.reason = fields
        self.place = f"{ACCEPTED.relative_to(ROOT)}:{number}"
        self.pattern = re.compile(pattern)
        self.used = 0

    def covers(self, finding):
        found = (self.tool == finding.tool and self.check == finding.check
                 and self.pattern.fullmatch(finding.text()) is not None)
        self.used += found
        return found


def read_reasons():
    numbered = enumerate(ACCEPTED.read_text().splitlines(), start=1)
    return [Reason(number, line) for number, line in numbered if line and line[0] != "#"]


def bare_suppressions():
    """Those in the sources that have no reason, neither behind them nor in a comment just before."""
    listed = subprocess.run(["git", "ls-files", "src", "include", "examples"], cwd=ROOT, text=True,
                            check=True, stdout=subprocess.PIPE).stdout.split()
    for file in listed:
        before = ""
        for number, line in enumerate((ROOT / file).read_text().splitlines(), start=1):
            match = SUPPRESSION.search(line)
            if match and not match[2] and not before.strip().startswith("//"):
                yield Finding("sources", "suppression", file, number, f"{match[1]} has no reason")
            before = line


def unexplained(tool, findings, reasons):
    """Those without a reason; says how many there were."""
    left = [finding for finding in findings if not any([r.covers(finding) for r in reasons])]
    print(f"{tool}: {len(findings)} findings, {len(findings) - len(left)} of them with a reason",
          flush=True)
    return left


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("tools", nargs="*", metavar="TOOL", help=f"of {', '.join(TOOLS)}")
    arguments = parser.parse_args()
    names = arguments.tools or list(TOOLS)
    if unknown := set(names) - set(TOOLS):
        parser.error(f"there is no tool {min(unknown)}")
    reasons = read_reasons()
    left = list(bare_suppressions())
    for name in names:
        left += unexplained(name, sorted(set(TOOLS[name](arguments.jobs))), reasons)
    for reason in reasons:
        if reason.tool in names and not reason.used:
            print(f"{reason.place}: nothing of the kind is found any more")
    for finding in left:
        print(f"{finding.file}:{finding.line}: {finding.message} [{finding.tool} {finding.check}]")
    return 1 if left else 0


if __name__ == "__main__":
    sys.exit(main())
