#include "core/analysis.hpp"

#include <optional>

namespace quillan::vorn_layered {

namespace {

// Replaces the edge positions of `map` by the positions of the nodes at the other ends.
Grouped neighbours(const Grouped& map, std::span<const std::int32_t> ends, Arena& scratch) {
  const std::span<std::int32_t> items = scratch.raw_array<std::int32_t>(map.items.size());
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = ends[map.items[i]];
  return {map.starts, items};
}

}  // namespace

Adjacency _adjacency(LGraph& graph) {
  Arena& scratch = graph.scratch;
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  const EdgeEnds ends = edge_ends(graph);
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    const bool outside = ends.sources[i] < 0 || ends.targets[i] < 0;
    if (outside || ends.sources[i] == ends.targets[i]) ends.sources[i] = ends.targets[i] = -1;
  }
  const Grouped outgoing = group_by(ends.sources, count, scratch);
  const Grouped incoming = group_by(ends.targets, count, scratch);
  return {neighbours(outgoing, ends.targets, scratch), neighbours(incoming, ends.sources, scratch)};
}

std::span<const std::int32_t> _topological_order(LGraph& graph, const Adjacency& adjacency) {
  Arena& scratch = graph.scratch;
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  const std::span<std::int32_t> indegree = scratch.raw_array<std::int32_t>(count);
  const std::span<std::int32_t> queue = scratch.raw_array<std::int32_t>(count);
  std::int32_t end = 0;
  for (std::int32_t node = 0; node < count; ++node) {
    indegree[node] = static_cast<std::int32_t>(adjacency.pred[node].size());
    if (indegree[node] == 0) queue[end++] = node;
  }
  for (std::int32_t cursor = 0; cursor < end; ++cursor) {
    for (const std::int32_t target : adjacency.succ[queue[cursor]]) {
      if (--indegree[target] == 0) queue[end++] = target;
    }
  }
  if (end < count) {
    // A node that was never queued is one whose indegree never fell to 0.
    for (std::int32_t node = 0; node < count; ++node) {
      if (indegree[node] > 0) queue[end++] = node;
    }
  }
  return queue;
}

bool _has_usable_positions(const LGraph& graph) {
  std::optional<Point> first;
  for (const LNode* node : graph.nodes) {
    if (!node->has_origin_x || !node->has_origin_y) continue;
    const Point origin{origin_x(graph, *node), origin_y(graph, *node)};
    if (!first) {
      first = origin;
    } else if (origin.x != first->x || origin.y != first->y) {
      return true;
    }
  }
  return false;
}

}  // namespace quillan::vorn_layered
