#include <algorithm>
#include <numeric>

#include "core/cycles/break_cycles.hpp"
#include "core/graph/spacing.hpp"

namespace quillan::vorn_layered {

std::span<const std::int32_t> _sequence_interactive(LGraph& graph) {
  const std::span<std::int32_t> order = graph.scratch.raw_array<std::int32_t>(graph.nodes.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](std::int32_t left, std::int32_t right) {
    const LNode& a = *graph.nodes[left];
    const LNode& b = *graph.nodes[right];
    const double ax = a.has_origin_x ? a.origin_x : 0.0;
    const double bx = b.has_origin_x ? b.origin_x : 0.0;
    if (comes_before(ax, bx) || comes_before(bx, ax)) return comes_before(ax, bx);
    const double ay = a.has_origin_y ? a.origin_y : 0.0;
    const double by = b.has_origin_y ? b.origin_y : 0.0;
    if (comes_before(ay, by) || comes_before(by, ay)) return comes_before(ay, by);
    return compare(a.id, b.id) < 0;
  });
  return order;
}

}  // namespace quillan::vorn_layered
