"""Calls from many threads give what they give one after another."""

import concurrent.futures
import unittest

from quillan.core import vorn_layered as engine
from test_golden import load


def lay_out(call):
    return engine.layout(call["nodes"], call["edges"], engine.LayoutOptions(**call["options"]),
                         component_gap=call["component_gap"])


class Threads(unittest.TestCase):
    def test_threads_do_not_disturb_one_another(self):
        calls = load("layouts.json") * 8
        expected = [lay_out(call) for call in calls]
        with concurrent.futures.ThreadPoolExecutor(max_workers=16) as pool:
            self.assertEqual(list(pool.map(lay_out, calls)), expected)


if __name__ == "__main__":
    unittest.main()
