"""How good the drawings are, by default and with the best strategies; `./dev quality` runs it."""

import argparse
import json
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from pathlib import Path
from time import perf_counter, process_time
from typing import Final

from counts import Counts, count, crossings_of_orders
from drawings import draw
from families import family
from keeping import Kept, keep
from payloads import Payload
from quillan.core.vorn_layered import LayoutOptions, layout

ROOT: Final = Path(__file__).resolve().parents[1]
REAL: Final = (ROOT / "examples" / "graphs", ROOT / "bench" / "graphs")

@dataclass(frozen=True)
class Setting:
    """Options for drawings, and those for laying them out again."""

    name: str
    fresh: LayoutOptions
    again: LayoutOptions


DEFAULT: Final = Setting("default", LayoutOptions(), LayoutOptions(interactive=True))
BEST: Final = Setting(
    "best",
    LayoutOptions(
        layering_strategy="MINIMUM_LENGTH",
        crossing_strategy="SIFTING",
        placement_strategy="NETWORK_SIMPLEX",
        edge_routing="ORTHOGONAL_ORDERED",
    ),
    LayoutOptions(
        interactive=True,
        crossing_strategy="KEEP",
        placement_strategy="INTERACTIVE",
        edge_routing="ORTHOGONAL_ORDERED",
    ),
)
SETTINGS: Final = (DEFAULT, BEST)

# The most crossings that each generated graph should have with the best strategies.
CROSSING_MARKS: Final = {
    "flow_30": 35,
    "flow_100": 158,
    "flow_400": 1_739,
    "flow_1000": 6_610,
    "cyc_100": 186,
    "cyc_400": 1_719,
    "rand_100": 580,
    "rand_400": 8_612,
    "rand_1000": 55_752,
    "tree_400": 0,
    "tree_3000": 0,
    "multi_1000": 771,
}
# How many times as long as the default the best strategies may take, for these graphs.
TIME_MARKS: Final = {"flow_400": 5.0, "flow_1000": 5.0}
MISSED: Final = "missed"
# For how many seconds a call is timed, and how often at least.
TIMED: Final = 0.5
CALLS: Final = 5

DRAWN_NOTE: Final = """
Drawings of {graphs} real graphs. counted: crossings that follow from the orders within the layers; drawn:
crossings of the polylines of wires that share no port; close: pairs of such wires that run within 2
units of each other; jogs: routes with a step under 8 units; straight: wires without a bend from port to
port; behind: wires behind a node; off: wire ends off their ports; over: overlapping boxes. In each pair
of numbers, the left one is for the default, the right one for the best strategies.
"""
KEPT_NOTE: Final = """
Finished drawings laid out again, {graphs} real graphs. moved: nodes that did not stay where they were
(1e-6); away: with a node inserted into the middle of a wire, nodes that did not keep their place across
the flow (8 units).
"""
CROSSINGS_NOTE: Final = """
Crossings that follow from the orders, in generated graphs, and the CPU time of the whole call in
milliseconds (the least of several; default and best alternate).
"""


def main() -> None:
    """Parse the command line, count, print the tables."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("graphs", nargs="*", type=Path, metavar="graph.json",
                        help="real graphs (default: those of examples/graphs and bench/graphs)")
    parser.add_argument("--only", choices=("drawn", "kept", "crossings"), help="one table")
    arguments = parser.parse_args()
    paths = arguments.graphs or sorted(
        (path for folder in REAL for path in folder.glob("*.json")), key=lambda path: path.stem
    )
    graphs = {path.stem: _read(path) for path in paths}
    tables: dict[str, Callable[[dict[str, Payload]], Iterator[str]]] = {
        "drawn": drawn_table, "kept": kept_table, "crossings": crossings_table
    }
    missed = 0
    for name, table in tables.items():
        if arguments.only in (None, name):
            for line in table(graphs):
                print(line, flush=True)
                missed += line.count(MISSED)
    if arguments.only is None:
        print(f"\nMarks missed: {missed}")


def _read(path: Path) -> Payload:
    graph = json.loads(path.read_text(encoding="utf-8"))
    return graph["nodes"], graph["edges"]


DRAWN_COLUMNS: Final = (
    "routes", "counted", "drawn", "close", "jogs", "straight", "behind", "off_port", "overlaps"
)


def drawn_table(graphs: dict[str, Payload]) -> Iterator[str]:
    """Each drawing's counts, their sums, and how the sums compare with the marks."""
    yield DRAWN_NOTE.format(graphs=len(graphs))
    names = [name.replace("off_port", "off").replace("overlaps", "over") for name in DRAWN_COLUMNS]
    yield f"{'graph':<27}" + "".join(f"{name:>10}" for name in names)
    sums = [Counts() for _ in SETTINGS]
    for graph, payload in graphs.items():
        row = [count(payload, one.fresh, draw(payload, one.fresh)) for one in SETTINGS]
        sums = [total + counts for total, counts in zip(sums, row, strict=True)]
        yield _drawn_row(graph, row)
    yield _drawn_row("sum", sums)
    default, best = sums
    yield ""
    yield _mark("drawn to counted crossings", best.drawn / max(1, best.counted), "<=", 1.15,
                default.drawn / max(1, default.counted))
    yield _mark("pairs of close wires", best.close, "<=", 0, default.close)
    yield _mark("share of routes with a small jog", best.jogs / best.routes, "<=", 0.01,
                default.jogs / default.routes)
    yield _mark("straight wires to the default's", best.straight / max(1, default.straight), ">=",
                4.0, 1.0)
    yield _mark("wires behind nodes, ends off ports, overlaps",
                best.behind + best.off_port + best.overlaps, "<=", 0,
                default.behind + default.off_port + default.overlaps)


