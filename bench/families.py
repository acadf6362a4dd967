"""Seeded payloads by name, such as "flow_400": graphs whose crossings are hard to bring down.

The order of nodes and edges in a payload is shuffled, so that it does not give away the hidden
arrangement. No pair (source, target) occurs twice.

  flow_N   layered data-flow DAG, connected, m ~ 1.6 N, hidden columns
           (round(1.5 sqrt N)) and a hidden height in a column; 80 % of the edges
           span 1 or 2 columns, 20 % span 3 or more (geometric tail); 80 % of the
           edges join nodes at similar height (gaussian, sigma 0.08), 20 % any height;
           at most 4 edges into a node, outputs fan out freely over 1..4 ports
  tree_N   random rooted out-tree, at most 4 children per node
  rand_N   m = 1.5 N edges between uniformly random pairs i < j (may hold
           isolated nodes; several edges may share a port)
  cyc_N    flow_N with 8 % of its edges turned round
  multi_N  N nodes in N/10 components, each a small flow graph (sizes 1..40)
"""

import random
from typing import Any

from payloads import Payload


Pairs = list[tuple[int, int]]


def _seed_of(name: str) -> int:
    value = 20261122
    for ch in name:
        value = (value * 131 + ord(ch)) % (2 ** 31)
    return value


def _flow_edges(n: int, rng: random.Random, base: int = 0) -> Pairs:
    """Edges (u, v) of a connected layered DAG over base..base+n-1."""
    if n <= 1:
        return []
    ncol = max(2, min(n, round(1.5 * n ** 0.5)))
    col = [i % ncol if i < ncol else rng.randrange(ncol) for i in range(n)]
    height = [rng.random() for _ in range(n)]
    by_col: list[list[int]] = [[] for _ in range(ncol)]
    for i in range(n):
        by_col[col[i]].append(i)
    edges: set[tuple[int, int]] = set()
    indeg = [0] * n

    def span(limit: int) -> int:
        r = rng.random()
        if r < 0.56:
            s = 1
        elif r < 0.80:
            s = 2
        else:
            s = 3
            while rng.random() < 0.65:
                s += 1
        return min(s, limit)

    def pick(column: int, near: float) -> int:
        pool = by_col[column]
        if rng.random() < 0.8:
            want = near + rng.gauss(0.0, 0.08)
            return min(pool, key=lambda i: abs(height[i] - want))
        return rng.choice(pool)

    def add(u: int, v: int) -> bool:
        if (u, v) in edges or indeg[v] >= 4:
            return False
        edges.add((u, v))
        indeg[v] += 1
        return True

    for v in range(n):
        if col[v] > 0:
            add(pick(col[v] - span(col[v]), height[v]), v)
    # connect the remaining parts: a node of a small part gets an edge to or from
    # the nearest node of the largest part in the next or previous columns
    parent = list(range(n))

    def find(a: int) -> int:
        while parent[a] != a:
            parent[a] = parent[parent[a]]
            a = parent[a]
        return a

    for u, v in edges:
        parent[find(u)] = find(v)
    while True:
        parts: dict[int, list[int]] = {}
        for i in range(n):
            parts.setdefault(find(i), []).append(i)
        if len(parts) == 1:
            break
        order = sorted(parts.values(), key=lambda p: (-len(p), p[0]))
        main, small = set(order[0]), order[-1]
        best: tuple[float, int, int] | None = None
        for a in small:
            for b in main:
                d = abs(col[a] - col[b])
                u, v = (a, b) if col[a] < col[b] else (b, a)
                if d == 0 or indeg[v] >= 4:
                    continue
                cost = d + abs(height[a] - height[b])
                if best is None or cost < best[0]:
                    best = (cost, u, v)
        assert best is not None
        _, u, v = best
        add(u, v)
        parent[find(u)] = find(v)
    want = round(1.6 * n)
    tries = 0
    while len(edges) < want and tries < 60 * n:
        tries += 1
        v = rng.randrange(n)
        if col[v] > 0:
            add(pick(col[v] - span(col[v]), height[v]), v)
    return [(base + u, base + v) for u, v in sorted(edges)]


