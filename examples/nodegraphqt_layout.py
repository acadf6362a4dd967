"""Tidy a NodeGraphQt graph with the layered layout engine, in one undo step.

Copy this file beside your editor and call it from a menu or a button:

    from nodegraphqt_layout import tidy
    from quillan.core.vorn_layered import LayoutOptions

    tidy(graph)                                        # the whole graph
    tidy(graph, selected_only=True)                    # only what is selected
    tidy(graph, LayoutOptions(interactive=True))       # keep my arrangement

Whatever the view draws is measured, never assumed: NodeGraphQt gives a node another size and other
places for its ports in each of its two layout directions. All lengths are scene units.
"""

from __future__ import annotations

import math
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass, replace
from itertools import pairwise
from typing import Any, NamedTuple

from NodeGraphQt import BackdropNode, NodeGraph
from NodeGraphQt.base.node import NodeObject
from NodeGraphQt.constants import LayoutDirectionEnum
from NodeGraphQt.qgraphics.node_abstract import AbstractNodeItem
from Qt import QtCore

from quillan.core.vorn_layered import Direction, LayoutOptions, layout

Point = tuple[float, float]

# A node that would move by no more than this stays where it is. Moving a drawing back to its old
# corner rounds; without a tolerance a second tidy would fill the undo stack with invisible steps.
MOVE_TOLERANCE = 1e-6

# How often an interactive layout is laid out again, at most, until it repeats.
SETTLING_ROUNDS = 20


class Connection(NamedTuple):
    """What tells one pipe from all others: its nodes' ids and its ports' names."""

    source: str
    output: str
    target: str
    input: str


@dataclass(frozen=True)
class Tidied:
    """What `tidy` did, in scene coordinates.

    `positions` maps the id of every node that took part to its new `pos()`. `routes` maps
    connections to polylines from the output port to the input port. A connection that closes a
    cycle, or a node's connection to itself, has no route: the canvas draws it as it always did.
    """

    positions: dict[str, Point]
    routes: dict[Connection, list[Point]]


def tidy(
    graph: NodeGraph,
    options: LayoutOptions | None = None,
    *,
    selected_only: bool = False,
    direction: Direction | str | None = None,
    component_gap: float = 80.0,
) -> Tidied:
    """Lay out `graph`, or only its selected nodes, in one undo step.

    The drawing stays where it was: the top-left corner of the whole graph keeps its place, and so
    does the centre of a selection. Nodes that were not asked for, and nodes that are hidden, don't
    move. A backdrop is no node of the layout: it is fitted again, with the margins it had, around
    the nodes that it held if any of them moved. If nothing has to move there is no undo step.

    The flow follows `graph.layout_direction()`, to the right or down, unless `direction` says
    otherwise or `options` asks for another direction than its default RIGHT. `options` itself is
    never changed.

    Raises TypeError or ValueError for unusable options or an unknown direction, before anything
    moves. If a node refuses its move, the nodes moved before it go back and the error goes on.
    """
    options = _effective_options(graph, options, direction)
    nodes = [
        node for node in graph.all_nodes()
        # Not graph.selected_nodes(): Qt gives the selection in no fixed order, and the order of
        # the nodes decides ties in the drawing.
        if _takes_part(node) and (node.selected() or not selected_only)
    ]
    if not nodes:
        return Tidied({}, {})

    node_payload, edge_payload, connections = read_graph(nodes, options.direction)
    positions, routes = _settled_layout(node_payload, edge_payload, options, component_gap)

    before = {node.id: scene_box(node) for node in nodes}
    after = {}
    for node, item in zip(nodes, node_payload):
        size = before[node.id].size()
        after[node.id] = QtCore.QRectF(QtCore.QPointF(*positions[item["id"]]), size)
    shift = _anchor(before.values(), selected_only) - _anchor(after.values(), selected_only)
    moves: dict[str, Point] = {}
    for id_, box in after.items():
        box.translate(shift)
        step = box.topLeft() - before[id_].topLeft()
        if max(abs(step.x()), abs(step.y())) > MOVE_TOLERANCE:
            at = box.topLeft() - drawn_box(graph.get_node_by_id(id_).view).topLeft()
            moves[id_] = (at.x(), at.y())
        else:
            box.moveTo(before[id_].topLeft())

    _apply(graph, moves, _fit_backdrops(graph, after, moves))
    return Tidied(
        positions={node.id: tuple(node.view.xy_pos) for node in nodes},
        routes={connections[int(edge)]: [(x + shift.x(), y + shift.y()) for x, y in points]
                for edge, points in routes.items()},
    )


