"""The benchmark of the whole Python call and of each phase; `./dev bench` builds and runs it."""

import argparse
import gc
import json
import os
import platform
import time
from dataclasses import dataclass
from pathlib import Path
from typing import Final

import core_phases
import python_call
import report
from cases import Case, cases
from figures import Figures, growths

SCRATCH: Final = Path(__file__).resolve().parents[1] / "build" / "bench"
# Below this share of a core, other programs have disturbed the figures.
QUIET_SHARE: Final = 0.95


@dataclass(frozen=True)
class Effort:
    """How long to measure: in seconds, yet never fewer rounds than `rounds`."""

    largest: int  # nodes
    rounds: int
    call_seconds: float
    core_seconds: float  # of one round

    def rounds_for(self, size: int) -> int:
        """Fewer for graphs that take a second or more."""
        return self.rounds if size <= 10_000 else 3


FULL: Final = Effort(100_000, 9, 0.5, 0.02)
QUICK: Final = Effort(1_000, 3, 0.05, 0.01)
# A round that takes more seconds than this is not repeated without the collector.
LONG_ROUND: Final = 2.0


def measure(case: Case, effort: Effort, with_memory: bool, share: python_call.Share) -> Figures:
    """Measure one graph; its payload is dropped afterwards, since the collector would walk it too."""
    payload = case.payload()
    gc.collect()
    rounds, seconds = effort.rounds_for(case.size), effort.call_seconds
    collected = python_call.time_call(payload, seconds, rounds, share)
    uncollected = None
    if collected.call + collected.floor <= LONG_ROUND:
        gc.disable()
        try:
            uncollected = python_call.time_call(payload, seconds / 4, rounds, share)
        finally:
            gc.enable()
    core = core_phases.measure(payload, SCRATCH / f"{case.name}.txt", rounds, effort.core_seconds)
    peak = None
    if with_memory:
        peak = python_call.peak_memory(payload, SCRATCH / f"{case.name}.marshal")
    return Figures(case, collected, uncollected, core, peak)


def measure_all(effort: Effort, share: python_call.Share) -> list[Figures]:
    """Measure all graphs, smallest first within a kind, and print the first table meanwhile."""
    print(report.head(report.CALL_NOTE, report.CALL_COLUMNS))
    wanted = cases(effort.largest)
    last_of_kind = {case.kind: case for case in wanted}
    result = []
    for case in wanted:
        figures = measure(case, effort, case == last_of_kind[case.kind], share)
        print(report.call_row(figures), flush=True)
        result.append(figures)
    return result


def processor() -> str:
    """What the system calls the processor."""
    try:
        lines = Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
    except OSError:
        lines = []
    names = [line.partition(":")[2].strip() for line in lines if line.startswith("model name")]
    return names[0] if names else platform.processor() or platform.machine()


def main() -> None:
    """Parse the command line, measure, print the tables."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quick", action="store_true", help="graphs of up to 1,000 nodes only")
    parser.add_argument("--json", type=Path, metavar="FILE", help="keep the figures there")
    arguments = parser.parse_args()

    SCRATCH.mkdir(parents=True, exist_ok=True)
    began = time.perf_counter()
    share = python_call.Share()
    all_figures = measure_all(QUICK if arguments.quick else FULL, share)
    all_growths = growths(all_figures)

    print(report.head(report.PHASE_NOTE, report.PHASE_COLUMNS))
    print(*report.phase_rows(all_figures), sep="\n")
    if all_growths:
        print(report.head(report.GROWTH_NOTE, report.GROWTH_COLUMNS))
        print(*report.growth_rows(all_growths), sep="\n")
    print(report.head(report.MEMORY_NOTE, report.MEMORY_COLUMNS))
    print(*report.memory_rows(all_figures), sep="\n")

    machine = {
        "cores": os.cpu_count(),
        "processor": processor(),
        "compiler": all_figures[0].core.compiler,
        "python": platform.python_version(),
        "share_of_a_core": share.had / share.passed,
    }
    print(
        f"\nMachine: {machine['cores']} cores of {machine['processor']}, {machine['compiler']},"
        f" Python {machine['python']};"
        f" {time.perf_counter() - began:.0f} s in all. While the calls were timed, this process"
        f" had {share.had / share.passed:.0%} of a core."
    )
    if share.had < QUIET_SHARE * share.passed:
        print("Other programs have disturbed the figures.")
    if arguments.json is not None:
        figures = {
            "machine": machine,
            "graphs": [one.as_json() for one in all_figures],
            "growth": [one.as_json() for one in all_growths],
        }
        arguments.json.write_text(json.dumps(figures, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
