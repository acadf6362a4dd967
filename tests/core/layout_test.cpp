// Whole layouts: worked results, laws that hold for every drawing, and payloads of great length.

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

#include "core/vorn_layered.hpp"
#include "tests/core/laws.hpp"
#include "tests/core/random_graphs.hpp"
#include "tests/core/variant_reader.hpp"

namespace quillan::vorn_layered::testing {
namespace {

LayoutOptions random_options(Random& random) {
  LayoutOptions options;
  options.interactive = random.chance(30);
  options.cycle_breaking_strategy = random.pick({"AUTO", "GREEDY", "DEPTH_FIRST", "INTERACTIVE"});
  options.layering_strategy =
      random.pick({"AUTO", "LONGEST_PATH", "NETWORK_SIMPLEX", "MINIMUM_LENGTH", "INTERACTIVE"});
  options.crossing_strategy = random.pick({"AUTO", "LAYER_SWEEP", "NONE", "INTERACTIVE"});
  options.placement_strategy = random.pick({"BRANDES_KOEPF", "SIMPLE"});
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

Mapping link(const Variant& source, const Variant& target) {
  return {{Key::SOURCE, source}, {Key::TARGET, target}};
}

// The segments of a caller's edge follow one another from one of its ports to the other.
void expect_chain(const Origin& origin, const LEdge& before_phases) {
  LPort* const source = origin.reversed ? before_phases.target : before_phases.source;
  LPort* const target = origin.reversed ? before_phases.source : before_phases.target;
  ASSERT_EQ(origin.chain.front()->source, source);
  ASSERT_EQ(origin.chain.back()->target, target);
  for (std::size_t i = 1; i < origin.chain.size(); ++i) {
    const LNode* joint = origin.chain[i]->source_node();
    ASSERT_EQ(origin.chain[i - 1]->target_node(), joint);
    ASSERT_TRUE(joint->is_dummy());
  }
}

TEST(Laws, HoldForEveryGraphAfterAllPhases) {
  Random random(30);
  for (int round = 0; round < 4000; ++round) {
    TestGraph graph;
    fill_random(graph, random, random_shape(random, 30));
    graph.options = random_options(random).resolved();
    std::vector<LEdge> edges;
    for (const LEdge* edge : graph.edges) edges.push_back(*edge);
    run_phases(graph);
    ASSERT_NO_THROW(check_laws(graph));
    for (std::size_t i = 0; i < edges.size(); ++i) expect_chain(graph.origins[i], edges[i]);
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

// For `transposed`, the same payload with the axes exchanged.
void draw_payload(Random& random, bool transposed, List& nodes, List& edges) {
  const auto along = [transposed](Key key, Key other) { return transposed ? other : key; };
  const std::int32_t count = random.between(1, 25);
  for (std::int32_t i = 0; i < count; ++i) {
    nodes.emplace_back(Mapping{{Key::ID, i},
                               {along(Key::WIDTH, Key::HEIGHT), random.between(100, 2000) / 7.0},
                               {along(Key::HEIGHT, Key::WIDTH), random.between(100, 2000) / 7.0},
                               {along(Key::X, Key::Y), random.below(5) * 100.0},
                               {along(Key::Y, Key::X), random.below(5) * 100.0},
                               {Key::INPUT_PORTS, random.below(4)},
                               {Key::OUTPUT_PORTS, random.below(4)}});
  }
  for (std::int32_t i = random.below(count * 2); i > 0; --i) {
    Mapping edge = link(random.below(count), random.below(count));
    edge.emplace_back(Key::SOURCE_PORT, random.below(3));
    edge.emplace_back(Key::TARGET_PORT, random.below(3));
    edges.emplace_back(std::move(edge));
  }
}

TEST(Laws, TwoCallsGiveEqualBitsAndDownIsRightTransposed) {
  for (std::uint64_t seed = 0; seed < 1000; ++seed) {
    Bits first;
    for (int run = 0; run < 3; ++run) {
      const bool transposed = run == 2;
      Random random(seed);
      List nodes;
      List edges;
      draw_payload(random, transposed, nodes, edges);
      LayoutOptions options = random_options(random);
      options.direction = transposed ? Direction::DOWN : Direction::RIGHT;
      PayloadCase made(std::move(nodes), std::move(edges));
      Arena texts;
      const Bits bits = bits_of(layout(made.payload, options, 12.3, texts), transposed);
      if (run == 0) first = bits;
      ASSERT_EQ(bits, first) << "seed " << seed << ", run " << run;
    }
  }
}

// `count` nodes, and an edge from `sources(i)` to node i wherever that is a node.
template <typename Sources>
void expect_result(std::int32_t count, std::size_t routes, const Sources& sources) {
  List nodes;
  List edges;
  for (std::int32_t i = 0; i < count; ++i) {
    nodes.emplace_back(Mapping{{Key::ID, i}});
    edges.emplace_back(link(sources(i), i));
  }
  PayloadCase made(std::move(nodes), std::move(edges));
  Arena texts;
  const LayoutResult result = layout(made.payload, LayoutOptions(), 80.0, texts);
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
