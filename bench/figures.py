"""What the benchmark found out about a graph, and what follows from several graphs."""

import math
from dataclasses import dataclass
from typing import Any

from cases import GROWTH_MARK, KINDS, Case
from core_phases import CoreFigures
from python_call import CallTimes


@dataclass(frozen=True)
class Figures:
    """All that was measured on one graph."""

    case: Case
    collected: CallTimes  # with the garbage collector on, as it is for users
    uncollected: CallTimes | None  # with the collector off
    core: CoreFigures
    peak: int | None  # bytes

    @property
    def call_per_element(self) -> float:
        """Nanoseconds of the Python call per node plus segment."""
        return self.collected.call * 1e9 / self.core.elements

    @property
    def peak_per_element(self) -> float | None:
        """Bytes of peak memory per node plus segment."""
        return None if self.peak is None else self.peak / self.core.elements

    @property
    def verdict(self) -> str:
        """Whether the graph's mark was reached; empty if it has none."""
        mark = self.case.ratio_mark
        return "" if mark is None else reached(self.collected.ratio <= mark)

    def as_json(self) -> dict[str, Any]:
        """The same for a file, with units in the names."""
        return {
            "kind": self.case.kind,
            "size": self.case.size,
            "collector_on": self.collected.as_json(),
            "collector_off": self.uncollected and self.uncollected.as_json(),
            "ratio_mark": self.case.ratio_mark,
            "verdict": self.verdict,
            "nodes": self.core.nodes,
            "dummies": self.core.dummies,
            "segments": self.core.segments,
            "phase_ns_per_element": self.core.phases,
            "call_ns_per_element": self.call_per_element,
            "peak_bytes_per_element": self.peak_per_element,
        }


@dataclass(frozen=True)
class Growth:
    """The exponents with which the Python call grows between two graphs of a kind."""

    smaller: Case
    larger: Case
    by_size: float
    by_elements: float

    @property
    def verdict(self) -> str:
        """Whether the mark was reached; empty for graphs to which it does not apply."""
        in_mark = KINDS[self.smaller.kind].has_marks and self.larger.size == 100_000
        return reached(self.by_size <= GROWTH_MARK) if in_mark else ""

    def as_json(self) -> dict[str, Any]:
        """The same for a file."""
        return {
            "kind": self.smaller.kind,
            "from": self.smaller.size,
            "to": self.larger.size,
            "exponent": self.by_size,
            "exponent_by_elements": self.by_elements,
            "verdict": self.verdict,
        }


def reached(holds: bool) -> str:
    """The word for a mark."""
    return "reached" if holds else "missed"


def growths(all_figures: list[Figures]) -> list[Growth]:
    """For each kind the growth from 1,000 nodes to its largest graph, if that is larger."""
    result = []
    for kind in KINDS:
        of_kind = [one for one in all_figures if one.case.kind == kind and one.case.size >= 1_000]
        if len(of_kind) > 1:
            result.append(_growth(of_kind[0], of_kind[-1]))
    return result


def _growth(a: Figures, b: Figures) -> Growth:
    calls = math.log(b.collected.call / a.collected.call)
    return Growth(
        a.case,
        b.case,
        calls / math.log(b.case.size / a.case.size),
        calls / math.log(b.core.elements / a.core.elements),
    )
