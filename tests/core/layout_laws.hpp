// Laws of a whole call: what holds for the phases on each component, and for what is made of them.

#ifndef QUILLAN_TESTS_CORE_LAYOUT_LAWS_HPP_
#define QUILLAN_TESTS_CORE_LAYOUT_LAWS_HPP_

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "core/analysis.hpp"
#include "core/component_graphs.hpp"
#include "core/components.hpp"
#include "core/crossings/counting.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/cycles/break_cycles.hpp"
#include "core/exchange/results.hpp"
#include "core/layering/assign_layers.hpp"
#include "core/vorn_layered.hpp"
#include "tests/core/laws.hpp"
#include "tests/core/payload_case.hpp"

namespace quillan::vorn_layered::testing {

// All that the phases write, as bits.
inline std::vector<std::uint64_t> state_of(const LGraph& graph) {
  std::vector<std::uint64_t> state;
  const auto add = [&](double value) { state.push_back(std::bit_cast<std::uint64_t>(value)); };
  for (const LNode* node : graph.nodes) {
    state.push_back(static_cast<std::uint64_t>(node->layer) << 32U |
                    static_cast<unsigned>(node->order));
    add(node->x);
    add(node->y);
  }
  for (const LEdge* edge : graph.edges) {
    state.push_back(static_cast<std::uint64_t>(edge->source_node()->position));
    state.push_back(static_cast<std::uint64_t>(edge->target_node()->position));
    for (const Point bend : edge->bend_points()) {
      add(bend.x);
      add(bend.y);
    }
  }
  return state;
}

inline std::int64_t seed_crossings(LGraph& graph) {
  break_cycles(graph);
  assign_layers(graph);
  if (graph.layers.size() > 1 && graph.options.crossing_strategy != "NONE") {
    const Arena::Frame frame(graph.scratch);
    LayerOrders orders(graph);
    orders.sort_ids();
    const bool interactive = graph.options.crossing_strategy == "INTERACTIVE";
    if (interactive && _has_usable_positions(graph)) {
      _seed_interactive(orders);
    } else {
      _seed_dfs(orders);
    }
    orders.commit();
  }
  return count_crossings(graph);
}

inline void check_routes(const LGraph& graph, const EdgeRoutes& found, double flow) {
  const double tolerance = std::max(tolerance_of(graph), 1e-6);
  std::size_t next = 0;
  for (const CallerEdge& caller_edge : graph.caller_edges) {
    if (caller_edge.chain.empty() || caller_edge.reversed) continue;
    law(next < found.routes.size(), "an edge that was not reversed has a route");
    const EdgeRoute& route = found.routes[next++];
    law(compare(route.id, caller_edge.id) == 0 && route.count > 0, "routes stand in payload order");
    const auto at_port = [&](SegmentEnd port) {
      return _denormalise_point({port.x(), port.y()}, graph.options.direction, flow);
    };
    const Point start = at_port(caller_edge.chain.front()->source);
    const Point end = at_port(caller_edge.chain.back()->target);
    const Point last = found.points[route.first + route.count - 1];
    law(same(found.points[route.first], start), "a route starts on its port");
    law(std::isnan(tolerance) || same(last, end) || _close(last, end, tolerance),
        "a route ends on its port");
  }
  law(next == found.routes.size(), "a reversed edge has no route");
}

// Runs the phases on the graph of a component and asserts all laws but those of the packing.
inline LGraph& check_graph(ComponentGraphs& graphs, std::int32_t component) {
  const std::int64_t seed = seed_crossings(graphs.build(component));
  LGraph& graph = graphs.build(component);
  run_phases(graph);
  check_laws(graph);
  law(count_crossings(graph) <= seed || graph.options.crossing_strategy == "KEEP",
      "no order is worse than its seed");
  if (graph.options.crossing_strategy == "NONE") {
    law(count_crossings(graph) == seed, "NONE leaves the order alone");
  }
  const std::vector<std::uint64_t> state = state_of(graph);
  // The memory of the first run is used again, so that what was not written anew shows up.
  for (LNode* node : graphs.build(component).nodes) node->layer = node->position;
  run_phases(graph);
  law(state_of(graph) == state, "a second run gives the same bits");
  return graph;
}

// What layout() gives, from the next component on.
struct Packed {
  std::span<const NodePosition> positions;
  std::span<const EdgeRoute> routes;
  double cursor;  // where the next component begins along the cross axis
};

// Asserts that layout() has the drawing of `graph`, moved behind the components before it.
inline void check_packing(const LGraph& graph, const LayoutResult& result, double gap,
                          Packed& packed) {
  const double flow = graph_extent(graph).flow;
  std::vector<NodePosition> positions;
  EdgeRoutes found;
  node_positions(graph, flow, Point{}, positions);
  edge_routes(graph, flow, Point{}, found);
  check_routes(graph, found, flow);
  law(positions.size() <= packed.positions.size(), "every node has a position");
  law(found.routes.size() <= packed.routes.size(), "every route of a component is a result");

  const double far = std::abs(packed.cursor) + std::abs(gap);
  const double tolerance = tolerance_of(graph) + (far < 1e300 ? far * 1e-9 : NOT_DUE);
  const bool across = is_transposed(graph.options.direction);
  const Point from = positions[0].top_left;
  const Point to = packed.positions[0].top_left;
  const auto moved = [&](Point a, Point b) {
    return std::isnan(tolerance) ||
           _close({a.x - from.x, a.y - from.y}, {b.x - to.x, b.y - to.y}, tolerance);
  };
  double begin = std::numeric_limits<double>::infinity();
  double end = -begin;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    const Point corner = packed.positions[i].top_left;
    law(compare(packed.positions[i].id, positions[i].id) == 0,
        "positions keep the payload's order");
    law(moved(positions[i].top_left, corner), "a component moves as a whole");
    begin = std::min(begin, across ? corner.x : corner.y);
    end = std::max(end, (across ? corner.x : corner.y) + graph.nodes[i]->height());
  }
  law(!(std::abs(begin - packed.cursor) > tolerance), "components are packed");
  for (std::size_t i = 0; i < found.routes.size(); ++i) {
    const EdgeRoute& route = packed.routes[i];
    law(route.count == found.routes[i].count, "a result has the whole route");
    for (std::size_t j = 0; j < route.count; ++j) {
      law(moved(found.points[found.routes[i].first + j], result.routes.points[route.first + j]),
          "routes move with their component");
    }
  }
  packed = {packed.positions.subspan(positions.size()), packed.routes.subspan(found.routes.size()),
            std::isnan(tolerance) ? NOT_DUE : end + gap};
}

// Throws BrokenLaw, SizeFault and TypeFault.
inline void check_layout(PayloadCase& made, const LayoutOptions& options, double gap) {
  // The phases must bear a graph in parts as well.
  const Components whole = undivided(made, made.arena);
  ComponentGraphs whole_graphs(made, whole, options, made.arena);
  check_graph(whole_graphs, 0);

  const LayoutResult result = made.lay_out(options, gap);
  Packed packed{result.positions, result.routes.routes,
                is_transposed(options.direction) ? options.padding_left : options.padding_top};
  const Components components = weakly_connected_components(made, made.arena);
  ComponentGraphs graphs(made, components, options, made.arena);
  for (std::int32_t i = 0; i < components.size(); ++i) {
    check_packing(check_graph(graphs, i), result, gap, packed);
  }
  law(packed.positions.empty() && packed.routes.empty(), "layout() gives nothing more");
}

}  // namespace quillan::vorn_layered::testing

#endif  // QUILLAN_TESTS_CORE_LAYOUT_LAWS_HPP_
