"""What mypy says of good and of wrong uses of the module; run by an interpreter that has mypy."""

import os
import pathlib
import re
import subprocess
import sys
import unittest

from quillan.core import vorn_layered

HERE = pathlib.Path(__file__).parent
PACKAGES = pathlib.Path(vorn_layered.__file__).parents[2]


def reported(name):
    """The (line, code) pairs of the errors that `mypy --strict` finds in a file."""
    # An installed module must be found by its marker alone.
    path = "" if PACKAGES.name == "site-packages" else str(PACKAGES)
    run = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--cache-dir", os.devnull, str(HERE / name)],
        capture_output=True, text=True, check=False, env={**os.environ, "MYPYPATH": path})
    if run.returncode not in (0, 1):
        raise RuntimeError(run.stdout + run.stderr)
    errors = re.findall(r":(\d+): error: .*\[([\w-]+)\]$", run.stdout, re.MULTILINE)
    return sorted({(int(line), code) for line, code in errors})


def marked(name):
    lines = (HERE / name).read_text(encoding="utf-8").splitlines()
    return [(number, line.partition("# error: ")[2]) for number, line in enumerate(lines, 1)
            if "# error: " in line]


class Typing(unittest.TestCase):
    maxDiff = None

    def test_good_uses_are_accepted(self):
        self.assertEqual(reported("accepted.py"), [])

    def test_wrong_uses_are_refused(self):
        self.assertGreater(len(marked("refused.py")), 25)
        self.assertEqual(reported("refused.py"), marked("refused.py"))

    def test_accepted_calls_run(self):
        env = {**os.environ, "PYTHONPATH": str(PACKAGES)}
        subprocess.run([sys.executable, str(HERE / "accepted.py")], check=True, env=env)


if __name__ == "__main__":
    unittest.main()
