#include "core/vorn_layered.hpp"

#include "core/components.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/cycles/break_cycles.hpp"
#include "core/exchange/build_graph.hpp"
#include "core/graph/spacing.hpp"
#include "core/layering/assign_layers.hpp"
#include "core/placement/place_nodes.hpp"
#include "core/routing/route_edges.hpp"

namespace quillan::vorn_layered {

namespace {

// The boxes of the real nodes in the caller's frame. REQUIRES: a graph with nodes.
struct Bounds {
  double min_x;
  double min_y;
  double max_x;
  double max_y;
};

Bounds caller_bounds(const LGraph& graph, double flow_extent) {
  const Direction direction = graph.options.direction;
  const Box first = _caller_box(*graph.nodes[0], direction, flow_extent);
  Bounds bounds{first.x, first.y, first.x + first.width, first.y + first.height};
  for (const LNode* node : graph.nodes) {
    if (node->is_dummy()) continue;
    const Box box = _caller_box(*node, direction, flow_extent);
    bounds.min_x = smaller(bounds.min_x, box.x);
    bounds.min_y = smaller(bounds.min_y, box.y);
    bounds.max_x = larger(bounds.max_x, box.x + box.width);
    bounds.max_y = larger(bounds.max_y, box.y + box.height);
  }
  return bounds;
}

// The move of a component to the packing cursor, which it advances behind the component.
Point pack(const LGraph& graph, double flow_extent, double component_gap, double& cursor) {
  const Bounds bounds = caller_bounds(graph, flow_extent);
  Point shift;
  if (is_transposed(graph.options.direction)) {
    shift.x = cursor - bounds.min_x;
    cursor = bounds.max_x + shift.x + component_gap;
  } else {
    shift.y = cursor - bounds.min_y;
    cursor = bounds.max_y + shift.y + component_gap;
  }
  return shift;
}

}  // namespace

void run_phases(LGraph& graph) {
  break_cycles(graph);
  assign_layers(graph);
  reduce_crossings(graph);
  place_nodes(graph);
  route_edges(graph);
}

void Workspace::clear() {
  graph.clear();
  graph.scratch.clear();
  texts.clear();
  result.positions.clear();
  result.routes.routes.clear();
  result.routes.points.clear();
}

std::size_t Workspace::footprint() const {
  return graph.footprint() + texts.footprint() +
         result.positions.capacity() * sizeof(NodePosition) +
         result.routes.routes.capacity() * sizeof(EdgeRoute) +
         result.routes.points.capacity() * sizeof(Point);
}

const LayoutResult& layout(const Payload& payload, const LayoutOptions& options,
                           double component_gap, Workspace& workspace) {
  LayoutResult& result = workspace.result;
  LGraph& graph = workspace.graph;
  const Components components = weakly_connected_components(payload);
  result.positions.reserve(components.nodes.size());
  result.routes.routes.reserve(components.edges.size());
  std::vector<std::int32_t> place_of(payload.nodes.size());
  graph.options = options.resolved();
  graph.texts = &workspace.texts;
  double cursor = is_transposed(options.direction) ? options.padding_left : options.padding_top;
  for (std::size_t component = 0; component < components.size(); ++component) {
    graph.clear();
    build_graph(payload,
                {components.member_nodes(component), components.member_edges(component), place_of},
                graph);
    run_phases(graph);
    const double flow_extent = graph_extent(graph).flow;
    const Point shift = pack(graph, flow_extent, component_gap, cursor);
    node_positions(graph, flow_extent, shift, result.positions);
    edge_routes(graph, flow_extent, shift, result.routes);
  }
  return result;
}

}  // namespace quillan::vorn_layered
