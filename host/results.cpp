#include "host/results.hpp"

#include <bit>
#include <cstdint>
#include <utility>

#include "host/objects.hpp"
#include "host/texts.hpp"

namespace quillan::host {

using vorn_layered::Point;

namespace {

// Makes result points. Neighbouring points of an orthogonal route share a coordinate, and then they
// share its float object too.
class PointMaker {
 public:
  Ref make(Point point) {
    x_ = object_for(point.x, x_);
    y_ = object_for(point.y, y_);
    Ref pair = check(PyTuple_New(2));
    PyTuple_SET_ITEM(pair.get(), 0, Py_NewRef(x_.get()));
    PyTuple_SET_ITEM(pair.get(), 1, Py_NewRef(y_.get()));
    // A tuple of floats can be in no cycle; untracked, it costs the collector nothing.
    PyObject_GC_UnTrack(pair.get());
    return pair;
  }

 private:
  static Ref object_for(double value, Ref& last) {
    const bool same = last && std::bit_cast<std::uint64_t>(PyFloat_AS_DOUBLE(last.get())) ==
                                  std::bit_cast<std::uint64_t>(value);
    return same ? std::move(last) : check(PyFloat_FromDouble(value));
  }

  Ref x_;
  Ref y_;
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

Ref route_map(const vorn_layered::EdgeRoutes& found) {
  Ref map = check(PyDict_New());
  PointMaker points;
  std::vector<Ref> made;
  for (const vorn_layered::EdgeRoute& route : found.routes) {
    const Ref key = text_object(route.id);
    made.clear();
    for (std::size_t i = 0; i < route.count; ++i) {
      made.push_back(points.make(found.points[route.first + i]));
    }
    check(PyDict_SetItem(map.get(), key.get(), list_of(made).get()));
  }
  return map;
}

}  // namespace quillan::host
