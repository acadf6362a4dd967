"""The phases on graphs that a user built or changed, and what each of them reads and writes."""

import copy
import itertools
import pickle
import re
import unittest
import unittest.mock

from quillan.core import vorn_layered as engine
from quillan.core.vorn_layered import (
    Direction, LayoutOptions, LEdge, LGraph, LNode, LPort, NodeKind, PortSide)
from test_golden import PHASES, load, state_of

FORK = ([{"id": name} for name in "abc"],
        [{"id": "p", "source": "a", "target": "b"}, {"id": "q", "source": "b", "target": "c"},
         {"id": "r", "source": "a", "target": "c"}])


def wire(name, source, target, index=0):
    """An edge whose ports no node lists."""
    return LEdge(name, LPort(f"{name}:o", source, PortSide.EAST, index, 28.0),
                 LPort(f"{name}:i", target, PortSide.WEST, index, 28.0), name)


def by_hand(names="abc", joints=("ab", "bc", "ac"), layers=None):
    """Nodes of the default size, and edges called by their ends with free-standing ports."""
    nodes = {name: LNode(name, 140.0, 56.0) for name in names}
    graph = LGraph([*nodes.values()], options=LayoutOptions().resolved())
    graph.edges = [wire(joint, nodes[joint[0]], nodes[joint[1]]) for joint in joints]
    graph.chains = {edge.id: [edge] for edge in graph.edges}
    for layer, members in enumerate(layers or ()):
        for member in members:
            nodes[member].layer = layer
    graph.layers = [[nodes[member] for member in members] for members in layers or ()]
    return graph


def names(layers):
    return ["".join(node.id for node in layer) for layer in layers]