def _tree_edges(n: int, rng: random.Random) -> Pairs:
    kids, free = [0] * n, [0]
    edges: Pairs = []
    for v in range(1, n):
        k = rng.randrange(len(free))
        u = free[k]
        edges.append((u, v))
        kids[u] += 1
        if kids[u] == 4:
            free[k] = free[-1]
            free.pop()
        free.append(v)
    return edges


def _rand_edges(n: int, rng: random.Random) -> Pairs:
    edges: set[tuple[int, int]] = set()
    while len(edges) < round(1.5 * n):
        i, j = rng.randrange(n), rng.randrange(n)
        if i != j:
            edges.add((min(i, j), max(i, j)))
    return sorted(edges)


def _multi_edges(n: int, rng: random.Random) -> Pairs:
    comps = n // 10
    sizes = [1] * comps
    weight = [min(4.0, rng.lognormvariate(0.0, 0.7)) for _ in range(comps)]
    for _ in range(n - comps):
        while True:
            c = rng.choices(range(comps), weights=weight)[0]
            if sizes[c] < 40:
                sizes[c] += 1
                break
    edges: Pairs = []
    base = 0
    for s in sizes:
        edges += _flow_edges(s, rng, base)
        base += s
    return edges


def family(name: str) -> Payload:
    """Nodes and edges of the graph of that name, the same on every machine."""
    kind, size = name.split("_")
    n = int(size)
    rng = random.Random(_seed_of(name))
    if kind == "flow":
        pairs = _flow_edges(n, rng)
    elif kind == "tree":
        pairs = _tree_edges(n, rng)
    elif kind == "rand":
        pairs = _rand_edges(n, rng)
    elif kind == "cyc":
        pairs = _flow_edges(n, rng)
        turn = set(rng.sample(range(len(pairs)), round(0.08 * len(pairs))))
        have = set(pairs)
        pairs = [(v, u) if k in turn and (v, u) not in have else (u, v)
                 for k, (u, v) in enumerate(pairs)]
    elif kind == "multi":
        pairs = _multi_edges(n, rng)
    else:
        raise ValueError(f"unknown family {kind}")
    indeg, outdeg = [0] * n, [0] * n
    for u, v in pairs:
        outdeg[u] += 1
        indeg[v] += 1
    return _shuffled(n, pairs, indeg, outdeg, rng)


def _shuffled(
    n: int, pairs: Pairs, indeg: list[int], outdeg: list[int], rng: random.Random
) -> Payload:
    """Nodes with sizes and ports, and edges with ports, both in random order."""
    label = list(range(n))
    rng.shuffle(label)
    nodes: list[dict[str, Any]] = []
    for i in range(n):
        k_in = max(1, min(4, indeg[i] + (rng.random() < 0.3)))
        k_out = max(1, min(4, rng.randint(1, max(1, outdeg[i])), 1 + rng.randrange(4)))
        low = max(40, 20 + 22 * max(k_in, k_out))
        nodes.append({"id": f"n{label[i]}", "width": rng.randint(120, 220),
                      "height": rng.randint(low, 140),
                      "input_ports": k_in, "output_ports": k_out})
    used_in = [0] * n
    edges: list[tuple[int, int, int, int]] = []
    for u, v in pairs:
        k_in, k_out = nodes[v]["input_ports"], nodes[u]["output_ports"]
        edges.append((u, v, rng.randrange(k_out), used_in[v] % k_in))
        used_in[v] += 1
    rng.shuffle(edges)
    payload_edges = [{"id": f"e{k}", "source": nodes[u]["id"], "target": nodes[v]["id"],
                      "source_port": p, "target_port": q}
                     for k, (u, v, p, q) in enumerate(edges)]
    nodes.sort(key=lambda d: int(d["id"][1:]))
    return nodes, payload_edges
