"""Layered graph layout for node editors: `layout(nodes, edges)` gives positions and routes.

A graph with a direction of flow is drawn in layers: cycles are broken, nodes get layers, the order
inside each layer is chosen to avoid crossings, coordinates are assigned, and edges are routed
orthogonally through the gaps between layers. Results are exact and repeatable to the last bit.

Most callers need only `layout`, `LayoutOptions` and `Direction`. The other names are for running the
phases one at a time on an `LGraph` and for looking inside.

Lengths and coordinates are in the caller's own units, usually pixels. There are two frames: the caller's
frame, in which sizes and positions are given and results are returned, and the normalised frame of
`LGraph`, in which the flow runs along increasing x whatever the direction of the drawing.
"""

import dataclasses as _dataclasses
import enum as _enum


class Direction(_enum.StrEnum):
    """The direction of the flow of a drawing. Every value is its own name as a str."""

    RIGHT = "RIGHT"
    LEFT = "LEFT"
    DOWN = "DOWN"
    UP = "UP"

    @property
    def is_transposed(self) -> bool:
        """True if the flow runs along y in the caller's frame: for DOWN and UP."""
        return self in (Direction.DOWN, Direction.UP)

    @property
    def is_reversed(self) -> bool:
        """True if the flow runs towards decreasing coordinates: for LEFT and UP."""
        return self in (Direction.LEFT, Direction.UP)


class PortSide(_enum.StrEnum):
    """The side of a port in the normalised frame: edges enter at WEST and leave at EAST."""

    WEST = "WEST"
    EAST = "EAST"


class NodeKind(_enum.StrEnum):
    """NORMAL is a node of the payload, LONG_EDGE a dummy that splits a long edge."""

    NORMAL = "NORMAL"
    LONG_EDGE = "LONG_EDGE"


AUTO = "AUTO"


class _DirectionField:
    """A field that can be set to a `Direction` or the name of one, and that reads as a `Direction`."""

    def __get__(self, options: object, owner: type | None = None) -> Direction:
        return vars(options).get("direction", Direction.RIGHT) if options is not None else Direction.RIGHT

    def __set__(self, options: object, value: object) -> None:
        # A str that names no direction is left for the layout to refuse, like any other bad value.
        if isinstance(value, str):
            value = Direction.__members__.get(value, value)
        vars(options)["direction"] = value


@_dataclasses.dataclass
class LayoutOptions:
    """The options of a layout. Any of the fields may be given by keyword.

    Lengths are in the caller's units.

    direction: the direction of the flow, a `Direction` or its name.
    interactive: whether to keep the arrangement given by the nodes' `x` and `y`: "AUTO" then means
        "INTERACTIVE".
    cycle_breaking_strategy: one of "GREEDY", "DEPTH_FIRST" and "INTERACTIVE".
    layering_strategy: one of "NETWORK_SIMPLEX" (short edges, up to NETWORK_SIMPLEX_NODE_LIMIT nodes),
        "MINIMUM_LENGTH" (the shortest edges, at any size), "LONGEST_PATH" and "INTERACTIVE".
    crossing_strategy: one of "LAYER_SWEEP", "SIFTING" (fewer crossings, for more time), "INTERACTIVE",
        "KEEP" (the order that the user sees) and "NONE".
    placement_strategy: one of "SIMPLE", "NETWORK_SIMPLEX" (the straightest edges), "INTERACTIVE" (nodes
        stay in place) and "BRANDES_KOEPF", also called "LINEAR_SEGMENTS".
    edge_routing: one of "ORTHOGONAL", "ORTHOGONAL_ORDERED" (fewer crossings and bends, and one trunk
        for the edges of a port) and "POLYLINE".
    spacing_node_node: smallest gap across the flow between two nodes of a layer.
    spacing_node_node_between_layers: smallest gap along the flow between two layers.
    spacing_edge_edge: smallest gap across the flow between two long edges, and the smallest distance
        between tracks.
    spacing_edge_node: smallest gap across the flow between a long edge and a node, and the margin
        between nodes and the tracks beside them.
    padding_left: smallest coordinate of a node along the flow; see the guide for LEFT and UP.
    padding_top: smallest coordinate of a node across the flow; see the guide for DOWN and UP.
    thoroughness: limit on the sweeps that reduce crossings, or on the cost of "SIFTING", for which
        values above 100 make no difference; values below 1 count as 1.

    The names of strategies must match exactly; an unknown one means "GREEDY", "LONGEST_PATH",
    "LAYER_SWEEP", "BRANDES_KOEPF" or "POLYLINE".
    """

    direction: Direction = _DirectionField()
    interactive: bool = False
    cycle_breaking_strategy: str = AUTO
    layering_strategy: str = AUTO
    crossing_strategy: str = AUTO
    placement_strategy: str = "BRANDES_KOEPF"
    edge_routing: str = "ORTHOGONAL"
    spacing_node_node: float = 30.0
    spacing_node_node_between_layers: float = 60.0
    spacing_edge_edge: float = 10.0
    spacing_edge_node: float = 12.0
    padding_left: float = 24.0
    padding_top: float = 24.0
    thoroughness: int = 7

    def resolved(self) -> "LayoutOptions":
        """A new `LayoutOptions` in which every strategy that was "AUTO" has a definite value.

        These are "GREEDY", "NETWORK_SIMPLEX" and "LAYER_SWEEP", or "INTERACTIVE" for all three if
        `interactive` is set. Explicit values are kept. Calling it again changes nothing.
        """
        return _resolved(self)


