// KeyPlaces: where the dictionaries of a payload hold their keys.
//
// Dictionaries made alike have a key in the same place, and to look there first is cheaper than to
// search, above all for a key that is not the module's own string object, as a parser makes them.
//
// Example:
//   KeyPlaces places(state);
//   PyObject* const width = places.get(dict, Key::WIDTH);

#ifndef QUILLAN_HOST_KEY_PLACES_HPP_
#define QUILLAN_HOST_KEY_PLACES_HPP_

#include <array>
#include <cstddef>
#include <initializer_list>

#include "host/python.hpp"
#include "host/state.hpp"

namespace quillan::host {

class KeyPlaces {
 public:
  explicit KeyPlaces(const State& state) : state_(state) {}

  // What an exact dict has under a key, borrowed, or null where it does not have it. Runs code of
  // the caller's only where the dict has keys that are no exact str.
  PyObject* get(PyObject* dict, Key key);

  // Starts to load what comes behind item `number` of a tuple, since it lies all over the memory: a
  // mapping, then its table, then the values of these keys. In lists of ten thousand a reader waits
  // for little else; what short lists are made of is in the caches already.
  void look_ahead(const Ref& tuple, std::size_t number, std::initializer_list<Key> keys) const;

 private:
  // Where a key was first found.
  struct Place {
    Ref key;                // the object that the dictionary held; null before the first find
    Py_ssize_t offset = 0;  // what PyDict_Next() found it at
  };

  PyObject* find_in_place(PyObject* dict, Key key) const;
  void learn(PyObject* dict, Key key, PyObject* value);

  const State& state_;
  std::array<Place, static_cast<std::size_t>(Key::COUNT)> places_;
};

}  // namespace quillan::host

#endif  // QUILLAN_HOST_KEY_PLACES_HPP_
