"""Write a layout to a NodeGraphQt canvas in one undo step, and fast.

When a node moves, its ports are notified, and each port then redraws all of its pipes. That takes most
of the time of a simple loop over `set_pos`, and of its undo. So these notifications are turned off while
nodes are written, in undo as well, and each pipe is drawn once at the end.
"""

from __future__ import annotations

from collections.abc import Collection, Iterator, Mapping
from dataclasses import dataclass
from typing import Any

from NodeGraphQt import NodeGraph
from NodeGraphQt.qgraphics.pipe import PipeItem
from Qt import QtCore, QtWidgets

from nodegraphqt_reading import Connection, pipe_connection
from nodegraphqt_room import Point

Routes = dict[Connection, list[Point]]


@dataclass
class Change:
    """New positions of nodes and rectangles of backdrops, by id, and new routes."""

    moves: dict[str, Point]
    frames: dict[str, QtCore.QRectF]
    routes: Routes


class _Hush(QtWidgets.QUndoCommand):
    """Begins or ends a period in which ports are not notified of moves."""

    def __init__(self, quiet: _Quiet, begins: bool) -> None:
        super().__init__()
        self._quiet = quiet
        self._begins = begins

    def redo(self) -> None:
        """Also run when the command is pushed."""
        if self._begins:
            self._quiet.begin()
        else:
            self._quiet.end(undone=False)

    def undo(self) -> None:
        """The commands of a step are undone from the last to the first."""
        if self._begins:
            self._quiet.end(undone=True)
        else:
            self._quiet.begin()


class _Quiet:
    """What both ends of such a period share."""

    def __init__(self, graph: NodeGraph, ids: list[str], routes: Routes) -> None:
        self._graph = graph
        self._ids = ids
        self._ports: list[Any] = []
        viewer: Any = graph.viewer()
        # Only the viewer of a routed graph has routes.
        self._routed = hasattr(viewer, "exchange_routes")
        if self._routed:
            self._before = viewer.routes, viewer.detours
            self._after = {**viewer.routes, **routes}, {
                connection: way for connection, way in viewer.detours.items()
                if connection not in routes}

    def begin(self) -> None:
        notices = QtWidgets.QGraphicsItem.ItemSendsScenePositionChanges
        views = [node.view for id_ in self._ids if (node := self._graph.get_node_by_id(id_))]
        self._ports = [port for view in views for side in ("inputs", "outputs")
                       for port in getattr(view, side, ()) if port.connected_pipes]
        for port in self._ports:
            port.setFlag(notices, False)

    def end(self, undone: bool) -> None:
        notices = QtWidgets.QGraphicsItem.ItemSendsScenePositionChanges
        for port in self._ports:
            port.setFlag(notices, True)
        pipes = {pipe: None for port in self._ports for pipe in port.connected_pipes}
        if self._routed:
            viewer: Any = self._graph.viewer()
            old = {**viewer.routes, **viewer.detours}
            viewer.exchange_routes(self._before if undone else self._after)
            new = {**viewer.routes, **viewer.detours}
            changed = {connection for connection in old.keys() | new.keys()
                       if old.get(connection) != new.get(connection)}
            pipes.update(dict.fromkeys(_pipes_of(self._graph, changed, pipes)))
        for pipe in pipes:
            pipe.draw_path(pipe.input_port, pipe.output_port)


def draw_changed_pipes(graph: NodeGraph, connections: Collection[Connection]) -> None:
    """Draw the pipes of some connections again."""
    for pipe in _pipes_of(graph, connections):
        pipe.draw_path(pipe.input_port, pipe.output_port)


def _pipes_of(graph: NodeGraph, connections: Collection[Connection],
              known: Collection[PipeItem] = ()) -> list[PipeItem]:
    """The pipes of some connections, without those that are known already."""
    if not connections:
        return []
    return [pipe for pipe in all_pipes(graph)
            if pipe not in known and pipe_connection(pipe) in connections]


def all_pipes(graph: NodeGraph) -> Iterator[PipeItem]:
    """The pipes of all connections, hidden ones included, in the order of their nodes and ports."""
    for node in graph.all_nodes():
        for port in getattr(node.view, "outputs", ()):
            yield from port.connected_pipes


def write(graph: NodeGraph, change: Change, text: str) -> None:
    """Carry out a change as one undo step: all of it, or nothing if a node raises.

    If nothing moves there is no undo step; routes alone are shown without one.
    """
    quiet = _Quiet(graph, [*change.moves], change.routes)
    if not change.moves and not change.frames:
        quiet.begin()
        quiet.end(undone=False)
        return
    complete = False
    graph.begin_undo(text)
    try:
        graph.undo_stack().push(_Hush(quiet, begins=True))
        try:
            _write_nodes(graph, change.moves, change.frames)
            complete = True
        finally:
            graph.undo_stack().push(_Hush(quiet, begins=False))
    finally:
        graph.end_undo()
        if not complete:
            _take_back(graph.undo_stack())


def _write_nodes(graph: NodeGraph, moves: Mapping[str, Point],
                 frames: Mapping[str, QtCore.QRectF]) -> None:
    for id_, (x, y) in moves.items():
        node = graph.get_node_by_id(id_)
        # `set_pos` compares with, and undo returns to, the model's position. Reading `pos()`
        # first brings the model up to date if only the view was moved.
        node.pos()
        node.set_pos(x, y)
    for id_, rect in frames.items():
        backdrop = graph.get_node_by_id(id_)
        backdrop.pos()
        backdrop.size()  # As above: the model forgets sizes that the view was given.
        backdrop.set_property("width", rect.width())
        backdrop.set_property("height", rect.height())
        backdrop.set_pos(rect.x(), rect.y())


def _take_back(stack: Any) -> None:
    """Undo the last step and forget it, so that it can't be redone by half."""
    # False also while a step of the caller's own is open: then that step includes ours, and
    # undoing it is up to the caller.
    if not stack.canUndo():
        return
    stack.undo()
    stack.command(stack.index()).setObsolete(True)
    # An obsolete step is dropped instead of redone.
    stack.redo()
