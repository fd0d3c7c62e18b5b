"""What was noticed, for each source; and the survivors beside the list of the known ones."""

import collections
import json
import math
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "lib_coverage"))
import misses  # noqa: E402

import programs  # noqa: E402
from mutants import NOT_REACHED, Result  # noqa: E402
from sites import Site  # noqa: E402

# Per cent of all changes that must be noticed, whatever the list explains.
LEAST = 85.0
SURVIVED = (programs.PASSED, NOT_REACHED)
KINDS = {"flipped", "never", "always", "more", "less"}


def write(path, results):
    path.write_text("".join(json.dumps([*result.site, *result[1:]]) + "\n" for result in results))


def read(path):
    rows = [json.loads(line) for line in path.read_text().splitlines()]
    return [Result(Site(*row[:5]), *row[5:]) for row in rows]


def survivors(results):
    return [result for result in results if result.verdict in SURVIVED]


def row(name, results):
    noticed = len(results) - len(survivors(results))
    sites = len({result.site for result in results})
    return f"{name:<28} {sites:>6} {noticed:>6} of {len(results):>6} {percent(noticed, len(results)):8.2f} %"


def percent(part, whole):
    return 100.0 * part / whole if whole else 0.0


def interval(part, whole):
    """Where the share of all changes lies by 95 % when these are a sample, in per cent: Wilson's interval."""
    share, wide = part / whole, 1.96 ** 2 / whole
    middle, distance = share + wide / 2, math.sqrt(wide * (share * (1 - share) + wide / 4))
    return [100 * (middle + sign * distance) / (1 + wide) for sign in (-1, 1)]


def show_groups(results, key):
    groups = collections.defaultdict(list)
    for result in results:
        groups[key(result.site)].append(result)
    for name in sorted(groups):
        print(row(name, groups[name]))
    print()


def show(results):
    if not results:
        return
    print(f"{'':<28} {'places':>6} {'noticed':>16}")
    show_groups(results, lambda site: pathlib.PurePath(site.file).name)
    show_groups(results, lambda site: str(pathlib.PurePath(site.file).parent))
    show_groups(results, lambda site: site.what)
    print(row("all", results))
    print("of all changes, if these are a sample: {:.1f} % to {:.1f} %".format(
        *interval(len(results) - len(survivors(results)), len(results))))
    verdicts = collections.Counter(result.verdict for result in results)
    print(", ".join(f"{verdict} {count}" for verdict, count in sorted(verdicts.items())))


def complaints(results, root, is_whole, is_part):
    """About survivors that are not in the list and, after a whole run, the other way round."""
    source = misses.Source(root)
    explained = 0
    listed = collections.Counter()
    for entry in misses.read(root / "tests/mutation/survivors.txt", KINDS):
        listed[(*entry.place, entry.kind)] += entry.count or float("inf")
    found = collections.defaultdict(list)
    for result in survivors(results):
        place = source.place(result.site.file, result.site.line)
        found[(*place, result.kind)].append(result)
    for key in sorted(found.keys() | (listed.keys() if is_whole else set())):
        count = len(found[key])
        explained += min(count, listed[key])
        if count > listed[key] or is_whole and count < listed[key] < float("inf"):
            file, text, kind = key
            at = ",".join(f"{result.site.line}:{result.site.column}" for result in found[key])
            yield (f"{file}:{at}: {text}\n    {kind}: survived {count}, listed {listed[key]}"
                   f"{' (not reached)' if found[key] and found[key][0].verdict == NOT_REACHED else ''}")
    noticed = len(results) - len(survivors(results))
    print(f"explained {explained:.0f}; of the others {percent(noticed, len(results) - explained):.2f} % are noticed")
    if not is_part and percent(noticed, len(results)) < LEAST:
        yield f"fewer than {LEAST} % are noticed"
