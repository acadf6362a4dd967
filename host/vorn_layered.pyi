from collections.abc import Iterable, Mapping
from dataclasses import dataclass, field
from enum import StrEnum
from typing import Final, Literal, TypeAlias, TypeVar

from .vorn_layered_types import EdgeMapping, NodeMapping, Point, Positions, Routes

__version__: str

# Plain dicts and other mappings, which may hold more keys, are payloads as well.
_Nodes: TypeAlias = Iterable[NodeMapping | Mapping[str, object]]
_Edges: TypeAlias = Iterable[EdgeMapping | Mapping[str, object]]
_AnyNode = TypeVar("_AnyNode", bound=Mapping[str, object])
_AnyEdge = TypeVar("_AnyEdge", bound=Mapping[str, object])

_DirectionName: TypeAlias = Literal["RIGHT", "LEFT", "DOWN", "UP"]
# Any str is accepted; these are the ones that mean something, for editors to suggest.
_CycleBreaking: TypeAlias = Literal["AUTO", "GREEDY", "DEPTH_FIRST", "INTERACTIVE"] | str
_Layering: TypeAlias = (
    Literal["AUTO", "NETWORK_SIMPLEX", "MINIMUM_LENGTH", "LONGEST_PATH", "INTERACTIVE"] | str)
_Crossing: TypeAlias = Literal["AUTO", "LAYER_SWEEP", "SIFTING", "INTERACTIVE", "KEEP", "NONE"] | str
_Placement: TypeAlias = (
    Literal["BRANDES_KOEPF", "LINEAR_SEGMENTS", "NETWORK_SIMPLEX", "SIMPLE", "INTERACTIVE"] | str)
_Routing: TypeAlias = Literal["ORTHOGONAL", "ORTHOGONAL_ORDERED", "POLYLINE"] | str

class Direction(StrEnum):
    RIGHT = "RIGHT"
    LEFT = "LEFT"
    DOWN = "DOWN"
    UP = "UP"
    @property
    def is_transposed(self) -> bool: ...
    @property
    def is_reversed(self) -> bool: ...

class PortSide(StrEnum):
    WEST = "WEST"
    EAST = "EAST"

class NodeKind(StrEnum):
    NORMAL = "NORMAL"
    LONG_EDGE = "LONG_EDGE"

AUTO: Final = "AUTO"
"""As a strategy: let `LayoutOptions.resolved` choose."""

class _DirectionField:
    def __get__(self, options: object, owner: type | None = None) -> Direction: ...
    def __set__(self, options: object, value: Direction | _DirectionName) -> None: ...

@dataclass
class LayoutOptions:
    direction: _DirectionField = ...
    interactive: bool = False
    cycle_breaking_strategy: str = "AUTO"
    layering_strategy: str = "AUTO"
    crossing_strategy: str = "AUTO"
    placement_strategy: str = "BRANDES_KOEPF"
    edge_routing: str = "ORTHOGONAL"
    spacing_node_node: float = 30.0
    spacing_node_node_between_layers: float = 60.0
    spacing_edge_edge: float = 10.0
    spacing_edge_node: float = 12.0
    padding_left: float = 24.0
    padding_top: float = 24.0
    thoroughness: int = 7
    def __init__(
        self,
        direction: Direction | _DirectionName = Direction.RIGHT,
        interactive: bool = False,
        cycle_breaking_strategy: _CycleBreaking = "AUTO",
        layering_strategy: _Layering = "AUTO",
        crossing_strategy: _Crossing = "AUTO",
        placement_strategy: _Placement = "BRANDES_KOEPF",
        edge_routing: _Routing = "ORTHOGONAL",
        spacing_node_node: float = 30.0,
        spacing_node_node_between_layers: float = 60.0,
        spacing_edge_edge: float = 10.0,
        spacing_edge_node: float = 12.0,
        padding_left: float = 24.0,
        padding_top: float = 24.0,
        thoroughness: int = 7,
    ) -> None: ...
    def resolved(self) -> LayoutOptions: ...

@dataclass(eq=False)
class LPort:
    id: str
    node: LNode = field(repr=False)
    side: PortSide
    index: int
    offset: float = 0.0
    @property
    def x(self) -> float: ...
    @property
    def y(self) -> float: ...

@dataclass(eq=False)
class LNode:
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
    in_ports: list[LPort] = field(default_factory=list)
    out_ports: list[LPort] = field(default_factory=list)
    @property
    def is_dummy(self) -> bool: ...
    @property
    def ports(self) -> list[LPort]: ...
    def cross_center(self) -> float: ...

@dataclass(eq=False)
class LEdge:
    id: str
    source: LPort
    target: LPort
    origin_id: str
    reversed: bool = False
    bend_points: list[Point] = field(default_factory=list)
    @property
    def source_node(self) -> LNode: ...
    @property
    def target_node(self) -> LNode: ...

@dataclass(eq=False)
class LGraph:
    nodes: list[LNode] = field(default_factory=list)
    edges: list[LEdge] = field(default_factory=list)
    options: LayoutOptions = field(default_factory=LayoutOptions)
    chains: dict[str, list[LEdge]] = field(default_factory=dict)
    reversed_originals: dict[str, bool] = field(default_factory=dict)
    layers: list[list[LNode]] = field(default_factory=list)
    _counter: int = 0
    def next_id(self, prefix: str) -> str: ...
    def node_by_id(self, node_id: str) -> LNode | None: ...
    def real_nodes(self) -> list[LNode]: ...
    def rebuild_layers(self) -> None: ...

DEFAULT_NODE_WIDTH: Final = 140.0
"""The width of a node whose mapping does not give one."""
DEFAULT_NODE_HEIGHT: Final = 56.0
"""The height of a node whose mapping does not give one."""

def build_graph(nodes: _Nodes, edges: _Edges, options: LayoutOptions | None = None) -> LGraph: ...
def graph_extent(graph: LGraph) -> tuple[float, float]: ...
def node_positions(graph: LGraph) -> Positions: ...
def edge_routes(graph: LGraph) -> Routes: ...
def weakly_connected_components(
    nodes: Iterable[_AnyNode], edges: Iterable[_AnyEdge]
) -> list[tuple[list[_AnyNode], list[_AnyEdge]]]: ...
def break_cycles(graph: LGraph) -> None: ...

NETWORK_SIMPLEX_NODE_LIMIT: Final = 400
"""The largest number of nodes in a connected part for which "NETWORK_SIMPLEX" layers are used; larger
parts get "LONGEST_PATH"."""

def assign_layers(graph: LGraph) -> None: ...
def insert_dummy_nodes(graph: LGraph) -> None: ...
def count_crossings(graph: LGraph) -> int: ...
def reduce_crossings(graph: LGraph) -> None: ...
def place_nodes(graph: LGraph) -> None: ...
def route_edges(graph: LGraph) -> None: ...
def run_phases(graph: LGraph) -> None: ...
def layout(
    nodes: _Nodes,
    edges: _Edges,
    options: LayoutOptions | None = None,
    *,
    component_gap: float = 80.0,
) -> tuple[Positions, Routes]: ...
