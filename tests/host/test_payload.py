"""What a caller may hand to `layout` and `build_graph`, and what becomes of it."""

import collections
import copy
import enum
import fractions
import functools
import gc
import json
import random
import types
import unittest
from collections.abc import Mapping

from quillan.core.vorn_layered import (
    Direction, LayoutOptions, build_graph, layout, weakly_connected_components)

INFINITE = float("inf")

PAIR = [{"id": "a"}, {"id": "b"}]
WIRE = [{"id": "wire", "source": "a", "target": "b"}]
PAIR_RESULT = ({"a": (24.0, 24.0), "b": (224.0, 24.0)}, {"wire": [(164.0, 52.0), (224.0, 52.0)]})


def node_of(direction="RIGHT", **fields):
    return build_graph([{"id": "n", **fields}], [], LayoutOptions(direction)).nodes[0]


class ReadOnly(Mapping):
    """A mapping that is no dict."""

    def __init__(self, entries):
        self.entries = entries

    def __getitem__(self, key):
        return self.entries[key]

    def __iter__(self):
        return iter(self.entries)

    def __len__(self):
        return len(self.entries)


class Values(unittest.TestCase):
    def test_sizes_go_by_truth(self):
        for value in (None, 0, 0.0, "", [], {}, False):
            node = node_of(width=value, height=value)
            self.assertEqual((node.width, node.height), (140.0, 56.0), value)
        for value, real in (("0", 0.0), (" 1e2 ", 100.0), (True, 1.0), (-20, -20.0),
                            (fractions.Fraction(1, 4), 0.25), (2**53 + 1, 2.0**53)):
            self.assertEqual(node_of(width=value).width, real, value)

    def test_ids_of_integers_are_decimal(self):
        class Kind(int, enum.Enum):
            BLUR = 7
            FAR = -(10 ** 5000)

        for value, text in ((Kind.BLUR, "7"), (True, "True"), (10 ** 5000 + 12, f"1{'0' * 4998}12"),
                            (Kind.FAR, f"-1{'0' * 5000}")):
            positions, routes = layout([{"id": value}, {"id": "to"}],
                                       [{"source": text, "target": "to", "id": value}])
            self.assertEqual(([*positions], [*routes]), ([text, "to"], [text]))

    def test_positions_go_by_presence(self):
        self.assertEqual((node_of().origin_x, node_of(x=None).origin_x), (None, None))
        for value, real in ((0, 0.0), (False, 0.0), ("0", 0.0), (" -7.5", -7.5)):
            node = node_of(x=value)
            self.assertEqual((node.origin_x, node.origin_y), (real, None), value)

    def test_transposed(self):
        fields = {"width": 100, "height": 40, "x": 10, "y": 20, "input_ports": 3}
        for direction, size, origin, offsets in (
                ("RIGHT", (100.0, 40.0), (10.0, 20.0), [10.0, 20.0, 30.0]),
                ("LEFT", (100.0, 40.0), (10.0, 20.0), [10.0, 20.0, 30.0]),
                ("DOWN", (40.0, 100.0), (20.0, 10.0), [25.0, 50.0, 75.0]),
                ("UP", (40.0, 100.0), (20.0, 10.0), [25.0, 50.0, 75.0])):
            node = node_of(direction, **fields)
            self.assertEqual((node.width, node.height), size, direction)
            self.assertEqual((node.origin_x, node.origin_y), origin, direction)
            self.assertEqual([port.offset for port in node.in_ports], offsets, direction)

    def test_interactive_layout_keeps_its_columns(self):
        nodes = [{"id": name} for name in "abcd"]
        edges = [{"source": source, "target": target} for source, target in ("ab", "bc", "ad")]
        for direction in Direction:
            positions, _ = layout(nodes, edges, LayoutOptions(direction))
            # d could stand beside b; the user has moved it beside c.
            column = positions["c"][direction.is_transposed]
            moved = [{"id": name, "x": x, "y": y} for name, (x, y) in positions.items()]
            moved[3]["y" if direction.is_transposed else "x"] = column
            again, _ = layout(moved, edges, LayoutOptions(direction, interactive=True))
            axis = int(direction.is_transposed)
            self.assertEqual([again[name][axis] for name in "abcd"],
                             [positions[name][axis] for name in "abcc"], direction)

    def test_port_specs(self):
        for spec in (None, 0, -3, False, [], {}, ""):
            self.assertEqual(node_of(input_ports=spec).in_ports, [], spec)
        listed = [12.5, {"offset": 3}, {"id": "mine"}, {"id": 0, "offset": "4"}]
        for spec in (listed, tuple(listed), iter(listed)):
            ports = node_of(output_ports=spec).out_ports
            self.assertEqual(
                [(port.id, port.index, port.offset) for port in ports],
                [("n:out:0", 0, 12.5), ("n:out:1", 1, 3.0), ("mine", 2, 28.0), ("n:out:3", 3, 4.0)])
        for spec, offsets in ((True, [28.0]), ("123", [1.0, 2.0, 3.0]), ({"7": None}, [7.0])):
            ports = node_of(input_ports=spec).in_ports
            self.assertEqual([port.offset for port in ports], offsets, spec)

    def test_port_indexes(self):
        nodes = [{"id": "a", "output_ports": 3}, {"id": "b"}]
        for asked, got in ((0, 0), (2, 2), (3, 0), (-1, 0), (1.9, 1), ("1", 1), (" 2 ", 2),
                           ("1.5", 0), ("x", 0), (None, 0), ([], 0), (True, 1), (10**30, 0),
                           (float("nan"), 0)):
            edge = {"source": "a", "target": "b", "source_port": asked, "target_port": INFINITE}
            made = build_graph(nodes, [edge]).edges[0]
            self.assertEqual(made.source.id, f"a:out:{got}", asked)
            # No index matters on a side without ports, so none is converted.
            self.assertEqual((made.target.id, made.target.offset), ("b:in:auto", 28.0))


