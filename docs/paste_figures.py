"""Put the output of a benchmark, read from standard input, into docs/figures.md.

Of the times of calls, README.md gets the few that its line on speed tells.

    PYTHONPATH=build/release/python python3 bench/run.py | python3 docs/paste_figures.py
    PYTHONPATH=build/release/python python3 bench/quality.py | python3 docs/paste_figures.py
"""

import re
import sys
from pathlib import Path

PAGE = Path(__file__).resolve().with_name("figures.md")
README = PAGE.parents[1] / "README.md"
# The sentence in README.md, between these comments.
SPEED = re.compile(r"(<!-- speed -->\n).*?(<!-- end -->)", re.DOTALL)
SIZES = ("400", "1,000", "10,000", "100,000")

# How the output of each benchmark begins, and what it has at its end.
OUTPUTS = {"The Python call against": "\nMachine: ", "Drawings of ": "\nMarks missed: "}


def milliseconds(output: str, graph: str) -> str:
    """The times of the calls on a kind of graph, size by size."""
    table = output.partition("\n\nNanoseconds ")[0]
    rows = dict(re.findall(rf"^{graph} +([\d,]+) +[\d,]+ +([\d.]+) ", table, re.MULTILINE))
    times = [f"{float(rows[size]):,.{1 if float(rows[size]) < 100 else 0}f}" for size in SIZES]
    return f"{', '.join(times[:-1])} and {times[-1]}"


def speed(output: str) -> str:
    """The sentence on speed."""
    machine = re.search(r"Machine: \d+ cores? of (.*?), ", output)
    name = machine[1] if machine else "the machine of the figures"
    return (f"On one core of {name}, a call on a node graph of\n"
            f"{', '.join(SIZES[:-1])} and {SIZES[-1]} nodes takes {milliseconds(output, 'editor')} ms.\n"
            f"Where a fifth of the nodes are fed by nothing, so that many edges are long, it takes\n"
            f"{milliseconds(output, 'loaders')} ms.\n")


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
    if begin == "The Python call against":
        readme = README.read_text(encoding="utf-8")
        README.write_text(SPEED.sub(lambda found: found[1] + speed(output) + found[2], readme),
                          encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
