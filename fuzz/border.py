"""Random testing of the module's Python border: `python3 fuzz/border.py SECONDS [SEED [CASE]]`.

Makes calls of every public function with arguments that no caller should pass. Each call must return
or raise an ordinary exception, do the same again when repeated, leak no memory, leave a graph that it
refuses as it was, and leave the module working. After a crash, a hang or a broken rule, the number of
the case is printed; given as CASE with the same SEED, it is run alone.
"""

import collections
import dataclasses
import decimal
import faulthandler
import fractions
import gc
import itertools
import math
import mmap
import os
import random
import re
import resource
import signal
import struct
import sys
import time
import types

from quillan.core import vorn_layered as engine

HANG = 60  # seconds for one case with all its repetitions
PEAK = 1 << 20  # KiB of memory, whatever was asked for
REPEATS = 20
ADDRESS = re.compile(r" at 0x[0-9a-f]+")

GOOD = ([{"id": "a"}, {"id": "b"}, {"id": "c"}],
        [{"id": i, "source": i[0], "target": i[1]} for i in ("ab", "bc", "ac")])
KNOWN = engine.layout(*GOOD)
assert KNOWN[1]["ac"][:3] == [(164.0, 52.0), (194.0, 52.0), (194.0, 92.0)]

NODE_KEYS = ("id", "width", "height", "x", "y", "input_ports", "output_ports")
EDGE_KEYS = ("id", "source", "target", "source_port", "target_port")
TEXTS = ("", "7", " 12.5 ", "nan", "1e999", "x", "\ud800", "a\0b", "é", "n1", "ORTHOGONAL", "UP")
REALS = (0.0, -0.0, 0.5, -7.0, 1e20, 1e308, -1e308, 5e-324, math.inf, -math.inf, math.nan)
INTEGERS = (0, 1, 2, 7, -1, 2**31, 2**63, -(2**63) - 1, 10**9, 10**30, -(10**30), 10**400)
STRATEGIES = ("AUTO", "GREEDY", "DEPTH_FIRST", "INTERACTIVE", "NETWORK_SIMPLEX", "LONGEST_PATH",
              "MINIMUM_LENGTH", "LAYER_SWEEP", "SIFTING", "KEEP", "NONE", "BRANDES_KOEPF", "SIMPLE",
              "ORTHOGONAL", "ORTHOGONAL_ORDERED", "POLYLINE")
PHASES = ("break_cycles", "assign_layers", "reduce_crossings", "place_nodes", "route_edges")
GRAPH_CALLS = (*PHASES, "run_phases", "insert_dummy_nodes", "count_crossings", "graph_extent",
               "node_positions", "edge_routes", "_rebuild_layers")
ARGUMENTS = {"nodes", "edges", "options", "component_gap", "graph"}
MADE = (engine.LNode, engine.LEdge, engine.LPort)
PROTOCOLS = ("str", "repr", "float", "int", "index", "bool", "iter", "next", "len", "getitem", "contains",
             "hash", "eq", "length_hint", "call")


def odd_values():
    """New ones every time, since a case may change them."""
    return (*TEXTS, *REALS, *INTEGERS, None, True, False, b"3", 3j, (), [], {}, [1, 2.5], (None,),
            object(), {"offset": None}, [{"id": 0, "offset": "5"}], range(5), len, int, ...,
            fractions.Fraction(7, 3), decimal.Decimal("1.5"), decimal.Decimal("sNaN"),
            engine.Direction.UP, engine.LNode("a"))


def empty_what_is_made():
    """Empties what others can see of a call in progress: its keywords and the lists it makes."""
    for each in gc.get_objects():
        if type(each) is dict and 0 < len(each) < 5 and ARGUMENTS.issuperset(each):
            each.clear()
        elif type(each) is list and any(type(item) in MADE for item in each):
            each.clear()


