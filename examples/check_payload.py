"""Reports what is legal in a payload but probably a mistake.

`layout` takes any mapping, ignores keys that it does not know, and leaves out edges that name no node,
all without a word. That is right for a finished program, but hard on whoever is still writing it. Until
then, use this. Copy the file; it needs only the standard library, not even the engine.

    for finding in findings(nodes, edges):
        print(finding)

Or for a JSON file of the form {"nodes": [...], "edges": [...]}:

    python3 check_payload.py payload.json

The exit status is 1 if there are findings. What many items have in common is reported once, and what
`layout` would refuse is reported as well. Linear in the payload, which is left unchanged. Pass lists,
since an iterator would be used up.
"""

from __future__ import annotations

import difflib
import json
import math
import re
import sys
from collections.abc import Iterable, Iterator, Mapping
from typing import Any, SupportsIndex

NODE_KEYS = ("id", "width", "height", "x", "y", "input_ports", "output_ports")
EDGE_KEYS = ("id", "source", "target", "source_port", "target_port")
PORT_KEYS = ("id", "offset")

# Other common names for these keys, in lower case and without underscores.
OTHER_NAMES = {
    "node": {"name": "id", "key": "id", "uid": "id", "uuid": "id", "nodeid": "id", "w": "width",
             "h": "height", "left": "x", "top": "y", "inputs": "input_ports", "inports": "input_ports",
             "outputs": "output_ports", "outports": "output_ports"},
    "edge": {"from": "source", "src": "source", "start": "source", "tail": "source",
             "fromnode": "source", "sourceid": "source", "sourcenode": "source", "to": "target",
             "dst": "target", "dest": "target", "end": "target", "head": "target",
             "tonode": "target", "targetid": "target", "targetnode": "target", "name": "id",
             "key": "id", "fromport": "source_port", "outport": "source_port",
             "outputport": "source_port", "sourcehandle": "source_port", "toport": "target_port",
             "inport": "target_port", "inputport": "target_port", "targethandle": "target_port",
             "port": "source_port' or 'target_port"},
    "port": {"name": "id", "y": "offset", "x": "offset", "pos": "offset", "position": "offset"},
}
KNOWN_KEYS = {"node": NODE_KEYS, "edge": EDGE_KEYS, "port": PORT_KEYS}

SIDES = (("source", "source_port", "output_ports"), ("target", "target_port", "input_ports"))
CLOSE = 0.75  # at least how similar a key must be to count as misspelt

Finding = tuple[str, str]  # the item, and what is wrong with it


def findings(nodes: Iterable[Any], edges: Iterable[Any]) -> list[str]:
    """The findings, one line each, in the order of the payload."""
    nodes, edges = list(nodes), list(edges)
    first: dict[str, str] = {}
    count: dict[str, int] = {}
    for where, what in check(nodes, edges):
        first.setdefault(what, where)
        count[what] = count.get(what, 0) + 1
    return [f"{where}{f' and {count[what] - 1:,} more' if count[what] > 1 else ''}: {what}"
            for what, where in first.items()]


def check(nodes: list[Any], edges: list[Any]) -> Iterator[Finding]:
    """All findings, item by item."""
    if exchanged(nodes, edges):
        yield "the call", "the edges come first and the nodes second; layout takes the nodes first"
        return
    named: dict[str, Mapping[Any, Any]] = {}
    for place, node in enumerate(nodes):
        where = item_name("nodes", place, node)
        if not isinstance(node, Mapping):
            yield where, not_a_mapping(node, '{"id": ...}')
        else:
            yield from check_node(where, node, named)
    lookup = Lookup(named)
    seen: set[str] = set()
    for place, edge in enumerate(edges):
        where = item_name("edges", place, edge)
        if not isinstance(edge, Mapping):
            yield where, not_a_mapping(edge, '{"source": ..., "target": ...}')
        else:
            yield from check_edge(where, edge, lookup, seen)


def item_name(collection: str, place: int, item: Any) -> str:
    """What a finding calls an item."""
    known = isinstance(item, Mapping) and "id" in item
    return f"{collection}[{place}] (id {item['id']!r})" if known else f"{collection}[{place}]"


