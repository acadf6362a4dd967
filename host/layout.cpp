// layout(): payload to result maps, without a Python record in between.

#include <algorithm>
#include <array>

#include "core/vorn_layered.hpp"
#include "host/arguments.hpp"
#include "host/functions.hpp"
#include "host/notes.hpp"
#include "host/options.hpp"
#include "host/payload_reader.hpp"
#include "host/results.hpp"

namespace quillan::host {

using vorn_layered::Arena;
using vorn_layered::Components;
using vorn_layered::LayoutResult;

namespace {

constexpr std::array<const char*, 4> kArguments = {"nodes", "edges", "options", "component_gap"};

// Whether there are arguments by keyword that layout does not have.
bool has_other_keywords(PyObject* kwargs) {
  PyObject* key = nullptr;
  Py_ssize_t next = 0;
  while (kwargs != nullptr && PyDict_Next(kwargs, &next, &key, nullptr) != 0) {
    const auto is_key = [key](const char* name) {
      return PyUnicode_CompareWithASCIIString(key, name) == 0;
    };
    if (std::none_of(kArguments.begin(), kArguments.end(), is_key)) return true;
  }
  return false;
}

Arguments<4> layout_arguments(PyObject* args, PyObject* kwargs) {
  try {
    return {args, kwargs, "OO|O$O:layout", kArguments};
  } catch (const PythonError&) {
    if (PyTuple_GET_SIZE(args) > 3) note("pass component_gap by keyword: component_gap=...");
    if (has_other_keywords(kwargs)) {
      note("pass options as LayoutOptions: layout(nodes, edges, LayoutOptions(direction=...))");
    }
    throw;
  }
}

double read_gap(PyObject* given) {
  if (given == nullptr) return vorn_layered::DEFAULT_COMPONENT_GAP;
  const double gap = PyFloat_AsDouble(given);
  if (gap == -1.0 && PyErr_Occurred() != nullptr) {
    note("while reading the argument component_gap");
    throw PythonError();
  }
  return gap;
}

PyObject* layout(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    const Arguments<4> given = layout_arguments(args, kwargs);
    const State& state = state_of(module);
    const double component_gap = read_gap(given[3]);
    const vorn_layered::LayoutOptions read = read_all_options(state, given[2]);
    Arena arena;
    PayloadReader reader(state, given[0], given[1], arena);
    const Components components =
        vorn_layered::weakly_connected_components(reader.payload(), arena);
    for (std::int32_t i = 0; i < components.size(); ++i) {
      reader.read(components[i], read.direction);
    }
    const LayoutResult result =
        vorn_layered::layout(reader.payload(), components, read, component_gap, arena);
    const CollectorPause pause;
    const Ref positions = position_map(result.positions);
    const Ref routes = route_map(result.routes, pause);
    return check(PyTuple_Pack(2, positions.get(), routes.get())).release();
  });
}

}  // namespace

PyMethodDef LAYOUT_FUNCTIONS[] = {
    {"layout", reinterpret_cast<PyCFunction>(reinterpret_cast<void*>(layout)),
     METH_VARARGS | METH_KEYWORDS,
     R"doc(layout(nodes, edges, options=None, *, component_gap=80.0)
--

Lay out a graph and return `(positions, routes)`.

Parameters
----------
nodes : iterable of mappings
    One mapping per node, with these keys; others are ignored. Numbers may be given as str.
    "id" (required): any value; its str is the node's id in the result, so 7 and "7" are the
        same id. Of several nodes with the same id only the last one counts.
    "width", "height": size of the box; 140.0 by 56.0 if missing, None, empty or 0.
    "x", "y": current top-left corner, read only by the "INTERACTIVE" and "KEEP" strategies;
        if missing or None, the node has no position yet.
    "input_ports", "output_ports": the ports on the side where edges enter and on the side where
        they leave; either a count, spread evenly over the side, or an iterable whose items are
        offsets from the node's top (from its left for DOWN and UP) or mappings with "offset"
        (the middle of the side if missing) and "id". A side without ports gets one in its middle
        if an edge needs it.
edges : iterable of mappings
    "source", "target": node ids. An edge that names no known node, and an edge from a node to
        itself, is left out.
    "source_port", "target_port": position, from 0, among the output ports of the source and the
        input ports of the target; the first port if missing, malformed or out of range.
    "id": any value; its str is the edge's id in the result. If missing, None, empty or 0: "e"
        and the position in `edges`.
options : LayoutOptions, optional
    None means the defaults.
component_gap : float
    Gap across the flow between the boxes of two parts that are not connected.

Returns
-------
positions : dict of str to (float, float)
    Top-left corner of every node.
routes : dict of str to list of (float, float)
    Polyline of an edge from its source port to its target port. An edge that was reversed to
    break a cycle has none; draw it as you would without a layout.

Both are in the caller's frame and units, with y pointing down. They are ordered part by part, by the
parts' first nodes, and within each part in payload order. The payload and the options are not
changed.

Raises
------
KeyError
    A node has no "id".
ValueError
    A str is not a number, or does not name a direction.
TypeError
    A node or an edge is not a mapping, or a value is of the wrong type.
OverflowError
    A port index is infinite and the node has ports, or an int is too large for a float.
MemoryError
    More than 2**20 ports on a side or 2**24 in a connected part; a connected part of more than
    2**23 nodes, or whose long edges cross more than 2**23 layers in all.

Exceptions raised by the caller's own objects are passed on. Notes on an exception say which item and
key were being read. There is no partial result.

Notes
-----
Near-linear in nodes, edges and the layers that edges cross, apart from network simplex in parts of
up to NETWORK_SIMPLEX_NODE_LIMIT nodes. The interpreter's lock is held throughout. Equal calls
give equal results to the last bit, on every machine with IEEE arithmetic.

The approach is that of Sugiyama, Tagawa and Toda, "Methods for Visual Understanding of
Hierarchical System Structures" (1981); the functions of the phases name their own papers.

>>> positions, routes = layout(
...     [{"id": "a"}, {"id": "b"}], [{"id": "wire", "source": "a", "target": "b"}])
>>> positions["b"], routes["wire"]
((224.0, 24.0), [(164.0, 52.0), (224.0, 52.0)])
)doc"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quillan::host
