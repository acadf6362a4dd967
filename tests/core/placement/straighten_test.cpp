// Placement by network simplex, and its parts.

#include "core/placement/straighten.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/crossings/reduce_crossings.hpp"
#include "core/placement/place_nodes.hpp"
#include "core/vorn_layered.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

double weighted_length(const LGraph& graph) {
  double sum = 0.0;
  for (const LEdge* edge : graph.edges) {
    const int dummies = static_cast<int>(edge->source_node()->is_dummy()) +
                        static_cast<int>(edge->target_node()->is_dummy());
    sum += SEGMENT_WEIGHTS[dummies] * std::abs(edge->source.y() - edge->target.y());
  }
  return sum;
}

// No node, and no row of nodes that touch one another, can be moved on its own to lower the length.
TEST(PlaceByNetworkSimplex, LeavesNoNodeThatABetterPlaceIsOpenTo) {
  Random random(8);
  for (int round = 0; round < 200; ++round) {
    TestGraph graph;
    fill_layered(graph, random, random_shape(random, 25));
    graph.options.placement_strategy = "NETWORK_SIMPLEX";
    reduce_crossings(graph);
    place_nodes(graph);
    const double best = weighted_length(graph);
    for (const double step : {-1e-3, 1e-3}) {
      for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
        for (const bool from_here_on : {false, true}) {
          for (std::size_t at = 0; at < graph.layers[layer].size(); ++at) {
            const std::span<LNode*> members = graph.layers[layer];
            // All on the side that the move leads to go along, so that distances stay.
            const auto moves = [&](std::size_t i) { return from_here_on == (i >= at); };
            if (from_here_on != (step > 0.0)) continue;
            for (std::size_t i = 0; i < members.size(); ++i) members[i]->y += moves(i) ? step : 0.0;
            EXPECT_GE(weighted_length(graph), best - 1e-7) << "round " << round;
            for (std::size_t i = 0; i < members.size(); ++i) members[i]->y -= moves(i) ? step : 0.0;
          }
        }
      }
    }
    graph.options.placement_strategy = "BRANDES_KOEPF";
    place_nodes(graph);
    ASSERT_GE(weighted_length(graph), best - 1e-6) << "round " << round;
  }
}

// Between two ports, all places of the node before them are equally good.
TEST(PlaceByNetworkSimplex, LevelsOneWireOfAFork) {
  TestGraph graph;
  graph.put_node("a", 10, 30, 0, 1);
  graph.put_node("b", 10, 90, 2, 0);
  for (const std::int32_t port : {0, 1}) graph.put_edge({0, 1, 0, port});
  graph.options.placement_strategy = "NETWORK_SIMPLEX";
  run_phases(graph);
  const auto step = [&](std::size_t i) {
    return std::abs(graph.edges[i]->source.y() - graph.edges[i]->target.y());
  };
  EXPECT_EQ(std::min(step(0), step(1)), 0.0);
  EXPECT_EQ(std::max(step(0), step(1)), 30.0);
}

void keep_still(LayoutOptions& options) {
  options.interactive = true;
  options.crossing_strategy = "KEEP";
  options.placement_strategy = "INTERACTIVE";
  options = options.resolved();
}

// As a caller does who lays a drawing out again.
void see_drawing(TestGraph& from, TestGraph& graph) {
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    graph.nodes[i]->has_origin_x = graph.nodes[i]->has_origin_y = true;
    graph.nodes[i]->given().origin_x = from.nodes[i]->x;
    graph.nodes[i]->given().origin_y = from.nodes[i]->y;
  }
  keep_still(graph.options);
}

TEST(PlaceInteractive, LeavesAFinishedDrawingWhereItIs) {
  int still = 0;
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    TestGraph fresh;
    TestGraph again;
    for (TestGraph* graph : {&fresh, &again}) {
      Random random(seed);
      const std::int32_t count = random.between(2, 25);
      Shape shape{count, random.below(count), 2, Grid::SEVENTHS};
      fill_random(*graph, random, shape);
      graph->options.edge_routing = "POLYLINE";
    }
    fresh.options = fresh.options.resolved();
    run_phases(fresh);
    see_drawing(fresh, again);
    run_phases(again);
    // Long edges may have to be led another way, and then take room elsewhere.
    const bool dummies = again.nodes.back()->is_dummy();
    for (std::size_t i = 0; i < again.nodes.size() && !again.nodes[i]->is_dummy(); ++i) {
      ASSERT_EQ(again.nodes[i]->layer, fresh.nodes[i]->layer) << "seed " << seed;
      ASSERT_NEAR(again.nodes[i]->x, fresh.nodes[i]->x, 1e-6) << "seed " << seed;
      if (dummies) continue;
      ASSERT_NEAR(again.nodes[i]->y, fresh.nodes[i]->y, 1e-6) << "seed " << seed;
    }
    still += dummies ? 0 : 1;
  }
  EXPECT_GT(still, 50);
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