class Identifiers(unittest.TestCase):
    def test_any_text_survives(self):
        texts = ["", "\0", "a\0b", "\u00e9", "e\u0301", "\U0001f600", "\ud83d\ude00", "\ud800",
                 "\udfff", "x" * 1000]
        nodes = [{"id": text} for text in texts]
        edges = [{"id": f"{a}>{b}", "source": a, "target": b} for a, b in zip(texts, texts[1:])]
        positions, routes = layout(nodes, edges)
        self.assertEqual(list(positions), texts)
        self.assertEqual(list(routes), [edge["id"] for edge in edges])
        self.assertTrue(all(key is text for key, text in zip(positions, texts)))
        self.assertTrue(all(key is edge["id"] for key, edge in zip(routes, edges)))
        self.assertEqual(len({x for x, _ in positions.values()}), len(texts), "one chain of layers")

    def test_text_form_matches_ids(self):
        class Name(str):
            def __str__(self):
                return "not asked for"

        ids = [7, Name("n"), None, 1.5, (1, 2), b"x"]
        texts = ["7", "n", "None", "1.5", "(1, 2)", "b'x'"]
        positions, routes = layout([{"id": each} for each in ids],
                                   [{"id": each, "source": each, "target": "7"} for each in ids])
        self.assertEqual(list(positions), texts)
        self.assertEqual({type(key) for key in positions}, {str})
        self.assertEqual(list(routes), ["n", "e2", "1.5", "(1, 2)", "b'x'"])

    def test_default_edge_ids_count_in_the_whole_list(self):
        nodes = [{"id": number} for number in range(4)]
        edges = [{"source": 0, "target": 9}, {"source": 2, "target": 3}, {"source": 0, "target": 0},
                 {"source": 0, "target": 1, "id": ""}]
        self.assertEqual(list(layout(nodes, edges)[1]), ["e3", "e1"])
        parts = weakly_connected_components(nodes, edges)
        self.assertEqual([list(build_graph(*part).chains) for part in parts], [["e1"], ["e0"]])

    def test_equal_ids(self):
        nodes = [{"id": "a"}, {"id": "b"}, {"id": "a", "width": 99}]
        parts = weakly_connected_components(nodes, [])
        self.assertEqual(parts, [([nodes[2]], []), ([nodes[1]], [])])
        self.assertIs(parts[0][0][0], nodes[2])
        graph = build_graph(nodes, [{"source": "a", "target": "b"}, {"source": "a", "target": "b"}])
        self.assertEqual([node.id for node in graph.nodes], ["a", "b", "a"])
        self.assertIs(graph.edges[1].source_node, graph.nodes[2])
        self.assertIs(graph.edges[1].source, graph.edges[0].source)
        twins = build_graph(PAIR, WIRE * 2)
        self.assertEqual(twins.chains, {"wire": [twins.edges[1]]})


