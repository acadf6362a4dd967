// Sifting: what it promises of its results, and the arithmetic of moves against a recount.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/crossings/counting.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/crossings/sift_orders.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// Phase 3 over the graph of a seed: the order it leaves.
Numbers reduced_order(TestGraph& graph, std::uint64_t seed, const char* strategy,
                      std::int64_t thoroughness) {
  Random random(seed);
  const Shape shape = seed % 40 == 0 ? Shape{80, 160, 3} : random_shape(random, 25);
  fill_layered(graph, random, shape);
  graph.options.crossing_strategy = strategy;
  graph.options.thoroughness.value = thoroughness;
  reduce_crossings(graph);
  Numbers order;
  for (const LNode* node : graph.layers.flat()) order.push_back(node->position);
  return order;
}

struct Reduced {
  Reduced(std::uint64_t seed, const char* strategy, std::int64_t thoroughness)
      : order(reduced_order(graph, seed, strategy, thoroughness)),
        crossings(count_crossings(graph)) {}

  TestGraph graph;
  Numbers order;
  std::int64_t crossings;
};

TEST(Sifting, IsNeverWorseThanTheSweepsNorThanWithLessThoroughness) {
  int better = 0;
  for (std::uint64_t seed = 0; seed < 160; ++seed) {
    std::int64_t least = INT64_MAX;
    for (const std::int64_t thoroughness : {-1, 2, 7, 8, 1000}) {
      const Reduced sifted(seed, "SIFTING", thoroughness);
      const Reduced swept(seed, "LAYER_SWEEP", thoroughness);
      ASSERT_LE(sifted.crossings, swept.crossings) << "seed " << seed;
      ASSERT_LE(sifted.crossings, least) << "seed " << seed << ", thoroughness " << thoroughness;
      ASSERT_EQ(sifted.order, Reduced(seed, "SIFTING", thoroughness).order) << "seed " << seed;
      least = sifted.crossings;
      better += sifted.crossings < swept.crossings;
    }
  }
  EXPECT_GT(better, 100) << "sifting had next to nothing to do";
}

// Whatever port an edge starts at, and whatever its node is called.
TEST(Sifting, DrawsTreesWithoutCrossings) {
  for (std::uint64_t seed = 0; seed < 50; ++seed) {
    Random random(seed);
    TestGraph graph;
    for (const std::int32_t name : random.permutation(60)) {
      graph.put_node(numbered("n", name), 10.0, 10.0, 1, 4);
    }
    for (std::int32_t i = 1; i < 60; ++i) graph.put_edge({random.below(i), i, random.below(4), 0});
    graph.options.layering_strategy = "LONGEST_PATH";
    assign_layers(graph);
    graph.options.crossing_strategy = "SIFTING";
    reduce_crossings(graph);
    ASSERT_EQ(count_crossings(graph), 0) << "seed " << seed;
  }
}

TEST(Sifting, AMoveChangesTheCrossingsByWhatItSays) {
  Random random(9);
  for (int round = 0; round < 1500; ++round) {
    TestGraph graph;
    Shape shape = random_shape(random, 24);
    shape.ports = std::min(shape.ports, 70);
    fill_layered(graph, random, shape);
    LayerOrders orders(graph);
    SiftOrders sift(orders);
    const auto count = [&] {
      orders.set_all(sift.all());
      return count_crossings(orders);
    };
    const std::int64_t before = count();
    const Numbers first = list(sift.all());
    std::int64_t expected = before;
    for (int step = 0; step < 10; ++step) {
      const std::int32_t slot = random.below(sift.slot_count());
      if (sift.layer_size(slot) > 1 && random.chance(50)) {
        expected += sift.push(slot, 5, random.below(10));
      } else {
        const std::int64_t change = sift.sift(slot, random.below(10));
        ASSERT_LE(change, 0);
        expected += change;
      }
      ASSERT_EQ(count(), expected) << "round " << round;
    }
    sift.undo_moves();
    ASSERT_EQ(list(sift.all()), first);
  }
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
