#include "core/analysis.hpp"

#include <gtest/gtest.h>

#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

Numbers kahn(TestGraph& graph) { return list(_topological_order(graph, _adjacency(graph))); }

TEST(Graph, RebuildLayersKeepsTiesInNodeOrderAndEmptyLayersInPlace) {
  TestGraph graph({"a", "b", "c", "d"}, {});
  for (const std::int32_t i : {0, 2, 3}) graph.nodes[i]->layer = 2;
  for (const std::int32_t i : {0, 1, 2}) graph.nodes[i]->order = 5;
  graph.rebuild_layers();
  ASSERT_EQ(graph.layers.size(), 3);
  EXPECT_TRUE(graph.layers[1].empty());
  EXPECT_EQ(graph.layers[2][0], graph.nodes[3]);
  EXPECT_EQ(graph.layers[2][1], graph.nodes[0]);
  EXPECT_EQ(graph.nodes[2]->order, 2);
  graph.nodes.clear();
  graph.rebuild_layers();
  EXPECT_TRUE(graph.layers.empty());
}

TEST(Graph, OneCounterServesAllNames) {
  TestGraph graph;
  EXPECT_EQ(graph.next_id(graph.copy_text("a")).str(), "a#1");
  EXPECT_EQ(graph.next_id(graph.copy_text("b"), TextForm::kSegment).str(), "b:seg#2");
}

TEST(Analysis, AdjacencyHoldsParallelEdgesOncePerEdgeAndNoLoops) {
  TestGraph graph({"a", "b"}, {{0, 1}, {1, 0}, {0, 0}, {0, 1}});
  const Adjacency adjacency = _adjacency(graph);
  EXPECT_EQ(list(adjacency.succ[0]), (Numbers{1, 1}));
  EXPECT_EQ(list(adjacency.pred[0]), (Numbers{1}));
}

TEST(Analysis, KahnOrderIsStableOnNodesAndEdges) {
  TestGraph sources({"a", "b", "c"}, {{2, 1}, {0, 1}});
  EXPECT_EQ(kahn(sources), (Numbers{0, 2, 1}));
  TestGraph fan({"a", "b", "c", "d"}, {{3, 2}, {3, 0}, {3, 1}});
  EXPECT_EQ(kahn(fan), (Numbers{3, 2, 0, 1}));  // first in, first out: in edge order
  TestGraph behind({"a", "b", "c", "d"}, {{1, 2}, {2, 1}, {2, 0}});
  EXPECT_EQ(kahn(behind), (Numbers{3, 0, 1, 2}));  // what a cycle holds up follows in node order
}

TEST(Analysis, PositionsAreUsableOnceTwoPlacedNodesDiffer) {
  TestGraph graph({"a", "b", "c"}, {});
  for (LNode* node : graph.nodes) {
    node->has_origin_x = true;
    node->origin_x = node->position * 10.0;
  }
  EXPECT_FALSE(_has_usable_positions(graph));
  graph.nodes[0]->has_origin_y = graph.nodes[2]->has_origin_y = true;
  EXPECT_TRUE(_has_usable_positions(graph));
  graph.nodes[0]->origin_x = graph.nodes[2]->origin_x = 5.0;  // one spot, though not the origin
  EXPECT_FALSE(_has_usable_positions(graph));
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
