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
    if (const int order = compare_reals(a.seen_x(), b.seen_x())) return order < 0;
    if (const int order = compare_reals(a.seen_y(), b.seen_y())) return order < 0;
    return compare(a.id, b.id) < 0;
  });
  return sequence;
}

}  // namespace quillan::vorn_layered
