"""Drive the NodeGraphQt adapter, the routed pipes and the demo editor on an offscreen canvas."""

from __future__ import annotations

import contextlib
import io
import itertools
import json
import os
import random
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
EXAMPLES = Path(__file__).resolve().parents[2] / "examples"
sys.path.insert(0, str(EXAMPLES))

from NodeGraphQt import NodeGraph  # noqa: E402
from NodeGraphQt.qgraphics.pipe import PipeItem  # noqa: E402
from Qt import QtCore, QtGui, QtWidgets  # noqa: E402

import editor_demo  # noqa: E402
from nodegraphqt_layout import Connection, read_graph, scene_box, tidy  # noqa: E402
from nodegraphqt_routes import routed_graph, rounded_path, show_routes  # noqa: E402
from quillan.core.vorn_layered import Direction, LayoutOptions, layout  # noqa: E402

APP = QtWidgets.QApplication.instance() or QtWidgets.QApplication([])
INTERACTIVE = LayoutOptions(interactive=True)


def open_graph(data: dict, direction: str = "right") -> NodeGraph:
    graph = routed_graph()
    graph.register_node(editor_demo.DemoNode)
    editor_demo.load_graph(graph, data)
    editor_demo.set_direction(graph, direction)
    return graph


def example(name: str, direction: str = "right") -> NodeGraph:
    return open_graph(json.loads((EXAMPLES / "graphs" / f"{name}.json").read_text()), direction)


def make_graph(edges: str | list[tuple[int, int]], direction: str = "right") -> NodeGraph:
    """Nodes of two inputs and two outputs, named by the ends of `edges`, such as "ab bc"."""
    pairs = edges.split() if isinstance(edges, str) else edges
    names = dict.fromkeys(str(end) for pair in pairs for end in pair)
    return open_graph({
        "nodes": [{"id": name, "label": name, "x": 37.3 * (i * i % 11), "y": 61.7 * (i % 13),
                   "input_ports": [{}, {}], "output_ports": [{}, {}]}
                  for i, name in enumerate(names)],
        "edges": [{"source": pair[0], "target": pair[1], "source_port": i % 2,
                   "target_port": (i + 1) % 2} for i, pair in enumerate(pairs)],
    }, direction)


def places(graph: NodeGraph) -> dict[str, tuple[float, ...]]:
    """What the canvas shows of every node: place, and size of the item."""
    return {node.name(): (*node.view.xy_pos, *node.view.size) for node in graph.all_nodes()}


def bounds(nodes) -> QtCore.QRectF:
    rect = QtCore.QRectF()
    for node in nodes:
        rect = rect.united(scene_box(node))
    return rect


def pipe_between(graph: NodeGraph, source: str, target: str) -> PipeItem:
    return next(pipe for pipe in graph.viewer().all_pipes()
                if pipe.output_port.node.name == source and pipe.input_port.node.name == target)


def plain_path(graph: NodeGraph, pipe: PipeItem) -> QtGui.QPainterPath:
    """What NodeGraphQt's own painter makes of a pipe."""
    own = PipeItem(pipe.input_port, pipe.output_port)
    graph.scene().addItem(own)
    own.draw_path(pipe.input_port, pipe.output_port)
    graph.scene().removeItem(own)
    return own.path()


class EditorTest(unittest.TestCase):
    def assert_near(self, point, expected):
        """Compare a pair, or a Qt point, with another."""
        pairs = [p if isinstance(p, (tuple, list)) else (p.x(), p.y()) for p in (point, expected)]
        for one, other in zip(*pairs, strict=True):
            self.assertAlmostEqual(one, other, 6)


