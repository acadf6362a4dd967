// What the methods of the Python records call, so that each rule lives in the core alone.

#include "core/graph/lgraph.hpp"
#include "host/fields.hpp"
#include "host/functions.hpp"
#include "host/graph_image.hpp"
#include "host/options.hpp"

namespace quillan::host {

using vorn_layered::Direction;
using vorn_layered::LGraph;
using vorn_layered::LNode;
using vorn_layered::LPort;
using vorn_layered::PortSide;

namespace {

Direction direction_of(PyObject* value) {
  for (std::size_t i = 0; PyUnicode_Check(value) && i < vorn_layered::DIRECTION_NAMES.size(); ++i) {
    if (PyUnicode_CompareWithASCIIString(value, vorn_layered::DIRECTION_NAMES[i].data()) == 0) {
      return static_cast<Direction>(i);
    }
  }
  fail(PyExc_ValueError, "%R is not a valid Direction", value);
}

template <bool (*Property)(Direction)>
PyObject* direction_property(PyObject*, PyObject* value) {
  return guarded([&]() -> PyObject* { return PyBool_FromLong(Property(direction_of(value))); });
}

// A port and its node with the fields that their coordinates depend on.
template <double (LPort::*Coordinate)() const>
PyObject* port_coordinate(PyObject* module, PyObject* record) {
  return guarded([&]() -> PyObject* {
    const State& state = state_of(module);
    const Fields port_fields(state, record);
    const Ref owner = port_fields.get(Field::kNode);
    const Fields node_fields(state, owner.get());
    LNode node;
    node.x = node_fields.real(Field::kX);
    node.y = node_fields.real(Field::kY);
    node.width = node_fields.real(Field::kWidth);
    LPort port;
    port.node = &node;
    port.offset = port_fields.real(Field::kOffset);
    const Ref side = port_fields.text(Field::kSide);
    port.side =
        PyUnicode_CompareWithASCIIString(side.get(), "WEST") == 0 ? PortSide::WEST : PortSide::EAST;
    return check(PyFloat_FromDouble((port.*Coordinate)())).release();
  });
}

PyObject* cross_center(PyObject* module, PyObject* record) {
  return guarded([&]() -> PyObject* {
    const Fields fields(state_of(module), record);
    LNode node;
    node.y = fields.real(Field::kY);
    node.height = fields.real(Field::kHeight);
    return check(PyFloat_FromDouble(node.cross_center())).release();
  });
}

PyObject* resolved(PyObject* module, PyObject* options) {
  return guarded(
      [&]() -> PyObject* { return resolved_options(state_of(module), options).release(); });
}

PyObject* next_id(PyObject* module, PyObject* args) {
  return guarded([&]() -> PyObject* {
    PyObject* record = nullptr;
    PyObject* prefix = nullptr;
    if (PyArg_ParseTuple(args, "OU:next_id", &record, &prefix) == 0) return nullptr;
    const State& state = state_of(module);
    LGraph graph;
    TextKeeper texts(graph.arena);
    graph._counter = static_cast<std::uint32_t>(
        Fields(state, record).integer(Field::kCounter, 0, UINT32_MAX / 2));
    const vorn_layered::Text id = graph.next_id(vorn_layered::Text(texts.keep(text_form(prefix))));
    const Ref text = text_from_bytes(id.str());
    const Ref counter = check(PyLong_FromUnsignedLong(graph._counter));
    check(PyObject_SetAttr(record, state.field(Field::kCounter), counter.get()));
    return Py_NewRef(text.get());
  });
}

PyObject* rebuild_layers(PyObject* module, PyObject* record) {
  return guarded([&]() -> PyObject* {
    GraphImage image(state_of(module), record, LayerUse::kWrite);
    image.graph.rebuild_layers();
    image.write_back();
    return Py_NewRef(Py_None);
  });
}

}  // namespace

PyMethodDef RECORD_FUNCTIONS[] = {
    {"_is_transposed", direction_property<vorn_layered::is_transposed>, METH_O, nullptr},
    {"_is_reversed", direction_property<vorn_layered::is_reversed>, METH_O, nullptr},
    {"_port_x", port_coordinate<&LPort::x>, METH_O, nullptr},
    {"_port_y", port_coordinate<&LPort::y>, METH_O, nullptr},
    {"_cross_center", cross_center, METH_O, nullptr},
    {"_resolved", resolved, METH_O, nullptr},
    {"_next_id", next_id, METH_VARARGS, nullptr},
    {"_rebuild_layers", rebuild_layers, METH_O, nullptr},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quillan::host
