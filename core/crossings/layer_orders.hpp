// LayerOrders: the working form of phase 3.
//
// Nodes go by their slots (core/graph/layer_slots.hpp). For each slot it knows the neighbours in
// the layer before and in the layer after, with the port that each segment uses there.
//
// The position of a segment's end is the real number index + (port + 1) / 64. Here it goes by the
// integer 64 * index + port + 1, its key: the real is exactly the key divided by 64, so keys
// compare alike, and sums of keys divided by 64 are the exact sums of the reals.

#ifndef QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_
#define QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <span>

#include "core/graph/layer_slots.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// The fixed layer that a free layer is ordered by: UPPER is the one before it, LOWER the one after.
enum class FixedLayer : std::uint8_t { UPPER, LOWER };

using EndKey = std::int32_t;
inline constexpr EndKey KEY_SCALE = 64;
// Keys stay inside their type: a layer has fewer nodes than its graph may have.
static_assert((MAX_NODES_PER_GRAPH + MAX_DUMMIES_PER_GRAPH) * KEY_SCALE + MAX_PORT_INDEX + 1 <=
              INT32_MAX);

// Sorts integers, most often one to four of them; insertion beats a general sort there.
template <typename Integer>
void sort_few(std::span<Integer> values) {
  constexpr std::size_t kFew = 16;
  if (values.size() > kFew) {
    std::sort(values.begin(), values.end());
    return;
  }
  for (std::size_t i = 1; i < values.size(); ++i) {
    const Integer value = values[i];
    std::size_t j = i;
    for (; j > 0 && values[j - 1] > value; --j) values[j] = values[j - 1];
    values[j] = value;
  }
}

// Ranks of the nodes' ids by code point, by place in `nodes`; of equal ids, the first is the least.
// In the open frame of `scratch`. n log n.
std::span<const std::int32_t> rank_ids(std::span<const LNode* const> nodes, Arena& scratch,
                                       const SourceOrder& known = {});

class LayerOrders {
 public:
  // Segments reach nodes that stand in no layer, orders do not. REQUIRES: no node stands in
  // `graph.layers` twice. Throws LookupFault for a segment with an end outside the graph. The
  // arrays live in the open frame of `graph.scratch`. Linear in nodes plus edges.
  explicit LayerOrders(LGraph& graph);

  [[nodiscard]] std::int32_t layer_count() const { return graph_.layers.size(); }
  [[nodiscard]] std::int32_t slot_count() const { return static_cast<std::int32_t>(at_.size()); }
  [[nodiscard]] std::int32_t first_slot(std::int32_t layer) const {
    return graph_.layers.start(layer);
  }
  [[nodiscard]] std::int32_t layer_size(std::int32_t layer) const {
    return first_slot(layer + 1) - first_slot(layer);
  }
  // The size of the largest layer. Linear in layers.
  [[nodiscard]] std::int32_t largest_layer() const;
  [[nodiscard]] LNode* node(std::int32_t slot) const { return slots_.nodes[slot]; }
  // LayerSlots::NO_LAYER for a node that stands in none.
  [[nodiscard]] std::int32_t layer_of(std::int32_t slot) const { return slots_.layer_of[slot]; }
  [[nodiscard]] LGraph& graph() const { return graph_; }
  [[nodiscard]] const LayerSlots& slots() const { return slots_; }
  // Whether every segment joins a layer to the next.
  [[nodiscard]] bool is_regular() const { return regular_; }

  // The slots of a layer in their current order.
  [[nodiscard]] std::span<const std::int32_t> order(std::int32_t layer) const {
    return at_.subspan(first_slot(layer), layer_size(layer));
  }
  // All layers' orders, back to back.
  [[nodiscard]] std::span<const std::int32_t> all() const { return at_; }
  [[nodiscard]] std::int32_t place(std::int32_t slot) const { return place_[slot]; }
  // Names the order of the layer: equal stamps mean equal orders. Never negative.
  [[nodiscard]] std::int64_t stamp(std::int32_t layer) const { return stamp_[layer]; }
  // A stamp for an order that has none yet.
  [[nodiscard]] std::int64_t new_stamp() { return ++last_stamp_; }
  // Replaces the order of a layer by one that goes by `stamp`.
  void set_order(std::int32_t layer, std::span<const std::int32_t> ordered, std::int64_t stamp);
  // Replaces the orders of all layers, given back to back, by ones that go by new stamps.
  void set_all(std::span<const std::int32_t> ordered);

