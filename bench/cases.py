"""The graphs that the benchmark measures, and the marks that it holds the Python call against."""

from collections.abc import Callable
from dataclasses import dataclass
from typing import Final

import payloads

SIZES: Final = (30, 100, 400, 1_000, 10_000, 100_000)


@dataclass(frozen=True)
class Kind:
    """How graphs of a kind are made, their sizes in nodes, and whether marks apply to them."""

    make: Callable[[int], payloads.Payload]
    smallest: int
    largest: int
    has_marks: bool


KINDS: Final = {
    "editor": Kind(payloads.editor, 30, 100_000, True),
    "editor-decimal": Kind(lambda size: payloads.editor(size, True), 30, 100_000, True),
    "loaders": Kind(payloads.loaders, 30, 100_000, True),
    "loaders-decimal": Kind(lambda size: payloads.loaders(size, True), 30, 10_000, True),
    "tree": Kind(payloads.tree, 400, 10_000, False),
    "tangle": Kind(payloads.tangle, 400, 10_000, False),
    "islands": Kind(payloads.islands, 400, 10_000, False),
}

# How many times the floor of carrying its data a call may take, by number of nodes.
RATIO_MARKS: Final = {400: 5.0, 1_000: 3.0, 10_000: 2.0}
# The largest exponent with which the call may grow from 1,000 to 100,000 nodes.
GROWTH_MARK: Final = 1.25


@dataclass(frozen=True)
class Case:
    """One graph: its kind, a key of KINDS, and its number of nodes."""

    kind: str
    size: int

    @property
    def name(self) -> str:
        """Kind and size without spaces, for names of files."""
        return f"{self.kind}-{self.size}"

    @property
    def ratio_mark(self) -> float | None:
        """The ratio to the floor that this graph must not exceed, if there is one."""
        return RATIO_MARKS.get(self.size) if KINDS[self.kind].has_marks else None

    def payload(self) -> payloads.Payload:
        """Nodes and edges, the same at every call."""
        return KINDS[self.kind].make(self.size)


def cases(largest: int) -> list[Case]:
    """All graphs of at most `largest` nodes, kind by kind and each kind by size."""
    return [
        Case(name, size)
        for name, kind in KINDS.items()
        for size in SIZES
        if kind.smallest <= size <= min(kind.largest, largest)
    ]
