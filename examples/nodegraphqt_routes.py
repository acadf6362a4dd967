"""Draw NodeGraphQt's pipes along routes, and keep them right while the user works.

    from nodegraphqt_layout import tidy
    from nodegraphqt_routes import route_wires, routed_graph

    graph = routed_graph()            # instead of NodeGraph()
    tidy(graph)                       # shows its routes at once
    route_wires(graph)                # new routes, without moving any nodes

Routes are kept up to date: when nodes have moved, the wires that no longer fit, and those that a node
now covers, get new routes as soon as the event loop runs; the others stay. Nodes that move together
keep the routes between them. When nodes are back where they were, for instance after an undo, so are
the routes. Saving a session saves them, and loading it brings them back.
"""

from __future__ import annotations

import time
import weakref
from collections.abc import Callable, Iterable, Mapping, Sequence
from typing import Any

from NodeGraphQt import GroupNode, NodeGraph, SubGraph
from NodeGraphQt.qgraphics.port import PortItem
from NodeGraphQt.widgets.viewer import NodeViewer
from Qt import QtCompat, QtCore, QtWidgets

from nodegraphqt_layout import Tidied
from nodegraphqt_pipes import RoutedPipe, ends_shown, rounded_path
from nodegraphqt_reading import Connection, pipe_connection, read_canvas
from nodegraphqt_room import Point
from nodegraphqt_saving import load_routes, saved_routes
from nodegraphqt_ways import Wiring
from nodegraphqt_writing import Routes, all_pipes, draw_changed_pipes

__all__ = ["RoutedGraph", "RoutedPipe", "RoutedViewer", "route_wires", "routed_graph",
           "rounded_path", "show_routes"]

MOVES = ("pos", "width", "height", "visible")  # properties whose change can spoil a route


class RoutedViewer(NodeViewer):
    """NodeGraphQt's viewer, with pipes that can follow routes.

    `routes` are those that were asked for, for instance by a tidy. `detours` take their place
    while nodes are in their way.
    """

    # Before the base class is initialised, which already draws its live pipe.
    routes: Routes = {}
    detours: Routes = {}
    _mender: QtCore.QTimer | None = None

    def serve(self, graph: NodeGraph) -> None:
        """Start to route the pipes of `graph`."""
        self.routes, self.detours = {}, {}
        self._graph = graph
        self._mender = QtCore.QTimer()
        self._mender.setSingleShot(True)
        mend_later = _while_alive(self, RoutedViewer.mend_later)
        self._mender.timeout.connect(_while_alive(self, RoutedViewer.mend))
        graph.undo_stack().indexChanged.connect(_while_alive(self, RoutedViewer.forget_removed))
        graph.undo_stack().indexChanged.connect(mend_later)
        graph.property_changed.connect(
            lambda _, name, __: name in MOVES and mend_later())

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

    def known_routes(self, connection: Connection) -> list[list[Point]]:
        """The routes of a connection: the one that was asked for, then the detour."""
        return [route for routes in (self.routes, self.detours)
                if (route := routes.get(connection)) is not None]

    def exchange_routes(self, state: tuple[Routes, Routes]) -> None:
        """Replace routes and detours; the caller has to draw the pipes."""
        self.routes, self.detours = state

    def forget_removed(self) -> None:
        """Forget the routes of removed nodes, once no undo can bring the nodes back.

        A node made later can have the same id, which is an address. And a session opened in place of
        another has no routes of its own until some are asked for.
        """
        stack = self._graph.undo_stack()
        if not QtCompat.isValid(stack) or stack.count():  # A stack says so even when it dies.
            return
        present = {node.id for node in self._graph.all_nodes()}
        routes, detours = ({connection: route for connection, route in known.items()
                            if {connection.source, connection.target} <= present}
                           for known in (self.routes, self.detours))
        self.exchange_routes((routes, detours if routes else {}))

    def mend_later(self) -> None:
        """Mend the routes the next time the event loop runs."""
        if self._mender is not None and self.routes and not self._mender.isActive():
            self._mender.start()

    def mend(self) -> None:
        """Give new routes to the wires whose routes no longer fit, or run behind a node."""
        if not self.routes or self._mender is None:
            return
        started = time.perf_counter()
        canvas = read_canvas(self._graph)
        found = Wiring(self._graph, canvas).routes(
            [box.rect for box in canvas.boxes], range(len(canvas.wires)))
        detours = {connection: route for connection, route in found.items()
                   if self.routes.get(connection) != route}
        old = self.detours
        self.detours = detours
        changed = {connection for connection in old.keys() | detours.keys()
                   if old.get(connection) != detours.get(connection)}
        # NodeGraphQt leaves the pipes of a node on the canvas when it hides the node.
        changed.update(pipe_connection(pipe) for pipe in all_pipes(self._graph)
                       if pipe.isVisible() != ends_shown(pipe))
        draw_changed_pipes(self._graph, changed)
        # In a large graph, no more than half of the time while a node is being dragged.
        self._mender.stop()
        self._mender.setInterval(int(1000 * (time.perf_counter() - started)))


