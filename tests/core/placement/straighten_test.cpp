// Placement by network simplex, and its parts.

#include "core/placement/straighten.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "core/crossings/reduce_crossings.hpp"
#include "core/placement/fit_in_order.hpp"
#include "core/placement/place_nodes.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

double weighted_length(const LGraph& graph) {
  double sum = 0.0;
  for (const LEdge* edge : graph.edges) {
    const int dummies = static_cast<int>(edge->source_node()->is_dummy()) +
                        static_cast<int>(edge->target_node()->is_dummy());
    sum += SEGMENT_WEIGHTS[dummies] * std::abs(edge->source->y() - edge->target->y());
  }
  return sum;
}

TEST(FitInOrder, PoolsWhatWouldOverlapAtItsWeightedMean) {
  Arena arena;
  const std::vector<Wish> wishes = {
      {0, 1, 99}, {100, 1, 10}, {90, 3, 10}, {95, 1, 5}, {300, 1, 10}};
  std::vector<double> places(wishes.size());
  fit_in_order(wishes, places, arena);
  // The middle three as one: (100 + 3 (90 - 10) + (95 - 15)) / 5.
  EXPECT_EQ(places, (std::vector<double>{0, 84, 94, 99, 300}));
}

TEST(PlaceByNetworkSimplex, LinesUpPortsAndBendsLongEdgesLast) {
  // b stands in the way of the long edge from a to d, which has the dummy c.
  TestGraph graph({"a", "b", "c", "d"}, {{0, 1, 0, 0}, {0, 2, 1, 0}, {2, 3, 0, 1}}, 2);
  graph.make_dummies({2});
  for (LPort& port : graph.nodes[2]->in_ports) port.offset = 0.0;
  for (LPort& port : graph.nodes[2]->out_ports) port.offset = 0.0;
  graph.set_layers({{0}, {1, 2}, {3}});
  graph.options.placement_strategy = "NETWORK_SIMPLEX";
  place_nodes(graph);
  EXPECT_DOUBLE_EQ(graph.edges[1]->source->y(), graph.edges[1]->target->y());
  EXPECT_DOUBLE_EQ(graph.edges[2]->source->y(), graph.edges[2]->target->y());
  EXPECT_DOUBLE_EQ(graph.nodes[2]->y - graph.nodes[1]->y, 40.0 + 12.0);
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

}  // namespace
}  // namespace quillan::vorn_layered::testing
