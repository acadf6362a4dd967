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
  std::stable_sort(ordered.begin(), ordered.end(), [](const LNode* a, const LNode* b) {
    if (const int order = compare_reals(a->seen_x(), b->seen_x())) return order < 0;
    return compare(a->id, b->id) < 0;
  });

  std::int32_t layer = 0;
  double band_end = ordered[0]->seen_x() + ordered[0]->width;
  ordered[0]->layer = 0;
  for (LNode* node : ordered.subspan(1)) {
    const double start = node->seen_x();
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
