#include <algorithm>
#include <limits>

#include "core/analysis.hpp"
#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

void push_behind_predecessors(LGraph& graph, OwnLayer keep) {
  const Arena::Frame frame(graph.scratch);
  const std::span<const std::int32_t> order = _topological_order(graph, _adjacency(graph));
  // Not by the lists of the order, which leave out edges from a node to itself and from a node
  // outside the graph: both push their target.
  const Grouped incoming = group_by(edge_ends(graph).targets,
                                    static_cast<std::int32_t>(graph.nodes.size()), graph.scratch);
  for (const std::int32_t position : order) {
    const std::span<const std::int32_t> edges = incoming[position];
    if (edges.empty()) continue;
    LNode& node = *graph.nodes[position];
    std::int32_t bound = std::numeric_limits<std::int32_t>::min();
    for (const std::int32_t edge : edges) {
      bound = std::max(bound, graph.edges[edge]->source_node()->layer + 1);
    }
    node.layer = keep == OwnLayer::KEEP ? std::max(node.layer, bound) : bound;
  }
}

void _layer_longest_path(LGraph& graph) {
  for (LNode* node : graph.nodes) node->layer = 0;
  push_behind_predecessors(graph, OwnLayer::DROP);
}

}  // namespace quillan::vorn_layered
