"""What a user of the NodeGraphQt adapter gets, and how long it takes; `./dev quality editor` runs it.

For every graph: the flaws in what the canvas draws after a tidy, and how many nodes move when the
arrangement is to be kept. Then where the time goes in large graphs, and what backdrops cost.
"""

from __future__ import annotations

import argparse
import json
import os
import sys
import time
from collections.abc import Callable, Iterator
from itertools import combinations
from pathlib import Path
from typing import Any

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "examples"))

from NodeGraphQt import NodeGraph  # noqa: E402
from NodeGraphQt.constants import PipeLayoutEnum  # noqa: E402
from Qt import QtCore, QtWidgets  # noqa: E402

import editor_demo  # noqa: E402
from counts import crossings, ends_off_port, run_close, runs_behind  # noqa: E402
from drawings import Box, Drawing, Wire  # noqa: E402
from nodegraphqt_layout import tidy  # noqa: E402
from nodegraphqt_reading import pipe_connection, read_canvas, scene_box  # noqa: E402
from nodegraphqt_routes import route_wires, routed_graph  # noqa: E402
from quillan.core.vorn_layered import LayoutOptions  # noqa: E402

FOLDERS = (ROOT / "examples" / "graphs", ROOT / "bench" / "graphs")
INTERACTIVE = LayoutOptions(interactive=True)
NEAR = 8.0       # a node that moved less across the flow has stayed
SAMPLES = 5      # wires and nodes tried in each graph for each case of keeping
DRAG = (170.0, 90.0)


def open_graph(data: dict[str, Any], direction: str = "right") -> NodeGraph:
    """A graph file in a routed graph whose pipes are drawn with sharp corners, exactly on routes."""
    graph = routed_graph()
    graph.register_node(editor_demo.DemoNode)
    editor_demo.load_graph(graph, data)
    editor_demo.set_direction(graph, direction)
    graph.set_pipe_style(PipeLayoutEnum.STRAIGHT.value)
    return graph


def drawn(graph: NodeGraph) -> Drawing:
    """What the canvas shows, read from its items."""
    boxes = {}
    for node in graph.all_nodes():
        box = scene_box(node)
        boxes[node.id] = Box(box.x(), box.y(), box.width(), box.height())
    wires = []
    for pipe in graph.viewer().all_pipes():
        name = pipe_connection(pipe)
        if name is None or not pipe.isVisible():
            continue
        path = pipe.path()
        points = [(path.elementAt(i).x, path.elementAt(i).y) for i in range(path.elementCount())]
        ends = []
        for port in (pipe.output_port, pipe.input_port):
            centre = port.mapToScene(port.boundingRect().center())
            ends.append((centre.x(), centre.y()))
        wires.append(Wire(str(name), name.source, name.target,
                          (f"{name.source}.{name.output}", f"{name.target}.{name.input}"),
                          (ends[0], ends[1]), points[::-1]))
    return Drawing(boxes, wires)


def faults(graph: NodeGraph) -> dict[str, int]:
    """The flaws in what the canvas shows."""
    drawing = drawn(graph)
    pairs = [(a, b) for a, b in combinations(drawing.wires, 2) if not a.shares_port(b)]
    return {
        "overlaps": sum(a.overlaps(b) for a, b in combinations(drawing.boxes.values(), 2)),
        "behind": sum(runs_behind(wire, drawing) for wire in drawing.wires),
        "off port": sum(ends_off_port(wire) for wire in drawing.wires),
        "crossings": sum(crossings(a, b) for a, b in pairs),
        "on another": sum(run_close(a, b) for a, b in pairs),
    }


def places(graph: NodeGraph) -> dict[str, tuple[float, float]]:
    """Where nodes stand, by name."""
    return {node.name(): tuple(node.view.xy_pos) for node in graph.all_nodes()}


def insert(graph: NodeGraph, index: int) -> str:
    """Put a node onto the middle of a wire, as if it was dropped there."""
    source, output, target, input_ = pipe_connection(_pipes(graph)[index])
    out = graph.get_node_by_id(source).outputs()[output]
    into = graph.get_node_by_id(target).inputs()[input_]
    node = graph.create_node("demo.DemoNode", name="new", selected=False)
    node.add_input("in")
    node.add_output("out")
    ends = [port.view.mapToScene(port.view.boundingRect().center()) for port in (out, into)]
    middle = (ends[0] + ends[1]) / 2
    node.set_pos(middle.x() - node.view.width / 2, middle.y() - node.view.height / 2)
    out.disconnect_from(into)
    out.connect_to(node.input(0))
    node.output(0).connect_to(into)
    return str(node.name())


