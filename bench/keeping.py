"""How well a finished drawing keeps its place when it is laid out again."""

from dataclasses import dataclass
from itertools import pairwise
from math import dist
from typing import Final

from drawings import Drawing, Point, Wire, draw
from payloads import Payload
from quillan.core.vorn_layered import LayoutOptions

# A node that moved by no more than this has kept its place exactly.
EXACT: Final = 1e-6
# A node that moved across the flow by no more than this is where the user will look for it.
NEAR: Final = 8.0
# For how many wires of a graph, at most, a node is inserted into the middle.
TRIED: Final = 8


@dataclass(frozen=True)
class Kept:
    """Nodes laid out again, and how many of them did not keep their place."""

    again: int = 0  # nodes of a finished drawing
    moved: int = 0  # of these, moved by more than EXACT
    beside: int = 0  # nodes other than the one inserted into the middle of a wire
    away: int = 0  # of these, moved across the flow by more than NEAR

    def __add__(self, other: "Kept") -> "Kept":
        return Kept(
            self.again + other.again,
            self.moved + other.moved,
            self.beside + other.beside,
            self.away + other.away,
        )


def keep(payload: Payload, drawing: Drawing, options: LayoutOptions) -> Kept:
    """Lay `drawing` out again with `options`, unchanged and with a node inserted into a wire."""
    placed = _placed(payload, drawing)
    again = draw(placed, options)
    moved = sum(
        max(abs(again.boxes[node].x - box.x), abs(again.boxes[node].y - box.y)) > EXACT
        for node, box in drawing.boxes.items()
    )
    total = Kept(again=len(drawing.boxes), moved=moved)
    step = max(1, len(drawing.wires) // TRIED)
    for wire in drawing.wires[::step][:TRIED]:
        grown = draw(_with_node_in(wire, placed), options)
        away = sum(
            abs(grown.boxes[node].y - box.y) > NEAR for node, box in drawing.boxes.items()
        )
        total += Kept(beside=len(drawing.boxes), away=away)
    return total


def _placed(payload: Payload, drawing: Drawing) -> Payload:
    """The payload with its nodes where the drawing has them."""
    nodes, edges = payload
    boxes = drawing.boxes
    return [
        {**node, "x": boxes[str(node["id"])].x, "y": boxes[str(node["id"])].y} for node in nodes
    ], edges


def _with_node_in(wire: Wire, placed: Payload) -> Payload:
    """The payload with a node in the middle of the wire, and the wire led through it."""
    nodes, edges = placed
    x, y = _middle(wire.points)
    added = {
        "id": "added",
        "width": 140.0,
        "height": 56.0,
        "x": x - 70.0,
        "y": y - 28.0,
        "input_ports": 1,
        "output_ports": 1,
    }
    (cut,) = (edge for edge in edges if str(edge["id"]) == wire.id)
    halves = [
        {**cut, "id": "to added", "target": "added", "target_port": 0},
        {**cut, "id": "from added", "source": "added", "source_port": 0},
    ]
    return [*nodes, added], [edge for edge in edges if edge is not cut] + halves


def _middle(points: list[Point]) -> Point:
    """The point half way along a polyline."""
    left = sum(dist(a, b) for a, b in pairwise(points)) / 2
    for a, b in pairwise(points):
        length = dist(a, b)
        if left <= length > 0.0:
            share = left / length
            return a[0] + share * (b[0] - a[0]), a[1] + share * (b[1] - a[1])
        left -= length
    return points[-1]
