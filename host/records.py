"""Layered graph layout for node editors: `layout(nodes, edges)` gives positions and routes.

A graph with a direction of flow is drawn in layers: cycles are broken, nodes get layers, the order
inside each layer is chosen to avoid crossings, coordinates are assigned, and edges are routed
orthogonally through the gaps between layers. Results are exact and repeatable to the last bit.

Most callers need `layout`, `LayoutOptions` and `Direction` only. The other names let one run the
phases one at a time on an `LGraph` and look inside.

Lengths and coordinates are in the caller's own units (pixels, as a rule). Two frames exist: the
caller's frame, in which sizes and positions are given and results come back, and the normalised
frame of `LGraph`, in which the flow runs along increasing x whatever the direction of the drawing.
"""

import dataclasses as _dataclasses
import enum as _enum


class Direction(_enum.StrEnum):
    """Where the flow of a drawing runs. Every value is its own name as a str."""

    RIGHT = "RIGHT"
    LEFT = "LEFT"
    DOWN = "DOWN"
    UP = "UP"

    @property
    def is_transposed(self) -> bool:
        """True where the flow axis is y in the caller's frame: for DOWN and UP."""
        return self in (Direction.DOWN, Direction.UP)

    @property
    def is_reversed(self) -> bool:
        """True where the flow runs towards decreasing coordinates: for LEFT and UP."""
        return self in (Direction.LEFT, Direction.UP)


class PortSide(_enum.StrEnum):
    """The side of a port in the normalised frame: edges enter at WEST and leave at EAST."""

    WEST = "WEST"
    EAST = "EAST"


class NodeKind(_enum.StrEnum):
    """NORMAL is a node of the caller's, LONG_EDGE a dummy that splits a long edge."""

    NORMAL = "NORMAL"
    LONG_EDGE = "LONG_EDGE"


AUTO = "AUTO"


class _DirectionField:
    """A field that is set to a `Direction` or to the name of one, and read as a `Direction`."""

    def __get__(self, options: object, owner: type | None = None) -> Direction:
        return vars(options).get("direction", Direction.RIGHT) if options is not None else Direction.RIGHT

    def __set__(self, options: object, value: object) -> None:
        # A str that names no direction is left for the layout to refuse, like any other bad value.
        if isinstance(value, str):
            value = Direction.__members__.get(value, value)
        vars(options)["direction"] = value


@_dataclasses.dataclass
class LayoutOptions:
    """What a caller can ask of a layout. Any subset of the fields may be given by keyword.

    Lengths are in the caller's units.

    direction: where the flow runs: a `Direction` or its name.
    interactive: keep the arrangement that the nodes' `x` and `y` show: it turns the three automatic
        strategies into "INTERACTIVE".
    cycle_breaking_strategy: "GREEDY", "DEPTH_FIRST" or "INTERACTIVE".
    layering_strategy: "NETWORK_SIMPLEX" (up to NETWORK_SIMPLEX_NODE_LIMIT nodes), "MINIMUM_LENGTH"
        (its aim, at any size), "LONGEST_PATH" or "INTERACTIVE".
    crossing_strategy: "LAYER_SWEEP", "SIFTING" (fewer crossings, for more time), "INTERACTIVE",
        "KEEP" (the order that the user sees) or "NONE".
    placement_strategy: "SIMPLE", "NETWORK_SIMPLEX" (straightest wires), "INTERACTIVE" (the places
        that the user sees) or "BRANDES_KOEPF"; "LINEAR_SEGMENTS" is accepted for the latter.
    edge_routing: "ORTHOGONAL", "ORTHOGONAL_ORDERED" (fewer crossings and bends, and one trunk for the
        wires of a port) or "POLYLINE".
    spacing_node_node: gap across the flow between two nodes of a layer.
    spacing_node_node_between_layers: gap along the flow between two layers.
    spacing_edge_edge: gap across the flow between two long edges, and the least pitch of tracks.
    spacing_edge_node: gap across the flow between a long edge and a node, and the margin between
        nodes and the tracks beside them.
    padding_left: least coordinate of the drawing along the flow; see the guide for LEFT and UP.
    padding_top: least coordinate of the drawing across the flow; see the guide for DOWN and UP.
    thoroughness: bound on the sweeps that reduce crossings, and what "SIFTING" may cost, where more
        than 100 buys nothing; below 1 counts as 1.

    Strategies are compared exactly; an unknown one means "GREEDY", "LONGEST_PATH", "LAYER_SWEEP",
    "BRANDES_KOEPF" or "POLYLINE".
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
        """A new `LayoutOptions` in which every strategy that is "AUTO" is pinned to a value.

        "GREEDY", "NETWORK_SIMPLEX" and "LAYER_SWEEP", or "INTERACTIVE" three times where
        `interactive` is on. Explicit values stay. Calling it again changes nothing.
        """
        return _resolved(self)


@_dataclasses.dataclass(eq=False)
class LPort:
    """A connection point on one side of a node.

    id: the name of the port.
    node: the node that it belongs to.
    side: WEST where edges enter, EAST where they leave.
    index: its position among the ports of its side, from 0.
    offset: distance from the node's near corner across the flow.

    No phase changes a port.
    """

    id: str
    node: object = _dataclasses.field(repr=False)
    side: PortSide
    index: int
    offset: float = 0.0

    @property
    def x(self) -> float:
        """Flow-axis position in the graph: the near side of the node for WEST, the far for EAST."""
        return self.node.x if self.side == PortSide.WEST else self.node.x + self.node.width

    @property
    def y(self) -> float:
        """Cross-axis position in the graph."""
        return self.node.y + self.offset


@_dataclasses.dataclass(eq=False)
class LNode:
    """A node of the layered graph in the normalised frame: a real node or a dummy.

    id: the caller's id as a str, or a made one for a dummy.
    width: size of the box along the flow.
    height: size of the box across the flow.
    kind: whether it is a real node or a dummy.
    origin_x: where the caller had the node along the flow; None where nothing was said.
    origin_y: where the caller had the node across the flow; None where nothing was said.
    layer: number of its layer, from 0.
    order: its position inside the layer, from 0.
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
        """True for a node that holds the place of a long edge."""
        return self.kind != NodeKind.NORMAL

    @property
    def ports(self) -> list[LPort]:
        """A new list of the input ports followed by the output ports."""
        return [*self.in_ports, *self.out_ports]

    def cross_center(self) -> float:
        """The middle of the box along the cross axis."""
        return self.y + self.height / 2.0


# Set here: to resolve a forward reference, dataclasses would look the module up by name, which
# finds nothing where a loader runs it without entering it in sys.modules.
LPort.__annotations__["node"] = LPort.__init__.__annotations__["node"] = LNode
LPort.__dataclass_fields__["node"].type = LNode


@_dataclasses.dataclass(eq=False)
class LEdge:
    """One segment of a connection, in the direction of the layers.

    id: the name of the segment; that of the caller's edge until the edge is split.
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
    """The intermediate graph on which the phases work, in the normalised frame.

    nodes: the real nodes in payload order, then the dummies in order of creation.
    edges: all current segments.
    options: the options, with every strategy that was "AUTO" pinned to a value.
    chains: the id of a caller's edge, and its segments in the order of the flow.
    reversed_originals: the id of a caller's edge, and whether phase 1 reversed it.
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
