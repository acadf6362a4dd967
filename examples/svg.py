"""Draw node graphs as SVG: boxes with their ports, and the wires between them.

Copy this file and svg_shapes.py; they need only the standard library. `arrange` takes the node and edge
mappings that go into `layout`, and its result:

    positions, routes = layout(nodes, edges)
    text = page([arrange(nodes, edges, positions, routes)])

In addition to the keys of the layout engine, a node may have a `label`; what follows the last ".in." or
".out." in a port's id is drawn as the port's name. Lengths are in canvas units unless they are called
pixels; y points down.
"""

from __future__ import annotations

import re
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass, field
from typing import Any

from svg_shapes import (
    Point, fitted, returning_path, rounded_path, safe, text, text_width, wrapped, xy,
)

CANVAS, DOT, EDGE = "#161920", "#2c323e", "#303644"
CARD, OUTLINE = "#2a303c", "#4b5566"
LABEL, NAME, IDLE = "#f1f4f9", "#a9b3c3", "#737e90"  # IDLE: what has no wire
WIRES = ("#6cb6ff", "#f2b155", "#7ed491", "#f0839c", "#b795f6", "#4fd1c8",
         "#e8d66b", "#f59a6d", "#8ea2ff", "#a9d65c", "#e58be0", "#5cc8ee")

# What the colours become if the reader prefers a light page. Colours of marks that others draw on an
# arrangement, such as LABEL, change with the rest.
LIGHT = {CANVAS: "#fbfcfe", DOT: "#dde2ea", EDGE: "#d3d9e3", CARD: "#edf1f6", OUTLINE: "#a3adbd",
         LABEL: "#1b222d", NAME: "#4b5768", IDLE: "#8a94a4",
         **dict(zip(WIRES, ("#1f74d1", "#b36b00", "#2b8a45", "#c93a61", "#7a4bd0", "#12857e",
                            "#8a7a00", "#c2531f", "#4658d8", "#5b8a10", "#b03aa8", "#1380b5")))}

HEADER = 30.0  # height of a header that holds the label
LABEL_SIZE = 19.0
NAME_SIZES = 13.0, 18.0  # from and to: ports stand 20 or more apart
NAME_PIXELS, LEAST_PIXELS = 9.5, 8.0  # of a port's name, and below which it is left out
STRIP = 12.0  # height of a header that doesn't
READABLE = 0.42  # pixels per unit from which labels fit into headers
MARGIN, CAPTION, GAP = 28.0, 30.0, 16.0  # pixels: around a drawing, above it, between panels
OUTPUT, INPUT = "output", "input"


@dataclass
class Port:
    """A dot on a node's border, in the colour of its wire."""

    at: Point
    name: str
    colour: str = IDLE


@dataclass
class Box:
    """A node in place."""

    x: float
    y: float
    width: float
    height: float
    label: str
    ports: dict[str, list[Port]] = field(default_factory=lambda: {INPUT: [], OUTPUT: []})


@dataclass(frozen=True)
class Link:
    """An edge between two ports, and its route if it has one."""

    source: Box
    tail: Port
    target: Box
    head: Port
    route: Sequence[Point] | None


@dataclass(frozen=True)
class Wire:
    """An edge as SVG path data; `points` are those that the picture must have room for."""

    path: str
    points: Sequence[Point]
    colour: str
    title: str
    returning: bool


@dataclass(frozen=True)
class Arrangement:
    """Boxes and wires, all in place, and the caption of their picture."""

    boxes: list[Box]
    wires: list[list[Wire]]  # in groups that share an output port
    direction: str
    caption: str = ""

    def bounds(self) -> tuple[float, float, float, float]:
        """Left, top, width and height of everything drawn."""
        points = [p for group in self.wires for wire in group for p in wire.points]
        for box in self.boxes:
            points += [(box.x, box.y), (box.x + box.width, box.y + box.height)]
        xs, ys = [x for x, _ in points] or [0.0], [y for _, y in points] or [0.0]
        return min(xs), min(ys), max(xs) - min(xs), max(ys) - min(ys)


# ---- from mappings to boxes and wires


