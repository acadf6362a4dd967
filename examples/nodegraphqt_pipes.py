"""Pipes that follow routes, in the style that the canvas has for its pipes."""

from __future__ import annotations

import math
from collections.abc import Callable, Sequence
from itertools import pairwise

from NodeGraphQt.constants import PipeEnum, PipeLayoutEnum
from NodeGraphQt.qgraphics.pipe import PipeItem
from NodeGraphQt.qgraphics.port import PortItem
from Qt import QtCore, QtGui

from nodegraphqt_reading import Connection, pipe_connection
from nodegraphqt_room import Point
from nodegraphqt_ways import FIT_TOLERANCE

CORNER_RADIUS = 8.0  # scene units; the pipe style decides whether corners are round, cut or sharp
GRAB_WIDTH = 8.0     # width, in scene units, of the band in which the mouse finds a routed pipe

# What a viewer gives a pipe: the known routes of a connection, with a detour last.
KnownRoutes = Callable[[Connection], Sequence[Sequence[Point]]]


class RoutedPipe(PipeItem):
    """A pipe that follows its route while that fits its ports."""

    # Qt asks for the shape, and the base class draws the arrow, while it is being initialised.
    _route: Sequence[Point] | None = None

    def draw_path(
        self,
        start_port: PortItem,
        end_port: PortItem | None = None,
        cursor_pos: QtCore.QPointF | None = None,
    ) -> None:
        """Draw the route if there is one that fits, and the canvas's own path otherwise."""
        self._route = None
        known: KnownRoutes | None = getattr(self.viewer(), "known_routes", None)
        if known is None or cursor_pos is not None or None in (self.output_port, self.input_port):
            self._draw_plain(start_port, end_port, cursor_pos)
            return
        if not ends_shown(self):
            self.setVisible(False)
            return
        self._route = self._fitting_route(known(pipe_connection(self)))
        if self._route is None:
            self.viewer().mend_later()
            self._draw_plain(start_port, end_port, cursor_pos)
            return
        self.setVisible(True)
        # Backwards: NodeGraphQt's pipes run from the input to the output.
        self.setPath(styled_path(self._route[::-1], self.viewer_pipe_layout()))
        self._draw_direction_pointer()

    def shape(self) -> QtGui.QPainterPath:
        """Where the mouse finds the pipe."""
        # The shape that Qt makes of a path is everything that the path encloses. A route encloses
        # whole regions of the canvas, and a click in one would pull the pipe off its port.
        if self._route is None:
            return super().shape()
        band, reach = QtGui.QPainterPath(), GRAB_WIDTH / 2
        band.setFillRule(QtCore.Qt.WindingFill)
        for (x0, y0), (x1, y1) in pairwise(self._route):
            band.addRect(min(x0, x1) - reach, min(y0, y1) - reach,
                         abs(x1 - x0) + GRAB_WIDTH, abs(y1 - y0) + GRAB_WIDTH)
        return band

    def _draw_plain(self, start_port: PortItem, end_port: PortItem | None,
                    cursor_pos: QtCore.QPointF | None) -> None:
        # NodeGraphQt shrinks the arrow of a short pipe and never lets it grow again.
        self._dir_pointer.setScale(1.0)
        super().draw_path(start_port, end_port, cursor_pos)

    def _draw_direction_pointer(self) -> None:
        """Put the arrow in the middle of the route; the base class would measure a curve for that."""
        if self._route is None:
            super()._draw_direction_pointer()
            return
        if self.disabled() and not (self._active or self._highlight):
            color = QtGui.QColor(*PipeEnum.DISABLED_COLOR.value)
            self._dir_pointer.setPen(QtGui.QPen(color, self._dir_pointer.pen().width()))
            self._dir_pointer.setBrush(color.darker(200))
        (x, y), turn = _middle(self._route)
        self._dir_pointer.setScale(1.0)
        self._dir_pointer.setRotation(turn + 90.0)
        self._dir_pointer.setPos(x, y)
        self._dir_pointer.setVisible(True)

    def _fitting_route(self, routes: Sequence[Sequence[Point]]) -> Sequence[Point] | None:
        """A known route between the ports, moved with them if both have moved by the same step."""
        start, end = _centre(self.output_port), _centre(self.input_port)
        moved = None
        for route in reversed(routes):  # A detour takes precedence over the route that it replaces.
            dx, dy = start[0] - route[0][0], start[1] - route[0][1]
            if (abs(end[0] - route[-1][0] - dx) > FIT_TOLERANCE
                    or abs(end[1] - route[-1][1] - dy) > FIT_TOLERANCE):
                continue
            if max(abs(dx), abs(dy)) <= FIT_TOLERANCE:
                return route
            if moved is None:
                moved = [(x + dx, y + dy) for x, y in route]
        return moved


def ends_shown(pipe: PipeItem) -> bool:
    """True if both ports of a connected pipe are visible. They are hidden along with their nodes."""
    return bool(pipe.output_port.isVisible() and pipe.input_port.isVisible())


def styled_path(points: Sequence[Point], style: int | None) -> QtGui.QPainterPath:
    """A path along `points` with the corners of one of NodeGraphQt's pipe styles."""
    if style == PipeLayoutEnum.STRAIGHT.value:
        return rounded_path(points, 0.0)
    return rounded_path(points, CORNER_RADIUS, cut=style == PipeLayoutEnum.ANGLE.value)


def rounded_path(points: Sequence[Point], radius: float, cut: bool = False) -> QtGui.QPainterPath:
    """A path along `points`, at least two, with every corner rounded, or cut, by up to `radius`."""
    corners = _corners(points)
    path = QtGui.QPainterPath(QtCore.QPointF(*corners[0]))
    for before, corner, after in zip(corners, corners[1:], corners[2:]):
        # At most half of a segment: the other half belongs to the next corner.
        room = min(radius, math.dist(before, corner) / 2, math.dist(corner, after) / 2)
        if not room:
            path.lineTo(*corner)
            continue
        path.lineTo(*_towards(corner, before, room))
        if cut:
            path.lineTo(*_towards(corner, after, room))
        else:
            path.quadTo(*corner, *_towards(corner, after, room))
    path.lineTo(*corners[-1])
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


def _middle(route: Sequence[Point]) -> tuple[Point, float]:
    """The point half way along a route, and the direction there in degrees."""
    lengths = [math.dist(*segment) for segment in pairwise(route)]
    rest = sum(lengths) / 2
    for start, end, length in zip(route, route[1:], lengths):
        if length and rest <= length:
            return _towards(start, end, rest), math.degrees(
                math.atan2(end[1] - start[1], end[0] - start[0]))
        rest -= length
    return route[-1], 0.0


def _centre(port: PortItem) -> Point:
    centre = port.mapToScene(port.boundingRect().center())
    return centre.x(), centre.y()
