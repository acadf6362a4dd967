#include <algorithm>
#include <numeric>

#include "core/base/reals.hpp"
#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

void _layer_interactive(LGraph& graph) {
  if (graph.nodes.empty()) return;
  const Arena::Frame frame(graph.scratch);
  const std::span<LNode*> ordered = graph.scratch.raw_array<LNode*>(graph.nodes.size());
  std::copy(graph.nodes.begin(), graph.nodes.end(), ordered.begin());
  const auto start_of = [&graph](const LNode* node) { return seen_along_flow(graph, *node); };
  std::stable_sort(ordered.begin(), ordered.end(), [&](const LNode* a, const LNode* b) {
    if (const int order = compare_reals(start_of(a), start_of(b))) return order < 0;
    return compare(a->id, b->id) < 0;
  });

  std::int32_t layer = 0;
  double band_end = start_of(ordered[0]) + ordered[0]->width();
  ordered[0]->layer = 0;
  for (LNode* node : ordered.subspan(1)) {
    const double start = start_of(node);
    if (start >= band_end) {
      ++layer;
      band_end = start + node->width();
    } else {
      band_end = larger(band_end, start + node->width());
    }
    node->layer = layer;
  }
  push_behind_predecessors(graph, OwnLayer::KEEP);
}

}  // namespace quillan::vorn_layered
