#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/layering/assign_layers.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

Numbers layers_of(const LGraph& graph) {
  Numbers layers;
  for (const LNode* node : graph.nodes) layers.push_back(node->layer);
  return layers;
}

// Nodes a, b, ... with these flow positions and widths, and the edges of `graph`.
Numbers bands(TestGraph& graph, const std::vector<std::pair<double, double>>& boxes) {
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    graph.nodes[i]->has_origin_x = true;
    graph.nodes[i]->origin_x = boxes[i].first;
    graph.nodes[i]->width = boxes[i].second;
  }
  _layer_interactive(graph);
  return layers_of(graph);
}

std::string ids(const auto& records) {
  std::string result;
  for (const auto* record : records) result += record->id.str() + " ";
  return result;
}

TEST(InteractiveLayers, GroupsBoxesWhileTheyOverlapTheBand) {
  TestGraph touching({"a", "b", "c"}, {});
  EXPECT_EQ(bands(touching, {{0, 100}, {50, 10}, {100, 100}}), (Numbers{0, 0, 1}));
  TestGraph growing({"a", "b", "c"}, {});
  EXPECT_EQ(bands(growing, {{0, 100}, {90, 100}, {150, 10}}), (Numbers{0, 0, 0}));
  TestGraph flat({"b", "a10", "a9"}, {});  // in id order each ends where it starts
  EXPECT_EQ(bands(flat, {{5, 0}, {5, 0}, {5, 0}}), (Numbers{2, 0, 1}));
}

TEST(InteractiveLayers, RepairPushesTargetsOnAndShiftBringsTheSmallestToZero) {
  TestGraph backwards({"s", "t"}, {{0, 1}});
  EXPECT_EQ(bands(backwards, {{200, 100}, {0, 100}}), (Numbers{1, 2}));
  _normalise_layers(backwards);
  EXPECT_EQ(layers_of(backwards), (Numbers{0, 1}));
  TestGraph cascade({"a", "b", "c"}, {{1, 2}, {0, 1}});
  EXPECT_EQ(bands(cascade, {{0, 100}, {0, 100}, {0, 100}}), (Numbers{0, 1, 2}));
}

TEST(AssignLayers, TakesNetworkSimplexUpToTheLimit) {
  for (const std::int32_t count : {NETWORK_SIMPLEX_NODE_LIMIT, NETWORK_SIMPLEX_NODE_LIMIT + 1}) {
    // A chain, and a node that hangs on its last node: only the simplex moves it close.
    TestGraph graph;
    for (std::int32_t i = 0; i < count; ++i) graph.put_node(numbered("n", i), 1, 1, 1, 1);
    for (std::int32_t i = 2; i < count; ++i) graph.put_edge({i - 1, i});
    graph.put_edge({0, count - 1});
    graph.options.layering_strategy = "NETWORK_SIMPLEX";
    assign_layers(graph);
    EXPECT_EQ(graph.nodes[0]->layer, count > NETWORK_SIMPLEX_NODE_LIMIT ? 0 : count - 3);
  }
}

TEST(LongEdges, NumberDummiesAndSegmentsChainByChain) {
  TestGraph graph({"a", "b", "c", "d"}, {{0, 2}, {0, 1}, {0, 3}});
  for (LNode* node : graph.nodes) node->layer = node->position;
  const LEdge* whole = graph.edges[1];
  insert_dummy_nodes(graph);
  EXPECT_EQ(ids(graph.nodes), "a b c d dummy:e0#1 dummy:e2#4 dummy:e2#6 ");
  EXPECT_EQ(ids(graph.edges), "e1 e0:seg#2 e0:seg#3 e2:seg#5 e2:seg#7 e2:seg#8 ");
  EXPECT_EQ(ids(graph.caller_edges[2].chain), "e2:seg#5 e2:seg#7 e2:seg#8 ");
  EXPECT_EQ(graph.nodes[6]->layer, 2);
  EXPECT_EQ(graph.nodes[6]->out_ports[0].id.str(), "dummy:e2#6:out");
  EXPECT_EQ(graph.caller_edges[1].chain[0], whole);
  EXPECT_EQ(graph.caller_edges[2].chain[1]->source, &graph.nodes[5]->out_ports[0]);
  insert_dummy_nodes(graph);
  EXPECT_EQ(graph._counter, 8U);
}

TEST(LongEdges, DummiesInterpolateEachCoordinateThatBothEndsHave) {
  TestGraph graph({"a", "b"}, {{0, 1}});
  graph.nodes[0]->layer = 2;
  graph.nodes[1]->layer = 5;
  for (LNode* node : graph.nodes) node->has_origin_x = node->has_origin_y = true;
  graph.nodes[0]->origin_y = 10.0;
  graph.nodes[1]->origin_x = 300.0;
  graph.nodes[1]->origin_y = 40.0;
  graph.nodes[1]->has_origin_x = false;
  insert_dummy_nodes(graph);
  EXPECT_EQ(graph.nodes[2]->origin_y, 20.0);
  EXPECT_EQ(graph.nodes[3]->origin_y, 30.0);
  EXPECT_TRUE(graph.nodes[3]->has_origin_y);
  EXPECT_FALSE(graph.nodes[3]->has_origin_x);
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
