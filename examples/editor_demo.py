"""A small node editor on NodeGraphQt, to try the layout engine on real graphs.

    python3 examples/editor_demo.py                             # open a window
    python3 examples/editor_demo.py video_pipeline --tidy       # tidied from the start
    QT_QPA_PLATFORM=offscreen python3 examples/editor_demo.py --tidy --screenshot after.png

The toolbar chooses a graph and a direction, tidies the selected nodes or, with none selected, the
whole graph, and undoes.
"""

from __future__ import annotations

import argparse
import json
import sys
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import Any

from NodeGraphQt import BaseNode, NodeGraph
from NodeGraphQt.constants import LayoutDirectionEnum
from NodeGraphQt.qgraphics.node_base import NodeItem
from Qt import QtCore, QtWidgets

from nodegraphqt_layout import scene_box, tidy
from nodegraphqt_routes import routed_graph, show_routes
from quillan.core.vorn_layered import LayoutOptions

GRAPHS = Path(__file__).resolve().parent / "graphs"
DIRECTIONS = {
    "right": LayoutDirectionEnum.HORIZONTAL.value,
    "down": LayoutDirectionEnum.VERTICAL.value,
}
FRAME_MARGIN = 40.0  # scene units around the drawing when the view is fitted to it


class DemoItem(NodeItem):
    """A node's item that still shows its texts when NodeGraphQt would find them too small."""

    def __init__(self, name: str = "node", parent: Any = None) -> None:
        super().__init__(name, parent)
        self._proxy_mode_threshold = 40  # pixels of width on the screen


class DemoNode(BaseNode):
    """A node without predefined ports; the loaded graph says which it has."""

    __identifier__ = "demo"
    NODE_NAME = "node"

    def __init__(self) -> None:
        super().__init__(DemoItem)


def graph_names() -> list[str]:
    """The graphs that can be opened."""
    return sorted(path.stem for path in GRAPHS.glob("*.json"))


def load_graph(graph: NodeGraph, data: Mapping[str, Any]) -> None:
    """Replace what `graph` shows by the nodes and edges of `data`.

    `data` is the content of a graph file, in the format that `layout` takes, with a `label` for every
    node. Sizes are left to NodeGraphQt, which derives them from titles and ports.
    """
    graph.clear_session()
    # With this switch on, every connection starts a search for cycles that does not remember where
    # it has been: it never ends if there is a cycle that does not contain the node it started from.
    graph.set_acyclic(False)
    nodes: dict[str, BaseNode] = {}
    for item in data["nodes"]:
        node = graph.create_node(
            "demo.DemoNode", name=item.get("label") or f"node {item['id']}", selected=False,
            pos=(item.get("x", 0.0), item.get("y", 0.0)), push_undo=False)
        node.set_port_deletion_allowed(True)  # Without this, a session forgets such ports.
        for name in _port_names(item.get("input_ports")):
            node.add_input(name, multi_input=True)
        for name in _port_names(item.get("output_ports")):
            node.add_output(name)
        nodes[str(item["id"])] = node
    for edge in data["edges"]:
        output = nodes[str(edge["source"])].output_ports()[edge.get("source_port", 0)]
        target = nodes[str(edge["target"])].input_ports()[edge.get("target_port", 0)]
        output.connect_to(target, push_undo=False)
    graph.clear_undo_stack()


def set_direction(graph: NodeGraph, name: str) -> None:
    """Draw the nodes with their ports at the sides ("right") or above and below ("down")."""
    for node in graph.all_nodes():
        # NodeGraphQt resizes its items without telling the scene, which then looks for them, and
        # repaints, where they were.
        node.view.prepareGeometryChange()
    graph.set_layout_direction(DIRECTIONS[name])


def _port_names(ports: Sequence[Any] | None) -> list[str]:
    """Names for a node's ports, all different, from ids such as "3.in.model"."""
    names: list[str] = []
    for index, port in enumerate(ports or ()):
        id_ = str(port.get("id", "")) if isinstance(port, Mapping) else ""
        base = name = id_.split(".", 2)[-1] or str(index)
        while name in names:
            name = f"{base} ({index})"
        names.append(name)
    return names


