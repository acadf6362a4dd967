// PythonReader: the core's view of Python values.

#ifndef QUILLAN_HOST_READER_HPP_
#define QUILLAN_HOST_READER_HPP_

#include <array>
#include <vector>

#include "core/exchange/value.hpp"
#include "host/state.hpp"
#include "host/texts.hpp"

namespace quillan::host {

// Serves one call. Values of the exact built-in types are read directly; all others go through
// Python's own protocols, with Python's own exceptions. Texts that the core keeps are kept alive
// here, since the payload may change while it is read.
class PythonReader final : public vorn_layered::ValueReader {
 public:
  // `arena` holds the texts and must live as long as what is made from them.
  PythonReader(const State& state, vorn_layered::Arena& arena) : state_(state), texts_(arena) {}

  vorn_layered::ValueKind kind(vorn_layered::Handle value) override;
  bool truth(vorn_layered::Handle value) override;
  const vorn_layered::TextSource* text(vorn_layered::Handle value) override;
  std::string_view peek_text(vorn_layered::Handle value) override;
  double real(vorn_layered::Handle value) override;
  std::optional<std::int64_t> integer(vorn_layered::Handle value) override;
  vorn_layered::Handle get(vorn_layered::Handle mapping, vorn_layered::Key key) override;
  vorn_layered::Handle require(vorn_layered::Handle mapping, vorn_layered::Key key) override;
  void walk(vorn_layered::Handle value,
            const std::function<void(vorn_layered::Handle)>& visit) override;
  void check_mapping(vorn_layered::Handle value) override;
  void release(vorn_layered::Handle value) noexcept override;
  std::string_view glance(vorn_layered::Handle mapping, vorn_layered::Key key) noexcept override;
  void prefetch(vorn_layered::Handle far, vorn_layered::Handle near) noexcept override;

 private:
  // Where a key was last found. Dictionaries made alike keep their keys in the same places, and
  // looking there first saves most of the cost of a look-up. Only with two keys equal to one text
  // in one dictionary, which takes a str whose equality changes, may a look-up find the other one.
  struct Place {
    Ref key;                // the dictionary's own object for the key; none before the first find
    Py_ssize_t offset = 0;  // what PyDict_Next() takes to come to it
    int credit = kSearch;   // rises with hits; a search for another place takes kSearch
  };
  // Where dictionaries differ, no more than one look-up in five is followed by a search, in the
  // long run.
  static constexpr int kSearch = 4;
  static constexpr int kMostCredit = 2 * kSearch;

  bool is_mapping(PyObject* value) const;
  static PyObject* find_at(const Place& place, PyObject* dict);
  PyObject* find(PyObject* dict, vorn_layered::Key key);
  static void learn(Place& place, PyObject* dict, const char* name);

  const State& state_;
  TextKeeper texts_;
  Ref peeked_;  // what the last peek_text() made
  Ref encoded_;
  std::array<Place, vorn_layered::KEY_COUNT> places_;
};

// The handles of a tuple's items. Not of a list's, even of one made for the purpose: the caller's
// own code may run while the items are read, can come by any list through the collector, and empty
// it.
std::span<const vorn_layered::Handle> items_of(PyObject* tuple);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_READER_HPP_