def _while_alive(viewer: RoutedViewer, action: Callable[[RoutedViewer], None]) -> Callable[..., None]:
    """A slot that does nothing once Qt has begun to take the viewer apart.

    Then its undo stack still says that its index has changed.
    """
    me = weakref.ref(viewer)

    def run(*_: Any) -> None:
        viewer = me()
        if viewer is not None and QtCompat.isValid(viewer) and QtCompat.isValid(viewer._mender):
            action(viewer)

    return run


class _Routed:
    """What a graph with routes has in addition to one without."""

    def serialize_session(self) -> dict[str, Any]:
        """The session, with the routes."""
        session = super().serialize_session()
        session["routes"] = saved_routes(self)
        return session

    def deserialize_session(self, layout_data: dict[str, Any], *args: Any, **kwargs: Any) -> None:
        """Load a session, with the routes that were saved with it."""
        there = {node.id for node in self.all_nodes()}
        super().deserialize_session(layout_data, *args, **kwargs)
        load_routes(self, layout_data, there)

    def expand_group_node(self, node: GroupNode) -> SubGraph:
        """Open a group; its pipes follow routes, too."""
        opened = super().expand_group_node(node)
        if opened is not None and not isinstance(opened, _Routed):
            # NodeGraphQt has no hook for the kind of graph, viewer and pipe that it makes here.
            opened.__class__ = RoutedSubGraph
            viewer = opened.viewer()
            viewer.__class__ = RoutedViewer
            viewer.serve(opened)
            for pipe in viewer.all_pipes():
                pipe.__class__ = RoutedPipe
            load_routes(opened, node.get_sub_graph_session(), set())
        return opened


class RoutedGraph(_Routed, NodeGraph):
    """A `NodeGraph` whose pipes can follow routes."""


class RoutedSubGraph(_Routed, SubGraph):
    """The graph in an opened group of a `RoutedGraph`."""


class _UndoStack(QtWidgets.QUndoStack):
    def __bool__(self) -> bool:
        # An empty stack is false in PyQt5, and NodeGraphQt takes a false one for none at all: the
        # graph would make a stack of its own and the viewer's undo action would be missing.
        return True


def routed_graph(**kwargs: Any) -> RoutedGraph:
    """A `NodeGraph` whose pipes can follow routes; takes the keyword arguments of `NodeGraph`."""
    stack = _UndoStack()
    graph = RoutedGraph(viewer=RoutedViewer(undo_stack=stack), undo_stack=stack, **kwargs)
    graph.viewer().serve(graph)
    return graph


def show_routes(graph: NodeGraph, tidied: Tidied) -> None:
    """Draw the pipes of `graph` along the routes that `tidy` returned.

    A tidy of a routed graph does so itself; this is for routes that were stored, or that belong to
    another view. Routes of pipes that took no part in that tidy stay as they are.
    """
    _take(_viewer(graph), graph, tidied.routes)


def route_wires(
    graph: NodeGraph, wires: Iterable[Connection] | None = None, *, afresh: bool = False
) -> dict[Connection, list[Point]]:
    """Route all wires, or only some, without moving any nodes.

    No wire runs behind a node if there is a way around. A wire keeps its route if it can, unless it is
    to be routed `afresh`. Returns the routes, in scene coordinates; a routed graph shows them
    at once, without an undo step.
    """
    canvas = read_canvas(graph)
    chosen = None if wires is None else set(wires)
    part = [index for index, wire in enumerate(canvas.wires)
            if chosen is None or canvas.connection(wire) in chosen]
    routes = Wiring(graph, canvas).routes([box.rect for box in canvas.boxes], part,
                                          keep=not afresh)
    viewer = graph.viewer()
    if isinstance(viewer, RoutedViewer):
        _take(viewer, graph, routes)
    return routes


def _viewer(graph: NodeGraph) -> RoutedViewer:
    viewer = graph.viewer()
    if not isinstance(viewer, RoutedViewer):
        raise TypeError("routes can be shown only in a graph made by routed_graph()")
    return viewer


def _take(viewer: RoutedViewer, graph: NodeGraph,
          routes: Mapping[Connection, Sequence[Point]]) -> None:
    present = {node.id for node in graph.all_nodes()}
    viewer.exchange_routes((
        {connection: list(route) for connection, route in (viewer.routes | dict(routes)).items()
         if {connection.source, connection.target} <= present},
        {connection: route for connection, route in viewer.detours.items()
         if connection not in routes}))
    draw_changed_pipes(graph, set(routes))