class HandMade(unittest.TestCase):
    def test_ports_need_no_list(self):
        graph = by_hand()
        engine.run_phases(graph)
        positions, routes = engine.layout(*FORK)
        self.assertEqual(engine.node_positions(graph), positions)
        self.assertEqual([*engine.edge_routes(graph).values()], [*routes.values()])
        self.assertEqual((engine.graph_extent(graph), engine.count_crossings(graph)),
                         ((564.0, 92.0), 0))
        dummy = graph.nodes[3]
        self.assertEqual((dummy.id, dummy.layer, [port.id for port in dummy.ports]),
                         ("dummy:ac#1", 1, ["dummy:ac#1:in", "dummy:ac#1:out"]))
        self.assertIs(dummy.kind, NodeKind.LONG_EDGE)
        self.assertIs(graph.edges[2].target, dummy.in_ports[0])
        self.assertIs(graph.chains["ac"][1], graph.edges[3])

    def test_ends_outside_the_graph(self):
        outside = LNode("z\0", layer=4)
        graph = by_hand()
        a, b, c = graph.nodes
        graph.edges += [wire("za", outside, a), wire("bz", b, outside)]
        engine.break_cycles(graph)  # a missing id ranks 0, so that b -> z is flipped
        self.assertEqual([edge.reversed for edge in graph.edges], [False] * 4 + [True])
        engine.assign_layers(graph)  # simplex skips them
        self.assertEqual([node.layer for node in (a, b, c, outside)], [0, 1, 2, 4])
        by_paths = by_hand()
        by_paths.edges.append(wire("za", LNode("z", layer=4), by_paths.nodes[0]))
        by_paths.edges.append(wire("az", by_paths.nodes[0], LNode("z")))
        by_paths.options.layering_strategy = "LONGEST_PATH"
        by_paths.nodes += [LNode("d", layer=3), LNode("e", layer=3)]
        by_paths.edges.append(wire("ee", by_paths.nodes[4], by_paths.nodes[4]))
        engine.assign_layers(by_paths)  # z pushes a, e itself, and nothing pushes d
        self.assertEqual([node.layer for node in by_paths.nodes[:5]], [5, 6, 7, 0, 1])

        twin = by_hand()  # an id decides whether a node is in the graph, not the object
        twin.edges[2] = wire("ac", LNode("a"), twin.nodes[2])
        engine.break_cycles(twin)
        self.assertEqual([edge.reversed for edge in twin.edges], [False] * 3)
        twin.edges, twin.chains = [wire("ab", twin.nodes[0], LNode("b", layer=9))], {}
        for place, node in enumerate(twin.nodes):
            node.origin_x = node.origin_y = 130 * place  # each overlaps the next
        twin.options.layering_strategy = twin.options.placement_strategy = "INTERACTIVE"
        engine.assign_layers(twin)
        self.assertEqual([node.layer for node in twin.nodes], [0, 1, 2])

        for strategy in ("SIMPLE", "BRANDES_KOEPF"):
            graph.options.placement_strategy = strategy
            for function in (engine.count_crossings, engine.reduce_crossings, engine.place_nodes,
                             engine.route_edges):
                before = pickle.dumps(graph)
                with self.assertRaises(KeyError) as caught:
                    function(graph)
                self.assertEqual(caught.exception.args, ("z\0",))
                self.assertEqual(pickle.dumps(graph), before)
        with self.assertRaises(KeyError):  # even where no layer could hold a crossing
            engine.count_crossings(LGraph(graph.nodes, graph.edges))
        graph.options.edge_routing = "POLYLINE"
        graph.edges[-1].bend_points = [(1.0, 1.0)]
        engine.route_edges(graph)
        self.assertEqual([edge.bend_points for edge in graph.edges], [[]] * len(graph.edges))

    def test_what_is_not_used_is_not_looked_at(self):
        node = LNode("a", order=3)
        odd = LGraph([node], None, None, None, None, [[node]])
        self.assertEqual((engine.graph_extent(odd), odd.rebuild_layers()), ((0.0, 0.0), None))
        engine.reduce_crossings(odd)
        self.assertEqual(node.order, 0)
        odd.layers = []
        engine.place_nodes(odd)
        odd.options = LayoutOptions()
        engine.route_edges(odd)
        odd.edges, odd.layers = [wire("aa", node, node)], [[node], [LNode("b", layer=1)]]
        odd.edges[0].bend_points = bends = [(1.0, 2.0)]
        engine.route_edges(odd)  # a segment that crosses no gap is not routed
        self.assertIs(odd.edges[0].bend_points, bends)
        odd.edges[0].bend_points = odd.options.edge_routing = odd.layers = None
        engine.route_edges(odd)
        self.assertEqual(odd.edges[0].bend_points, [])

    def test_network_simplex_up_to_the_limit(self):
        for count in (engine.NETWORK_SIMPLEX_NODE_LIMIT, engine.NETWORK_SIMPLEX_NODE_LIMIT + 1):
            # A chain, and a node that hangs on its last node: only the simplex moves it close.
            edges = [{"source": i - 1, "target": i} for i in range(2, count)]
            graph = engine.build_graph([{"id": i} for i in range(count)],
                                       [*edges, {"source": 0, "target": count - 1}],
                                       LayoutOptions(layering_strategy="NETWORK_SIMPLEX"))
            engine.assign_layers(graph)
            self.assertEqual(graph.nodes[0].layer, count - 3 if count == 400 else 0)

    def test_layers_of_other_nodes(self):
        # b stands in no layer: its segments take no part, though the seed walks on through it.
        graph = by_hand("abcdef", ("ab", "be", "ad", "cf"), ["ac", "fed"])
        self.assertEqual(engine.count_crossings(graph), 1)
        stranger = LNode("z", order=7)
        graph.layers[1].insert(1, stranger)
        self.assertEqual(engine.count_crossings(graph), 1)
        graph.options.crossing_strategy = "NONE"
        engine.reduce_crossings(graph)
        self.assertEqual((names(graph.layers), stranger.order), (["ac", "fzed"], 1))
        graph.options.crossing_strategy = "LAYER_SWEEP"
        old = graph.layers
        engine.reduce_crossings(graph)
        self.assertEqual(names(graph.layers), ["ac", "edf"])  # a stranger is left out
        self.assertEqual([node.order for node in graph.nodes], [0, 0, 1, 1, 0, 2])
        self.assertEqual(names(old), ["ac", "fzed"])
        graph.layers[1].append(stranger)
        engine.route_edges(graph)
        self.assertGreater(stranger.x, 0.0)  # moved with its layer
        with self.assertRaises(KeyError):
            engine.place_nodes(graph)
        hollow = by_hand("abcd", ("ac", "ad", "bc", "bd"), ["ab", "cd", *[""] * 9])
        hollow.options.crossing_strategy = "SIFTING"  # more layers than nodes
        engine.reduce_crossings(hollow)
        self.assertEqual((engine.count_crossings(hollow), len(hollow.layers)), (1, 11))
        graph.layers[1].pop()
        graph.nodes[1].x = 500
        engine.place_nodes(graph)
        self.assertEqual((graph.nodes[1].x, graph.nodes[1].y), (500, 24.0))

    def test_splitting_goes_by_ids(self):
        graph = by_hand("ab", ("ab",))
        a, b = graph.nodes
        edge, = graph.edges
        twin = wire("ab", a, b)
        twin.origin_id = "of another"
        stays = wire("ab2", a, b)
        graph.nodes, graph.edges = tuple(graph.nodes), (edge, stays, twin, edge)
        graph.chains = {"key": (edge,), "two": [edge, stays]}
        a.layer, b.layer, edge.origin_id = -1, 1, "other"
        a.origin_x, b.origin_x = 10, 30
        engine.insert_dummy_nodes(graph)
        dummy = graph.nodes[2]
        self.assertEqual((dummy.id, dummy.layer, dummy.origin_x), ("dummy:key#1", 0, 20.0))
        self.assertEqual([each.id for each in graph.edges], ["ab2", "key:seg#2", "key:seg#3"])
        self.assertEqual([each.origin_id for each in graph.edges], ["ab2", "other", "other"])
        self.assertEqual(graph.chains, {"key": graph.edges[1:], "two": [edge, stays]})

    def test_changed_by_hand(self):
        graph = engine.build_graph(*FORK)
        engine.break_cycles(graph)
        engine.assign_layers(graph)
        # The user takes the long edge out and hangs a node of a kind of its own behind c.
        del graph.chains["r"], graph.reversed_originals["r"], graph.edges[2:], graph.nodes[3:]
        c, note = graph.nodes[2], type("Note", (LNode,), {})("note", 10.0, 10.0)
        graph.nodes.append(note)
        graph.edges.append(wire("s", c, note))
        graph.chains["s"] = graph.edges[2:]
        for phase in PHASES:
            getattr(engine, phase)(graph)
        self.assertEqual([[node.id for node in layer] for layer in graph.layers],
                         [["a"], ["b"], ["c"], ["note"]])
        self.assertEqual(list(engine.edge_routes(graph)), ["p", "q", "s"])
        # Phases do not mind a list or an int where they put tuples and floats.
        graph.edges[0].bend_points = [[200, 30.5]]
        self.assertIn((200.0, 30.5), engine.edge_routes(graph)["p"])

    def test_dummies_of_an_empty_chain(self):
        graph = engine.build_graph(*FORK, LayoutOptions(edge_routing="ORTHOGONAL_ORDERED"))
        for phase in PHASES[:-1]:
            getattr(engine, phase)(graph)
        graph.nodes[-1].y += 300.0
        graph.chains["r"].clear()
        engine.route_edges(graph)
        self.assertEqual([len(edge.bend_points) for edge in graph.edges[-2:]], [2, 2])

    def test_refusals_name_the_record_and_the_field(self):
        for change, function, complaint in (
                ("g.edges[0].source.node = LNode('z', layer=-3)", engine.assign_layers,
                 "ValueError: LNode 'dummy:ab#1': layer must be at least 0, not -2"),
                ("g.edges[0].target = g.nodes[1]", engine.break_cycles,
                 "TypeError: LEdge 'ab': target must be LPort, not LNode"),
                ("g.nodes[2].layer = -1", LGraph.rebuild_layers,
                 "ValueError: LNode 'c': layer must be from 0 to 16777216, not -1"),
                ("g.nodes[0].layer = 0.0", engine.insert_dummy_nodes,
                 "TypeError: LNode 'a': layer must be an int, not float"),
                ("g.nodes[0].order = 2**31", engine.assign_layers,
                 "ValueError: LNode 'a': order must be from -2147483647 to"),
                ("g.nodes[1].width = '140'", engine.graph_extent,
                 "TypeError: LNode 'b': width must be a real number, not str"),
                ("g.nodes[1].y = 10**400", engine.node_positions,
                 "ValueError: LNode 'b': y is too large for a float"),
                ("g.nodes[1].origin_y = ()", engine.run_phases,
                 "TypeError: LNode 'b': origin_y must be a real number"),
                ("g.nodes[0].id = 5", engine.break_cycles,
                 "TypeError: LNode 5: id must be a str, not int"),
                ("g.edges[0].source.index = -1", engine.count_crossings,
                 "ValueError: LPort 'ab:o': index must be from 0"),
                ("g.nodes *= 2", engine.run_phases,
                 "ValueError: LNode 'a': appears twice in LGraph.nodes"),
                ("g.nodes += 'd'", engine.graph_extent,
                 "TypeError: LGraph.nodes must hold LNode records, not str"),
                ("g.edges = {}", engine.route_edges,
                 "TypeError: LGraph: edges must be a list, not dict"),
                ("g.options = None", engine.break_cycles,
                 "TypeError: LGraph: options must be LayoutOptions, not NoneType"),
                ("g.options.direction = 'down'", engine.node_positions,
                 "ValueError: LayoutOptions: direction: 'down' is not a valid Direction"),
                ("g.options.padding_top = None", engine.place_nodes,
                 "TypeError: LayoutOptions: padding_top must be a real number, not NoneType"),
                ("g.options.thoroughness = 1.5", engine.reduce_crossings,
                 "TypeError: thoroughness must be an integer"),
                ("g._counter = -1", engine.assign_layers,
                 "ValueError: LGraph: _counter must be from 0"),
                ("g.chains['ab'] = g.edges[0]", engine.edge_routes,
                 "TypeError: LGraph: chains must be a list, not LEdge"),
                ("g.reversed_originals[1] = True", engine.edge_routes,
                 "TypeError: LGraph: reversed_originals must be a dict with str keys, not int"),
                ("g.edges[0].bend_points = [(1, 2), (1, None)]", engine.edge_routes,
                 "TypeError: LEdge 'ab': bend_points must be a list of pairs of real numbers, not NoneType"),
                ("g.layers[2] += g.layers[0]", engine.count_crossings,
                 "ValueError: LNode 'a': appears twice in LGraph.layers"),
                ("g.layers[0][0] = None", engine.reduce_crossings,
                 "TypeError: LGraph.layers must hold LNode records, not NoneType")):
            graph = by_hand(layers=["a", "b", "c"])
            exec(change, {"g": graph, "LNode": LNode})
            before = pickle.dumps(graph)
            with self.subTest(change), self.assertRaises((TypeError, ValueError)) as caught:
                function(graph)
            said = f"{type(caught.exception).__name__}: {caught.exception}"
            self.assertEqual(said[:len(complaint)], complaint)
            self.assertEqual(pickle.dumps(graph), before, change)
        no_list = property(lambda node: (), lambda node, value: None)
        with unittest.mock.patch.object(LNode, "in_ports", no_list, create=True), \
                self.assertRaisesRegex(TypeError, "^LNode 'dummy:ac#1': in_ports must be a list,"):
            engine.assign_layers(by_hand())


