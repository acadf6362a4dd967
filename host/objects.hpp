// Python objects made from plain values.

#ifndef QUILLAN_HOST_OBJECTS_HPP_
#define QUILLAN_HOST_OBJECTS_HPP_

#include <span>
#include <vector>

#include "host/python.hpp"

namespace quillan::host {

inline Ref real_object(double value) { return check(PyFloat_FromDouble(value)); }

// A tuple of two floats.
inline Ref point_object(double x, double y) {
  const Ref first = real_object(x);
  const Ref second = real_object(y);
  return check(PyTuple_Pack(2, first.get(), second.get()));
}

// A list of these items, which it takes over. It is made when they are complete: the collector
// shows a list from its first moment on to code that may empty it.
inline Ref list_of(std::span<Ref> items) {
  Ref list = check(PyList_New(static_cast<Py_ssize_t>(items.size())));
  for (std::size_t i = 0; i < items.size(); ++i) {
    PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), items[i].release());
  }
  return list;
}
inline Ref list_of(std::vector<Ref>&& items) { return list_of(std::span<Ref>(items)); }

}  // namespace quillan::host

#endif  // QUILLAN_HOST_OBJECTS_HPP_
