"""examples/check_payload.py: each mistake is named, and a sound payload is not."""

import contextlib
import importlib.util
import io
import json
import pathlib
import tempfile
import unittest

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
spec = importlib.util.spec_from_file_location("check_payload", EXAMPLES / "check_payload.py")
check_payload = importlib.util.module_from_spec(spec)
spec.loader.exec_module(check_payload)

TWO = [{"id": "a", "output_ports": [{"id": "image", "offset": 9}, {"id": "mask", "offset": 30}]},
       {"id": 1, "label": "Save", "input_ports": 2}]
GOOD = {"source": "a", "target": 1}


def edge(**keys):
    return (TWO, [{**GOOD, **keys}])


def node(**keys):
    return ([{"id": "n", **keys}], [])


# A payload, and a piece of the only finding about it.
MISTAKES = (
    (node(heigth=3), "nodes[0] (id 'n'): the key 'heigth' is not read; did you mean 'height'?"),
    (node(inputPorts=3), "did you mean 'input_ports'?"),
    (([{"Id": 1, "id": 2}, {"id": 3, "outputs": 1}], []), "nodes[1] (id 3): the key 'outputs'"),
    ((TWO, [{**GOOD, "port": 1}]), "the key 'port' is not read; did you mean 'source_port' or"),
    ((TWO, [{**GOOD, "targetPort": 1}]), "did you mean 'target_port'?"),
    (node(input_ports=[{"ofset": 3}]), "the key 'ofset' is not read; did you mean 'offset'?"),
    (node(width="200px"), "'width' is '200px', which is not a number"),
    (node(height=0), "'height' is 0, which means the default size"),
    (node(width=float("inf")), "which spreads to the positions"),
    (node(x=3), "only one of 'x' and 'y' is given"),
    (node(input_ports="2"), "the str '2', read character by character"),
    (node(input_ports=2.0), "the float 2.0; a number of ports must be an int"),
    (node(input_ports=["in"]), "lists 'in' instead of the offset of a port"),
    (([*TWO, {"id": "1"}], [GOOD]), "an earlier node also has the id '1'"),
    ((TWO, [{**GOOD, "id": "w"}, {**GOOD, "id": "w"}]), "an earlier edge also has the id 'w'"),
    (edge(target=1.0), "'target' is 1.0, which names no node, but '1.0' resembles the id '1'"),
    (edge(source="A"), "but 'A' resembles the id 'a'"),
    (edge(target="Save"), "but it is the label of the node '1'"),
    (edge(source=0), "and the position of a node in the list is not its id"),
    (edge(target="a"), "an edge from a node to itself is left out"),
    (edge(source_port="mask"), "given by position, from 0; 'mask' is at position 1"),
    (edge(target_port=2), "has the positions 0 to 1; the first port is used"),
    (([{"id": "a"}, {"id": 1}], [{**GOOD, "target_port": 2}]), "declares no 'input_ports'"),
    ((TWO, [("a", 1)]), "edges[0]: a tuple instead of a mapping"),
    (([GOOD, GOOD], TWO), "layout takes the nodes first"),
)


class CheckPayload(unittest.TestCase):
    maxDiff = None

    def test_each_mistake_is_named(self):
        for payload, told in MISTAKES:
            found = check_payload.findings(*payload)
            self.assertEqual(len(found), 1, found)
            self.assertIn(told, found[0])

    def test_what_items_have_in_common_is_told_once(self):
        links = [{"from": "a", "to": 1}] * 2000
        self.assertEqual(check_payload.findings(TWO, links), [
            "edges[0] and 1,999 more: the key 'from' is not read; did you mean 'source'?",
            "edges[0] and 1,999 more: the key 'to' is not read; did you mean 'target'?",
            "edges[0] and 1,999 more: an edge without 'source' is left out",
            "edges[0] and 1,999 more: an edge without 'target' is left out"])

    def test_sound_payloads_are_passed(self):
        self.assertEqual(check_payload.findings(TWO, [{**GOOD, "source_port": 1, "id": "w"}, GOOD]),
                         [])
        for path in sorted(EXAMPLES.glob("graphs/*.json")):
            output = io.StringIO()
            with contextlib.redirect_stdout(output):
                status = check_payload.main([str(path)])
            self.assertEqual((status, output.getvalue()), (0, ""), path.name)

    def test_command_line(self):
        with tempfile.NamedTemporaryFile("w", suffix=".json", encoding="utf-8") as file:
            json.dump({"nodes": [{"id": 1}], "edges": [{"source": 1, "target": 2}]}, file)
            file.flush()
            output = io.StringIO()
            with contextlib.redirect_stdout(output):
                self.assertEqual(check_payload.main([file.name]), 1)
        self.assertIn("edges[0]: 'target' is 2, which names no node", output.getvalue())


if __name__ == "__main__":
    unittest.main()
