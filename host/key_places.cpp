#include "host/key_places.hpp"

#include "host/prefetch.hpp"

namespace quillan::host {

namespace {

// In these versions PyDict_Next() takes an offset that it gave for another dictionary: it holds it
// against the number of entries, as it must for one that has lost some.
#if PY_VERSION_HEX < 0x030F0000
constexpr bool kKnowsDicts = true;
const void* table_of(PyObject* dict) { return reinterpret_cast<PyDictObject*>(dict)->ma_keys; }
#else
constexpr bool kKnowsDicts = false;
const void* table_of(PyObject* /*dict*/) { return nullptr; }
#endif

}  // namespace

PyObject* KeyPlaces::get(PyObject* dict, Key key) {
  if (PyObject* const value = find_in_place(dict, key)) return value;
  PyObject* const value = PyDict_GetItemWithError(dict, state_.key(key));
  if (value == nullptr && PyErr_Occurred() != nullptr) throw PythonError();
  if (value != nullptr && !places_[static_cast<std::size_t>(key)].key) learn(dict, key, value);
  return value;
}

// The value, borrowed, if the dict has the key where the first one had it; else null.
PyObject* KeyPlaces::find_in_place(PyObject* dict, Key key) const {
  const Place& place = places_[static_cast<std::size_t>(key)];
  PyObject* found = nullptr;
  PyObject* value = nullptr;
  Py_ssize_t next = place.offset;
  if (!kKnowsDicts || PyDict_Next(dict, &next, &found, &value) == 0) return nullptr;
  return found == place.key.get() ? value : nullptr;
}

void KeyPlaces::learn(PyObject* dict, Key key, PyObject* value) {
  PyObject* found = nullptr;
  PyObject* held = nullptr;
  Py_ssize_t offset = 0;
  for (Py_ssize_t next = 0; PyDict_Next(dict, &next, &found, &held) != 0; offset = next) {
    if (held != value || !PyUnicode_CheckExact(found)) continue;
    if (PyUnicode_Compare(found, state_.key(key)) != 0) continue;
    places_[static_cast<std::size_t>(key)] = {Ref::borrow(found), offset};
    return;
  }
}

void KeyPlaces::look_ahead(const Ref& tuple, std::size_t number,
                           std::initializer_list<Key> keys) const {
  constexpr std::size_t kMappings = 16;
  constexpr std::size_t kTables = 8;
  constexpr std::size_t kValues = 4;
  constexpr std::size_t kLong = 4000;
  constexpr std::size_t kLines = 4;  // the table of a dict with some ten keys
  constexpr std::size_t kLine = 64;
  const std::size_t size = static_cast<std::size_t>(PyTuple_GET_SIZE(tuple.get()));
  if (!kKnowsDicts || size < kLong || number + kMappings >= size) return;
  const auto ahead = [&](std::size_t by) {
    return PyTuple_GET_ITEM(tuple.get(), static_cast<Py_ssize_t>(number + by));
  };
  prefetch(ahead(kMappings));
  if (PyObject* const dict = ahead(kTables); PyDict_CheckExact(dict)) {
    const char* const table = static_cast<const char*>(table_of(dict));
    for (std::size_t line = 0; line < kLines; ++line) prefetch(table + line * kLine);
  }
  PyObject* const dict = ahead(kValues);
  if (!PyDict_CheckExact(dict)) return;
  for (const Key key : keys) prefetch(find_in_place(dict, key));
}

}  // namespace quillan::host
