// LayerOrders: the working form of phase 3.
//
// Nodes are renumbered by layer (`slots`), so that all that belongs to one layer is contiguous in
// every array. For each slot it knows the neighbours in the layer before and in the layer after,
// with the port that each segment uses there.
//
// The position of a segment's end is stated as index + (port + 1) / 64 in real arithmetic. Here it
// is the integer 64 * index + port + 1, a key: the real is exactly the key divided by 64, so keys
// compare alike, and sums of keys divided by 64 are the exact sums of the reals.

#ifndef QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_
#define QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_

#include <algorithm>
#include <cstdint>
#include <span>

#include "core/graph/incident_maps.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// A neighbouring layer: UPPER is the one before, LOWER the one after.
enum class Reference : std::uint8_t { UPPER, LOWER };

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

class LayerOrders {
 public:
  static constexpr std::int32_t NO_LAYER = -2;

  // Nodes that stand in no layer get slots behind all others: segments reach them, orders do not.
  // A node outside the graph that stands in a layer is one without segments. REQUIRES: no node
  // stands in `graph.layers` twice. Throws LookupFault for a segment with an end outside the graph.
  // The arrays live in the open frame of `graph.scratch`. Linear in nodes plus edges.
  explicit LayerOrders(LGraph& graph);

  [[nodiscard]] std::int32_t layer_count() const { return graph_.layers.size(); }
  [[nodiscard]] std::int32_t slot_count() const { return static_cast<std::int32_t>(at_.size()); }
  [[nodiscard]] std::int32_t first_slot(std::int32_t layer) const {
    return graph_.layers.start(layer);
  }
  [[nodiscard]] std::int32_t layer_size(std::int32_t layer) const {
    return first_slot(layer + 1) - first_slot(layer);
  }
  [[nodiscard]] LNode* node(std::int32_t slot) const { return nodes_[slot]; }
  // NO_LAYER for a node that stands in none; no layer comes before or after that.
  [[nodiscard]] std::int32_t layer_of(std::int32_t slot) const { return layer_of_[slot]; }
  [[nodiscard]] LGraph& graph() const { return graph_; }

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

  // How many segments lead from `slot` into the reference layer.
  [[nodiscard]] std::int32_t degree(std::int32_t slot, Reference side) const {
    const Half& half = halves_[static_cast<int>(side)];
    return half.starts[slot + 1] - half.starts[slot];
  }
  // The keys of these segments' ends in the reference layer, ascending; they read the orders as
  // they were at the last refresh_keys() for the slot's layer and side.
  [[nodiscard]] std::span<const EndKey> keys(std::int32_t slot, Reference side) const {
    const Half& half = halves_[static_cast<int>(side)];
    return half.keys.subspan(half.starts[slot], half.starts[slot + 1] - half.starts[slot]);
  }
  // Brings the keys of a layer up to date with the order of its neighbouring layer.
  void refresh_keys(std::int32_t layer, Reference side);

  // A segment seen from its upper end, for counting: in ascending order of the upper end's port.
  struct Segment {
    std::int32_t upper_port;
    std::int32_t lower_slot;
    std::int32_t lower_port;
    std::int32_t lower_end;  // the number of the lower port
  };
  [[nodiscard]] std::span<const Segment> segments_below(std::int32_t slot) const {
    const Half& half = halves_[static_cast<int>(Reference::LOWER)];
    return segments_.subspan(half.starts[slot], half.starts[slot + 1] - half.starts[slot]);
  }
  // How many segments join layer `upper` to the next.
  [[nodiscard]] std::int32_t gap_size(std::int32_t upper) const {
    const Half& half = halves_[static_cast<int>(Reference::LOWER)];
    return half.starts[first_slot(upper + 1)] - half.starts[first_slot(upper)];
  }

  // The ports at which segments from above end, numbered by slot, then port.
  struct LowerEnd {
    std::int32_t slot;
    std::int32_t before;  // how many segments end at lower ports of the slot
  };
  [[nodiscard]] std::int32_t first_end(std::int32_t layer) const {
    return first_end_[first_slot(layer)];
  }
  [[nodiscard]] std::span<const LowerEnd> ends_above(std::int32_t layer) const {
    return ends_.subspan(first_end(layer), first_end(layer + 1) - first_end(layer));
  }
  // The highest index of a port at which a segment between neighbouring layers ends.
  [[nodiscard]] std::int32_t highest_target_port() const { return highest_target_port_; }

  // The targets of all segments that start at a slot, those that skip layers included.
  [[nodiscard]] std::span<const std::int32_t> successors(std::int32_t slot) const {
    return successors_[slot];
  }
  // Ranks of the node ids by code point, comparable within a layer and among successors of a node.
  [[nodiscard]] std::span<const std::int32_t> id_ranks() const { return id_rank_; }
  // The slots of a layer in ascending order of their ids.
  [[nodiscard]] std::span<const std::int32_t> by_id(std::int32_t layer) const {
    return by_id_.subspan(first_slot(layer), layer_size(layer));
  }
  // Computes what id_ranks() and by_id() return. n log n in the ids.
  void rank_ids();

  // Writes the orders to LGraph::layers and LNode::order; nodes outside the graph are left out.
  void commit();

 private:
  // The ends of the segments towards one side, by slot.
  struct Half {
    std::span<const std::int32_t> starts;
    std::span<const std::int32_t> slots;  // of the neighbours
    std::span<std::int32_t> ports;        // port index + 1 at the neighbour
    std::span<EndKey> keys;
    std::span<std::int64_t> seen;  // per layer: the neighbour's stamp that keys reflect
  };
  struct EdgeSlots;
  std::span<const std::int32_t> number_nodes();
  void collect(const EdgeSlots& ends);
  void number_ends(const Grouped& above, const Grouped& below);
  void sort_segments(const EdgeSlots& ends);

  LGraph& graph_;
  std::span<LNode*> nodes_;
  std::span<std::int32_t> layer_of_;
  std::span<std::int32_t> at_;
  std::span<std::int32_t> place_;
  std::span<std::int64_t> stamp_;
  std::int64_t last_stamp_ = 0;
  std::span<Segment> segments_;
  std::span<LowerEnd> ends_;
  std::span<std::int32_t> first_end_;  // per slot: the number of its first lower end
  std::int32_t highest_target_port_ = 0;
  Grouped successors_;
  Half halves_[2];
  std::span<std::int32_t> id_rank_;
  std::span<std::int32_t> by_id_;
  bool regular_ = true;  // whether every segment joins a layer to the next
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_