def meddling(call, rng):
    """The call, with a profiler that empties what it makes while its records are made."""
    def profile(frame, event, _):
        if event == "return" and frame.f_code.co_name == "__init__" and rng.random() < 0.2:
            empty_what_is_made()

    def meddled():
        sys.setprofile(profile)
        try:
            return call()
        finally:
            sys.setprofile(None)

    return meddled


class Stop(BaseException):
    """Not an Exception, so that nobody swallows it."""


class Acts:
    """An object whose every protocol first does `action` and then gives what that gave."""

    def __init__(self, action):
        self.action = action

    def get(self, *_):
        return self.action()

    for name in PROTOCOLS:
        locals()[f"__{name}__"] = get


class AMapping(Acts, collections.abc.Mapping):
    """The same, and taken for a mapping."""


# The same, and taken for what they say they are by a check that asks `__class__`.
POSERS = [type("Poser", (Acts,), {"__class__": each}) for each in (list, dict)]


class Shifty(engine.LNode):
    """A node that acts while it is read."""

    def __getattribute__(self, name):
        if name == "height":
            object.__getattribute__(self, "action")()
        return object.__getattribute__(self, name)


class Case:
    """Draws all objects of one call; `victims` are lists and dicts that odd objects may change."""

    def __init__(self, seed):
        self.rng = random.Random(seed)
        self.odds = odd_values()
        self.victims = []
        self.acts = False

    def chance(self, share):
        return self.rng.random() < share

    def action(self):
        """What an odd object does when it is looked at."""
        self.acts = True
        error = self.rng.choice((ValueError, TypeError, KeyError, MemoryError, StopIteration,
                                 RecursionError, Stop))("on purpose")
        value = self.rng.choice(self.odds)
        victim = self.rng.choice(self.victims) if self.victims else []

        def fail():
            raise error

        def meddle():
            empty_what_is_made()
            return value

        def change():
            victim.clear()
            gc.collect()
            return value

        def grow():
            if len(victim) < 50:
                victim.update(odd=1) if isinstance(victim, dict) else victim.append(value)
            return value

        def reenter():
            engine.layout(*GOOD)
            return value

        return self.rng.choice((fail, change, grow, reenter, meddle, lambda: value))

    def odd(self):
        if self.chance(0.7):
            return self.rng.choice(self.odds)
        return self.rng.choice((Acts, AMapping, *POSERS))(self.action())

    def length(self):
        return self.rng.choice(REALS) if self.chance(0.05) else self.rng.randrange(1, 400) / 4

    def mapping(self, mapping):
        """The same mapping as another type."""
        self.victims.append(mapping)
        if self.chance(0.8):
            return mapping
        wrap = (types.MappingProxyType, collections.UserDict, collections.ChainMap,
                collections.OrderedDict)
        return self.rng.choice(wrap)(mapping)

    def container(self, items):
        """The same items as another iterable, which may fail or change something halfway."""
        self.victims.append(items)
        if self.chance(0.7):
            return items
        action, at = self.action(), self.rng.randrange(5)

        def generator():
            for number, item in enumerate(items):
                if number == at:
                    action()
                yield item

        plain = (tuple(items), iter(items), dict(enumerate(items)).values(), collections.deque(items))
        return self.odd() if self.chance(0.1) else self.rng.choice((*plain, generator()))

    def payload(self, oddities):
        rng, count = self.rng, self.rng.randrange(1, 10)
        ports = (-1, 0, 1, 2, 5, [1.0, {"offset": 7}], self.rng.choice((3000, 300, 70)) if self.chance(0.03) else 3)
        nodes = [{"id": f"n{i}", "width": self.length(), "height": self.length(), "x": self.length(),
                  "y": self.length(), "input_ports": rng.choice(ports),
                  "output_ports": rng.choice(ports)} for i in range(count)]
        edges = [{"source": f"n{rng.randrange(count)}", "target": f"n{rng.randrange(count)}",
                  "source_port": rng.randrange(4), "target_port": rng.randrange(4)}
                 for _ in range(rng.randrange(2 * count))]
        self.victims += [nodes, edges, *nodes]
        mappings = nodes + edges
        for _ in range(oddities):
            mapping = rng.choice(mappings)
            mapping[rng.choice(NODE_KEYS if "width" in mapping else EDGE_KEYS)] = (
                itertools.repeat(1.0) if self.chance(0.01) else self.odd())  # ports without end
            if self.chance(0.1):
                rng.choice((nodes, edges)).append(self.odd())
        return [self.mapping(node) if type(node) is dict else node for node in nodes], edges

    def options(self, oddities):
        options = engine.LayoutOptions()
        for field in dataclasses.fields(options):
            if field.name == "direction":
                setattr(options, field.name, self.rng.choice(list(engine.Direction)))
            elif field.type == "str" or field.type is str:
                setattr(options, field.name, self.rng.choice(STRATEGIES))
            elif self.chance(0.2):
                value = self.rng.choice(INTEGERS) if field.name == "thoroughness" else self.length()
                setattr(options, field.name, value)
        for _ in range(oddities):
            setattr(options, self.rng.choice(dataclasses.fields(options)).name, self.odd())
        return options

    def graph(self):
        """A graph as some phase left it, then made to contradict itself."""
        nodes, edges = Case(self.rng.random()).payload(0)
        graph = engine.build_graph(nodes, edges, self.options(0))
        if type(graph.options.thoroughness) is int:
            for phase in PHASES[: self.rng.randrange(6)]:
                getattr(engine, phase)(graph)
        for _ in range(self.rng.randrange(4)):
            self.corrupt(graph)
        return graph

    def corrupt(self, graph):
        rng = self.rng
        nodes = [node for node in graph.nodes if isinstance(node, engine.LNode)]
        ports = [port for node in nodes if type(node.in_ports) is type(node.out_ports) is list
                 for port in node.ports if isinstance(port, engine.LPort)]
        edges = [edge for edge in graph.edges if isinstance(edge, engine.LEdge)]
        lists = [graph.nodes, graph.edges, graph.layers, *graph.layers, *graph.chains.values(),
                 graph.chains, graph.reversed_originals]
        self.victims = [each for each in lists if type(each) in (list, dict)]
        some = rng.choice(nodes + ports + edges + [graph, graph.options])
        kind = rng.randrange(5)
        if kind == 0 and some is not graph:
            setattr(some, rng.choice(dataclasses.fields(some)).name, self.odd())
        elif kind == 1:  # a value of the right type
            values = {"layer": rng.randrange(-1, 60), "order": rng.randrange(-5, 9), "index": 300,
                      "kind": rng.choice(list(engine.NodeKind)), "x": self.length(),
                      "side": rng.choice(list(engine.PortSide)), "node": rng.choice(nodes or [None]),
                      "reversed": True, "origin_id": "e1", "bend_points": [(1.0, self.odd())]}
            values |= {"source": rng.choice(ports), "target": rng.choice(ports)} if ports else {}
            names = [field.name for field in dataclasses.fields(some) if field.name in values]
            if names:
                name = rng.choice(names)
                setattr(some, name, values[name])
        elif kind == 2 and ports:  # an edge that no import would make
            ends = rng.choice(ports), rng.choice(ports)
            made = engine.LEdge("made", *ends, rng.choice(("e0", "e1", "made")))
            graph.edges.append(made)
            chain = graph.chains.setdefault(rng.choice(("e0", "e1", "made")), [])
            if type(chain) is list:
                chain.append(made)
        elif kind == 3:  # something is missing, stands twice, elsewhere or is not what it should be
            victim = rng.choice(self.victims)
            keys = list(victim) if type(victim) is dict else range(len(victim))
            if keys:
                key, other = rng.choice(keys), rng.choice(keys)
                victim[key] = rng.choice((victim[other], victim[other], self.odd()))
                if self.chance(0.5):
                    del victim[other]
                if self.chance(0.2):
                    victim.clear()
        elif nodes and self.chance(0.3):
            node = rng.choice(nodes)
            node.__class__, node.action = Shifty, self.action()

    def make(self):
        """A call: a function without arguments, and the graph that it works on or None."""
        kind, some = self.rng.random(), self.rng.choice((0, 0, 1, 2, 3))
        if kind < 0.45:
            nodes, edges = self.payload(some)
            options = self.odd() if self.chance(0.03) else self.options(self.chance(0.2))
            gap = self.odd() if self.chance(0.1) else self.length()
            arguments = self.container(nodes), self.container(edges)
            named = {**dict(zip(("nodes", "edges"), arguments)), "options": options}
            if self.chance(0.4):
                return lambda: engine.layout(**named, component_gap=gap), None
            if self.chance(0.6):
                return lambda: engine.layout(*arguments, options, component_gap=gap), None
            if self.chance(0.5):
                return lambda: engine.build_graph(*arguments, options), None
            return lambda: engine.weakly_connected_components(*arguments), None
        if kind < 0.9:
            graph = self.graph()
            call = getattr(engine, self.rng.choice(GRAPH_CALLS))
            return self.rng.choice((lambda: call(graph), lambda: call(**{"graph": graph}))), graph
        calls = [each for name, each in vars(engine).items() if dataclasses.is_dataclass(each)
                 or isinstance(each, types.BuiltinFunctionType)]
        call = self.rng.choice(calls)
        graph = self.graph()
        arguments = [self.rng.choice((graph, graph.nodes, graph.options, self.odd()))
                     for _ in range(self.rng.randrange(4))]
        return lambda: call(*arguments), None