def not_a_mapping(item: Any, example: str) -> str:
    """The finding about an item that `layout` refuses."""
    return f"a {type(item).__name__} instead of a mapping such as {example} is a TypeError"


def check_node(where: str, node: Mapping[Any, Any],
               named: dict[str, Mapping[Any, Any]]) -> Iterator[Finding]:
    """Findings about a node, which is added to `named`."""
    yield from near_keys(where, "node", node)
    if "id" not in node:
        yield where, "a node without 'id' is a KeyError"
        return
    name = str(node["id"])
    if name in named:
        yield where, (f"an earlier node also has the id {name!r}; of nodes with the same id only "
                      "the last one counts")
    named[name] = node
    yield from odd_numbers(where, node)
    for key in ("input_ports", "output_ports"):
        yield from odd_ports(where, key, node.get(key))


def check_edge(where: str, edge: Mapping[Any, Any], lookup: Lookup,
               seen: set[str]) -> Iterator[Finding]:
    """Findings about an edge, whose id is added to `seen`."""
    yield from near_keys(where, "edge", edge)
    for end, port_key, ports_key in SIDES:
        if end not in edge:
            yield where, f"an edge without '{end}' is left out"
            continue
        node = lookup.nodes.get(str(edge[end]))
        if node is None:
            yield where, (f"'{end}' is {edge[end]!r}, which names no node{lookup.hint(edge[end])}; "
                          "the edge is left out")
        else:
            yield from odd_port(where, port_key, edge.get(port_key), node, ports_key)
    if {"source", "target"} <= edge.keys() and str(edge["source"]) == str(edge["target"]):
        yield where, "an edge from a node to itself is left out"
    if edge.get("id"):
        name = str(edge["id"])
        if name in seen:
            yield where, (f"an earlier edge also has the id {name!r}; of edges with the same id "
                          "only the last one has a route")
        seen.add(name)


def exchanged(nodes: list[Any], edges: list[Any]) -> bool:
    """Whether the two lists are the wrong way round."""
    return (bool(nodes) and all(isinstance(item, Mapping) and {"source", "target"} <= item.keys()
                                for item in nodes)
            and bool(edges) and not any(isinstance(item, Mapping) and "source" in item
                                        for item in edges))


def near_keys(where: str, kind: str, item: Mapping[Any, Any]) -> Iterator[Finding]:
    """Keys that the engine does not know but that resemble one that the item lacks."""
    known = KNOWN_KEYS[kind]
    for key in item:
        if key in known or not isinstance(key, str):
            continue
        meant = meant_by(key, kind)
        if meant and meant not in item:
            yield where, f"the key {key!r} is not read; did you mean '{meant}'?"


def meant_by(key: str, kind: str) -> str | None:
    """The known key that an unknown one probably stands for."""
    known = KNOWN_KEYS[kind]
    plain = re.sub(r"[^a-z0-9]", "", key.lower())
    by_plain = {name.replace("_", ""): name for name in known}
    if plain in by_plain:
        return by_plain[plain]
    if plain in OTHER_NAMES[kind]:
        return OTHER_NAMES[kind][plain]
    long = [name for name in by_plain if len(name) > 2]  # every short key resembles another
    close = difflib.get_close_matches(plain, long, 1, CLOSE)
    return by_plain[close[0]] if close else None


def odd_numbers(where: str, node: Mapping[Any, Any]) -> Iterator[Finding]:
    """Sizes and positions that give an odd drawing."""
    for key in ("width", "height", "x", "y"):
        value = node.get(key)
        if value is None or value == "":
            continue
        number = number_of(value)
        if number is None:
            yield where, f"'{key}' is {value!r}, which is not a number"
        elif not math.isfinite(number):
            yield where, f"'{key}' is {value!r}, which spreads to the positions of whatever comes after it"
        elif key in ("width", "height") and number < 0:
            yield where, f"'{key}' is negative"
        elif key in ("width", "height") and not value:
            yield where, f"'{key}' is 0, which means the default size"
    if (node.get("x") is None) != (node.get("y") is None):
        yield where, "only one of 'x' and 'y' is given"


