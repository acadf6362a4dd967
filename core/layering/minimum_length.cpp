#include "core/layering/assign_layers.hpp"
#include "core/simplex/least_length.hpp"

namespace quillan::vorn_layered {

void layer_minimum_length(LGraph& graph) {
  using Solver = LeastLength<std::int32_t>;
  _layer_longest_path(graph);
  const Arena::Frame frame(graph.scratch);
  const std::size_t count = graph.nodes.size();
  const std::span<std::int32_t> ranks = graph.scratch.raw_array<std::int32_t>(count);
  for (std::size_t i = 0; i < count; ++i) ranks[i] = graph.nodes[i]->layer;
  const std::span<Solver::Edge> edges = graph.scratch.raw_array<Solver::Edge>(graph.edges.size());
  std::size_t used = 0;
  for (const LEdge* edge : graph.edges) {
    const std::int32_t tail = edge->source_node()->position;
    const std::int32_t head = edge->target_node()->position;
    // A graph made by hand may still have a cycle, along which no ranks rise.
    const bool rises = tail >= 0 && head >= 0 && ranks[tail] < ranks[head];
    if (rises) edges[used++] = Solver::Edge::at_least(tail, head, 1, 1);
  }
  Solver solver(static_cast<std::int32_t>(count), edges.first(used), ranks, graph.scratch);
  solver.solve();
  for (std::size_t i = 0; i < count; ++i) graph.nodes[i]->layer = solver.rank[i];
}

}  // namespace quillan::vorn_layered
