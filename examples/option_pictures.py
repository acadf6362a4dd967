"""Draw the pictures of README.md and docs/: a small graph for every option, and one real graph.

    python3 examples/option_pictures.py            # write docs/pictures/*.svg
    python3 examples/option_pictures.py --check    # only compare with what is there

The pictures show what the engine does as it is: `--check` ends with status 1 if one of them, drawn
again, would differ. Marks measure an option, in canvas units.
"""

from __future__ import annotations

import argparse
import sys
from collections.abc import Callable, Mapping
from dataclasses import dataclass, replace
from pathlib import Path
from typing import Any

from demo import README_WIDTH, lay_out
from svg import Arrangement, Box, Wire, arrange, page

from quillan.core.vorn_layered import (
    LayoutOptions, build_graph, count_crossings, layout, run_phases,
)

Point = tuple[float, float]
Panels = list[Arrangement]

ROOT = Path(__file__).resolve().parents[1]
PICTURES = ROOT / "docs" / "pictures"
REAL_GRAPH = ROOT / "examples" / "graphs" / "text_to_image.json"

WIDTH = 900  # pixels of a page
SIZE = (56.0, 38.0)  # of a node
MARK, AXIS = "#f1f4f9", "#737e90"  # colours of marks and of the axes of a canvas
TICK = 7.0  # half the length of the strokes that end a mark
DUMMY = (38.0, 16.0)  # of the box drawn for a dummy, which has no size itself
TIGHT = 40.0  # between layers, where a drawing would be too wide for its panel

# ---- graphs and drawings


@dataclass(frozen=True)
class Graph:
    """A payload."""

    nodes: list[dict[str, Any]]
    edges: list[dict[str, Any]]


def graph(chains: str, at: Mapping[str, Point] | None = None,
          **more: Mapping[str, Any]) -> Graph:
    """A graph from chains such as "A>B>C A>C"; nodes are listed in the order of their first names.

    `at` holds top-left corners; a keyword named like a node holds more of its keys.
    """
    paths = [chain.split(">") for chain in chains.split()]
    nodes = []
    for name in dict.fromkeys(name for path in paths for name in path):
        node: dict[str, Any] = {"id": name, "width": SIZE[0], "height": SIZE[1]}
        if at is not None:
            node["x"], node["y"] = at[name]
        nodes.append({**node, **more.get(name, {})})
    edges = [{"id": f"{a}>{b}", "source": a, "target": b}
             for path in paths for a, b in zip(path, path[1:])]
    return Graph(nodes, edges)


def drawn(what: Graph, caption: str, component_gap: float = 80.0, **fields: Any) -> Arrangement:
    """The graph as the engine draws it with these options."""
    options = LayoutOptions(**fields)
    positions, routes = layout(what.nodes, what.edges, options, component_gap=component_gap)
    return arrange(what.nodes, what.edges, positions, routes,
                   direction=options.direction, caption=caption)


def given(what: Graph) -> Arrangement:
    """The graph at its own positions, wires straight."""
    positions = {node["id"]: (node["x"], node["y"]) for node in what.nodes}
    return arrange(what.nodes, what.edges, positions, caption="your arrangement")


def moved(what: Graph, **fields: Any) -> Graph:
    """The graph at the positions that the engine gives it."""
    positions, _ = layout(what.nodes, what.edges, LayoutOptions(**fields))
    nodes = [dict(node, x=positions[node["id"]][0], y=positions[node["id"]][1])
             for node in what.nodes]
    return Graph(nodes, what.edges)


def each(what: Graph, field: str, *values: str, **fields: Any) -> Panels:
    """A panel for each value of a strategy."""
    return [drawn(what, f'"{value}"', **{**fields, field: value}) for value in values]


# ---- marks


def mark(start: Point, end: Point) -> Wire:
    """A stroke along an axis, with a tick at each end."""
    dx, dy = (0.0, TICK) if start[1] == end[1] else (TICK, 0.0)
    strokes = [(start, end)] + [((x - dx, y - dy), (x + dx, y + dy)) for x, y in (start, end)]
    return line(MARK, *strokes)


def line(colour: str, *strokes: tuple[Point, Point]) -> Wire:
    """Straight strokes in one colour."""
    path = "".join(f"M{a:.1f} {b:.1f}L{c:.1f} {d:.1f}" for (a, b), (c, d) in strokes)
    return Wire(path, [point for stroke in strokes for point in stroke], colour, "", False)


def with_wires(drawing: Arrangement, *wires: Wire) -> Arrangement:
    """The drawing with more strokes on it."""
    return replace(drawing, wires=[*drawing.wires, list(wires)])


