#include "host/results.hpp"

#include <bit>
#include <cstdint>

#include "host/texts.hpp"

namespace quillan::host {

using vorn_layered::Point;

namespace {

// Makes result points. Neighbouring points of an orthogonal route share a coordinate, and then they
// share its float object too: that of the point made last, which must be there still.
class PointMaker {
 public:
  Ref make(Point point) {
    Ref x = object_for(point.x, x_);
    Ref y = object_for(point.y, y_);
    Ref pair = check(PyTuple_New(2));
    x_ = x.get();
    y_ = y.get();
    PyTuple_SET_ITEM(pair.get(), 0, x.release());
    PyTuple_SET_ITEM(pair.get(), 1, y.release());
    // A tuple of floats can be in no cycle; untracked, it costs the collector nothing.
    PyObject_GC_UnTrack(pair.get());
    return pair;
  }

 private:
  static Ref object_for(double value, PyObject* last) {
    const bool same = last != nullptr && std::bit_cast<std::uint64_t>(PyFloat_AS_DOUBLE(last)) ==
                                             std::bit_cast<std::uint64_t>(value);
    return same ? Ref::borrow(last) : check(PyFloat_FromDouble(value));
  }

  PyObject* x_ = nullptr;  // borrowed from the last point
  PyObject* y_ = nullptr;
};

}  // namespace

Ref position_map(const std::vector<vorn_layered::NodePosition>& positions) {
  Ref map = check(PyDict_New());
  PointMaker points;
  for (const vorn_layered::NodePosition& position : positions) {
    const Ref key = text_object(position.id);
    check(PyDict_SetItem(map.get(), key.get(), points.make(position.top_left).get()));
  }
  return map;
}

Ref route_map(const vorn_layered::EdgeRoutes& found, const CollectorPause& /*pause*/) {
  Ref map = check(PyDict_New());
  PointMaker points;
  for (const vorn_layered::EdgeRoute& route : found.routes) {
    const Ref key = text_object(route.id);
    const Ref line = check(PyList_New(static_cast<Py_ssize_t>(route.count)));
    for (std::size_t i = 0; i < route.count; ++i) {
      PyList_SET_ITEM(line.get(), static_cast<Py_ssize_t>(i),
                      points.make(found.points[route.first + i]).release());
    }
    check(PyDict_SetItem(map.get(), key.get(), line.get()));
  }
  return map;
}

}  // namespace quillan::host
