"""Changes one site in the programs that reach it, and runs them until one of them notices."""

import collections
import time

import programs
from image import Elf

NOT_REACHED = "not reached"
Result = collections.namedtuple("Result", "site kind verdict program")

# So many changes, and a program runs unchanged: it must pass.
CONTROL = 20

# What noticed a change so many lines away will rather notice this one than what noticed others of the source.
NEAR, NEAR_SHARE = 3, 5


class Runner:
    """Copies of the programs that one process changes, and what it learnt about them."""

    def __init__(self, copies, sites, reach):
        self.copies = copies
        self.sites = sites  # path of the original -> site -> copies of the site
        self.reach = reach  # site -> programs
        self.elfs = {}
        self.tried = collections.Counter()
        self.noticed = collections.Counter()
        self.noticed_at = collections.Counter()
        self.runs = 0
        self.broken_controls = []

    def results(self, site, kinds):
        return [self.result(site, kind) for kind in kinds]

    def result(self, site, kind):
        candidates = sorted(self.reach.get(site, ()),
                            key=lambda program: (program.is_last_resort, self.cost(site, program)))
        if not candidates:
            return Result(site, kind, NOT_REACHED, "")
        for program in candidates:
            verdict = self.verdict(program, site, kind)
            self.tried[site.file, program.name] += 1
            if verdict != programs.PASSED:
                self.noticed[site.file, program.name] += 1
                self.noticed_at[site.file, site.line, program.name] += 1
                return Result(site, kind, verdict, program.name)
        return Result(site, kind, programs.PASSED, "")

    def cost(self, site, program):
        """Time until this program notices a change here, by what it noticed so far in this source."""
        share = (self.noticed[site.file, program.name] + 0.5) / (self.tried[site.file, program.name] + 1)
        if any(self.noticed_at[site.file, line, program.name]
               for line in range(site.line - NEAR, site.line + NEAR + 1)):
            share *= NEAR_SHARE
        return (program.time + 0.02) / share

    def run_changed(self, program, site, kind):
        images = list(zip(self.copies.images(program), self.originals(program)))
        for image, original in images:
            self.write(image, original, site, kind)
        try:
            return self.run(program)
        finally:
            for image, original in images:
                self.write(image, original, site, None)
            self.runs += 1
            if self.runs % CONTROL == 0 and self.run(program) != programs.PASSED:
                self.broken_controls.append(program.name)

    def originals(self, program):
        return [program.path] + ([self.copies.original] if program.is_shared else [])

    def run(self, program):
        return self.copies.run(program, program.check, program.limits())[0]

    def verdict(self, program, site, kind):
        """A change that only ran out of time is tried again where the program alone does, too: others
        share the machine."""
        for _ in range(3):
            verdict = self.run_changed(program, site, kind)
            if verdict != programs.TIMED_OUT or self.run(program) == programs.PASSED:
                return verdict
        self.broken_controls.append(program.name)
        return programs.PASSED

    def write(self, path, original, site, kind):
        """Puts the change into each copy of the site, or takes it back."""
        group = [copy for copy in self.sites[original].get(site, ())]
        if not group:
            return
        if path not in self.elfs:
            self.elfs[path] = Elf(path)
        elf = self.elfs[path]
        with open_for_writing(path) as file:
            for copy in group:
                start = elf.offset(copy.address)
                if elf.data[start:start + len(copy.old)] != copy.old:
                    raise SystemExit(f"{path}: other code at {copy.address:#x}")
                file.seek(start)
                file.write(copy.changes.get(kind, copy.old))


def open_for_writing(path):
    """A process that was killed keeps its program busy for a moment."""
    for _ in range(200):
        try:
            return open(path, "r+b")
        except OSError:
            time.sleep(0.01)
    content = path.read_bytes()
    path.unlink()
    path.write_bytes(content)
    path.chmod(0o755)
    return open(path, "r+b")
