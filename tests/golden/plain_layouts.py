"""Write the recorded layouts as plain text, for tests that run where there is no Python.

One item a line. Texts stand as "=" and their UTF-8 in hexadecimal, reals as the hexadecimal digits of
their 64 bits, and what is absent as "-". All values are converted by the rules of the payload.
"""

import json
import struct
import sys
from collections.abc import Iterator
from pathlib import Path
from typing import Any

STRATEGIES = {
    "cycle_breaking_strategy": "AUTO",
    "layering_strategy": "AUTO",
    "crossing_strategy": "AUTO",
    "placement_strategy": "BRANDES_KOEPF",
    "edge_routing": "ORTHOGONAL",
}
LENGTHS = {
    "spacing_node_node": 30.0,
    "spacing_node_node_between_layers": 60.0,
    "spacing_edge_edge": 10.0,
    "spacing_edge_node": 12.0,
    "padding_left": 24.0,
    "padding_top": 24.0,
}


def text(value: Any) -> str:
    return "=" + str(value).encode("utf-8", "surrogatepass").hex()


def real(value: Any) -> str:
    return struct.pack(">d", float(value)).hex()


def optional_real(value: Any) -> str:
    return "-" if value is None else real(value)


def port_index(value: Any) -> int:
    try:
        return int(value)
    except (TypeError, ValueError):
        return 0


def port(item: Any) -> str:
    if not isinstance(item, dict):
        return f"- {real(item)}"
    name = text(item["id"]) if item.get("id") else "-"
    return f"{name} {real(item['offset']) if 'offset' in item else '-'}"


def ports(spec: Any) -> str:
    if spec is None or isinstance(spec, int):
        return f"spread {int(spec or 0)}"
    return " ".join([f"listed {len(spec)}", *map(port, spec)])


def lines(call: dict[str, Any]) -> Iterator[str]:
    given = call["options"]
    unknown = (given.keys() - STRATEGIES.keys() - LENGTHS.keys()
               - {"direction", "interactive", "thoroughness"})
    if unknown:
        raise ValueError(f"the plain form has no place for {unknown}")
    yield " ".join([
        "layout",
        text(call["name"]),
        given.get("direction", "RIGHT"),
        str(int(given.get("interactive", False))),
        str(given.get("thoroughness", 7)),
        *(text(given.get(name, default)) for name, default in STRATEGIES.items()),
        *(real(given.get(name, default)) for name, default in LENGTHS.items()),
        real(call["component_gap"]),
    ])
    for node in call["nodes"]:
        yield " ".join(["node", text(node["id"]),
                        real(node.get("width") or 140.0), real(node.get("height") or 56.0),
                        optional_real(node.get("x")), optional_real(node.get("y")),
                        ports(node.get("input_ports")), ports(node.get("output_ports"))])
    for edge in call["edges"]:
        yield " ".join(["edge", text(edge.get("source", "")), text(edge.get("target", "")),
                        text(edge["id"]) if edge.get("id") else "-",
                        str(port_index(edge.get("source_port"))),
                        str(port_index(edge.get("target_port")))])
    for name, x, y in call["positions"]:
        yield f"position {text(name)} {real(x)} {real(y)}"
    for name, points in call["routes"]:
        coordinates = [real(number) for point in points for number in point]
        yield " ".join(["route", text(name), str(len(points)), *coordinates])
    yield "end"


def main() -> None:
    recorded, plain = map(Path, sys.argv[1:])
    calls = json.loads(recorded.read_text(encoding="utf-8"))
    plain.write_text("".join(f"{line}\n" for call in calls for line in lines(call)),
                     encoding="ascii", newline="\n")


if __name__ == "__main__":
    main()
