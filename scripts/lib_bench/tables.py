"""The tables of docs/performance.md."""

import re

from results import LIMIT, OURS, best_peer, duration, limit, ours


def _named(contenders, name):
    return "–" if name is None else f"{name.removeprefix(LIMIT)} {contenders[name]}"


def _ratio(mine, contenders, other):
    return "–" if other is None else f"{mine.median / contenders[other].median:.2f}"


def _comparison(workloads):
    """One line per workload and form of ours."""
    lines = ["| workload | ours | best peer | ratio | limit | of limit | others, fastest first |",
             "|---|---|---|---|---|---|---|"]
    for workload, contenders in workloads.items():
        peer, bound = best_peer(contenders), limit(contenders)
        others = sorted((timing.median, name) for name, timing in contenders.items()
                        if not name.startswith(OURS) and name not in (peer, bound))
        for name in ours(contenders):
            mine = contenders[name]
            lines.append("| " + " | ".join([
                workload + name.removeprefix(OURS), str(mine),
                _named(contenders, peer), f"**{_ratio(mine, contenders, peer)}**",
                _named(contenders, bound), _ratio(mine, contenders, bound),
                "; ".join(f"{other} {contenders[other]}" for _, other in others) or "–"]) + " |")
    return lines


def _growth(workloads):
    """Cost per element at each size; the size is the last word of the workload."""
    sizes, rows = set(), {}
    for workload, contenders in workloads.items():
        what, size = workload.rsplit(", ", 1)
        sizes.add(int(size))
        for name, timing in contenders.items():
            rows.setdefault((what, name), {})[int(size)] = duration(timing.median)
    lines = ["| per element | contender | " + " | ".join(f"{s:,}" for s in sorted(sizes)) + " |",
             "|---|---|" + "---|" * len(sizes)]
    for (what, name), costs in rows.items():
        lines.append(f"| {what} | {name} | " + " | ".join(costs[s] for s in sorted(sizes)) + " |")
    return lines


def table(results):
    growing = {w: c for w, c in results.workloads.items() if re.search(r", \d+$", w)}
    single = {w: c for w, c in results.workloads.items() if w not in growing}
    lines = _comparison(single) if single else []
    return lines + ([""] if single and growing else []) + (_growth(growing) if growing else [])


def machine(results):
    """Where the programs were measured: one line for each day and machine. {program: Results}"""
    runs = {}
    for program, result in results.items():
        peers = ", ".join(f"{name} {version}" for name, version in result.machine["peers"].items())
        runs.setdefault(place(result.machine) + (f"; {peers}" if peers else ""), []).append(program)
    return [f"- {', '.join(programs)}: {run}." for run, programs in runs.items()]


def place(machine_of_run):
    return ("{date}, {processor}, {processors} processors, g++ {compiler}"
            .format(**machine_of_run))