def arrange(nodes: Iterable[Mapping[str, Any]], edges: Iterable[Mapping[str, Any]],
            positions: Mapping[str, Point],
            routes: Mapping[str, Sequence[Point]] | None = None,
            *, direction: str = "RIGHT", caption: str = "") -> Arrangement:
    """Put the nodes at their positions and connect them.

    Without `routes` every edge is a straight wire from port to port. With them, an edge that has
    no route runs against the flow and gets a dashed curve.
    """
    boxes = {str(node["id"]): make_box(node, positions[str(node["id"])], direction)
             for node in nodes}
    links: dict[int, list[Link]] = {}
    for position, edge in enumerate(edges):
        source, target = boxes.get(str(edge.get("source"))), boxes.get(str(edge.get("target")))
        if source is None or target is None:
            continue
        tail = pick_port(source, OUTPUT, edge.get("source_port"), direction)
        head = pick_port(target, INPUT, edge.get("target_port"), direction)
        route = (tail.at, head.at) if routes is None else \
            routes.get(str(edge.get("id") or f"e{position}"))
        links.setdefault(id(tail), []).append(Link(source, tail, target, head, route))
    for turn, group in enumerate(links.values()):
        paint(group, turn)
    wires = [[make_wire(link, direction) for link in group] for group in links.values()]
    return Arrangement(list(boxes.values()), wires, direction, caption)


def paint(group: Sequence[Link], turn: int) -> None:
    """Colour the ports of the edges that share an output port.

    Where wires come together, at the ports of a node, no colour is used twice if that can be avoided.
    """
    colours = [WIRES[(turn + i) % len(WIRES)] for i in range(len(WIRES))]
    near = {port.colour for link in group for box in (link.source, link.target)
            for ports in box.ports.values() for port in ports}
    colour = next((colour for colour in colours if colour not in near), colours[0])
    for link in group:
        link.tail.colour = link.head.colour = colour


def make_wire(link: Link, direction: str) -> Wire:
    """The edge's wire along its route, or back against the flow if it has none."""
    tail, head, route = link.tail, link.head, link.route
    title = f"{link.source.label} {tail.name} → {link.target.label} {head.name}"
    if route is not None:
        return Wire(rounded_path(route), route, tail.colour, title, False)
    rects = [(box.x, box.y, box.width, box.height) for box in (link.source, link.target)]
    path, points = returning_path(tail.at, head.at, rects, direction)
    return Wire(path, points, tail.colour, title, True)


def make_box(node: Mapping[str, Any], at: Point, direction: str) -> Box:
    """The node with its top-left corner at `at`, and its declared ports."""
    box = Box(*at, float(node.get("width") or 140), float(node.get("height") or 56),
              str(node.get("label") or node["id"]))
    for side in (INPUT, OUTPUT):
        box.ports[side] = make_ports(box, side, node.get(f"{side}_ports"), direction)
    return box


def make_ports(box: Box, side: str, declared: Any, direction: str) -> list[Port]:
    """Ports from a count, or from a sequence of offsets and of mappings that hold one."""
    sideways = direction in ("RIGHT", "LEFT")
    extent = box.height if sideways else box.width
    if isinstance(declared, int):
        declared = [extent * (i + 1) / (declared + 1) for i in range(declared)]
    ports = []
    for port in declared or ():
        port = port if isinstance(port, Mapping) else {"offset": port}
        offset = float(port.get("offset", extent / 2))
        name = re.split(r"\.(?:in|out)\.", str(port.get("id") or ""))
        far = (side == OUTPUT) == (direction in ("RIGHT", "DOWN"))
        at = (box.x + box.width * far, box.y + offset) if sideways else \
            (box.x + offset, box.y + box.height * far)
        ports.append(Port(at, name[-1] if len(name) > 1 else ""))
    return ports


def pick_port(box: Box, side: str, index: Any, direction: str) -> Port:
    """The port that an edge asks for, else the first; a node without ports gets one, centred."""
    ports = box.ports[side]
    if not ports:
        ports += make_ports(box, side, 1, direction)
    try:
        position = int(index)
    except (TypeError, ValueError):
        position = 0
    return ports[position if 0 <= position < len(ports) else 0]


# ---- from boxes and wires to elements


def clamp(value: float, low: float, high: float) -> float:
    """The value, kept between the bounds."""
    return max(low, min(high, value))


