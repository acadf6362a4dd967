"""What each shortcut of the engine saves: the same layouts with one of them taken out.

A shortcut is taken out by an edit of the sources, so that the engine itself carries no switches.
The edited copy is built beside the build tree, results are compared to the last bit, and the two
modules alternate. With `--instructions`, valgrind counts what a layout executes, which no neighbour on
the machine disturbs, but which knows nothing of caches and wrong guesses. It is an error if the text
of an edit is not in the sources exactly once; `--check` checks only that.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path
from typing import Final

ROOT: Final = Path(__file__).resolve().parents[1]
SCRATCH: Final = ROOT / "build" / "without"


@dataclass(frozen=True)
class Shortcut:
    """What is taken out, and the edit that does it: the old text and the new one."""

    what: str
    file: str
    old: str
    new: str


SHORTCUTS: Final = {
    "known-gaps": Shortcut(
        "four counts a gap, of which those hold whose orders have come back",
        "core/crossings/reduce_crossings.cpp",
        "Gap& gap = gaps_[upper * kKinds + kind.index()];",
        "Gap& gap = gaps_[upper * kKinds + 0 * kind.index()];",
    ),
    "known-visits": Shortcut(
        "doing again what a visit of the same kind did where nothing has changed",
        "core/crossings/reduce_crossings.cpp",
        "if (outcome.inputs != inputs) {",
        "if (outcome.inputs != inputs || layers_ > 0) {",
    ),
    "early-end": Shortcut(
        "ending the sweeps when they come back to an order that they started from",
        "core/crossings/reduce_crossings.cpp",
        "if (stands_still(iteration)) break;\n"
        "      if (iteration % 2 == 0 && repeats(iteration / 2, last_round)) break;",
        "stands_still(iteration);",
    ),
    "moved-pairs": Shortcut(
        "looking again only at pairs with a member that has moved",
        "core/crossings/swap_scans.cpp",
        "last_ = scans_ == 0 ? scan_all() : scan_moved(last_);",
        "last_ = scans_ >= 0 ? scan_all() : scan_moved(last_);",
    ),
    "cells": Shortcut(
        "settling a layer cell by cell where nodes have a long way to go",
        "core/crossings/adjacent_swap.cpp",
        "if (scans.count() <= size && settle_in_cells(members, scratch)) return;",
        "if (scans.count() < 0 && settle_in_cells(members, scratch)) return;",
    ),
    "buckets": Shortcut(
        "sorting a layer by buckets",
        "core/crossings/neighbor_order.cpp",
        "const std::int32_t buckets = std::max(size, reference_size) + 1;",
        "const std::int32_t buckets = reference_size < 0 ? size : 1;",
    ),
    "replay": Shortcut(
        "replaying the compaction in place of its sweeps",
        "core/placement/compaction.cpp",
        "if (compact_by_replay(constraints, centers, scratch)) return;",
        "if (!centers.empty()) return compact_by_sweeps(constraints, centers, scratch);",
    ),
    "one-block": Shortcut(
        "taking a layout's memory as one block",
        "core/component_graphs.cpp",
        "if (size == 0 || size >= kLargestKept) return;",
        "if (size < kLargestKept || size >= kLargestKept) return;",
    ),
    "key-places": Shortcut(
        "looking for a key first where the first dictionary had it",
        "host/key_places.cpp",
        "constexpr bool kKnowsDicts = true;",
        "constexpr bool kKnowsDicts = PY_VERSION_HEX == 0;",
    ),
    "look-ahead": Shortcut(
        "starting to load the mappings that come next in long lists",
        "host/key_places.cpp",
        "constexpr std::size_t kLong = 4000;",
        "constexpr std::size_t kLong = static_cast<std::size_t>(-1);",
    ),
    "one-word": Shortcut(
        "counting the crossings of up to 64 segments in one word",
        "core/crossings/counting.cpp",
        "if (total <= kWordBits) {",
        "if (total > UINT32_MAX / 2) {",
    ),
    "shared-floats": Shortcut(
        "giving neighbouring points of a route the float that they have in common",
        "host/results.cpp",
        "const bool same = last != nullptr && std",
        "const bool same = last != nullptr && value != value && std",
    ),
    "collector": Shortcut(
        "pausing the cyclic collector while the result is built",
        "host/layout.cpp",
        "const CollectorPause pause;",
        "const CollectorPause pause;\n    PyGC_Enable();",
    ),
}

# A graph that was "parsed" comes from JSON text, whose keys are no interned strings.
GRAPHS: Final = (("editor", 400), ("editor", 1000), ("loaders", 1000), ("tree", 1000),
                 ("parsed:tree", 1000), ("editor", 10000), ("tree", 10000))

WIDTH: Final = 19  # of a column

# Reads "kind size repetitions" lines, answers with the best time in nanoseconds and a digest.
WORKER: Final = """
import functools, hashlib, json, sys, time
sys.path.insert(0, sys.argv[1])
import payloads
from quillan.core.vorn_layered import layout

@functools.cache
def graph(kind, size):
    payload = getattr(payloads, kind.removeprefix("parsed:"))(int(size))
    return json.loads(json.dumps(payload)) if kind.startswith("parsed:") else payload

