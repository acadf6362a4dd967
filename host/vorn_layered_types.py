"""Names for what `vorn_layered.layout` takes and gives, for annotations.

    from quillan.core.vorn_layered_types import EdgeMapping, NodeMapping

    nodes: list[NodeMapping] = [{"id": "load", "width": 160, "output_ports": 2}]

A type checker then finds a misspelt key, a missing id or a value that cannot serve, and an editor
offers the keys. The engine never looks at these types: any mapping is welcome, and its own keys are
passed over. To annotate a mapping with further keys, derive from the type:

    class EditorNode(NodeMapping):
        label: str

The types ask for a little more than the engine does. Where it would take a str with a number in it
as a port's offset or as a count of ports, they do not, because a str there is a mistake far more
often than a number.
"""

from collections.abc import Iterable
from typing import Required, SupportsFloat, SupportsIndex, SupportsInt, TypeAlias, TypedDict

Number: TypeAlias = SupportsFloat | SupportsIndex
"""What Python's `float` accepts, apart from a str."""

Point: TypeAlias = tuple[float, float]
"""A pair `(x, y)`."""


class PortMapping(TypedDict, total=False):
    """A port in a list of ports. Every key is optional."""

    id: object
    """The name of the port in an `LGraph`. Edges name ports by position, never by id."""
    offset: Number
    """Distance from the top of the node (from its left for DOWN and UP); the middle of the side
    where missing."""


Ports: TypeAlias = SupportsIndex | Iterable[PortMapping | Number] | None
"""The ports of a side: how many there are, spread evenly, or one item for each of them, which is
its offset or a mapping. None means none: a port in the middle is made when an edge needs one."""


class NodeMapping(TypedDict, total=False):
    """A node. Only `id` is required."""

    id: Required[object]
    """Any value; its str is the node's id in the result, so that 7 and "7" are the same id."""
    width: Number | str | None
    """Width of the box; 140.0 where missing, None, empty or 0."""
    height: Number | str | None
    """Height of the box; 56.0 where missing, None, empty or 0."""
    x: Number | str | None
    """Left edge of the box where it stands now; read by the "INTERACTIVE" strategies only."""
    y: Number | str | None
    """Top edge of the box where it stands now; read by the "INTERACTIVE" strategies only."""
    input_ports: Ports
    """The ports on the side where edges enter."""
    output_ports: Ports
    """The ports on the side where edges leave."""


class EdgeMapping(TypedDict, total=False):
    """An edge. An edge that does not name two different nodes of the payload is left out."""

    id: object
    """Any value; its str is the edge's id in the result. "e" and the edge's position in the list
    where missing, None, empty or 0."""
    source: Required[object]
    """The id of the node that the edge leaves."""
    target: Required[object]
    """The id of the node that the edge enters."""
    source_port: SupportsInt | str | None
    """Which of the source's output ports, from 0; the first where missing or out of range."""
    target_port: SupportsInt | str | None
    """Which of the target's input ports, from 0; the first where missing or out of range."""


Positions: TypeAlias = dict[str, Point]
"""The first part of a result: the top-left corner of every node, by the node's id."""

Routes: TypeAlias = dict[str, list[Point]]
"""The second part of a result: the points of an edge's polyline, by the edge's id."""
