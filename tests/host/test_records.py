"""The module's names and records, and the phases on graphs that a user built or changed."""

import copy
import dataclasses
import enum
import inspect
import os
import pathlib
import pickle
import subprocess
import sys
import unittest

from quillan.core import vorn_layered as engine
from quillan.core.vorn_layered import (
    Direction, LayoutOptions, LEdge, LGraph, LNode, LPort, NodeKind, PortSide)
from test_golden import state_of
from test_phases import FORK, by_hand

try:
    import _xxsubinterpreters as interpreters
except ImportError:
    interpreters = None

NAMES = """
    Direction PortSide NodeKind AUTO LayoutOptions LPort LNode LEdge LGraph DEFAULT_NODE_WIDTH
    DEFAULT_NODE_HEIGHT build_graph graph_extent node_positions edge_routes
    weakly_connected_components break_cycles NETWORK_SIMPLEX_NODE_LIMIT assign_layers
    insert_dummy_nodes count_crossings reduce_crossings place_nodes route_edges run_phases layout
""".split()

PACKAGES = str(pathlib.Path(engine.__file__).parents[2])

class Module(unittest.TestCase):
    def test_names(self):
        self.assertEqual([name for name in vars(engine) if not name.startswith("_")], NAMES)
        self.assertFalse(hasattr(engine, "__all__"))
        self.assertEqual((engine.AUTO, engine.DEFAULT_NODE_WIDTH, engine.DEFAULT_NODE_HEIGHT,
                          engine.NETWORK_SIMPLEX_NODE_LIMIT), ("AUTO", 140.0, 56.0, 400))

    def test_signatures_and_docstrings(self):
        self.assertEqual(str(inspect.signature(engine.layout)),
                         "(nodes, edges, options=None, *, component_gap=80.0)")
        self.assertTrue(inspect.getdoc(engine))
        for name in NAMES:
            value = getattr(engine, name)
            if not callable(value):
                continue
            self.assertTrue(inspect.signature(value).parameters, name)
            self.assertGreater(len(inspect.getdoc(value)), 60, name)
            self.assertEqual((value.__module__, value.__name__), (engine.__name__, name))
            self.assertIs(pickle.loads(pickle.dumps(value)), value)
            members = vars(value) if inspect.isclass(value) else {}
            for key, member in members.items():
                if not key.startswith("_") and isinstance(member, (property, type(by_hand))):
                    self.assertTrue(member.__doc__, f"{name}.{key}")

    def test_import_loads_nothing_else(self):
        code = ("import dataclasses, enum, sys; before = set(sys.modules); "
                "import quillan.core.vorn_layered; print(*sorted(set(sys.modules) - before))")
        run = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True,
                             text=True, env={**os.environ, "PYTHONPATH": PACKAGES})
        self.assertEqual(run.stdout.split(),
                         ["quillan", "quillan.core", "quillan.core.vorn_layered"])

    @unittest.skipIf(interpreters is None, "this Python has no _xxsubinterpreters")
    def test_second_interpreter(self):
        code = f"""
            import sys
            sys.path.insert(0, {PACKAGES!r})
            from quillan.core import vorn_layered as engine
            graph = engine.build_graph(*{FORK!r}, engine.LayoutOptions("UP"))
            engine.run_phases(graph)
            assert engine.node_positions(graph) == engine.layout(*{FORK!r}, graph.options)[0]
            assert type(graph.nodes[0]) is engine.LNode
        """
        for _ in range(3):
            other = interpreters.create()
            try:
                interpreters.run_string(other, inspect.cleandoc(code))
            finally:
                interpreters.destroy(other)
        self.assertEqual(engine.layout([{"id": 1}], [])[0], {"1": (24.0, 24.0)})


class Vocabulary(unittest.TestCase):
    def test_enumerations(self):
        for kind, names in ((Direction, "RIGHT LEFT DOWN UP"), (PortSide, "WEST EAST"),
                            (NodeKind, "NORMAL LONG_EDGE")):
            self.assertTrue(issubclass(kind, enum.StrEnum))
            self.assertEqual([str(member) for member in kind], names.split())
            self.assertEqual(pickle.loads(pickle.dumps([*kind])), [*kind])
        self.assertEqual([(each.is_transposed, each.is_reversed) for each in Direction],
                         [(False, False), (False, True), (True, False), (True, True)])

    def test_options(self):
        options = LayoutOptions(direction="DOWN", thoroughness=3)
        self.assertIs(options.direction, Direction.DOWN)
        self.assertEqual([field.name for field in dataclasses.fields(options)], """
            direction interactive cycle_breaking_strategy layering_strategy crossing_strategy
            placement_strategy edge_routing spacing_node_node spacing_node_node_between_layers
            spacing_edge_edge spacing_edge_node padding_left padding_top thoroughness""".split())
        self.assertEqual(dataclasses.astuple(LayoutOptions()), (
            "RIGHT", False, "AUTO", "AUTO", "AUTO", "BRANDES_KOEPF", "ORTHOGONAL", 30.0, 60.0, 10.0,
            12.0, 24.0, 24.0, 7))
        self.assertRaises(TypeError, LayoutOptions, spacing=1)

    def test_resolved(self):
        options = LayoutOptions(interactive=True, layering_strategy="NETWORK_SIMPLEX")
        options.direction = "UP"
        pinned = options.resolved()
        self.assertEqual(options, LayoutOptions("UP", True, layering_strategy="NETWORK_SIMPLEX"))
        self.assertEqual(pinned, dataclasses.replace(options, cycle_breaking_strategy="INTERACTIVE",
                                                     crossing_strategy="INTERACTIVE"))
        self.assertEqual(pinned.resolved(), pinned)
        automatic = LayoutOptions(placement_strategy="AUTO", edge_routing="AUTO").resolved()
        self.assertEqual(dataclasses.astuple(automatic)[2:7],
                         ("GREEDY", "NETWORK_SIMPLEX", "LAYER_SWEEP", "AUTO", "AUTO"))

        class Mine(LayoutOptions):
            pass

        self.assertIs(type(Mine().resolved()), Mine)
        # What is not pinned is copied as it is, and is no error before something uses it.
        odd = LayoutOptions(direction="sideways", padding_left=None)
        self.assertEqual((odd.resolved().direction, odd.resolved().padding_left), ("sideways", None))
        engine.break_cycles(LGraph(options=odd))

        class Both(LayoutOptions, tuple):
            pass

        both = Both()
        both.direction = "DOWN"
        for call in (engine.layout, engine.build_graph):
            call(*FORK, both)
        self.assertEqual(both.resolved().crossing_strategy, "LAYER_SWEEP")


