"""Find orthogonal ways for wires among boxes that stay where they are.

Plain numbers, no Qt. Everything is in a frame in which the flow runs to the right: a wire leaves its
source eastwards and enters its target eastwards. If possible, a wire's way has at most five segments
(out, along a column, across, along a column, in); if not, it is found by a search on the grid of the
sides of the boxes nearby, which are more and more until all have been looked at. Ways keep clear of all boxes, including those at their ends, and of the segments of the ways
found before.
"""

from __future__ import annotations

from collections.abc import Iterable, Iterator, Sequence
from itertools import pairwise
from typing import NamedTuple

from nodegraphqt_room import LEVEL, Point, Rect
from nodegraphqt_search import straightened, way_along_sides

# How far a way keeps from boxes, tried in turn: where boxes are close together, less has to do.
CLEARANCES = (12.0, 5.0, 1.0, 0.1)
PITCH = 8.0          # distance between two ways side by side
TRACKS = 8           # how many tracks to either side are tried to get away from other ways
STRIPE = 400.0       # width of the stripes in which boxes and segments are looked up
# How far around both ends the search looks, in turn; the last time everywhere.
REACHES = (300.0, 1200.0, float("inf"))


class End(NamedTuple):
    """Where a wire leaves or enters: the port's centre, and the index of its node's box."""

    x: float
    y: float
    box: int


