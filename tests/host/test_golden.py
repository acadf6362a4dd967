"""Recorded layouts and per-phase states, compared number by number without tolerance."""

import json
import pathlib
import unittest

from quillan.core import vorn_layered as engine

GOLDEN = pathlib.Path(__file__).resolve().parents[1] / "golden"

PHASES = ("break_cycles", "assign_layers", "reduce_crossings", "place_nodes", "route_edges")


def load(name):
    return json.loads((GOLDEN / name).read_text(encoding="utf-8"))


def state_of(graph):
    """The graph as the records write it."""

    def node_state(node):
        fields = ("id", "width", "height", "kind", "origin_x", "origin_y", "layer", "order", "x", "y")
        state = {field: getattr(node, field) for field in fields}
        state["ports"] = [[port.id, port.side, port.index, port.offset] for port in node.ports]
        return state

    def edge_state(edge):
        return {
            "id": edge.id,
            "source": edge.source.id,
            "target": edge.target.id,
            "origin_id": edge.origin_id,
            "reversed": edge.reversed,
            "bend_points": [list(point) for point in edge.bend_points],
        }

    return {
        "nodes": [node_state(node) for node in graph.nodes],
        "edges": [edge_state(edge) for edge in graph.edges],
        "chains": [[key, [edge.id for edge in chain]] for key, chain in graph.chains.items()],
        "reversed_originals": graph.reversed_originals,
        "layers": [[node.id for node in layer] for layer in graph.layers],
    }


class GoldenLayouts(unittest.TestCase):
    def test_layouts(self):
        calls = load("layouts.json")
        self.assertEqual(len(calls), 72)
        for call in calls:
            with self.subTest(call["name"]):
                positions, routes = engine.layout(
                    call["nodes"],
                    call["edges"],
                    engine.LayoutOptions(**call["options"]),
                    component_gap=call["component_gap"],
                )
                self.assertEqual([[key, *point] for key, point in positions.items()],
                                 call["positions"])
                self.assertEqual([[key, [list(point) for point in route]]
                                  for key, route in routes.items()], call["routes"])


class GoldenPhases(unittest.TestCase):
    def test_states(self):
        for call in load("phases.json"):
            with self.subTest(call["name"]):
                self.check(call)

    def check(self, call):
        options = engine.LayoutOptions(**call["options"])
        components = iter(engine.weakly_connected_components(call["nodes"], call["edges"]))
        graph = None
        for step, expected in call["steps"]:
            if step == "build_graph":
                graph = engine.build_graph(*next(components), options)
            elif step in PHASES:
                getattr(engine, step)(graph)
            if step == "count_crossings":
                self.assertEqual(engine.count_crossings(graph), expected, step)
            elif step == "graph_extent":
                self.assertEqual(list(engine.graph_extent(graph)), expected, step)
            else:
                self.assertEqual(state_of(graph), expected, step)
        self.assertIsNone(next(components, None))


if __name__ == "__main__":
    unittest.main()