RECORDS = {"the graph": "LGraph.", "the graph's": "LGraph.", "nodes": "LNode.", "edges": "LEdge.",
           "ports": "LPort.", "the options": ""}
STRATEGIES = {
    "break_cycles": "GREEDY DEPTH_FIRST INTERACTIVE".split(),
    "assign_layers": "NETWORK_SIMPLEX MINIMUM_LENGTH LONGEST_PATH INTERACTIVE".split(),
    "reduce_crossings": "LAYER_SWEEP SIFTING INTERACTIVE KEEP NONE".split(),
    "place_nodes": "BRANDES_KOEPF SIMPLE NETWORK_SIMPLEX INTERACTIVE".split(),
    "route_edges": "ORTHOGONAL ORTHOGONAL_ORDERED POLYLINE".split(),
}
FIELDS = dict(zip(PHASES, ("cycle_breaking_strategy", "layering_strategy", "crossing_strategy",
                           "placement_strategy", "edge_routing")))


def told(docstring, label, strategy, direction):
    """The fields that the docstring says to be read or written with a strategy under a direction. A
    name with "[]" is that of a container that is changed itself."""
    paragraph = re.search(rf"^ *{label}: (.*?)(\n\n|\Z)", docstring, re.DOTALL | re.MULTILINE)
    fields = set()
    for part in re.split(r"(?=With )", " ".join(paragraph[1].split()) if paragraph else ""):
        condition = re.match(r"With (any but )?(.*?) also:", part)
        if condition and (f'"{strategy}"' in condition[2]) == bool(condition[1]):
            continue
        if condition and "under" in condition[2] and direction not in condition[2]:
            continue
        for into, record, names in re.findall(
                rf"(of|into) ({'|'.join(RECORDS)}) ((?:`\w+`(?:, )?)+)", part):
            fields |= {RECORDS[record] + name + "[]" * (into == "into")
                       for name in re.findall(r"\w+", names)}
    return fields