def draw_wires(groups: Iterable[Sequence[Wire]], scale: float) -> list[str]:
    """The wires with a dark rim each, so that one seems to pass over the other where they cross.

    Wires of one port share a trunk: all their rims come before their lines, for a rim would cut
    the trunk in two where a branch leaves it.
    """
    stroke = clamp(2 / scale, 2.6, 4.5)
    out = ['<g fill="none" stroke-linecap="round" stroke-linejoin="round">']
    for group in groups:
        out += [f'<path d="{wire.path}" stroke="{CANVAS}" stroke-width="{stroke * 1.7:.1f}"/>'
                for wire in group]
        for wire in group:
            dashes = f'{stroke * 2.6:.1f} {stroke * 2.4:.1f}' if wire.returning else "none"
            out.append(f'<path d="{wire.path}" stroke="{wire.colour}" stroke-width="{stroke:.1f}" '
                       f'stroke-dasharray="{dashes}"><title>{safe(wire.title)}</title></path>')
    return [*out, "</g>"]


def draw_box(box: Box, direction: str, scale: float, titled: bool) -> list[str]:
    """The card of a node: header strip, label, ports and, where there is room, their names.

    The label is in the header only if the picture is `titled` and there is room for it.
    """
    ports = box.ports[INPUT] + box.ports[OUTPUT]
    # Ports on the top side, or high up on the others, would stand in a header's label.
    first = min((port.at[1] - box.y for port in ports), default=box.height)
    titled = titled and scale >= READABLE and first >= HEADER + 4
    strip = min(HEADER if titled else STRIP, box.height / 2)
    colour = next((port.colour for port in box.ports[OUTPUT] if port.colour != IDLE), IDLE)
    out = ["<g>", card(box, strip, colour, titled)]
    if titled:
        label, size = fitted(box.label, box.width - 24, LABEL_SIZE, 13)
        out.append(text(label, box.x + 12, box.y + strip / 2, size, LABEL, weight=600))
        out += port_names(box, direction, scale)
    else:
        out += middle_label(box, strip, scale)
    radius = clamp(4 / scale, 5.5, 8)
    out += [f'<circle cx="{port.at[0]:.1f}" cy="{port.at[1]:.1f}" r="{radius:.1f}" '
            f'fill="{port.colour}" stroke="{CANVAS}" stroke-width="2.5"/>' for port in ports]
    return [*out, "</g>"]


def card(box: Box, strip: float, colour: str, titled: bool) -> str:
    """The node's body and its header strip, tinted in the colour of the node's first wire."""
    r = min(9.0, strip)
    top = (f"M{xy(box.x, box.y + strip)}v{r - strip:.1f}q0 {-r:.1f} {r:.1f} {-r:.1f}"
           f"h{box.width - 2 * r:.1f}q{r:.1f} 0 {r:.1f} {r:.1f}v{strip - r:.1f}z")
    rect = (f'x="{box.x:.1f}" y="{box.y:.1f}" width="{box.width:.1f}" height="{box.height:.1f}" '
            f'rx="{r:.1f}"')
    return (f'<title>{safe(box.label)}</title><rect {rect} fill="{CARD}"/>'
            f'<path d="{top}" fill="{colour}" fill-opacity="{0.3 if titled else 0.75}"/>'
            f'<rect {rect} fill="none" stroke="{OUTLINE}" stroke-width="1.5"/>')


def middle_label(box: Box, strip: float, scale: float) -> list[str]:
    """The label in the middle of the body, in several lines if need be."""
    room = box.height - strip
    lines, size = wrapped(box.label, box.width - 28, room - 8, clamp(12.5 / scale, 15, 46), 11)
    top = box.y + strip + room / 2 - size * 1.15 * (len(lines) - 1) / 2
    return [text(line, box.x + box.width / 2, top + i * size * 1.15, size, LABEL, "middle", 600)
            for i, line in enumerate(lines)]


def port_names(box: Box, direction: str, scale: float) -> list[str]:
    """The names beside the ports. A side gets what the other one leaves it, at least half."""
    room = box.width - 34
    wanted, least = (clamp(pixels / scale, *NAME_SIZES) for pixels in (NAME_PIXELS, LEAST_PIXELS))
    out = []
    for side, other in ((INPUT, OUTPUT), (OUTPUT, INPUT)):
        inward = 1 if (side == INPUT) == (direction == "RIGHT") else -1
        taken = max((text_width(port.name) for port in box.ports[other]), default=0) * least
        for port in box.ports[side]:
            name, size = fitted(port.name, max(room - taken, room / 2), wanted, least)
            if name == port.name:
                out.append(text(name, port.at[0] + 13 * inward, port.at[1], size, NAME,
                                "start" if inward > 0 else "end"))
    return out


