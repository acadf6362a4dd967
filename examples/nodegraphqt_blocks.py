"""Lay out a canvas block by block: each backdrop by itself, then the blocks with the free nodes.

A backdrop and its contents are one block. Blocks are laid out from the innermost to the outermost;
seen from outside, a block is a node whose ports lie where its wires leave it. So the contents of a
backdrop stay together, no other node gets in, and backdrops that were apart stay apart. This costs
crossings: the order inside a block is chosen without regard to where its outer wires go.
"""

from __future__ import annotations

from collections.abc import Callable, Sequence
from dataclasses import dataclass, field
from typing import Any

from nodegraphqt_keep import Keeper
from nodegraphqt_reading import Canvas, Pin
from nodegraphqt_room import Point, Rect, holds, moved, nearest_place, packed, united
from quillan.core.vorn_layered import LayoutOptions, layout

Ways = dict[int, list[Point]]  # by the index of the wire


@dataclass
class Block:
    """A backdrop and its direct contents; the whole canvas is a block without a backdrop."""

    frame: int | None
    boxes: list[int] = field(default_factory=list)
    blocks: list[Block] = field(default_factory=list)

    def all_boxes(self) -> list[int]:
        """The boxes of the block and of all blocks in it."""
        return [*self.boxes, *(box for block in self.blocks for box in block.all_boxes())]

    def all_frames(self) -> list[int]:
        """The backdrops of the block and of all blocks in it."""
        own = [] if self.frame is None else [self.frame]
        return [*own, *(frame for block in self.blocks for frame in block.all_frames())]


@dataclass
class Drawing:
    """Where a block's boxes, backdrops and wires are to go."""

    rect: Rect
    boxes: dict[int, Rect]
    frames: dict[int, Rect]
    ways: Ways
    fixed: bool = False  # something in it may not move: these are places in the scene

    def moved(self, dx: float, dy: float) -> Drawing:
        """The same somewhere else."""
        return Drawing(moved(self.rect, dx, dy),
                       {key: moved(rect, dx, dy) for key, rect in self.boxes.items()},
                       {key: moved(rect, dx, dy) for key, rect in self.frames.items()},
                       {key: [(x + dx, y + dy) for x, y in way] for key, way in self.ways.items()},
                       self.fixed)

    def take(self, other: Drawing) -> None:
        """Add what another drawing shows."""
        self.boxes.update(other.boxes)
        self.frames.update(other.frames)
        self.ways.update(other.ways)


@dataclass
class Edge:
    """A wire between two items of one level."""

    wire: int
    source: int
    target: int


@dataclass
class Item:
    """A node or a block, on the level on which it is laid out."""

    key: str
    before: Rect  # where it stands
    rect: Rect    # as it is to be laid out; for a block, in the coordinates of its drawing
    fixed: bool
    box: int | None = None
    drawing: Drawing | None = None


def read_blocks(canvas: Canvas) -> Block:
    """What is in which backdrop: each node and backdrop is in the smallest that fully contains it.

    That is what moves with a backdrop when the user drags it. It is computed here and not by
    `BackdropNode.nodes()`, which searches the scene's index; NodeGraphQt changes sizes without
    telling that index, so after a change of direction it can miss nodes.
    """
    frames = [frame.rect for frame in canvas.frames]
    # Of two backdrops with the same rectangle the later holds the other.
    by_size = sorted(range(len(frames)), key=lambda index: (_area(frames[index]), index))
    blocks = {index: Block(index) for index in by_size}
    sheet = Block(None)
    for rank, index in enumerate(by_size):
        parent = next((blocks[other] for other in by_size[rank + 1:]
                       if holds(frames[other], frames[index])), sheet)
        parent.blocks.append(blocks[index])
    for index, box in enumerate(canvas.boxes):
        parent = next((blocks[frame] for frame in by_size if holds(frames[frame], box.body)), sheet)
        parent.boxes.append(index)
    return sheet


