#include "core/graph/layer_slots.hpp"

#include <algorithm>
#include <cassert>

namespace quillan::vorn_layered {

LayerSlots::LayerSlots(LGraph& graph)
    : slot_of(graph.scratch.array<std::int32_t>(graph.nodes.size(), -1)) {
  const std::span<LNode* const> layered = graph.layers.flat();
  std::size_t known = 0;  // nodes of the graph that stand in a layer
  for (std::size_t slot = 0; slot < layered.size(); ++slot) {
    if (layered[slot]->position < 0) continue;
    assert(slot_of[layered[slot]->position] < 0);
    slot_of[layered[slot]->position] = static_cast<std::int32_t>(slot);
    ++known;
  }
  const std::size_t size = layered.size() + graph.nodes.size() - known;
  nodes = layered;
  layer_of = graph.scratch.array<std::int32_t>(size, NO_LAYER);
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    for (const std::int32_t slot : graph.layers.slots(layer)) layer_of[slot] = layer;
  }
  if (known == graph.nodes.size()) return;
  const std::span<LNode*> all = graph.scratch.raw_array<LNode*>(size);
  std::copy(layered.begin(), layered.end(), all.begin());
  std::int32_t next = static_cast<std::int32_t>(layered.size());
  for (LNode* node : graph.nodes) {
    if (slot_of[node->position] >= 0) continue;
    all[next] = node;
    slot_of[node->position] = next++;
  }
  nodes = all;
}

EdgeEnds LayerSlots::ends_of_edges(LGraph& graph) const {
  const EdgeEnds ends = known_edge_ends(graph);
  for (std::int32_t& end : ends.sources) end = slot_of[end];
  for (std::int32_t& end : ends.targets) end = slot_of[end];
  return ends;
}

}  // namespace quillan::vorn_layered
