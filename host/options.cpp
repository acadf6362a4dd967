#include "host/options.hpp"

#include <array>
#include <string>

#include "host/fields.hpp"
#include "host/notes.hpp"
#include "host/texts.hpp"

namespace quillan::host {

using vorn_layered::Direction;
using vorn_layered::LayoutOptions;
using vorn_layered::LazyInteger;

namespace {

struct Strategy {
  OptionParts part;
  Field field;
  std::string LayoutOptions::*member;
};
constexpr std::array<Strategy, 5> kStrategies = {{
    {CYCLE_BREAKING, Field::kCycleBreakingStrategy, &LayoutOptions::cycle_breaking_strategy},
    {LAYERING, Field::kLayeringStrategy, &LayoutOptions::layering_strategy},
    {CROSSING, Field::kCrossingStrategy, &LayoutOptions::crossing_strategy},
    {PLACEMENT, Field::kPlacementStrategy, &LayoutOptions::placement_strategy},
    {ROUTING, Field::kEdgeRouting, &LayoutOptions::edge_routing},
}};

struct Length {
  OptionParts part;
  Field field;
  double LayoutOptions::*member;
};
constexpr std::array<Length, 6> kLengths = {{
    {NODE_NODE, Field::kSpacingNodeNode, &LayoutOptions::spacing_node_node},
    {BETWEEN_LAYERS, Field::kSpacingBetweenLayers,
     &LayoutOptions::spacing_node_node_between_layers},
    {EDGE_EDGE, Field::kSpacingEdgeEdge, &LayoutOptions::spacing_edge_edge},
    {EDGE_NODE, Field::kSpacingEdgeNode, &LayoutOptions::spacing_edge_node},
    {PADDING_LEFT, Field::kPaddingLeft, &LayoutOptions::padding_left},
    {PADDING_TOP, Field::kPaddingTop, &LayoutOptions::padding_top},
}};

std::string utf8(const Ref& text) {
  const Ref exact = text_form(text.get());
  Ref encoded;
  return std::string(bytes_of(exact.get(), encoded));
}

Direction read_direction(const Fields& fields) {
  const Ref value = fields.get(Field::kDirection);
  if (!PyUnicode_Check(value.get())) {
    fields.wrong_type(Field::kDirection, "a Direction or a str", value.get());
  }
  const std::optional<Direction> direction = vorn_layered::direction_from_text(utf8(value));
  if (!direction) {
    PyErr_Format(PyExc_ValueError, "LayoutOptions: direction: %R is not a valid Direction",
                 value.get());
    note("the directions are RIGHT, LEFT, DOWN and UP, in capitals");
    throw PythonError();
  }
  return *direction;
}

LazyInteger read_lazy_integer(const Ref& value) {
  if (!PyIndex_Check(value.get())) return {0, false};
  const Ref number = check(PyNumber_Index(value.get()));
  int overflow = 0;
  const std::int64_t integer = PyLong_AsLongLongAndOverflow(number.get(), &overflow);
  if (overflow != 0) return {overflow > 0 ? INT64_MAX : INT64_MIN, true};
  return {integer, true};
}

}  // namespace

void read_options(const State& state, PyObject* record, OptionParts parts, LayoutOptions& options) {
  const Fields fields(state, record);
  if ((parts & DIRECTION) != 0) options.direction = read_direction(fields);
  for (const Strategy& strategy : kStrategies) {
    if ((parts & strategy.part) == 0) continue;
    // A strategy that is not a str equals none of the names that the phases know.
    const Ref value = fields.get(strategy.field);
    options.*strategy.member = PyUnicode_Check(value.get()) ? utf8(value) : std::string();
  }
  for (const Length& length : kLengths) {
    if ((parts & length.part) != 0) options.*length.member = fields.real(length.field);
  }
  if ((parts & THOROUGHNESS) != 0) {
    options.thoroughness = read_lazy_integer(fields.get(Field::kThoroughness));
  }
}

void require_options(const State& state, PyObject* options) {
  if (options == Py_None || is_instance(options, state.layout_options)) return;
  PyErr_Format(PyExc_TypeError, "options must be a LayoutOptions or None, not %.200s",
               Py_TYPE(options)->tp_name);
  if (PyDict_Check(options)) note("for a dict of options, pass LayoutOptions(**options)");
  if (PyUnicode_Check(options)) note("for a direction, pass LayoutOptions(direction=...)");
  if (options == state.layout_options) note("pass an instance, LayoutOptions(...)");
  throw PythonError();
}

LayoutOptions read_all_options(const State& state, PyObject* options) {
  LayoutOptions read;
  if (options == nullptr || options == Py_None) return read;
  require_options(state, options);
  read.interactive = Fields(state, options).truth(Field::kInteractive);
  read_options(state, options, ALL_OPTIONS, read);
  return read;
}

Ref resolved_options(const State& state, PyObject* options) {
  const Ref copier = check(PyImport_ImportModule("copy"));
  const Ref function = check(PyObject_GetAttrString(copier.get(), "copy"));
  Ref copy = check(PyObject_CallOneArg(function.get(), options));
  LayoutOptions given;
  given.interactive = Fields(state, options).truth(Field::kInteractive);
  read_options(state, options, CYCLE_BREAKING | LAYERING | CROSSING, given);
  const LayoutOptions pinned = given.resolved();
  for (const Strategy& strategy : kStrategies) {
    const std::string& text = pinned.*strategy.member;
    if (text == given.*strategy.member) continue;
    check(PyObject_SetAttr(copy.get(), state.field(strategy.field), text_from_bytes(text).get()));
  }
  return copy;
}

}  // namespace quillan::host
