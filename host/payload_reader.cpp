#include "host/payload_reader.hpp"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace quillan::host {

using vorn_layered::Arena;
using vorn_layered::Component;
using vorn_layered::Direction;
using vorn_layered::EdgeRow;
using vorn_layered::NodeRow;
using vorn_layered::PortRow;
using vorn_layered::PortSpec;
using vorn_layered::TextSource;

namespace {

std::size_t size_of(const Ref& tuple) {
  return static_cast<std::size_t>(PyTuple_GET_SIZE(tuple.get()));
}

// Whether there is a value, and one that is true.
bool is_true(PyObject* value) { return value != nullptr && check(PyObject_IsTrue(value)) != 0; }

bool is_null(PyObject* value) { return value == nullptr || value == Py_None; }

// Whether to read the value runs none of the caller's code.
bool is_plain(PyObject* value) {
  return PyFloat_CheckExact(value) || PyLong_CheckExact(value) || PyUnicode_CheckExact(value) ||
         value == Py_None;
}

double real(PyObject* value) {
  if (PyFloat_CheckExact(value)) return PyFloat_AS_DOUBLE(value);
  if (PyLong_CheckExact(value)) {
    const double real = PyLong_AsDouble(value);
    if (real == -1.0 && PyErr_Occurred()) throw PythonError();
    return real;
  }
  return PyFloat_AS_DOUBLE(check(PyNumber_Float(value)).get());
}

// The nearest integer of the type to an int.
template <typename Integer>
Integer clamped(PyObject* integer) {
  int overflow = 0;
  const long long value = PyLong_AsLongLongAndOverflow(integer, &overflow);
  if (overflow > 0) return std::numeric_limits<Integer>::max();
  if (overflow < 0) return std::numeric_limits<Integer>::min();
  return static_cast<Integer>(std::clamp<long long>(value, std::numeric_limits<Integer>::min(),
                                                    std::numeric_limits<Integer>::max()));
}

// A port index: 0 for a value that has no integer. An infinite one is a failure like any other.
std::int32_t index(PyObject* value) {
  if (PyLong_Check(value)) return clamped<std::int32_t>(value);
  const Ref integer = Ref::steal(PyNumber_Long(value));
  if (integer) return clamped<std::int32_t>(integer.get());
  if (!PyErr_ExceptionMatches(PyExc_ValueError) && !PyErr_ExceptionMatches(PyExc_TypeError)) {
    throw PythonError();
  }
  PyErr_Clear();
  return 0;
}

// The int of a value that failed to be iterated: of a NumPy integer, for instance. Asked for
// second, since an array of offsets may know how to be an integer, too.
Ref integer_of(PyObject* value) {
  if (!PyErr_ExceptionMatches(PyExc_TypeError) || PyIndex_Check(value) == 0) throw PythonError();
  PyErr_Clear();
  return check(PyNumber_Index(value));
}

// The items of a list that the caller gave.
Ref items_of(const State& state, const char* list, PyObject* given) {
  Ref items = Ref::steal(PySequence_Tuple(given));
  if (items) return items;
  note_place(state, {.list = list, .given = given});
  throw PythonError();
}

// The text form of an end of an edge for as long as it takes to look it up.
struct End {
  explicit End(PyObject* value) {
    if (value == nullptr) return;
    // The encoder of others may run an error handler of the caller's, so they need an owner.
    const bool is_ascii = PyUnicode_CheckExact(value) && PyUnicode_IS_ASCII(value);
    if (!is_ascii) text = text_form(value);
    bytes = bytes_of(is_ascii ? value : text.get(), encoded);
  }
  Ref text;  // null: the value itself
  Ref encoded;
  std::string_view bytes;
};

}  // namespace

PayloadReader::PayloadReader(const State& state, PyObject* nodes, PyObject* edges, Arena& arena)
    : state_(state),
      texts_(arena),
      key_places_(state),
      nodes_(items_of(state, "nodes", nodes)),
      edges_(items_of(state, "edges", edges)),
      payload_(size_of(nodes_), size_of(edges_)),
      sides_(size_of(nodes_)) {
  noting([&] {
    enter_list("nodes", nodes_);
    place_.given = nodes;
    for (std::size_t i = 0; i < size_of(nodes_); ++i) {
      enter_item(i);
      key_places_.look_ahead(nodes_, i, {Key::ID});
      payload_.add_node(read_id(node(static_cast<std::int32_t>(i))));
    }
    enter_list("edges", edges_);
    place_.given = edges;
    for (std::size_t i = 0; i < size_of(edges_); ++i) {
      PyObject* const mapping = edge(static_cast<std::int32_t>(i));
      enter_item(i);
      key_places_.look_ahead(edges_, i, {Key::SOURCE, Key::TARGET});
      check_mapping(mapping);
      const End source(get(mapping, Key::SOURCE));
      const End target(get(mapping, Key::TARGET));
      payload_.add_edge(source.bytes, target.bytes);
    }
  });
}

