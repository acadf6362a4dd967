#include "core/layering/assign_layers.hpp"

#include <algorithm>

#include "core/analysis.hpp"

namespace quillan::vorn_layered {

void assign_layers(LGraph& graph) {
  const std::string& strategy = graph.options.layering_strategy;
  if (strategy == "INTERACTIVE" && _has_usable_positions(graph)) {
    if (graph.options.placement_strategy == "INTERACTIVE") {
      layer_by_columns(graph);
    } else {
      _layer_interactive(graph);
    }
  } else if (strategy == "NETWORK_SIMPLEX" &&
             graph.nodes.size() <= static_cast<std::size_t>(NETWORK_SIMPLEX_NODE_LIMIT)) {
    _layer_network_simplex(graph);
  } else if (strategy == "MINIMUM_LENGTH") {
    layer_minimum_length(graph);
  } else {
    _layer_longest_path(graph);
  }
  _normalise_layers(graph);
  insert_dummy_nodes(graph);
  graph.rebuild_layers();
}

void _normalise_layers(LGraph& graph) {
  if (graph.nodes.empty()) return;
  std::int32_t smallest = graph.nodes.front()->layer;
  for (const LNode* node : graph.nodes) smallest = std::min(smallest, node->layer);
  if (smallest == 0) return;
  for (LNode* node : graph.nodes) node->layer -= smallest;
}

}  // namespace quillan::vorn_layered
