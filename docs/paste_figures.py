"""Put the benchmark's output, read from standard input, into docs/figures.md.

    PYTHONPATH=build/release/python python3 bench/run.py | python3 docs/paste_figures.py
"""

import re
import sys
from pathlib import Path

PAGE = Path(__file__).resolve().with_name("figures.md")


def main() -> int:
    """Replace the page's one text block."""
    output = sys.stdin.read().strip()
    if "\nMachine: " not in output:
        print("this is no complete output of the benchmark", file=sys.stderr)
        return 1
    page = PAGE.read_text(encoding="utf-8")
    replaced, count = re.subn(r"^```text\n.*?^```$", lambda _: f"```text\n{output}\n```", page,
                              flags=re.MULTILINE | re.DOTALL)
    if count != 1:
        print(f"{PAGE} must have one text block and has {count}", file=sys.stderr)
        return 1
    PAGE.write_text(replaced, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
