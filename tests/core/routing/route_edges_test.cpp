#include "core/routing/route_edges.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "core/crossings/reduce_crossings.hpp"
#include "core/placement/place_nodes.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// Scans the ends of all tracks for each interval.
Numbers naive_tracks(const std::vector<Interval>& intervals) {
  Numbers order(intervals.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
    return intervals[a].source < intervals[b].source;
  });
  Numbers tracks(intervals.size());
  std::vector<double> ends;
  for (const std::int32_t index : order) {
    const auto [low, high] = std::minmax(intervals[index].source, intervals[index].target);
    std::size_t track = 0;
    while (track < ends.size() && !(low >= ends[track])) ++track;
    if (track == ends.size()) ends.push_back(high);
    ends[track] = high;
    tracks[index] = static_cast<std::int32_t>(track);
  }
  return tracks;
}

struct Routes {
  std::vector<double> x;                   // by node
  std::vector<std::vector<double>> bends;  // by edge: x, y, x, y

  bool operator==(const Routes&) const = default;
};

// Plainly: each widening is added to every later layer at once.
Routes naive_routes(const LGraph& graph) {
  const LayoutOptions& options = graph.options;
  const std::int32_t gaps = graph.layers.size() - 1;
  Routes result;
  for (const LNode* node : graph.nodes) result.x.push_back(node->x);
  result.bends.resize(graph.edges.size());
  std::vector<std::vector<const LEdge*>> bent(gaps);
  std::vector<Numbers> tracks;
  for (std::int32_t gap = 0; gap < gaps; ++gap) {
    std::vector<Interval> intervals;
    for (const LNode* node : graph.layers[gap + 1]) {
      for (const LEdge* edge : graph.edges) {
        const Interval interval{edge->source.y(), edge->target.y()};
        if (edge->target_node() != node || edge->source_node()->layer != gap) continue;
        if (!(std::abs(interval.source - interval.target) > 0.5)) continue;
        bent[gap].push_back(edge);
        intervals.push_back(interval);
      }
    }
    tracks.push_back(naive_tracks(intervals));
  }
  const auto bounds = [&](std::int32_t gap) {
    double left = graph.layers[gap].empty() ? 0.0 : -1e300;
    for (const LNode* node : graph.layers[gap]) {
      left = std::max(left, result.x[node->position] + node->width());
    }
    double right = graph.layers[gap + 1].empty() ? left : 1e300;
    for (const LNode* node : graph.layers[gap + 1]) {
      right = std::min(right, result.x[node->position]);
    }
    return std::pair(left, right);
  };
  const auto track_count = [&](std::int32_t gap) {
    const auto most = std::max_element(tracks[gap].begin(), tracks[gap].end());
    return most == tracks[gap].end() ? 0 : *most + 1;
  };
  for (std::int32_t gap = 0; gap < gaps; ++gap) {
    const auto [left, right] = bounds(gap);
    const double needed =
        options.spacing_edge_node * 2.0 + track_count(gap) * options.spacing_edge_edge;
    const double delta = std::max(0.0, needed - (right - left));
    if (delta == 0.0) continue;
    for (const LNode* node : graph.nodes) {
      if (node->layer > gap) result.x[node->position] += delta;
    }
  }
  for (std::int32_t gap = 0; gap < gaps; ++gap) {
    const auto [left, right] = bounds(gap);
    const double usable =
        std::max(right - left - 2.0 * options.spacing_edge_node, options.spacing_edge_edge);
    const double step = usable / track_count(gap);
    const double origin = left + options.spacing_edge_node + step / 2.0;
    for (std::size_t i = 0; i < bent[gap].size(); ++i) {
      const LEdge& edge = *bent[gap][i];
      const double x = origin + tracks[gap][i] * step;
      result.bends[edge.position] = {x, edge.source.y(), x, edge.target.y()};
    }
  }
  return result;
}

Routes routes_of(const LGraph& graph) {
  Routes result;
  for (const LNode* node : graph.nodes) result.x.push_back(node->x);
  for (const LEdge* edge : graph.edges) {
    std::vector<double>& bends = result.bends.emplace_back();
    for (const Point point : edge->bend_points()) bends.insert(bends.end(), {point.x, point.y});
  }
  return result;
}

TEST(RouteEdges, EqualsAddingEachWideningToEveryLaterLayer) {
  Random random(21);
  std::int32_t most_layers = 0;
  for (int round = 0; round < 2500; ++round) {
    TestGraph graph;
    Shape shape = random_shape(random, 26);
    if (round % 10 == 0) shape = {random.between(60, 220), random.below(20), 2, shape.grid, true};
    fill_layered(graph, random, shape);
    if (random.chance(8)) open_gap(graph, random.between(1, graph.layers.size()) - 1);
    reduce_crossings(graph);
    graph.options.edge_routing = "ORTHOGONAL";
    graph.options.placement_strategy = random.pick({"SIMPLE", "BRANDES_KOEPF"});
    graph.options.spacing_edge_edge = random.below(300) / 10.0;
    graph.options.spacing_edge_node = random.between(-20, 300) / 10.0;
    graph.options.spacing_node_node_between_layers = random.between(-50, 600) / 7.0;
    place_nodes(graph);
    most_layers = std::max(most_layers, graph.layers.size());
    const Routes expected = naive_routes(graph);
    route_edges(graph);
    ASSERT_EQ(routes_of(graph).x, expected.x) << "round " << round;
    ASSERT_EQ(routes_of(graph).bends, expected.bends) << "round " << round;
  }
  EXPECT_GT(most_layers, 130);  // more than two blocks of layers
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
