"""The plots of docs/performance.md: SVG that follows the reader's choice of light or dark."""

import math
from dataclasses import dataclass
from html import escape

from results import OURS, best_peer, limit, ours
from tables import place

# Narrow enough to stay readable on a telephone.
WIDTH = 480
MARGIN = 16
INDENT = 6  # of the axis, whose numbers are centred
NAMES = 148  # what the names of the peers take at the right
ROW = 33
TOP = 104
BOTTOM = 46
BAR = 9
LONGEST_NAME = 26  # characters

# Blue and orange differ for every kind of colour vision; which side of 1 a bar is on says the same.
STYLE = """
text { font-family: system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
.paper { fill: #ffffff; } .ink { fill: #1f2328; } .soft { fill: #59636e; }
.title { font-size: 17px; font-weight: 600; }
.label { font-size: 12.5px; paint-order: stroke; stroke: #ffffff; stroke-width: 4px; }
.note { font-size: 11.5px; } .name { font-size: 11px; } .bold { font-weight: 600; }
.faster { fill: #0072b2; } .slower { fill: #c2570c; }
.grid { stroke: #d8dee4; stroke-width: 1; } .one { stroke: #1f2328; stroke-width: 1.5; }
.range { stroke: #1f2328; stroke-width: 1.2; }
.limit { fill: #ffffff; stroke: #1f2328; stroke-width: 1.2; }
@media (prefers-color-scheme: dark) {
.paper { fill: #0d1117; } .label { stroke: #0d1117; } .ink { fill: #e6edf3; } .soft { fill: #9198a1; }
.faster { fill: #56b4e9; } .slower { fill: #e69f00; }
.grid { stroke: #2a313b; } .one { stroke: #e6edf3; } .range { stroke: #e6edf3; }
.limit { fill: #0d1117; stroke: #e6edf3; }
}
"""


@dataclass
class Row:
    """A line of the table that has a peer; quotients are of its time."""

    label: str
    peer: str
    ratio: float
    noise: float
    limit: float


def rows_of(workloads):
    rows = []
    for workload, contenders in workloads.items():
        name = best_peer(contenders)
        if name is None:
            continue
        peer, bound = contenders[name], limit(contenders)
        for form in ours(contenders):
            noise = math.hypot(*(timing.noise for timing in (contenders[form], peer)
                                 if timing.is_noisy))
            label = (workload + form.removeprefix(OURS)).replace("->", "→")
            rows.append(Row(label, name,
                            contenders[form].median / peer.median, noise,
                            contenders[bound].median / peer.median if bound else 0))
    return rows


class Axis:
    """A logarithmic axis from one round number to another, with 1 between them."""

    def __init__(self, values):
        self.low = self._round(min([0.5, *values]), math.floor)
        self.high = self._round(max([2, *values]), math.ceil)
        self.per_decade = (WIDTH - 2 * MARGIN - INDENT - NAMES) / math.log10(self.high / self.low)

    @staticmethod
    def _round(value, towards):
        """The nearest 1, 2 or 5 with zeros below or above."""
        decade = 10.0 ** math.floor(math.log10(value))
        steps = [decade * step for step in (1, 2, 5, 10)]
        fitting = [s for s in steps if (s <= value * 1.0001 if towards is math.floor
                                        else s >= value / 1.0001)]
        return fitting[-1] if towards is math.floor else fitting[0]

    def x(self, value):
        inside = min(max(value, self.low), self.high)
        return MARGIN + INDENT + self.per_decade * math.log10(inside / self.low)

    def ticks(self):
        steps = (1, 2, 5) if self.per_decade > 85 else (1,)
        decades = range(math.floor(math.log10(self.low)), math.ceil(math.log10(self.high)) + 1)
        every = [step * 10.0 ** decade for decade in decades for step in steps]
        return [tick for tick in every if self.low <= tick * 1.0001 and tick <= self.high * 1.0001]


def _text(x, y, kind, words, anchor="start"):
    where = "" if anchor == "start" else f' text-anchor="{anchor}"'
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{kind}"{where}>{escape(words)}</text>'


