"""What a benchmark program has measured: from its result file, and in the short form that is kept."""

import json
import pathlib
import re
import statistics
import sys
from dataclasses import dataclass

OURS = "kelinfra"
LIMIT = "(limit) "
NOISE_SHOWN = 0.15
UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


@dataclass
class Timing:
    """The repetitions of one contender: their median in nanoseconds, half their range as a part of it."""

    median: float
    noise: float

    @classmethod
    def of(cls, samples):
        median = statistics.median(samples)
        return cls(median, (max(samples) - min(samples)) / 2 / median)

    @property
    def is_noisy(self):
        return self.noise > NOISE_SHOWN

    def __str__(self):
        return duration(self.median) + (f" ±{self.noise:.0%}" if self.is_noisy else "")


@dataclass
class Results:
    """{workload: {contender: Timing}} in the order of the program, and where it was measured."""

    machine: dict
    workloads: dict


def duration(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def fastest(contenders, wanted):
    rows = [(timing.median, name) for name, timing in contenders.items() if wanted(name)]
    return min(rows)[1] if rows else None


def best_peer(contenders):
    return fastest(contenders, lambda name: not name.startswith((OURS, "(")))


def limit(contenders):
    return fastest(contenders, lambda name: name.startswith(LIMIT))


def ours(contenders):
    return [name for name in contenders if name.startswith(OURS)]


def read_raw(path):
    """The result file of a program."""
    if not path.exists():
        sys.exit(f"{path}: the program has not been run yet")
    data = json.loads(path.read_text())
    samples = {}
    for run in sorted(data["benchmarks"], key=lambda run: run["family_index"]):
        if run["run_type"] != "iteration":
            continue
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        workload, contender = re.sub(r"/(real|manual)_time$", "", run["name"]).split(" | ")
        for suffix, time in _times(run):
            row = samples.setdefault(workload + suffix, {})
            row.setdefault(contender, []).append(time / run.get("elements", 1))
    workloads = {workload: {contender: Timing.of(times) for contender, times in row.items()}
                 for workload, row in samples.items()}
    return Results(_machine(data["context"]), workloads)


def _times(run):
    """(suffix of the workload, time) pairs: which clocks count is part of the benchmark's name."""
    real, cpu = (run[clock] * UNITS[run["time_unit"]] for clock in ("real_time", "cpu_time"))
    if run["name"].endswith("/real_time"):
        return [("", real), (" (client CPU)", cpu)]
    return [("", real if run["name"].endswith("/manual_time") else cpu)]


def _machine(context):
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    return {"date": context["date"][:10],
            "processor": model.group(1) if model else "unknown processor",
            "processors": context["num_cpus"],
            "compiler": context["compiler"],
            "peers": {key.removeprefix("peer "): value for key, value in context.items()
                      if key.startswith("peer ")}}


def read_kept(path):
    if not path.exists():
        sys.exit(f"{path}: nothing was kept of this program; measure it with --write")
    data = json.loads(path.read_text())
    return Results(data["machine"], {workload: {name: Timing(*values) for name, values in row.items()}
                                     for workload, row in data["workloads"].items()})


def keep(path, results):
    """One line for each workload, so that changes are easy to see."""
    def text(value):
        return json.dumps(value, ensure_ascii=False)

    rows = ",\n".join(
        f"  {text(workload)}: " + text({name: [float(f"{t.median:.4g}"), round(t.noise, 3)]
                                        for name, t in row.items()})
        for workload, row in results.workloads.items())
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(f'{{"machine": {text(results.machine)},\n "workloads": {{\n{rows}\n}}}}\n')
