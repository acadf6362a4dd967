// LayerOrders: the working form of phase 3.
//
// Nodes are renumbered by layer (`slots`), so that all that belongs to one layer is contiguous in
// every array. For each slot it knows the neighbours in the layer before and in the layer after, with
// the port that each segment uses there.
//
// The position of a segment's end is stated as index + (port + 1) / 64 in real arithmetic. Here it is
// the integer 64 * index + port + 1, a key: the real is exactly the key divided by 64, so keys compare
// alike, and sums of keys divided by 64 are the exact sums of the reals.

#ifndef QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_
#define QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_

#include <cstdint>
#include <span>

#include "core/graph/incident_maps.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// A neighbouring layer: UPPER is the one before, LOWER the one after.
enum class Reference : std::uint8_t { UPPER, LOWER };

using Key64 = std::int64_t;
inline constexpr Key64 KEY_SCALE = 64;

// Ascending. Most lists of keys have one to four entries.
void sort_keys(std::span<Key64> keys);

class LayerOrders {
 public:
  // REQUIRES: `graph.layers` is a partition of `graph.nodes`. The arrays live in the open frame of
  // `graph.scratch`. Linear in nodes plus edges.
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
  [[nodiscard]] LGraph& graph() const { return graph_; }

  // The slots of a layer in their current order.
  [[nodiscard]] std::span<const std::int32_t> order(std::int32_t layer) const {
    return at_.subspan(first_slot(layer), layer_size(layer));
  }
  // All layers' orders, back to back.
  [[nodiscard]] std::span<const std::int32_t> all() const { return at_; }
  [[nodiscard]] std::int32_t place(std::int32_t slot) const { return place_[slot]; }
  // Changes whenever the order of the layer does; equal stamps mean equal orders.
  [[nodiscard]] std::int64_t stamp(std::int32_t layer) const { return stamp_[layer]; }
  // Replaces the order of a layer; true if that changed it.
  bool set_order(std::int32_t layer, std::span<const std::int32_t> ordered);

  // How many segments lead from `slot` into the reference layer.
  [[nodiscard]] std::int32_t degree(std::int32_t slot, Reference side) const {
    const Half& half = halves_[static_cast<int>(side)];
    return half.starts[slot + 1] - half.starts[slot];
  }
  // The keys of these segments' ends in the reference layer, ascending; they read the orders as they
  // were at the last refresh_keys() for the slot's layer and side.
  [[nodiscard]] std::span<const Key64> keys(std::int32_t slot, Reference side) const {
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
  };
  [[nodiscard]] std::span<const Segment> segments_below(std::int32_t slot) const {
    const Half& half = halves_[static_cast<int>(Reference::LOWER)];
    return segments_.subspan(half.starts[slot], half.starts[slot + 1] - half.starts[slot]);
  }

  // The targets of all segments that start at a slot, those that skip layers included.
  [[nodiscard]] std::span<const std::int32_t> successors(std::int32_t slot) const {
    return successors_[slot];
  }
  // Ranks of the node ids by code point, comparable within a layer and among successors of a node.
  // Computed on first use.
  std::span<const std::int32_t> id_ranks();

  // Writes the orders to LGraph::layers and LNode::order.
  void commit();

 private:
  // The ends of the segments towards one side, by slot.
  struct Half {
    std::span<const std::int32_t> starts;
    std::span<const std::int32_t> slots;   // of the neighbours
    std::span<std::int32_t> ports;         // port index + 1 at the neighbour
    std::span<Key64> keys;
    std::span<std::int64_t> seen;          // per layer: the neighbour's stamp that keys reflect
  };
  struct Ends;
  void collect(const Ends& ends);
  void sort_segments(const Ends& ends);

  LGraph& graph_;
  std::span<LNode*> nodes_;
  std::span<std::int32_t> at_;
  std::span<std::int32_t> place_;
  std::span<std::int64_t> stamp_;
  std::span<Segment> segments_;
  IncidentMap successors_;
  Half halves_[2];
  std::span<std::int32_t> id_rank_;
  bool regular_ = true;  // whether every segment joins a layer to the next
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_LAYER_ORDERS_HPP_
