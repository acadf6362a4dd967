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
from test_golden import PHASES, state_of

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

FORK = ([{"id": name} for name in "abc"],
        [{"id": "p", "source": "a", "target": "b"}, {"id": "q", "source": "b", "target": "c"},
         {"id": "r", "source": "a", "target": "c"}])


def by_hand():
    """The graph of FORK without help from `build_graph`."""
    graph = LGraph()
    for name in "abc":
        node = LNode(name, 140.0, 56.0)
        node.in_ports.append(LPort(f"{name}:in", node, PortSide.WEST, 0, 28.0))
        node.out_ports.append(LPort(f"{name}:out", node, PortSide.EAST, 0, 28.0))
        graph.nodes.append(node)
    a, b, c = graph.nodes
    for name, source, target in (("p", a, b), ("q", b, c), ("r", a, c)):
        graph.edges.append(LEdge(name, source.out_ports[0], target.in_ports[0], name))
        graph.chains[name] = [graph.edges[-1]]
    return graph


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
            for member in kind:
                self.assertEqual((member, member.value), (member.name, member.name))
                self.assertIs(kind(member.name), member)
                self.assertIs(copy.deepcopy(pickle.loads(pickle.dumps(member))), member)
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
        for same in (copy.copy(options), copy.deepcopy(options),
                     pickle.loads(pickle.dumps(options)),
                     dataclasses.replace(LayoutOptions(), direction="DOWN", thoroughness=3)):
            self.assertEqual(same, options)
            self.assertIsNot(same, options)
        self.assertNotEqual(options, LayoutOptions("DOWN"))
        self.assertIn("thoroughness=3)", repr(options))
        self.assertRaises(TypeError, LayoutOptions, spacing=1)

    def test_resolved(self):
        options = LayoutOptions(interactive=True, layering_strategy="NETWORK_SIMPLEX")
        options.direction = "UP"
        self.assertIs(options.direction, Direction.UP)
        pinned = options.resolved()
        self.assertEqual(options, LayoutOptions("UP", True, layering_strategy="NETWORK_SIMPLEX"))
        self.assertEqual(pinned, dataclasses.replace(options, cycle_breaking_strategy="INTERACTIVE",
                                                     crossing_strategy="INTERACTIVE"))
        self.assertIs(pinned.direction, Direction.UP)
        self.assertEqual(pinned.resolved(), pinned)
        automatic = LayoutOptions(placement_strategy="AUTO", edge_routing="AUTO").resolved()
        self.assertEqual(dataclasses.astuple(automatic)[2:7],
                         ("GREEDY", "NETWORK_SIMPLEX", "LAYER_SWEEP", "AUTO", "AUTO"))

        class Mine(LayoutOptions):
            pass

        self.assertIs(type(Mine().resolved()), Mine)


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
        edge = LEdge("e", east, west, "e")
        self.assertIs(edge.source_node, node)

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
            self.assertIs(twin.chains["p"][0], twin.edges[0])
            twin.nodes[0].x += 1000
            engine.place_nodes(twin)
            engine.route_edges(twin)
            self.assertEqual(state_of(twin), state_of(graph))


