"""Keep an arrangement: move only what has to move.

A drawing whose boxes are aligned in columns along the flow, with wires only between columns, is kept as
it is, and so is one whose wires follow routes that are clear. A box that was dropped on others, or
between two columns so that they look like one, gets its column from its wires. If there is a column
between the other ends of its wires, the box goes to the free place in it that is nearest to where it was
dropped; otherwise it gets a new column, and everything behind makes just enough room for it. A drawing
that is not arranged at all is left to the engine.
"""

from __future__ import annotations

from collections import Counter
from collections.abc import Callable, Sequence

from nodegraphqt_room import (
    LEVEL, Rect, bridge, meets, moved, nearest_place, overlapping_pairs, runs, united)
from quillan.core.vorn_layered import LayoutOptions

# A part counts as arranged if at most this share of its boxes stand across columns, or if at least that
# share of its wires already follow routes that are clear.
STRAY_SHARE = 0.15
FOLLOWING_SHARE = 0.7
ROUNDS = 4
ALIGNED = 1.0  # how far, in scene units, the middle of a box may be from that of its column


class Keeper:
    """The boxes of one level, the wires between them as pairs, and where the boxes have to go."""

    def __init__(self, rects: Sequence[Rect], fixed: Sequence[bool],
                 edges: Sequence[tuple[int, int]], options: LayoutOptions,
                 following: Sequence[bool], displaced: Sequence[bool]) -> None:
        self.rects = list(rects)
        self._fixed = fixed
        self._edges = edges
        self._options = options
        self._following = following
        self._moved_ends = Counter(end for edge, moved_end in zip(edges, displaced) if moved_end
                                   for end in edge)  # how many of its wires say that a box moved
        self._gap = options.spacing_node_node
        # Boxes that are closer together than this along the flow leave no way out of their ports.
        self._least = min(options.spacing_edge_node, options.spacing_node_node_between_layers / 2)
        self.parts = _parts(len(rects), edges)
        self._sources: list[list[int]] = [[] for _ in rects]
        self._targets: list[list[int]] = [[] for _ in rects]
        for source, target in edges:
            if source != target:
                self._sources[target].append(source)
                self._targets[source].append(target)

    def kept(self, lay_out: Callable[[Sequence[int]], list[Rect]]) -> list[Rect]:
        """New positions for all boxes. `lay_out` arranges the boxes of a part from scratch."""
        strays = [self._strays(part) for part in self.parts]
        anew = [part for part, found in zip(self.parts, strays) if found is None]
        pending = {index for part in anew for index in part if not self._fixed[index]}
        for part in anew:
            self._lay_out(part, lay_out, pending)
        # What made room for others may be a stray itself now, and would move the next time.
        for _ in range(ROUNDS):
            before = list(self.rects)
            self._settle_all([stray for found in strays for stray in found or ()])
            if self.rects == before:
                break
            strays = [self._strays(part) for part in self.parts]
        return self.rects

    def _settle_all(self, strays: Sequence[int]) -> None:
        """Settle the boxes that stand across columns, overlap others or are too close to them."""
        intruders = self._intruders()
        for index in sorted({*intruders, *(stray for stray in strays if self._runs_back(stray))}):
            if not self._fixed[index]:
                self._settle(index)
        self._push_apart()

    def _strays(self, part: Sequence[int]) -> list[int] | None:
        """The boxes that stand across columns; None if the part has no columns at all."""
        left = set(part)
        strays: list[int] = []
        wires = [(source, target) for source, target in self._edges
                 if source in left and source != target]
        allowed = max(1, int(STRAY_SHARE * len(part)))
        while True:
            members = sorted(left)
            spans = [self.rects[index][::2] for index in members]
            groups = runs(spans)
            column = {members[place]: rank for rank, group in enumerate(groups) for place in group}
            inside = {column[source] for source, target in wires
                      if source in left and target in left and column[source] == column[target]}
            if not inside:
                loose = sum(len(self._loose([members[place] for place in group])) for group in groups)
                if len(strays) + loose > allowed:
                    break
                return strays
            if len(strays) == allowed:
                break
            place = next((found for rank in sorted(inside)
                          if (found := bridge(spans, groups[rank])) is not None), None)
            if place is not None:
                stray = members[place]
            else:  # It is in the same column as something that it is connected to.
                ends = Counter(end for wire in wires if left.issuperset(wire)
                               and column[wire[0]] == column[wire[1]] for end in wire)
                stray = max(ends, key=lambda index: (ends[index], index))
            strays.append(stray)
            left.remove(stray)
        places = set(part)
        own = [follows for (source, _), follows in zip(self._edges, self._following)
               if source in places]
        return strays if own and sum(own) >= FOLLOWING_SHARE * len(own) else None

    def _loose(self, column: Sequence[int]) -> list[int]:
        """The boxes of a column whose middles are off the common line that a layout gives them."""
        middles = [self._middle(index) for index in column]
        line = sorted(middles)[len(middles) // 2]
        return [index for index, middle in zip(column, middles) if abs(middle - line) > ALIGNED]

    def _off_line(self) -> set[int]:
        """The loose boxes of all columns."""
        return {index for part in self.parts
                for group in runs([self.rects[index][::2] for index in part])
                for index in self._loose([part[place] for place in group])}

    def _middle(self, index: int) -> float:
        return (self.rects[index][0] + self.rects[index][2]) / 2

    def _lay_out(self, part: Sequence[int], lay_out: Callable[[Sequence[int]], list[Rect]],
                 pending: set[int]) -> None:
        """Arrange a part from scratch, at its corner or where its first fixed box requires it."""
        before = [self.rects[index] for index in part]
        now = lay_out(part)
        pin = next((rank for rank, index in enumerate(part) if self._fixed[index]), None)
        if pin is not None:
            dx, dy = before[pin][0] - now[pin][0], before[pin][1] - now[pin][1]
        else:
            old, new = united(before), united(now)
            taken = [rect for index, rect in enumerate(self.rects) if index not in pending]
            x, y = nearest_place((new[2] - new[0], new[3] - new[1]), old[:2], taken,
                                 self._gap) or old[:2]
            dx, dy = x - new[0], y - new[1]
        for index, rect in zip(part, now):
            if not self._fixed[index]:
                self.rects[index] = moved(rect, dx, dy)
        pending.difference_update(part)

    def _intruders(self) -> list[int]:
        """Boxes to remove so that no two overlap or are too close: repeatedly the one that overlaps most.

        Of equals it is the one that the user has moved, as far as its wires and its column tell, and
        otherwise the last, which is the one that was made last.
        """
        loose = self._off_line()
        meets_: dict[int, set[int]] = {}
        for one, other in overlapping_pairs(
                [self._with_way_out(index) for index in range(len(self.rects))]):
            meets_.setdefault(one, set()).add(other)
            meets_.setdefault(other, set()).add(one)
        found = []
        while meets_:
            worst = max(meets_, key=lambda index: (
                not self._fixed[index], len(meets_[index]), self._moved_ends[index],
                index in loose, index))
            for other in meets_.pop(worst):
                if other in meets_:
                    meets_[other].discard(worst)
                    if not meets_[other]:
                        del meets_[other]
            found.append(worst)
        return found

    def _runs_back(self, index: int) -> bool:
        """Whether a wire of this box has to turn back to reach it."""
        left, _, right, _ = self.rects[index]
        return (any(self.rects[source][2] > left - LEVEL for source in self._sources[index])
                or any(right > self.rects[target][0] - LEVEL for target in self._targets[index]))

    def _settle(self, index: int) -> None:
        """Find a box its column and its place in it."""
        part = next(part for part in self.parts if index in part)
        others = [other for other in part if other != index]
        rect = self.rects[index]
        width = rect[2] - rect[0]
        if not others:
            self._put(index, *rect[:2])
            return
        columns = [united(self.rects[others[place]] for place in group)
                   for group in runs([self.rects[other][::2] for other in others])]
        between = self._options.spacing_node_node_between_layers
        low = max((self._column_of(columns, source)[2] for source in self._sources[index]),
                  default=float("-inf"))
        high = min((self._column_of(columns, target)[0] for target in self._targets[index]),
                   default=float("inf"))
        middle = self._middle(index)
        if low > high:
            self._put(index, *rect[:2])
            return
        fitting = [column for column in columns if low - LEVEL <= column[0] + LEVEL
                   and column[2] <= high + LEVEL]
        if fitting:
            column = min(fitting, key=lambda column: abs(column[0] + column[2] - 2 * middle))
            self._put_at(index, (column[0] + column[2] - width) / 2, rect[1])
            return
        if low == float("-inf"):
            x = high - between - width
        else:
            x = low + between
            step = x + width + between - high
            if step > LEVEL:
                behind = [other for other in others
                          if self.rects[other][0] >= high - LEVEL and not self._fixed[other]]
                self._make_room(part, behind, step)
        self._put_at(index, x, rect[1])

    def _make_room(self, part: Sequence[int], behind: Sequence[int], step: float) -> None:
        """Move some boxes of a part along the flow, and so what they then meet of other parts.

        Each other part moves once at most, from the first column that is met on, and not if something
        in it is fixed. What is still in the way after that is pushed apart.
        """
        waiting = [other for other in self.parts
                   if other is not part and not any(self._fixed[index] for index in other)]
        moves = [(behind, step)]
        while moves:
            front, step = moves.pop()
            for index in front:
                self.rects[index] = moved(self.rects[index], step, 0.0)
            for other in list(waiting):
                met = [(self.rects[one][2], two) for two in other for one in front
                       if meets(self._with_way_out(one), self._with_way_out(two))]
                if met:
                    waiting.remove(other)
                    columns = [united(self.rects[other[place]] for place in group)
                               for group in runs([self.rects[two][::2] for two in other])]
                    first = min(self._column_of(columns, two)[0] for _, two in met)
                    moves.append((
                        [two for two in other if self.rects[two][0] >= first - LEVEL],
                        max(right + self._gap - self.rects[two][0] for right, two in met)))

    def _with_way_out(self, index: int) -> Rect:
        """A box with half of the room that it needs to the next one along the flow."""
        left, top, right, bottom = self.rects[index]
        return left - self._least / 2, top, right + self._least / 2, bottom

    def _column_of(self, columns: Sequence[Rect], index: int) -> Rect:
        middle = self._middle(index)
        return next(column for column in columns if column[0] <= middle <= column[2])

    def _put(self, index: int, x: float, y: float) -> None:
        """Put a box at the free place nearest to a point."""
        left, top, right, bottom = self.rects[index]
        place = nearest_place((right - left, bottom - top), (x, y), self._others(index), self._gap)
        x, y = place or (x, y)
        self.rects[index] = moved(self.rects[index], x - left, y - top)

    def _put_at(self, index: int, x: float, y: float) -> None:
        """Put a box at the free height nearest to `y`, at exactly this x."""
        left, top, right, bottom = self.rects[index]
        # A bar without width marks where a box as wide as this may go.
        taken = [(-1.0, other[1], 1.0, other[3]) for other in self._others(index)
                 if other[0] < x + right - left + self._gap and x < other[2] + self._gap]
        place = nearest_place((0.0, bottom - top), (0.0, y), taken, self._gap,
                              lambda rect: rect[0] == 0.0)
        self.rects[index] = moved(self.rects[index], x - left, (place or (0.0, y))[1] - top)

    def _others(self, index: int) -> list[Rect]:
        return [rect for other, rect in enumerate(self.rects) if other != index]

    def _push_apart(self) -> None:
        """Put what still overlaps, because others had to make room, to the nearest free place."""
        for index in self._intruders():
            if not self._fixed[index]:
                self._put(index, *self.rects[index][:2])


def _parts(count: int, edges: Sequence[tuple[int, int]]) -> list[list[int]]:
    """The connected parts of a graph, in the order of their first members."""
    parent = list(range(count))

    def root(index: int) -> int:
        while parent[index] != index:
            parent[index] = parent[parent[index]]
            index = parent[index]
        return index

    for source, target in edges:
        one, other = root(source), root(target)
        parent[max(one, other)] = min(one, other)
    parts: dict[int, list[int]] = {}
    for index in range(count):
        parts.setdefault(root(index), []).append(index)
    return list(parts.values())
