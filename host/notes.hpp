// Notes on exceptions: which item of the payload could not be read, and what to pass instead.
//
// An exception keeps its type and its words, which are Python's own; notes are shown below them.
// Making a note runs none of the caller's code: what is asked about an object is asked of its type.

#ifndef QUILLAN_HOST_NOTES_HPP_
#define QUILLAN_HOST_NOTES_HPP_

#include <cstdint>
#include <optional>

#include "host/state.hpp"

namespace quillan::host {

// Where in a payload its reader is. All objects are borrowed.
struct Place {
  const char* list = nullptr;  // "nodes" or "edges"
  PyObject* given = nullptr;   // what the caller passed as this list, if still known
  PyObject* items = nullptr;   // a tuple of its items; null: the list itself is being read
  std::size_t number = 0;      // of the item
  std::optional<Key> key = std::nullopt;       // of the item
  std::int32_t port = -1;                      // in the list of ports under that key; -1: in none
  std::optional<Key> port_key = std::nullopt;  // of the mapping of this port
  bool port_is_str = false;
};

// Adds to the exception that is set where it was raised and, where the mistake is a common one,
// what to pass instead. Does nothing where there is no memory for it.
void note_place(const State& state, const Place& place);

// Adds `text` to the exception that is set.
void note(const char* text);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_NOTES_HPP_
