"""Tidy a NodeGraphQt graph with the layered layout engine, in one undo step.

Copy the files `nodegraphqt_*.py` into your project and call this from a menu or a button:

    from nodegraphqt_layout import tidy
    from quillan.core.vorn_layered import LayoutOptions

    tidy(graph)                                        # the whole graph
    tidy(graph, selected_only=True)                    # only what is selected
    tidy(graph, LayoutOptions(interactive=True))       # keep my arrangement
    tidy(graph, LayoutOptions())                       # the engine's own defaults
    tidy(graph, pinned=["Output"], fit=True)           # a node that stays; frame the result

Graphs made by `routed_graph()` of `nodegraphqt_routes` show the routes at once.
"""

from __future__ import annotations

import gc
from collections.abc import Iterable, Iterator, Sequence
from contextlib import contextmanager
from dataclasses import dataclass, replace

from NodeGraphQt import NodeGraph
from NodeGraphQt.base.node import NodeObject
from NodeGraphQt.constants import LayoutDirectionEnum
from Qt import QtCore

from nodegraphqt_blocks import Arranger, Block, Ways, read_blocks
from nodegraphqt_reading import Canvas, Connection, drawn_box, read_canvas, scene_box
from nodegraphqt_room import Point, Rect, holds, meets, united
from nodegraphqt_ways import Wiring
from nodegraphqt_writing import Change, write
from quillan.core.vorn_layered import AUTO, Direction, LayoutOptions

__all__ = ["BEST", "Connection", "Tidied", "drawn_box", "scene_box", "tidy"]

# The strategies that make the best drawings; `LayoutOptions()` has the engine's own defaults.
BEST = LayoutOptions(
    layering_strategy="MINIMUM_LENGTH", crossing_strategy="SIFTING",
    placement_strategy="NETWORK_SIMPLEX", edge_routing="ORTHOGONAL_ORDERED")

# A node that would move by no more than this stays where it is. Moving a drawing back to its old
# corner rounds; without a tolerance a second tidy would fill the undo stack with invisible steps.
MOVE_TOLERANCE = 1e-6

FRAME_MARGIN = 12.0  # between a backdrop that had to grow and what it had to enclose
FIT_MARGIN = 40.0  # scene units left around a drawing when the view is fitted to it


