"""Read from a NodeGraphQt canvas what a layout needs to know, as plain numbers.

Whatever the view draws is measured, never assumed: in each of its two layout directions, NodeGraphQt
gives a node a different size and different places for its ports; it draws a group's ports inside its
box and a circle's along its rim. All lengths are scene units.

Everything is read into one frame, in which the flow runs to the right: on a vertical canvas x and y
change places here, and once more when the results are written.
"""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from dataclasses import dataclass
from typing import Any, NamedTuple

from NodeGraphQt import BackdropNode, NodeGraph
from NodeGraphQt.base.node import NodeObject
from NodeGraphQt.constants import LayoutDirectionEnum
from NodeGraphQt.qgraphics.node_abstract import AbstractNodeItem
from NodeGraphQt.qgraphics.pipe import PipeItem
from Qt import QtCore, QtWidgets

from nodegraphqt_room import Point, Rect
from nodegraphqt_router import End


class Connection(NamedTuple):
    """What distinguishes a pipe from all others: the ids of its nodes and the names of its ports."""

    source: str
    output: str
    target: str
    input: str


class Pin(NamedTuple):
    """A port's name and the place of its centre, from the near corner of its node's box."""

    name: str
    x: float
    y: float
    shown: bool


@dataclass
class Box:
    """A node that takes part, with the room it takes on the canvas."""

    node: NodeObject
    rect: Rect
    corner: Point  # of `rect`, from the item's own position
    body: Rect  # without a label that sticks out; this is what decides whether a backdrop contains it
    inputs: list[Pin]
    outputs: list[Pin]
    selected: bool
    movable: bool


@dataclass
class Frame:
    """A backdrop."""

    node: NodeObject
    rect: Rect
    selected: bool
    movable: bool


class Wire(NamedTuple):
    """A connection: places in the list of boxes and in their lists of pins."""

    source: int
    output: int
    target: int
    input: int
    shown: bool


@dataclass
class Canvas:
    """All visible nodes, backdrops and wires of a graph."""

    boxes: list[Box]
    frames: list[Frame]
    wires: list[Wire]
    vertical: bool

    def connection(self, wire: Wire) -> Connection:
        """A name for a wire that stays valid when its index does not."""
        source, target = self.boxes[wire.source], self.boxes[wire.target]
        return Connection(source.node.id, source.outputs[wire.output].name,
                          target.node.id, target.inputs[wire.input].name)

    def turned(self, points: Iterable[Point]) -> list[Point]:
        """Points of the scene in this frame, or vice versa."""
        return [(y, x) for x, y in points] if self.vertical else list(points)

    def turned_rect(self, rect: Rect) -> Rect:
        """The same for a rectangle."""
        left, top, right, bottom = rect
        return (top, left, bottom, right) if self.vertical else rect

    def ends(self, wire: Wire, rects: Sequence[Rect]) -> tuple[End, End]:
        """Where a wire leaves and enters if the boxes are at `rects`."""
        out = self.boxes[wire.source].outputs[wire.output]
        into = self.boxes[wire.target].inputs[wire.input]
        source, target = rects[wire.source], rects[wire.target]
        return (End(source[0] + out.x, source[1] + out.y, wire.source),
                End(target[0] + into.x, target[1] + into.y, wire.target))


def read_canvas(graph: NodeGraph) -> Canvas:
    """What `graph` shows. Hidden nodes and backdrops are left out.

    The order is that of `graph.all_nodes()` and of the ports. It does not depend on addresses or on the
    history of connections, because it decides ties in a drawing.
    """
    vertical = graph.layout_direction() == LayoutDirectionEnum.VERTICAL.value
    canvas = Canvas([], [], [], vertical)
    views: list[AbstractNodeItem] = []
    places: dict[Any, tuple[int, int]] = {}
    movable = QtWidgets.QGraphicsItem.ItemIsMovable
    for node in graph.all_nodes():
        view = node.view
        if not view.isVisible():
            continue
        pos = view.scenePos()
        selected, may_move = view.isSelected(), bool(view.flags() & movable)
        if isinstance(node, BackdropNode):
            rect = _as_rect(view.boundingRect().translated(pos), vertical)
            canvas.frames.append(Frame(node, rect, selected, may_move))
            continue
        box = drawn_box(view)
        for index, port in enumerate(getattr(view, "inputs", ())):
            places[port] = len(views), index
        canvas.boxes.append(Box(
            node, _as_rect(box.translated(pos), vertical),
            (box.y(), box.x()) if vertical else (box.x(), box.y()),
            _as_rect(view.boundingRect().translated(pos), vertical),
            _pins(view, getattr(view, "inputs", ()), box, vertical),
            _pins(view, getattr(view, "outputs", ()), box, vertical), selected, may_move))
        views.append(view)
    for source, view in enumerate(views):
        for output, port in enumerate(getattr(view, "outputs", ())):
            ends = [(places[pipe.input_port], pipe) for pipe in port.connected_pipes
                    if pipe.input_port in places]
            out_shown = canvas.boxes[source].outputs[output].shown
            for (target, input_), _ in sorted(ends, key=lambda end: end[0]):
                shown = out_shown and canvas.boxes[target].inputs[input_].shown
                canvas.wires.append(Wire(source, output, target, input_, shown))
    return canvas


def drawn_box(view: AbstractNodeItem) -> QtCore.QRectF:
    """The room that a node takes on the canvas, in its item's own coordinates.

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
        rect = item.mapRectToParent(item.boundingRect())
        # The sides that have the ports stay, or routes would end in the air beside the ports:
        # with a large font the icon reaches over the top of a vertical node.
        if vertical:
            rect = QtCore.QRectF(rect.x(), box.y(), rect.width(), box.height())
        else:
            rect = QtCore.QRectF(box.x(), rect.y(), box.width(), rect.height())
        box = box.united(rect)
    return box


def scene_box(node: NodeObject) -> QtCore.QRectF:
    """`drawn_box` of a node, in the coordinates of the scene."""
    # Translated by hand rather than by the scene's matrices, so that positions come back from the
    # layout with exactly the bits with which they are applied.
    return drawn_box(node.view).translated(*node.view.xy_pos)


def pipe_connection(pipe: PipeItem) -> Connection | None:
    """The connection that a pipe draws; None for one that hangs on the mouse."""
    output, input_ = pipe.output_port, pipe.input_port
    if output is None or input_ is None:
        return None
    return Connection(output.node.id, output.name, input_.node.id, input_.name)


def _as_rect(box: QtCore.QRectF, vertical: bool) -> Rect:
    # Not right(): the layout adds the same width to another left side.
    left, top = box.x(), box.y()
    right, bottom = left + box.width(), top + box.height()
    return (top, left, bottom, right) if vertical else (left, top, right, bottom)


def _pins(view: AbstractNodeItem, ports: Iterable[Any], box: QtCore.QRectF,
          vertical: bool) -> list[Pin]:
    pins = []
    for port in ports:
        shown = port.isVisible()
        # NodeGraphQt never places a port that is hidden; its stale position means nothing.
        centre = (port.mapToParent(port.boundingRect().center()) if shown
                  else view.boundingRect().center())
        x, y = centre.x() - box.x(), centre.y() - box.y()
        pins.append(Pin(port.name, y, x, shown) if vertical else Pin(port.name, x, y, shown))
    return pins
