"""The places of docs/performance.md that are written by programs."""

import datetime
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = ROOT / "docs" / "performance.md"


def replaced(text, name, lines):
    begin, end = f"<!-- begin {name} -->", f"<!-- end {name} -->"
    if begin not in text or end not in text:
        sys.exit(f"{DOCUMENT}: no place for {name}")
    head, rest = text.split(begin, 1)
    return head + "\n".join([begin, *lines, end]) + rest.split(end, 1)[1]


def write_section(name, lines):
    DOCUMENT.write_text(replaced(DOCUMENT.read_text(), name, lines))


def measured_here():
    """Where and when a table is made, for its first line."""
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    compiler = subprocess.run(["c++", "-dumpfullversion"], check=True, text=True,
                              stdout=subprocess.PIPE).stdout.strip()
    return (f"Measured {datetime.date.today()}, {model.group(1) if model else 'unknown processor'}, "
            f"{os.cpu_count()} processors, g++ {compiler}.")