template <typename Body>
void PayloadReader::noting(Body body) {
  try {
    body();
  } catch (const PythonError&) {
    note_place(state_, place_);
    throw;
  } catch (const vorn_layered::SizeFault& fault) {
    PyErr_SetString(PyExc_MemoryError, fault.what());
    note_place(state_, place_);
    throw PythonError();
  }
}

void PayloadReader::enter_list(const char* list, const Ref& items) {
  place_.list = list;
  place_.items = items.get();
}

void PayloadReader::enter_item(std::size_t number) {
  place_.number = number;
  place_.key.reset();
  held_.clear();
}

bool PayloadReader::is_mapping(PyObject* value) const {
  if (PyDict_Check(value)) return true;
  if (PyFloat_CheckExact(value) || PyLong_CheckExact(value) || PyUnicode_CheckExact(value)) {
    return false;
  }
  return check(PyObject_IsInstance(value, state_.mapping)) != 0;
}

void PayloadReader::check_mapping(PyObject* value) const {
  if (is_mapping(value)) return;
  PyErr_Format(PyExc_TypeError, "nodes and edges must be mappings, not %.200s",
               Py_TYPE(value)->tp_name);
  throw PythonError();
}

// Whether a mapping has a key. One that makes up values is not made to: what collections.abc gives
// a mapping that does not say for itself asks for the value, and so the keys are looked through.
bool PayloadReader::has(PyObject* mapping, PyObject* key) const {
  const Ref name = check(PyUnicode_InternFromString("__contains__"));
  PyObject* const type = reinterpret_cast<PyObject*>(Py_TYPE(mapping));
  const Ref contains = Ref::steal(PyObject_GetAttr(type, name.get()));
  if (!contains) PyErr_Clear();
  if (contains.get() != state_.mapping_contains) {
    return check(PySequence_Contains(mapping, key)) != 0;
  }
  const Ref keys = check(PyObject_GetIter(mapping));
  while (const Ref each = Ref::steal(PyIter_Next(keys.get()))) {
    if (check(PyObject_RichCompareBool(each.get(), key, Py_EQ)) != 0) return true;
  }
  if (PyErr_Occurred() != nullptr) throw PythonError();
  return false;
}

// The value of a key, or null where the mapping does not have it. The value lives until the next
// item; a plain one, which nothing needs to own while it is read, only until code of the caller's
// runs.
PyObject* PayloadReader::get(PyObject* mapping, Key key) {
  (place_.port < 0 ? place_.key : place_.port_key) = key;
  if (!PyDict_CheckExact(mapping)) {
    PyObject* const name = state_.key(key);
    if (!has(mapping, name)) return nullptr;
    return hold(check(PyObject_GetItem(mapping, name)));
  }
  PyObject* const value = key_places_.get(mapping, key);
  return value == nullptr || is_plain(value) ? value : hold(Ref::borrow(value));
}

PyObject* PayloadReader::hold(Ref value) {
  held_.push_back(std::move(value));
  return held_.back().get();
}

const TextSource* PayloadReader::read_id(PyObject* mapping) {
  check_mapping(mapping);
  PyObject* const id = get(mapping, Key::ID);
  if (id == nullptr) {
    PyErr_SetObject(PyExc_KeyError, state_.key(Key::ID));
    throw PythonError();
  }
  return texts_.keep(text_form(id));
}

void PayloadReader::read(const Component& component, Direction direction) {
  port_count_ = 0;
  noting([&] {
    enter_list("nodes", nodes_);
    for (const std::int32_t number : component.nodes) {
      key_places_.look_ahead(nodes_, static_cast<std::size_t>(number), {Key::WIDTH, Key::HEIGHT});
      read_node(number, direction);
    }
    enter_list("edges", edges_);
    for (const std::int32_t number : component.edges) {
      key_places_.look_ahead(edges_, static_cast<std::size_t>(number), {Key::ID});
      read_edge(number);
    }
  });
}

