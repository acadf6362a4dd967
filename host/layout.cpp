// layout(): payload to result maps, without a Python record in between.

#include <bit>

#include "core/vorn_layered.hpp"
#include "host/functions.hpp"
#include "host/options.hpp"
#include "host/reader.hpp"

namespace quillan::host {

using vorn_layered::Arena;
using vorn_layered::LayoutResult;
using vorn_layered::Point;

namespace {

// Makes result points. Neighbouring points of an orthogonal route share a coordinate, and then they
// share its float object too.
class PointMaker {
 public:
  Ref make(Point point) {
    x_ = object_for(point.x, x_);
    y_ = object_for(point.y, y_);
    Ref pair = check(PyTuple_New(2));
    PyTuple_SET_ITEM(pair.get(), 0, Py_NewRef(x_.get()));
    PyTuple_SET_ITEM(pair.get(), 1, Py_NewRef(y_.get()));
    // A tuple of floats can be in no cycle; untracked, it costs the collector nothing.
    PyObject_GC_UnTrack(pair.get());
    return pair;
  }

 private:
  static Ref object_for(double value, Ref& last) {
    const bool same = last && std::bit_cast<std::uint64_t>(PyFloat_AS_DOUBLE(last.get())) ==
                                  std::bit_cast<std::uint64_t>(value);
    return same ? std::move(last) : check(PyFloat_FromDouble(value));
  }

  Ref x_;
  Ref y_;
};

// The caller's own str where the text is one, else a new one.
Ref key_of(const vorn_layered::Text& text) {
  if (text.host() != nullptr) {
    return Ref::borrow(static_cast<PyObject*>(const_cast<void*>(text.host())));
  }
  return text_from_bytes(text.source()->bytes);
}

Ref position_map(const LayoutResult& result) {
  Ref map = check(PyDict_New());
  PointMaker points;
  for (const vorn_layered::NodePosition& position : result.positions) {
    const Ref key = key_of(position.id);
    check(PyDict_SetItem(map.get(), key.get(), points.make(position.top_left).get()));
  }
  return map;
}

Ref route_map(const LayoutResult& result) {
  Ref map = check(PyDict_New());
  PointMaker points;
  for (const vorn_layered::EdgeRoute& route : result.routes.routes) {
    const Ref key = key_of(route.id);
    const Ref list = check(PyList_New(static_cast<Py_ssize_t>(route.count)));
    for (std::size_t i = 0; i < route.count; ++i) {
      PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i),
                      points.make(result.routes.points[route.first + i]).release());
    }
    check(PyDict_SetItem(map.get(), key.get(), list.get()));
  }
  return map;
}

PyObject* layout(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    static const char* keywords[] = {"nodes", "edges", "options", "component_gap", nullptr};
    PyObject* nodes = nullptr;
    PyObject* edges = nullptr;
    PyObject* options = nullptr;
    double component_gap = vorn_layered::DEFAULT_COMPONENT_GAP;
    if (PyArg_ParseTupleAndKeywords(args, kwargs, "OO|O$d:layout", const_cast<char**>(keywords),
                                    &nodes, &edges, &options, &component_gap) == 0) {
      return nullptr;
    }
    const State& state = state_of(module);
    const vorn_layered::LayoutOptions read = read_options(state, options);
    const Ref node_list = check(PySequence_List(nodes));
    const Ref edge_list = check(PySequence_List(edges));
    Arena texts;
    PythonReader reader(state, texts);
    const vorn_layered::Payload payload(items_of(node_list.get()), items_of(edge_list.get()),
                                        reader);
    const LayoutResult result = vorn_layered::layout(payload, read, component_gap, texts);
    const CollectorPause pause;
    const Ref positions = position_map(result);
    const Ref routes = route_map(result);
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
    One mapping a node, with these keys; others are ignored.
    "id" (required): any value; its text is the node's id in the result.
    "width", "height": size of the box, 140.0 by 56.0 where missing, empty or 0.
    "x", "y": current top-left corner, used by the interactive strategies only.
    "input_ports", "output_ports": a count of ports spread evenly over the side, or a sequence whose
    items are offsets from the node's top (from its left for DOWN and UP), or mappings with an
    "offset" (the middle of the side where missing) and an "id".
edges : iterable of mappings
    "source", "target": node ids. An edge that names an unknown node, and an edge from a node to
    itself, is left out. "source_port", "target_port": position among the source's output ports and
    the target's input ports; the first port where missing or unusable. "id": any value; where
    missing or empty, "e" and the position in `edges`.
options : LayoutOptions, optional
    None means the defaults.
component_gap : float
    Gap across the flow between parts of the graph that are not connected.

Returns
-------
positions : dict of str to (float, float)
    Top-left corner of every node.
routes : dict of str to list of (float, float)
    Polyline of an edge from its source port to its target port. An edge that closes a cycle has no
    route; draw it as you would without a layout.
Both are in the caller's frame and units, component by component, in payload order inside each.

Raises
------
KeyError for a node without "id"; ValueError for text that is no number; TypeError for a value of the
wrong type, nodes and edges that are no mappings included; OverflowError for an infinite port index;
MemoryError for port counts and edge spans beyond the engine's bounds. Exceptions of the caller's own
objects pass through. There is no partial result.

Cost: near-linear in nodes plus edges plus the layers that edges span. The interpreter's lock is held
throughout.

After Sugiyama, Tagawa and Toda, "Methods for Visual Understanding of Hierarchical System Structures"
(1981); the phases name their own papers.

>>> positions, routes = layout(
...     [{"id": "a"}, {"id": "b"}], [{"id": "wire", "source": "a", "target": "b"}])
>>> positions["b"], routes["wire"]
((224.0, 24.0), [(164.0, 52.0), (224.0, 52.0)])
)doc"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quillan::host
