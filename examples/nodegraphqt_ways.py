"""Decide which way each wire takes: the engine's, the one it has, or one around the boxes."""

from __future__ import annotations

from collections.abc import Collection, Mapping, Sequence
from typing import Any

from NodeGraphQt import NodeGraph

from nodegraphqt_reading import Canvas, Connection, Wire
from nodegraphqt_room import Point, Rect
from nodegraphqt_router import End, Router

EXACT = 1e-6
FIT_TOLERANCE = 0.5  # how far, in scene units, the end of a route may be from the centre of its port


class Wiring:
    """The wires of a canvas and the routes that its viewer knows for them."""

    def __init__(self, graph: NodeGraph, canvas: Canvas) -> None:
        self._canvas = canvas
        self._rects = [box.rect for box in canvas.boxes]
        self._proposed: Mapping[int, list[Point]] = {}
        self._known: dict[int, list[list[Point]]] = {}
        self._asked: dict[int, Sequence[Point]] = {}  # without the detours
        viewer: Any = graph.viewer()
        if hasattr(viewer, "known_routes"):
            for index, wire in enumerate(canvas.wires):
                connection = canvas.connection(wire)
                routes = viewer.known_routes(connection)
                if wire.shown and routes:
                    self._known[index] = [canvas.turned(route) for route in routes]
                    if connection in viewer.routes:
                        self._asked[index] = self._known[index][0]

    def following(self) -> frozenset[int]:
        """The wires that now follow a route which fits and runs behind no box."""
        router = Router(self._rects)
        return frozenset(
            index for index in self._known
            if self._kept(index, self._canvas.ends(self._canvas.wires[index], self._rects), router))

    def displaced(self) -> frozenset[int]:
        """The wires whose ends are not where they were when routes were asked for."""
        if not self._asked:
            return frozenset()
        return frozenset(
            index for index, wire in enumerate(self._canvas.wires)
            if index not in self._asked or any(
                abs(one[axis] - other[axis]) > FIT_TOLERANCE
                for one, other in zip(self._canvas.ends(wire, self._rects),
                                      (self._asked[index][0], self._asked[index][-1]))
                for axis in (0, 1)))

    def propose(self, ways: Mapping[int, list[Point]]) -> None:
        """Record the engine's ways. Their ends need not reach into their boxes yet."""
        self._proposed = ways

    def routes(self, rects: Sequence[Rect], wires: Collection[int], *, trusted: bool = False,
               keep: bool = True) -> dict[Connection, list[Point]]:
        """Routes, in the coordinates of the scene, for when the boxes are at `rects`.

        There is one for each of `wires`, and one for each other wire that has a route, which it keeps
        if it can. With `keep`, those in `wires` do so too. With `trusted`, the engine's ways are known
        to be clear.
        """
        canvas = self._canvas
        router = Router(rects)
        ways: dict[int, list[Point]] = {}
        rest: list[tuple[float, int, tuple[End, End]]] = []
        for index, wire in enumerate(canvas.wires):
            if not wire.shown:
                continue
            ends = canvas.ends(wire, rects)
            mine = index in wires
            if not mine and index not in self._known:
                continue
            way = self._proposal(index, ends)
            if way is not None and not trusted and router.covers(way, wire.source, wire.target):
                way = None
            if way is None and (keep or not mine):
                way = self._kept(index, ends, router)
            if way is None:
                (sx, sy, _), (tx, ty, _) = ends
                rest.append((abs(tx - sx) + abs(ty - sy), index, ends))
            else:
                ways[index] = way
        if rest:
            for index, way in ways.items():
                router.add(way, index)
        # Short wires first, since they have the least choice.
        for _, index, ends in sorted(rest):
            way = router.find(*ends)
            if way is not None:
                router.add(way, index)
                ways[index] = way
        return {canvas.connection(canvas.wires[index]): canvas.turned(ways[index])
                for index in sorted(ways)}

    def _proposal(self, index: int, ends: tuple[End, End]) -> list[Point] | None:
        """The engine's way, extended to the centres of the ports.

        A port may be drawn inside its box, and the port of a block represents one further inside.
        """
        way = self._proposed.get(index)
        if way is None:
            return None
        return _led(way, ends[0][:2], ends[1][:2])

    def _kept(self, index: int, ends: tuple[End, End], router: Router) -> list[Point] | None:
        """A known route that fits the ends, moved or stretched with them, and is clear."""
        source, target = self._canvas.wires[index].source, self._canvas.wires[index].target
        ways = [way for route in self._known.get(index, ())
                for way in _adapted(route, ends[0][:2], ends[1][:2])]
        # Those that fit as they are first.
        ways.sort(key=lambda way: way not in self._known[index])
        return next((way for way in ways if not router.covers(way, source, target)), None)


def _adapted(route: Sequence[Point], start: Point, end: Point) -> list[list[Point]]:
    """A route whose ends have moved: moved as a whole, or stretched at a segment along the flow."""
    first = start[0] - route[0][0], start[1] - route[0][1]
    last = end[0] - route[-1][0], end[1] - route[-1][1]
    if abs(first[1] - last[1]) > FIT_TOLERANCE:
        return []
    if abs(first[0] - last[0]) <= FIT_TOLERANCE:
        if max(*map(abs, first), *map(abs, last)) <= EXACT:
            return [list(route)]
        return [_led([(x + first[0], y + first[1]) for x, y in route], start, end)]
    ways = []
    for place in range(1, len(route)):
        if route[place - 1][1] == route[place][1]:
            way = [*((x + first[0], y + first[1]) for x, y in route[:place]),
                   *((x + last[0], y + last[1]) for x, y in route[place:])]
            # If a segment turned round, the way would double back on itself.
            if all((one[0] - two[0]) * (old[0] - new[0]) >= 0
                   for one, two, old, new in zip(way, way[1:], route, route[1:])):
                ways.append(_led(way, start, end))
    return ways


def _led(way: Sequence[Point], start: Point, end: Point) -> list[Point]:
    """A way along the axes, with its ends moved exactly onto two points nearby."""
    inner = list(way[1:-1])
    if inner:
        inner[0] = inner[0][0], start[1]
        inner[-1] = inner[-1][0], end[1]
    return [start, *inner, end]