@_dataclasses.dataclass(eq=False)
class LPort:
    """A connection point on one side of a node.

    id: the name of the port.
    node: the node that it belongs to.
    side: WEST if edges enter here, EAST if they leave.
    index: its position among the ports of its side, from 0.
    offset: its distance across the flow from the beginning of the node.

    No phase changes a port.
    """

    id: str
    node: object = _dataclasses.field(repr=False)
    side: PortSide
    index: int
    offset: float = 0.0

    @property
    def x(self) -> float:
        """Position along the flow: the near side of the node for WEST, the far side for EAST."""
        return self.node.x if self.side == PortSide.WEST else self.node.x + self.node.width

    @property
    def y(self) -> float:
        """Position across the flow."""
        return self.node.y + self.offset


@_dataclasses.dataclass(eq=False)
class LNode:
    """A node of the layered graph in the normalised frame: a real node or a dummy.

    id: the caller's id as a str, or a generated one for a dummy.
    width: size of the box along the flow.
    height: size of the box across the flow.
    kind: whether it is a real node or a dummy.
    origin_x: where the caller had the node along the flow, or None.
    origin_y: where the caller had the node across the flow, or None.
    layer: number of its layer, from 0.
    order: its position within the layer, from 0.
    x: where the box begins along the flow.
    y: where the box begins across the flow.
    in_ports: the ports where edges enter, by index.
    out_ports: the ports where edges leave, by index.
    """

    id: str
    width: float = 0.0
    height: float = 0.0
    kind: NodeKind = NodeKind.NORMAL
    origin_x: float | None = None
    origin_y: float | None = None
    layer: int = 0
    order: int = 0
    x: float = 0.0
    y: float = 0.0
    in_ports: list[LPort] = _dataclasses.field(default_factory=list)
    out_ports: list[LPort] = _dataclasses.field(default_factory=list)

    @property
    def is_dummy(self) -> bool:
        """True for a node that keeps the place of a long edge."""
        return self.kind != NodeKind.NORMAL

    @property
    def ports(self) -> list[LPort]:
        """A new list of the input ports followed by the output ports."""
        return [*self.in_ports, *self.out_ports]

    def cross_center(self) -> float:
        """The middle of the box across the flow."""
        return self.y + self.height / 2.0


# Set here: to resolve a forward reference, dataclasses would look the module up by name, which
# finds nothing where a loader runs it without entering it in sys.modules.
LPort.__annotations__["node"] = LPort.__init__.__annotations__["node"] = LNode
LPort.__dataclass_fields__["node"].type = LNode


@_dataclasses.dataclass(eq=False)
class LEdge:
    """One segment of a connection, in the direction of the layers.

    id: the id of the segment; the same as the caller's edge until that is split.
    source: the port where it begins.
    target: the port where it ends.
    origin_id: the id of the caller's edge that it belongs to.
    reversed: whether phase 1 exchanged its source and target.
    bend_points: (x, y) tuples between source and target, in that order.
    """

    id: str
    source: LPort
    target: LPort
    origin_id: str
    reversed: bool = False
    bend_points: list[tuple[float, float]] = _dataclasses.field(default_factory=list)

    @property
    def source_node(self) -> LNode:
        """The node of the source port."""
        return self.source.node

    @property
    def target_node(self) -> LNode:
        """The node of the target port."""
        return self.target.node


@_dataclasses.dataclass(eq=False)
class LGraph:
    """The graph on which the phases work, in the normalised frame.

    nodes: the real nodes in payload order, then the dummies in order of creation.
    edges: all current segments.
    options: the options, without "AUTO"; see `LayoutOptions.resolved`.
    chains: for the id of each of the caller's edges, its segments in the order of the flow.
    reversed_originals: for the id of each of the caller's edges, whether phase 1 reversed it.
    layers: the nodes of each layer, in order.
    _counter: the last number that `next_id` has given out.

    A graph may be built or changed by hand: nodes appended, edges removed, ports made for one edge
    alone. No phase looks at the port lists of a node; all that matters about a port is its node,
    side, index and offset. An edge is split where it is long, and has a route, only if it has an
    entry in `chains`.

    The docstring of each function says what it reads and writes; it touches nothing else. A field
    that is written gets a new object, and the old one stays as it was, except where something is
    written into a list or a dict. For what it cannot read, a function raises TypeError or ValueError,
    naming the record and the field, and leaves the graph as it was.
    """

    nodes: list[LNode] = _dataclasses.field(default_factory=list)
    edges: list[LEdge] = _dataclasses.field(default_factory=list)
    options: LayoutOptions = _dataclasses.field(default_factory=LayoutOptions)
    chains: dict[str, list[LEdge]] = _dataclasses.field(default_factory=dict)
    reversed_originals: dict[str, bool] = _dataclasses.field(default_factory=dict)
    layers: list[list[LNode]] = _dataclasses.field(default_factory=list)
    _counter: int = 0

    def next_id(self, prefix: str) -> str:
        """The prefix, "#" and the next number of the graph's one counter, which starts at 1."""
        number = self._counter = self._counter + 1
        return prefix + f"#{number}"

    def node_by_id(self, node_id: str) -> LNode | None:
        """The first node with this id, or None. Linear in the nodes."""
        return next((node for node in self.nodes if node.id == node_id), None)

    def real_nodes(self) -> list[LNode]:
        """A new list of the nodes that are not dummies, in `nodes` order."""
        return [node for node in self.nodes if not node.is_dummy]

    def rebuild_layers(self) -> None:
        """Regroup the nodes into `layers` by their layer, and renumber `order`.

        Within a layer, nodes are sorted by `order`; equal ones keep their sequence in `nodes`. Raises
        ValueError for a layer below 0.

        Reads: of the graph `nodes`; of nodes `layer`, `order`.

        Writes: of the graph `layers`; of nodes `order`.
        """
        _rebuild_layers(self)
