#include <algorithm>
#include <numeric>

#include "core/graph/spacing.hpp"
#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

namespace {

double start_of(const LNode& node) { return node.has_origin_x ? node.origin_x : 0.0; }

}  // namespace

void _layer_interactive(LGraph& graph) {
  if (graph.nodes.empty()) return;
  const Arena::Frame frame(graph.scratch);
  const std::span<LNode*> ordered = graph.scratch.raw_array<LNode*>(graph.nodes.size());
  std::copy(graph.nodes.begin(), graph.nodes.end(), ordered.begin());
  std::stable_sort(ordered.begin(), ordered.end(), [](const LNode* a, const LNode* b) {
    const double left = start_of(*a);
    const double right = start_of(*b);
    if (comes_before(left, right) || comes_before(right, left)) return comes_before(left, right);
    return compare(a->id, b->id) < 0;
  });

  std::int32_t layer = 0;
  double band_end = start_of(*ordered[0]) + ordered[0]->width;
  ordered[0]->layer = 0;
  for (LNode* node : ordered.subspan(1)) {
    const double start = start_of(*node);
    if (start >= band_end) {
      ++layer;
      band_end = start + node->width;
    } else {
      band_end = larger(band_end, start + node->width);
    }
    node->layer = layer;
  }
  push_behind_predecessors(graph);
}

}  // namespace quillan::vorn_layered
