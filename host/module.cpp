// PyInit_vorn_layered: the module, its state and the order of its names.

#include "core/graph/vocabulary.hpp"
#include "host/functions.hpp"
#include "host/records_source.hpp"
#include "host/state.hpp"

namespace quillan::host {

namespace {

void make_names(State& state) {
  for (std::size_t i = 0; i < KEY_TEXTS.size(); ++i) {
    state.keys[i] = check(PyUnicode_InternFromString(KEY_TEXTS[i])).release();
  }
  for (std::size_t i = 0; i < FIELD_TEXTS.size(); ++i) {
    state.fields[i] = check(PyUnicode_InternFromString(FIELD_TEXTS[i])).release();
  }
  const Ref abstract = check(PyImport_ImportModule("collections.abc"));
  state.mapping = check(PyObject_GetAttrString(abstract.get(), "Mapping")).release();
  state.mapping_contains = check(PyObject_GetAttrString(state.mapping, "__contains__")).release();
}

// Runs the Python source of the enumerations and records as the module's own code.
void define_records(PyObject* module, State& state) {
  PyObject* const names = PyModule_GetDict(module);
  // Tracebacks look for no file of a name in angle brackets.
  const Ref code = check(Py_CompileString(RECORDS_SOURCE, "<vorn_layered>", Py_file_input));
  check(PyDict_SetItemString(names, "__builtins__", PyEval_GetBuiltins()));
  check(PyEval_EvalCode(code.get(), names, names));
  const auto keep = [&](PyObject*& slot, const char* name) {
    slot = check(PyObject_GetAttrString(module, name)).release();
  };
  keep(state.direction, "Direction");
  keep(state.port_side, "PortSide");
  keep(state.node_kind, "NodeKind");
  keep(state.layout_options, "LayoutOptions");
  keep(state.lport, "LPort");
  keep(state.lnode, "LNode");
  keep(state.ledge, "LEdge");
  keep(state.lgraph, "LGraph");
}

void add_real(PyObject* module, const char* name, double value) {
  check(PyModule_AddObjectRef(module, name, check(PyFloat_FromDouble(value)).get()));
}

int traverse(PyObject* module, visitproc visit, void* arg) {
  if (PyModule_GetState(module) == nullptr) return 0;
  return raw_state_of(module).for_each([&](PyObject* object) {
    Py_VISIT(object);
    return 0;
  });
}

int clear(PyObject* module) {
  if (PyModule_GetState(module) == nullptr) return 0;
  return raw_state_of(module).for_each([](PyObject*& object) {
    Py_CLEAR(object);
    return 0;
  });
}

void release(void* module) { clear(static_cast<PyObject*>(module)); }

// Gives a module whose import has failed the names back that it had before: Python calls a second
// import of the same module object a success without asking.
void restore_names(PyObject* module, const Ref& before) {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  clear(module);
  PyObject* const names = PyModule_GetDict(module);
  PyDict_Clear(names);
  if (PyDict_Update(names, before.get()) != 0) PyErr_Clear();
  PyErr_Restore(type, value, traceback);
}

// The order of the calls is the order of the module's public names.
int execute(PyObject* module) {
  const Ref before = Ref::steal(PyDict_Copy(PyModule_GetDict(module)));
  if (!before) return -1;
  const auto body = [&]() -> PyObject* {
    State& state = raw_state_of(module);
    make_names(state);
    check(PyModule_AddFunctions(module, RECORD_FUNCTIONS));
    define_records(module, state);
    check(PyModule_AddStringConstant(module, "__version__", QUILLAN_VERSION));
    add_real(module, "DEFAULT_NODE_WIDTH", vorn_layered::DEFAULT_NODE_WIDTH);
    add_real(module, "DEFAULT_NODE_HEIGHT", vorn_layered::DEFAULT_NODE_HEIGHT);
    check(PyModule_AddFunctions(module, BUILD_FUNCTIONS));
    check(PyModule_AddIntConstant(module, "NETWORK_SIMPLEX_NODE_LIMIT",
                                  vorn_layered::NETWORK_SIMPLEX_NODE_LIMIT));
    check(PyModule_AddFunctions(module, PHASE_FUNCTIONS));
    check(PyModule_AddFunctions(module, LAYOUT_FUNCTIONS));
    state.ready = true;
    return Py_None;
  };
  if (guarded(body) != nullptr) return 0;
  restore_names(module, before);
  return -1;
}

PyModuleDef_Slot slots[] = {
    {Py_mod_exec, reinterpret_cast<void*>(execute)},
#if PY_VERSION_HEX >= 0x030C0000
    // Nothing is shared between interpreters, so each may run under a lock of its own.
    {Py_mod_multiple_interpreters, Py_MOD_PER_INTERPRETER_GIL_SUPPORTED},
#endif
    {0, nullptr}};

PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "vorn_layered",
                          nullptr,  // the docstring comes with the records' source
                          sizeof(State),
                          nullptr,
                          slots,
                          traverse,
                          clear,
                          release};

}  // namespace

}  // namespace quillan::host

PyMODINIT_FUNC PyInit_vorn_layered() { return PyModuleDef_Init(&quillan::host::definition); }
