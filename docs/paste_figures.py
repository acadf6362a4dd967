"""Put the output of a benchmark, read from standard input, into docs/figures.md.

    PYTHONPATH=build/release/python python3 bench/run.py | python3 docs/paste_figures.py
    PYTHONPATH=build/release/python python3 bench/quality.py | python3 docs/paste_figures.py
"""

import re
import sys
from pathlib import Path

PAGE = Path(__file__).resolve().with_name("figures.md")

# How the output of each benchmark begins, and what it has at its end.
OUTPUTS = {"The Python call against": "\nMachine: ", "Drawings of ": "\nMarks missed: "}


def main() -> int:
    """Replace the text block of the page that begins as the output does."""
    output = sys.stdin.read().strip()
    begin = next((begin for begin in OUTPUTS if output.startswith(begin)), None)
    if begin is None or OUTPUTS[begin] not in output:
        print("this is no complete output of a benchmark", file=sys.stderr)
        return 1
    page = PAGE.read_text(encoding="utf-8")
    replaced, count = re.subn(rf"^```text\n{begin}.*?^```$", lambda _: f"```text\n{output}\n```",
                              page, flags=re.MULTILINE | re.DOTALL)
    if count != 1:
        print(f"{PAGE} must have one such block and has {count}", file=sys.stderr)
        return 1
    PAGE.write_text(replaced, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
