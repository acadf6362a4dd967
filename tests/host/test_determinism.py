"""Equal calls give equal bits in every process."""

import hashlib
import os
import pathlib
import subprocess
import sys
import unittest

from quillan.core import vorn_layered as engine
from test_golden import load


class Processes(unittest.TestCase):
    """The same bits whatever the process: hashing of texts and the locale must play no part."""

    DIGEST = """
import hashlib, sys
from test_determinism import golden_results
print(hashlib.sha256(repr(golden_results()).encode("utf-8", "surrogatepass")).hexdigest())
"""

    def test_results_do_not_depend_on_the_process(self):
        expected = hashlib.sha256(
            repr(golden_results()).encode("utf-8", "surrogatepass")).hexdigest()
        paths = [str(pathlib.Path(__file__).parent), str(pathlib.Path(__file__).parents[1]),
                 str(pathlib.Path(engine.__file__).parents[2])]
        for variables in ({"PYTHONHASHSEED": "0", "LC_ALL": "C"},
                          {"PYTHONHASHSEED": "1", "LC_ALL": "C.UTF-8"},
                          {"PYTHONHASHSEED": "987654321", "LC_ALL": "POSIX", "PYTHONUTF8": "0"}):
            run = subprocess.run(
                [sys.executable, "-c", self.DIGEST], check=True, capture_output=True, text=True,
                env={**os.environ, **variables, "PYTHONPATH": os.pathsep.join(paths)})
            self.assertEqual(run.stdout.strip(), expected, variables)


def golden_results():
    return [engine.layout(call["nodes"], call["edges"], engine.LayoutOptions(**call["options"]),
                          component_gap=call["component_gap"])
            for call in load("layouts.json")[::4]]


if __name__ == "__main__":
    unittest.main()