def records_of(graph):
    """All records of a graph in a fixed order, by the names of their classes."""
    nodes = {id(node): node for layer in [graph.nodes, *graph.layers] for node in layer}
    edges = {id(edge): edge for chain in [graph.edges, *graph.chains.values()] for edge in chain}
    ports = {id(port): port for edge in edges.values() for port in (edge.source, edge.target)}
    return {"LGraph": [graph], "LNode": [*nodes.values()], "LEdge": [*edges.values()],
            "LPort": [*ports.values()]}


class Uses(unittest.TestCase):
    """The docstrings say what each function reads and writes."""

    def cases(self):
        """For each function and strategy a graph on which it has something to do."""
        nodes = [{"id": name, "x": 10 * number, "y": number} for number, name in enumerate("abcdefg")]
        edges = [{"id": joint, "source": joint[0], "target": joint[1]}
                 for joint in ("af", "be", "ad", "bc", "ca", "ef", "ac", "ag", "ab")]
        for function in (*PHASES, "insert_dummy_nodes", "count_crossings", "graph_extent",
                         "node_positions", "edge_routes", "rebuild_layers"):
            run = getattr(engine, function, None) or getattr(LGraph, function)
            for strategy, direction in itertools.product(STRATEGIES.get(function, [""]), Direction):
                options = LayoutOptions(direction, spacing_edge_edge=200.0)
                graph = engine.build_graph(nodes, edges, options)
                if function == "insert_dummy_nodes":
                    for layer, node in enumerate(graph.nodes):
                        node.layer = layer
                else:
                    for phase in itertools.takewhile(lambda phase: phase != function, PHASES):
                        getattr(engine, phase)(graph)
                if strategy:
                    setattr(graph.options, FIELDS[function], strategy)
                yield (f"{function} {strategy} {direction}", run, graph,
                       *(told(run.__doc__, label, strategy, direction)
                         for label in ("Reads", "Writes")))

    def test_what_is_read(self):
        for row, run, graph, reads, writes in self.cases():
            seen = set()

            def watch(record, prefix):
                fields = set(vars(record))

                def get(self, field):
                    if field in fields:
                        seen.add(prefix + field)
                    return object.__getattribute__(self, field)

                record.__class__ = type("Watched", (type(record),), {"__getattribute__": get})

            for kind, records in records_of(graph).items():
                for record in records:
                    watch(record, f"{kind}.")
            options = graph.options
            watch(options, "")
            seen.clear()
            run(graph)
            # A container that is changed itself is looked at for that.
            changed = {name.removesuffix("[]") for name in writes if name.endswith("[]")}
            options_read = {"LGraph.options"} if reads & set(vars(options)) else set()
            self.assertEqual(seen | changed, reads | changed | options_read, row)

    def test_one_phase_at_a_time(self):
        later = PHASES[2:]
        for call, *strategies in itertools.product(load("phases.json"), *map(STRATEGIES.get, later)):
            options = LayoutOptions(**dict(zip(map(FIELDS.get, later), strategies)))
            at_once, by_phases = (engine.build_graph(call["nodes"], call["edges"], options)
                                  for _ in range(2))
            engine.run_phases(at_once)
            for phase in PHASES:
                getattr(engine, phase)(by_phases)
            self.assertEqual(state_of(by_phases), state_of(at_once), (call["name"], strategies))

    def test_what_is_written(self):
        seen = set()
        for row, run, graph, _, writes in self.cases():
            before = [(kind, record, field, value, copy.copy(value))
                      for kind, records in records_of(graph).items() for record in records
                      for field, value in vars(record).items()]
            run(graph)
            changed = set()
            for kind, record, field, value, content in before:
                if getattr(record, field) is not value:
                    changed.add(f"{kind}.{field}")
                if isinstance(value, (list, dict)) and value != content:
                    changed.add(f"{kind}.{field}[]")
            # A small int that is written again is the same object.
            self.assertEqual(changed | (writes & {"LNode.layer", "LNode.order"}), writes, row)
            seen |= changed
        self.assertLessEqual({"LNode.layer", "LNode.order"}, seen)


if __name__ == "__main__":
    unittest.main()
