// LayerSlots: the nodes of a layered graph, numbered layer by layer.
//
// Phases 3 and 4 number nodes by layer and place, so that all that belongs to one layer stands
// together in every array. These numbers are slots. Nodes of the graph that stand in no layer get
// the slots behind all others. A node outside the graph may stand in a layer and has a slot then,
// but no segments.
//
// Example:
//   const LayerSlots slots(graph);
//   const EdgeEnds ends = slots.ends_of_edges(graph, slots.by_position(graph));
//   if (slots.joins_neighbours(ends.sources[i], ends.targets[i])) ...

#ifndef QUILLAN_CORE_GRAPH_LAYER_SLOTS_HPP_
#define QUILLAN_CORE_GRAPH_LAYER_SLOTS_HPP_

#include <cstdint>
#include <span>

#include "core/graph/incident_maps.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

struct LayerSlots {
  // The layer of a node that stands in none; no layer comes before or after it.
  static constexpr std::int32_t NO_LAYER = -2;

  // REQUIRES: no node stands in `graph.layers` twice; the layers stay as they are while this is in
  // use. The arrays live in the open frame of `graph.scratch`. Linear in nodes.
  explicit LayerSlots(LGraph& graph);

  [[nodiscard]] std::int32_t count() const { return static_cast<std::int32_t>(nodes.size()); }
  // Whether the second slot is in the layer behind that of the first.
  [[nodiscard]] bool joins_neighbours(std::int32_t upper, std::int32_t lower) const {
    return layer_of[upper] + 1 == layer_of[lower];
  }
  // The slot of every node in LGraph::nodes, by position. In the open frame of `graph.scratch`.
  [[nodiscard]] std::span<const std::int32_t> by_position(LGraph& graph) const;
  // The ends of all edges as slots, by what by_position() returns. Throws LookupFault for an end
  // outside the graph.
  [[nodiscard]] static EdgeEnds ends_of_edges(LGraph& graph, std::span<const std::int32_t> slot_of);

  std::span<LNode* const> nodes;     // by slot; those of LGraph::layers if that has all nodes
  std::span<std::int32_t> layer_of;  // by slot
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_LAYER_SLOTS_HPP_
