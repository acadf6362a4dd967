#include <gtest/gtest.h>

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

TEST(InteractiveLayers, GroupsBoxesWhileTheyOverlapTheBand) {
  TestGraph touching({"a", "b", "c"}, {});
  EXPECT_EQ(bands(touching, {{0, 100}, {50, 10}, {100, 100}}), (Numbers{0, 0, 1}));
  TestGraph growing({"a", "b", "c"}, {});
  EXPECT_EQ(bands(growing, {{0, 100}, {90, 100}, {150, 10}}), (Numbers{0, 0, 0}));
  TestGraph flat({"b", "a10", "a9"}, {});  // in id order each ends where it starts
  EXPECT_EQ(bands(flat, {{5, 0}, {5, 0}, {5, 0}}), (Numbers{2, 0, 1}));
}

TEST(LongestPath, AnEdgeFromANodeToItselfPushesIt) {
  TestGraph graph({"a", "b"}, {{0, 0}});
  _layer_longest_path(graph);
  EXPECT_EQ(layers_of(graph), (Numbers{1, 0}));
}

TEST(LongEdges, ATwinOfASplitEdgeLeavesWithIt) {
  TestGraph graph({"a", "b", "c"}, {{0, 2}, {0, 1}, {1, 2}});
  for (LNode* node : graph.nodes) node->layer = node->position;
  LEdge* const edge = graph.edges[0];
  graph.add_edge(edge->id, edge->source, edge->target, edge->caller_edge);
  insert_dummy_nodes(graph);
  ASSERT_EQ(graph.edges.size(), 4U);  // both twins gave way to the two segments of one chain
  EXPECT_EQ(graph.edges[0]->id.str(), "e1");
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

}  // namespace
}  // namespace quillan::vorn_layered::testing
