// The host's C API with owned references and failures as C++ exceptions.
//
// Every result of the C API is checked at the call. A failing call throws PythonError with Python's
// own exception set; `guarded` turns whatever leaves a body back into a Python exception, so that
// no C++ exception crosses the C boundary.
//
// One unwinding does cross it. Up to CPython 3.13, a daemon thread that asks for the interpreter
// after its end is unwound to its first frame, right out of the C API. So nothing here catches what
// it does not know, no function that may run Python code is noexcept, and an owned reference that
// goes meanwhile leaves Python alone.

#ifndef QUILLAN_HOST_PYTHON_HPP_
#define QUILLAN_HOST_PYTHON_HPP_

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "core/base/faults.hpp"

namespace quillan::host {

// Thrown while Python's error indicator is set.
struct PythonError {};

// Whether the interpreter is coming to its end.
inline bool is_finalizing() {
#if PY_VERSION_HEX >= 0x030D0000
  return Py_IsFinalizing() != 0;
#else
  return _Py_IsFinalizing() != 0;
#endif
}

// Gives a reference back, without running any code of the caller's: an object whose end could run
// some is put off until the call of the module is over. Does nothing on a thread that has lost the
// interpreter.
void drop(PyObject* object) noexcept;

// An owned reference, or null.
class Ref {
 public:
  Ref() = default;
  // Takes over a new reference.
  static Ref steal(PyObject* object) { return Ref(object); }
  // Adds a reference to a borrowed one.
  static Ref borrow(PyObject* object) {
    Py_XINCREF(object);
    return Ref(object);
  }
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Ref& operator=(Ref&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  ~Ref() {
    if (object_ == nullptr) return;
    // Most objects have other owners and go on living: there is nothing to put off.
    if (Py_REFCNT(object_) != 1 && !is_finalizing()) {
      Py_DECREF(object_);
    } else {
      drop(object_);
    }
  }

  [[nodiscard]] PyObject* get() const { return object_; }
  [[nodiscard]] Ref copy() const { return borrow(object_); }
  [[nodiscard]] PyObject* release() { return std::exchange(object_, nullptr); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit Ref(PyObject* object) : object_(object) {}
  PyObject* object_ = nullptr;
};

// A new reference that must not be null.
inline Ref check(PyObject* object) {
  if (object == nullptr) throw PythonError();
  return Ref::steal(object);
}

// A status that must not be negative.
inline int check(int status) {
  if (status < 0) throw PythonError();
  return status;
}

[[noreturn]] inline void fail(PyObject* type, const char* format, PyObject* a = nullptr,
                              PyObject* b = nullptr) {
  PyErr_Format(type, format, a, b);
  throw PythonError();
}

// An exact str from bytes as the core holds them, lone surrogates included; null on a failure.
inline Ref decoded(std::string_view bytes) {
  return Ref::steal(
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogatepass"));
}

// Sets Python's exception for a fault that names an id.
void set_error(const vorn_layered::LookupFault& fault);
void set_error(const vorn_layered::LayerFault& fault);

// The objects that drop() puts off during one call of the module. Calls nest where a caller's code
// calls the module again.
class PutOff {
 public:
  PutOff();
  ~PutOff();
  PutOff(const PutOff&) = delete;
  PutOff& operator=(const PutOff&) = delete;

  // May run any code of the caller's. Keeps the error indicator.
  void release();

 private:
  friend void drop(PyObject* object) noexcept;
  std::vector<PyObject*> objects_;
  PutOff* outer_;
};

// Runs `body` and returns what it returns; on an exception sets Python's and returns null.
template <typename Body>
PyObject* guarded(Body body) {
  PutOff put_off;
  PyObject* result = nullptr;
  try {
    result = body();
  } catch (const PythonError&) {
    // Python's own exception is set.
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  } catch (const vorn_layered::TypeFault& fault) {
    PyErr_SetString(PyExc_TypeError, fault.what());
  } catch (const vorn_layered::SizeFault& fault) {
    PyErr_SetString(PyExc_MemoryError, fault.what());
  } catch (const vorn_layered::LookupFault& fault) {
    set_error(fault);
  } catch (const vorn_layered::LayerFault& fault) {
    set_error(fault);
  } catch (const std::exception& fault) {
    PyErr_SetString(PyExc_RuntimeError, fault.what());
  }
  put_off.release();
  return result;
}

inline Ref text_from_bytes(std::string_view bytes) { return check(decoded(bytes).release()); }

// Keeps the cyclic collector from running while many containers are made that it could not free
// anyway. Allocation otherwise triggers it every few hundred objects.
class CollectorPause {
 public:
  CollectorPause() : was_enabled_(PyGC_Disable() != 0) {}
  ~CollectorPause();
  CollectorPause(const CollectorPause&) = delete;
  CollectorPause& operator=(const CollectorPause&) = delete;

 private:
  bool was_enabled_;
};

}  // namespace quillan::host

#endif  // QUILLAN_HOST_PYTHON_HPP_