def delete(graph: NodeGraph, index: int) -> str:
    """Delete a node."""
    node = graph.all_nodes()[index]
    graph.delete_node(node)
    return str(node.name())


def drag(graph: NodeGraph, index: int) -> str:
    """Drag a node a little way, possibly onto others."""
    node = graph.all_nodes()[index]
    node.set_pos(node.x_pos() + DRAG[0], node.y_pos() + DRAG[1])
    return str(node.name())


def _pipes(graph: NodeGraph) -> list[Any]:
    return [pipe for node in graph.all_nodes() for port in node.view.outputs
            for pipe in port.connected_pipes]


def kept(data: dict[str, Any], direction: str, change: Callable[[NodeGraph, int], str],
         count: int, samples: int = SAMPLES) -> Iterator[tuple[float, float, dict[str, int]]]:
    """After some changes to a tidied graph, with its arrangement kept: the share of the other nodes
    that stayed across the flow, how far any moved along it at most, and the flaws."""
    for sample in sorted({count * k // samples for k in range(samples)}):
        graph = open_graph(data, direction)
        tidy(graph)
        before = places(graph)
        changed = change(graph, sample)
        tidy(graph, INTERACTIVE)
        after = places(graph)
        flow = 1 if direction == "down" else 0
        others = [name for name in before.keys() & after.keys() if name != changed]
        if others:
            stayed = sum(abs(before[n][1 - flow] - after[n][1 - flow]) <= NEAR for n in others)
            along = max(abs(before[n][flow] - after[n][flow]) for n in others)
            yield stayed / len(others), along, faults(graph)


def report_graphs() -> None:
    """A line for each graph and direction, and sums."""
    print(f"{'graph':32}{'nodes':>6}{'wires':>6} | as it is: behind | tidy: overlaps behind off "
          "cross on | routes only: behind cross on | unchanged moved | inserted deleted dragged: "
          "least share that stayed, most along; faults | tidy ms")
    sums: dict[str, int] = {}
    for direction in ("right", "down"):
        for path in sorted(path for folder in FOLDERS for path in folder.glob("*.json")):
            data = json.loads(path.read_text("utf-8"))
            graph = open_graph(data, direction)
            wild = faults(graph)
            route_wires(graph)
            routed = faults(graph)
            started = time.process_time()
            tidy(graph)
            spent = 1000 * (time.process_time() - started)
            neat = faults(graph)
            before = places(graph)
            tidy(graph, INTERACTIVE)
            moved = sum(before[name] != place for name, place in places(graph).items())
            cells = []
            for change, count in ((insert, len(data["edges"])), (delete, len(data["nodes"])),
                                  (drag, len(data["nodes"]))):
                cases = list(kept(data, direction, change, count))
                wrong = sum(case[2][key] for case in cases for key in ("overlaps", "behind", "off port"))
                cells.append(f"{min(c[0] for c in cases):5.0%} {max(c[1] for c in cases):4.0f} {wrong:2}")
                key = f"{change.__name__}: cases under 90 %"
                sums[key] = sums.get(key, 0) + sum(case[0] < 0.9 for case in cases)
                key = f"{change.__name__}: faults"
                sums[key] = sums.get(key, 0) + wrong
            print(f"{path.stem + ' ' + direction:32}{len(data['nodes']):6}{len(data['edges']):6} |"
                  f"{wild['behind']:4} | {' '.join(f'{value:4}' for value in neat.values())} | "
                  f"{routed['behind']:3} {routed['crossings']:4} {routed['on another']:3} | {moved:3} | "
                  f"{' | '.join(cells)} | {spent:5.1f}", flush=True)
            for label, found in (("as it is", wild), ("routes only", routed), ("tidy", neat)):
                for key, value in found.items():
                    sums[f"{label}: {key}"] = sums.get(f"{label}: {key}", 0) + value
            sums["unchanged: moved"] = sums.get("unchanged: moved", 0) + moved
    for key, value in sums.items():
        print(f"{key:32}{value:7}")


def large(count: int) -> NodeGraph:
    """The graphs beside one another until there are `count` nodes, a widget on every third."""
    data: dict[str, Any] = {"nodes": [], "edges": []}
    files = [json.loads(path.read_text("utf-8"))
             for path in sorted(path for folder in FOLDERS for path in folder.glob("*.json"))]
    turn = 0
    while len(data["nodes"]) < count:
        graph = files[turn % len(files)]
        dx, dy = 4000.0 * (turn % 6), 3000.0 * (turn // 6)
        data["nodes"] += [{**node, "id": f"{turn}.{node['id']}", "x": node["x"] + dx,
                           "y": node["y"] + dy} for node in graph["nodes"]]
        data["edges"] += [{**edge, "source": f"{turn}.{edge['source']}",
                           "target": f"{turn}.{edge['target']}"} for edge in graph["edges"]]
        turn += 1
    graph = open_graph(data)
    graph.set_pipe_style(PipeLayoutEnum.CURVED.value)
    for node in graph.all_nodes()[::3]:
        node.add_text_input("text", "text", "words")
    return graph


def report_times() -> None:
    """CPU time of a first tidy with routes, of undo and of redo, without painting."""
    print(f"\n{'nodes':>6}{'wires':>6}   {'read':>6}{'tidy':>7}{'undo':>7}{'redo':>7}"
          f"{'again':>7}{'keep':>7}{'routes':>8}{'nudge':>7}   ms")
    for count in (100, 400, 1000):
        graph = large(count)

        def timed(action: Callable[[], Any]) -> float:
            started = time.process_time()
            action()
            return 1000 * (time.process_time() - started)

        stack = graph.undo_stack()
        node = graph.all_nodes()[count // 2]
        times = [timed(lambda: read_canvas(graph)), timed(lambda: tidy(graph)),
                 timed(stack.undo), timed(stack.redo), timed(lambda: tidy(graph)),
                 timed(lambda: tidy(graph, INTERACTIVE)),
                 timed(lambda: route_wires(graph, afresh=True))]
        node.set_pos(node.x_pos() + 30.0, node.y_pos() + 20.0)
        times.append(timed(graph.viewer().mend))
        wires = len(graph.viewer().all_pipes())
        print(f"{len(graph.all_nodes()):6}{wires:6}   " + "".join(
            f"{value:{width}.0f}" for value, width in zip(times, (6, 7, 7, 7, 7, 7, 8, 7))))


def report_backdrops() -> None:
    """Crossings with and without backdrops around thirds of the nodes, taken along the flow."""
    print(f"\n{'backdrops around thirds':32}{'crossings without':>18}{'with':>6}{'behind':>8}")
    for path in sorted(path for folder in FOLDERS for path in folder.glob("*.json")):
        data = json.loads(path.read_text("utf-8"))
        if len(data["nodes"]) < 12:
            continue
        graph = open_graph(data)
        tidy(graph)
        plain = faults(graph)["crossings"]
        nodes = sorted(graph.all_nodes(), key=lambda node: node.x_pos())
        third = -(-len(nodes) // 3)
        for k in range(3):
            held = nodes[k * third:(k + 1) * third]
            box = QtCore.QRectF()
            for row, node in enumerate(held):
                node.set_pos(3000.0 * k + 220.0 * (row % 4), 300.0 * (row // 4))
                box = box.united(scene_box(node))
            backdrop = graph.create_node("Backdrop", name=f"third {k}", selected=False)
            backdrop.set_pos(box.x() - 20, box.y() - 40)
            backdrop.set_size(box.width() + 40, box.height() + 60)
        tidy(graph)
        drawing = drawn(graph)
        frames = {node.id for node in graph.all_nodes() if node.name().startswith("third ")}
        for id_ in frames:
            del drawing.boxes[id_]
        pairs = [(a, b) for a, b in combinations(drawing.wires, 2) if not a.shares_port(b)]
        print(f"{path.stem:32}{plain:18}{sum(crossings(a, b) for a, b in pairs):6}"
              f"{sum(runs_behind(wire, drawing) for wire in drawing.wires):8}")


def main() -> None:
    """Print what was asked for, by default everything."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("parts", nargs="*", choices=["graphs", "times", "backdrops", []],
                        default=["graphs", "times", "backdrops"])
    parts = parser.parse_args().parts
    QtWidgets.QApplication.instance() or QtWidgets.QApplication(sys.argv[:1])
    for part in parts:
        globals()[f"report_{part}"]()


if __name__ == "__main__":
    main()