class Phases(unittest.TestCase):
    def test_identity(self):
        graph = engine.build_graph(*FORK)
        lists = graph.nodes, graph.edges, graph.chains
        nodes, edges, ports = list(graph.nodes), list(graph.edges), graph.nodes[0].out_ports
        for phase in PHASES:
            getattr(engine, phase)(graph)
            self.assertEqual(graph.nodes[:3], nodes)
            self.assertIs(graph.edges[0].source_node, nodes[0])
            self.assertIs(graph.nodes[0].out_ports, ports)
        self.assertEqual([*map(id, lists)], [*map(id, (graph.nodes, graph.edges, graph.chains))])
        dummy, = graph.nodes[3:]
        self.assertEqual((dummy.id, dummy.kind, dummy.layer), ("dummy:r#1", NodeKind.LONG_EDGE, 1))
        self.assertIs(dummy.kind, NodeKind.LONG_EDGE)
        self.assertEqual(graph.edges[:2], edges[:2])
        self.assertEqual(graph.chains["r"], graph.edges[2:])
        self.assertIs(graph.edges[2].target, dummy.in_ports[0])
        self.assertIs(graph.layers[1][graph.nodes[1].order], graph.nodes[1])
        self.assertEqual((engine.node_positions(graph), engine.edge_routes(graph)),
                         engine.layout(*FORK))
        self.assertEqual(engine.graph_extent(graph), (564.0, 92.0))

    def test_graph_made_by_hand(self):
        graph = by_hand()
        engine.run_phases(graph)
        self.assertEqual((engine.node_positions(graph), engine.edge_routes(graph)),
                         engine.layout(*FORK))

    def test_graph_changed_by_hand(self):
        graph = engine.build_graph(*FORK)
        engine.break_cycles(graph)
        engine.assign_layers(graph)
        # The user takes the long edge out and hangs a node of a kind of its own behind c.
        del graph.chains["r"], graph.reversed_originals["r"], graph.edges[2:], graph.nodes[3:]
        c, note = graph.nodes[2], type("Note", (LNode,), {})("note", 10.0, 10.0)
        graph.nodes.append(note)
        c.out_ports.append(LPort("c:out", c, PortSide.EAST, 0, 28.0))
        note.in_ports.append(LPort("note:in", note, PortSide.WEST, 0, 5.0))
        graph.edges.append(LEdge("s", c.out_ports[0], note.in_ports[0], "s"))
        graph.chains["s"] = graph.edges[2:]
        with self.assertRaisesRegex(ValueError, "'dummy:r#1': stands in LGraph.layers, not in"):
            engine.reduce_crossings(graph)
        for phase in PHASES:
            getattr(engine, phase)(graph)
        self.assertEqual([[node.id for node in layer] for layer in graph.layers],
                         [["a"], ["b"], ["c"], ["note"]])
        self.assertEqual(list(engine.edge_routes(graph)), ["p", "q", "s"])
        self.assertEqual(engine.node_positions(graph)["note"], (624.0, 24.0))
        # Phases do not mind a list or an int where they put tuples and floats.
        graph.edges[0].bend_points = [[200, 30.5]]
        self.assertIn((200.0, 30.5), engine.edge_routes(graph)["p"])