class _Stripes:
    """Rectangles that can be looked up by the stripe of x in which they lie."""

    def __init__(self) -> None:
        self._stripes: dict[int, list[tuple[Rect, int]]] = {}

    def add(self, rect: Rect, key: int) -> None:
        for stripe in self._range(rect[0], rect[2]):
            self._stripes.setdefault(stripe, []).append((rect, key))

    def remove(self, rect: Rect, key: int) -> None:
        for stripe in self._range(rect[0], rect[2]):
            self._stripes[stripe].remove((rect, key))

    def near(self, left: float, right: float) -> Iterator[tuple[Rect, int]]:
        """All that may touch this range of x; those that span several stripes may be repeated."""
        stripes = self._stripes
        first, last = int(left // STRIPE), int(right // STRIPE)
        if last - first >= len(stripes):
            for entries in stripes.values():
                yield from entries
            return
        for stripe in range(first, last + 1):
            yield from stripes.get(stripe, ())

    @staticmethod
    def _range(left: float, right: float) -> range:
        return range(int(left // STRIPE), int(right // STRIPE) + 1)


class Router:
    """Ways for wires among `boxes`, each new one kept apart from those added before."""

    def __init__(self, boxes: Sequence[Rect]) -> None:
        self.boxes = boxes
        self._boxes = _Stripes()
        self._segments = _Stripes()
        for index, box in enumerate(boxes):
            self._boxes.add(box, index)

    def add(self, points: Sequence[Point], wire: int) -> None:
        """Record a way, so that later ones keep clear of it. `wire` identifies it."""
        for segment in _segments(points):
            self._segments.add(segment, wire)

    def remove(self, points: Sequence[Point], wire: int) -> None:
        """Forget a way that was added."""
        for segment in _segments(points):
            self._segments.remove(segment, wire)

    def covers(self, points: Sequence[Point], source: int, target: int) -> bool:
        """True if a way runs behind a box; behind its own two, only the stubs at their ports may."""
        spans = list(_segments(points))
        for place, (left, top, right, bottom) in enumerate(spans):
            for box, index in self._boxes.near(left, right):
                if (box[0] + LEVEL < right and left < box[2] - LEVEL
                        and box[1] + LEVEL < bottom and top < box[3] - LEVEL
                        and not (index == source and place == 0)
                        and not (index == target and place == len(spans) - 1)):
                    return True
        return False

    def find(self, source: End, target: End) -> list[Point] | None:
        """A way from one port to the other; None where there is none.

        Takes about a millisecond among a hundred boxes if five segments are enough, and a few if the
        grid has to be searched.
        """
        start = max(source.x, self.boxes[source.box][2])
        end = min(target.x, self.boxes[target.box][0])
        for clearance in CLEARANCES:
            way = self._few_bends(source, target, start, end, clearance)
            if way is not None:
                return self._apart(way, source, target, clearance)
        for reach in REACHES:
            left, right = min(start, end) - reach, max(start, end) + reach
            top, bottom = min(source.y, target.y) - reach, max(source.y, target.y) + reach
            near = [box for box in self.boxes
                    if box[0] < right and left < box[2] and box[1] < bottom and top < box[3]]
            for clearance in CLEARANCES:
                way = self._search(near, source, target, start, end, clearance)
                if way is not None:
                    return self._apart(way, source, target, clearance)
            if len(near) == len(self.boxes):
                break
        return None

    # Asking what is free.

    def _free(self, left: float, top: float, right: float, bottom: float, clearance: float,
              skip: int = -1) -> bool:
        """No box but `skip` is nearer than `clearance` to the rectangle."""
        left, right = left - clearance + LEVEL, right + clearance - LEVEL
        top, bottom = top - clearance + LEVEL, bottom + clearance - LEVEL
        return not any(
            box[0] < right and left < box[2] and box[1] < bottom and top < box[3] and index != skip
            for box, index in self._boxes.near(left, right))

    def _east(self, x: float, y: float, clearance: float, skip: int) -> float:
        """How far east one can go from a point."""
        top, bottom = y + clearance - LEVEL, y - clearance + LEVEL
        return min((box[0] - clearance for box, index in self._boxes.near(x, float("1e9"))
                    if box[1] < top and bottom < box[3] and x < box[2] and index != skip),
                   default=float("inf"))

    def _west(self, x: float, y: float, clearance: float, skip: int) -> float:
        top, bottom = y + clearance - LEVEL, y - clearance + LEVEL
        return max((box[2] + clearance for box, index in self._boxes.near(float("-1e9"), x)
                    if box[1] < top and bottom < box[3] and box[0] < x and index != skip),
                   default=float("-inf"))

    def _column(self, x: float, y: float, clearance: float) -> tuple[float, float] | None:
        """How far up and down one can go from a point; None if it is not free itself."""
        left, right = x - clearance + LEVEL, x + clearance - LEVEL
        up, down = float("-inf"), float("inf")
        for box, _ in self._boxes.near(left, right):
            if box[0] < right and left < box[2]:
                top, bottom = box[1] - clearance, box[3] + clearance
                if bottom <= y + LEVEL:
                    up = max(up, bottom)
                elif top >= y - LEVEL:
                    down = min(down, top)
                else:
                    return None
        return up, down

    # Ways of at most five segments.

    def _few_bends(self, source: End, target: End, start: float, end: float,
                   clearance: float) -> list[Point] | None:
        (sx, sy, sbox), (tx, ty, tbox) = source, target
        first, last = start + clearance, end - clearance
        east = self._east(start, sy, clearance, sbox)
        west = self._west(end, ty, clearance, tbox)
        if first > east or last < west:
            return None
        low, high = max(first, west), min(last, east)
        if abs(sy - ty) <= LEVEL and start <= end and east >= end - clearance - LEVEL:
            return [(sx, sy), (tx, ty)]
        if low <= high:
            top, bottom = min(sy, ty), max(sy, ty)
            gaps = _gaps(low, high, ((box[0] - clearance, box[2] + clearance)
                                     for box, _ in self._boxes.near(low, high)
                                     if box[1] < bottom + clearance - LEVEL
                                     and top - clearance + LEVEL < box[3]))
            if gaps:
                left, right = max(gaps, key=lambda gap: (gap[1] - gap[0], gap[0]))
                x = (left + right) / 2
                return [(sx, sy), (x, sy), (x, ty), (tx, ty)]
        return self._five(source, target, (first, east), (west, last), clearance)

    def _five(self, source: End, target: End, leave: tuple[float, float],
              enter: tuple[float, float], clearance: float) -> list[Point] | None:
        """The shortest way out, along a column, across, along a column and in."""
        (sx, sy, _), (tx, ty, _) = source, target
        best: tuple[float, list[Point]] | None = None
        outs = self._columns(leave[0], min(leave[1], leave[0] + 4 * STRIPE), sy, clearance)
        ins = self._columns(max(enter[0], enter[1] - 4 * STRIPE), enter[1], ty, clearance)[::-1]
        for x1, (up1, down1) in outs[:5]:
            for x2, (up2, down2) in ins[:5]:
                left, right = min(x1, x2), max(x1, x2)
                length = right - left + (x1 - sx) + (tx - x2)
                if best is not None and length + abs(sy - ty) >= best[0]:
                    continue
                gaps = _gaps(max(up1, up2), min(down1, down2), (
                    (box[1] - clearance, box[3] + clearance)
                    for box, _ in self._boxes.near(left, right)
                    if box[0] < right + clearance - LEVEL and left - clearance + LEVEL < box[2]))
                for top, bottom in gaps:
                    y = _inside(top, bottom, sy, ty)
                    cost = length + abs(sy - y) + abs(ty - y)
                    if best is None or cost < best[0]:
                        best = cost, [(sx, sy), (x1, sy), (x1, y), (x2, y), (x2, ty), (tx, ty)]
        return best and best[1]

    def _columns(self, low: float, high: float, y: float,
                 clearance: float) -> list[tuple[float, tuple[float, float]]]:
        """Places in a range of x from which one can leave the height `y`, and how far."""
        places = {low, high}
        for box, _ in self._boxes.near(low, high):
            for x in (box[0] - clearance, box[2] + clearance):
                if low < x < high:
                    places.add(x)
        columns = ((x, self._column(x, y, clearance)) for x in sorted(places))
        return [(x, column) for x, column in columns if column is not None]

    def _search(self, near: Sequence[Rect], source: End, target: End, start: float, end: float,
                clearance: float) -> list[Point] | None:
        """A way along the sides of the boxes around both ends."""
        first, last = start + clearance, end - clearance
        if not (self._free(start, source.y, first, source.y, 0.0, source.box)
                and self._free(last, target.y, end, target.y, 0.0, target.box)):
            return None
        way = way_along_sides(near, (first, source.y), (last, target.y), clearance)
        if way is None:
            return None
        way = straightened([(source.x, source.y), *way, (target.x, target.y)])
        # Boxes stick out of what is near, and a way around them may meet others.
        return None if self.covers(way, source.box, target.box) else way

    # Keeping clear of other ways.

    def _apart(self, way: list[Point], source: End, target: End,
               clearance: float) -> list[Point]:
        """Push each inner segment aside until it lies on no other way, if there is room."""
        for place in range(1, len(way) - 2):
            (x0, y0), (x1, y1) = way[place], way[place + 1]
            for step in _steps():
                if x0 == x1:
                    moved = [(x0 + step, y0), (x1 + step, y1)]
                else:
                    moved = [(x0, y0 + step), (x1, y1 + step)]
                tried = [*way[:place], *moved, *way[place + 2:]]
                if step and not self._allowed(tried, place, source, target, clearance):
                    continue
                if not self._crowded(*moved):
                    way = tried
                    break
        return way

    def _allowed(self, way: Sequence[Point], place: int, source: End, target: End,
                 clearance: float) -> bool:
        """Segment `place` of a way and its neighbours are free, and the ends still point east."""
        if place == 1 and way[1][0] < max(source.x, self.boxes[source.box][2]) + LEVEL:
            return False
        if place == len(way) - 3 and way[-2][0] > min(target.x, self.boxes[target.box][0]) - LEVEL:
            return False
        least = min(clearance, PITCH / 2)
        for k in (place - 1, place, place + 1):
            (x0, y0), (x1, y1) = way[k], way[k + 1]
            skip = -1
            if k == 0:
                x0, skip = max(x0, self.boxes[source.box][2]), source.box
            elif k == len(way) - 2:
                x1, skip = min(x1, self.boxes[target.box][0]), target.box
            if not self._free(min(x0, x1), min(y0, y1), max(x0, x1), max(y0, y1), least, skip):
                return False
        return True

    def _crowded(self, start: Point, end: Point) -> bool:
        """True if another way runs beside this segment, nearer than the pitch."""
        left, right = min(start[0], end[0]), max(start[0], end[0])
        top, bottom = min(start[1], end[1]), max(start[1], end[1])
        near = PITCH - LEVEL
        if left == right:
            return any(other[0] == other[2] and abs(other[0] - left) < near
                       and other[1] < bottom and top < other[3]
                       for other, _ in self._segments.near(left - near, right + near))
        return any(other[1] == other[3] and abs(other[1] - top) < near
                   and other[0] < right and left < other[2]
                   for other, _ in self._segments.near(left, right))


def _segments(points: Iterable[Point]) -> Iterator[Rect]:
    for (x0, y0), (x1, y1) in pairwise(points):
        yield min(x0, x1), min(y0, y1), max(x0, x1), max(y0, y1)


def _steps() -> Iterator[float]:
    yield 0.0
    for track in range(1, TRACKS + 1):
        yield track * PITCH
        yield -track * PITCH


def _gaps(low: float, high: float, taken: Iterable[tuple[float, float]]) -> list[tuple[float, float]]:
    """What is left of a range when the open intervals in `taken` are cut out of it."""
    gaps = []
    for start, end in sorted(taken):
        if start >= low and low <= high:
            gaps.append((low, min(start, high)))
        low = max(low, end)
        if low > high:
            return gaps
    if low <= high:
        gaps.append((low, high))
    return gaps


def _inside(low: float, high: float, one: float, other: float) -> float:
    """The value of a range that costs the least detour between two others."""
    middle = (one + other) / 2
    low, high = max(low, min(one, other)), min(high, max(one, other))
    if low <= high:
        return min(max(middle, low), high)
    return low if low > max(one, other) else high
