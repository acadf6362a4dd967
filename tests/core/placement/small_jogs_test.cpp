#include "core/placement/small_jogs.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// "top" and "a" before "c" and "b", of height 40 and 30 apart, with a wire from "a" to "b".
std::vector<double> placed(double a, double c, double b, bool with_wire_to_c) {
  TestGraph graph({"top", "a", "c", "b"}, {{1, 3}});
  if (with_wire_to_c) graph.put_edge({0, 2});
  graph.set_layers({{0, 1}, {2, 3}});
  const double y[] = {0.0, a, c, b};
  for (std::size_t i = 0; i < 4; ++i) graph.nodes[i]->y = y[i];
  remove_small_jogs(graph);
  std::vector<double> result;
  for (const LNode* node : graph.nodes) result.push_back(node->y);
  return result;
}

TEST(SmallJogs, GoWithABlockAndWhatStandsInItsWay) {
  using Places = std::vector<double>;
  EXPECT_EQ(placed(100.0, 20.0, 104.0, false), (Places{0.0, 100.0, 20.0, 100.0}));
  EXPECT_EQ(placed(100.0, 34.0, 104.0, false), (Places{0.0, 100.0, 30.0, 100.0}));
  EXPECT_EQ(placed(100.0, 20.0, 108.0, false), (Places{0.0, 100.0, 20.0, 108.0}));  // not small
  // To push "c" would give its wire a small step, so "a" goes to "b".
  EXPECT_EQ(placed(74.0, 8.0, 78.0, true), (Places{0.0, 78.0, 8.0, 78.0}));
  // "c" is held by a straight wire to the drawing's upmost node, which does not move; so "a" goes.
  EXPECT_EQ(placed(66.0, 0.0, 70.0, true), (Places{0.0, 70.0, 0.0, 70.0}));
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
