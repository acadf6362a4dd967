#include "core/graph/layer_slots.hpp"

#include <algorithm>
#include <cassert>

namespace quillan::vorn_layered {

LayerSlots::LayerSlots(LGraph& graph) {
  const std::span<LNode* const> layered = graph.layers.flat();
  const std::size_t known = static_cast<std::size_t>(std::count_if(
      layered.begin(), layered.end(), [](const LNode* node) { return node->position >= 0; }));
  const std::size_t size = layered.size() + graph.nodes.size() - known;
  nodes = layered;
  layer_of = graph.scratch.array<std::int32_t>(size, NO_LAYER);
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    for (const std::int32_t slot : graph.layers.slots(layer)) layer_of[slot] = layer;
  }
  if (known == graph.nodes.size()) return;
  const std::span<LNode*> all = graph.scratch.raw_array<LNode*>(size);
  std::copy(layered.begin(), layered.end(), all.begin());
  nodes = all.first(layered.size());
  const Arena::Frame frame(graph.scratch);
  const std::span<const std::int32_t> slot_of = by_position(graph);
  const auto in_no_layer = [&](const LNode* node) { return slot_of[node->position] < 0; };
  std::copy_if(graph.nodes.begin(), graph.nodes.end(), all.subspan(layered.size()).begin(),
               in_no_layer);
  nodes = all;
}

std::span<const std::int32_t> LayerSlots::by_position(LGraph& graph) const {
  const std::span<std::int32_t> slot_of = graph.scratch.array<std::int32_t>(graph.nodes.size(), -1);
  for (std::size_t slot = 0; slot < nodes.size(); ++slot) {
    const std::int32_t position = nodes[slot]->position;
    if (position < 0) continue;
    assert(slot_of[position] < 0);
    slot_of[position] = static_cast<std::int32_t>(slot);
  }
  return slot_of;
}

EdgeEnds LayerSlots::ends_of_edges(LGraph& graph, std::span<const std::int32_t> slot_of) {
  const EdgeEnds ends = known_edge_ends(graph);
  for (std::int32_t& end : ends.sources) end = slot_of[end];
  for (std::int32_t& end : ends.targets) end = slot_of[end];
  return ends;
}

}  // namespace quillan::vorn_layered