def box_of(drawing: Arrangement, label: str) -> Box:
    """The box with this label."""
    return next(box for box in drawing.boxes if box.label == label)


def passing(drawing: Arrangement, source: str, target: str) -> Point:
    """Where a long edge passes its first layer; it must bend on its way there."""
    wanted = f"{source}  → {target} "
    points = next(wire.points for group in drawing.wires for wire in group if wire.title == wanted)
    return points[3]


# ---- one function a picture


def direction() -> Panels:
    """Where the flow runs."""
    diamond = graph("S>A>T S>B>T")
    return [drawn(diamond, name, direction=name, spacing_node_node_between_layers=TIGHT)
            for name in ("RIGHT", "LEFT", "DOWN", "UP")]


def interactive() -> Panels:
    """The user's arrangement, ignored and kept."""
    users = graph("S>C>T S>B>T S>A>T D>T",
                  {"S": (0, 100), "C": (130, 10), "B": (130, 100), "A": (130, 190),
                   "D": (0, 310), "T": (280, 100)})
    return [given(users), drawn(users, "interactive=False"),
            drawn(users, "interactive=True", interactive=True)]


def interactive_crossing() -> Panels:
    """An order of the user's with crossings, what the sweeps make of it, and the order kept."""
    crossed = graph("A>C A>D A>E B>D",
                    {"A": (0, 40), "B": (0, 130), "C": (150, 100), "D": (150, 0),
                     "E": (150, 190)})
    return [given(crossed), drawn(crossed, "interactive=True", interactive=True),
            drawn(crossed, 'and "KEEP"', interactive=True, crossing_strategy="KEEP")]


def interactive_places() -> Panels:
    """A node inserted into a wire, and what moves."""
    users = graph("S>A>T S>B>T S>N N>T",
                  {"S": (0, 60), "A": (116, 0), "B": (116, 160), "T": (232, 60), "N": (70, 82)})
    kept = {"crossing_strategy": "KEEP", "placement_strategy": "INTERACTIVE"}
    return [given(users), drawn(users, "interactive=True", interactive=True),
            drawn(users, 'and "KEEP", "INTERACTIVE"', interactive=True, **kept)]


def interactive_again() -> Panels:
    """A call whose result the next call still changes."""
    users = graph("A>B A>C A>D", {"A": (0, 140), "B": (280, 140), "C": (120, 140), "D": (120, 0)})
    return [given(users), drawn(users, "first call", interactive=True),
            drawn(moved(users, interactive=True), "second call", interactive=True)]


def cycle_breaking_strategy() -> Panels:
    """A loop broken at different edges."""
    loop = graph("C>D A>B>C B>D>B",
                 {"A": (0, 0), "D": (0, 80), "B": (120, 40), "C": (240, 40)})
    return each(loop, "cycle_breaking_strategy", "GREEDY", "DEPTH_FIRST", "INTERACTIVE",
                spacing_node_node_between_layers=TIGHT)


def layering_strategy() -> Panels:
    """A node whose layer is free."""
    free = graph("A>B>C>D X>D",
                 {"A": (0, 0), "B": (120, 0), "C": (240, 0), "D": (360, 0), "X": (120, 80)})
    return each(free, "layering_strategy", "NETWORK_SIMPLEX", "LONGEST_PATH", "INTERACTIVE",
                spacing_node_node_between_layers=TIGHT)


def minimum_length() -> Panels:
    """Sources as early as possible, and where their edges are shortest."""
    fed = graph("A>B>C>D>E P>C Q>D R>D S>E")
    return each(fed, "layering_strategy", "LONGEST_PATH", "MINIMUM_LENGTH",
                spacing_node_node_between_layers=TIGHT)


def crossing_strategy() -> Panels:
    """The same layers in three orders."""
    comb = graph("A B C D E F B>D B>F A>F A>E C>E",
                 {"C": (0, 0), "A": (0, 80), "B": (0, 160),
                  "E": (120, 0), "F": (120, 80), "D": (120, 160)})
    return each(comb, "crossing_strategy", "LAYER_SWEEP", "INTERACTIVE", "NONE")


def sifting() -> Panels:
    """What the sweeps leave of a tangle, and what sifting makes of it."""
    tangle = graph("A>J B>C B>I D>C D>H D>I E>C E>L F>H G>C G>D G>F G>H G>L K>J K>L")
    return each(tangle, "crossing_strategy", "LAYER_SWEEP", "SIFTING",
                layering_strategy="MINIMUM_LENGTH")


