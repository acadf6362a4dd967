#include "core/graph/incident_maps.hpp"
#include "core/placement/place_nodes.hpp"

namespace quillan::vorn_layered {

namespace {

constexpr int kPasses = 4;

void stack_layers(LGraph& graph) {
  const LayoutOptions& options = graph.options;
  for (std::int32_t index = 0; index < graph.layers.size(); ++index) {
    double cursor = options.padding_top;
    for (LNode* node : graph.layers[index]) {
      node->y = cursor;
      const double span = node->is_dummy() ? 0.0 : node->height();
      const double spacing =
          node->is_dummy() ? options.spacing_edge_edge : options.spacing_node_node;
      cursor += span + spacing;
    }
  }
}

void move_to_mean(const LGraph& graph, const IncidentMaps& maps, LNode& node) {
  if (node.position < 0) return;  // outside the graph, where no segment ends
  double sum = 0.0;
  std::size_t count = 0;
  for (const Grouped* map : {&maps.incoming, &maps.outgoing}) {
    const std::span<const std::int32_t> segments = (*map)[node.position];
    count += segments.size();
    for (const std::int32_t position : segments) {
      const LEdge& edge = *graph.edges[position];
      const bool ends_here = edge.target_node() == &node;
      sum += (ends_here ? edge.source_node() : edge.target_node())->cross_center();
    }
  }
  if (count > 0) node.y = sum / static_cast<double>(count) - node.height() / 2.0;
}

}  // namespace

void _place_simple_y(LGraph& graph) {
  const Arena::Frame frame(graph.scratch);
  const IncidentMaps maps = _incident_maps(graph);
  stack_layers(graph);
  for (int pass = 0; pass < kPasses; ++pass) {
    // A new y is seen at once by the nodes that follow.
    for (LNode* node : graph.layers.flat()) move_to_mean(graph, maps, *node);
    _pack_layer_overlaps(graph);
  }
}

}  // namespace quillan::vorn_layered
