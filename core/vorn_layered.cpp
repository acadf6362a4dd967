#include "core/vorn_layered.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>

#include "core/base/reals.hpp"
#include "core/components.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/cycles/break_cycles.hpp"
#include "core/exchange/build_graph.hpp"
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

// The nodes and edges of the largest component.
std::size_t largest(const Components& components) {
  std::size_t most = 0;
  for (std::size_t i = 0; i < components.size(); ++i) {
    most = std::max(most, components.member_nodes(i).size() + components.member_edges(i).size());
  }
  return most;
}

// Has the graph's arenas begin in one block with room for so many nodes and edges; that block must
// outlive the graph's use. What does not fit goes to further blocks.
//
// Fresh memory is dear: the system clears it and hands it out page by page, which took a fifth of
// the time of a layout of a thousand nodes. What is given back stays with the process for the next
// layout only while it is no more than about twice the largest block given back so far, and that
// was at most 32 MiB (mallopt(3), M_TRIM_THRESHOLD). Blocks that double each exceed this together,
// one large block does not.
std::unique_ptr<std::byte[]> make_room(LGraph& graph, std::size_t elements) {
  // More than twice what the records and the working arrays of graphs with short edges take. What
  // is never touched costs nothing.
  constexpr std::size_t kRecordBytes = 512;
  constexpr std::size_t kWorkingBytes = 256;
  constexpr std::size_t kLargestKept = std::size_t{1} << 25U;
  const std::size_t size = elements * (kRecordBytes + kWorkingBytes);
  if (size == 0 || size >= kLargestKept) return nullptr;
  std::unique_ptr<std::byte[]> block = take_block(size);
  if (block) {
    const std::span<std::byte> bytes(block.get(), size);
    graph.arena.begin_in(bytes.first(elements * kRecordBytes));
    graph.scratch.begin_in(bytes.subspan(elements * kRecordBytes));
  }
  return block;
}

}  // namespace

void run_phases(LGraph& graph) {
  break_cycles(graph);
  assign_layers(graph);
  reduce_crossings(graph);
  place_nodes(graph);
  route_edges(graph);
}

LayoutResult layout(const Payload& payload, const LayoutOptions& options, double component_gap,
                    Arena& texts) {
  LayoutResult result;
  const Components components = weakly_connected_components(payload);
  result.positions.reserve(components.nodes.size());
  result.routes.routes.reserve(components.edges.size());
  std::vector<std::int32_t> place_of(payload.nodes.size());
  LGraph graph(options.resolved());
  const std::unique_ptr<std::byte[]> room = make_room(graph, largest(components));
  graph.texts = &texts;
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
