"""Calls that a type checker must accept."""

from __future__ import annotations

import json
from collections import ChainMap, UserDict
from collections.abc import Iterator, Mapping
from dataclasses import replace
from fractions import Fraction
from types import MappingProxyType
from typing import Any, assert_type

from quillan.core import vorn_layered
from quillan.core.vorn_layered import (
    AUTO, Direction, LayoutOptions, LEdge, LGraph, LNode, LPort, NodeKind, PortSide, build_graph,
    layout)
from quillan.core.vorn_layered_types import (
    EdgeMapping, NodeMapping, PortMapping, Positions, Routes)

positions, routes = layout(
    [{"id": "a", "width": 100, "output_ports": [12.5, {"offset": 3}]}, {"id": 7, "x": None}],
    [{"source": "a", "target": 7, "source_port": 1}])
assert_type(positions, dict[str, tuple[float, float]])
assert_type(routes, dict[str, list[tuple[float, float]]])
kept: tuple[Positions, Routes] = (positions, routes)

# Plain dicts with keys of the caller's own, results of json, and mappings that are no dicts.
plain = [{"id": 1, "label": "one"}, {"id": 2, "label": "two"}]
layout(plain, [], None)
loaded: list[dict[str, Any]] = json.loads("[]")
layout(loaded, loaded, LayoutOptions(direction="DOWN"))
layout([MappingProxyType({"id": 1})], (ChainMap({"source": 1}),))
layout({3: UserDict({"id": 3})}.values(), iter(()))


def made(count: int) -> Iterator[Mapping[str, object]]:
    return ({"id": number} for number in range(count))


layout(made(3), [], options=LayoutOptions(interactive=True, thoroughness=2), component_gap=40)


class EditorNode(NodeMapping):
    """With a key of the caller's own."""
    label: str


labelled: list[EditorNode] = [{"id": 1, "label": "one", "output_ports": True}]
layout(labelled, [])

port: PortMapping = {"id": "p", "offset": Fraction(7, 2)}
node: NodeMapping = {"id": 1, "x": "1.5", "input_ports": [port, 4], "output_ports": 2}
other: NodeMapping = {"id": "2"}
edge: EdgeMapping = {"id": "e0", "source": "1", "target": 2, "target_port": "2"}
parts: list[tuple[list[NodeMapping], list[EdgeMapping]]]
parts = vorn_layered.weakly_connected_components([node, other], [edge])
options = LayoutOptions(Direction.UP, layering_strategy=AUTO)
options.direction = "LEFT"
assert_type(options.direction, Direction)
assert options.direction.is_reversed and options == replace(options, direction="LEFT")
graph = build_graph(*parts[0], options)
vorn_layered.run_phases(graph)
assert_type(graph.chains["e0"][0].source.node.origin_x, float | None)
assert_type(graph.options.direction.is_reversed, bool)

hand = LGraph()
box = LNode("box", 10, 20, NodeKind.NORMAL)
box.in_ports.append(LPort("i", box, PortSide.WEST, 0))
hand.nodes.append(box)
hand.edges.append(LEdge("e", box.in_ports[0], box.in_ports[0], "e", bend_points=[(1, 2)]))
found = hand.node_by_id("box")
assert_type(found, LNode | None)
assert_type(vorn_layered.count_crossings(hand), int)