  // How many segments lead from `slot` into the fixed layer.
  [[nodiscard]] std::int32_t degree(std::int32_t slot, FixedLayer fixed) const {
    return keys_[static_cast<int>(fixed)].size_of(slot);
  }
  // The keys of these segments' ends in the fixed layer, ascending; they read the orders as
  // they were at the last refresh_keys() for the slot's layer and this fixed one.
  [[nodiscard]] std::span<const EndKey> keys(std::int32_t slot, FixedLayer fixed) const {
    return keys_[static_cast<int>(fixed)][slot];
  }
  // Whether these keys read the neighbouring layer as it is now. There is nothing to read where
  // there is no such layer.
  [[nodiscard]] bool has_fresh_keys(std::int32_t layer, FixedLayer fixed) const {
    const std::int32_t neighbour = fixed == FixedLayer::UPPER ? layer - 1 : layer + 1;
    return neighbour < 0 || neighbour >= layer_count() ||
           seen_[static_cast<int>(fixed)][layer] == stamp_[neighbour];
  }
  // Brings the keys of a layer up to date with the order of its neighbouring layer.
  void refresh_keys(std::int32_t layer, FixedLayer fixed);

  // A segment seen from its upper end, for counting: in ascending order of the upper end's port.
  struct Segment {
    std::int32_t upper_port;
    std::int32_t lower_slot;
    std::int32_t lower_port;
    std::int32_t target_number;  // of the lower port among target_ports()
  };
  [[nodiscard]] std::span<const Segment> segments_below(std::int32_t slot) const {
    return segments_[slot];
  }
  // How many segments join layer `upper` to the next.
  [[nodiscard]] std::int32_t gap_size(std::int32_t upper) const {
    return segments_.starts[first_slot(upper + 1)] - segments_.starts[first_slot(upper)];
  }

  // A port at which segments from above end.
  struct TargetPort {
    std::int32_t slot;
    std::int32_t before;  // how many segments end at lower ports of the slot
  };
  // Those of a layer by slot, then port. They are numbered in this order through all layers.
  [[nodiscard]] std::span<const TargetPort> target_ports(std::int32_t layer) const {
    return target_ports_[layer];
  }
  [[nodiscard]] std::int32_t first_target_port(std::int32_t layer) const {
    return target_ports_.starts[layer];
  }
  // The highest index of a port at which a segment between neighbouring layers ends.
  [[nodiscard]] std::int32_t highest_target_port() const { return highest_target_port_; }

  // The slots of a layer in ascending order of their ids, by code point. REQUIRES: sort_ids().
  [[nodiscard]] std::span<const std::int32_t> by_id(std::int32_t layer) const {
    assert(static_cast<std::int32_t>(by_id_.size()) == slot_count());
    return by_id_.subspan(first_slot(layer), layer_size(layer));
  }
  // Computes what by_id() returns. n log n in the ids of each layer.
  void sort_ids();

  // Writes the orders to LGraph::layers and LNode::order; nodes outside the graph are left out.
  void commit();

 private:
  // The upper end of a segment, seen from its lower one.
  struct UpperEnd {
    std::int32_t slot;
    std::int32_t port;
  };
  void collect();
  void number_target_ports(const Grouped& above, const Grouped& below,
                           std::span<std::int32_t> starts);

  LGraph& graph_;
  LayerSlots slots_;
  std::span<std::int32_t> at_;
  std::span<std::int32_t> place_;
  std::span<std::int64_t> stamp_;
  std::int64_t last_stamp_ = 0;
  GroupsOf<Segment> segments_;         // by upper slot
  GroupsOf<TargetPort> target_ports_;  // by layer
  std::int32_t highest_target_port_ = 0;
  GroupsOf<UpperEnd> upper_ends_;    // by lower slot
  GroupsOf<EndKey> keys_[2];         // by fixed layer, then slot
  std::span<std::int64_t> seen_[2];  // by fixed layer, then layer: its stamp that keys reflect
  std::span<std::int32_t> by_id_;
  bool regular_ = true;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_
