"""Allocations of the interpreter made to fail one by one."""

import os
import sys
import unittest

from quillan.core import vorn_layered as engine

try:
    import _testcapi
except ImportError:
    _testcapi = None

NODES = [{"id": "a", "output_ports": [10, {"id": "out", "offset": 40}]}, {"id": "b", "input_ports": 2},
         {"id": "\u00e9\U0001f600"}, {"id": 7, "x": "12.5"}]
EDGES = [{"id": "long", "source": "a", "target": 7}, {"source": "a", "target": "b", "target_port": 1},
         {"source": "b", "target": "\u00e9\U0001f600"}, {"source": "\u00e9\U0001f600", "target": 7}]


def lay_out():
    return engine.layout(NODES, EDGES)


def phase_by_phase():
    graph = engine.build_graph(NODES, EDGES)
    engine.run_phases(graph)
    return engine.node_positions(graph), engine.edge_routes(graph)


@unittest.skipUnless(hasattr(_testcapi, "set_nomemory"), "this interpreter has no failing allocations")
@unittest.skipIf(os.environ.get("PYTHONMALLOC") == "malloc", "blocks are not counted then")
class FailingAllocations(unittest.TestCase):
    def fail_one_by_one(self, function):
        """Calls with allocation 0, 1, 2, ... failing, until all are behind; how many calls failed."""
        expected = function()
        failures = 0
        successes = 0
        position = 0
        # The interpreter gets over some failures by itself; the end is a run of successes.
        while successes < 20:
            _testcapi.set_nomemory(position, position + 1)
            try:
                result = function()
            except MemoryError:
                result = None
            finally:
                _testcapi.remove_mem_hooks()
            position += 1
            if result is None:
                failures += 1
                successes = 0
                result = function()
            else:
                successes += 1
            self.assertEqual(result, expected)
        return failures

    def test_every_failure_is_a_memory_error(self):
        for function in (lay_out, phase_by_phase):
            with self.subTest(function.__name__):
                self.assertGreater(self.fail_one_by_one(function), 5)

    def test_failures_leak_nothing(self):
        # Only layout() can be held to this: the phases run Python code, on which the interpreter
        # itself leaves blocks behind when an allocation fails.
        self.fail_one_by_one(lay_out)
        self.fail_one_by_one(lay_out)
        before = sys.getallocatedblocks()
        for _ in range(5):
            self.fail_one_by_one(lay_out)
        self.assertLess(sys.getallocatedblocks() - before, 10)


if __name__ == "__main__":
    unittest.main()
