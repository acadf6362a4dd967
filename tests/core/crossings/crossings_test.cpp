#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/crossings/counting.hpp"
#include "core/crossings/swap_scans.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

using Keys = std::vector<EndKey>;

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

// About as many segments as are counted in one word.
TEST(Counting, CrossingsOfAGapAreInversionsOfItsPorts) {
  Random random(5);
  for (std::int32_t count = 60; count < 70; ++count) {
    TestGraph graph;
    graph.put_node("upper", 1.0, 1.0, 0, count);
    graph.put_node("lower", 1.0, 1.0, count, 0)->layer = 1;
    graph.rebuild_layers();
    const Numbers ports = random.permutation(count);
    for (std::int32_t i = 0; i < count; ++i) graph.put_edge({0, 1, i, ports[i]});
    const std::vector<std::int64_t> sequence(ports.begin(), ports.end());
    ASSERT_EQ(count_crossings(graph), _count_inversions(sequence, graph.scratch)) << count;
  }
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

}  // namespace
}  // namespace quillan::vorn_layered::testing
