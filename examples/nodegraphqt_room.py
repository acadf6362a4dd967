"""Find room for rectangles among others: geometry with plain numbers."""

from __future__ import annotations

from bisect import bisect_right
from collections.abc import Callable, Iterable, Iterator, Sequence

Point = tuple[float, float]
Rect = tuple[float, float, float, float]  # left, top, right, bottom

LEVEL = 0.01  # what counts as the same coordinate


def moved(rect: Rect, dx: float, dy: float) -> Rect:
    """A rectangle somewhere else."""
    return rect[0] + dx, rect[1] + dy, rect[2] + dx, rect[3] + dy


def united(rects: Iterable[Rect]) -> Rect:
    """The smallest rectangle around others, of which there must be at least one."""
    lefts, tops, rights, bottoms = zip(*rects)
    return min(lefts), min(tops), max(rights), max(bottoms)


def holds(outer: Rect, inner: Rect) -> bool:
    """True if one rectangle lies wholly inside another."""
    return (outer[0] <= inner[0] and outer[1] <= inner[1]
            and inner[2] <= outer[2] and inner[3] <= outer[3])


def meets(one: Rect, other: Rect, gap: float = 0.0) -> bool:
    """True if two rectangles overlap or are nearer than `gap`."""
    gap -= LEVEL
    return (one[0] < other[2] + gap and other[0] < one[2] + gap
            and one[1] < other[3] + gap and other[1] < one[3] + gap)


def overlapping_pairs(rects: Sequence[Rect]) -> Iterator[tuple[int, int]]:
    """All pairs of rectangles that overlap, by a sweep from left to right."""
    order = sorted(range(len(rects)), key=lambda index: rects[index][0])
    active: list[int] = []
    for index in order:
        active = [other for other in active if rects[other][2] > rects[index][0] + LEVEL]
        for other in active:
            if meets(rects[other], rects[index]):
                yield other, index
        active.append(index)


def nearest_place(
    size: Point, wish: Point, taken: Sequence[Rect], gap: float,
    accept: Callable[[Rect], bool] = lambda rect: True,
) -> Point | None:
    """The corner nearest to `wish` at which a rectangle keeps `gap` from all that are taken.

    There always is one; None means that `accept` refused all that were looked at. The distance
    is measured along the axes.
    """
    width, height = size
    # Where the corner must not be: each obstacle, grown by the rectangle.
    barred = [(left - width - gap, top - height - gap, right + gap, bottom + gap)
              for left, top, right, bottom in taken]
    columns = sorted({wish[0], *(side for box in barred for side in (box[0], box[2]))},
                     key=lambda x: (abs(x - wish[0]), x))
    best: tuple[float, float, float] | None = None
    for x in columns:
        if best is not None and abs(x - wish[0]) >= best[0]:
            break
        spans = sorted((top, bottom) for left, top, right, bottom in barred
                       if left + LEVEL < x < right - LEVEL)
        for y in _free_values(wish[1], spans):
            distance = abs(x - wish[0]) + abs(y - wish[1])
            if best is not None and distance >= best[0]:
                break
            if accept((x, y, x + width, y + height)):
                best = distance, x, y
                break
    return best and best[1:]


def packed(sizes: Sequence[Point], aspect: float, gap: float) -> list[Point]:
    """Corners for rectangles, in rows, so that the whole is about `aspect` times as wide as high.

    They are sorted from the highest to the lowest, so that rows waste little room.
    """
    order = sorted(range(len(sizes)), key=lambda index: (-sizes[index][1], index))
    area = sum((width + gap) * (height + gap) for width, height in sizes)
    widest = max((width for width, _ in sizes), default=0.0)
    best: tuple[float, list[Point]] | None = None
    # Rows never fill up exactly: of a few widths, take the one that fits the shape best.
    for stretch in (0.7, 0.85, 1.0, 1.15, 1.3, 1.5, 1.75, 2.0):
        limit = max(widest, stretch * (area * aspect) ** 0.5)
        places: list[Point] = [(0.0, 0.0)] * len(sizes)
        x = y = row = right = 0.0
        for index in order:
            width, height = sizes[index]
            if x > 0.0 and x + width > limit + LEVEL:
                x, y, row = 0.0, y + row + gap, 0.0
            places[index] = x, y
            right, x, row = max(right, x + width), x + width + gap, max(row, height)
        measure = max(right, (y + row) * aspect)
        if best is None or measure < best[0] - LEVEL:
            best = measure, places
    return best[1] if best else []


def _free_values(wish: float, spans: Sequence[tuple[float, float]]) -> list[float]:
    """Values outside open intervals, those nearest to `wish` first."""
    free: list[tuple[float, float]] = []
    low = float("-inf")
    for start, end in spans:
        if start >= low:
            free.append((low, start))
        low = max(low, end)
    free.append((low, float("inf")))
    values = (min(max(wish, low), high) for low, high in free)
    return sorted(values, key=lambda value: (abs(value - wish), value))


def runs(intervals: Sequence[tuple[float, float]]) -> list[list[int]]:
    """Intervals in groups: those that overlap, directly or through others, are together."""
    order = sorted(range(len(intervals)), key=lambda index: intervals[index])
    groups: list[list[int]] = []
    end = float("-inf")
    for index in order:
        if intervals[index][0] >= end - LEVEL:
            groups.append([])
        groups[-1].append(index)
        end = max(end, intervals[index][1])
    return groups


def bridge(intervals: Sequence[tuple[float, float]], members: Sequence[int]) -> int | None:
    """The member of a run without which it would fall in two; if there are several, the last."""
    events = sorted({value for index in members for value in intervals[index]})
    cover: list[list[int]] = [[] for _ in events]
    for index in members:
        start, end = intervals[index]
        for place in range(bisect_right(events, start) - 1, len(events)):
            if events[place] >= end:
                break
            if len(cover[place]) < 2:
                cover[place].append(index)
    inner = [held[0] for held in cover[1:-2] if len(held) == 1]
    return max(inner, default=None)
