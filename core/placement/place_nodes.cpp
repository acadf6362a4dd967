#include "core/placement/place_nodes.hpp"

#include "core/base/reals.hpp"

namespace quillan::vorn_layered {

void place_nodes(LGraph& graph) {
  if (graph.layers.empty()) return;
  const std::string& strategy = graph.options.placement_strategy;
  if (strategy != "INTERACTIVE" || !place_interactive(graph)) {
    _assign_layer_x(graph);
    if (strategy == "SIMPLE") {
      _place_simple_y(graph);
    } else if (strategy == "NETWORK_SIMPLEX") {
      place_network_simplex_y(graph);
    } else {
      _place_brandes_kopf_y(graph);
      _pack_layer_overlaps(graph);
    }
  }
  _snap_non_negative(graph);
}

void _assign_layer_x(LGraph& graph) {
  double cursor = graph.options.padding_left;
  for (std::int32_t index = 0; index < graph.layers.size(); ++index) {
    const std::span<LNode*> layer = graph.layers[index];
    if (layer.empty()) continue;
    double width = layer[0]->width();
    for (const LNode* node : layer) width = larger(width, node->width());
    for (LNode* node : layer) node->x = cursor + larger(0.0, (width - node->width()) / 2.0);
    cursor += width + graph.options.spacing_node_node_between_layers;
  }
}

void _snap_non_negative(LGraph& graph) {
  if (graph.nodes.empty()) return;
  double min_x = graph.nodes[0]->x;
  double min_y = graph.nodes[0]->y;
  for (const LNode* node : graph.nodes) {
    min_x = smaller(min_x, node->x);
    min_y = smaller(min_y, node->y);
  }
  const double dx = graph.options.padding_left - min_x;
  const double dy = graph.options.padding_top - min_y;
  if (dx == 0.0 && dy == 0.0) return;
  for (LNode* node : graph.nodes) {
    node->x += dx;
    node->y += dy;
  }
}

}  // namespace quillan::vorn_layered
