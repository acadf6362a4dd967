// Brandes-Koepf placement, part by part.
//
// After Brandes and Koepf, Fast and Simple Horizontal Coordinate Assignment (2002), sections 4.1
// (conflicts) and 4.2 (alignment); the compaction differs, see compaction.hpp. A coordinate here is
// the center that all nodes of a block share; heights enter through the separations only.

#ifndef QUILLAN_CORE_PLACEMENT_BRANDES_KOEPF_HPP_
#define QUILLAN_CORE_PLACEMENT_BRANDES_KOEPF_HPP_

#include <cstdint>
#include <span>

#include "core/graph/layer_slots.hpp"
#include "core/graph/lgraph.hpp"
#include "core/placement/compaction.hpp"

namespace quillan::vorn_layered {

// The layers of a graph in working form. Comparing slots of one layer compares places.
class AlignmentGraph {
 public:
  // Throws LookupFault for a segment with an end outside the graph, and for a node outside it in a
  // layer. The arrays live in the open frame of the graph's scratch arena. Linear in nodes plus
  // edges.
  explicit AlignmentGraph(LGraph& laid_out);

  // A neighbour in the adjacent layer, and the entry that stands for the segments to it: parallel
  // segments share one.
  struct Link {
    std::int32_t slot;
    std::int32_t segment;
  };

  [[nodiscard]] std::span<const Link> above(std::int32_t slot) const { return above_[slot]; }
  [[nodiscard]] std::span<const Link> below(std::int32_t slot) const { return below_[slot]; }

  LGraph& graph;
  LayerSlots slots;
  std::span<const std::int32_t> slot_of;  // by LNode::position
  std::int32_t segment_count = 0;
  std::span<double> separation;  // from the center of the slot before
  std::span<bool> opens_layer;
  std::span<std::int32_t> inner_source;  // slot of the dummy at the other end of the first inner
                                         // segment into this dummy; -1 for none
 private:
  void collect_links();

  GroupsOf<const Link> above_;  // each list ascending by slot
  GroupsOf<const Link> below_;
};

// By segment: whether it crosses an inner segment, one with a dummy at both ends. Linear.
std::span<const bool> _mark_type1_conflicts(const AlignmentGraph& layers);

// One of the four alignments: by slot, the slot at the root of its block. `downward` links nodes to
// the layer before, in ascending layers; `leftward` visits a layer from its first node on and
// prefers the lower of two medians. Linear.
std::span<std::int32_t> _align_blocks(const AlignmentGraph& layers, bool downward, bool leftward,
                                      std::span<const bool> marked);

// Numbers the blocks in the order of their first node in LGraph::nodes, and puts the number of each
// slot's block in place of its root. Linear.
BlockConstraints _blocks_from_root(const AlignmentGraph& layers, std::span<std::int32_t> root);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_BRANDES_KOEPF_HPP_
