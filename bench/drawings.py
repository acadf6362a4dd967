"""A finished drawing as its viewer sees it: boxes, and wires from port to port."""

from collections.abc import Iterator
from dataclasses import dataclass
from itertools import pairwise

from payloads import Payload
from quillan.core.vorn_layered import LayoutOptions, LGraph, build_graph, layout

Point = tuple[float, float]
# From its lesser to its greater end.
Piece = tuple[Point, Point]

# A route is drawn straight where its ports differ by no more than this across the flow.
STRAIGHT = 0.5


@dataclass(frozen=True)
class Box:
    """A node of the drawing."""

    x: float
    y: float
    width: float
    height: float

    def overlaps(self, other: "Box") -> bool:
        """Whether the insides of two boxes meet; rounding errors do not count."""
        return (
            min(self.x + self.width, other.x + other.width) - max(self.x, other.x) > 1e-6
            and min(self.y + self.height, other.y + other.height) - max(self.y, other.y) > 1e-6
        )


@dataclass(frozen=True)
class Wire:
    """A routed edge of a drawing whose flow runs to the right."""

    id: str  # of the edge
    source: str  # node
    target: str
    ports: tuple[str, str]  # at its source and at its target
    ends: tuple[Point, Point]  # the positions of those ports
    points: list[Point]  # no three of them on one line along an axis

    @property
    def pieces(self) -> Iterator[Piece]:
        """The straight pieces between the points."""
        return ((min(a, b), max(a, b)) for a, b in pairwise(self.points))

    @property
    def is_straight(self) -> bool:
        """Whether it runs from port to port without a bend."""
        heights = [y for _, y in self.points]
        return max(heights) - min(heights) <= STRAIGHT

    def shares_port(self, other: "Wire") -> bool:
        """Whether the two may lie on one another."""
        return self.ports[0] == other.ports[0] or self.ports[1] == other.ports[1]


@dataclass(frozen=True)
class Drawing:
    """What `layout` was given, and what it returned."""

    boxes: dict[str, Box]
    wires: list[Wire]


def draw(payload: Payload, options: LayoutOptions) -> Drawing:
    """Lay a payload out. The direction of `options` must be RIGHT."""
    nodes, edges = payload
    positions, routes = layout(nodes, edges, options)
    graph = build_graph(nodes, edges, options)
    boxes = {
        node.id: Box(*positions[node.id], node.width, node.height) for node in graph.real_nodes()
    }
    return Drawing(boxes, list(_wires(graph, boxes, routes)))


def _wires(
    graph: LGraph, boxes: dict[str, Box], routes: dict[str, list[Point]]
) -> Iterator[Wire]:
    for edge in graph.edges:
        if edge.origin_id not in routes:
            continue  # against the flow
        source, target = edge.source, edge.target
        box, other = boxes[source.node.id], boxes[target.node.id]
        ends = (box.x + box.width, box.y + source.offset), (other.x, other.y + target.offset)
        points = _without_joints(routes[edge.origin_id])
        yield Wire(edge.origin_id, source.node.id, target.node.id, (source.id, target.id), ends, points)


def _without_joints(points: list[Point]) -> list[Point]:
    """The points of a route without those at which it goes straight on, as at each dummy."""
    kept: list[Point] = []
    for point in points:
        if len(kept) > 1:
            (ax, ay), (bx, by) = kept[-2:]
            if ax == bx == point[0] or ay == by == point[1]:
                kept.pop()
        kept.append(point)
    return kept