class Containers(unittest.TestCase):
    def test_any_mapping(self):
        kinds = (types.MappingProxyType, collections.UserDict, collections.ChainMap, ReadOnly,
                 collections.OrderedDict, lambda entries: collections.defaultdict(int, entries))
        for kind in kinds:
            nodes = [kind({**node, "output_ports": [kind({"offset": 28})]}) for node in PAIR]
            edges = [kind(edge) for edge in WIRE]
            sizes = [*map(len, nodes + edges)]
            self.assertEqual(layout(nodes, edges), PAIR_RESULT, kind)
            self.assertEqual([*map(len, nodes + edges)], sizes, "nothing is added")
            self.assertIs(weakly_connected_components(nodes, edges)[0][0][1], nodes[1])

    def test_keys_wherever_a_dict_has_them(self):
        rng = random.Random(1)
        nodes = [{"id": f"{i}", "width": 50 + i, "height": 9 * i, "input_ports": i % 3,
                  "output_ports": 1 + i % 4} for i in range(60)]
        edges = [{"source": f"{i}", "target": f"{i + step}", "id": f"{i}.{step}",
                  "source_port": i % 4, "target_port": i % 3} for step in (1, 5) for i in range(50)]

        def arranged(mapping):
            made = dict(rng.sample([*mapping.items(), ("other", {})], len(mapping) + 1))
            made = json.loads(json.dumps(made)) if rng.random() < 0.5 else made
            for key in [key for key in made if made[key] == 0]:
                del made[key]
            return made

        expected = layout(nodes, edges)
        for _ in range(20):
            self.assertEqual(layout([*map(arranged, nodes)], [*map(arranged, edges)]), expected)

    def test_values_are_not_made_up(self):
        class Keen(collections.UserDict):
            def __missing__(self, key):
                self[key] = 7
                return 7

        class Loose(Keen):  # says that it has every key
            __contains__ = Mapping.__contains__

        class Own(dict):
            def __missing__(self, key):
                return 7

        for kind in (Keen, Loose, Own, functools.partial(collections.defaultdict, lambda: 7),
                     lambda *entries: collections.ChainMap(collections.defaultdict(int, *entries))):
            without = kind()
            for call in (layout, build_graph, weakly_connected_components):
                self.assertRaisesRegex(KeyError, "^'id'$", call, [without], [])
            node, edge, port = kind({"id": 7, "input_ports": [kind()]}), kind(), kind()
            node["output_ports"] = [port]
            made = build_graph([node], [edge, {"source": 7}]).nodes[0]
            self.assertEqual((made.width, made.height, made.origin_x), (140.0, 56.0, None))
            self.assertEqual([(each.id, each.offset) for each in made.ports],
                             [("7:in:0", 28.0), ("7:out:0", 28.0)])
            self.assertEqual([*map(len, (without, node, edge, port))], [0, 3, 0, 0])

    def test_any_iterable(self):
        for nodes, edges in ((tuple(PAIR), iter(WIRE)), (collections.deque(PAIR), map(dict, WIRE)),
                             ({1: PAIR[0], 2: PAIR[1]}.values(), (edge for edge in WIRE))):
            self.assertEqual(layout(nodes, edges), PAIR_RESULT)

    def test_call_inside_a_call(self):
        class Nosy(dict):
            def __getitem__(self, key):
                calls.append(layout(PAIR, WIRE) == PAIR_RESULT)
                return super().__getitem__(key)

        calls = []

        self.assertEqual(layout(map(Nosy, PAIR), map(Nosy, WIRE)), PAIR_RESULT)
        self.assertEqual(calls, [True] * 5)

    def test_containers_are_out_of_reach(self):
        """The caller's code can come by lists through the collector, the engine's own too."""
        class Vandal:
            def __str__(self):
                for found in gc.get_referrers(nodes[0]):
                    if isinstance(found, list) and found is not nodes:
                        found.clear()
                return "v"

        nodes = [{"id": Vandal()}, *({"id": number} for number in range(100))]
        edges = [{"id": Vandal(), "source": 0, "target": 1} for _ in range(2)]
        self.assertEqual(len(layout(nodes, edges)[0]), 101)
        self.assertEqual(len(build_graph(nodes, edges).nodes), 101)
        self.assertEqual(len(weakly_connected_components(nodes, edges)), 100)

    def test_results(self):
        self.assertEqual(layout([], WIRE), ({}, {}))
        self.assertEqual([layout([{"id": 1}], [], LayoutOptions(direction))[0]["1"]
                          for direction in Direction],
                         [(24.0, 24.0), (0.0, 24.0), (24.0, 24.0), (24.0, 0.0)])
        self.assertEqual(layout(PAIR, [], component_gap=-10)[0],
                         {"a": (24.0, 24.0), "b": (24.0, 70.0)})
        payload = copy.deepcopy((PAIR, WIRE))
        positions, routes = layout(*payload, LayoutOptions("UP"))
        self.assertEqual((positions, routes), ({"a": (24.0, 116.0), "b": (24.0, 0.0)},
                                               {"wire": [(94.0, 116.0), (94.0, 56.0)]}))
        self.assertEqual(payload, (PAIR, WIRE))