@dataclass(frozen=True)
class Tidied:
    """What `tidy` did, in scene coordinates.

    `positions` maps the id of every node that took part to its new `pos()`. `routes` maps
    connections to polylines from the output port to the input port. A connection has no route only
    if its pipe isn't drawn, or if there is no way around the nodes.
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
    pinned: Iterable[NodeObject | str] = (),
    fit: bool = False,
) -> Tidied:
    """Lay out `graph`, or only its selected nodes, in one undo step.

    The drawing stays where it was: the top-left corner of the whole graph keeps its place, and so
    does the centre of a selection if there is room; otherwise the selection goes to the nearest
    place where it covers nothing. These don't move: nodes that are not selected, if only the selection
    is laid out, nodes that are hidden, nodes that the user can't move, and those in `pinned` (nodes,
    their ids or their names). The contents of a backdrop stay in it. Unconnected parts are packed,
    `component_gap` apart, to fit the shape of the view. If nothing has to move, there is no undo step.

    With `options.interactive`, the arrangement is kept: only nodes that overlap, or that are in no column,
    move. Without `options`, the strategies are those of `BEST`.

    The flow is that of the canvas, to the right or down. With `fit` the view frames the result.

    Raises TypeError or ValueError, before anything moves, for unusable options, a direction that the
    canvas can't draw or a pinned node that doesn't exist. If moving a node fails, the nodes moved
    before it are put back and the error is passed on.
    """
    options = _effective_options(graph, options, direction)
    with _without_collector():
        tidied = _tidy(graph, options, selected_only, component_gap, pinned)
    if fit:
        _fit(graph)
    return tidied


def _tidy(graph: NodeGraph, options: LayoutOptions, selected_only: bool, component_gap: float,
          pinned: Iterable[NodeObject | str]) -> Tidied:
    canvas = read_canvas(graph)
    pins, pinned_frames = _pinned(graph, canvas, pinned)
    wiring = Wiring(graph, canvas)
    size = graph.viewer().size()
    aspect = max(size.width(), 1) / max(size.height(), 1)
    arranger = Arranger(canvas, options, component_gap, 1 / aspect if canvas.vertical else aspect,
                        pins, pinned_frames, wiring.following(), wiring.displaced())
    rects = [box.rect for box in canvas.boxes]
    frames = [frame.rect for frame in canvas.frames]
    sheet = read_blocks(canvas)
    if selected_only:
        part, ways = _arrange_selection(arranger, sheet, rects, frames)
        wiring.propose(ways)
    else:
        part = set(range(len(rects)))
        drawing = arranger.block(sheet, range(len(canvas.wires)))
        wiring.propose(drawing.ways)
        for index, rect in drawing.boxes.items():
            rects[index] = rect
        for index, rect in drawing.frames.items():
            frames[index] = rect
    if not part:
        return Tidied({}, {})

    change = _change(canvas, rects, frames)
    routes = wiring.routes(
        [rect if box.node.id in change.moves else box.rect
         for box, rect in zip(canvas.boxes, rects)],
        {index for index, wire in enumerate(canvas.wires)
         if wire.source in part or wire.target in part},
        keep=options.interactive, trusted=not (pins or selected_only or canvas.frames))
    write(graph, replace(change, routes=routes), "tidy")
    return Tidied(
        positions={canvas.boxes[index].node.id: tuple(canvas.boxes[index].node.view.xy_pos)
                   for index in sorted(part)},
        routes=routes)


@contextmanager
def _without_collector() -> Iterator[None]:
    """Pause Python's cyclic collector: nothing here is garbage yet, and with a thousand nodes on
    the canvas each of its passes takes longer than the layout."""
    enabled = gc.isenabled()
    gc.disable()
    try:
        yield
    finally:
        if enabled:
            gc.enable()


def _arrange_selection(arranger: Arranger, sheet: Block, rects: list[Rect],
                       frames: list[Rect]) -> tuple[set[int], Ways]:
    """Lay out the selection, where there is room for it, and record it in `rects` and `frames`.

    A backdrop whose contents are all selected is part of the selection, like a node. If a backdrop
    also contains other nodes, the selected ones stay in it.
    """
    canvas = arranger.canvas
    part: set[int] = set()
    ways: Ways = {}

    def whole(block: Block) -> bool:
        boxes = block.all_boxes()
        return bool(boxes) and all(canvas.boxes[box].selected for box in boxes)

    def visit(block: Block, chain: Sequence[Block]) -> None:
        chosen = Block(None, [box for box in block.boxes if canvas.boxes[box].selected],
                       [inner for inner in block.blocks if whole(inner)])
        for inner in block.blocks:
            if not whole(inner):
                visit(inner, [*chain, inner])
        members = set(chosen.all_boxes())
        if not members:
            return
        part.update(members)
        own = {*chosen.all_frames(), *(one.frame for one in chain)}
        taken = [*(rect for index, rect in enumerate(rects) if index not in members),
                 *(frame for index, frame in enumerate(frames) if index not in own)]
        wires = [index for index, wire in enumerate(canvas.wires)
                 if wire.source in members and wire.target in members]

        def in_order(rect: Rect) -> bool:
            """Whether the backdrops around, grown to hold `rect`, include nothing that isn't theirs."""
            for one, frame in _grown(chain, frames, rect):
                inside = {*one.all_boxes()}
                if any(meets(frame, other) for index, other in enumerate(rects)
                       if index not in inside and not meets(frames[one.frame], other)):
                    return False
            return True

        drawing = replace(arranger, obstacles=taken, accept=in_order,
                          centred=True).block(chosen, wires)
        ways.update(drawing.ways)
        for one, frame in _grown(chain, frames, drawing.rect):
            frames[one.frame] = frame
        for index, rect in drawing.boxes.items():
            rects[index] = rect
        for index, rect in drawing.frames.items():
            frames[index] = rect

    visit(sheet, [])
    return part, ways


