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

  // The neighbours of a slot on one side, ascending by slot.
  [[nodiscard]] std::int32_t above_count(std::int32_t slot) const { return above_.size_of(slot); }
  [[nodiscard]] Link above(std::int32_t slot, std::int32_t i) const {
    const std::int32_t segment = above_.starts[slot] + i;
    return {above_.items[segment], segment};
  }
  [[nodiscard]] std::int32_t below_count(std::int32_t slot) const { return below_.size_of(slot); }
  [[nodiscard]] Link below(std::int32_t slot, std::int32_t i) const {
    const std::int32_t segment = below_[slot][i];
    return {lower_of_[segment], segment};
  }

  LGraph& graph;
  LayerSlots slots;
  std::span<const std::int32_t> slot_of;  // by LNode::position
  std::span<double> separation;           // from the center of the slot before
  std::span<bool> opens_layer;
  std::span<bool> marked;  // by segment, see _mark_type1_conflicts()

 private:
  void collect_links();

  // Segments are numbered by their lower slot, then by the upper one.
  Grouped above_;                           // by slot: the upper ends of its segments
  Grouped below_;                           // by slot: the numbers of its segments
  std::span<const std::int32_t> lower_of_;  // by segment
};

// Marks the segments that cross an inner segment, one with a dummy at both ends. `inner_source`
// holds, for every slot of a dummy, the slot of the dummy at the other end of the first inner
// segment into it; -1 for all other slots. REQUIRES: nothing is marked. Linear.
void _mark_type1_conflicts(const AlignmentGraph& layers, std::span<const std::int32_t> inner_source,
                           std::span<bool> marked);

// One of the four alignments: by slot, the slot at the root of its block. `downward` links nodes to
// the layer before, in ascending layers; `leftward` visits a layer from its first node on and
// prefers the lower of two medians. Linear.
std::span<std::int32_t> _align_blocks(const AlignmentGraph& layers, bool downward, bool leftward);

// Numbers the blocks in the order of their first node in LGraph::nodes, and puts the number of each
// slot's block in place of its root. Linear.
BlockConstraints _blocks_from_root(const AlignmentGraph& layers, std::span<std::int32_t> root);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_BRANDES_KOEPF_HPP_
