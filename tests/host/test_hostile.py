"""Code of the caller's that runs at bad moments: it may spoil its own call, but never the process.

Each case runs in a process of its own, since what it guards against is a crash.
"""

import concurrent.futures
import os
import pathlib
import subprocess
import sys
import unittest

from quillan.core import vorn_layered as engine
from test_golden import load

PRELUDE = """
import gc, sys, threading, time
from quillan.core import vorn_layered as engine
nodes = [{"id": str(number), "output_ports": 2} for number in range(40)]
edges = [{"id": f"e{number}", "source": str(number), "target": str(number + step)}
         for step in (1, 7) for number in range(30)]
graph = engine.build_graph(nodes, edges)

def empty(kind, wanted):
    for each in gc.get_objects():
        if type(each) is kind and each is not nodes and wanted(each):
            each.clear()
"""

# A daemon thread that asks for the interpreter back after its end is unwound through the module.
DAEMONS = """
def slowly(items):
    for item in items:
        sum(range(50))
        yield item

def work(step):
    while True:
        step()

for step in (lambda: engine.build_graph(nodes, edges),
             lambda: engine.layout(slowly(nodes), edges),
             lambda: engine.run_phases(engine.build_graph(nodes, edges))):
    threading.Thread(target=work, args=(step,), daemon=True).start()
time.sleep(0.2)
"""

# The dict of a call by keywords is the only owner of its arguments, until somebody empties it.
KEYWORDS = """
NAMES = {"nodes", "edges", "options", "component_gap", "graph"}

def empty_keywords():
    empty(dict, lambda each: each and {*each} <= NAMES)

class Gap:
    def __float__(self):
        empty_keywords()
        return 80.0

class Text:
    def __str__(self):
        empty_keywords()
        return "x"

class Trap(engine.LGraph):
    @property
    def options(self):
        empty_keywords()
        return engine.LayoutOptions()

    @options.setter
    def options(self, value):
        pass

def items():
    empty_keywords()
    yield {"id": Text()}

engine.layout(**{"nodes": [{"id": 1}], "edges": [], "options": engine.LayoutOptions(),
                 "component_gap": Gap()})
for call in (engine.layout, engine.build_graph, engine.weakly_connected_components):
    call(**{"nodes": items(), "edges": iter([])})
for call in (engine.graph_extent, engine.break_cycles, engine.run_phases, engine.edge_routes):
    call(**{"graph": Trap()})
"""

# Lists that the module is making, seen through the collector by hooks.
LISTS = """
def records(each):
    return any(isinstance(item, (engine.LNode, engine.LEdge, engine.LPort, tuple)) for item in each)

def hook(frame, event, argument):
    if frame.f_code.co_name == "__init__" and "self" in frame.f_locals:
        empty(list, lambda each: not each or records(each) and each is not graph.nodes)

gc.callbacks.append(lambda phase, info: empty(list, records))
gc.set_threshold(1)
sys.setprofile(hook)
for call in (lambda: engine.build_graph(nodes[:8], edges), lambda: engine.run_phases(graph),
             lambda: engine.weakly_connected_components(nodes, edges),
             lambda: engine.layout(nodes, edges), lambda: engine.edge_routes(graph)):
    try:
        call()
    except (ValueError, TypeError, KeyError, IndexError, AttributeError):
        pass
"""

# Mappings that lose all their values while one of these is read.
VALUES = """
import codecs

class Emptying:
    def __init__(self, mapping):
        self.empty = mapping.clear
    def __float__(self):
        self.empty()
        return 2.5
    def __str__(self):
        self.empty()
        return "text"
    def __int__(self):
        self.empty()
        return 1

def emptied():
    mapping = {}
    fresh = iter(range(1000, 2000))
    for key in ("id", "source", "target", "width", "height", "x", "y", "source_port", "target_port"):
        mapping[key] = f"{next(fresh)}"
    mapping.update(input_ports=[next(fresh)] * 3, output_ports=[{"id": 10**5000}])
    return mapping

handler = codecs.lookup_error("surrogatepass")
for key in emptied():
    for ends in ((10**5000, chr(0xd800) * 9), (chr(0xd800) * 9, 10**5000)):
        bad = {**emptied(), "source": ends[0], "target": ends[1], "id": f"{10**4000}"}
        bad[key] = Emptying(bad)
        codecs.register_error("surrogatepass", lambda error: (bad.clear(), handler(error))[1])
        for payload in (([bad], []), (nodes, [bad]), ([{"id": "1", "input_ports": [bad]}], [])):
            try:
                engine.layout(*payload)
            except (KeyError, TypeError, ValueError):
                pass
codecs.register_error("surrogatepass", handler)
"""