def read_graph(
    nodes: Sequence[NodeObject], direction: Direction
) -> tuple[list[dict[str, Any]], list[dict[str, Any]], list[Connection]]:
    """The engine's payload for `nodes` and the connections among them.

    A payload id is the position of its node in `nodes`, or of its edge in the returned list of
    connections. NodeGraphQt's own ids are memory addresses: the engine decides ties by the text
    of the ids, and with addresses the same file would be drawn in another way after every start.
    """
    members = {node.id: f"{index:08d}" for index, node in enumerate(nodes)}
    inputs = {node.id: {port.name(): index for index, port in enumerate(_ports(node, "input"))}
              for node in nodes}
    node_payload, edge_payload, connections = [], [], []
    for node in nodes:
        box = scene_box(node)
        node_payload.append({
            "id": members[node.id],
            "x": box.x(), "y": box.y(), "width": box.width(), "height": box.height(),
            "input_ports": _port_payload(node, "input", direction),
            "output_ports": _port_payload(node, "output", direction),
        })
        for index, port in enumerate(_ports(node, "output")):
            for other in port.connected_ports():
                target = other.node().id
                if target not in members:
                    continue
                edge_payload.append({
                    "id": str(len(connections)),
                    "source": members[node.id], "source_port": index,
                    "target": members[target], "target_port": inputs[target][other.name()],
                })
                connections.append(Connection(node.id, port.name(), target, other.name()))
    return node_payload, edge_payload, connections


def drawn_box(view: AbstractNodeItem) -> QtCore.QRectF:
    """The room a node takes on the canvas, in its item's own coordinates.

    Not `node.model.width`: NodeGraphQt leaves it at its old value when the layout direction
    changes. And not `boundingRect()` alone: in the vertical direction label and icon are drawn
    beside the node, outside of it. They count even while they are invisible, because NodeGraphQt
    hides them when the user zooms out, and zooming must not change a layout.
    """
    box = view.boundingRect()
    vertical = view.layout_direction == LayoutDirectionEnum.VERTICAL.value
    for part in ("text_item", "icon_item"):
        item = getattr(view, part, None)
        if item is None:
            continue
        rect = view.mapRectFromItem(item, item.boundingRect())
        # The edges that carry the ports stay, or routes would end in the air beside the ports:
        # with a large font the icon reaches over the top of a vertical node.
        if vertical:
            rect = QtCore.QRectF(rect.x(), box.y(), rect.width(), box.height())
        else:
            rect = QtCore.QRectF(box.x(), rect.y(), box.width(), rect.height())
        box = box.united(rect)
    return box


def scene_box(node: NodeObject) -> QtCore.QRectF:
    """`drawn_box` of a node where it stands in the scene."""
    # Translated by hand rather than through the scene's matrices, so that positions come back
    # from the layout with the very bits with which they are applied.
    return drawn_box(node.view).translated(*node.view.xy_pos)


def _takes_part(node: NodeObject) -> bool:
    return not isinstance(node, BackdropNode) and node.view.isVisible()


def _ports(node: NodeObject, side: str) -> list[Any]:
    return getattr(node, f"{side}_ports", list)()


def _port_payload(node: NodeObject, side: str, direction: Direction) -> list[dict[str, Any]]:
    """Ids and offsets of a node's ports, from the edge of its box along the cross axis."""
    view, box = node.view, drawn_box(node.view)
    payload = []
    for port in _ports(node, side):
        item = port.view
        # NodeGraphQt never places a port that is hidden; its stale place would be noise.
        centre = (view.mapFromItem(item, item.boundingRect().center())
                  if item.isVisible() else view.boundingRect().center())
        offset = centre - box.topLeft()
        payload.append({"id": port.name(),
                        "offset": offset.x() if direction.is_transposed else offset.y()})
    return payload


def _settled_layout(
    nodes: list[dict[str, Any]],
    edges: list[dict[str, Any]],
    options: LayoutOptions,
    component_gap: float,
) -> tuple[dict[str, Point], dict[str, list[Point]]]:
    """The engine's positions and routes; with `interactive`, such that they stay.

    An interactive run starts from the order it finds and still removes crossings, so on what it
    made of a wild arrangement the next run can find more to do, and a few arrangements lead to
    one another in turn. The user asked once and should not see the drawing change when they ask
    again: it is laid out again until it repeats, most often at the second round. Of a turn of
    several, the one with the shortest routes is taken, wherever the turn was entered.
    """
    drawings = [layout(nodes, edges, options, component_gap=component_gap)]
    if not options.interactive:
        return drawings[0]
    for _ in range(SETTLING_ROUNDS):
        for node in nodes:
            node["x"], node["y"] = drawings[-1][0][node["id"]]
        drawing = layout(nodes, edges, options, component_gap=component_gap)
        if drawing in drawings:
            return min(drawings[drawings.index(drawing):], key=_rank)
        drawings.append(drawing)
    return drawings[-1]


