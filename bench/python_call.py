"""Times the Python call against the floor of carrying its data, and measures its peak memory.

Run as a program, this module lays out one marshalled payload and prints by how many bytes that raises
the peak of its own memory. A process that had done anything else before would hide part of it.
"""

import gc
import marshal
import subprocess
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path
from statistics import median

from payloads import Payload
from quillan.core.vorn_layered import layout


@dataclass(frozen=True)
class CallTimes:
    """Medians over `rounds` alternating measurements, in seconds."""

    rounds: int
    call: float
    floor: float

    @property
    def ratio(self) -> float:
        """How many times the floor the call takes."""
        return self.call / self.floor

    def as_json(self) -> dict[str, float]:
        """The same for a file, with units in the names."""
        return {
            "rounds": self.rounds,
            "call_ms": self.call * 1e3,
            "floor_ms": self.floor * 1e3,
            "ratio": self.ratio,
        }


@dataclass
class Share:
    """For how much of the time spent on measuring, over all cases, this process had a core."""

    passed: float = 0.0
    had: float = 0.0


def time_call(payload: Payload, seconds: float, least: int, share: Share) -> CallTimes:
    """Alternate `layout` and its floor for `seconds`, but at least `least` times.

    The floor is what any engine behind a border pays: `marshal.dumps` of the payload, then
    `marshal.loads` of the marshalled result.
    """
    nodes, edges = payload
    result = marshal.dumps(layout(nodes, edges))
    calls: list[float] = []
    floors: list[float] = []
    began, began_on_core = time.perf_counter(), time.process_time()
    while len(calls) < least or time.perf_counter() - began < seconds:
        calls.append(_timed(lambda: layout(nodes, edges)))
        floors.append(_timed(lambda: (marshal.dumps(payload), marshal.loads(result))))
    share.passed += time.perf_counter() - began
    share.had += time.process_time() - began_on_core
    return CallTimes(len(calls), median(calls), median(floors))


def _timed(work: Callable[[], object]) -> float:
    """Seconds that `work` takes; dropping what it returns is not a part of them."""
    began = time.perf_counter()
    kept = work()
    # The collector's pass that is due for what `work` made would otherwise be charged to whatever
    # makes the next container. A set is never taken from a free list.
    owed = set[object]()
    ended = time.perf_counter()
    del kept, owed
    return ended - began


def peak_memory(payload: Payload, scratch: Path) -> int:
    """Bytes by which one call raises the peak of a process that holds just this payload."""
    scratch.write_bytes(marshal.dumps(payload))
    done = subprocess.run(
        [sys.executable, __file__, scratch], check=True, capture_output=True, text=True
    )
    return int(done.stdout)


def _peak_resident() -> int:
    """The peak of this program's memory in bytes.

    Not `ru_maxrss`, which a program inherits from the process that started it.
    """
    for line in Path("/proc/self/status").read_text(encoding="ascii").splitlines():
        if line.startswith("VmHWM:"):
            return int(line.split()[1]) * 1024
    raise RuntimeError("/proc/self/status does not tell the peak of resident memory")


def _main(payload_file: str) -> None:
    with open(payload_file, "rb") as file:  # loads() would need the whole file in memory beside it
        nodes, edges = marshal.load(file)
    layout(nodes[:1], [])
    gc.collect()
    before = _peak_resident()
    result = layout(nodes, edges)
    print(_peak_resident() - before)
    del result


if __name__ == "__main__":
    _main(sys.argv[1])
