// Reading the fields of Python records, with errors that name the record.

#ifndef QUILLAN_HOST_FIELDS_HPP_
#define QUILLAN_HOST_FIELDS_HPP_

#include <cstdint>
#include <vector>

#include "host/state.hpp"

namespace quillan::host {

// Reads fields of one record, such as LNode 'a'. The record must outlive the reader.
class Fields {
 public:
  Fields(const State& state, PyObject* record) : state_(state), record_(record) {}

  [[nodiscard]] Ref get(Field field) const {
    return check(PyObject_GetAttr(record_, state_.field(field)));
  }
  [[nodiscard]] double real(Field field) const {
    return real_from(field, get(field).get(), "a real number");
  }
  [[nodiscard]] std::int64_t integer(Field field, std::int64_t low, std::int64_t high) const;
  [[nodiscard]] bool truth(Field field) const {
    return check(PyObject_IsTrue(get(field).get())) != 0;
  }
  [[nodiscard]] Ref text(Field field) const;  // an exact str
  // The items of a list or another sequence, and the keys and values of a dict in turn, as they are
  // now: later code may change the originals.
  [[nodiscard]] std::vector<Ref> items(Field field) const {
    return items_of(field, get(field).get());
  }
  [[nodiscard]] std::vector<Ref> items_of(Field field, PyObject* sequence) const;
  // A number that is a part of the field, which is said to hold `expected` where it is none.
  [[nodiscard]] double real_from(Field field, PyObject* value, const char* expected) const;
  [[nodiscard]] std::vector<Ref> pairs(Field field) const;
  [[nodiscard]] Ref key_text(Field field, PyObject* key) const;  // an exact str
  [[nodiscard]] Ref dict(Field field) const;
  [[nodiscard]] Ref instance(Field field, PyObject* type) const;

  // Fails with "LNode 'a': MESSAGE"; `format` may name one object.
  [[noreturn]] void fail(PyObject* type, const char* format, PyObject* object = nullptr) const;
  [[noreturn]] void wrong_type(Field field, const char* expected, PyObject* value) const;

 private:
  const State& state_;
  PyObject* record_;
};

// Whether `value` is an object of the class `type` or of one derived from it. Asks no code of the
// caller's, as isinstance() would.
inline bool is_instance(PyObject* value, PyObject* type) {
  return PyObject_TypeCheck(value, reinterpret_cast<PyTypeObject*>(type)) != 0;
}

// Fails unless `value` is an instance of `type`; `where` says what it should have been.
void require_record(PyObject* value, PyObject* type, const char* where);

// The items of a list, a tuple or another sequence. REQUIRES: PySequence_Check().
std::vector<Ref> sequence_items(PyObject* sequence);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_FIELDS_HPP_
