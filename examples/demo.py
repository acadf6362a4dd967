"""Lay out real node graphs and draw them next to their authors' own arrangements.

    python3 examples/demo.py [--out build/demo] [graph.json ...]

For each graph it prints a line and writes an SVG and a before-and-after picture; index.html shows all
of them. A graph file contains {"nodes": [...], "edges": [...]}, the mappings that go into `layout`, with
a `label` for each node.
"""

from __future__ import annotations

import argparse
import json
import sys
from collections.abc import Mapping, Sequence
from dataclasses import dataclass, replace
from html import escape
from itertools import pairwise
from pathlib import Path
from statistics import median
from time import perf_counter
from typing import Any

from svg import Arrangement, Box, arrange, page

from quillan.core.vorn_layered import LayoutOptions, layout

Point = tuple[float, float]
Mappings = list[dict[str, Any]]

CALLS = 9  # calls of layout for one graph; the median time is printed
README_WIDTH = 1000  # pixels that a README has room for, or a little more
INDEX_WIDTH = 1640

INDEX = """<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Layered layout of real graphs</title>
<style>
  body { margin: 0 auto; max-width: 1760px; padding: 32px 40px 64px; background: #0e1015;
         color: #d5dae3; font: 15px/1.5 Inter, "Segoe UI", Roboto, Arial, sans-serif; }
  h1 { font-size: 26px; font-weight: 650; margin: 0 0 4px; color: #f1f4f9; }
  h2 { font-size: 19px; font-weight: 600; margin: 44px 0 0; color: #f1f4f9; }
  p { margin: 2px 0 12px; color: #a9b3c3; }
  a { color: #6cb6ff; }
  svg { display: block; width: 100%; height: auto; }
</style>
<h1>Layered layout of real graphs</h1>
<p>Left: the arrangement of the graph's author, wires straight. Right: the engine's result with its
routes; dashed wires run against the flow. Both in one scale.</p>
"""


@dataclass(frozen=True)
class Result:
    """The result for one graph: its pictures, and the numbers on its line."""

    name: str
    nodes: int
    edges: int
    size: tuple[float, float]
    milliseconds: float
    before: Arrangement | None
    after: Arrangement

    @property
    def panels(self) -> list[Arrangement]:
        """The pictures, the author's first if there is one."""
        return [self.after] if self.before is None else [self.before, self.after]


def facing(nodes: Mappings, direction: str) -> Mappings:
    """The nodes as an editor shows them when the flow runs in `direction`.

    The graphs were measured with their ports on the left and right sides. When the flow runs down
    or up, ports are on the top and bottom sides, spread over the width of the node.
    """
    if direction in ("RIGHT", "LEFT"):
        return nodes
    return [{**node, **{key: spread(node.get(key) or [], node["width"])
                        for key in ("input_ports", "output_ports")}} for node in nodes]


def spread(ports: Sequence[Mapping[str, Any]], width: float) -> Mappings:
    """The ports, spread evenly over the width."""
    step = width / (len(ports) + 1)
    return [{**port, "offset": step * (i + 1)} for i, port in enumerate(ports)]


def author_arrangement(nodes: Mappings, edges: Mappings) -> Arrangement | None:
    """The graph as it is in its file, or None if a node has no position."""
    if any(node.get(key) is None for node in nodes for key in ("x", "y")):
        return None
    positions = {str(node["id"]): (float(node["x"]), float(node["y"])) for node in nodes}
    before = arrange(nodes, edges, positions)
    return replace(before, caption=f"Before: the author's arrangement, {wires_behind(before)}")


def wires_behind(arrangement: Arrangement) -> str:
    """How many wires run behind nodes, in words. Those against the flow do not count."""
    wires = [wire for group in arrangement.wires for wire in group if not wire.returning]
    hidden = sum(any(passes_behind(a, b, box) for a, b in pairwise(wire.points)
                     for box in arrangement.boxes) for wire in wires)
    return f"{hidden} of {len(wires)} wires run behind nodes" if hidden else "no wire behind a node"


