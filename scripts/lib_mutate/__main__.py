"""Changes the machine code of the library at one place at a time, and tells which changes no test
notices; see scripts/mutate."""

import argparse
import collections
import concurrent.futures
import multiprocessing
import pathlib
import pickle
import random
import sys
import time

import programs
import reach
import report
from image import Image
from mutants import Runner
from sites import Finder

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "dev"
FOLDER = ROOT / "build" / "mutation"
RESULTS = FOLDER / "results.jsonl"

runner = None  # of each process


class Subject:
    """The programs, the sites, and which program reaches which site."""

    def __init__(self):
        self.shared_object = (BUILD / "src" / programs.SHARED_OBJECT).resolve()
        self.programs = programs.list_programs(BUILD, FOLDER)
        finder = Finder()
        self.sites = {path: finder.sites(Image(path)) for path in
                      [self.shared_object] + [program.path for program in self.programs]}
        self.reach = collections.defaultdict(list)
        self.broken = []

    def sites_of(self, program):
        return [self.sites[program.path]] + ([self.sites[self.shared_object]] if program.is_shared else [])

    def changes(self):
        """Pairs of a site and a kind of change, in the order of the sources."""
        return sorted({(site, kind) for sites in self.sites.values() for site, copies in sites.items()
                       for copy in copies for kind in copy.changes})

    def learn(self, jobs):
        """How long each program takes and what it reaches; kept for as long as it is the same."""
        cache = FOLDER / "reach.pickle"
        known = pickle.loads(cache.read_bytes()) if cache.exists() else {}
        library = reach.build_library(FOLDER)
        unknown = [program for program in self.programs
                   if known.get(program.name, [None])[0] != self.stamp(program)]
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            measured = pool.map(lambda program: self.measure(program, library), unknown)
            for program, parts in zip(unknown, measured):
                known[program.name] = self.stamp(program), parts
                cache.write_bytes(pickle.dumps(known))
                reached = set().union(*(found for _, found in parts))
                print(f"{program.name}: {program.processor_time:.2f} s, {len(parts)} parts, "
                      f"reaches {len(reached)} places", flush=True)
        for program in self.programs:
            for part, found in known[program.name][1]:
                for site in found:
                    self.reach[site].append(part)

    def stamp(self, program):
        files = [program.path] + [self.shared_object] * program.is_shared
        return [(reach.HERE / "sites.py").read_text(), *(file.stat().st_mtime_ns for file in files)]

    def measure(self, program, library):
        """The program in parts, each with the sites that it reaches."""
        copies = programs.Copies(FOLDER / f"reach-{program.name}", self.shared_object)
        times = copies.folder / "times.json"
        if not self.passes(program, lambda: copies.run(program, program.check, programs.Limits(300, 900),
                                                       GTEST_OUTPUT=f"json:{times}")):
            return []
        lists, left_out = [[]], []
        if program.is_google_test:
            lists, left_out = programs.parts_of(times, program.processor_time)
        for test in left_out:
            print(f"{program.name}: {test} takes too long")
        parts = [(program.only(tests), set()) for tests in lists]
        return [(part, found) for part, found in parts if self.passes(
            part, lambda: reach.run(part, copies, library, self.sites_of(part), found))]

    def passes(self, program, run):
        """Whether a program passes without any change, at least the third time: others share the machine."""
        for _ in range(3):
            result, *times = run()
            program.took(*times)
            if result == programs.PASSED:
                return True
        self.broken.append(program.name)
        print(f"{program.name} {result}", flush=True)
        return False


def start_process(subject, number):
    global runner
    with number.get_lock():
        number.value += 1
        folder = FOLDER / f"copies-{number.value}"
    runner = Runner(programs.Copies(folder, subject.shared_object), subject.sites, subject.reach)


def results_of(task):
    results = runner.results(*task)
    broken, runner.broken_controls = runner.broken_controls, []
    return results, broken


def tasks_of(subject, options, kept):
    """Pairs of a site and the kinds of changes to try there."""
    changes = [(site, kind) for site, kind in subject.changes()
               if not options.source or any(site.file.endswith(name) for name in options.source)]
    print(f"{len(changes)} changes at {len({site for site, _ in changes})} places", flush=True)
    if options.survivors:
        survivors = {(result.site, result.kind) for result in report.survivors(kept)}
        changes = [change for change in changes if change in survivors]
    else:
        tried = {(result.site, result.kind) for result in kept}
        changes = [change for change in changes[::options.every] if change not in tried]
    kinds = collections.defaultdict(list)
    for site, kind in changes:
        kinds[site].append(kind)
    return list(kinds.items())


def try_all(subject, tasks, options, kept):
    """The results, those of earlier runs among them; programs that failed without a change. Sites are taken
    in a fixed order without an order, so that those tried in time are an even sample."""
    random.Random(1).shuffle(tasks)
    results = {(result.site, result.kind): result for result in kept}
    broken, start = list(subject.broken), time.monotonic()
    context = multiprocessing.get_context("fork")
    with concurrent.futures.ProcessPoolExecutor(
            options.jobs, context, start_process, (subject, context.Value("i", 0))) as pool:
        for number, (found, failed) in enumerate(pool.map(results_of, tasks, chunksize=2), 1):
            results.update({(result.site, result.kind): result for result in found})
            broken += failed
            is_over = time.monotonic() - start > 60 * options.minutes
            if number % 50 == 0 or number == len(tasks) or is_over:
                report.write(RESULTS, sorted(results.values()))
                print(f"{number} of {len(tasks)} places, {time.monotonic() - start:.0f} s", flush=True)
            if is_over:
                pool.shutdown(cancel_futures=True)
                break
    return sorted(results.values()), broken


def parse_arguments():
    parser = argparse.ArgumentParser(prog="scripts/mutate")
    parser.add_argument("--every", type=int, default=10, metavar="N")
    parser.add_argument("--whole", dest="every", action="store_const", const=1)
    parser.add_argument("--source", action="append", metavar="FILE")
    parser.add_argument("--minutes", type=float, default=float("inf"), metavar="N")
    parser.add_argument("--add", action="store_true")
    parser.add_argument("--survivors", action="store_true")
    parser.add_argument("--report", action="store_true")
    parser.add_argument("--jobs", type=int, default=1)
    return parser.parse_args()


def main():
    options = parse_arguments()
    FOLDER.mkdir(parents=True, exist_ok=True)
    keeps = options.add or options.survivors or options.report
    results, broken = report.read(RESULTS) if keeps and RESULTS.exists() else [], []
    if not options.report:
        subject = Subject()
        subject.learn(options.jobs)
        results, broken = try_all(subject, tasks_of(subject, options, results), options, results)
    report.show(results)
    complaints = list(report.complaints(results, ROOT, options.every == 1 and not options.source,
                                        is_part=bool(options.source)))
    complaints += [f"{name} failed without any change" for name in broken]
    print("\n".join(complaints))
    return 1 if complaints else 0


sys.exit(main())
