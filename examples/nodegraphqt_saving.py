"""Keep routes in a saved session.

NodeGraphQt's node ids are memory addresses, and every load makes new ones. So a saved route refers to
its nodes by their position in the session, which loading preserves, and by their names as a check.
"""

from __future__ import annotations

from collections.abc import Collection, Mapping
from typing import Any

from NodeGraphQt import NodeGraph

from nodegraphqt_reading import Connection
from nodegraphqt_writing import draw_changed_pipes


def saved_routes(graph: NodeGraph) -> dict[str, Any]:
    """The routes of a graph, in a form suitable for JSON."""
    viewer: Any = graph.viewer()
    nodes = graph.all_nodes()
    places = {node.id: place for place, node in enumerate(nodes)}
    wires = []
    for connection, route in {**viewer.routes, **viewer.detours}.items():
        if connection.source in places and connection.target in places:
            wires.append([places[connection.source], connection.output,
                          places[connection.target], connection.input,
                          [list(point) for point in route]])
    return {"nodes": [node.name() for node in nodes], "wires": wires}


def load_routes(graph: NodeGraph, session: Mapping[str, Any], before: Collection[str]) -> None:
    """Show the routes that were saved in `session`, whose nodes are those not in `before`.

    If a node could not be loaded, because its type is not registered, only its own routes are lost.
    """
    saved = session.get("routes")
    if not saved:
        return
    nodes = [node for node in graph.all_nodes() if node.id not in before]
    names = saved["nodes"]
    if len(nodes) == len(names):
        ids = dict(enumerate(node.id for node in nodes))
    else:
        by_name = {node.name(): node.id for node in nodes}
        ids = {place: by_name[name] for place, name in enumerate(names) if name in by_name}
    routes = {}
    for source, output, target, input_, points in saved["wires"]:
        if source in ids and target in ids:
            routes[Connection(ids[source], output, ids[target], input_)] = [
                (x, y) for x, y in points]
    viewer: Any = graph.viewer()
    viewer.exchange_routes(({**viewer.routes, **routes}, viewer.detours))
    draw_changed_pipes(graph, set(routes))