class Reading(unittest.TestCase):
    """What is read at all, and in which order."""

    def test_what_nothing_depends_on_is_not_read(self):
        class Untouchable:
            def __bool__(self):
                raise AssertionError("read")

            __str__ = __float__ = __int__ = __iter__ = __bool__

        bad = Untouchable()
        twins = [{"id": "a", "width": bad, "output_ports": bad}, *PAIR]
        skipped = [{"source": "a", "target": end, "id": bad, "source_port": bad} for end in "ax"]
        unasked = {**WIRE[0], "source_port": bad, "target_port": bad, "width": bad}
        self.assertEqual(layout(twins, [*skipped, unasked]), PAIR_RESULT)
        # The first edge has made a port, so that the second asks for one of those there are.
        self.assertRaises(OverflowError, layout, PAIR, [*WIRE, {**WIRE[0], "source_port": INFINITE}])

    def test_order(self):
        class Watched(Mapping):
            def __init__(self, **entries):
                self.entries = entries

            def __contains__(self, key):
                log.append(f"{self.entries['id']}.{key}")
                return key in self.entries

            def __getitem__(self, key):
                return self.entries[key]

            __len__ = __iter__ = None

        log = []
        nodes = [Watched(id=name) for name in "abc"]
        edges = [Watched(id="e", source="b", target="c"), Watched(id="f", source="c", target="a")]
        layout([*nodes[:2], {"id": "d", "input_ports": [Watched(id="p")]}, nodes[2]], edges)
        rest = ("width", "height", "x", "y", "input_ports", "output_ports")
        self.assertEqual(log, ["a.id", "b.id", "c.id", "e.source", "e.target", "f.source",
                               "f.target", *(f"{node}.{key}" for node in "abc" for key in rest),
                               "e.id", "f.id", "p.id", "p.offset"])
        for direction, message in (("RIGHT", "'x'"), ("UP", "'y'")):
            with self.assertRaisesRegex(ValueError, message):
                layout([{"id": 1, "x": "x", "y": "y"}], [], LayoutOptions(direction))


class Arguments(unittest.TestCase):
    def test_arguments(self):
        self.assertRaises(TypeError, layout, [], [], LayoutOptions(direction=1))
        self.assertRaises(TypeError, layout, [], [], LayoutOptions(padding_top="1"))
        self.assertRaises(TypeError, layout, PAIR)
        self.assertRaises(TypeError, layout, PAIR, WIRE, gap=1)
        self.assertRaises(TypeError, layout, PAIR, WIRE, component_gap=None)
        for direction in ("DOWN", Direction.DOWN):
            self.assertEqual(layout(nodes=PAIR, edges=WIRE, options=LayoutOptions(direction))[0],
                             {"a": (24.0, 24.0), "b": (24.0, 140.0)})


if __name__ == "__main__":
    unittest.main()
