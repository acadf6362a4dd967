"""Nothing leaks, whichever way a call ends."""

import gc
import sys
import unittest

from quillan.core import vorn_layered as engine

UNCOUNTED = sys.getallocatedblocks() == 0

WIDE = "\u00e9\U0001f600"
NODES = [{"id": "a", "output_ports": [1.0, {"offset": 2, "id": "p"}]}, {"id": WIDE, "x": 1},
         {"id": 3, "input_ports": 2}, {"id": "d"}]
EDGES = [{"source": "a", "target": WIDE, "source_port": 1},
         {"id": "w\ud800", "source": 3, "target": "d"}, {"source": WIDE, "target": 3},
         {"source": "a", "target": "d"}, {"id": 9, "source": "d", "target": "a"}]


class Refusal(Exception):
    """Raised by the caller's own objects."""


class Awkward:
    """Refuses every conversion."""

    def refuse(self, *_):
        raise Refusal

    __str__ = __float__ = __int__ = __bool__ = __iter__ = __index__ = refuse


class Shifting(dict):
    """A mapping that changes its values, itself and its neighbours while it is read."""

    def __init__(self, entries, neighbours):
        super().__init__(entries)
        self.neighbours = neighbours

    def __getitem__(self, key):
        value = super().__getitem__(key)
        self.neighbours.clear()
        self.clear()
        self["id"] = object()
        return value


class Mutable:
    """An offset that empties the list that holds it."""

    def __init__(self, holder):
        self.holder = holder

    def __float__(self):
        self.holder.clear()
        return 1.0


def failing_midway(items):
    yield from items
    raise Refusal


def shifting():
    nodes = []
    nodes += [Shifting({"id": f"{number}", "width": 10.5}, nodes) for number in range(5)]
    edges = [{"source": "0", "target": "1"}]
    engine.layout(nodes, edges)
    ports = []
    ports += [Mutable(ports), Mutable(ports), 5.0]
    engine.layout([{"id": "a", "input_ports": ports}], [])


def refused(call, *arguments, error=Refusal):
    try:
        call(*arguments)
    except error:
        return
    raise AssertionError(f"{call} was not refused")


def refused_payloads():
    awkward = Awkward()
    for key in ("id", "width", "height", "x", "y", "input_ports", "output_ports"):
        refused(engine.layout, [*NODES, {"id": "z", key: awkward}], EDGES)
    for spec in ([1.0, awkward], [{"id": awkward}], [{"offset": awkward}], failing_midway([1.0])):
        refused(engine.build_graph, [*NODES, {"id": "z", "input_ports": spec}], EDGES)
    for key in ("source", "target", "id", "source_port"):
        refused(engine.layout, NODES, [*EDGES, {**EDGES[0], key: awkward}])
    refused(engine.layout, failing_midway(NODES), EDGES)
    refused(engine.layout, NODES, failing_midway(EDGES))
    for bad, error in (({}, KeyError), ({"id": 1, "width": "w"}, ValueError), (5, TypeError)):
        refused(engine.layout, [*NODES, bad], EDGES, error=error)


def phases():
    graph = engine.build_graph(NODES, EDGES)
    engine.run_phases(graph)
    engine.run_phases(graph)
    graph.rebuild_layers()
    graph.next_id("x")
    results = engine.node_positions(graph), engine.edge_routes(graph), engine.graph_extent(graph)
    ports = [(port.x, port.y) for node in graph.nodes for port in node.ports]
    return results, ports, engine.count_crossings(graph), graph.options.resolved()


def refused_writes():
    class Sealed(engine.LNode):
        def __setattr__(self, name, value):
            if name == "y" and hasattr(self, "sealed"):
                graph.nodes, graph.chains = None, 5
                raise Refusal
            super().__setattr__(name, value)

    graph = engine.LGraph([engine.LNode("a"), Sealed("b")])
    graph.nodes[1].sealed = True
    refused(engine.run_phases, graph)


def good():
    for direction in engine.Direction:
        engine.layout(iter(NODES), EDGES, engine.LayoutOptions(direction, True), component_gap=3)
    engine.weakly_connected_components(NODES, EDGES)


WAYS = (good, refused_payloads, shifting, phases, refused_writes)


class References(unittest.TestCase):
    def growth(self, way, rounds):
        """What each of four runs leaves behind at least, once caches and free lists are full."""
        left = []
        for _ in range(4):
            gc.collect()
            before = sys.getallocatedblocks()
            for _ in range(rounds):
                way()
            gc.collect()
            left.append(sys.getallocatedblocks() - before)
        return min(left)

    def test_every_way_can_be_gone_again(self):
        results = phases()
        for way in WAYS * 5:
            way()
            self.assertEqual(phases(), results, way.__name__)

    @unittest.skipIf(UNCOUNTED, "this allocator does not count its blocks")
    def test_allocated_blocks_stay_flat(self):
        for way in WAYS:
            with self.subTest(way.__name__):
                self.assertLess(self.growth(way, 200), 100, "blocks lost, one a round or more")

    @unittest.skipIf(UNCOUNTED, "this allocator does not count its blocks")
    def test_import(self):
        import importlib.util

        def load():
            spec = importlib.util.spec_from_file_location("vorn_layered", engine.__file__)
            module = importlib.util.module_from_spec(spec)
            spec.loader.exec_module(module)
            assert module.layout([{"id": "a"}], [])[0] == {"a": (24.0, 24.0)}

        self.assertLess(self.growth(load, 20), 10)


if __name__ == "__main__":
    unittest.main()