def odd_ports(where: str, key: str, ports: Any) -> Iterator[Finding]:
    """A value for ports that does not mean what it seems to."""
    if isinstance(ports, str):
        yield where, (f"'{key}' is the str {ports!r}, read character by character as offsets; "
                      "pass a number of ports, or a list")
    elif isinstance(ports, Mapping):
        yield where, f"'{key}' is a mapping, whose keys are read as offsets; pass a list"
    elif isinstance(ports, float):
        yield where, f"'{key}' is the float {ports!r}; a number of ports must be an int"
    for port in ports if isinstance(ports, (list, tuple)) else ():
        if isinstance(port, Mapping):
            yield from near_keys(where, "port", port)
            if "offset" in port and number_of(port["offset"]) is None:
                yield where, f"the offset of a port in '{key}' is not a number"
        elif number_of(port) is None:
            yield where, (f"'{key}' lists {port!r} instead of the offset of a port; pass "
                          f"{len(ports)}, or mappings with 'id' and 'offset'")


class Lookup:
    """The nodes by id, and by whatever else may be used to refer to them."""

    def __init__(self, nodes: dict[str, Mapping[Any, Any]]) -> None:
        self.nodes = nodes
        self.by_shape = {shape(name): name for name in nodes}
        self.by_label = {str(node[key]): name for name, node in nodes.items()
                         for key in ("label", "name", "title") if key in node}

    def hint(self, value: Any) -> str:
        """What a value that names no node may be meant to be."""
        like = self.by_shape.get(shape(str(value)))
        if like is not None:
            return f", but {str(value)!r} resembles the id {like!r}; ids are compared as strings"
        label = self.by_label.get(str(value))
        if label is not None:
            return f", but it is the label of the node {label!r}; edges name nodes by id"
        if isinstance(value, int) and 0 <= value < len(self.nodes):
            return ", and the position of a node in the list is not its id"
        if isinstance(value, Mapping):
            return "; pass the id of a node, not the node"
        return ""


def shape(name: str) -> str:
    """The same for ids that are easily mixed up: 1, 1.0 and " 1"; A and a."""
    number = number_of(name)
    if number is not None and math.isfinite(number):
        return repr(number)
    return name.strip().casefold()


def odd_port(where: str, key: str, value: Any, node: Mapping[Any, Any],
             ports_key: str) -> Iterator[Finding]:
    """A port that is not given by its position, or that does not exist."""
    if value is None:
        return
    ports = node.get(ports_key)
    names = [port.get("id") if isinstance(port, Mapping) else port for port in ports] \
        if isinstance(ports, (list, tuple)) else []
    count = int(ports) if isinstance(ports, SupportsIndex) else len(names)
    try:
        place = int(value)
    except (TypeError, ValueError, OverflowError):
        hint = f"; {value!r} is at position {names.index(value)}" if value in names else ""
        yield where, (f"'{key}' is {value!r}, but ports are given by position, from 0{hint}; "
                      "the first port is used")
        return
    if count > 0 and not 0 <= place < count:
        yield where, (f"'{key}' is {value!r}, but '{ports_key}' of the node has the positions "
                      f"0 to {count - 1}; the first port is used")
    elif count <= 0 and place != 0 and not isinstance(ports, Iterable):
        yield where, (f"'{key}' is {value!r}, but the node declares no '{ports_key}'; all its edges "
                      "there share one port in the middle of the side")


def number_of(value: Any) -> float | None:
    """The value as a float, as the engine would take it, or None."""
    try:
        return float(value)
    except (TypeError, ValueError, OverflowError):
        return None


def main(arguments: list[str]) -> int:
    """Check the files."""
    if not arguments or arguments[0].startswith("-"):
        print(__doc__)
        return 2
    found = 0
    for path in arguments:
        with open(path, encoding="utf-8") as file:
            payload = json.load(file)
        for line in findings(payload["nodes"], payload["edges"]):
            print(f"{path}: {line}" if len(arguments) > 1 else line)
            found += 1
    return int(found > 0)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