def placement_strategy() -> Panels:
    """Straight chains, and means of neighbours."""
    net = graph("A>B A>D B>C C>F D>E E>G F>H G>H A>H")
    return each(net, "placement_strategy", "BRANDES_KOEPF", "SIMPLE",
                spacing_node_node_between_layers=TIGHT)


def network_simplex() -> Panels:
    """Nodes lined up by their middles, and by their ports."""
    tall = {"height": 110.0}
    net = graph("A>B>C A>D>E A>E", A={**tall, "output_ports": 3}, E={**tall, "input_ports": 2})
    edges = [{**edge, "source_port": port, "target_port": int(edge["id"] == "A>E")}
             for edge, port in zip(net.edges, (0, 0, 1, 0, 2), strict=True)]
    return each(Graph(net.nodes, edges), "placement_strategy", "BRANDES_KOEPF", "NETWORK_SIMPLEX")


def edge_routing() -> Panels:
    """Segments along the axes, and straight ones."""
    net = graph("A>B>C A>D>C A>C")
    return each(net, "edge_routing", "ORTHOGONAL", "POLYLINE")


def orthogonal_ordered() -> Panels:
    """Tracks in any order, and ordered trunks."""
    fan = graph("A>D A>E A>F B>D B>E C>F C>E B>G C>G A>G")
    return each(fan, "edge_routing", "ORTHOGONAL", "ORTHOGONAL_ORDERED")


def thoroughness() -> Panels:
    """One round of sweeps, and the default."""
    net = graph("A>D A>F A>H B>E B>F B>G B>H C>D C>E C>F E>H")

    def crossings(sweeps: int) -> int:
        built = build_graph(net.nodes, net.edges, LayoutOptions(thoroughness=sweeps))
        run_phases(built)
        return count_crossings(built)

    return [drawn(net, f"thoroughness={sweeps}: {crossings(sweeps)} crossings",
                  thoroughness=sweeps) for sweeps in (1, 7)]


def spacing_node_node() -> Panels:
    """The gap between two nodes of a layer."""
    return measured("spacing_node_node", (30.0, 70.0), graph("A>B A>C"), across("B", "C"))


def spacing_node_node_between_layers() -> Panels:
    """The gap between two layers."""
    def along(drawing: Arrangement) -> list[Wire]:
        a, b = box_of(drawing, "A"), box_of(drawing, "B")
        y = a.y + a.height + 12
        return [mark((a.x + a.width, y), (b.x, y))]

    return measured("spacing_node_node_between_layers", (60.0, 120.0), graph("A>B>C"), along)


def spacing_edge_edge() -> Panels:
    """The gap between two long edges that pass the same layer."""
    def lanes(drawing: Arrangement) -> list[Wire]:
        x, y = passing(drawing, "A", "C")
        return [mark((x, y), (x, passing(drawing, "A", "D")[1]))]

    return measured("spacing_edge_edge", (10.0, 40.0), graph("A>B>C>D A>C A>D"), lanes)


def spacing_edge_node() -> Panels:
    """The gap between a long edge and a node that it passes."""
    def beside(drawing: Arrangement) -> list[Wire]:
        box, lane = box_of(drawing, "B"), passing(drawing, "A", "C")
        return [mark((lane[0], box.y + box.height), lane)]

    return measured("spacing_edge_node", (12.0, 45.0), graph("A>B>C A>C"), beside)


def padding_left() -> Panels:
    """Where the drawing begins along the flow."""
    def along(drawing: Arrangement) -> list[Wire]:
        box = box_of(drawing, "A")
        y = box.y + box.height / 2
        return [axes(), mark((0.0, y), (box.x, y))]

    return measured("padding_left", (24.0, 80.0), graph("A>B"), along)


def padding_top() -> Panels:
    """Where the drawing begins across the flow."""
    def down(drawing: Arrangement) -> list[Wire]:
        box = box_of(drawing, "A")
        x = box.x + box.width / 2
        return [axes(), mark((x, 0.0), (x, box.y))]

    return measured("padding_top", (24.0, 80.0), graph("A>B"), down)


def component_gap() -> Panels:
    """The gap between parts that are not connected."""
    return measured("component_gap", (80.0, 25.0), graph("A>B C>D"), across("A", "C"))


def measured(option: str, values: tuple[float, float], what: Graph,
             marks: Callable[[Arrangement], list[Wire]]) -> Panels:
    """A panel for each value of a length, with marks on the drawing."""
    panels = [drawn(what, f"{option}={value:g}", **{option: value}) for value in values]
    return [with_wires(panel, *marks(panel)) for panel in panels]


