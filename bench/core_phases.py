"""Runs the C++ benchmark on a payload: what each phase costs without a host around it."""

import json
import subprocess
from dataclasses import dataclass
from pathlib import Path
from typing import Final

from payloads import Payload, Record
from quillan.core import vorn_layered

PHASES: Final = (
    "import",
    "break_cycles",
    "assign_layers",
    "reduce_crossings",
    "place_nodes",
    "route_edges",
    "export",
)
NODE_KEYS: Final = ("id", "width", "height", "x", "y", "input_ports", "output_ports")
EDGE_KEYS: Final = ("id", "source", "target", "source_port", "target_port")


@dataclass(frozen=True)
class CoreFigures:
    """Medians of each phase in nanoseconds per element, by name of the phase.

    Elements are the nodes, dummies among them, and the segments after phase 2.
    """

    phases: dict[str, float]
    nodes: int
    dummies: int
    segments: int
    compiler: str

    @property
    def elements(self) -> int:
        """Nodes plus segments."""
        return self.nodes + self.segments


def build_directory() -> Path:
    """The build tree that the imported module comes from."""
    return Path(vorn_layered.__file__).parents[3]


def measure(payload: Payload, scratch: Path, repetitions: int, seconds: float) -> CoreFigures:
    """Medians over `repetitions`, of which each takes `seconds` or one layout if that is longer."""
    program = build_directory() / "bench" / "core_bench"
    if not program.exists():
        raise SystemExit(f"{program} is missing; build it with QUILLAN_BENCH=ON")
    _write(payload, scratch)
    done = subprocess.run(
        [
            program,
            f"--benchmark_repetitions={repetitions}",
            f"--benchmark_min_time={seconds}",
            "--benchmark_report_aggregates_only=true",
            "--benchmark_format=json",
            scratch,
        ],
        check=True,
        stdout=subprocess.PIPE,
    )
    report = json.loads(done.stdout)
    (figures,) = (run for run in report["benchmarks"] if run["aggregate_name"] == "median")
    return CoreFigures(
        phases={phase: figures[phase] for phase in PHASES},
        nodes=round(figures["nodes"]),
        dummies=round(figures["dummies"]),
        segments=round(figures["segments"]),
        compiler=report["context"]["compiler"],
    )


def _write(payload: Payload, scratch: Path) -> None:
    nodes, edges = payload

    def line(record: Record, keys: tuple[str, ...]) -> str:
        return " ".join(str(record[key]) for key in keys)

    lines = [f"{len(nodes)} {len(edges)}"]
    lines += [line(node, NODE_KEYS) for node in nodes]
    lines += [line(edge, EDGE_KEYS) for edge in edges]
    scratch.write_text("\n".join(lines) + "\n", encoding="utf-8")
