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
ROOT = Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples"
sys.path[:0] = [str(EXAMPLES), str(ROOT / "bench")]

from NodeGraphQt import BaseNodeCircle, GroupNode, NodeGraph  # noqa: E402
from NodeGraphQt.constants import PipeLayoutEnum  # noqa: E402
from NodeGraphQt.qgraphics.pipe import PipeItem  # noqa: E402
from Qt import QtCore, QtGui, QtWidgets  # noqa: E402

import editor as measure  # noqa: E402
import editor_demo  # noqa: E402
from nodegraphqt_layout import Connection, scene_box, tidy  # noqa: E402
from nodegraphqt_router import End, Router  # noqa: E402
from nodegraphqt_routes import route_wires, routed_graph, rounded_path, show_routes  # noqa: E402
from quillan.core.vorn_layered import Direction, LayoutOptions  # noqa: E402

APP = QtWidgets.QApplication.instance() or QtWidgets.QApplication([])
INTERACTIVE = LayoutOptions(interactive=True)
GRAPHS = {path.stem: path for folder in measure.FOLDERS for path in sorted(folder.glob("*.json"))}
HARD = ("overlaps", "behind", "off port")  # what no drawing may have


def open_graph(data: dict, direction: str = "right") -> NodeGraph:
    graph = routed_graph()
    graph.register_node(editor_demo.DemoNode)
    editor_demo.load_graph(graph, data)
    editor_demo.set_direction(graph, direction)
    return graph


def graph_data(name: str) -> dict:
    return json.loads(GRAPHS[name].read_text("utf-8"))


def example(name: str, direction: str = "right") -> NodeGraph:
    graph = open_graph(graph_data(name), direction)
    graph.set_pipe_style(PipeLayoutEnum.STRAIGHT.value)  # corners exactly where routes have them
    return graph


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
    def assert_faultless(self, graph):
        faults = measure.faults(graph)
        self.assertEqual([faults[key] for key in HARD], [0, 0, 0], faults)

    def assert_near(self, point, expected):
        """Compare a pair, or a Qt point, with another."""
        pairs = [p if isinstance(p, (tuple, list)) else (p.x(), p.y()) for p in (point, expected)]
        for one, other in zip(*pairs, strict=True):
            self.assertAlmostEqual(one, other, 6)


