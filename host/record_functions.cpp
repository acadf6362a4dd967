// What those methods of the Python records call whose rules live in the core.

#include "host/functions.hpp"
#include "host/graph_image.hpp"
#include "host/options.hpp"

namespace quillan::host {

namespace {

PyObject* resolved(PyObject* module, PyObject* options) {
  return guarded(
      [&]() -> PyObject* { return resolved_options(state_of(module), options).release(); });
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
                                  {"_rebuild_layers", rebuild_layers, METH_O, nullptr},
                                  {nullptr, nullptr, 0, nullptr}};

}  // namespace quillan::host
