#include <algorithm>

#include "core/analysis.hpp"
#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

void push_behind_predecessors(LGraph& graph) {
  const Arena::Frame frame(graph.scratch);
  const Adjacency adjacency = _adjacency(graph);
  const std::span<const std::int32_t> order = _topological_order(graph, adjacency);
  // An edge from a node to itself is in no adjacency list, but it does push its node by one.
  const std::span<bool> has_loop = graph.scratch.array<bool>(order.size(), false);
  for (const LEdge* edge : graph.edges) {
    if (edge->source_node() == edge->target_node()) has_loop[edge->source_node()->position] = true;
  }
  for (const std::int32_t position : order) {
    LNode& node = *graph.nodes[position];
    std::int32_t bound = has_loop[position] ? node.layer + 1 : 0;
    for (const std::int32_t source : adjacency.pred[position]) {
      bound = std::max(bound, graph.nodes[source]->layer + 1);
    }
    node.layer = std::max(node.layer, bound);
  }
}

void _layer_longest_path(LGraph& graph) {
  for (LNode* node : graph.nodes) node->layer = 0;
  push_behind_predecessors(graph);
}

}  // namespace quillan::vorn_layered
