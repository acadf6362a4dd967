#include "host/reader.hpp"

#include <algorithm>

#include "core/base/prefetch.hpp"

namespace quillan::host {

using vorn_layered::Handle;
using vorn_layered::Key;
using vorn_layered::TextSource;
using vorn_layered::ValueKind;

namespace {

PyObject* object(Handle handle) { return static_cast<PyObject*>(handle); }

}  // namespace

bool PythonReader::is_mapping(PyObject* value) const {
  if (PyDict_Check(value)) return true;
  if (PyFloat_CheckExact(value) || PyLong_CheckExact(value) || PyUnicode_CheckExact(value)) {
    return false;
  }
  return check(PyObject_IsInstance(value, state_.mapping)) != 0;
}

ValueKind PythonReader::kind(Handle value) {
  PyObject* const object_value = object(value);
  if (PyFloat_CheckExact(object_value)) return ValueKind::kOther;
  if (object_value == Py_None) return ValueKind::kNull;
  if (PyLong_Check(object_value)) return ValueKind::kInteger;
  return is_mapping(object_value) ? ValueKind::kMapping : ValueKind::kOther;
}

bool PythonReader::truth(Handle value) { return check(PyObject_IsTrue(object(value))) != 0; }

const TextSource* PythonReader::text(Handle value) { return texts_.keep(text_form(object(value))); }

std::string_view PythonReader::peek_text(Handle value) {
  peeked_ = text_form(object(value));
  return bytes_of(peeked_.get(), encoded_);
}

double PythonReader::real(Handle value) {
  PyObject* const number = object(value);
  if (PyFloat_CheckExact(number)) return PyFloat_AS_DOUBLE(number);
  if (PyLong_CheckExact(number)) {
    const double real = PyLong_AsDouble(number);
    if (real == -1.0 && PyErr_Occurred()) throw PythonError();
    return real;
  }
  const Ref real = check(PyNumber_Float(number));
  return PyFloat_AS_DOUBLE(real.get());
}

std::optional<std::int64_t> PythonReader::integer(Handle value) {
  Ref number;
  if (PyLong_Check(object(value))) {
    number = Ref::borrow(object(value));
  } else {
    number = Ref::steal(PyNumber_Long(object(value)));
    if (!number) {
      // A malformed value has no integer; an infinite one is a failure like any other.
      if (!PyErr_ExceptionMatches(PyExc_ValueError) && !PyErr_ExceptionMatches(PyExc_TypeError)) {
        throw PythonError();
      }
      PyErr_Clear();
      return std::nullopt;
    }
  }
  int overflow = 0;
  const std::int64_t integer = PyLong_AsLongLongAndOverflow(number.get(), &overflow);
  if (overflow != 0) return overflow > 0 ? INT64_MAX : INT64_MIN;
  return integer;
}

// The entry of an exact dictionary in this place, borrowed, or null if it is not for the key.
PyObject* PythonReader::find_at(const Place& place, PyObject* dict) {
  Py_ssize_t offset = place.offset;
  PyObject* found = nullptr;
  PyObject* value = nullptr;
  // An offset that means nothing in this dictionary leads to another key or to none.
  const bool hit =
      place.key && PyDict_Next(dict, &offset, &found, &value) != 0 && found == place.key.get();
  return hit ? value : nullptr;
}

// The entry for `key` of an exact dictionary, borrowed, or null.
PyObject* PythonReader::find(PyObject* dict, Key key) {
  Place& place = places_[static_cast<std::size_t>(key)];
  if (PyObject* const value = find_at(place, dict)) {
    place.credit = std::min(place.credit + 1, kMostCredit);
    return value;
  }
  PyObject* const value = PyDict_GetItemWithError(dict, state_.key(key));
  if (value == nullptr && PyErr_Occurred()) throw PythonError();
  if (value != nullptr && place.credit >= kSearch) {
    place.credit -= kSearch;
    learn(place, dict, KEY_TEXTS[static_cast<std::size_t>(key)]);
  }
  return value;
}

void PythonReader::learn(Place& place, PyObject* dict, const char* name) {
  Py_ssize_t next = 0;
  Py_ssize_t offset = 0;
  PyObject* found = nullptr;
  while (PyDict_Next(dict, &next, &found, nullptr) != 0) {
    if (PyUnicode_CheckExact(found) && PyUnicode_CompareWithASCIIString(found, name) == 0) {
      place.key = Ref::borrow(found);
      place.offset = offset;
      return;
    }
    offset = next;
  }
}

Handle PythonReader::get(Handle mapping, Key key) {
  if (PyDict_CheckExact(object(mapping))) {
    return Ref::borrow(find(object(mapping), key)).release();
  }
  Ref value = check(PyObject_CallMethodObjArgs(object(mapping), state_.field(Field::kGet),
                                               state_.key(key), state_.absent, nullptr));
  return value.get() == state_.absent ? nullptr : value.release();
}

Handle PythonReader::require(Handle mapping, Key key) {
  if (!PyDict_CheckExact(object(mapping))) {
    return check(PyObject_GetItem(object(mapping), state_.key(key))).release();
  }
  const Handle value = get(mapping, key);
  if (value == nullptr) {
    PyErr_SetObject(PyExc_KeyError, state_.key(key));
    throw PythonError();
  }
  return value;
}

void PythonReader::walk(Handle value, const std::function<void(Handle)>& visit) {
  PyObject* const sequence = object(value);
  if (PyList_CheckExact(sequence)) {
    // The list may shrink or grow while its items are converted.
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(sequence); ++i) {
      const Ref item = Ref::borrow(PyList_GET_ITEM(sequence, i));
      visit(item.get());
    }
    return;
  }
  const Ref iterator = check(PyObject_GetIter(sequence));
  while (const Ref item = Ref::steal(PyIter_Next(iterator.get()))) visit(item.get());
  if (PyErr_Occurred()) throw PythonError();
}

void PythonReader::check_mapping(Handle value) {
  if (is_mapping(object(value))) return;
  PyErr_Format(PyExc_TypeError, "nodes and edges must be mappings, not %.200s",
               Py_TYPE(object(value))->tp_name);
  throw PythonError();
}

std::string_view PythonReader::glance(Handle mapping, Key key) noexcept {
  if (!PyDict_CheckExact(object(mapping))) return {};
  PyObject* const value = find_at(places_[static_cast<std::size_t>(key)], object(mapping));
  const bool plain = value != nullptr && PyUnicode_CheckExact(value) && PyUnicode_IS_ASCII(value);
  Ref none;
  return plain ? bytes_of(value, none) : std::string_view();
}

void PythonReader::prefetch(Handle far, Handle near) noexcept {
  constexpr std::size_t kLine = 64;
  vorn_layered::prefetch(far);
  if (!PyDict_CheckExact(object(near))) return;
  // The table of a dictionary with some ten keys.
  const char* const table =
      reinterpret_cast<const char*>(reinterpret_cast<PyDictObject*>(near)->ma_keys);
  for (std::size_t line = 0; line < 4; ++line) vorn_layered::prefetch(table + line * kLine);
}

void PythonReader::release(Handle value) noexcept { Py_DECREF(object(value)); }

std::span<const Handle> items_of(PyObject* tuple) {
  static_assert(sizeof(Handle) == sizeof(PyObject*));
  // An object pointer read as a void pointer: same size and representation wherever CPython runs.
  return {reinterpret_cast<Handle*>(reinterpret_cast<PyTupleObject*>(tuple)->ob_item),
          static_cast<std::size_t>(PyTuple_GET_SIZE(tuple))};
}

}  // namespace quillan::host
