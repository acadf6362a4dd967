// PayloadReader: the caller's mappings, read once into the core's rows.
//
// Only the keys of this file's Key are ever looked up, and only where something depends on them:
// not in a node whose twin takes its place, not in an edge that is left out, and no port index of a
// side that has no ports. Values of the exact built-in types are read directly; all others go
// through Python's own protocols, with Python's own exceptions and a note that leads to the item.
//
// Example:
//   PayloadReader reader(state, nodes, edges, arena);
//   const Components components = weakly_connected_components(reader.payload(), arena);
//   for (std::int32_t i = 0; i < components.size(); ++i) reader.read(components[i], direction);

#ifndef QUILLAN_HOST_PAYLOAD_READER_HPP_
#define QUILLAN_HOST_PAYLOAD_READER_HPP_

#include <cstdint>
#include <optional>
#include <vector>

#include "core/exchange/payload.hpp"
#include "host/key_places.hpp"
#include "host/notes.hpp"
#include "host/state.hpp"
#include "host/texts.hpp"

namespace quillan::host {

class PayloadReader {
 public:
  // Reads the ids of all nodes and then the ends of all edges, of two iterables. `arena` holds
  // texts and must outlive all that is made of them.
  PayloadReader(const State& state, PyObject* nodes, PyObject* edges, vorn_layered::Arena& arena);

  // Reads the rest of a component's rows, its nodes and then its edges, for a graph of this
  // direction.
  void read(const vorn_layered::Component& component, vorn_layered::Direction direction);

  [[nodiscard]] const vorn_layered::Payload& payload() const { return payload_; }
  // The caller's mappings, by position.
  [[nodiscard]] PyObject* node(std::int32_t number) const { return item(nodes_, number); }
  [[nodiscard]] PyObject* edge(std::int32_t number) const { return item(edges_, number); }

 private:
  static PyObject* item(const Ref& items, std::int32_t number) {
    return PyTuple_GET_ITEM(items.get(), number);
  }
  // Runs `body`; an exception that leaves it gets a note of where the reader was.
  template <typename Body>
  void noting(Body body);
  void enter_list(const char* list, const Ref& items);
  void enter_item(std::size_t number);
  bool is_mapping(PyObject* value) const;
  void check_mapping(PyObject* value) const;
  bool has(PyObject* mapping, PyObject* key) const;
  PyObject* get(PyObject* mapping, Key key);
  PyObject* hold(Ref value);

  const vorn_layered::TextSource* read_id(PyObject* mapping);
  void read_node(std::int32_t number, vorn_layered::Direction direction);
  vorn_layered::PortSpec read_ports(PyObject* spec);
  vorn_layered::PortSpec count_ports(PyObject* integer);
  void add_port(PyObject* item, vorn_layered::PortSpec& list);
  vorn_layered::PortRow read_port(PyObject* item);
  std::optional<double> read_position(Key key, PyObject* value);
  void read_edge(std::int32_t number);
  std::int32_t read_index(PyObject* mapping, Key key, bool& has_ports);

  // Which sides of a node have ports by now, those included that edges ask for.
  struct Sides {
    bool input = false;
    bool output = false;
  };

  const State& state_;
  TextKeeper texts_;
  KeyPlaces key_places_;
  std::vector<Ref> held_;  // values of the item that is being read
  // Tuples, since the caller's own code may run while they are read. It can come by any list
  // through the collector, even by one made for the purpose, and empty it.
  const Ref nodes_;
  const Ref edges_;
  vorn_layered::Payload payload_;
  std::vector<Sides> sides_;
  std::int64_t port_count_ = 0;  // declared in the component so far
  Place place_;
};

}  // namespace quillan::host

#endif  // QUILLAN_HOST_PAYLOAD_READER_HPP_
