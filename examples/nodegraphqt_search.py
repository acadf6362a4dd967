"""Find ways with the fewest bends on the grid of all box sides.

Plain numbers, no Qt. The columns of a row are the bits of one integer, so that a step looks at a whole
row at once.
"""

from __future__ import annotations

from bisect import bisect_left
from collections.abc import Sequence

from nodegraphqt_room import LEVEL, Point, Rect

_Place = tuple[int, int]  # column, row


def way_along_sides(boxes: Sequence[Rect], start: Point, goal: Point,
                    clearance: float) -> list[Point] | None:
    """A way with the fewest bends along the sides of `boxes`, which leaves along a row.

    It keeps `clearance` from all of them. None if there is no way. Every bend costs two looks at each
    row of the grid.
    """
    xs = _apart([start[0], goal[0], *(side for box in boxes
                                      for side in (box[0] - clearance, box[2] + clearance))])
    ys = _apart([start[1], goal[1], *(side for box in boxes
                                      for side in (box[1] - clearance, box[3] + clearance))])
    grid = _Grid(boxes, xs, ys, clearance)
    begin, end = (_place(xs, start[0]), _place(ys, start[1])), (_place(xs, goal[0]), _place(ys, goal[1]))
    if begin == end:
        return [start, goal]
    reached = [0] * len(ys)
    reached[begin[1]] = 1 << begin[0]
    levels = [reached]  # by the number of segments: for each row, the columns that can be reached
    while not levels[-1][end[1]] >> end[0] & 1:
        step = grid.along_rows if len(levels) % 2 else grid.along_columns
        levels.append(step(levels[-1]))
        if len(levels) > 2 and levels[-1] == levels[-2]:
            return None
    places = grid.traced(levels, begin, end)
    # The first and the last line are those of the ends, exactly.
    points = [(xs[column], ys[row]) for column, row in places]
    for place, after, exact in ((0, 1, start), (-1, -2, goal)):
        level = places[place][1] == places[after][1]
        points[after] = ((points[after][0], exact[1]) if level else (exact[0], points[after][1]))
    points[0], points[-1] = start, goal
    return points


class _Grid:
    """The grid of all sides, with what the boxes block of it."""

    def __init__(self, boxes: Sequence[Rect], xs: Sequence[float], ys: Sequence[float],
                 clearance: float) -> None:
        self._xs, self._ys = xs, ys
        everywhere = (1 << len(xs)) - 1
        self._down = [everywhere] * (len(ys) - 1)  # columns along which one can go to the next row
        spans: list[list[_Place]] = [[] for _ in ys]
        for box in sorted(boxes):
            left, right = _place(xs, box[0] - clearance), _place(xs, box[2] + clearance)
            top, bottom = _place(ys, box[1] - clearance), _place(ys, box[3] + clearance)
            inside = ~((1 << right) - (2 << left))
            for row in range(top, bottom):
                self._down[row] &= inside
            for row in range(top + 1, bottom):
                spans[row].append((left, right))
        self._runs = [_runs_between(row, len(xs)) for row in spans]

    def along_rows(self, reached: Sequence[int]) -> list[int]:
        """What can be reached along the rows."""
        return [sum(run for run in runs if run & columns) if columns else 0
                for runs, columns in zip(self._runs, reached)]

    def along_columns(self, reached: Sequence[int]) -> list[int]:
        """What can be reached along the columns."""
        found = list(reached)
        for row, free in enumerate(self._down):
            found[row + 1] |= found[row] & free
        for row in range(len(self._down) - 1, -1, -1):
            found[row] |= found[row + 1] & self._down[row]
        return found

    def traced(self, levels: Sequence[Sequence[int]], begin: _Place, end: _Place) -> list[_Place]:
        """The way that reached `end`, with as little detour at each bend as there can be."""
        places = [end]
        for level in range(len(levels) - 2, -1, -1):
            column, row = places[-1]
            before = levels[level]
            along_row = level % 2 == 0
            if along_row:
                run = next(run for run in self._runs[row] if run >> column & 1) & before[row]
                values, here, home = self._xs, column, begin[0]
                found = [place for place in range(run.bit_length()) if run >> place & 1]
            else:
                values, here, home = self._ys, row, begin[1]
                found = [place for place in self._joined(column, row) if before[place] >> column & 1]
            best = min(found, key=lambda place: (
                abs(values[place] - values[here]) + abs(values[place] - values[home]), place))
            if best != here:
                places.append((best, row) if along_row else (column, best))
        return places[::-1]

    def _joined(self, column: int, row: int) -> range:
        """The rows that can be reached along a column."""
        first = last = row
        while first > 0 and self._down[first - 1] >> column & 1:
            first -= 1
        while last < len(self._down) and self._down[last] >> column & 1:
            last += 1
        return range(first, last + 1)


def _runs_between(blocked: Sequence[_Place], count: int) -> list[int]:
    """The runs of columns that are left of a row, as masks; `blocked` is sorted."""
    runs, low = [], 0
    for left, right in blocked:
        if left >= low:
            runs.append((2 << left) - (1 << low))
        low = max(low, right)
    runs.append((1 << count) - (1 << low))
    return runs


def straightened(points: Sequence[Point]) -> list[Point]:
    """A way without repeated points and without those at which it runs straight on."""
    kept = [points[0]]
    for here, after in zip(points[1:], points[2:]):
        before = kept[-1]
        if here == before:
            continue
        if before[0] == here[0] == after[0] or before[1] == here[1] == after[1]:
            continue
        kept.append(here)
    return [*kept, points[-1]]


def _apart(values: Sequence[float]) -> list[float]:
    """Values in order, one of those that count as the same."""
    kept: list[float] = []
    for value in sorted(values):
        if not kept or value > kept[-1] + LEVEL:
            kept.append(value)
    return kept


def _place(values: Sequence[float], value: float) -> int:
    return bisect_left(values, value - LEVEL)