def across(first: str, second: str) -> Callable[[Arrangement], list[Wire]]:
    """What marks the gap between a box and one below it."""
    def marks(drawing: Arrangement) -> list[Wire]:
        a, b = box_of(drawing, first), box_of(drawing, second)
        x = a.x + a.width / 2
        return [mark((x, a.y + a.height), (x, b.y))]

    return marks


def axes() -> Wire:
    """The axes of the canvas from its origin."""
    return line(AXIS, ((0.0, 0.0), (220.0, 0.0)), ((0.0, 0.0), (0.0, 130.0)))


def ports() -> Panels:
    """Ways to declare ports."""
    big = {"width": 90.0, "height": 90.0}

    def wired(declared: Any) -> Graph:
        made = graph("A B C D A>B A>C A>D", A={**big, "output_ports": declared})
        edges = [{**edge, "source_port": index} for index, edge in enumerate(made.edges)]
        return Graph(made.nodes, edges)

    return [drawn(wired(None), "no ports declared"), drawn(wired(3), "3"),
            drawn(wired([15, 30, 80]), "[15, 30, 80]"),
            drawn(wired([15, 30, 80]), "[15, 30, 80], DOWN", direction="DOWN")]


def dummies() -> Panels:
    """The intermediate graph after all phases, with what stands for the long edges."""
    what = graph("A>B>C>D A>C A>D E>C")
    built = build_graph(what.nodes, what.edges)
    run_phases(built)
    nodes, at = [], {}
    for node in built.nodes:
        width, height = DUMMY if node.is_dummy else (node.width, node.height)
        nodes.append({"id": node.id, "label": " " if node.is_dummy else node.id,
                      "width": width, "height": height})
        at[node.id] = (node.x - (width - node.width) / 2, node.y - (height - node.height) / 2)
    segments = [{"id": edge.id, "source": edge.source_node.id, "target": edge.target_node.id}
                for edge in built.edges]
    routes = {edge.id: [(edge.source.x, edge.source.y), *edge.bend_points,
                        (edge.target.x, edge.target.y)] for edge in built.edges}
    return [drawn(what, "the drawing"),
            arrange(nodes, segments, at, routes, caption="layers, dummies and segments")]


SMALL: tuple[Callable[[], Panels], ...] = (
    direction, interactive, interactive_crossing, interactive_places, interactive_again,
    cycle_breaking_strategy,
    layering_strategy, minimum_length, crossing_strategy, sifting, placement_strategy,
    network_simplex, edge_routing, orthogonal_ordered, thoroughness,
    spacing_node_node, spacing_node_node_between_layers, spacing_edge_edge, spacing_edge_node,
    padding_left, padding_top, component_gap, ports, dummies,
)

# ---- files


def pictures() -> dict[str, str]:
    """The text of every picture by the name of its file."""
    made = {}
    for make in SMALL:
        panels = make()
        made[f"{make.__name__}.svg"] = page(panels, WIDTH, columns=len(panels))
    best = LayoutOptions(layering_strategy="MINIMUM_LENGTH", crossing_strategy="SIFTING",
                         placement_strategy="NETWORK_SIMPLEX", edge_routing="ORTHOGONAL_ORDERED")
    panels = lay_out(REAL_GRAPH, best, "RIGHT").panels
    made[f"{REAL_GRAPH.stem}-before-after.svg"] = page(panels, README_WIDTH)
    return made


def differences(made: Mapping[str, str]) -> list[str]:
    """The names of files that are not as they should be: changed, missing, or of no picture."""
    there = {path.name: path.read_text(encoding="utf-8") for path in PICTURES.glob("*.svg")}
    return sorted(name for name in made.keys() | there.keys() if made.get(name) != there.get(name))


def main() -> int:
    """Write the pictures, or compare them."""
    parser = argparse.ArgumentParser(description="Draw the pictures of the documentation.")
    parser.add_argument("--check", action="store_true", help="write nothing; 1 if one differs")
    check = parser.parse_args().check
    made = pictures()
    if check:
        for name in differences(made):
            print(f"{PICTURES.relative_to(ROOT) / name} is not what {Path(__file__).name} draws")
        return int(bool(differences(made)))
    PICTURES.mkdir(parents=True, exist_ok=True)
    for name in differences(made):
        if name in made:
            (PICTURES / name).write_text(made[name], encoding="utf-8")
        else:
            (PICTURES / name).unlink()
        print(PICTURES.relative_to(ROOT) / name)
    return 0


if __name__ == "__main__":
    sys.exit(main())