class Contradictions(unittest.TestCase):
    """Each line spoils a graph `g` and says what a function then has to say."""

    CHANGES = {
        "g.edges[0].source = LPort('x', g.nodes[0], 'EAST', 0)":
            "ValueError: LEdge 'p': its port 'x' belongs to no node of the graph",
        "g.nodes.pop()": "ValueError: LEdge 'q': its port 'c:in' belongs to no node of the graph",
        "g.edges[0].target = g.nodes[1]": "TypeError: LEdge 'p': target must be LPort, not LNode",
        "g.nodes[2].layer = -1":
            "ValueError: LNode 'c': layer must be from 0 to 16777216, not -1",
        "g.nodes[0].layer = 0.0": "TypeError: LNode 'a': layer must be an int, not float",
        "g.nodes[0].order = 2**31": "ValueError: LNode 'a': order must be from -2147483648 to",
        "g.nodes[1].width = '140'": "TypeError: LNode 'b': width must be a real number, not str",
        "g.nodes[1].y = 10**400": "ValueError: LNode 'b': y is too large for a float",
        "g.nodes[1].origin_y = ()": "TypeError: LNode 'b': origin_y must be a real number",
        "g.nodes[0].id = 5": "TypeError: LNode 5: id must be a str, not int",
        "g.nodes[0].kind = 'ODD'": "ValueError: LNode 'a': 'ODD' is no value",
        "g.nodes[0].in_ports = ()": "TypeError: LNode 'a': in_ports must be a list, not tuple",
        "g.nodes[0].in_ports += g.nodes[1].in_ports":
            "ValueError: LPort 'b:in': its node is not the one that lists it",
        "g.nodes[0].in_ports += g.nodes[0].out_ports":
            "ValueError: LPort 'a:out': an input port must have side WEST",
        "g.nodes[0].in_ports *= 2": "ValueError: LPort 'a:in': stands twice",
        "g.nodes[0].in_ports[0].index = -1": "ValueError: LPort 'a:in': index must be from 0",
        "g.nodes[0].out_ports.append(None)":
            "TypeError: LNode.out_ports must hold LPort records, not NoneType",
        "g.nodes *= 2": "ValueError: LNode 'a': stands twice",
        "g.edges *= 2": "ValueError: LEdge 'p': stands twice",
        "g.nodes += 'd'": "TypeError: LGraph.nodes must hold LNode records, not str",
        "g.edges = {}": "TypeError: LGraph: edges must be a list, not dict",
        "g.options = None": "TypeError: LGraph: options must be LayoutOptions, not NoneType",
        "g.options.direction = 'down'": "ValueError: LayoutOptions.direction: 'down'",
        "g._counter = -1": "ValueError: LGraph: _counter must be from 0",
        "g.chains['p'] = g.edges[0]": "TypeError: LGraph: chains must be a dict of lists",
        "g.reversed_originals[1] = True":
            "TypeError: LGraph: reversed_originals must be a dict with str keys, not int",
        "g.chains['q'] = [g.edges[0]]":
            "ValueError: LEdge 'p': stands in the chain of 'q', which is not its origin_id",
        "g.chains['q'] *= 2": "ValueError: LGraph: the chain of 'q' holds an edge twice",
        "g.edges[0].bend_points = [(1, 2), (1, None)]":
            "TypeError: LEdge 'p': bend_points must hold pairs of real numbers, not (1, None)",
        "g.edges[0].bend_points = [(1, 2, 3)]": "TypeError: LEdge 'p': bend_points must hold pairs",
    }
    LAYER_CHANGES = {
        "g.layers[0].append(LNode('z'))":
            "ValueError: LNode 'z': stands in LGraph.layers, not in LGraph.nodes",
        "g.layers[2] += g.layers[0]": "ValueError: LNode 'a': stands twice in LGraph.layers",
        "g.layers[0].clear()": "ValueError: LGraph: layers lack node 'a'",
        "g.layers[0] = tuple(g.layers[0])": "TypeError: LGraph: layers must be a list of lists",
        "g.layers[0][0] = None": "TypeError: LGraph.layers must hold LNode records, not NoneType",
    }

    def spoilt(self, graph, change):
        graph = copy.deepcopy(graph)
        exec(change, {"g": graph, "LNode": LNode, "LPort": LPort})
        return graph

    def check(self, changes, graph, *functions):
        for change, complaint in changes.items():
            bad = self.spoilt(graph, change)
            before = pickle.dumps(bad)
            for function in functions:
                with self.subTest(change), self.assertRaises((TypeError, ValueError)) as caught:
                    function(bad)
                said = f"{type(caught.exception).__name__}: {caught.exception}"
                self.assertEqual(said[:len(complaint)], complaint)
                self.assertEqual(pickle.dumps(bad), before, change)

    def test_any_function(self):
        self.check(self.CHANGES, by_hand(), engine.break_cycles, engine.run_phases,
                   engine.node_positions, LGraph.rebuild_layers)

    def test_functions_that_read_layers(self):
        graph = by_hand()
        engine.assign_layers(graph)
        self.check(self.LAYER_CHANGES, graph, engine.count_crossings, engine.reduce_crossings)
        self.check({"g.options.thoroughness = 1.5": "TypeError: thoroughness must be an integer"},
                   graph, engine.reduce_crossings)
        for change in self.LAYER_CHANGES:
            outgrown = self.spoilt(graph, change)
            engine.assign_layers(outgrown)
            self.assertEqual(state_of(outgrown), state_of(graph))

    def test_arguments(self):
        for name in NAMES[12:]:
            function = getattr(engine, name)
            if callable(function) and len(inspect.signature(function).parameters) == 1:
                with self.assertRaisesRegex(TypeError, f"^{name}\\(\\) missing required"):
                    function()
                with self.assertRaisesRegex(TypeError, "graph must be an LGraph, not NoneType"):
                    function(graph=None)
        self.assertRaises(TypeError, LGraph().next_id, 5)
        self.assertRaises(ValueError, Direction.is_reversed.fget, 5)


if __name__ == "__main__":
    unittest.main()
