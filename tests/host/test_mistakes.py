"""What common mistakes are told: Python's own exception, and notes that lead to the item."""

import collections
import dataclasses
import itertools
import unittest

from quillan.core.vorn_layered import LayoutOptions, build_graph, layout, weakly_connected_components

TWO = [{"id": "a", "output_ports": 1}, {"id": "b"}]
WIRE = {"id": "w", "source": "a", "target": "b"}


class Frame:
    """Of a data frame, what the engine asks for: names of columns come out of it."""

    columns = ["id"]

    def __iter__(self):
        return iter(self.columns)

    def to_dict(self, kind):
        return [{"id": 1}]


class Network:
    """The same of a networkx graph: ids of nodes come out of it."""

    nodes = edges = property(lambda self: ())

    def __iter__(self):
        return iter([1, 2])


class Whole:
    """An integer of somebody's own, as NumPy's are."""

    def __index__(self):
        return 3


@dataclasses.dataclass
class Box:
    id: str


Pair = collections.namedtuple("Pair", "source target")


def node(**keys):
    return ([{"id": "a"}, {"id": "x", **keys}], [])


def edge(**keys):
    return (TWO, [{**WIRE, **keys}])


NOT_MAPPING = "nodes and edges must be mappings, not {}"
FLOAT = "could not convert string to float: {!r}"
JSON = "for a str of JSON, pass the result of json.loads"
KEYS = "iterating over a mapping gives its keys; pass a list of mappings, one for each item"
COUNT = "pass an int, the number of ports, or a list of offsets"
NAMES = "a list of ports holds offsets; if your ports have only names, pass how many there are"
MISTAKES = (
    # arguments, type, words, notes
    ((None, []), TypeError, "'NoneType' object is not iterable", ["while reading nodes"]),
    ((TWO, 3), TypeError, "'int' object is not iterable", ["while reading edges"]),
    ((Frame(), []), TypeError, NOT_MAPPING.format("str"),
     ["while reading nodes[0]", "for a DataFrame, pass frame.to_dict('records')"]),
    ((TWO, Frame()), TypeError, NOT_MAPPING.format("str"),
     ["while reading edges[0]", "for a DataFrame, pass frame.to_dict('records')"]),
    ((Network(), []), TypeError, NOT_MAPPING.format("int"),
     ["while reading nodes[0]", "for a networkx graph, pass [{'id': node} for node in graph.nodes] "
      "and [{'source': a, 'target': b} for a, b in graph.edges()]"]),
    (('[{"id": 1}]', []), TypeError, NOT_MAPPING.format("str"), ["while reading nodes[0]", JSON]),
    (({"a": {}}, []), TypeError, NOT_MAPPING.format("str"), ["while reading nodes[0]", KEYS]),
    ((["a", "b"], []), TypeError, NOT_MAPPING.format("str"),
     ["while reading nodes[0]", "for just an id, pass {'id': id}"]),
    (([Frame()], []), TypeError, NOT_MAPPING.format("Frame"),
     ["while reading nodes[0]", "for a row of a DataFrame, pass row.to_dict()"]),
    (([Box("a")], []), TypeError, NOT_MAPPING.format("Box"),
     ["while reading nodes[0]", "for a dataclass, pass dataclasses.asdict(item)"]),
    ((TWO, [WIRE, ("a", "b")]), TypeError, NOT_MAPPING.format("tuple"),
     ["while reading edges[1]", "for a pair, pass {'source': pair[0], 'target': pair[1]}"]),
    ((TWO, {("a", "b"): 1}), TypeError, NOT_MAPPING.format("tuple"),
     ["while reading edges[0]", "for a pair, pass {'source': pair[0], 'target': pair[1]}"]),
    ((TWO, [Pair("a", "b")]), TypeError, NOT_MAPPING.format("Pair"),
     ["while reading edges[0]", "for a named tuple, pass item._asdict()"]),
    ((TWO, [3]), TypeError, NOT_MAPPING.format("int"), ["while reading edges[0]"]),
    (([*TWO * 250, {"name": "c"}], []), KeyError, "'id'", ["while reading nodes[500], key 'id'"]),
    (([{"source": "a", "target": "b"}], TWO), KeyError, "'id'",
     ["while reading nodes[0], key 'id'",
      "this looks like an edge; pass the nodes first, then the edges"]),
    (node(width="200px"), ValueError, FLOAT.format("200px"),
     ["while reading nodes[1] (id 'x'), key 'width'"]),
    (node(height=[40]), TypeError, "float() argument must be a string or a real number, not 'list'",
     ["while reading nodes[1] (id 'x'), key 'height'"]),
    (node(id=7, x="left", y=1), ValueError, FLOAT.format("left"),
     ["while reading nodes[1] (id 7), key 'x'"]),
    (node(width=10**400), OverflowError, "int too large to convert to float",
     ["while reading nodes[1] (id 'x'), key 'width'"]),
    (node(input_ports=["image", "mask"]), ValueError, FLOAT.format("image"),
     ["while reading nodes[1] (id 'x'), key 'input_ports', item 0", NAMES]),
    (node(output_ports="in"), ValueError, FLOAT.format("i"),
     ["while reading nodes[1] (id 'x'), key 'output_ports', item 0", NAMES]),
    (node(output_ports=2.0), TypeError, "'float' object is not iterable",
     ["while reading nodes[1] (id 'x'), key 'output_ports'", COUNT]),
    (node(input_ports=[1, {"offset": None}]), TypeError,
     "float() argument must be a string or a real number, not 'NoneType'",
     ["while reading nodes[1] (id 'x'), key 'input_ports', item 1, key 'offset'",
      "leave out 'offset' to get the middle of the side"]),
    (node(input_ports=10**9), MemoryError,
     "too many ports: at most 1048576 on a side of a node and 16777216 in a graph",
     ["while reading nodes[1] (id 'x'), key 'input_ports'"]),
    (edge(source_port=float("inf")), OverflowError, "cannot convert float infinity to integer",
     ["while reading edges[0] (id 'w'), key 'source_port'"]),
    ((TWO, [], {"direction": "UP"}), TypeError, "options must be a LayoutOptions or None, not dict",
     ["for a dict of options, pass LayoutOptions(**options)"]),
    ((TWO, [], LayoutOptions), TypeError, "options must be a LayoutOptions or None, not type",
     ["pass an instance, LayoutOptions(...)"]),
    ((TWO, [], "UP"), TypeError, "options must be a LayoutOptions or None, not str",
     ["for a direction, pass LayoutOptions(direction=...)"]),
    ((TWO, [], LayoutOptions("down")), ValueError,
     "LayoutOptions: direction: 'down' is not a valid Direction",
     ["the directions are RIGHT, LEFT, DOWN and UP, in capitals"]),
    ((TWO, [], None, 80), TypeError, "layout() takes at most 3 positional arguments (4 given)",
     ["pass component_gap by keyword: component_gap=..."]),
)


