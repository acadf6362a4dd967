"""Take the pictures of the editor that the guide shows, from the real window, before and after.

    ./dev demo editor            # runs this under Xvfb and writes build/editor/
    python3 examples/editor_pictures.py --out docs/pictures

Each picture is two grabs of the window's canvas, one below the other.
"""

from __future__ import annotations

import argparse
import sys
from collections.abc import Callable, Iterable
from pathlib import Path

from NodeGraphQt import NodeGraph
from Qt import QtCore, QtGui, QtWidgets

import editor_demo
from nodegraphqt_layout import tidy
from nodegraphqt_reading import scene_box
from quillan.core.vorn_layered import LayoutOptions

SIZE = QtCore.QSize(1000, 420)  # of one grab
GAP = 8                         # pixels between the two


def picture(name: str, prepare: Callable[[NodeGraph], None],
            act: Callable[[NodeGraph], object]) -> QtGui.QImage:
    """The canvas with one of the example graphs as `prepare` leaves it, above it after `act`."""
    editor = editor_demo.Editor(name)
    editor.show()
    prepare(editor.graph)
    grabs = [_grab(editor)]
    act(editor.graph)
    grabs.append(_grab(editor))
    both = QtGui.QImage(SIZE.width(), 2 * SIZE.height() + GAP, QtGui.QImage.Format_RGB32)
    both.fill(QtCore.Qt.white)
    painter = QtGui.QPainter(both)
    for row, grab in enumerate(grabs):
        painter.drawPixmap(0, row * (SIZE.height() + GAP), grab)
    painter.end()
    editor.close()
    return both


def _grab(editor: editor_demo.Editor) -> QtGui.QPixmap:
    viewer = editor.graph.viewer()
    for _ in range(3):  # Timers of the routes, and the window's own.
        QtWidgets.QApplication.processEvents()
    viewer.mend()
    viewer.setFixedSize(SIZE)
    editor.frame()
    QtWidgets.QApplication.processEvents()
    return viewer.grab()


def _backdrop(graph: NodeGraph, name: str, ids: Iterable[str], margin: float = 30.0) -> None:
    """A backdrop around the nodes of these names."""
    box = QtCore.QRectF()
    for id_ in ids:
        box = box.united(scene_box(graph.get_node_by_name(id_)))
    backdrop = graph.create_node("Backdrop", name=name, selected=False)
    backdrop.set_pos(box.x() - margin, box.y() - margin - 20.0)
    backdrop.set_size(box.width() + 2 * margin, box.height() + 2 * margin + 20.0)


def _with_backdrops(graph: NodeGraph) -> None:
    """Three blocks, one of them in another, put together as a user would before anything is neat."""
    stages = {"prompts": ["Prompt Main subject", "Prompt Negative", "CLIPTextEncode"],
              "base": ["Load Checkpoint Base", "EmptyLatentImage", "KSampler Base"]}
    for column, names in enumerate(stages.values()):
        for row, name in enumerate(names):
            graph.get_node_by_name(name).set_pos(1150.0 + 30.0 * row + 300.0 * column,
                                                 620.0 + 130.0 * row)
    for name, names in stages.items():
        _backdrop(graph, name, names)
    _backdrop(graph, "sampling", [*stages["prompts"], *stages["base"], *stages], 20.0)


def _with_selection(graph: NodeGraph) -> None:
    tidy(graph)
    for place, node in enumerate(graph.all_nodes()):
        if node.name().startswith(("CLIP", "KSampler")):
            node.set_pos(node.x_pos() + 160.0 * (place % 3 - 1), node.y_pos() + 150.0 * (place % 2))
            node.view.selected = True


def _with_new_node(graph: NodeGraph) -> None:
    tidy(graph)
    pipe = graph.get_node_by_name("VAEDecode").view.outputs[0].connected_pipes[0]
    out = graph.get_node_by_name("VAEDecode").output(0)
    into = graph.get_node_by_id(pipe.input_port.node.id).inputs()[pipe.input_port.name]
    node = graph.create_node("demo.DemoNode", name="new: Sharpen", selected=False)
    node.add_input("image")
    node.add_output("IMAGE")
    middle = pipe.path().pointAtPercent(0.5)
    node.set_pos(middle.x() - node.view.width / 2, middle.y() - node.view.height / 2)
    out.disconnect_from(into)
    out.connect_to(node.input(0))
    node.output(0).connect_to(into)


def main(arguments: list[str] | None = None) -> int:
    """Write all pictures; the process's exit code."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--out", type=Path, default=Path("build/editor"))
    out = parser.parse_args(arguments).out
    out.mkdir(parents=True, exist_ok=True)
    app = QtWidgets.QApplication.instance() or QtWidgets.QApplication(sys.argv[:1])
    keep = LayoutOptions(interactive=True)
    for file, name, prepare, act in (
            ("editor-tidy", "two_stage_sampling", lambda graph: None, tidy),
            ("editor-backdrops", "two_stage_sampling", _with_backdrops, tidy),
            ("editor-selection", "two_stage_sampling", _with_selection,
             lambda graph: tidy(graph, selected_only=True)),
            ("editor-keep", "text_to_image", _with_new_node, lambda graph: tidy(graph, keep))):
        if not picture(name, prepare, act).save(str(out / f"{file}.png")):
            print(f"can't write {out / file}.png", file=sys.stderr)
            return 1
    app.processEvents()
    return 0


if __name__ == "__main__":
    sys.exit(main())
