"""Seeded payloads for the benchmark: what editors, trees and long tangles look like.

Every function returns `(nodes, edges)` as `layout` takes them. The same arguments give the same
payload on every machine.
"""

import random
from typing import Any

Record = dict[str, Any]
Payload = tuple[list[Record], list[Record]]


def _size(rng: random.Random, low: int, high: int, decimal: bool) -> float:
    return rng.randint(low * 10, high * 10) / 10 if decimal else rng.randint(low, high)


def _node(rng: random.Random, number: int, x: int, y: int, decimal: bool) -> Record:
    return {
        "id": f"node{number}",
        "width": _size(rng, 80, 240, decimal),
        "height": _size(rng, 40, 160, decimal),
        "x": x,
        "y": y,
        "input_ports": rng.randint(1, 4),
        "output_ports": rng.randint(1, 4),
    }


def _edge(rng: random.Random, number: int, source: int, target: int) -> Record:
    return {
        "id": f"edge{number}",
        "source": f"node{source}",
        "target": f"node{target}",
        "source_port": rng.randint(0, 3),
        "target_port": rng.randint(0, 3),
    }


def _columns(
    rng: random.Random, count: int, decimal: bool
) -> tuple[list[Record], list[int], list[list[int]]]:
    """Nodes in about sqrt(count) columns: the nodes, each one's column and each column's nodes."""
    columns = max(3, round(count**0.5))
    column_of = sorted(rng.randrange(columns) for _ in range(count))
    members: list[list[int]] = [[] for _ in range(columns)]
    for number, column in enumerate(column_of):
        members[column].append(number)
    nodes = [
        _node(rng, number, 260 * column, 180 * members[column].index(number), decimal)
        for number, column in enumerate(column_of)
    ]
    return nodes, column_of, members


def _wired(rng: random.Random, count: int, decimal: bool, fed: float) -> Payload:
    """Columns with 1.6 wires a node, mostly to the next column and about the same height.

    `fed` is the share of the nodes behind the first column that have a wire from the column before.
    """
    nodes, column_of, members = _columns(rng, count, decimal)

    def near(node: int, column: int) -> int:
        others, own = members[column], members[column_of[node]]
        row = own.index(node) * len(others) / len(own)
        return others[min(max(round(rng.gauss(row, 2.0)), 0), len(others) - 1)]

    ends = [
        (near(node, column - 1), node)
        for node, column in enumerate(column_of)
        if column > 0 and members[column - 1] and rng.random() < fed
    ]
    while len(ends) < count * 1.6:
        source = rng.randrange(count)
        column = column_of[source] + rng.choices((1, 2, 3, 5), (80, 12, 6, 2))[0]
        if column < len(members) and members[column]:
            ends.append((source, near(source, column)))
    edges = [_edge(rng, number, *pair) for number, pair in enumerate(ends)]
    rng.shuffle(nodes)
    return nodes, edges


def editor(count: int, decimal: bool = False, seed: int = 1) -> Payload:
    """A node graph as people draw them: columns, mostly short edges, 1.6 edges a node.

    Every node behind the first column has an input from the column before, so that wires stay short
    when layers are assigned from scratch.
    """
    return _wired(random.Random(seed), count, decimal, 1.0)


def loaders(count: int, decimal: bool = False, seed: int = 1) -> Payload:
    """The same with a fifth of the nodes without inputs, like the loaders and constants of an editor.

    If nodes are put into layers as early as possible, such nodes go to the first layer and their
    wires span most of the drawing: a thousand nodes then have many thousands of dummies.
    """
    return _wired(random.Random(seed), count, decimal, 0.8)


def tree(count: int, seed: int = 2) -> Payload:
    """A tree in which every node has at most four children."""
    rng = random.Random(seed)
    nodes = [_node(rng, number, 0, 0, False) for number in range(count)]
    edges = [
        _edge(rng, number, max(0, (number - rng.randint(0, 2)) // 3), number + 1)
        for number in range(count - 1)
    ]
    return nodes, edges


def tangle(count: int, seed: int = 3) -> Payload:
    """A sparse random graph: 1.2 edges a node, ends anywhere, so that many edges are long."""
    rng = random.Random(seed)
    nodes = [_node(rng, number, 0, 0, False) for number in range(count)]
    edges: list[Record] = []
    while len(edges) < count * 1.2:
        source, target = rng.randrange(count), rng.randrange(count)
        if source < target or rng.random() < 0.02:
            edges.append(_edge(rng, len(edges), source, target))
    return nodes, edges


def islands(count: int, seed: int = 4) -> Payload:
    """Many components of one to eight nodes."""
    rng = random.Random(seed)
    nodes = [_node(rng, number, 0, 0, False) for number in range(count)]
    edges: list[Record] = []
    first = 0
    while first < count:
        size = min(rng.randint(1, 8), count - first)
        for number in range(first + 1, first + size):
            edges.append(_edge(rng, len(edges), rng.randrange(first, number), number))
        first += size
    return nodes, edges