# ---- the page


def page(arrangements: Sequence[Arrangement], width: float | None = None,
         columns: int | None = None) -> str:
    """A standalone SVG of the arrangements, one panel each, all in the same scale.

    `width` is that of the page in pixels, at which labels are to be readable; without it a canvas
    unit is a pixel. Without `columns`, drawings stand side by side if all are taller than wide,
    else one above the other.
    """
    sizes = [arrangement.bounds()[2:] for arrangement in arrangements]
    widest, highest = max(w for w, _ in sizes), max(h for _, h in sizes)
    if columns is None:
        columns = 1 if any(w > h for w, h in sizes) else len(arrangements)
    if width is None:
        scale = 1.0
        panel_width = widest + 2 * MARGIN
    else:
        panel_width = (width - GAP * (columns - 1)) / columns
        scale = min(1.0, (panel_width - 2 * MARGIN) / max(widest, 1.0))
    panels, x, y, bottom = [], 0.0, 0.0, 0.0
    for arrangement, (_, height) in zip(arrangements, sizes):
        band = CAPTION if arrangement.caption else 0.0
        panel_height = (highest if columns > 1 else height) * scale + 2 * MARGIN + band
        panels += draw_panel(arrangement, (x, y, panel_width, panel_height), scale)
        bottom = y + panel_height
        x, y = (x + panel_width + GAP, y) if columns > 1 else (x, bottom + GAP)
    right = panel_width * columns + GAP * (columns - 1)
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {right:.0f} {bottom:.0f}" '
        f'width="{right:.0f}" height="{bottom:.0f}" '
        'font-family="Inter, \'Segoe UI\', Roboto, \'Helvetica Neue\', Arial, sans-serif">',
        f"<style>{light_style()}</style>",
        '<defs><pattern id="dots" width="24" height="24" patternUnits="userSpaceOnUse">'
        f'<circle cx="12" cy="12" r="1.2" fill="{DOT}"/></pattern></defs>',
        *panels, "</svg>\n"])


def light_style() -> str:
    """Rules that turn the colours of the page where the reader prefers light ones."""
    rules = "".join(f'[fill="{dark}"]{{fill:{light}}}[stroke="{dark}"]{{stroke:{light}}}'
                    for dark, light in LIGHT.items())
    return f"@media (prefers-color-scheme:light){{{rules}}}"


def draw_panel(arrangement: Arrangement, rect: tuple[float, float, float, float],
               scale: float) -> list[str]:
    """One arrangement on its piece of canvas, in the middle, its caption above it."""
    x, y, width, height = rect
    left, top, drawn_width, drawn_height = arrangement.bounds()
    band = CAPTION if arrangement.caption else 0.0
    shift = (x + (width - drawn_width * scale) / 2 - left * scale,
             y + band + (height - band - drawn_height * scale) / 2 - top * scale)
    frame = f'x="{x + 0.5:.1f}" y="{y + 0.5:.1f}" width="{width - 1:.1f}" height="{height - 1:.1f}"'
    out = [f'<rect {frame} rx="12" fill="{CANVAS}" stroke="{EDGE}"/>',
           f'<rect {frame} rx="12" fill="url(#dots)"/>']
    if arrangement.caption:
        caption, size = fitted(arrangement.caption, width - 40, 15, 9)
        out.append(text(caption, x + 20, y + 26, size, NAME, weight=500))
    out.append(f'<g transform="translate({xy(*shift)}) scale({scale:.5f})">')
    out += draw_wires(arrangement.wires, scale)
    # Where no port has a name, all labels are in the middle, for some nodes have no room above.
    titled = arrangement.direction in ("RIGHT", "LEFT") and any(
        port.name for box in arrangement.boxes for ports in box.ports.values() for port in ports)
    for box in arrangement.boxes:
        out += draw_box(box, arrangement.direction, scale, titled)
    return [*out, "</g>"]
