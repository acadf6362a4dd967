#include <gtest/gtest.h>

#include <vector>

#include "core/placement/brandes_koepf.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

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

}  // namespace
}  // namespace quillan::vorn_layered::testing