@dataclass
class Arranger:
    """Lays out a canvas, block by block."""

    canvas: Canvas
    options: LayoutOptions
    gap: float            # between parts without a connection
    aspect: float         # the shape that parts are packed to
    pinned: frozenset[int]         # boxes that stay where they are
    pinned_frames: frozenset[int]  # backdrops that stay, and all that they hold
    following: frozenset[int] = frozenset()  # wires whose route fits and is clear
    displaced: frozenset[int] = frozenset()  # wires with an end that has moved
    obstacles: Sequence[Rect] = ()  # what the drawing must not cover
    accept: Callable[[Rect], bool] = lambda rect: True  # where it may stand otherwise
    centred: bool = False           # the drawing keeps its centre, not its top left corner

    def block(self, block: Block, wires: Sequence[int]) -> Drawing:
        """The drawing of a block. Its coordinates are the scene's if something in it is fixed, or in an
        interactive layout; otherwise their origin is arbitrary."""
        if block.frame is not None and (
                block.frame in self.pinned_frames or not block.all_boxes()):
            # An empty backdrop is a note that stays in place; the others go round it.
            return self._standing(block)
        items, edges = self._level(block, wires)
        outside = self.obstacles if block.frame is None else ()
        keeper = Keeper([*(item.rect for item in items), *outside],
                        [*(item.fixed for item in items), *(True for _ in outside)],
                        [(edge.source, edge.target) for edge in edges], self.options,
                        [edge.wire in self.following for edge in edges],
                        [edge.wire in self.displaced for edge in edges])
        ways: Ways = {}
        if self.options.interactive:
            def lay_out(part: Sequence[int]) -> list[Rect]:
                place = {item: rank for rank, item in enumerate(part)}
                return self._engine([items[item] for item in part], [
                    Edge(edge.wire, place[edge.source], place[edge.target])
                    for edge in edges if edge.source in place])[0]

            rects = keeper.kept(lay_out)[:len(items)]
        else:
            parts = [part for part in keeper.parts if part[0] < len(items)]
            rects, ways = self._engine(items, edges)
            rects, ways = self._arranged(items, parts, rects, ways, edges, outside)
        return self._drawing(block, items, rects, ways)

    def _standing(self, block: Block) -> Drawing:
        canvas = self.canvas
        boxes = {index: canvas.boxes[index].rect for index in block.all_boxes()}
        frames = {index: canvas.frames[index].rect for index in block.all_frames()}
        return Drawing(self._outline(block), boxes, frames, {}, fixed=True)

    def _outline(self, block: Block) -> Rect:
        """A backdrop with the labels that stick out of it, where it stands."""
        assert block.frame is not None
        return united([self.canvas.frames[block.frame].rect,
                       *(self.canvas.boxes[index].rect for index in block.all_boxes())])

    def _level(self, block: Block, wires: Sequence[int]) -> tuple[list[Item], list[Edge]]:
        """The direct contents of a block, with inner blocks laid out already, and the wires between."""
        canvas = self.canvas
        place = {box: rank for rank, box in enumerate(block.boxes)}
        for rank, inner in enumerate(block.blocks, len(block.boxes)):
            place.update((box, rank) for box in inner.all_boxes())
        edges: list[Edge] = []
        inside: dict[int, list[int]] = {}
        for index in wires:
            wire = canvas.wires[index]
            source, target = place[wire.source], place[wire.target]
            if source != target or source < len(block.boxes):
                edges.append(Edge(index, source, target))
            else:
                inside.setdefault(source, []).append(index)
        items = [Item(f"{box:08d}", canvas.boxes[box].rect, canvas.boxes[box].rect,
                      box in self.pinned, box) for box in block.boxes]
        for rank, inner in enumerate(block.blocks, len(block.boxes)):
            drawing = self.block(inner, inside.get(rank, ()))
            least = min(drawing.boxes, default=len(canvas.boxes))
            items.append(Item(f"{least:08d}+{rank}", self._outline(inner), drawing.rect,
                              drawing.fixed, None, drawing))
        return items, edges

    def _engine(self, items: Sequence[Item],
                edges: Sequence[Edge]) -> tuple[list[Rect], Ways]:
        """The engine's positions for some items, and its routes."""
        canvas = self.canvas
        inputs: list[dict[Any, float]] = [{} for _ in items]
        outputs: list[dict[Any, float]] = [{} for _ in items]
        for sides, end, number in ((outputs, "source", "output"), (inputs, "target", "input")):
            for rank, item in enumerate(items):
                if item.box is not None:
                    pins = getattr(canvas.boxes[item.box], f"{number}s")
                    sides[rank].update(((item.box, pin), place.y) for pin, place in enumerate(pins))
            for edge in edges:
                wire = canvas.wires[edge.wire]
                box, pin = getattr(wire, end), getattr(wire, number)
                item = items[getattr(edge, end)]
                if item.drawing is not None:
                    where: Pin = getattr(canvas.boxes[box], f"{number}s")[pin]
                    sides[getattr(edge, end)][box, pin] = (
                        item.drawing.boxes[box][1] + where.y - item.rect[1])
        for sides in (inputs, outputs):
            for rank, item in enumerate(items):
                if item.drawing is not None:
                    sides[rank] = dict(sorted(sides[rank].items(), key=lambda port: port[::-1]))
        ranks = [[{port: rank for rank, port in enumerate(side)} for side in sides]
                 for sides in (outputs, inputs)]
        nodes = [{
            "id": item.key, "x": item.rect[0], "y": item.rect[1],
            "width": item.rect[2] - item.rect[0], "height": item.rect[3] - item.rect[1],
            "input_ports": [{"offset": offset} for offset in into.values()],
            "output_ports": [{"offset": offset} for offset in out.values()],
        } for item, into, out in zip(items, inputs, outputs)]
        links = []
        for edge in edges:
            wire = canvas.wires[edge.wire]
            links.append({
                "id": str(edge.wire), "source": items[edge.source].key,
                "source_port": ranks[0][edge.source][wire.source, wire.output],
                "target": items[edge.target].key,
                "target_port": ranks[1][edge.target][wire.target, wire.input]})
        places, routes = layout(nodes, links, self.options, component_gap=self.gap)
        rects = []
        for item in items:
            x, y = places[item.key]
            rects.append((x, y, x + item.rect[2] - item.rect[0], y + item.rect[3] - item.rect[1]))
        return rects, {int(key): route for key, route in routes.items()}

    def _arranged(self, items: Sequence[Item], parts: Sequence[Sequence[int]],
                  rects: Sequence[Rect], ways: Ways, edges: Sequence[Edge],
                  outside: Sequence[Rect]) -> tuple[list[Rect], Ways]:
        """Pack the parts, and put what is fixed where it has to be.

        A part with something fixed is moved so that its first fixed item is in its place; the other
        fixed items take theirs, and whatever is in their way goes to the nearest free room.
        """
        part_of = {item: rank for rank, part in enumerate(parts) for item in part}
        part_ways: list[list[int]] = [[] for _ in parts]
        for edge in edges:
            if edge.wire in ways:
                part_ways[part_of[edge.source]].append(edge.wire)
        bounds = [united([*(rects[item] for item in part),
                          *((x, y, x, y) for wire in wires for x, y in ways[wire])])
                  for part, wires in zip(parts, part_ways)]
        fixed = [next((item for item in part if items[item].fixed), None) for part in parts]
        free = [rank for rank, item in enumerate(fixed) if item is None]
        corners = packed([(bounds[rank][2] - bounds[rank][0], bounds[rank][3] - bounds[rank][1])
                          for rank in free], self.aspect, self.gap)
        steps = {rank: (x - bounds[rank][0], y - bounds[rank][1])
                 for rank, (x, y) in zip(free, corners)}
        placed = list(rects)
        taken = [*outside, *(item.rect for item in items if item.fixed)]
        for rank, pin in enumerate(fixed):
            if pin is None:
                continue
            dx, dy = items[pin].rect[0] - rects[pin][0], items[pin].rect[1] - rects[pin][1]
            steps[rank] = dx, dy
            for item in parts[rank]:
                if items[item].fixed:
                    continue
                wish = moved(rects[item], dx, dy)
                x, y = nearest_place((wish[2] - wish[0], wish[3] - wish[1]), wish[:2], taken,
                                     self.options.spacing_node_node) or wish[:2]
                placed[item] = moved(rects[item], x - rects[item][0], y - rects[item][1])
                taken.append(placed[item])
        if free:
            # The free parts go as a whole to where there is room beside what is fixed.
            sheet = united(moved(bounds[rank], *steps[rank]) for rank in free)
            dx, dy = self._anchored([(items[item].before, moved(rects[item], *steps[rank]))
                                     for rank in free for item in parts[rank]])
            wish = moved(sheet, dx, dy)
            place = nearest_place((sheet[2] - sheet[0], sheet[3] - sheet[1]), wish[:2], taken,
                                  self.options.spacing_node_node,
                                  self.accept if outside else lambda rect: True)
            if place is None:  # Then everything stays.
                return [moved(item.rect, item.before[0] - item.rect[0],
                              item.before[1] - item.rect[1]) for item in items], {}
            x, y = place
            for rank in free:
                steps[rank] = (steps[rank][0] + x - sheet[0], steps[rank][1] + y - sheet[1])
        for rank in free:
            for item in parts[rank]:
                placed[item] = moved(rects[item], *steps[rank])
        for item, one in enumerate(items):
            if one.fixed:
                placed[item] = one.rect
        new_ways = {}
        for rank, wires in enumerate(part_ways):
            dx, dy = steps[rank]
            for wire in wires:
                new_ways[wire] = [(x + dx, y + dy) for x, y in ways[wire]]
        return placed, new_ways

    def _anchored(self, pairs: Sequence[tuple[Rect, Rect]]) -> Point:
        """The step that takes the drawing back to where it was."""
        before, now = united(pair[0] for pair in pairs), united(pair[1] for pair in pairs)
        if self.centred:
            return ((before[0] + before[2] - now[0] - now[2]) / 2,
                    (before[1] + before[3] - now[1] - now[3]) / 2)
        return before[0] - now[0], before[1] - now[1]

    def _drawing(self, block: Block, items: Sequence[Item], rects: Sequence[Rect],
                 ways: Ways) -> Drawing:
        """The drawing of a level, with inner blocks in their places and a backdrop around it."""
        boxes = {item.box: rect for item, rect in zip(items, rects) if item.box is not None}
        whole = Drawing((0.0, 0.0, 0.0, 0.0), boxes, {}, dict(ways),
                        any(item.fixed for item in items))
        for item, rect in zip(items, rects):
            if item.drawing is not None:
                dx, dy = rect[0] - item.rect[0], rect[1] - item.rect[1]
                whole.take(item.drawing.moved(dx, dy) if dx or dy else item.drawing)
        if block.frame is None:
            if items:
                whole.rect = united([*rects, *((x, y, x, y) for way in ways.values()
                                               for x, y in way)])
            return whole
        frame = self.canvas.frames[block.frame].rect
        if all(rect == item.before for rect, item in zip(rects, items)):
            whole.rect, whole.frames[block.frame] = self._outline(block), frame
            return whole
        before = united(item.before for item in items)
        now = united([*rects, *((x, y, x, y) for way in ways.values() for x, y in way)])
        # A label may stick out of a backdrop, but a fitted one never cuts into it.
        whole.rect = (now[0] + min(frame[0] - before[0], 0.0),
                      now[1] + min(frame[1] - before[1], 0.0),
                      now[2] + max(frame[2] - before[2], 0.0),
                      now[3] + max(frame[3] - before[3], 0.0))
        whole.frames[block.frame] = whole.rect
        return whole


def _area(rect: Rect) -> float:
    return (rect[2] - rect[0]) * (rect[3] - rect[1])
