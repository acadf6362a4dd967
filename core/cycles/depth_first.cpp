#include <algorithm>

#include "core/analysis.hpp"
#include "core/cycles/break_cycles.hpp"

namespace quillan::vorn_layered {

std::span<const std::int32_t> _sequence_depth_first(LGraph& graph) {
  struct Visit {
    std::int32_t node;
    std::int32_t cursor;  // into the node's successors
  };
  Arena& scratch = graph.scratch;
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  const Adjacency adjacency = _adjacency(graph);
  const std::span<bool> reached = scratch.array<bool>(count, false);
  const std::span<std::int32_t> order = scratch.raw_array<std::int32_t>(count);
  const std::span<Visit> stack = scratch.raw_array<Visit>(count);
  std::int32_t first = count;  // the postorder is filled in from the back: that reverses it
  for (std::int32_t start = 0; start < count; ++start) {
    if (reached[start]) continue;
    reached[start] = true;
    std::int32_t depth = 0;
    stack[depth++] = {start, 0};
    while (depth > 0) {
      Visit& top = stack[depth - 1];
      const std::span<const std::int32_t> successors = adjacency.succ[top.node];
      const std::int32_t end = static_cast<std::int32_t>(successors.size());
      while (top.cursor < end && reached[successors[top.cursor]]) ++top.cursor;
      if (top.cursor == end) {
        order[--first] = top.node;
        --depth;
      } else {
        const std::int32_t target = successors[top.cursor];
        reached[target] = true;
        stack[depth++] = {target, 0};
      }
    }
  }
  return order;
}

}  // namespace quillan::vorn_layered