def _line(x1, y1, x2, y2, kind):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" class="{kind}"/>'


def _diamond(x, y):
    return f'<path d="M{x:.1f} {y - 4.5:.1f}l4.5 4.5l-4.5 4.5l-4.5 -4.5z" class="limit"/>'


def _square(x, y, kind):
    return f'<rect x="{x}" y="{y}" width="10" height="10" rx="2" class="{kind}"/>'


def _shortened(name):
    return name if len(name) <= LONGEST_NAME else name[:LONGEST_NAME - 1].rstrip() + "…"


def _head(title, rows):
    lines = [_text(MARGIN, 27, "ink title", title),
             _text(MARGIN, 47, "soft note",
                   "time of this library ÷ time of the fastest peer, logarithmic; below 1 is faster"),
             _square(MARGIN, 58, "faster"), _text(MARGIN + 15, 67, "soft note", "faster"),
             _square(MARGIN + 64, 58, "slower"), _text(MARGIN + 79, 67, "soft note", "slower")]
    x = MARGIN + 132
    if any(row.limit for row in rows):
        lines += [_diamond(x + 4, 63), _text(x + 14, 67, "soft note", "limit ÷ peer")]
        x += 96
    if any(row.noise for row in rows):
        lines += [_line(x, 63, x + 16, 63, "range"),
                  _text(x + 22, 67, "soft note", "half ranges above 15 %")]
    return lines


def _scale(axis, bottom):
    lines, labelled = [], WIDTH
    for tick in reversed(axis.ticks()):
        x = axis.x(tick)
        lines.append(_line(x, TOP - 10, x, bottom, "one" if abs(tick - 1) < 1e-9 else "grid"))
        if labelled - x < 30:  # the numbers would touch
            continue
        labelled = x
        for y in (TOP - 15, bottom + 14):
            lines.append(_text(x, y, "soft note", f"{tick:g}", "middle"))
    return lines


def _bar(row, axis, y):
    kind = "faster" if round(row.ratio, 2) <= 1 else "slower"
    left, right = sorted((axis.x(row.ratio), axis.x(1)))
    middle = y + 18 + BAR / 2
    lines = [f"<g><title>{escape(f'{row.label}: {row.ratio:.2f} of {row.peer}')}</title>",
             _text(MARGIN, y + 13, "ink label", row.label),
             _text(WIDTH - MARGIN, y + 13, f"{kind} label bold", f"{row.ratio:.2f}", "end"),
             _text(WIDTH - MARGIN, y + 26, "soft name", _shortened(row.peer), "end"),
             f'<rect x="{left:.1f}" y="{y + 18}" width="{max(right - left, 1):.1f}" '
             f'height="{BAR}" rx="1.5" class="{kind}"/>']
    if row.noise:
        lines.append(_line(axis.x(row.ratio * max(1 - row.noise, 0.01)), middle,
                           axis.x(row.ratio * (1 + row.noise)), middle, "range"))
    if row.limit:
        lines.append(_diamond(axis.x(row.limit), middle))
    return [*lines, "</g>"]


def plot(title, programs):
    """One picture for the results of the programs of a section."""
    rows = [row for results in programs for row in rows_of(results.workloads)]
    axis = Axis([value for row in rows for value in (row.ratio, row.limit) if value])
    bottom = TOP + ROW * len(rows)
    height = bottom + BOTTOM
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
             f'width="{WIDTH}" height="{height}" role="img">',
             f"<title>{escape(title)}: time relative to the fastest peer</title>",
             f"<style>{STYLE}</style>",
             f'<rect width="{WIDTH}" height="{height}" rx="6" class="paper"/>',
             *_head(title, rows), *_scale(axis, bottom)]
    for number, row in enumerate(rows):
        lines += _bar(row, axis, TOP + ROW * number)
    lines.append(_text(MARGIN, height - 12, "soft name", place(programs[0].machine)))
    return "\n".join([*lines, "</svg>"]) + "\n"
