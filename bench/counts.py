"""What is wrong or right with a drawing, in numbers."""

from collections.abc import Iterator
from dataclasses import dataclass, fields
from itertools import combinations, pairwise

from drawings import Box, Drawing, Piece, Point, Wire
from payloads import Payload
from quillan.core.vorn_layered import (
    LayoutOptions,
    assign_layers,
    break_cycles,
    build_graph,
    count_crossings,
    reduce_crossings,
    weakly_connected_components,
)

# Wires closer to each other than this look like one line.
CLOSE = 2.0
# A step across the flow shorter than this looks like a mistake.
SMALL_JOG = 8.0
# What rounding may do to a coordinate.
EXACT = 1e-6


@dataclass(frozen=True)
class Counts:
    """The counts of one drawing, or sums of them over several."""

    routes: int = 0
    counted: int = 0  # crossings that follow from the orders within the layers
    drawn: int = 0  # crossings of the polylines of wires that share no port
    close: int = 0  # pairs of wires that share no port and run within CLOSE along a stretch
    jogs: int = 0  # routes with a step under SMALL_JOG
    straight: int = 0  # wires straight from port to port
    bends: int = 0
    behind: int = 0  # wires that pass behind a node other than their own
    off_port: int = 0  # ends of wires away from their ports
    overlaps: int = 0  # pairs of boxes

    def __add__(self, other: "Counts") -> "Counts":
        return Counts(
            *(getattr(self, field.name) + getattr(other, field.name) for field in fields(self))
        )


def count(payload: Payload, options: LayoutOptions, drawing: Drawing) -> Counts:
    """Count everything on `drawing`, which `options` gave for `payload`."""
    wires = drawing.wires
    pairs = [(a, b) for a, b in combinations(wires, 2) if not a.shares_port(b)]
    return Counts(
        routes=len(wires),
        counted=crossings_of_orders(payload, options),
        drawn=sum(crossings(a, b) for a, b in pairs),
        close=sum(run_close(a, b) for a, b in pairs),
        jogs=sum(any(step < SMALL_JOG for step in steps(wire)) for wire in wires),
        straight=sum(wire.is_straight for wire in wires),
        bends=sum(len(wire.points) - 2 for wire in wires),
        behind=sum(runs_behind(wire, drawing) for wire in wires),
        off_port=sum(ends_off_port(wire) for wire in wires),
        overlaps=sum(a.overlaps(b) for a, b in combinations(drawing.boxes.values(), 2)),
    )


def crossings_of_orders(payload: Payload, options: LayoutOptions) -> int:
    """The crossings that the orders within the layers make unavoidable."""
    total = 0
    for nodes, edges in weakly_connected_components(*payload):
        graph = build_graph(nodes, edges, options)
        break_cycles(graph)
        assign_layers(graph)
        reduce_crossings(graph)
        total += count_crossings(graph)
    return total


def crossings(a: Wire, b: Wire) -> int:
    """How often two wires cross."""
    return sum(_cross(one, other) for one in a.pieces for other in b.pieces)


def _side(piece: Piece, point: Point) -> float:
    """On which side of the line through `piece` a point lies: below, on or above zero."""
    (ax, ay), (bx, by) = piece
    return (bx - ax) * (point[1] - ay) - (by - ay) * (point[0] - ax)


def _cross(a: Piece, b: Piece) -> bool:
    return _side(a, b[0]) * _side(a, b[1]) < 0.0 and _side(b, a[0]) * _side(b, a[1]) < 0.0


def run_close(a: Wire, b: Wire) -> bool:
    """Whether two wires run side by side, or on one another, as one line."""
    return any(_close(one, other) for one in a.pieces for other in b.pieces)


def _close(a: Piece, b: Piece) -> bool:
    for along in (0, 1):
        across = 1 - along
        if a[0][across] == a[1][across] and b[0][across] == b[1][across]:
            stretch = min(a[1][along], b[1][along]) - max(a[0][along], b[0][along])
            return stretch > EXACT and abs(a[0][across] - b[0][across]) < CLOSE
    return False


def steps(wire: Wire) -> Iterator[float]:
    """How far the wire goes across the flow, step by step."""
    return (abs(b[1] - a[1]) for a, b in pairwise(wire.points) if abs(b[1] - a[1]) > EXACT)


def runs_behind(wire: Wire, drawing: Drawing) -> bool:
    """Whether a node other than the wire's own hides a part of it."""
    others = [box for node, box in drawing.boxes.items() if node not in (wire.source, wire.target)]
    return any(_passes(piece, box) for piece in wire.pieces for box in others)


def _passes(piece: Piece, box: Box) -> bool:
    """Whether a piece meets the inside of a box; touching its border does not count."""
    enters, leaves = 0.0, 1.0
    corner, size = (box.x, box.y), (box.width, box.height)
    for axis in (0, 1):
        way = piece[1][axis] - piece[0][axis]
        low = corner[axis] + EXACT - piece[0][axis]
        high = corner[axis] + size[axis] - EXACT - piece[0][axis]
        if way == 0.0:
            if not low < 0.0 < high:
                return False
            continue
        first, last = sorted((low / way, high / way))
        enters, leaves = max(enters, first), min(leaves, last)
    return enters < leaves


def ends_off_port(wire: Wire) -> int:
    """How many of the two ends lie away from their ports."""
    drawn = wire.points[0], wire.points[-1]
    return sum(
        abs(a[0] - b[0]) > EXACT or abs(a[1] - b[1]) > EXACT
        for a, b in zip(drawn, wire.ends, strict=True)
    )
