"""What mypy and pyright say of good and of wrong uses of the module, and what its stub tells.

Run by an interpreter that has both.
"""

import ast
import importlib
import inspect
import json
import os
import pathlib
import re
import subprocess
import sys
import unittest

from quillan.core import vorn_layered

HERE = pathlib.Path(__file__).parent
HOME = pathlib.Path(vorn_layered.__file__).parent
PACKAGES = HOME.parents[1]


# An installed module must be found by its marker alone.
ON_PATH = "" if PACKAGES.name == "site-packages" else str(PACKAGES)


def output_of(*arguments, path=ON_PATH):
    """What a type checker prints."""
    run = subprocess.run([sys.executable, "-m", *arguments], capture_output=True, text=True,
                         check=False, env={**os.environ, "MYPYPATH": path, "PYTHONPATH": path})
    if run.returncode not in (0, 1):
        raise RuntimeError(run.stdout + run.stderr)
    return run.stdout


def found_by_mypy(name):
    """The (line, code) pairs of the errors that `mypy --strict` finds in a file."""
    output = output_of("mypy", "--strict", "--cache-dir", os.devnull, str(HERE / name))
    errors = re.findall(r":(\d+): error: .*\[([\w-]+)\]$", output, re.MULTILINE)
    return sorted({(int(line), code) for line, code in errors})


def found_by_pyright(name):
    """The lines in which pyright finds errors."""
    report = json.loads(output_of("pyright", "--pythonpath", sys.executable, "--outputjson",
                                  str(HERE / name)))
    return sorted({finding["range"]["start"]["line"] + 1
                   for finding in report["generalDiagnostics"] if finding["severity"] == "error"})


def marked(name):
    """The (line, code, note) of the lines that a file marks as wrong."""
    lines = (HERE / name).read_text(encoding="utf-8").splitlines()
    return [(number, *re.search("# error: ([^,]+)(.*)", line).groups())
            for number, line in enumerate(lines, 1) if "# error: " in line]


class Uses(unittest.TestCase):
    maxDiff = None

    def test_good_uses_are_accepted(self):
        self.assertEqual(found_by_mypy("accepted.py"), [])
        self.assertEqual(found_by_pyright("accepted.py"), [])

    def test_wrong_uses_are_refused(self):
        wrong = marked("refused.py")
        self.assertGreater(len(wrong), 25)
        self.assertEqual(found_by_mypy("refused.py"), [(line, code) for line, code, _ in wrong])
        self.assertEqual(found_by_pyright("refused.py"),
                         [line for line, _, note in wrong if note != ", to mypy alone"])

    def test_accepted_calls_run(self):
        env = {**os.environ, "PYTHONPATH": str(PACKAGES)}
        subprocess.run([sys.executable, str(HERE / "accepted.py")], check=True, env=env)


class Stub(unittest.TestCase):
    maxDiff = None

    def test_docstrings_are_those_of_the_module(self):
        tree = ast.parse((HOME / "vorn_layered.pyi").read_text(encoding="utf-8"))
        self.assertEqual(ast.get_docstring(tree), inspect.getdoc(vorn_layered))
        told = {}
        for item in tree.body:
            if isinstance(item, (ast.ClassDef, ast.FunctionDef)):
                told[item.name] = ast.get_docstring(item)
            for member in getattr(item, "body", []) if isinstance(item, ast.ClassDef) else []:
                if isinstance(member, ast.FunctionDef) and not member.name.startswith("__"):
                    told[f"{item.name}.{member.name}"] = ast.get_docstring(member)
        self.assertGreater(len(told), 30)
        for name, text in told.items():
            thing = vorn_layered
            for part in name.split("."):
                thing = getattr(thing, part)
            self.assertEqual(text, inspect.getdoc(thing), name)

    def test_nothing_is_unknown_or_lacks_a_docstring(self):
        for module in ("vorn_layered", "vorn_layered_types"):
            name = f"quillan.core.{module}"
            importlib.import_module(name)
            # This report of pyright's overlooks packages without __init__.py in site-packages.
            report = json.loads(output_of("pyright", "--pythonpath", sys.executable, "--outputjson",
                                          "--verifytypes", name, path=str(PACKAGES)))
            completeness = report["typeCompleteness"]
            self.assertGreater(len(completeness["symbols"]), 5, name)
            self.assertEqual({key: completeness[key] for key in (
                "completenessScore", "missingFunctionDocStringCount", "missingClassDocStringCount",
            )}, {"completenessScore": 1, "missingFunctionDocStringCount": 0,
                 "missingClassDocStringCount": 0}, name)


if __name__ == "__main__":
    unittest.main()
