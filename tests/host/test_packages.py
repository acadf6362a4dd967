"""The module beside a `quillan` of somebody else."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

from quillan.core import vorn_layered

PACKAGES = pathlib.Path(vorn_layered.__file__).parents[2]
# As README.md tells the owner of such a package.
REMEDY = "from pkgutil import extend_path\n__path__ = extend_path(__path__, __name__)\n"


class OtherPackage(unittest.TestCase):
    def outcome(self, files):
        """What importing the module and theirs ends with, with their folder first on the path."""
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                path = pathlib.Path(folder, "quillan", name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            code = ("import quillan.theirs, quillan.core.theirs\n"
                    "import quillan.core.vorn_layered as ours\nprint(ours.__name__)")
            run = subprocess.run(
                [sys.executable, "-c", code], capture_output=True, text=True, check=False,
                env={**os.environ, "PYTHONPATH": os.pathsep.join([folder, str(PACKAGES)])})
            return (run.stdout or run.stderr).splitlines()[-1]

    def test_packages_of_the_same_name(self):
        own = {"theirs.py": "", "core/theirs.py": ""}
        found = "quillan.core.vorn_layered"
        hidden = "ModuleNotFoundError: No module named 'quillan.core.vorn_layered'"
        self.assertEqual(self.outcome(own), found)
        self.assertEqual(self.outcome({**own, "__init__.py": "", "core/__init__.py": ""}), hidden)
        self.assertEqual(self.outcome({**own, "__init__.py": REMEDY}), found)
        self.assertEqual(
            self.outcome({**own, "__init__.py": REMEDY, "core/__init__.py": ""}), hidden)
        self.assertEqual(
            self.outcome({**own, "__init__.py": REMEDY, "core/__init__.py": REMEDY}), found)


if __name__ == "__main__":
    unittest.main()