def passes_behind(a: Point, b: Point, box: Box) -> bool:
    """Whether the straight line from a to b meets the inside of the box."""
    enters, leaves = 0.0, 1.0
    for start, end, low, size in ((a[0], b[0], box.x, box.width), (a[1], b[1], box.y, box.height)):
        # A wire touches its own nodes at their ports; a margin of half a unit keeps that from counting.
        bounds = (low + 0.5 - start, low + size - 0.5 - start)
        if end == start:
            if not bounds[0] < 0 < bounds[1]:
                return False
            continue
        first, last = sorted(bound / (end - start) for bound in bounds)
        enters, leaves = max(enters, first), min(leaves, last)
    return enters < leaves


def lay_out(path: Path, options: LayoutOptions, direction: str) -> Result:
    """Read a graph and lay it out several times, with the time of the call alone."""
    graph = json.loads(path.read_text(encoding="utf-8"))
    nodes, edges = facing(graph["nodes"], direction), graph["edges"]
    seconds = []
    for _ in range(CALLS):
        start = perf_counter()
        positions, routes = layout(nodes, edges, options)
        seconds.append(perf_counter() - start)
    milliseconds = median(seconds) * 1000
    after = arrange(nodes, edges, positions, routes, direction=direction)
    after = replace(after, caption=f"After: the engine's layout, {wires_behind(after)}")
    return Result(path.stem, len(nodes), len(edges), after.bounds()[2:], milliseconds,
                  author_arrangement(graph["nodes"], edges), after)


def summary(result: Result) -> str:
    """The counts of a graph and of its drawing, in words."""
    returning = sum(wire.returning for group in result.after.wires for wire in group)
    against = f", {returning} of them against the flow" if returning else ""
    return (f"{result.nodes} nodes, {result.edges} edges{against}; drawing "
            f"{result.size[0]:.0f} × {result.size[1]:.0f} units; {result.milliseconds:.2f} ms")


def write(result: Result, out: Path) -> str:
    """Write the pictures of a graph; return its section of the index."""
    full, both = f"{result.name}.svg", f"{result.name}-before-after.svg"
    (out / full).write_text(page([replace(result.after, caption="")]), encoding="utf-8")
    (out / both).write_text(page(result.panels, README_WIDTH), encoding="utf-8")
    links = f'<a href="{escape(full)}">full size</a>, <a href="{escape(both)}">before and after</a>'
    return (f"<h2>{escape(result.name.replace('_', ' ').capitalize())}</h2>\n"
            f"<p>{summary(result)} · {links}</p>\n"
            f"{page(result.panels, INDEX_WIDTH, columns=len(result.panels))}")


def arguments() -> argparse.Namespace:
    """The command line."""
    parser = argparse.ArgumentParser(description="Lay out graphs and draw them as SVG.")
    parser.add_argument("graphs", nargs="*", type=Path, metavar="graph.json",
                        help="graph files (default: all of examples/graphs)")
    parser.add_argument("--out", type=Path, default=Path("build/demo"), help="folder to write to")
    parser.add_argument("--direction", choices=("RIGHT", "LEFT", "DOWN", "UP"), default="RIGHT")
    parser.add_argument("--interactive", action="store_true",
                        help="keep the order of the author's arrangement")
    return parser.parse_args()


def main() -> int:
    """Draw every graph and write the index."""
    args = arguments()
    args.out.mkdir(parents=True, exist_ok=True)
    options = LayoutOptions(direction=args.direction, interactive=args.interactive)
    paths = args.graphs or sorted(Path(__file__).parent.glob("graphs/*.json"))
    sections = []
    print(f"{'graph':<22}{'nodes':>6}{'edges':>7}{'drawing':>16}{'ms':>9}")
    for path in paths:
        result = lay_out(path, options, args.direction)
        size = f"{result.size[0]:.0f} x {result.size[1]:.0f}"
        print(f"{result.name:<22}{result.nodes:>6}{result.edges:>7}{size:>16}"
              f"{result.milliseconds:>9.2f}")
        sections.append(write(result, args.out))
    index = args.out / "index.html"
    index.write_text(INDEX + "\n".join(sections), encoding="utf-8")
    print(f"pictures: {index}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
