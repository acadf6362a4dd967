"""Lays the figures of the benchmark out as tables of fixed width, row by row."""

from collections.abc import Iterator, Sequence
from typing import Final

from cases import GROWTH_MARK
from core_phases import PHASES
from figures import Figures, Growth

CALL_NOTE: Final = """
The Python call against the floor of carrying its data: marshal.dumps((nodes, edges)), then
marshal.loads of the marshalled result. The two alternate in one loop, `rounds` times; medians in
milliseconds. The garbage collector is enabled, as it is for users; the last three columns show the
same with the collector off, so that neither side pays for it (left out for long calls).
"""
CALL_COLUMNS: Final = {
    "graph": 15,
    "nodes": 8,
    "rounds": 7,
    "call": 10,
    "floor": 10,
    "ratio": 7,
    "mark": 6,
    "": 8,
    "off: call": 11,
    "floor ": 10,
    "ratio ": 7,
}

PHASE_NOTE: Final = """
Nanoseconds per node plus segment after long edges are split, medians. The phases run in the core
alone, on plain C++ records; `sum` is their sum, `call` the Python call of the first table.
`split` is the number of dummies that split long edges, per node of the payload.
"""
PHASE_COLUMNS: Final = {
    "graph": 15,
    "nodes": 8,
    "split": 7,
    "nodes+segments": 15,
    "import": 7,
    "cycles": 7,
    "layers": 7,
    "crossings": 10,
    "placement": 10,
    "routing": 8,
    "export": 7,
    "sum": 7,
    "call": 7,
}

GROWTH_NOTE: Final = f"""
Growth of the Python call: the exponent between the medians of two sizes, by nodes of the payload
(mark: <= {GROWTH_MARK:g} from 1,000 to 100,000) and by nodes plus segments.
"""
GROWTH_COLUMNS: Final = {
    "graph": 15,
    "from": 8,
    "to": 9,
    "by nodes": 10,
    "": 8,
    "by nodes+segments": 19,
}

MEMORY_NOTE: Final = """
Peak memory of the Python call, result included: the growth of the peak resident size (VmHWM) of a
new process that holds nothing but the payload. Bytes per node plus segment.
"""
MEMORY_COLUMNS: Final = {"graph": 15, "nodes": 8, "MiB": 10, "bytes": 8}


def head(note: str, columns: dict[str, int]) -> str:
    """What stands above the rows of a table."""
    return f"{note}\n{_line(list(columns), columns)}"


def call_row(figures: Figures) -> str:
    """A row of the table with CALL_COLUMNS."""
    case, on, off = figures.case, figures.collected, figures.uncollected
    mark = "" if case.ratio_mark is None else f"<= {case.ratio_mark:g}"
    cells = [case.kind, f"{case.size:,}", f"{on.rounds:,}"]
    cells += [_ms(on.call), _ms(on.floor), f"{on.ratio:.2f}", mark, figures.verdict]
    cells += ["-"] * 3 if off is None else [_ms(off.call), _ms(off.floor), f"{off.ratio:.2f}"]
    return _line(cells, CALL_COLUMNS)


def phase_rows(all_figures: list[Figures]) -> Iterator[str]:
    """The rows of the table with PHASE_COLUMNS."""
    for figures in all_figures:
        case, core = figures.case, figures.core
        times = [core.phases[phase] for phase in PHASES]
        cells = [case.kind, f"{case.size:,}", f"{core.dummies / case.size:.2f}"]
        cells += [f"{core.elements:,}"]
        cells += [f"{time:.1f}" for time in [*times, sum(times), figures.call_per_element]]
        yield _line(cells, PHASE_COLUMNS)


def growth_rows(all_growths: list[Growth]) -> Iterator[str]:
    """The rows of the table with GROWTH_COLUMNS."""
    for growth in all_growths:
        cells = [growth.smaller.kind, f"{growth.smaller.size:,}", f"{growth.larger.size:,}"]
        cells += [f"{growth.by_size:.2f}", growth.verdict, f"{growth.by_elements:.2f}"]
        yield _line(cells, GROWTH_COLUMNS)


def memory_rows(all_figures: list[Figures]) -> Iterator[str]:
    """The rows of the table with MEMORY_COLUMNS."""
    for figures in all_figures:
        if figures.peak is None or figures.peak_per_element is None:
            continue
        case = figures.case
        cells = [case.kind, f"{case.size:,}", f"{figures.peak / 2**20:.1f}"]
        cells += [f"{figures.peak_per_element:.0f}"]
        yield _line(cells, MEMORY_COLUMNS)


def _line(cells: Sequence[str], columns: dict[str, int]) -> str:
    first, *others = zip(cells, columns.values(), strict=True)
    padded = [f"{first[0]:<{first[1]}}", *(f"{cell:>{width}}" for cell, width in others)]
    return "".join(padded).rstrip()


def _ms(seconds: float) -> str:
    return f"{seconds * 1e3:.3f}"
