#include "host/notes.hpp"

namespace quillan::host {

namespace {

// Interned, since the interpreter's cache of attributes keeps every other one that it meets.
Ref interned(const char* name) { return Ref::steal(PyUnicode_InternFromString(name)); }

// The exception that is set, taken out until restore(). Not put back by a destructor: a thread that
// loses the interpreter meanwhile is unwound through this, and must leave it alone.
class Raised {
 public:
#if PY_VERSION_HEX >= 0x030C0000
  Raised() : value_(Ref::steal(PyErr_GetRaisedException())) {}
  void restore() { PyErr_SetRaisedException(value_.release()); }
#else
  Raised() {
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    type_ = Ref::steal(type);
    value_ = Ref::steal(value);
    traceback_ = Ref::steal(traceback);
  }
  void restore() { PyErr_Restore(type_.release(), value_.release(), traceback_.release()); }
#endif

  [[nodiscard]] bool is(PyObject* type) const {
    return PyErr_GivenExceptionMatches(value_.get(), type) != 0;
  }

  // An exception that cannot be noted stays as it is.
  void add(const Ref& text) const {
    const Ref name = interned("add_note");
    const Ref done = text && name
                         ? Ref::steal(PyObject_CallMethodObjArgs(PyExc_BaseException, name.get(),
                                                                 value_.get(), text.get(), nullptr))
                         : Ref();
    if (!done) PyErr_Clear();
  }
  void add(const char* text) const { add(Ref::steal(PyUnicode_FromString(text))); }

 private:
#if PY_VERSION_HEX < 0x030C0000
  Ref type_;
  Ref traceback_;
#endif
  Ref value_;
};

bool type_has(PyObject* object, const char* attribute) {
  const Ref name = interned(attribute);
  const Ref found =
      name ? Ref::steal(PyObject_GetAttr(reinterpret_cast<PyObject*>(Py_TYPE(object)), name.get()))
           : Ref();
  if (!found) PyErr_Clear();
  return static_cast<bool>(found);
}

bool dict_has(const State& state, PyObject* mapping, Key key) {
  if (!PyDict_CheckExact(mapping)) return false;
  const bool found = PyDict_GetItemWithError(mapping, state.key(key)) != nullptr;
  PyErr_Clear();
  return found;
}

const char* key_text(const std::optional<Key>& key) {
  return KEY_TEXTS[static_cast<std::size_t>(*key)];
}

// " (id 'x')" for an id whose text is plain to see, else nothing.
Ref id_of(const State& state, PyObject* item) {
  PyObject* const id =
      PyDict_CheckExact(item) ? PyDict_GetItemWithError(item, state.key(Key::ID)) : nullptr;
  Ref text;
  if (id != nullptr && (PyUnicode_CheckExact(id) || PyLong_CheckExact(id))) {
    text = Ref::steal(PyUnicode_FromFormat(" (id %.100R)", id));
  }
  PyErr_Clear();
  return text ? std::move(text) : Ref::steal(PyUnicode_FromString(""));
}

PyObject* item_of(const Place& place) {
  return PyTuple_GET_ITEM(place.items, static_cast<Py_ssize_t>(place.number));
}

Ref described(const State& state, const Place& place) {
  if (place.items == nullptr)
    return Ref::steal(PyUnicode_FromFormat("while reading %s", place.list));
  const Ref id = id_of(state, item_of(place));
  if (!id) return {};
  const int number = static_cast<int>(place.number);
  if (!place.key) {
    return Ref::steal(PyUnicode_FromFormat("while reading %s[%d]%U", place.list, number, id.get()));
  }
  const char* const key = key_text(place.key);
  if (place.port < 0) {
    return Ref::steal(PyUnicode_FromFormat("while reading %s[%d]%U, key '%s'", place.list, number,
                                           id.get(), key));
  }
  const int port = static_cast<int>(place.port);
  if (!place.port_key) {
    return Ref::steal(PyUnicode_FromFormat("while reading %s[%d]%U, key '%s', item %d", place.list,
                                           number, id.get(), key, port));
  }
  return Ref::steal(PyUnicode_FromFormat("while reading %s[%d]%U, key '%s', item %d, key '%s'",
                                         place.list, number, id.get(), key, port,
                                         key_text(place.port_key)));
}

// What to pass in place of a list that has no mappings in it, or null.
const char* advice_on_list(PyObject* given) {
  if (PyUnicode_Check(given) || PyBytes_Check(given)) {
    return "for a str of JSON, pass the result of json.loads";
  }
  if (type_has(given, "to_dict") && type_has(given, "columns")) {
    return "for a DataFrame, pass frame.to_dict('records')";
  }
  if (type_has(given, "nodes") && type_has(given, "edges")) {
    return "for a networkx graph, pass [{'id': node} for node in graph.nodes] and "
           "[{'source': a, 'target': b} for a, b in graph.edges()]";
  }
  if (type_has(given, "keys") && type_has(given, "values")) {
    return "iterating over a mapping gives its keys; pass a list of mappings, one for each item";
  }
  return nullptr;
}

// What to pass in place of an item that is not a mapping, or null.
const char* advice_on_item(const Place& place) {
  PyObject* const item = item_of(place);
  if (type_has(item, "__dataclass_fields__")) {
    return "for a dataclass, pass dataclasses.asdict(item)";
  }
  if (type_has(item, "_asdict")) return "for a named tuple, pass item._asdict()";
  if (type_has(item, "to_dict")) return "for a row of a DataFrame, pass row.to_dict()";
  const bool is_edge = place.list[0] == 'e';
  if (is_edge && (PyTuple_Check(item) || PyList_Check(item))) {
    return "for a pair, pass {'source': pair[0], 'target': pair[1]}";
  }
  if (const char* const on_list = advice_on_list(place.given)) return on_list;
  const bool is_id = PyUnicode_Check(item) || PyLong_Check(item);
  return is_id && !is_edge ? "for just an id, pass {'id': id}" : nullptr;
}

const char* advice_on_port(const Raised& raised, const Place& place) {
  if (place.port < 0) {
    return raised.is(PyExc_TypeError) ? "pass an int, the number of ports, or a list of offsets"
                                      : nullptr;
  }
  if (place.port_key == Key::OFFSET) {
    return raised.is(PyExc_TypeError) ? "leave out 'offset' to get the middle of the side"
                                      : nullptr;
  }
  return place.port_is_str ? "a list of ports holds offsets; if your ports have only names, pass "
                             "how many there are"
                           : nullptr;
}

const char* advice(const State& state, const Raised& raised, const Place& place) {
  if (place.items == nullptr) return advice_on_list(place.given);
  if (!place.key) return advice_on_item(place);
  if (place.key == Key::INPUT_PORTS || place.key == Key::OUTPUT_PORTS) {
    return advice_on_port(raised, place);
  }
  const bool is_edge = place.key == Key::ID && place.list[0] == 'n' &&
                       dict_has(state, item_of(place), Key::SOURCE) &&
                       dict_has(state, item_of(place), Key::TARGET);
  return is_edge ? "this looks like an edge; pass the nodes first, then the edges" : nullptr;
}

}  // namespace

void note_place(const State& state, const Place& place) {
  Raised raised;
  raised.add(described(state, place));
  if (const char* const text = advice(state, raised, place)) raised.add(text);
  raised.restore();
}

void note(const char* text) {
  Raised raised;
  raised.add(text);
  raised.restore();
}

}  // namespace quillan::host