for line in sys.stdin:
    kind, size, repetitions = line.split()
    nodes, edges = graph(kind, size)
    best = None
    for _ in range(int(repetitions)):
        began = time.process_time_ns()
        result = layout(nodes, edges)
        took = time.process_time_ns() - began
        best = took if best is None else min(best, took)
    print(best, hashlib.sha256(repr(result).encode()).hexdigest(), flush=True)
"""


def edited(shortcut: Shortcut) -> str:
    """The text of the file without the shortcut."""
    text = (ROOT / shortcut.file).read_text(encoding="utf-8")
    if text.count(shortcut.old) != 1:
        raise SystemExit(f"{shortcut.file} does not hold exactly once: {shortcut.old}")
    return text.replace(shortcut.old, shortcut.new)


def build_without(name: str) -> Path:
    """Build the module without a shortcut; gives the directory to import it from."""
    shortcut, source = SHORTCUTS[name], SCRATCH / name
    shutil.rmtree(source, ignore_errors=True)
    for part in ("core", "host"):
        shutil.copytree(ROOT / part, source / part)
    for file in ("CMakeLists.txt", "CMakePresets.json"):
        shutil.copy(ROOT / file, source / file)
    (source / shortcut.file).write_text(edited(shortcut), encoding="utf-8")
    environment = {**os.environ, "CCACHE_BASEDIR": str(source), "CCACHE_NOHASHDIR": "1"}
    for command in (["cmake", "--preset", "release"],
                    ["cmake", "--build", "build/release", "--target", "vorn_layered"]):
        subprocess.run(command, cwd=source, env=environment, check=True, stdout=subprocess.DEVNULL)
    return source / "build" / "release" / "python"


class Worker:
    """A process that lays graphs out with the module in one directory."""

    def __init__(self, package: Path) -> None:
        self.process = subprocess.Popen(
            [sys.executable, "-c", WORKER, str(ROOT / "bench")],
            env={**os.environ, "PYTHONPATH": str(package)},
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )

    def best(self, kind: str, size: int) -> tuple[int, str]:
        """The best time of some layouts in nanoseconds, and a digest of the result."""
        assert self.process.stdin is not None and self.process.stdout is not None
        print(kind, size, max(1, 5000 // size), file=self.process.stdin, flush=True)
        time, digest = self.process.stdout.readline().split()
        return int(time), digest


def instructions(package: Path, kind: str, size: int) -> float:
    """The instructions of one layout: the difference between a few and fewer of them."""
    counts = []
    for repetitions in (2, 5):
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={os.devnull}",
             sys.executable, "-c", WORKER, str(ROOT / "bench")],
            env={**os.environ, "PYTHONPATH": str(package), "PYTHONHASHSEED": "0"},
            input=f"{kind} {size} {repetitions}\n", capture_output=True, text=True, check=True)
        counts.append(int(re.findall(r"Collected : (\d+)", run.stderr)[-1]))
    return (counts[1] - counts[0]) / 3


def count(name: str, known: dict[tuple[str, int], float]) -> str:
    """A row for one shortcut: how many more instructions layouts take without it."""
    without = build_without(name)
    cells = [f"{instructions(without, *graph) / known[graph] - 1:>+{WIDTH}.1%}" for graph in GRAPHS]
    return f"{name:<14}" + "".join(cells)


def compare(name: str, rounds: int) -> str:
    """A row for one shortcut: by how much layouts take longer without it."""
    with_it = Worker(ROOT / "build" / "release" / "python")
    without = Worker(build_without(name))
    cells = []
    for kind, size in GRAPHS:
        pairs = [(with_it.best(kind, size), without.best(kind, size)) for _ in range(rounds)]
        if len({digest for pair in pairs for _, digest in pair}) != 1:
            raise SystemExit(f"{name}: another result for {kind} {size}")
        ratio = min(after for _, (after, _) in pairs) / min(before for (before, _), _ in pairs)
        cells.append(f"{ratio - 1:>+{WIDTH}.0%}")
    return f"{name:<14}" + "".join(cells)


def main() -> None:
    """Compare the named shortcuts, or all of them."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("names", nargs="*", metavar="NAME", help=", ".join(SHORTCUTS))
    parser.add_argument("--rounds", type=int, default=10)
    parser.add_argument("--instructions", action="store_true",
                        help="count instructions with valgrind in place of taking the time")
    parser.add_argument("--check", action="store_true", help="only whether all edits still apply")
    arguments = parser.parse_args()
    if unknown := set(arguments.names) - set(SHORTCUTS):
        parser.error(f"no such shortcut: {', '.join(sorted(unknown))}")
    for shortcut in SHORTCUTS.values():
        edited(shortcut)
    if arguments.check:
        return
    print(f"{'without':<14}" + "".join(f"{f'{kind} {size:,}':>{WIDTH}}" for kind, size in GRAPHS))
    known = {graph: instructions(ROOT / "build" / "release" / "python", *graph)
             for graph in GRAPHS if arguments.instructions}
    for name in arguments.names or SHORTCUTS:
        row = count(name, known) if known else compare(name, arguments.rounds)
        print(row, flush=True)


if __name__ == "__main__":
    main()