class TidyTest(EditorTest):
    def test_canvas_shows_what_the_engine_returned_moved_to_the_old_corner(self):
        for name, canvas, flow in (("video_pipeline", "right", Direction.RIGHT),
                                   ("upscale_study", "down", Direction.DOWN)):
            graph = example(name, canvas)
            nodes = graph.all_nodes()
            payload, edges, connections = read_graph(nodes, flow)
            positions, routes = layout(payload, edges, LayoutOptions(direction=flow))
            corner = bounds(nodes).topLeft()
            dx = corner.x() - min(x for x, _ in positions.values())
            dy = corner.y() - min(y for _, y in positions.values())

            tidied = tidy(graph)

            self.assert_near(bounds(nodes).topLeft(), corner)
            for node, item in zip(nodes, payload):
                x, y = positions[item["id"]]
                self.assert_near(node.view.xy_pos, (x + dx, y + dy))
                self.assertEqual(tuple(node.pos()), tidied.positions[node.id])
            self.assertEqual({connections[int(edge)] for edge in routes}, set(tidied.routes))
            for edge, points in routes.items():
                for (x, y), moved in zip(points, tidied.routes[connections[int(edge)]]):
                    self.assert_near(moved, (x + dx, y + dy))

    def test_routes_end_on_the_ports_that_are_drawn_in_both_directions(self):
        for other, direction in (("down", "right"), ("right", "down")):
            graph = example("text_to_image", other)
            editor_demo.set_direction(graph, direction)  # leaves old sizes in NodeGraphQt's model
            routes = tidy(graph).routes
            pipes = graph.viewer().all_pipes()
            self.assertEqual(len(pipes), len(routes))
            for pipe in pipes:
                out, into = pipe.output_port, pipe.input_port
                route = routes[Connection(out.node.id, out.name, into.node.id, into.name)]
                drawn = plain_path(graph, pipe)
                self.assert_near(route[-1], drawn.pointAtPercent(0))
                self.assert_near(route[0], drawn.pointAtPercent(1))

    def test_label_beside_a_vertical_node_is_part_of_it_at_every_zoom(self):
        for node in example("text_to_image", "down").all_nodes():
            near = scene_box(node)
            self.assertGreater(near.width(), node.view.width)
            node.view.set_proxy_mode(True)
            node.view.icon_item.moveBy(0.0, -node.view.height)  # a font may bring it there
            self.assertEqual(scene_box(node), near)

    def test_one_undo_restores_every_node_exactly(self):
        graph = example("inpainting")
        stray = graph.all_nodes()[3]
        stray.view.xy_pos = [0.1 + 0.2, 1e4 / 3]  # moved behind the model's back
        before = places(graph)
        tidy(graph)
        after = places(graph)
        self.assertNotEqual(before, after)
        stack = graph.undo_stack()
        self.assertEqual((stack.count(), stack.index()), (1, 1))
        stack.undo()
        self.assertEqual(places(graph), before)
        stack.redo()
        self.assertEqual(places(graph), after)

    def test_cycles_and_self_loops_are_laid_out_without_a_route(self):
        graph = make_graph("ab bc ca bb cd")
        name = {node.id: node.name() for node in graph.all_nodes()}
        routed = {name[c.source] + name[c.target] for c in tidy(graph).routes}
        self.assertEqual(len(routed & {"ab", "bc", "ca"}), 2)
        self.assertEqual(routed - {"ab", "bc", "ca"}, {"cd"})

    def test_a_thousand_nodes(self):
        edges = [((i - 1) // 2, i) for i in range(1, 1000)]
        graph = make_graph(edges + [(i, i + 500) for i in range(0, 500, 7)])
        before = places(graph)
        self.assertEqual(len(tidy(graph).positions), 1000)
        for pipe in graph.viewer().all_pipes():
            source, target = pipe.output_port.node, pipe.input_port.node
            self.assertGreater(target.xy_pos[0], source.xy_pos[0] + source.width)
        graph.undo_stack().undo()
        self.assertEqual(places(graph), before)

    def test_only_the_selection_moves_and_its_centre_stays(self):
        graph = example("sampler_comparison")
        chosen = graph.all_nodes()[::2]
        for node in chosen:
            node.view.selected = True
        hidden = chosen.pop()
        hidden.set_property("visible", False, push_undo=False)
        before, centre = places(graph), bounds(chosen).center()
        tidied = tidy(graph, selected_only=True)
        self.assertEqual(set(tidied.positions), {node.id for node in chosen})
        self.assert_near(bounds(chosen).center(), centre)
        moved = {name for name, place in places(graph).items() if place != before[name]}
        self.assertTrue(moved)
        self.assertLessEqual(moved, {node.name() for node in chosen})
        self.assertNotIn(hidden.id, tidy(graph).positions)
        self.assertEqual(places(graph)[hidden.name()], before[hidden.name()])

    def test_backdrops_keep_what_they_held(self):
        graph = make_graph("ab bc cd de")
        for index, name in enumerate("abcde"):
            graph.get_node_by_name(name).set_pos(20.0 * index, 400.0 * index)
        for name, (x, y, width, height) in {"inner": (-30.5, -50.25, 260.0, 580.0),
                                            "outer": (-60.0, -90.0, 300.0, 1050.0),
                                            "empty": (3e3, 3e3, 200.0, 200.0)}.items():
            backdrop = graph.create_node("Backdrop", name=name, selected=False)
            backdrop.set_pos(x, y)
            backdrop.set_size(width, height)
            backdrop.view.width += 1.5  # behind the model's back
        graph.clear_undo_stack()
        before = places(graph)
        tidy(graph)
        after = places(graph)
        frame = {name: QtCore.QRectF(*rect) for name, rect in after.items()}
        for backdrop, held in (("inner", "ab"), ("outer", ["a", "b", "c", "inner"])):
            for name in held:
                self.assertTrue(frame[backdrop].contains(frame[name]), f"{name} in {backdrop}")
        self.assertAlmostEqual(min(after["a"][0], after["b"][0]) - after["inner"][0], 30.5, 9)
        self.assertEqual(after["empty"], before["empty"])
        graph.undo_stack().undo()
        self.assertEqual(places(graph), before)

        for name in "de":  # held by no backdrop
            graph.get_node_by_name(name).view.selected = True
        tidy(graph, selected_only=True)
        self.assertEqual({name for name, rect in places(graph).items() if rect != before[name]},
                         {"d", "e"})

    def test_a_second_interactive_tidy_moves_nothing(self):
        chance = random.Random(7)
        for name, direction, shaken in itertools.product(
                editor_demo.graph_names(), ("right", "down"), (False, True, True, True)):
            graph = example(name, direction)
            for node in graph.all_nodes() if shaken else ():
                node.view.xy_pos = [chance.uniform(0, 3000), chance.uniform(0, 2000)]
            tidy(graph, INTERACTIVE)
            before = places(graph)
            tidy(graph, INTERACTIVE)
            self.assertEqual(places(graph), before, (name, direction))
            self.assertEqual(graph.undo_stack().count(), 1)

    def test_interactive_keeps_the_users_order(self):
        graph = make_graph("ab cd ac")  # b and c hang on the same port
        tidy(graph)
        y = {name: place[1] for name, place in places(graph).items()}
        top, bottom = sorted("bc", key=y.get)
        node = graph.get_node_by_name(top)
        node.set_pos(node.x_pos(), y[bottom] + 150.0)
        tidy(graph, INTERACTIVE)
        self.assertGreater(places(graph)[top][1], places(graph)[bottom][1])

    def test_direction_follows_the_canvas_unless_told_otherwise(self):
        def step(canvas, *args, **kwargs):
            graph = make_graph("ab", canvas)
            tidy(graph, *args, **kwargs)
            (ax, ay, *_), (bx, by, *_) = places(graph).values()
            return bx - ax, by - ay

        left = LayoutOptions(direction=Direction.LEFT)
        self.assertGreater(step("right")[0], 150)
        self.assertGreater(step("down")[1], 50)
        self.assertGreater(step("down", LayoutOptions())[1], 50)
        self.assertLess(step("down", left)[0], -150)
        self.assertLess(step("right", left, direction="UP")[1], -50)
        self.assertEqual(left, LayoutOptions(direction=Direction.LEFT))

    def test_failures_leave_graph_and_undo_stack_as_they_were(self):
        graph = example("text_to_image")
        graph.all_nodes()[0].set_pos(5.0, 5.0)
        stack, before = graph.undo_stack(), places(graph)
        for kwargs, error in (({"direction": "SIDEWAYS"}, ValueError),
                              ({"options": {"interactive": True}}, TypeError),
                              ({"component_gap": "wide"}, TypeError)):
            with self.subTest(kwargs), self.assertRaises(error):
                tidy(graph, **kwargs)

        move, asked = editor_demo.DemoNode.set_pos, []

        def refuse_the_third(node, x, y):
            asked.append(node)
            if len(asked) % 3 == 0:
                raise RuntimeError("no")
            move(node, x, y)

        with mock.patch.object(editor_demo.DemoNode, "set_pos", refuse_the_third):
            with self.assertRaisesRegex(RuntimeError, "no"):
                tidy(graph)
            self.assertEqual(places(graph), before)
            self.assertEqual((stack.count(), stack.index()), (1, 1))
            graph.begin_undo("the caller's own step")
            with self.assertRaises(RuntimeError):
                tidy(graph)
            graph.end_undo()
        stack.undo()
        self.assertEqual(places(graph), before)
        tidy(graph)
        self.assertEqual((stack.count(), stack.index()), (2, 2))
        stack.undo()
        self.assertEqual(places(graph), before)

    def test_nothing_to_do_is_no_undo_step(self):
        graph = make_graph("ab")
        self.assertEqual(tidy(graph, selected_only=True).positions, {})
        tidy(graph)
        tidy(graph)
        self.assertEqual(graph.undo_stack().count(), 1)
        self.assertEqual(tidy(NodeGraph()).positions, {})


class RouteTest(EditorTest):
    def test_pipes_follow_their_routes_until_a_node_is_moved(self):
        graph = make_graph("ab bc ac ca")
        show_routes(graph, tidy(graph))
        long, back = pipe_between(graph, "a", "c"), pipe_between(graph, "c", "a")
        routed, plain = long.path(), plain_path(graph, long)
        self.assertNotEqual(routed, plain)
        self.assert_near(routed.pointAtPercent(0), plain.pointAtPercent(0))  # the same way round
        self.assertEqual(back.path(), plain_path(graph, back))

        node = graph.get_node_by_name("c")
        node.set_pos(node.x_pos() + 30.0, node.y_pos() - 40.0)
        self.assertEqual(long.path(), plain_path(graph, long))
        graph.undo_stack().undo()
        self.assertEqual(long.path(), routed)

        # Tidying a part that leaves this pipe out keeps its route.
        graph.get_node_by_name("b").view.selected = True
        show_routes(graph, tidy(graph, selected_only=True))
        self.assertEqual(long.path(), routed)
        with self.assertRaisesRegex(TypeError, "routed_graph"):
            show_routes(NodeGraph(), tidy(graph))

    def test_mouse_finds_a_routed_pipe_on_its_line_only(self):
        graph = make_graph("ab bc ac cd")
        show_routes(graph, tidy(graph))
        pipe = pipe_between(graph, "a", "c")
        path, shape = pipe.path(), pipe.shape()
        self.assertTrue(shape.contains(path.pointAtPercent(0.4)))
        rect = path.boundingRect()
        grid = [QtCore.QPointF(rect.x() + rect.width() * i / 40, rect.y() + rect.height() * j / 40)
                for i in range(41) for j in range(41)]
        enclosed = [point for point in grid if path.contains(point)]
        self.assertTrue(enclosed)
        self.assertLess(sum(map(shape.contains, enclosed)), len(enclosed) / 2)

    def test_corners_are_rounded_within_their_segments(self):
        path = rounded_path([(0, 0), (50, 0), (100, 0), (100, 6), (200, 6)], 8.0)
        drawn = [path.elementAt(i) for i in range(path.elementCount())]
        self.assertEqual((drawn[1].x, drawn[1].y), (97, 0))
        self.assertIn((103, 6), [(element.x, element.y) for element in drawn])
        self.assert_near(path.pointAtPercent(0), (0, 0))
        self.assert_near(path.pointAtPercent(1), (200, 6))


class DemoTest(EditorTest):
    def test_every_graph_opens_whole(self):
        self.assertGreaterEqual(len(editor_demo.graph_names()), 6)
        for name in editor_demo.graph_names():
            data = json.loads((EXAMPLES / "graphs" / f"{name}.json").read_text())
            graph = example(name)
            self.assertEqual(len(graph.all_nodes()), len(data["nodes"]))
            self.assertEqual(len(graph.viewer().all_pipes()), len(data["edges"]))

    def test_screenshots_show_the_window(self):
        with tempfile.TemporaryDirectory() as folder:
            shots = []
            for extra in ([], ["--tidy"], ["--tidy", "--direction", "down"]):
                file = str(Path(folder) / f"{len(shots)}.png")
                self.assertEqual(
                    editor_demo.main(["text_to_image", "--screenshot", file, *extra]), 0)
                shots.append(QtGui.QImage(file))
                self.assertEqual((shots[-1].width(), shots[-1].height()), (1400, 800))
            self.assertNotEqual(shots[0], shots[1])
            self.assertNotEqual(shots[1], shots[2])
            with contextlib.redirect_stderr(io.StringIO()) as complaint:
                self.assertEqual(editor_demo.main(["--screenshot", f"{folder}/none/a.png"]), 1)
            self.assertIn("a.png", complaint.getvalue())

    def test_toolbar_tidies_and_undoes(self):
        editor = editor_demo.Editor("text_to_image")
        before = places(editor.graph)
        press = {action.text(): action.trigger
                 for action in editor.findChildren(QtWidgets.QToolBar)[0].actions()}
        for text in ("Tidy", "Tidy and keep my arrangement"):
            press[text]()
            self.assertNotEqual(places(editor.graph), before)
            press["Undo"]()
            self.assertEqual(places(editor.graph), before)


if __name__ == "__main__":
    unittest.main()
