"""Types of what `vorn_layered.layout` takes and returns, for annotations.

    from quillan.core.vorn_layered_types import EdgeMapping, NodeMapping

    nodes: list[NodeMapping] = [{"id": "load", "width": 160, "output_ports": 2}]

A type checker then finds a misspelt key, a missing id or an unusable value, and an editor suggests the
keys. The engine itself never looks at these types: it takes any mapping and ignores other keys. To
annotate a mapping that has more keys, derive from the type:

    class EditorNode(NodeMapping):
        label: str

The types are a little stricter than the engine. It would accept a str that contains a number as the
offset of a port; they do not, because a str there is far more often a mistake.
"""

from collections.abc import Iterable
from typing import Required, SupportsFloat, SupportsIndex, SupportsInt, TypeAlias, TypedDict

Number: TypeAlias = SupportsFloat | SupportsIndex
"""Whatever Python's `float` accepts, except a str."""

Point: TypeAlias = tuple[float, float]
"""A pair `(x, y)`."""


class PortMapping(TypedDict, total=False):
    """A port in a list of ports. Every key is optional."""

    id: object
    """The name of the port in an `LGraph`. Edges refer to ports by position, never by id."""
    offset: Number
    """Distance from the top of the node (from its left for DOWN and UP); the middle of the side if
    missing."""


Ports: TypeAlias = SupportsIndex | Iterable[PortMapping | Number] | None
"""The ports of a side: how many there are, spread evenly, or one item for each of them, either its
offset or a mapping. With None there is one port, in the middle, if an edge needs it."""


class NodeMapping(TypedDict, total=False):
    """A node. Only `id` is required."""

    id: Required[object]
    """Any value; its str is the node's id in the result, so 7 and "7" are the same id."""
    width: Number | str | None
    """Width of the box; 140.0 if missing, None, empty or 0."""
    height: Number | str | None
    """Height of the box; 56.0 if missing, None, empty or 0."""
    x: Number | str | None
    """Current left edge of the box; read only by the "INTERACTIVE" and "KEEP" strategies."""
    y: Number | str | None
    """Current top edge of the box; read only by the "INTERACTIVE" and "KEEP" strategies."""
    input_ports: Ports
    """The ports on the side where edges enter."""
    output_ports: Ports
    """The ports on the side where edges leave."""


class EdgeMapping(TypedDict, total=False):
    """An edge. An edge that does not name two different nodes of the payload is left out."""

    id: object
    """Any value; its str is the edge's id in the result. If missing, None, empty or 0: "e" and the
    edge's position in the list."""
    source: Required[object]
    """The id of the node that the edge leaves."""
    target: Required[object]
    """The id of the node that the edge enters."""
    source_port: SupportsInt | str | None
    """Which of the source's output ports, from 0; the first if missing or out of range."""
    target_port: SupportsInt | str | None
    """Which of the target's input ports, from 0; the first if missing or out of range."""


Positions: TypeAlias = dict[str, Point]
"""The first part of a result: the top-left corner of every node, by the node's id."""

Routes: TypeAlias = dict[str, list[Point]]
"""The second part of a result: the points of an edge's polyline, by the edge's id."""
