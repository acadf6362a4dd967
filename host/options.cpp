#include "host/options.hpp"

#include <string>

#include "host/texts.hpp"

namespace quillan::host {

using vorn_layered::Direction;
using vorn_layered::LayoutOptions;
using vorn_layered::LazyInteger;

namespace {

Ref attribute(PyObject* options, const char* name) {
  return check(PyObject_GetAttrString(options, name));
}

std::string utf8(PyObject* text) {
  const Ref encoded = check(PyUnicode_AsEncodedString(text, "utf-8", "surrogatepass"));
  return {PyBytes_AS_STRING(encoded.get()),
          static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.get()))};
}

Direction read_direction(PyObject* options) {
  const Ref value = attribute(options, "direction");
  if (!PyUnicode_Check(value.get())) {
    PyErr_Format(PyExc_TypeError,
                 "LayoutOptions.direction must be a Direction or a str, not %.200s",
                 Py_TYPE(value.get())->tp_name);
    throw PythonError();
  }
  const std::optional<Direction> direction = vorn_layered::direction_from_text(utf8(value.get()));
  if (!direction) {
    fail(PyExc_ValueError, "LayoutOptions.direction: %R is not a valid Direction", value.get());
  }
  return *direction;
}

// A strategy that is no text equals none of the texts that the phases know.
std::string read_strategy(PyObject* options, const char* name) {
  const Ref value = attribute(options, name);
  return PyUnicode_Check(value.get()) ? utf8(value.get()) : std::string();
}

double read_length(PyObject* options, const char* name) {
  const Ref value = attribute(options, name);
  const double length = PyFloat_AsDouble(value.get());
  if (length == -1.0 && PyErr_Occurred()) {
    if (PyErr_ExceptionMatches(PyExc_TypeError)) {
      PyErr_Format(PyExc_TypeError, "LayoutOptions.%s must be a real number, not %.200s", name,
                   Py_TYPE(value.get())->tp_name);
    }
    throw PythonError();
  }
  return length;
}

LazyInteger read_lazy_integer(PyObject* options, const char* name) {
  const Ref value = attribute(options, name);
  if (!PyIndex_Check(value.get())) return {0, false};
  const Ref number = check(PyNumber_Index(value.get()));
  int overflow = 0;
  const std::int64_t integer = PyLong_AsLongLongAndOverflow(number.get(), &overflow);
  if (overflow != 0) return {overflow > 0 ? INT64_MAX : INT64_MIN, true};
  return {integer, true};
}

}  // namespace

LayoutOptions read_options(const State& state, PyObject* options) {
  LayoutOptions read;
  if (options == nullptr || options == Py_None) return read;
  if (check(PyObject_IsInstance(options, state.layout_options)) == 0) {
    PyErr_Format(PyExc_TypeError, "options must be a LayoutOptions or None, not %.200s",
                 Py_TYPE(options)->tp_name);
    throw PythonError();
  }
  read.direction = read_direction(options);
  read.interactive = check(PyObject_IsTrue(attribute(options, "interactive").get())) != 0;
  read.cycle_breaking_strategy = read_strategy(options, "cycle_breaking_strategy");
  read.layering_strategy = read_strategy(options, "layering_strategy");
  read.crossing_strategy = read_strategy(options, "crossing_strategy");
  read.placement_strategy = read_strategy(options, "placement_strategy");
  read.edge_routing = read_strategy(options, "edge_routing");
  read.spacing_node_node = read_length(options, "spacing_node_node");
  read.spacing_node_node_between_layers = read_length(options, "spacing_node_node_between_layers");
  read.spacing_edge_edge = read_length(options, "spacing_edge_edge");
  read.spacing_edge_node = read_length(options, "spacing_edge_node");
  read.padding_left = read_length(options, "padding_left");
  read.padding_top = read_length(options, "padding_top");
  read.thoroughness = read_lazy_integer(options, "thoroughness");
  return read;
}

Ref resolved_options(const State& state, PyObject* options) {
  const LayoutOptions given = read_options(state, options);
  const LayoutOptions pinned = given.resolved();
  const Ref copier = check(PyImport_ImportModule("copy"));
  Ref copy = check(PyObject_CallMethod(copier.get(), "copy", "O", options));
  const auto pin = [&](const char* name, const std::string& before, const std::string& after) {
    if (before == after) return;
    const Ref text = text_from_bytes(after);
    check(PyObject_SetAttrString(copy.get(), name, text.get()));
  };
  // A plain text is a direction as good as any here, but it lacks the properties of one.
  const Ref direction = attribute(copy.get(), "direction");
  check(PyObject_SetAttrString(copy.get(), "direction",
                               check(PyObject_CallOneArg(state.direction, direction.get())).get()));
  pin("cycle_breaking_strategy", given.cycle_breaking_strategy, pinned.cycle_breaking_strategy);
  pin("layering_strategy", given.layering_strategy, pinned.layering_strategy);
  pin("crossing_strategy", given.crossing_strategy, pinned.crossing_strategy);
  return copy;
}

}  // namespace quillan::host