def _grown(chain: Sequence[Block], frames: Sequence[Rect],
           rect: Rect) -> Iterator[tuple[Block, Rect]]:
    """The backdrops of `chain`, the inner ones first, as large as they have to be to hold `rect`."""
    for one in reversed(chain):
        assert one.frame is not None
        if holds(frames[one.frame], rect):
            return
        rect = united([frames[one.frame], (
            rect[0] - FRAME_MARGIN, rect[1] - FRAME_MARGIN,
            rect[2] + FRAME_MARGIN, rect[3] + FRAME_MARGIN)])
        yield one, rect


def _pinned(graph: NodeGraph, canvas: Canvas,
            pinned: Iterable[NodeObject | str]) -> tuple[frozenset[int], frozenset[int]]:
    """The boxes and the backdrops that stay: those that are pinned, or can't be moved."""
    names = {one if isinstance(one, str) else one.id for one in pinned}
    if unknown := sorted(names.difference(*((node.id, node.name()) for node in graph.all_nodes()))):
        raise ValueError(f"no node to pin: {', '.join(unknown)}")
    chosen: list[frozenset[int]] = []
    for ones in (canvas.boxes, canvas.frames):
        stay = set()
        for index, one in enumerate(ones):
            if not one.movable or names & {one.node.id, one.node.name()}:
                stay.add(index)
        chosen.append(frozenset(stay))
    return chosen[0], chosen[1]


def _change(canvas: Canvas, rects: Sequence[Rect], frames: Sequence[Rect]) -> Change:
    """What has to be written so that boxes and backdrops get these positions."""
    moves = {}
    for box, rect in zip(canvas.boxes, rects):
        if _differs(box.rect[:2], rect[:2]):
            x, y = rect[0] - box.corner[0], rect[1] - box.corner[1]
            moves[box.node.id] = (y, x) if canvas.vertical else (x, y)
    resized = {}
    for one, rect in zip(canvas.frames, frames):
        if _differs(one.rect, rect):
            left, top, right, bottom = canvas.turned_rect(rect)
            resized[one.node.id] = QtCore.QRectF(left, top, right - left, bottom - top)
    return Change(moves, resized, {})


def _differs(before: Sequence[float], now: Sequence[float]) -> bool:
    return any(abs(one - other) > MOVE_TOLERANCE for one, other in zip(before, now))


def _effective_options(
    graph: NodeGraph, options: LayoutOptions | None, direction: Direction | str | None
) -> LayoutOptions:
    """Options for the engine, which sees every canvas as one that flows to the right."""
    if options is not None and not isinstance(options, LayoutOptions):
        raise TypeError(f"options must be LayoutOptions or None, not {type(options).__name__}")
    vertical = graph.layout_direction() == LayoutDirectionEnum.VERTICAL.value
    drawn = Direction.DOWN if vertical else Direction.RIGHT
    asked = drawn if options is None or options.direction == Direction.RIGHT else options.direction
    asked = Direction(direction if direction is not None else asked)
    if asked != drawn:
        other = {Direction.RIGHT: "HORIZONTAL", Direction.DOWN: "VERTICAL"}.get(asked)
        remedy = ("leave the direction out" if other is None else
                  f"call graph.set_layout_direction(LayoutDirectionEnum.{other}.value) first")
        raise ValueError(f"this canvas draws its ports for a flow {drawn.name}, and {asked.name} "
                         f"would take its wires behind the nodes; {remedy}")
    options = BEST if options is None else options
    if options.interactive and options.crossing_strategy == AUTO:
        options = replace(options, crossing_strategy="KEEP")
    if options.interactive and options.placement_strategy == LayoutOptions().placement_strategy:
        options = replace(options, placement_strategy="INTERACTIVE")
    return replace(options, direction=Direction.RIGHT)


def _fit(graph: NodeGraph) -> None:
    """Fit the view to what is visible, without magnifying it."""
    bounds = QtCore.QRectF()
    for node in graph.all_nodes():
        if node.view.isVisible():
            bounds = bounds.united(scene_box(node))
    bounds.adjust(-FIT_MARGIN, -FIT_MARGIN, FIT_MARGIN, FIT_MARGIN)
    size = graph.viewer().size()
    wide, high = (max(size.width() - bounds.width(), 0.0), max(size.height() - bounds.height(), 0.0))
    if wide and high:
        bounds.adjust(-wide / 2, -high / 2, wide / 2, high / 2)
    graph.viewer().set_scene_rect(list(bounds.getRect()))
