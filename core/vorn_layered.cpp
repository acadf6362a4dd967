#include "core/vorn_layered.hpp"

#include "core/base/reals.hpp"
#include "core/component_graphs.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/cycles/break_cycles.hpp"
#include "core/layering/assign_layers.hpp"
#include "core/placement/place_nodes.hpp"
#include "core/routing/route_edges.hpp"

namespace quillan::vorn_layered {

namespace {

// The corners of the rectangle around the boxes of the real nodes, in the caller's frame.
struct Corners {
  Point least;
  Point most;
};

// REQUIRES: the graph has nodes.
Corners corners_of(const LGraph& graph, double flow_extent) {
  const Direction direction = graph.options.direction;
  const Box first = _caller_box(*graph.nodes[0], direction, flow_extent);
  Corners corners{{first.x, first.y}, {first.x + first.width, first.y + first.height}};
  for (const LNode* node : graph.nodes) {
    if (node->is_dummy()) continue;
    const Box box = _caller_box(*node, direction, flow_extent);
    corners.least.x = smaller(corners.least.x, box.x);
    corners.least.y = smaller(corners.least.y, box.y);
    corners.most.x = larger(corners.most.x, box.x + box.width);
    corners.most.y = larger(corners.most.y, box.y + box.height);
  }
  return corners;
}

}  // namespace

Packing::Packing(const LayoutOptions& options, double component_gap)
    : component_gap_(component_gap),
      cursor_(is_transposed(options.direction) ? options.padding_left : options.padding_top) {}

Point Packing::next_shift(const LGraph& graph, double flow_extent) {
  const Corners corners = corners_of(graph, flow_extent);
  Point shift;
  if (is_transposed(graph.options.direction)) {
    shift.x = cursor_ - corners.least.x;
    cursor_ = corners.most.x + shift.x + component_gap_;
  } else {
    shift.y = cursor_ - corners.least.y;
    cursor_ = corners.most.y + shift.y + component_gap_;
  }
  return shift;
}

void Packing::append(const LGraph& graph, LayoutResult& result) {
  const double flow_extent = graph_extent(graph).flow;
  const Point shift = next_shift(graph, flow_extent);
  node_positions(graph, flow_extent, shift, result.positions);
  edge_routes(graph, flow_extent, shift, result.routes);
}

void run_phases(LGraph& graph) {
  break_cycles(graph);
  assign_layers(graph);
  reduce_crossings(graph);
  graph.scratch.shrink();  // here the two phases that need most meet
  place_nodes(graph);
  route_edges(graph);
}

LayoutResult layout(const Payload& payload, const Components& components,
                    const LayoutOptions& options, double component_gap, Arena& texts) {
  LayoutResult result;
  result.positions.reserve(components.nodes.items.size());
  result.routes.routes.reserve(components.edges.items.size());
  ComponentGraphs graphs(payload, components, options, texts);
  Packing packing(options, component_gap);
  for (std::int32_t component = 0; component < components.size(); ++component) {
    LGraph& graph = graphs.build(component);
    run_phases(graph);
    graph.scratch.shrink();  // the routes need room as well
    packing.append(graph, result);
  }
  return result;
}

}  // namespace quillan::vorn_layered
