#include "host/fields.hpp"

#include "host/texts.hpp"

namespace quillan::host {

double Fields::real_from(Field field, PyObject* value, const char* expected) const {
  const double real = PyFloat_AsDouble(value);
  if (real != -1.0 || PyErr_Occurred() == nullptr) return real;
  if (PyErr_ExceptionMatches(PyExc_TypeError)) {
    PyErr_Clear();
    wrong_type(field, expected, value);
  }
  if (PyErr_ExceptionMatches(PyExc_OverflowError)) {
    PyErr_Clear();
    fail(PyExc_ValueError, "%U is too large for a float", state_.field(field));
  }
  throw PythonError();
}

std::int64_t Fields::integer(Field field, std::int64_t low, std::int64_t high) const {
  const Ref value = get(field);
  if (!PyLong_Check(value.get())) wrong_type(field, "an int", value.get());
  int overflow = 0;
  const std::int64_t integer = PyLong_AsLongLongAndOverflow(value.get(), &overflow);
  if (overflow != 0 || integer < low || integer > high) {
    const Ref message = check(PyUnicode_FromFormat("%U must be from %lld to %lld, not %S",
                                                   state_.field(field), static_cast<long long>(low),
                                                   static_cast<long long>(high), value.get()));
    fail(PyExc_ValueError, "%U", message.get());
  }
  return integer;
}

Ref Fields::text(Field field) const {
  const Ref value = get(field);
  if (!PyUnicode_Check(value.get())) wrong_type(field, "a str", value.get());
  return text_form(value.get());
}

std::vector<Ref> sequence_items(PyObject* sequence) {
  std::vector<Ref> items;
  if (PyList_CheckExact(sequence) || PyTuple_CheckExact(sequence)) {
    const Py_ssize_t size = PySequence_Fast_GET_SIZE(sequence);
    items.reserve(static_cast<std::size_t>(size));
    for (Py_ssize_t i = 0; i < size; ++i) {
      items.push_back(Ref::borrow(PySequence_Fast_GET_ITEM(sequence, i)));
    }
    return items;
  }
  const Ref iterator = check(PyObject_GetIter(sequence));
  while (Ref item = Ref::steal(PyIter_Next(iterator.get()))) items.push_back(std::move(item));
  if (PyErr_Occurred()) throw PythonError();
  return items;
}

std::vector<Ref> Fields::items_of(Field field, PyObject* sequence) const {
  if (PySequence_Check(sequence) == 0) wrong_type(field, "a list", sequence);
  return sequence_items(sequence);
}

std::vector<Ref> Fields::pairs(Field field) const {
  const Ref map = dict(field);
  std::vector<Ref> pairs;
  Py_ssize_t position = 0;
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  while (PyDict_Next(map.get(), &position, &key, &value) != 0) {
    pairs.push_back(Ref::borrow(key));
    pairs.push_back(Ref::borrow(value));
  }
  return pairs;
}

Ref Fields::key_text(Field field, PyObject* key) const {
  if (!PyUnicode_Check(key)) wrong_type(field, "a dict with str keys", key);
  return text_form(key);
}

Ref Fields::dict(Field field) const {
  Ref value = get(field);
  if (!PyDict_Check(value.get())) wrong_type(field, "a dict", value.get());
  return value;
}

Ref Fields::instance(Field field, PyObject* type) const {
  Ref value = get(field);
  if (!is_instance(value.get(), type)) {
    wrong_type(field, reinterpret_cast<PyTypeObject*>(type)->tp_name, value.get());
  }
  return value;
}

void Fields::fail(PyObject* type, const char* format, PyObject* object) const {
  const Ref detail = check(PyUnicode_FromFormat(format, object));
  const Ref id = Ref::steal(PyObject_GetAttr(record_, state_.field(Field::kId)));
  if (id) {
    PyErr_Format(type, "%s %R: %U", Py_TYPE(record_)->tp_name, id.get(), detail.get());
  } else {
    // A graph has no id.
    PyErr_Clear();
    PyErr_Format(type, "%s: %U", Py_TYPE(record_)->tp_name, detail.get());
  }
  throw PythonError();
}

void Fields::wrong_type(Field field, const char* expected, PyObject* value) const {
  const Ref detail = check(PyUnicode_FromFormat("%U must be %s, not %.200s", state_.field(field),
                                                expected, Py_TYPE(value)->tp_name));
  fail(PyExc_TypeError, "%U", detail.get());
}

void require_record(PyObject* value, PyObject* type, const char* where) {
  if (is_instance(value, type)) return;
  PyErr_Format(PyExc_TypeError, "%s must hold %.200s records, not %.200s", where,
               reinterpret_cast<PyTypeObject*>(type)->tp_name, Py_TYPE(value)->tp_name);
  throw PythonError();
}

}  // namespace quillan::host
