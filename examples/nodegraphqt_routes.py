"""Draw NodeGraphQt's pipes along the routes of the layout engine.

    from nodegraphqt_layout import tidy
    from nodegraphqt_routes import routed_graph, show_routes

    graph = routed_graph()            # instead of NodeGraph()
    show_routes(graph, tidy(graph))

A pipe follows its route as long as the route begins and ends on the pipe's ports. Once the user
moves either node the canvas's own painter takes over, and after an undo the route is back. Pipes
without a route, those that close a cycle for example, are always the canvas's own.
"""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import Any

from NodeGraphQt import NodeGraph
from NodeGraphQt.qgraphics.pipe import PipeItem
from NodeGraphQt.qgraphics.port import PortItem
from NodeGraphQt.widgets.viewer import NodeViewer
from Qt import QtCore, QtGui, QtWidgets

from nodegraphqt_layout import Connection, Point, Tidied

CORNER_RADIUS = 8.0  # scene units
FIT_TOLERANCE = 0.5  # how far, in scene units, a route may end from the centre of its port
GRAB_WIDTH = 8.0     # width, in scene units, of the band in which the mouse finds a routed pipe


class RoutedPipe(PipeItem):
    """A pipe that follows its route while that fits its ports."""

    # Qt asks for the shape while the base class is still being initialised.
    _band: QtGui.QPainterPath | None = None

    def draw_path(
        self,
        start_port: PortItem,
        end_port: PortItem | None = None,
        cursor_pos: QtCore.QPointF | None = None,
    ) -> None:
        """Draw the canvas's own path, then put the route in its place if there is one."""
        self._band = None
        # NodeGraphQt shrinks the arrow of a short pipe and never lets it grow again.
        self._dir_pointer.setScale(1.0)
        super().draw_path(start_port, end_port, cursor_pos)
        route = self._fitting_route() if self.isVisible() else None
        if route is None:
            return
        # Backwards: NodeGraphQt's pipes run from the input to the output, and it turns their
        # arrows on that understanding.
        path = rounded_path(route[::-1], CORNER_RADIUS)
        stroker = QtGui.QPainterPathStroker()
        stroker.setWidth(GRAB_WIDTH)
        self._band = stroker.createStroke(path)
        self.setPath(path)
        self._draw_direction_pointer()

    def shape(self) -> QtGui.QPainterPath:
        """Where the mouse finds the pipe."""
        # The shape that Qt makes of a path holds all that the path encloses. A route encloses
        # whole regions of the canvas, and a click into one would pull the pipe off its port.
        return super().shape() if self._band is None else self._band

    def _fitting_route(self) -> list[Point] | None:
        output, input_ = self.output_port, self.input_port
        viewer = self.viewer()
        if output is None or input_ is None or not isinstance(viewer, RoutedViewer):
            return None
        route = viewer.routes.get(
            Connection(output.node.id, output.name, input_.node.id, input_.name))
        if route is None or len(route) < 2:
            return None
        fits = _is_at(route[0], output) and _is_at(route[-1], input_)
        return route if fits else None


class RoutedViewer(NodeViewer):
    """NodeGraphQt's viewer, with pipes that can follow routes."""

    def __init__(self, parent: QtWidgets.QWidget | None = None, undo_stack: Any = None) -> None:
        # Before the base class, which already draws its live pipe.
        self.routes: dict[Connection, list[Point]] = {}
        super().__init__(parent, undo_stack)

    def establish_connection(self, start_port: PortItem, end_port: PortItem) -> None:
        """Make the pipe of a new connection.

        The base class has no hook for the kind of pipe that it makes, so this takes its place.
        """
        pipe = RoutedPipe()
        self.scene().addItem(pipe)
        pipe.set_connections(start_port, end_port)
        pipe.draw_path(pipe.input_port, pipe.output_port)
        if start_port.node.selected or end_port.node.selected:
            pipe.highlight()
        if not start_port.node.visible or not end_port.node.visible:
            pipe.hide()


class _UndoStack(QtWidgets.QUndoStack):
    def __bool__(self) -> bool:
        # PyQt5 takes an empty stack for false, and NodeGraphQt a false one for none at all: the
        # graph would make a stack of its own and the viewer's undo action would be missing.
        return True


def routed_graph(**kwargs: Any) -> NodeGraph:
    """A `NodeGraph` whose pipes can follow routes; takes the keywords of `NodeGraph`."""
    stack = _UndoStack()
    return NodeGraph(viewer=RoutedViewer(undo_stack=stack), undo_stack=stack, **kwargs)


def show_routes(graph: NodeGraph, tidied: Tidied) -> None:
    """Draw the pipes of `graph` along the routes that `tidy` returned.

    Routes of pipes that took no part in that tidy are kept.
    """
    viewer = graph.viewer()
    if not isinstance(viewer, RoutedViewer):
        raise TypeError("routes can be shown only in a graph made by routed_graph()")
    present = {node.id for node in graph.all_nodes()}
    part = tidied.positions.keys()
    viewer.routes = {
        connection: route for connection, route in viewer.routes.items()
        if {connection.source, connection.target} <= present
        and not (connection.source in part and connection.target in part)
    } | tidied.routes
    for pipe in viewer.all_pipes():
        pipe.draw_path(pipe.input_port, pipe.output_port)


def rounded_path(points: Sequence[Point], radius: float) -> QtGui.QPainterPath:
    """A path along `points`, at least two, with every corner rounded by up to `radius`."""
    corners = _corners(points)
    path = QtGui.QPainterPath(QtCore.QPointF(*corners[0]))
    for before, corner, after in zip(corners, corners[1:], corners[2:]):
        # No more than half of a segment: its other half belongs to the next corner.
        cut = min(radius, math.dist(before, corner) / 2, math.dist(corner, after) / 2)
        path.lineTo(QtCore.QPointF(*_towards(corner, before, cut)))
        path.quadTo(QtCore.QPointF(*corner), QtCore.QPointF(*_towards(corner, after, cut)))
    path.lineTo(QtCore.QPointF(*corners[-1]))
    return path


def _corners(points: Sequence[Point]) -> list[Point]:
    """`points` without those at which the line runs straight on; they would limit the radius."""
    corners = [points[0]]
    for here, after in zip(points[1:], points[2:]):
        (x0, y0), (x1, y1), (x2, y2) = corners[-1], here, after
        turn = (x1 - x0) * (y2 - y1) - (y1 - y0) * (x2 - x1)
        if abs(turn) > 1e-6:
            corners.append(here)
    return [*corners, points[-1]]


def _towards(start: Point, end: Point, distance: float) -> Point:
    share = distance / math.dist(start, end)
    return start[0] + (end[0] - start[0]) * share, start[1] + (end[1] - start[1]) * share


def _is_at(point: Point, port: PortItem) -> bool:
    centre = port.mapToScene(port.boundingRect().center())
    return math.dist(point, (centre.x(), centre.y())) <= FIT_TOLERANCE