class Records(unittest.TestCase):
    def test_dataclasses(self):
        node = LNode(id="n")
        port = LPort(id="o", node=node, side=PortSide.EAST, index=0)
        edge = LEdge(id="e", source=port, target=port, origin_id="e")
        self.assertEqual(repr(port),
                         "LPort(id='o', side=<PortSide.EAST: 'EAST'>, index=0, offset=0.0)")
        self.assertEqual(dataclasses.astuple(LNode("n"))[1:],
                         (0.0, 0.0, "NORMAL", None, None, 0, 0, 0.0, 0.0, [], []))
        self.assertEqual((edge.reversed, edge.bend_points), (False, []))
        self.assertEqual(LGraph(_counter=4).next_id("x"), "x#5")
        for record in (node, port, edge, LGraph()):
            self.assertEqual(record, record)
            self.assertNotEqual(record, copy.copy(record))
            self.assertEqual(len({record, record}), 1)
            with self.assertRaises(TypeError):
                type(record)(**{**vars(record), "colour": 1})
        self.assertIsNot(LGraph().nodes, LGraph().nodes)

    def test_members(self):
        node = LNode("n", 100.0, 40.0, x=7.0, y=2.0)
        west, east = LPort("w", node, "WEST", 0, 5.0), LPort("e", node, PortSide.EAST, 0, 6.5)
        node.in_ports, node.out_ports = [west], [east]
        node.ports.clear()
        self.assertEqual(node.ports, [west, east])
        self.assertEqual((west.x, west.y, east.x, east.y), (7.0, 7.0, 107.0, 8.5))
        self.assertEqual(node.cross_center(), 22.0)
        self.assertFalse(node.is_dummy)
        self.assertTrue(LNode("d", kind=NodeKind.LONG_EDGE).is_dummy)
        edge = LEdge("e", east, LPort("i", LNode("m"), "WEST", 0), "e")
        self.assertEqual((edge.source_node.id, edge.target_node.id), ("n", "m"))

        graph = LGraph([node, LNode("n"), LNode("d", kind=NodeKind.LONG_EDGE)])
        self.assertEqual([graph.next_id("a"), graph.next_id("\ud800")], ["a#1", "\ud800#2"])
        self.assertEqual(graph._counter, 2)
        self.assertEqual((graph.node_by_id("n"), graph.node_by_id("m")), (node, None))
        self.assertEqual(graph.real_nodes(), graph.nodes[:2])

    def test_rebuild_layers(self):
        graph = LGraph()
        graph.rebuild_layers()
        self.assertEqual(graph.layers, [])
        graph.nodes += [LNode("a", layer=2, order=5), LNode("b", layer=0),
                        LNode("c", layer=2, order=-1), LNode("d", layer=2, order=5)]
        a, b, c, d = graph.nodes
        graph.layers = [[a]]  # outgrown
        graph.rebuild_layers()
        self.assertEqual(graph.layers, [[b], [], [c, a, d]])
        self.assertEqual([node.order for node in graph.nodes], [1, 0, 0, 2])

    def test_copies_of_a_graph(self):
        graph = by_hand()
        engine.run_phases(graph)
        for twin in (copy.deepcopy(graph), pickle.loads(pickle.dumps(graph))):
            self.assertEqual(state_of(twin), state_of(graph))
            self.assertIs(twin.edges[0].source.node, twin.nodes[0])
            self.assertIs(twin.chains["ab"][0], twin.edges[0])
            twin.nodes[0].x += 1000
            engine.place_nodes(twin)
            engine.route_edges(twin)
            self.assertEqual(state_of(twin), state_of(graph))


class Arguments(unittest.TestCase):
    def test_arguments(self):
        for name in NAMES[12:]:
            function = getattr(engine, name)
            if callable(function) and len(inspect.signature(function).parameters) == 1:
                with self.assertRaisesRegex(TypeError, f"^{name}\\(\\) missing required"):
                    function()
                with self.assertRaisesRegex(TypeError, "graph must be an LGraph, not NoneType"):
                    function(graph=None)
        self.assertRaises(TypeError, LGraph().next_id, 5)


if __name__ == "__main__":
    unittest.main()