def shown(value):
    try:
        return ADDRESS.sub("", repr(value))
    except (Exception, Stop) as error:
        return type(error).__name__


def outcome(seed):
    """What the call of this case comes to, in a form that a repetition must equal."""
    case = Case(seed)
    call, graph = case.make()
    before = shown(graph)
    if case.chance(0.1):
        call, case.acts = meddling(call, case.rng), True
    try:
        ended = "returned", shown(call())
    except SystemError:
        raise  # a result with an exception set, or neither
    except (Exception, Stop) as error:
        ended = type(error).__name__, [shown(text) for text in error.args if type(text) is str]
        if graph is not None and not case.acts:
            assert shown(graph) == before, f"changed a graph that it refused: {ended}"
    return *ended, shown(graph)


def blocks_in_use():
    sys._clear_type_cache()  # it keeps the last few thousand names that were looked up
    gc.collect()
    return sys.getallocatedblocks()


def check(seed, thoroughly):
    first = outcome(seed)
    assert engine.layout(*GOOD) == KNOWN, "the module gives another result than before"
    assert outcome(seed) == first, "a repetition comes to something else"
    if not thoroughly:
        return first
    blocks = blocks_in_use()
    for _ in range(REPEATS):
        outcome(seed)
    grown = blocks_in_use() - blocks
    assert grown < REPEATS, f"{grown} blocks more after {REPEATS} repetitions"
    return first


def work(seconds, seed, current):
    faulthandler.enable()
    signal.signal(signal.SIGALRM, signal.SIG_DFL)
    faulthandler.register(signal.SIGALRM, chain=True)
    gc.freeze()
    started, ends = time.monotonic(), collections.Counter()
    for number in itertools.count():
        if time.monotonic() - started > seconds:
            break
        struct.pack_into("q", current, 0, number)
        signal.alarm(HANG)
        ends[check(f"{seed}:{number}", number % 20 == 0)[0]] += 1
    signal.alarm(0)
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(f"{sum(ends.values())} cases in {seconds} s, {peak >> 10} MiB:", *ends.most_common())
    assert peak < PEAK, "too much memory"


def main(seconds, seed="1", case=None):
    if case is not None:
        print(check(f"{seed}:{case}", True))
        return 0
    current = mmap.mmap(-1, 8)  # outlives the process that writes it
    child = os.fork()
    if child == 0:
        work(float(seconds), seed, current)
        return 0
    status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    if status:
        print(f"failed with {status}; alone: border.py 1 {seed} {struct.unpack('q', current)[0]}")
    return int(status != 0)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
