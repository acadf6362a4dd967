// What the methods of the Python records call, so that each rule lives in the core alone.

#include "core/graph/lgraph.hpp"
#include "host/fields.hpp"
#include "host/functions.hpp"
#include "host/graph_image.hpp"
#include "host/options.hpp"

namespace quillan::host {

using vorn_layered::LGraph;

namespace {

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
    GraphImage image(state_of(module), Ref::borrow(record), uses::REBUILD_LAYERS);
    image.graph.rebuild_layers();
    image.write_back();
    return Py_NewRef(Py_None);
  });
}

}  // namespace

PyMethodDef RECORD_FUNCTIONS[] = {{"_resolved", resolved, METH_O, nullptr},
                                  {"_next_id", next_id, METH_VARARGS, nullptr},
                                  {"_rebuild_layers", rebuild_layers, METH_O, nullptr},
                                  {nullptr, nullptr, 0, nullptr}};

}  // namespace quillan::host