class TidyTest(EditorTest):
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

    def test_back_edges_and_self_loops_get_a_way_of_their_own(self):
        for direction in ("right", "down"):
            graph = make_graph("ab bc ca bb cd da", direction)
            graph.set_pipe_style(PipeLayoutEnum.STRAIGHT.value)
            self.assertEqual(len(tidy(graph).routes), 6)
            self.assertEqual(set(measure.faults(graph).values()) - {0}, {
                measure.faults(graph)["crossings"]} - {0})

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

    def test_a_selection_goes_where_it_has_room(self):
        for name, direction in itertools.product(GRAPHS, ("right", "down")):
            graph = example(name, direction)
            tidy(graph)
            chosen = graph.all_nodes()[::3]
            for node in chosen:
                node.view.selected = True
            hidden = chosen.pop()
            hidden.set_property("visible", False, push_undo=False)
            before = places(graph)
            tidied = tidy(graph, selected_only=True)
            self.assertEqual(set(tidied.positions), {node.id for node in chosen})
            moved = {name for name, place in places(graph).items() if place != before[name]}
            self.assertLessEqual(moved, {node.name() for node in chosen})
            hidden.view.moveBy(1e6, 0.0)  # out of the way of what is measured
            self.assert_faultless(graph)

        graph = make_graph("ab bc cd")
        for node, y in zip(graph.all_nodes(), (0.0, 1e4, 1.01e4, 1.02e4)):
            node.set_pos(0.0, y)
            node.view.selected = y > 0.0
        chosen = graph.selected_nodes()
        centre = bounds(chosen).center()
        tidy(graph, selected_only=True)
        self.assert_near(bounds(chosen).center(), centre)

    def test_what_is_pinned_stays_to_the_last_bit_in_every_mode(self):
        for options, selected_only in itertools.product((None, LayoutOptions(), INTERACTIVE),
                                                        (False, True)):
            graph = example("inpainting")
            nodes = graph.all_nodes()
            for node in nodes[::2]:
                node.view.selected = True
            pins = [nodes[0], nodes[4], nodes[6]]
            pins[0].view.xy_pos = [0.1 + 0.2, 1e3 / 3]
            pins[2].view.setFlag(QtWidgets.QGraphicsItem.ItemIsMovable, False)
            before = places(graph)
            tidy(graph, options, selected_only=selected_only, pinned=[pins[0], pins[1].name()])
            after = places(graph)
            for node in pins:
                self.assertEqual(after[node.name()], before[node.name()])
            if not selected_only:
                self.assertNotEqual(after, before)
                self.assertEqual(measure.faults(graph)["overlaps"], 0)
        pins[0].set_property("visible", False)
        tidy(graph, pinned=pins)
        with self.assertRaisesRegex(ValueError, "nobody"):
            tidy(graph, pinned=["nobody"])

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
        for outer, foreign in (("inner", "c"), ("outer", "d"), ("outer", "e"), ("empty", "e")):
            self.assertFalse(frame[outer].intersects(frame[foreign]), f"{foreign} in {outer}")
        self.assertAlmostEqual(min(after["a"][0], after["b"][0]) - after["inner"][0], 30.5, 9)
        self.assertEqual(after["empty"], before["empty"])
        graph.undo_stack().undo()
        self.assertEqual(places(graph), before)

        for name in "de":  # held by no backdrop
            graph.get_node_by_name(name).view.selected = True
        tidy(graph, selected_only=True)
        self.assertEqual({name for name, rect in places(graph).items() if rect != before[name]},
                         {"d", "e"})

    def test_a_label_that_sticks_out_of_a_backdrop_covers_nothing(self):
        graph = make_graph("ab", "down")
        first, second = graph.all_nodes()
        first.set_name("a label that is much longer than its node")
        backdrop = graph.create_node("Backdrop", selected=False)
        backdrop.set_pos(-20.0, -40.0)
        backdrop.set_size(first.view.width + 40.0, 140.0)
        first.set_pos(0.0, 0.0)
        second.set_pos(first.view.width + 60.0, 0.0)
        tidy(graph, INTERACTIVE, pinned=[backdrop])
        self.assertFalse(scene_box(first).intersects(scene_box(second)))

    def test_backdrops_that_were_apart_stay_apart(self):
        graph = make_graph("ab bc cd da ac")
        for index, name in enumerate("acbd"):
            graph.get_node_by_name(name).set_pos(300.0 * index, 90.0 * index)
        for name, x in (("left", -40.0), ("right", 560.0)):
            backdrop = graph.create_node("Backdrop", name=name, selected=False)
            backdrop.set_pos(x, -60.0 if x < 0 else 120.0)
            backdrop.set_size(540.0, 330.0)
        tidy(graph)
        frame = {name: QtCore.QRectF(*rect) for name, rect in places(graph).items()}
        self.assertFalse(frame["left"].intersects(frame["right"]))
        for backdrop, held in (("left", "ac"), ("right", "bd")):
            for name in "abcd":
                self.assertEqual(frame[backdrop].contains(frame[name]), name in held, name)

    def test_parts_are_packed_to_the_view_which_follows_if_asked(self):
        graph = make_graph([(f"{part}a", f"{part}b") for part in range(40)])
        viewer = graph.viewer()
        viewer.resize(1200, 800)
        shown = viewer.scene_rect()
        tidy(graph)
        self.assertEqual(viewer.scene_rect(), shown)
        drawn = bounds(graph.all_nodes())
        self.assertLess(0.5, drawn.width() / drawn.height())
        self.assertLess(drawn.width() / drawn.height(), 3.0)
        viewer.set_zoom(2.0)
        tidy(graph, fit=True)
        seen = QtCore.QRectF(*viewer.scene_rect())
        self.assertTrue(seen.contains(drawn), (seen, drawn))

    def test_a_second_interactive_tidy_moves_nothing(self):
        chance = random.Random(7)
        for name, direction in itertools.product(editor_demo.graph_names(), ("right", "down")):
            graph = example(name, direction)
            for node in graph.all_nodes():
                node.view.xy_pos = [chance.uniform(0, 3000), chance.uniform(0, 2000)]
            tidy(graph, INTERACTIVE)
            before = places(graph)
            tidy(graph, INTERACTIVE)
            self.assertEqual(places(graph), before, (name, direction))
            self.assertEqual(graph.undo_stack().count(), 1)

    def test_every_graph_is_drawn_without_fault_and_its_arrangement_kept(self):
        for name, direction in itertools.product(GRAPHS, ("right", "down")):
            graph = example(name, direction)
            tidy(graph)
            self.assert_faultless(graph)
            before, columns = places(graph), graph.all_nodes()
            tidy(graph, INTERACTIVE)
            self.assertEqual(places(graph), before)
            for change, count in ((measure.insert, len(graph.viewer().all_pipes())),
                                  (measure.delete, len(columns)), (measure.drag, len(columns))):
                cases = measure.kept(graph_data(name), direction, change, count, samples=2)
                for stayed, along, faults in cases:
                    self.assertGreaterEqual(stayed, 0.9, (name, direction, change))
                    self.assertLessEqual(along, 420.0)  # a node's width and two gaps
                    self.assertEqual([faults[key] for key in HARD], [0, 0, 0])

    def test_a_column_that_makes_room_moves_the_parts_behind_it_along_the_flow_only(self):
        graph = make_graph("ab cd ce")
        for node, x, y in zip(graph.all_nodes(), (0, 300, 560, 860, 860), (0, 0, 0, -80, 80)):
            node.set_pos(x, y)
        route_wires(graph)
        before = places(graph)
        measure.insert(graph, 0)
        tidy(graph, INTERACTIVE)
        after = places(graph)
        self.assertEqual(after["a"], before["a"])
        for name in "bcde":
            self.assertEqual(after[name][1], before[name][1], name)
            self.assertGreater(after[name][0], before[name][0], name)
        self.assert_faultless(graph)

        graph = make_graph("ab cd de")  # of two that overlap, the one that was dragged gives way
        tidy(graph)
        before = places(graph)
        graph.get_node_by_name("a").set_pos(*before["e"][:2])
        tidy(graph, INTERACTIVE)
        self.assertEqual([places(graph)[name] for name in "bcde"], [before[name] for name in "bcde"])

    def test_interactive_keeps_the_users_order(self):
        graph = make_graph("ab cd ac")  # b and c hang on the same port
        tidy(graph)
        y = {name: place[1] for name, place in places(graph).items()}
        top, bottom = sorted("bc", key=y.get)
        node = graph.get_node_by_name(top)
        node.set_pos(node.x_pos(), y[bottom] + 150.0)
        tidy(graph, INTERACTIVE)
        self.assertGreater(places(graph)[top][1], places(graph)[bottom][1])

    def test_direction_is_that_of_the_canvas(self):
        left = LayoutOptions(direction=Direction.LEFT)
        for canvas, flow in (("right", 0), ("down", 1)):
            graph = make_graph("ab", canvas)
            for remedy, kwargs in (
                    ("leave the direction out", {"options": left}),
                    ("leave the direction out", {"direction": "UP"}),
                    ("set_layout_direction", {"direction": ("DOWN", "RIGHT")[flow]})):
                with self.assertRaisesRegex(ValueError, remedy):
                    tidy(graph, **kwargs)
            tidy(graph, LayoutOptions())
            first, second = places(graph).values()
            self.assertGreater(second[flow] - first[flow], 50.0)

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


