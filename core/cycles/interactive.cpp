#include <algorithm>
#include <numeric>

#include "core/base/reals.hpp"
#include "core/cycles/break_cycles.hpp"

namespace quillan::vorn_layered {

std::span<const std::int32_t> _sequence_interactive(LGraph& graph) {
  const std::span<std::int32_t> sequence =
      graph.scratch.raw_array<std::int32_t>(graph.nodes.size());
  std::iota(sequence.begin(), sequence.end(), 0);
  std::stable_sort(sequence.begin(), sequence.end(), [&](std::int32_t left, std::int32_t right) {
    const LNode& a = *graph.nodes[left];
    const LNode& b = *graph.nodes[right];
    const double a_x = seen_along_flow(graph, a);
    const double b_x = seen_along_flow(graph, b);
    if (const int order = compare_reals(a_x, b_x)) return order < 0;
    if (const int order = compare_reals(seen_across_flow(graph, a), seen_across_flow(graph, b)))
      return order < 0;
    return compare(a.id, b.id) < 0;
  });
  return sequence;
}

}  // namespace quillan::vorn_layered