class Mistakes(unittest.TestCase):
    def assert_told(self, call, kind, words, notes):
        with self.assertRaises(kind) as caught:
            call()
        self.assertIs(type(caught.exception), kind)
        self.assertEqual((str(caught.exception), getattr(caught.exception, "__notes__", [])),
                         (words, notes))

    def test_common_mistakes(self):
        for (arguments, *told), call in itertools.product(MISTAKES, (layout, build_graph)):
            if call is layout or len(arguments) < 4:
                with self.subTest(call=call.__name__, arguments=arguments):
                    self.assert_told(lambda: call(*arguments), *told)

    def test_keywords(self):
        with self.assertRaises(TypeError) as caught:  # in words that depend on Python's version
            layout(TWO, [], direction="UP")
        self.assertEqual(caught.exception.__notes__, [
            "pass options as LayoutOptions: layout(nodes, edges, LayoutOptions(direction=...))"])
        self.assert_told(lambda: layout(TWO, [], component_gap="80"), TypeError,
                         "must be real number, not str",
                         ["while reading the argument component_gap"])

    def test_the_third_reader_of_payloads(self):
        self.assert_told(lambda: weakly_connected_components(TWO, [("a", "b")]), TypeError,
                         NOT_MAPPING.format("tuple"), [
                             "while reading edges[0]",
                             "for a pair, pass {'source': pair[0], 'target': pair[1]}"])

    def test_exceptions_of_the_callers_own(self):
        class Nameless:
            def __str__(self):
                raise LookupError("mine")

        def broken():
            yield 4
            raise LookupError("mine")

        self.assert_told(lambda: layout(TWO, [{"source": Nameless()}]), LookupError, "mine",
                         ["while reading edges[0], key 'source'"])
        self.assert_told(lambda: layout([{"id": Nameless()}], []), LookupError, "mine",
                         ["while reading nodes[0], key 'id'"])
        self.assert_told(lambda: layout(*node(input_ports=broken())), LookupError, "mine",
                         ["while reading nodes[1] (id 'x'), key 'input_ports'"])

    def test_integers_of_other_libraries_count_ports(self):
        class Offsets(list):
            """Like an array, which has __index__ and is a list of offsets nevertheless."""
            __index__ = Whole.__index__

        for given, same in ((Whole(), 3), (Offsets([5.0, 9.0]), [5.0, 9.0])):
            made, wanted = (build_graph(*node(input_ports=ports)).nodes[1].in_ports
                            for ports in (given, same))
            self.assertEqual([port.offset for port in made], [port.offset for port in wanted])


if __name__ == "__main__":
    unittest.main()