def _drawn_row(name: str, row: list[Counts]) -> str:
    cells = ["/".join(str(getattr(counts, column)) for counts in row) for column in DRAWN_COLUMNS]
    return f"{name:<27}" + "".join(f"{cell:>10}" for cell in cells)


def _mark(what: str, value: float, sign: str, mark: float, default: float) -> str:
    holds = value <= mark if sign == "<=" else value >= mark
    return (f"{what:<46}{value:>8.3g}   mark {sign} {mark:<5g} {_verdict(holds):<8}"
            f" default {default:.3g}")


def _verdict(holds: bool) -> str:
    return "reached" if holds else MISSED


def kept_table(graphs: dict[str, Payload]) -> Iterator[str]:
    """How many nodes of each drawing keep their place when it is laid out again."""
    yield KEPT_NOTE.format(graphs=len(graphs))
    yield f"{'graph':<27}{'nodes':>8}{'moved':>12}{'beside':>8}{'away':>12}"
    sums = [Kept() for _ in SETTINGS]
    for graph, payload in graphs.items():
        row = [keep(payload, draw(payload, one.fresh), one.again) for one in SETTINGS]
        sums = [total + kept for total, kept in zip(sums, row, strict=True)]
        yield _kept_row(graph, row)
    yield _kept_row("sum", sums)
    default, best = sums
    yield ""
    yield _mark("moved nodes of finished drawings", best.moved, "<=", 0, default.moved)
    yield _mark("share that stays beside a node set into a wire", 1 - best.away / best.beside, ">=",
                0.9, 1 - default.away / default.beside)


def _kept_row(name: str, row: list[Kept]) -> str:
    moved = "/".join(str(kept.moved) for kept in row)
    away = "/".join(str(kept.away) for kept in row)
    return f"{name:<27}{row[0].again:>8}{moved:>12}{row[0].beside:>8}{away:>12}"


def crossings_table(_: dict[str, Payload]) -> Iterator[str]:
    """Crossings and times for the generated graphs."""
    yield CROSSINGS_NOTE
    yield (f"{'graph':<14}{'default':>9}{'best':>9}{'mark':>9}{'':>9}"
           f"{'default ms':>13}{'best ms':>10}{'ratio':>8}")
    for graph, mark in CROSSING_MARKS.items():
        payload = family(graph)
        default, best = (crossings_of_orders(payload, one.fresh) for one in SETTINGS)
        times = _times(payload)
        ratio = times[1] / times[0]
        row = f"{graph:<14}{default:>9,}{best:>9,}{mark:>9,}{_verdict(best <= mark):>9}"
        row += f"{times[0] * 1e3:>13.2f}{times[1] * 1e3:>10.2f}{ratio:>8.2f}"
        if graph in TIME_MARKS:
            holds = ratio <= TIME_MARKS[graph]
            row += f"   mark <= {TIME_MARKS[graph]:g} {_verdict(holds)}"
        yield row


def _times(payload: Payload) -> list[float]:
    """The least time of a call on its core in each setting, in seconds."""
    least = [float("inf")] * len(SETTINGS)
    began, calls = perf_counter(), 0
    while calls < CALLS or perf_counter() - began < TIMED:
        for i, setting in enumerate(SETTINGS):
            start = process_time()
            layout(*payload, setting.fresh)
            least[i] = min(least[i], process_time() - start)
        calls += 1
    return least


if __name__ == "__main__":
    main()
