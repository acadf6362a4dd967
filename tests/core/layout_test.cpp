// Whole layouts: worked results, laws that hold for every drawing, and payloads of great length.

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "core/vorn_layered.hpp"
#include "tests/core/laws.hpp"
#include "tests/core/payload_case.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

LayoutOptions random_options(Random& random) {
  LayoutOptions options;
  options.interactive = random.chance(30);
  options.cycle_breaking_strategy = random.pick({"AUTO", "GREEDY", "DEPTH_FIRST", "INTERACTIVE"});
  options.layering_strategy =
      random.pick({"AUTO", "LONGEST_PATH", "NETWORK_SIMPLEX", "MINIMUM_LENGTH", "INTERACTIVE"});
  options.crossing_strategy =
      random.pick({"AUTO", "LAYER_SWEEP", "NONE", "INTERACTIVE", "SIFTING", "KEEP"});
  options.placement_strategy =
      random.pick({"BRANDES_KOEPF", "SIMPLE", "NETWORK_SIMPLEX", "INTERACTIVE"});
  options.edge_routing =
      random.pick({"ORTHOGONAL", "ORTHOGONAL_ORDERED", "ORTHOGONAL_ORDERED", "POLYLINE"});
  options.spacing_node_node = random.below(500) / 10.0;
  options.spacing_edge_edge = random.below(200) / 10.0;
  options.spacing_edge_node = random.below(200) / 7.0;
  return options;
}

// Points rather than doubles, compared by their bits.
using Bits = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

Bits bits_of(const LayoutResult& result, bool transposed = false) {
  Bits bits;
  const auto add = [&](Point point) {
    if (transposed) std::swap(point.x, point.y);
    bits.emplace_back(std::bit_cast<std::uint64_t>(point.x), std::bit_cast<std::uint64_t>(point.y));
  };
  for (const NodePosition& position : result.positions) add(position.top_left);
  for (const Point point : result.routes.points) add(point);
  return bits;
}

TEST(Laws, HoldForEveryGraphAfterAllPhases) {
  Random random(30);
  for (int round = 0; round < 4000; ++round) {
    TestGraph graph;
    fill_random(graph, random, random_shape(random, 30));
    graph.options = random_options(random).resolved();
    run_phases(graph);
    ASSERT_NO_THROW(check_laws(graph)) << "round " << round;
  }
}

// For `transposed`, the same payload with the axes exchanged.
void draw_payload(Random& random, bool transposed, PayloadCase& made) {
  const std::int32_t count = random.between(1, 25);
  for (std::int32_t i = 0; i < count; ++i) {
    NodeRow& node = made.node(i);
    node.width = random.between(100, 2000) / 7.0;
    node.height = random.between(100, 2000) / 7.0;
    node.x = random.below(5) * 100.0;
    node.y = random.below(5) * 100.0;
    node.input_ports.count = random.below(4);
    node.output_ports.count = random.below(4);
    if (!transposed) continue;
    std::swap(node.width, node.height);
    std::swap(node.x, node.y);
  }
  for (std::int32_t i = random.below(count * 2); i > 0; --i) {
    EdgeRow& edge = made.edge(random.below(count), random.below(count));
    edge.source_port = random.below(3);
    edge.target_port = random.below(3);
  }
}

TEST(Laws, TwoCallsGiveEqualBitsAndDownIsRightTransposed) {
  for (std::uint64_t seed = 0; seed < 1000; ++seed) {
    Bits first;
    for (int run = 0; run < 3; ++run) {
      const bool transposed = run == 2;
      Random random(seed);
      PayloadCase made;
      draw_payload(random, transposed, made);
      LayoutOptions options = random_options(random);
      options.direction = transposed ? Direction::DOWN : Direction::RIGHT;
      const Bits bits = bits_of(made.lay_out(options, 12.3), transposed);
      if (run == 0) first = bits;
      ASSERT_EQ(bits, first) << "seed " << seed << ", run " << run;
    }
  }
}

// `count` nodes, and an edge from `source_of(i)` to node i wherever that is a node.
template <typename SourceOf>
void expect_result(std::int32_t count, std::size_t routes, const SourceOf& source_of) {
  PayloadCase made(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) made.node(i);
  for (std::int32_t i = 0; i < count; ++i) made.edge(source_of(i), i);
  const LayoutResult result = made.lay_out(LayoutOptions());
  EXPECT_EQ(result.positions.size(), static_cast<std::size_t>(count));
  EXPECT_EQ(result.routes.routes.size(), routes);
}

// A recursion on the payload would overflow the stack here, a cost that grows with a square would
// not come back.
TEST(Size, LongChainsWideStarsAndManyComponentsReturn) {
  constexpr std::int32_t kMany = 200'000;
  expect_result(kMany, kMany - 1, [](std::int32_t i) { return i - 1; });
  expect_result(kMany, kMany - 1, [](std::int32_t i) { return i == 0 ? -1 : 0; });
  expect_result(kMany, 0, [](std::int32_t) { return -1; });
  expect_result(20'000, 19'999, [](std::int32_t i) { return i == 0 ? 19'999 : i - 1; });
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
