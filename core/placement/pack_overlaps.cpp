#include <algorithm>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"
#include "core/placement/place_nodes.hpp"

namespace quillan::vorn_layered {

namespace {

struct Placed {
  double y;
  LNode* node;
};

bool before(const Placed& a, const Placed& b) {
  if (const int order = compare_reals(a.y, b.y)) return order < 0;
  if (a.node->order != b.node->order) return a.node->order < b.node->order;
  return compare(a.node->id, b.node->id) < 0;
}

void push_apart(std::span<const Placed> ordered, const LayoutOptions& options) {
  double cursor = options.padding_top;
  const LNode* previous = nullptr;
  for (const Placed& placed : ordered) {
    LNode& node = *placed.node;
    if (previous != nullptr) {
      cursor = larger(
          cursor, previous->y + previous->height() + _spacing_between(*previous, node, options));
    }
    node.y = larger(node.y, cursor);
    cursor = node.y;
    previous = &node;
  }
}

}  // namespace

void _pack_layer_overlaps(LGraph& graph) {
  for (std::int32_t index = 0; index < graph.layers.size(); ++index) {
    const Arena::Frame frame(graph.scratch);
    const std::span<LNode*> layer = graph.layers[index];
    const std::span<Placed> ordered = graph.scratch.raw_array<Placed>(layer.size());
    for (std::size_t i = 0; i < layer.size(); ++i) ordered[i] = {layer[i]->y, layer[i]};
    if (!std::is_sorted(ordered.begin(), ordered.end(), before)) {
      std::stable_sort(ordered.begin(), ordered.end(), before);
    }
    push_apart(ordered, graph.options);
  }
}

}  // namespace quillan::vorn_layered
