"""Mistakes that a type checker must find, each with the code that it has to give the line."""

from __future__ import annotations

from quillan.core import vorn_layered
from quillan.core.vorn_layered import LayoutOptions, LEdge, LGraph, LNode, LPort, PortSide, layout
from quillan.core.vorn_layered_types import EdgeMapping, NodeMapping, PortMapping

layout([])  # error: call-arg
layout(3, [])  # error: arg-type
layout([1, 2], [])  # error: list-item
layout([], ["a"])  # error: list-item
layout([{1: "a"}], [])  # error: dict-item
layout([], [], {"direction": "UP"})  # error: arg-type
layout([], [], None, 80.0)  # error: call-arg
layout([], [], component_gap="80")  # error: arg-type
layout([], [], gap=80.0)  # error: call-arg
wrong: dict[int, float] = layout([], [])[0]  # error: assignment

nameless: NodeMapping = {"width": 3}  # error: typeddict-item
misspelt: NodeMapping = {"id": 1, "widht": 3}  # error: typeddict-unknown-key
shapeless: NodeMapping = {"id": 1, "width": [1]}  # error: typeddict-item
portless: NodeMapping = {"id": 1, "input_ports": 2.0}  # error: typeddict-item
named: NodeMapping = {"id": 1, "input_ports": ["image", "mask"]}  # error: list-item
counted: NodeMapping = {"id": 1, "input_ports": "2"}  # error: typeddict-item
twisted: NodeMapping = {"id": 1, "input_ports": [{"ofset": 3}]}  # error: list-item
loose: PortMapping = {"offset": None}  # error: typeddict-item
tangled: EdgeMapping = {"source": 1, "target": 2, "port": 0}  # error: typeddict-unknown-key
endless: EdgeMapping = {"source": 1}  # error: typeddict-item
nodes: list[NodeMapping] = [{"id": 1}, {"width": 2}]  # error: typeddict-item

LayoutOptions(direction="SIDEWAYS")  # error: arg-type
LayoutOptions(spacing=3)  # error: call-arg
LayoutOptions(padding_top="3")  # error: arg-type
LayoutOptions().direction = 3  # error: assignment
LayoutOptions().direction = "down"  # error: assignment
LayoutOptions() < LayoutOptions()  # error: operator

LNode()  # error: call-arg
LNode("a").ports = []  # error: misc
LPort("p", "n", PortSide.WEST, 0)  # error: arg-type
LEdge("e", LNode("a"), LNode("b"), "e")  # error: arg-type
LGraph().nodes.append("a")  # error: arg-type
LGraph().node_by_id("a").width  # error: union-attr
vorn_layered.run_phases([])  # error: arg-type
vorn_layered.Layout  # error: attr-defined
vorn_layered.AUTO = "GREEDY"  # error: misc, to mypy alone
