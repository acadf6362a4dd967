"""Put the output of a benchmark, read from standard input, into docs/figures.md.

README.md has a line on speed, which is made from the table of calls on that page.

    ./dev bench | python3 docs/paste_figures.py
    ./dev quality | python3 docs/paste_figures.py
    python3 docs/paste_figures.py --check    # only compare README.md with the page
"""

import re
import sys
from pathlib import Path

PAGE = Path(__file__).resolve().with_name("figures.md")
README = PAGE.parents[1] / "README.md"
# The sentences in README.md, between these comments.
SPEED = re.compile(r"(?<=<!-- speed -->\n).*?(?=<!-- end -->)", re.DOTALL)
SIZES = ("400", "1,000", "10,000", "100,000")

CALLS = "The Python call against"
# How the output of each benchmark begins, and the line that it ends with.
OUTPUTS = {CALLS: "Machine: ", "Drawings of ": "Marks missed: "}


def output_in(text: str) -> tuple[str, str]:
    """How the output in a text begins, and all of it. What a build has said may come first."""
    for begin, end in OUTPUTS.items():
        found = re.search(rf"^{begin}.*^{end}.*", text, re.MULTILINE | re.DOTALL)
        if found:
            return begin, found[0].strip()
    raise SystemExit("this is not the complete output of a benchmark")


def milliseconds(output: str, graph: str) -> str:
    """The times of the calls on a kind of graph, size by size."""
    table = output.partition("\n\nNanoseconds ")[0]
    rows = dict(re.findall(rf"^{graph} +([\d,]+) +[\d,]+ +([\d.]+) ", table, re.MULTILINE))
    if not rows.keys() >= set(SIZES):
        raise SystemExit(f"there are no calls on the graph {graph} with {' and '.join(SIZES)} nodes")
    times = [f"{float(rows[size]):,.{1 if float(rows[size]) < 100 else 0}f}" for size in SIZES]
    return f"{', '.join(times[:-1])} and {times[-1]}"


def speed(output: str) -> str:
    """The sentences on speed."""
    machine = re.search(r"^Machine: \d+ cores? of (.*?), ", output, re.MULTILINE)
    processor = f" ({machine[1]})" if machine else ""
    return (f"On one core{processor}, a call on a node graph of\n"
            f"{', '.join(SIZES[:-1])} and {SIZES[-1]} nodes takes {milliseconds(output, 'editor')} ms.\n"
            f"Where a fifth of the nodes have no inputs, so that many edges are long, it takes\n"
            f"{milliseconds(output, 'loaders')} ms.\n")


def main(arguments: list[str]) -> int:
    """Replace the text block of the page that begins as the output does, and then README's lines."""
    page = PAGE.read_text(encoding="utf-8")
    if arguments not in ([], ["--check"]):
        print(__doc__)
        return 2
    if not arguments:
        begin, output = output_in(sys.stdin.read())
        page, count = re.subn(rf"^```text\n{begin}.*?^```$", lambda _: f"```text\n{output}\n```",
                              page, flags=re.MULTILINE | re.DOTALL)
        if count != 1:
            raise SystemExit(f"{PAGE} must have one block that begins so, and has {count}")

    readme = README.read_text(encoding="utf-8")
    calls = re.search(rf"^```text\n({CALLS}.*?)\n```$", page, re.MULTILINE | re.DOTALL)
    sentences = speed(calls[1] if calls else "")
    wanted, count = SPEED.subn(lambda _: sentences, readme)
    if count != 1:
        raise SystemExit(f"{README} must have one place for the sentences on speed, and has {count}")
    if arguments:
        if wanted != readme:
            print("README.md does not tell the times of docs/figures.md: run docs/paste_figures.py")
        return int(wanted != readme)
    PAGE.write_text(page, encoding="utf-8")
    README.write_text(wanted, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
