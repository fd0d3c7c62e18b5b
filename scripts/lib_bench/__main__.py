"""Runs benchmark programs, prints a table for each, updates docs/performance.md; see --help."""

import argparse
import pathlib
import subprocess
import sys

import document
import plots
import results
import tables
from document import DOCUMENT, ROOT

PLOTS = ROOT / "docs" / "plots"
KEPT = ROOT / "bench" / "results"

# The sections of the document, in its order: title and programs.
PEERS = {"Converter": ("Conversion", ["Converter"]),
         "Text": ("UTF-8 texts", ["Text"]),
         "Number": ("Numbers", ["Number"]),
         "DataBuffer": ("Text buffer", ["DataBuffer"]),
         "Base64": ("Base64", ["Base64"]),
         "Tokenizer": ("Tokens", ["Tokenizer"]),
         "Socket": ("Sockets", ["Socket", "Select"]),
         "Error": ("Errors", ["Error"]),
         "Properties": ("Settings", ["Properties"])}
OWN = {"Kernel": ("Text kernels", ["Kernel"]),
       "Buffer": ("Buffers and lists", ["Buffer"])}


class Tool:
    """One of the two commands: where its programs are built, which sections are its own."""

    def __init__(self, folder):
        self.is_peers = folder.name == "bench-peers"
        self.sections = PEERS if self.is_peers else OWN
        self.programs = folder / "bench" / ("peers" if self.is_peers else "")
        self.folder = folder

    def raw(self, program, options):
        """Where the program writes to; what is no whole measurement stays apart."""
        folder = "results-trial" if is_trial(options) else "results"
        return self.folder / folder / f"{program}.json"


def is_trial(options):
    return options.quick or options.filter != "."


def kept(program):
    return KEPT / f"{program}.json"


def measure(tool, program, options):
    path = tool.raw(program, options)
    path.parent.mkdir(parents=True, exist_ok=True)
    print(f"measuring {program} ...", file=sys.stderr)
    done = subprocess.run([tool.programs / f"kel{program}Bench",
                           f"--benchmark_repetitions={options.repetitions}",
                           "--benchmark_enable_random_interleaving=true",
                           f"--benchmark_min_time={options.min_time}",
                           f"--benchmark_filter={options.filter}",
                           f"--benchmark_out={path}", *(["--small"] if options.quick else [])],
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit(f"{program}: {done.stderr}")


def read(tool, program, options):
    if options.no_run:
        return results.read_kept(kept(program))
    return results.read_raw(tool.raw(program, options))


def write_document(measured):
    text = DOCUMENT.read_text()
    for program, result in measured.items():
        text = document.replaced(text, program, tables.table(result))
    every = [program for _, programs in [*PEERS.values(), *OWN.values()] for program in programs]
    everything = {p: results.read_kept(kept(p)) for p in every if kept(p).exists()}
    DOCUMENT.write_text(document.replaced(text, "machine", tables.machine(everything)))


def write_plots(sections):
    PLOTS.mkdir(exist_ok=True)
    for name, (title, programs) in sections.items():
        picture = plots.plot(title, [results.read_kept(kept(program)) for program in programs])
        (PLOTS / f"{name.lower()}.svg").write_text(picture)


def write(tool, sections, measured):
    for program, result in measured.items():
        results.keep(kept(program), result)
    # What is kept is rounded: the page is to be the same when it is made again.
    write_document({program: results.read_kept(kept(program)) for program in measured})
    if tool.is_peers:
        write_plots(sections)


def arguments(tool):
    parser = argparse.ArgumentParser(
        prog="scripts/" + tool.folder.name,
        description="Measures, and prints a table for each program. A figure is the median of the "
                    "repetitions, which are interleaved at random with those of all other "
                    "contenders; it is followed by half the range of the repetitions where that "
                    "exceeds 15 %%.")
    none = []  # has to be among the choices of "*"
    parser.add_argument("sections", nargs="*", metavar="section", choices=[none, *tool.sections],
                        help=", ".join(tool.sections) + "; all when none is named")
    parser.add_argument("--repetitions", type=int, default=7)
    parser.add_argument("--min-time", type=float, default=0.05, help="seconds per repetition")
    parser.add_argument("--filter", default=".", help="regular expression of benchmark names")
    parser.add_argument("--quick", action="store_true",
                        help="see whether all of it runs: the figures say nothing and are not kept")
    parser.add_argument("--last-run", action="store_true",
                        help="the results of the last run in this folder, nothing is measured")
    parser.add_argument("--no-run", action="store_true",
                        help="the results kept in bench/results/, nothing is measured")
    parser.add_argument("--write", action="store_true",
                        help="keep the results in bench/results/ and update docs/performance.md "
                             "and docs/plots/")
    options = parser.parse_args()
    if options.write and is_trial(options):
        parser.error("--write takes whole measurements: neither --quick nor --filter")
    if options.quick:
        options.repetitions, options.min_time = 2, 0.0001
    return options


def main():
    tool = Tool(ROOT / "build" / sys.argv.pop(1))
    options = arguments(tool)
    sections = {name: tool.sections[name] for name in options.sections or tool.sections}
    programs = [program for _, names in sections.values() for program in names]
    if not (options.no_run or options.last_run):
        for program in programs:
            measure(tool, program, options)
    measured = {program: read(tool, program, options) for program in programs}
    for program, result in measured.items():
        print(f"\n## {program}\n", *tables.table(result), sep="\n")
    if options.write:
        write(tool, sections, measured)


if __name__ == "__main__":
    main()
