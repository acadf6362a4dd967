#include "host/python.hpp"

namespace quillan::host {

namespace {

thread_local PutOff* innermost = nullptr;

PyThreadState* current_state() {
#if PY_VERSION_HEX >= 0x030D0000
  return PyThreadState_GetUnchecked();
#else
  return _PyThreadState_UncheckedGet();
#endif
}

// Whether this thread may touch Python. False only while it is being unwound because the
// interpreter has ended; the state that is current then is that of the thread that ends it.
bool has_interpreter() {
  if (!is_finalizing()) return true;
  const PyThreadState* const state = current_state();
  return state != nullptr && state->thread_id == PyThread_get_thread_ident();
}

bool ends_quietly(PyObject* object) {
  return PyUnicode_CheckExact(object) || PyFloat_CheckExact(object) || PyLong_CheckExact(object) ||
         PyBytes_CheckExact(object);
}

}  // namespace

void drop(PyObject* object) noexcept {
  if (!has_interpreter()) return;
  if (Py_REFCNT(object) == 1 && innermost != nullptr && !ends_quietly(object)) {
    try {
      innermost->objects_.push_back(object);
      return;
    } catch (const std::bad_alloc&) {
      // Better now than never.
    }
  }
  Py_DECREF(object);
}

PutOff::PutOff() : outer_(innermost) { innermost = this; }

PutOff::~PutOff() { innermost = outer_; }

void PutOff::release() {
  if (objects_.empty()) return;
  innermost = outer_;
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &value, &traceback);
  for (PyObject* const object : objects_) Py_DECREF(object);
  PyErr_Restore(type, value, traceback);
}

void set_error(const vorn_layered::LookupFault& fault) {
  const Ref id = decoded(fault.id);
  if (id) PyErr_SetObject(PyExc_KeyError, id.get());
}

void set_error(const vorn_layered::LayerFault& fault) {
  const Ref id = decoded(fault.id);
  if (!id) return;
  PyErr_Format(PyExc_ValueError, "LNode %R: layer must be at least 0, not %d", id.get(),
               static_cast<int>(fault.layer));
}

CollectorPause::~CollectorPause() {
  if (was_enabled_ && has_interpreter()) PyGC_Enable();
}

}  // namespace quillan::host