def _rank(drawing: tuple[dict[str, Point], dict[str, list[Point]]]) -> tuple[float, list[Point]]:
    """The length of all routes; the positions decide between equal lengths."""
    positions, routes = drawing
    length = sum(math.dist(*segment) for route in routes.values() for segment in pairwise(route))
    return length, list(positions.values())


def _effective_options(
    graph: NodeGraph, options: LayoutOptions | None, direction: Direction | str | None
) -> LayoutOptions:
    if options is None:
        options = LayoutOptions()
    elif not isinstance(options, LayoutOptions):
        raise TypeError(f"options must be LayoutOptions or None, not {type(options).__name__}")
    if direction is None:
        direction = options.direction
        vertical = graph.layout_direction() == LayoutDirectionEnum.VERTICAL.value
        if vertical and direction == Direction.RIGHT:
            direction = Direction.DOWN
    return replace(options, direction=Direction(direction))


def _anchor(boxes: Iterable[QtCore.QRectF], centred: bool) -> QtCore.QPointF:
    """The point of a drawing that keeps its place."""
    bounds = _united(boxes)
    return bounds.center() if centred else bounds.topLeft()


def _united(boxes: Iterable[QtCore.QRectF]) -> QtCore.QRectF:
    bounds = QtCore.QRectF()
    for box in boxes:
        bounds = bounds.united(box)
    return bounds


def _fit_backdrops(
    graph: NodeGraph, placed: Mapping[str, QtCore.QRectF], moved: Mapping[str, Point]
) -> dict[str, QtCore.QRectF]:
    """New scene rectangles of the backdrops that held a node which moves.

    `placed` has the new boxes of the nodes that took part. What a backdrop holds is what moves
    with it when the user drags it: every node that lies wholly inside. That is computed here and
    not asked of `BackdropNode.nodes()`, which searches the scene's index; NodeGraphQt changes
    sizes without telling that index, so that after a change of direction it can miss nodes.
    """
    frames = {node.id: node.view.boundingRect().translated(*node.view.xy_pos)
              for node in graph.all_nodes() if node.view.isVisible()}
    old = {id_: scene_box(graph.get_node_by_id(id_)) for id_ in frames}
    new = {id_: placed.get(id_, box) for id_, box in old.items()}
    # From the smallest to the largest, so that a backdrop inside another is fitted first.
    backdrops = sorted(
        (node.id for node in graph.all_nodes()
         if isinstance(node, BackdropNode) and node.id in frames),
        key=lambda id_: frames[id_].width() * frames[id_].height())
    fitted: dict[str, QtCore.QRectF] = {}
    for rank, backdrop in enumerate(backdrops):
        frame = frames[backdrop]
        # Of two backdrops with the same rectangle only the later holds the other.
        larger = set(backdrops[rank:])
        held = [id_ for id_ in frames if id_ not in larger and frame.contains(frames[id_])]
        if moved.keys().isdisjoint(held):
            continue
        was, now = (_united(boxes[id_] for id_ in held) for boxes in (old, new))
        # A label may stick out of a backdrop, but a fitted one never cuts into what it holds.
        new[backdrop] = fitted[backdrop] = now.adjusted(
            min(frame.left() - was.left(), 0.0), min(frame.top() - was.top(), 0.0),
            max(frame.right() - was.right(), 0.0), max(frame.bottom() - was.bottom(), 0.0))
    return fitted


def _apply(
    graph: NodeGraph, moves: Mapping[str, Point], backdrops: Mapping[str, QtCore.QRectF]
) -> None:
    """Carry out the moves as one undo step: all of them, or none if a node raises."""
    if not moves and not backdrops:
        return
    complete = False
    graph.begin_undo("tidy")
    try:
        for id_, (x, y) in moves.items():
            node = graph.get_node_by_id(id_)
            # `set_pos` compares with, and undo returns to, the model's position. Reading `pos()`
            # first brings the model up to date if only the view was moved.
            node.pos()
            node.set_pos(x, y)
        for id_, rect in backdrops.items():
            backdrop = graph.get_node_by_id(id_)
            backdrop.pos()
            backdrop.size()  # As above: the model forgets sizes that the view was given.
            backdrop.set_property("width", rect.width())
            backdrop.set_property("height", rect.height())
            backdrop.set_pos(rect.x(), rect.y())
        complete = True
    finally:
        graph.end_undo()
        if not complete:
            _take_back(graph.undo_stack())


def _take_back(stack: Any) -> None:
    """Undo the last step and forget it, so that it can't be redone by half."""
    # False as well while a step of the caller's own is open: then that step holds ours, and
    # undoing it is the caller's.
    if not stack.canUndo():
        return
    stack.undo()
    stack.command(stack.index()).setObsolete(True)
    # An obsolete step is dropped instead of redone.
    stack.redo()
