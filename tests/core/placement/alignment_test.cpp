#include <gtest/gtest.h>

#include <vector>

#include "core/placement/brandes_koepf.hpp"
#include "core/placement/place_nodes.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

using Reals = std::vector<double>;

Reals ys(const LGraph& graph) {
  Reals values;
  for (const LNode* node : graph.nodes) values.push_back(node->y);
  return values;
}

// The blocks of one alignment, by node position. Nodes were numbered in layer order: slots are
// positions.
Numbers roots(TestGraph& graph, bool downward, bool leftward) {
  const AlignmentGraph layers(graph);
  return list(_align_blocks(layers, downward, leftward, _mark_type1_conflicts(layers)));
}

// The segments that conflict with an inner one, as (source, target).
std::vector<std::pair<int, int>> conflicts(TestGraph& graph) {
  const AlignmentGraph layers(graph);
  const std::span<const bool> marked = _mark_type1_conflicts(layers);
  std::vector<std::pair<int, int>> found;
  for (std::int32_t slot = 0; slot < layers.slots.count(); ++slot) {
    for (const AlignmentGraph::Link& link : layers.above(slot)) {
      if (marked[link.segment]) found.emplace_back(link.slot, slot);
    }
  }
  return found;
}

TEST(Conflicts, MarkWhatCrossesAnInnerSegment) {
  using Pairs = std::vector<std::pair<int, int>>;
  TestGraph crossed({"d", "a", "b", "e"}, {{0, 3}, {1, 2}, {1, 2}});  // parallel ones share a mark
  crossed.make_dummies({0, 3});
  crossed.set_layers({{0, 1}, {2, 3}});
  EXPECT_EQ(conflicts(crossed), (Pairs{{1, 2}}));
  EXPECT_EQ(roots(crossed, true, true), (Numbers{0, 1, 2, 0}));

  TestGraph inner({"d", "e", "f", "g"}, {{0, 3}, {1, 2}});  // two inner ones: the later gives way
  inner.make_dummies({0, 1, 2, 3});
  inner.set_layers({{0, 1}, {2, 3}});
  EXPECT_EQ(conflicts(inner), (Pairs{{0, 3}}));

  TestGraph real({"a", "b", "c", "d"}, {{0, 3}, {1, 2}});
  real.set_layers({{0, 1}, {2, 3}});
  EXPECT_EQ(conflicts(real), Pairs());

  // Touching ends are no crossing, on either side of the inner segment, up to the last node.
  TestGraph touching({"a", "d", "b", "c", "e", "f"}, {{0, 3}, {1, 4}, {1, 5}, {0, 5}, {1, 3}});
  touching.make_dummies({1, 4});
  touching.set_layers({{0, 1, 2}, {3, 4, 5}});
  EXPECT_EQ(conflicts(touching), (Pairs{{0, 5}}));
}

TEST(Alignment, EvenMediansAreTriedFromTheSideOfTheSweep) {
  TestGraph graph({"a", "b", "c", "d", "e", "f", "g"}, {{2, 6}, {5, 6}, {5, 6}});
  graph.set_layers({{0, 1, 2, 3, 4, 5}, {6}});
  EXPECT_EQ(roots(graph, true, true).back(), 2);
  EXPECT_EQ(roots(graph, true, false).back(), 5);
  EXPECT_EQ(roots(graph, false, true), (Numbers{0, 1, 6, 3, 4, 5, 6}));
  EXPECT_EQ(roots(graph, false, false), (Numbers{0, 1, 2, 3, 4, 6, 6}));
}

TEST(Alignment, OfTwoNodesWithOneMedianTheFirstVisitedLinks) {
  TestGraph graph({"a", "b", "c", "d"}, {{0, 2}, {0, 3}, {1, 3}});
  graph.set_layers({{0, 1}, {2, 3}});
  EXPECT_EQ(roots(graph, true, true), (Numbers{0, 1, 0, 1}));  // d falls back on its other median
  TestGraph single({"a", "b", "c"}, {{0, 1}, {0, 2}});
  single.set_layers({{0}, {1, 2}});
  EXPECT_EQ(roots(single, true, true), (Numbers{0, 0, 2}));
  EXPECT_EQ(roots(single, true, false), (Numbers{0, 1, 0}));
}

TEST(BrandesKoepf, MiddleOfFourAlignmentsThenPackedApart) {
  TestGraph graph({"A", "B", "C"}, {{0, 2}, {1, 2}});
  graph.set_layers({{0, 1}, {2}});
  for (const bool downward : {true, false}) {
    EXPECT_EQ(roots(graph, downward, true), (downward ? Numbers{0, 1, 0} : Numbers{2, 1, 2}));
    EXPECT_EQ(roots(graph, downward, false), (downward ? Numbers{0, 1, 1} : Numbers{0, 2, 2}));
  }
  _place_brandes_kopf_y(graph);
  EXPECT_EQ(ys(graph), (Reals{-20.0, 50.0, 15.0}));
  _pack_layer_overlaps(graph);
  EXPECT_EQ(ys(graph), (Reals{24.0, 94.0, 24.0}));
  _snap_non_negative(graph);
  EXPECT_EQ(graph.nodes[1]->y, 94.0);
}

TEST(Pack, GoesByYThenOrderThenIdWithSpacingsByKind) {
  TestGraph graph({"b", "a", "d", "e"}, {});
  graph.make_dummies({2, 3});
  graph.set_layers({{0, 1, 2, 3}});
  for (LNode* node : graph.nodes) node->y = 50.0;
  graph.nodes[3]->y = 0.0;
  graph.nodes[0]->order = graph.nodes[1]->order = 1;
  _pack_layer_overlaps(graph);  // e, then a and b by id, then d by its order
  EXPECT_EQ(ys(graph), (Reals{120.0, 50.0, 172.0, 24.0}));
}

TEST(PlaceNodes, ColumnsAdvanceByTheirWidestNode) {
  TestGraph graph({"a", "b", "c", "d", "e"}, {});
  graph.make_dummies({2, 3});
  graph.nodes[1]->width = 100.0;
  graph.set_layers({{0}, {4, 1, 2}, {}, {3}});
  _assign_layer_x(graph);
  EXPECT_EQ(graph.nodes[4]->x, 224.0);
  EXPECT_EQ(graph.nodes[1]->x, 244.0);
  EXPECT_EQ(graph.nodes[2]->x, 294.0);
  EXPECT_EQ(graph.nodes[3]->x, 424.0);  // the empty layer takes no room
}

TEST(PlaceNodes, SimpleSeesNewPositionsAtOnce) {
  TestGraph graph({"a", "b", "c"}, {{0, 2}, {1, 2}});
  graph.set_layers({{0, 1}, {2}});
  graph.options.placement_strategy = "SIMPLE";
  place_nodes(graph);
  // Each pass: a goes to the middle of c, b too and is pushed below it, then c goes between them.
  EXPECT_EQ(ys(graph), (Reals{24.0, 94.0, 24.0}));
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
