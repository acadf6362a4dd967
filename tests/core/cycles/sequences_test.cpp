#include <gtest/gtest.h>

#include <vector>

#include "core/cycles/break_cycles.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// Scans over all nodes, as the procedure is defined.
Numbers naive_greedy(const LGraph& graph) {
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  Numbers in(count, 0);
  Numbers out(count, 0);
  std::vector<bool> removed(count, false);
  for (const LEdge* edge : graph.edges) {
    ++out[edge->source_node()->position];
    ++in[edge->target_node()->position];
  }
  Numbers head;
  Numbers tail;
  const auto drop = [&](std::int32_t node, Numbers& end) {
    removed[node] = true;
    end.push_back(node);
    for (const LEdge* edge : graph.edges) {
      if (edge->source_node()->position == node) --in[edge->target_node()->position];
      if (edge->target_node()->position == node) --out[edge->source_node()->position];
    }
  };
  while (head.size() + tail.size() < graph.nodes.size()) {
    std::size_t before = 0;
    do {
      before = head.size() + tail.size();
      for (std::int32_t node = 0; node < count; ++node) {
        if (!removed[node] && out[node] == 0) drop(node, tail);
      }
      for (std::int32_t node = 0; node < count; ++node) {
        if (!removed[node] && in[node] == 0) drop(node, head);
      }
    } while (head.size() + tail.size() > before);
    std::int32_t best = -1;
    for (std::int32_t node = 0; node < count; ++node) {
      if (removed[node]) continue;
      if (best < 0 || out[node] - in[node] > out[best] - in[best]) best = node;
    }
    if (best >= 0) drop(best, head);
  }
  head.insert(head.end(), tail.rbegin(), tail.rend());
  return head;
}

TEST(Sequences, InteractiveSortsByFlowThenCrossThenId) {
  TestGraph graph({"a9", "a10", "b", "c"}, {});
  const std::vector<Point> spots = {{50.0, 5.0}, {50.0, 5.0}, {50.0, -5.0}, {-1.0, 0.0}};
  for (std::size_t i = 0; i < 4; ++i) {
    graph.nodes[i]->has_origin_x = graph.nodes[i]->has_origin_y = true;
    graph.nodes[i]->origin_x = spots[i].x;
    graph.nodes[i]->origin_y = spots[i].y;
  }
  EXPECT_EQ(list(_sequence_interactive(graph)), (Numbers{3, 2, 1, 0}));
  graph.nodes[3]->has_origin_x = graph.nodes[0]->has_origin_x = false;  // count as 0.0
  EXPECT_EQ(list(_sequence_interactive(graph)), (Numbers{3, 0, 2, 1}));
}

TEST(Sequences, GreedyEqualsFullScans) {
  Random random(3);
  for (int round = 0; round < 4000; ++round) {
    TestGraph graph;
    fill_random(graph, random, random_shape(random, 30));
    ASSERT_EQ(list(_sequence_greedy(graph)), naive_greedy(graph)) << "round " << round;
  }
}

TEST(BreakCycles, FlipsWhatPointsBackwardsInTheChosenSequence) {
  const auto flips = [](const char* strategy, bool placed) {
    TestGraph graph({"a", "b", "c", "d"}, {{0, 1}, {1, 0}, {2, 3}, {3, 2}, {1, 2}});
    for (LNode* node : graph.nodes) {
      node->has_origin_x = node->has_origin_y = placed;
      node->origin_x = -node->position;
    }
    graph.options.cycle_breaking_strategy = strategy;
    break_cycles(graph);
    std::vector<bool> reversed;
    for (const LEdge* edge : graph.edges) {
      EXPECT_EQ(graph.caller_edges[edge->caller_edge].reversed, edge->reversed);
      EXPECT_EQ(edge->source->side, edge->reversed ? PortSide::WEST : PortSide::EAST);
      reversed.push_back(edge->reversed);
    }
    return reversed;
  };
  const std::vector<bool> greedy = {true, false, false, true, false};
  EXPECT_EQ(flips("GREEDY", true), greedy);
  EXPECT_EQ(flips("depth_first", true), greedy);
  EXPECT_EQ(flips("INTERACTIVE", false), greedy);
  EXPECT_EQ(flips("DEPTH_FIRST", true), (std::vector<bool>{false, true, false, true, false}));
  EXPECT_EQ(flips("INTERACTIVE", true), (std::vector<bool>{true, false, true, false, true}));
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
