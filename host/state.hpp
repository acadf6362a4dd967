// What the module holds between calls: constants only, one set per interpreter.

#ifndef QUILLAN_HOST_STATE_HPP_
#define QUILLAN_HOST_STATE_HPP_

#include <array>
#include <cstdint>

#include "host/python.hpp"

namespace quillan::host {

// The keys of a payload's mappings.
enum class Key : std::uint8_t {
  ID,
  WIDTH,
  HEIGHT,
  X,
  Y,
  INPUT_PORTS,
  OUTPUT_PORTS,
  OFFSET,
  SOURCE,
  TARGET,
  SOURCE_PORT,
  TARGET_PORT,
  COUNT,
};
inline constexpr std::array<const char*, static_cast<std::size_t>(Key::COUNT)> KEY_TEXTS = {
    "id",           "width",  "height", "x",      "y",           "input_ports",
    "output_ports", "offset", "source", "target", "source_port", "target_port"};

// The attributes of the records that the host reads and writes.
enum class Field : std::uint8_t {
  kId,
  kNode,
  kSide,
  kIndex,
  kOffset,
  kWidth,
  kHeight,
  kKind,
  kOriginX,
  kOriginY,
  kLayer,
  kOrder,
  kX,
  kY,
  kInPorts,
  kOutPorts,
  kSource,
  kTarget,
  kOriginId,
  kReversed,
  kBendPoints,
  kNodes,
  kEdges,
  kOptions,
  kChains,
  kReversedOriginals,
  kLayers,
  kCounter,
  kDirection,
  kInteractive,
  kCycleBreakingStrategy,
  kLayeringStrategy,
  kCrossingStrategy,
  kPlacementStrategy,
  kEdgeRouting,
  kSpacingNodeNode,
  kSpacingBetweenLayers,
  kSpacingEdgeEdge,
  kSpacingEdgeNode,
  kPaddingLeft,
  kPaddingTop,
  kThoroughness,
  kCount,
};
inline constexpr std::array<const char*, static_cast<std::size_t>(Field::kCount)> FIELD_TEXTS = {
    "id",
    "node",
    "side",
    "index",
    "offset",
    "width",
    "height",
    "kind",
    "origin_x",
    "origin_y",
    "layer",
    "order",
    "x",
    "y",
    "in_ports",
    "out_ports",
    "source",
    "target",
    "origin_id",
    "reversed",
    "bend_points",
    "nodes",
    "edges",
    "options",
    "chains",
    "reversed_originals",
    "layers",
    "_counter",
    "direction",
    "interactive",
    "cycle_breaking_strategy",
    "layering_strategy",
    "crossing_strategy",
    "placement_strategy",
    "edge_routing",
    "spacing_node_node",
    "spacing_node_node_between_layers",
    "spacing_edge_edge",
    "spacing_edge_node",
    "padding_left",
    "padding_top",
    "thoroughness"};

struct State {
  PyObject* keys[static_cast<std::size_t>(Key::COUNT)];       // interned
  PyObject* fields[static_cast<std::size_t>(Field::kCount)];  // interned
  PyObject* mapping;                                          // collections.abc.Mapping
  PyObject* mapping_contains;                                 // its __contains__
  // The records, as the module's own Python source defines them.
  PyObject* direction;
  PyObject* port_side;
  PyObject* node_kind;
  PyObject* layout_options;
  PyObject* lport;
  PyObject* lnode;
  PyObject* ledge;
  PyObject* lgraph;
  bool ready;  // whether all of this is set

  [[nodiscard]] PyObject* key(Key key) const { return keys[static_cast<std::size_t>(key)]; }
  [[nodiscard]] PyObject* field(Field field) const {
    return fields[static_cast<std::size_t>(field)];
  }

  template <typename Visit>
  int for_each(Visit visit) {
    for (PyObject*& key : keys) {
      if (const int status = visit(key)) return status;
    }
    for (PyObject*& name : fields) {
      if (const int status = visit(name)) return status;
    }
    for (PyObject** object : {&mapping, &mapping_contains, &direction, &port_side, &node_kind,
                              &layout_options, &lport, &lnode, &ledge, &lgraph}) {
      if (const int status = visit(*object)) return status;
    }
    return 0;
  }
};

inline State& raw_state_of(PyObject* module) {
  return *static_cast<State*>(PyModule_GetState(module));
}

// ImportError unless the import of the module has come to its end: code that runs while it is
// imported can get hold of a function, and an interrupted import leaves that function behind.
inline const State& state_of(PyObject* module) {
  const State& state = raw_state_of(module);
  if (!state.ready) fail(PyExc_ImportError, "vorn_layered was not imported to the end");
  return state;
}

}  // namespace quillan::host

#endif  // QUILLAN_HOST_STATE_HPP_