class Editor(QtWidgets.QMainWindow):
    """The window: a toolbar above a NodeGraphQt canvas."""

    def __init__(self, name: str, direction: str = "right") -> None:
        super().__init__()
        self.graph = routed_graph()
        self.graph.register_node(DemoNode)
        self.setCentralWidget(self.graph.widget)
        self.resize(1400, 800)

        bar = self.addToolBar("layout")
        bar.setMovable(False)
        self._names = self._choice(bar, "Graph", graph_names(), name, self.open)
        self._directions = self._choice(
            bar, "Direction", list(DIRECTIONS), direction, self.set_direction)
        bar.addSeparator()
        bar.addAction("Tidy", self.tidy)
        bar.addAction("Tidy and keep my arrangement", self.tidy_interactive)
        bar.addAction("Undo", self.graph.undo_stack().undo)

        self.set_direction(direction)
        self.open(name)

    def open(self, name: str) -> None:
        """Show one of `graph_names()`, with the positions its file has."""
        load_graph(self.graph, json.loads((GRAPHS / f"{name}.json").read_text("utf-8")))
        self.setWindowTitle(name)
        self.frame()

    def set_direction(self, name: str) -> None:
        """Turn the canvas; the nodes stay where they are until the next tidy."""
        set_direction(self.graph, name)

    def tidy(self) -> None:
        """Lay out the selected nodes, or all, from scratch."""
        self._tidy(None)

    def tidy_interactive(self) -> None:
        """Lay out the selected nodes, or all, keeping their arrangement."""
        self._tidy(LayoutOptions(interactive=True))

    def frame(self) -> None:
        """Fit the view to the drawing."""
        bounds = QtCore.QRectF()
        for node in self.graph.all_nodes():
            bounds = bounds.united(scene_box(node))
        bounds.adjust(-FRAME_MARGIN, -FRAME_MARGIN, FRAME_MARGIN, FRAME_MARGIN)
        self.graph.viewer().set_scene_rect(list(bounds.getRect()))

    def _tidy(self, options: LayoutOptions | None) -> None:
        some = any(node.selected() for node in self.graph.all_nodes())
        show_routes(self.graph, tidy(self.graph, options, selected_only=some))
        if not some:
            self.frame()

    @staticmethod
    def _choice(bar: Any, label: str, texts: list[str], chosen: str, slot: Any) -> Any:
        bar.addWidget(QtWidgets.QLabel(f" {label} "))
        box = QtWidgets.QComboBox()
        box.addItems(texts)
        box.setCurrentText(chosen)
        box.currentTextChanged.connect(slot)
        bar.addWidget(box)
        return box


def main(arguments: Sequence[str] | None = None) -> int:
    """Run the editor, or take a picture of it; the process's exit code."""
    parser = argparse.ArgumentParser(description="Try the layout engine in a node editor.")
    parser.add_argument("graph", nargs="?", choices=graph_names(), default="two_stage_sampling")
    parser.add_argument("--direction", choices=list(DIRECTIONS), default="right")
    parser.add_argument("--tidy", action="store_true", help="tidy before the window opens")
    parser.add_argument("--screenshot", metavar="FILE", type=Path,
                        help="write a picture of the window and leave")
    chosen = parser.parse_args(arguments)

    app = QtWidgets.QApplication.instance() or QtWidgets.QApplication(sys.argv[:1])
    editor = Editor(chosen.graph, chosen.direction)
    if chosen.tidy:
        editor.tidy()
    editor.show()
    app.processEvents()
    editor.frame()  # Again, since only now does the window have its size.
    if chosen.screenshot is None:
        return app.exec()
    if not editor.grab().save(str(chosen.screenshot)):
        print(f"can't write {chosen.screenshot}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