void PayloadReader::read_node(std::int32_t number, Direction direction) {
  PyObject* const mapping = node(number);
  enter_item(number);
  NodeRow& row = payload_.nodes[number];
  PyObject* const width = get(mapping, Key::WIDTH);
  if (is_true(width)) row.width = real(width);
  PyObject* const height = get(mapping, Key::HEIGHT);
  if (is_true(height)) row.height = real(height);
  const Ref x = Ref::borrow(get(mapping, Key::X));
  const Ref y = Ref::borrow(get(mapping, Key::Y));
  // The position along the flow comes first: where both are unusable, it is the one that fails.
  if (is_transposed(direction)) row.y = read_position(Key::Y, y.get());
  row.x = read_position(Key::X, x.get());
  if (!is_transposed(direction)) row.y = read_position(Key::Y, y.get());
  row.input_ports = read_ports(get(mapping, Key::INPUT_PORTS));
  row.output_ports = read_ports(get(mapping, Key::OUTPUT_PORTS));
  sides_[number] = {row.input_ports.count > 0, row.output_ports.count > 0};
}

std::optional<double> PayloadReader::read_position(Key key, PyObject* value) {
  place_.key = key;
  return is_null(value) ? std::nullopt : std::optional(real(value));
}

PortSpec PayloadReader::read_ports(PyObject* spec) {
  if (spec == nullptr || spec == Py_None) return {};
  if (PyLong_Check(spec)) return count_ports(spec);
  PortSpec list{0, true, payload_.ports.size()};
  if (PyList_CheckExact(spec)) {
    // The list may shrink or grow while its items are converted.
    for (Py_ssize_t i = 0; i < PyList_GET_SIZE(spec); ++i) {
      add_port(Ref::borrow(PyList_GET_ITEM(spec, i)).get(), list);
    }
  } else {
    const Ref iterator = Ref::steal(PyObject_GetIter(spec));
    if (!iterator) return count_ports(integer_of(spec).get());
    while (const Ref item = Ref::steal(PyIter_Next(iterator.get()))) add_port(item.get(), list);
    if (PyErr_Occurred() != nullptr) throw PythonError();
  }
  port_count_ += list.count;
  return list;
}

PortSpec PayloadReader::count_ports(PyObject* integer) {
  const std::int32_t count = clamped<std::int32_t>(integer);
  if (count <= 0) return {};
  vorn_layered::check_port_count(count, port_count_);
  port_count_ += count;
  return {count};
}

void PayloadReader::add_port(PyObject* item, PortSpec& list) {
  place_.port = list.count;
  place_.port_key.reset();
  place_.port_is_str = PyUnicode_Check(item) != 0;
  // At every item, for there may be no end to them.
  vorn_layered::check_port_count(++list.count, port_count_);
  payload_.ports.push_back(read_port(item));
  place_.port = -1;
}

PortRow PayloadReader::read_port(PyObject* item) {
  if (!is_mapping(item)) return {nullptr, real(item)};
  PortRow port;
  PyObject* const id = get(item, Key::ID);
  if (is_true(id)) port.id = texts_.keep(text_form(id));
  PyObject* const offset = get(item, Key::OFFSET);
  if (offset != nullptr) port.offset = real(offset);
  return port;
}

void PayloadReader::read_edge(std::int32_t number) {
  EdgeRow& row = payload_.edges[number];
  if (row.is_left_out()) return;
  PyObject* const mapping = edge(number);
  enter_item(number);
  PyObject* const id = get(mapping, Key::ID);
  if (is_true(id)) row.id = texts_.keep(text_form(id));
  row.source_port = read_index(mapping, Key::SOURCE_PORT, sides_[row.source].output);
  row.target_port = read_index(mapping, Key::TARGET_PORT, sides_[row.target].input);
}

// The index that an edge asks for, which gets a port at a side that had none.
std::int32_t PayloadReader::read_index(PyObject* mapping, Key key, bool& has_ports) {
  if (!std::exchange(has_ports, true)) return 0;
  PyObject* const value = get(mapping, key);
  return is_null(value) ? 0 : index(value);
}

}  // namespace quillan::host