# Objects that say they are what they are not.
IMPOSTORS = """
def impostor(kind):
    class Impostor:
        __class__ = property(lambda self: kind)
    return Impostor()

for field, kind in (("nodes", list), ("edges", tuple), ("chains", dict), ("layers", list),
                    ("reversed_originals", dict), ("options", engine.LayoutOptions)):
    bad = engine.build_graph(nodes, edges)
    setattr(bad, field, impostor(kind))
    for call in (engine.run_phases, engine.edge_routes, engine.count_crossings):
        try:
            call(bad)
        except (TypeError, AttributeError):
            pass
class Changing(engine.LGraph):
    reads, after, spoilt = 0, 0, ("", None)

    def __getattribute__(self, name):
        if name == Changing.spoilt[0]:
            Changing.reads += 1
            if Changing.reads > Changing.after:
                return impostor(Changing.spoilt[1])
        return super().__getattribute__(name)

for field, kind in (("nodes", list), ("edges", list), ("chains", dict),
                    ("reversed_originals", dict)):
    for Changing.after in range(5):
        bad = engine.build_graph(nodes, edges + [{"source": "9", "target": "1"}])
        bad.__class__, Changing.reads, Changing.spoilt = Changing, 0, (field, kind)
        try:
            engine.run_phases(bad)
        except TypeError:
            pass
for kind in (list, dict, str, int, float, tuple):
    for payload in (([impostor(kind)], []), ([{"id": "a", "input_ports": impostor(kind)}], []),
                    ([{"id": "a", "input_ports": [impostor(kind)]}], []), (nodes, impostor(kind)),
                    ([{"id": impostor(kind), "width": impostor(kind)}], [])):
        try:
            engine.layout(*payload)
        except (TypeError, AttributeError, KeyError):
            pass
"""

# An import that is interrupted leaves nothing behind, and the next one works.
IMPORTS = """
import dataclasses, importlib.util
path = engine.__file__
del sys.modules["quillan.core.vorn_layered"]
dataclass, kept = dataclasses.dataclass, []

def interrupted(*arguments, **options):
    kept.append(sys._getframe(1).f_globals["_rebuild_layers"])
    if len(kept) == 3:
        raise KeyboardInterrupt
    return dataclass(*arguments, **options)

dataclasses.dataclass = interrupted
spec = importlib.util.spec_from_file_location("quillan.core.vorn_layered", path)
module = importlib.util.module_from_spec(spec)
try:
    spec.loader.exec_module(module)
except KeyboardInterrupt:
    dataclasses.dataclass = dataclass
spec.loader.exec_module(module)
assert not [name for name in vars(module) if not name.startswith("__")], vars(module)
try:
    kept[0](graph)
except ImportError:
    again = importlib.import_module("quillan.core.vorn_layered")
    assert again is not engine and again.layout(nodes, edges) == engine.layout(nodes, edges)
else:
    raise AssertionError("a function of a half-imported module works")
"""


# Random calls by the rules of the border's fuzzer, which also counts what they leave behind.
RANDOM_CALLS = f"""
sys.path.insert(0, {str(pathlib.Path(__file__).resolve().parents[2] / "fuzz")!r})
import border
for number in range(400):
    border.check(f"1:{{number}}", number % 2 == 0)
"""

# Modules that are imported and dropped leave nothing behind either.
DROPPED = """
import importlib.util

def load():
    spec = importlib.util.spec_from_file_location("vorn_layered", engine.__file__)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    assert module.layout([{"id": "a"}], [])[0] == {"a": (24.0, 24.0)}

left = []
for _ in range(4):
    gc.collect()
    before = sys.getallocatedblocks()
    for _ in range(20):
        load()
    gc.collect()
    left.append(sys.getallocatedblocks() - before)
assert min(left) < 10, left
"""


class Hostile(unittest.TestCase):
    def run_alone(self, code):
        packages = str(pathlib.Path(engine.__file__).parents[2])
        start = f"import sys; sys.path.insert(0, {packages!r})\n"
        run = subprocess.run([sys.executable, "-c", start + PRELUDE + code], capture_output=True,
                             text=True, check=False, timeout=60)
        self.assertEqual((run.returncode, run.stderr[-500:]), (0, ""))

    # What a forced unwind leaves of frames on the stack, the address sanitizer still holds for
    # poisoned, and it may put a variable of its own there.
    @unittest.skipIf("asan" in os.environ.get("LD_PRELOAD", ""), "the sanitizer reports its own frame")
    def test_threads_at_exit(self):
        for _ in range(3):
            self.run_alone(DAEMONS)

    def test_calls_that_spoil_themselves(self):
        for code in (KEYWORDS, LISTS, VALUES, IMPOSTORS, IMPORTS, RANDOM_CALLS, DROPPED):
            with self.subTest(code[:60]):
                self.run_alone(code)

    def test_threads_do_not_disturb_one_another(self):
        calls = load("layouts.json") * 8

        def lay_out(call):
            return engine.layout(call["nodes"], call["edges"],
                                 engine.LayoutOptions(**call["options"]),
                                 component_gap=call["component_gap"])

        expected = [lay_out(call) for call in calls]
        with concurrent.futures.ThreadPoolExecutor(max_workers=16) as pool:
            self.assertEqual(list(pool.map(lay_out, calls)), expected)


if __name__ == "__main__":
    unittest.main()