class Disc(BaseNodeCircle):
    __identifier__ = "test"
    NODE_NAME = "disc"


class Group(GroupNode):
    __identifier__ = "test"
    NODE_NAME = "group"


class RouteTest(EditorTest):
    def test_routes_live(self):
        graph = make_graph("ab bc ac ca")
        tidy(graph)
        long = pipe_between(graph, "a", "c")
        routed, plain = long.path(), plain_path(graph, long)
        self.assertNotEqual(routed, plain)
        self.assert_near(routed.pointAtPercent(0), plain.pointAtPercent(0))  # the same way round

        node = graph.get_node_by_name("c")
        node.set_pos(node.x_pos() + 30.0, node.y_pos() - 40.0)
        self.assertEqual(long.path(), plain_path(graph, long))
        APP.processEvents()
        self.assertNotEqual(long.path(), plain_path(graph, long))
        self.assert_faultless(graph)
        graph.undo_stack().undo()
        self.assertEqual(long.path(), routed)

        before = {pipe: pipe.path() for pipe in graph.viewer().all_pipes()}
        for node in graph.all_nodes():
            node.set_pos(node.x_pos() + 500.0, node.y_pos() - 300.0)
        for pipe, path in before.items():
            for share in (0.0, 0.3, 0.7, 1.0):
                self.assert_near(pipe.path().pointAtPercent(share),
                                 path.pointAtPercent(share) + QtCore.QPointF(500.0, -300.0))
        with self.assertRaisesRegex(TypeError, "routed_graph"):
            show_routes(NodeGraph(), tidy(graph))

    def test_a_drag_changes_only_the_routes_that_it_touches(self):
        for name in GRAPHS:
            graph = example(name)
            tidy(graph)
            paths = {pipe: pipe.path() for pipe in graph.viewer().all_pipes()}
            node = graph.all_nodes()[len(graph.all_nodes()) // 2]
            node.set_pos(node.x_pos() + 60.0, node.y_pos() + 170.0)
            APP.processEvents()
            box = scene_box(node).adjusted(-13.0, -13.0, 13.0, 13.0)
            # Where it touches another node, ports may have no way out.
            if sum(box.intersects(scene_box(other)) for other in graph.all_nodes()) == 1:
                self.assert_faultless(graph)
            for pipe, path in paths.items():
                touched = (node.view in (pipe.output_port.node, pipe.input_port.node)
                           or path.intersects(box))
                self.assertTrue(touched or pipe.path() == path)
            graph.undo_stack().undo()
            graph.viewer().mend()  # the event loop may wait a little before it does
            self.assertEqual({pipe: pipe.path() for pipe in paths}, paths)

    def test_route_only_moves_no_node_and_leads_around_all(self):
        for name, direction in itertools.product(GRAPHS, ("right", "down")):
            graph = example(name, direction)
            self.scatter(graph)
            before = places(graph)
            routes = route_wires(graph)
            self.assertEqual(places(graph), before)
            self.assertEqual(len(routes), len(graph.viewer().all_pipes()))
            self.assert_faultless(graph)
            some = list(routes)[::4]
            again = route_wires(graph, some, afresh=True)
            self.assertEqual({wire: again[wire] for wire in routes if wire not in some},
                             {wire: routes[wire] for wire in routes if wire not in some})

    def test_a_way_is_found_where_there_is_one(self):
        ends = [(0.0, 0.0, 100.0, 40.0), (300.0, 0.0, 400.0, 40.0)]
        for others in (
                [(250.0, -30.0, 320.0, 9.7)],  # over the target, just beside its port
                [(150.0, -100.0, 160.0, 200.0), (180.0, -200.0, 190.0, 100.0),
                 (220.0, -100.0, 230.0, 200.0), (-1e3, 200.0, 1e3, 240.0),
                 (-1e3, -240.0, 1e3, -200.0), (299.995, 90.0, 350.0, 140.0)],  # not quite in line
                # Around the first, the way at full clearance meets the last, which is not nearby.
                [(-600.0, -100.0, 260.0, -60.0), (200.0, -60.0, 250.0, 100.0),
                 (-1e3, 100.0, 250.0, 140.0), (-690.0, -60.0, -606.0, 95.0)]):
            router = Router([*ends, *others])
            way = router.find(End(100.0, 10.0, 0), End(300.0, 10.0, 1))
            self.assertIsNotNone(way)
            self.assertFalse(router.covers(way, 0, 1))

    def scatter(self, graph):
        """Put the nodes where none overlaps another, in no order."""
        chance = random.Random(3)
        cells = [(x, y) for x in range(8) for y in range(8)]
        for node, (x, y) in zip(graph.all_nodes(), chance.sample(cells, len(graph.all_nodes()))):
            node.set_pos(460.0 * x + chance.uniform(0, 40), 600.0 * y + chance.uniform(0, 40))

    def test_groups_circles_and_hidden_ports_in_both_directions(self):
        for direction in ("right", "down"):
            graph = make_graph("ab bc", direction)
            graph.set_pipe_style(PipeLayoutEnum.STRAIGHT.value)
            graph.register_nodes([Disc, Group])
            ends = [graph.get_node_by_name(name) for name in "ac"]
            for kind in ("test.Disc", "test.Group"):
                node = graph.create_node(kind, selected=False)
                for k in range(3):
                    node.add_input(f"in {k}").connect_to(ends[0].output(k % 2))
                    node.add_output(f"out {k}").connect_to(ends[1].input(k % 2))
            editor_demo.set_direction(graph, direction)
            tidy(graph)
            self.assert_faultless(graph)
            self.assertEqual(len(measure.drawn(graph).wires), 14)
            ends[0].output(0).set_visible(False)
            ends[1].set_disabled(True)
            tidied = tidy(graph)
            self.assertFalse([c for c in tidied.routes if (c.source, c.output) == (ends[0].id, "0")])
            self.assert_faultless(graph)
            shown = len(measure.drawn(graph).wires)
            for visible, count in ((False, 0), (True, shown)):
                for node in ends:
                    node.set_property("visible", visible)
                graph.viewer().mend()
                self.assertEqual(len(measure.drawn(graph).wires), count)

    def test_routes_inside_an_opened_group(self):
        graph = make_graph("ab")
        graph.register_nodes([Group])
        graph.widget  # NodeGraphQt opens groups in a tab of it
        group = graph.create_node("test.Group", selected=False)
        group.add_input("in")
        group.add_output("out")
        inner = graph.expand_group_node(group)
        ends = inner.get_input_port_nodes()[0], inner.get_output_port_nodes()[0]
        nodes = [inner.create_node("demo.DemoNode", selected=False) for _ in range(3)]
        port = ends[0].output(0)
        for node in nodes:
            node.add_input("in").connect_to(port)
            port = node.add_output("out")
        ends[1].input(0).connect_to(port)
        inner.set_pipe_style(PipeLayoutEnum.STRAIGHT.value)
        self.assertEqual(len(tidy(inner).routes), 4)
        self.assert_faultless(inner)
        drawn = {name: place for name, place in places(inner).items()}
        graph.collapse_group_node(group)
        again = graph.expand_group_node(group)
        self.assertEqual(places(again), drawn)
        self.assertEqual(len(again.viewer().routes), 4)

    def test_a_saved_session_keeps_its_routes(self):
        graph = example("video_pipeline")
        tidy(graph)
        node = graph.all_nodes()[9]
        node.set_pos(node.x_pos(), node.y_pos() + 35.0)
        APP.processEvents()
        drawn = sorted(str(pipe.path()) for pipe in graph.viewer().all_pipes())
        with tempfile.TemporaryDirectory() as folder:
            file = str(Path(folder) / "session.json")
            graph.save_session(file)
            other = routed_graph()
            other.register_node(editor_demo.DemoNode)
            other.load_session(file)
        self.assertEqual(sorted(str(wire.points) for wire in measure.drawn(other).wires),
                         sorted(str(wire.points) for wire in measure.drawn(graph).wires))
        self.assertEqual(len(drawn), len(other.viewer().all_pipes()))
        # A session opened in its place knows nothing of its routes.
        editor_demo.load_graph(other, graph_data("inpainting"))
        APP.processEvents()
        for pipe in other.viewer().all_pipes():
            self.assertEqual(pipe.path(), plain_path(other, pipe))

    def test_pipes_follow_the_pipe_style(self):
        graph = make_graph("ab bc ac")
        tidy(graph, LayoutOptions())  # which leaves a bend in the wire
        pipe, kinds = pipe_between(graph, "a", "c"), set()
        for style in PipeLayoutEnum:
            graph.set_pipe_style(style.value)
            path = pipe.path()
            kinds.add((path.elementCount(), any(path.elementAt(i).isCurveTo()
                                                for i in range(path.elementCount()))))
        self.assertEqual(len(kinds), 3)

    def test_mouse_finds_a_routed_pipe_on_its_line_only(self):
        graph = make_graph("ab bc ac cd")
        tidy(graph, LayoutOptions())
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
            data, graph = graph_data(name), example(name)
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
