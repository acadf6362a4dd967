#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/base/faults.hpp"
#include "core/crossings/adjacent_swap.hpp"
#include "core/crossings/counting.hpp"
#include "core/crossings/neighbor_order.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/crossings/swap_scans.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

using Keys = std::vector<EndKey>;

// The key of port 0 of each place.
Keys keys_at(const Numbers& places) {
  Keys keys;
  for (const std::int32_t place : places) keys.push_back(place * KEY_SCALE + 1);
  return keys;
}

std::int64_t crossings(const std::vector<Numbers>& layers, std::initializer_list<TestEdge> links) {
  TestGraph graph({"a", "b", "c", "d"}, links, 300);
  graph.set_layers(layers);
  return count_crossings(graph);
}

TEST(Counting, InversionsEqualComparisonOfAllPairs) {
  Random random(6);
  for (int round = 0; round < 3000; ++round) {
    Arena arena;
    std::vector<std::int64_t> sequence(random.below(round % 100 == 0 ? 3000 : 150));
    const std::int32_t spread = random.pick({1, 5, 100, 1'000'000});
    for (std::int64_t& value : sequence) value = random.below(spread);
    std::int64_t naive = 0;
    for (std::size_t i = 0; i < sequence.size(); ++i) {
      for (std::size_t j = i + 1; j < sequence.size(); ++j) naive += sequence[i] > sequence[j];
    }
    ASSERT_EQ(_count_inversions(sequence, arena), naive) << "round " << round;
  }
}

TEST(Counting, PortOrderCountsOnBothEnds) {
  EXPECT_EQ(crossings({{0, 1}, {2, 3}}, {{0, 3}, {1, 2}}), 1);
  EXPECT_EQ(crossings({{0}, {1, 2, 3}}, {{0, 1, 0, 1}, {0, 1, 1, 0}}), 1);
  EXPECT_EQ(crossings({{0}, {1, 2, 3}}, {{0, 1, 0, 0}, {0, 1, 1, 0}}), 0);
  EXPECT_EQ(crossings({{0}, {1, 2, 3}}, {{0, 1, 0, 1}, {0, 1, 0, 0}}), 0);
  EXPECT_EQ(crossings({{0, 1}, {}, {2, 3}}, {{0, 3}, {1, 2}}), 0);  // they skip a layer
}

TEST(Counting, PortsFrom256OnCompareLikeLowPortsOfTheNextNode) {
  const std::vector<Numbers> layers = {{0, 1}, {2, 3}};
  EXPECT_EQ(crossings(layers, {{0, 2, 0, 256}, {1, 3, 0, 0}}), 0);
  EXPECT_EQ(crossings(layers, {{0, 2, 0, 257}, {1, 3, 0, 0}}), 1);
  EXPECT_EQ(crossings(layers, {{0, 3, 0, 0}, {1, 2, 0, 257}}), 0);
  EXPECT_EQ(crossings(layers, {{0, 2, 0, 257}, {0, 3, 0, 0}}), 1);  // even from one port
}

TEST(Median, LeansToTheDenserSide) {
  EXPECT_EQ(_weighted_median(keys_at({1, 2, 3, 9})), 2.158482142857143);
  EXPECT_EQ(_barycentre(keys_at({1, 2, 3, 9})), 3.765625);
  EXPECT_EQ(_weighted_median(keys_at({1, 2, 9})), 2.015625);
  EXPECT_EQ(_weighted_median(keys_at({1, 9})), 5.015625);
  EXPECT_EQ(_weighted_median(keys_at({4, 4, 4, 4})), 4.015625);  // no division by zero
  EXPECT_EQ(_weighted_median({}), -1.0);
  EXPECT_EQ(_weighted_median(Keys{3 * 64 + 1, 3 * 64 + 2}), 3.0234375);  // two ports of one node
}

TEST(AdjacentSwap, HubsOfAnySizeAreWeighedAgainstEachOther) {
  Random random(12);
  for (int round = 0; round < 3000; ++round) {
    const auto draw = [&random] {
      Keys keys(random.pick({1, 3, 40, 200}));
      for (EndKey& key : keys) key = random.below(60);
      std::sort(keys.begin(), keys.end());
      return keys;
    };
    const Keys first = draw();
    const Keys second = draw();
    const auto entry = [](const Keys& keys) { return Member{side_keys(keys), side_keys({}), 0}; };
    std::int64_t gain = 0;
    for (const EndKey a : first) {
      for (const EndKey b : second) gain += a > b ? 1 : a < b ? -1 : 0;
    }
    ASSERT_EQ(should_swap(entry(first), entry(second)), gain > 0) << "round " << round;
  }
}

TEST(ReduceCrossings, LooksAtThoroughnessOnlyWhereItSweeps) {
  TestGraph graph({"a", "b", "c", "d"}, {{0, 3}, {1, 2}});
  graph.set_layers({{1, 0}, {2, 3}});
  graph.options.thoroughness.is_integer = false;
  graph.options.crossing_strategy = "NONE";
  graph.nodes[0]->order = 9;
  reduce_crossings(graph);
  EXPECT_EQ(graph.nodes[0]->order, 1);
  graph.options.crossing_strategy = "LAYER_SWEEP";
  EXPECT_THROW(reduce_crossings(graph), TypeFault);
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
