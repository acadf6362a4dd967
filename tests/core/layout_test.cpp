// Whole layouts: laws that hold for every drawing, and payloads of great length.

#include <gtest/gtest.h>

#include <bit>
#include <optional>
#include <string>
#include <vector>

#include "core/base/faults.hpp"
#include "core/vorn_layered.hpp"
#include "tests/core/layout_laws.hpp"
#include "tests/core/random_payloads.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// Points rather than doubles, compared by their bits.
using Bits = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

Bits bits_of(const LayoutResult& result, bool transposed) {
  Bits bits;
  const auto add = [&](Point point) {
    if (transposed) std::swap(point.x, point.y);
    bits.emplace_back(std::bit_cast<std::uint64_t>(point.x), std::bit_cast<std::uint64_t>(point.y));
  };
  for (const NodePosition& position : result.positions) add(position.top_left);
  for (const Point point : result.routes.points) add(point);
  return bits;
}

TEST(Laws, HoldForEveryCall) {
  int refused = 0;
  for (std::uint64_t seed = 0; seed < 4000; ++seed) {
    Random random(seed);
    RandomCall call(random);
    const LayoutOptions options = call.options();
    const double gap = call.length();
    PayloadCase made;
    call.fill(made);
    try {
      check_layout(made, options, gap);
    } catch (const BrokenLaw& broken) {
      FAIL() << broken.what() << ", seed " << seed;
    } catch (const SizeFault&) {  // too many ports
      ++refused;
    } catch (const TypeFault&) {
      EXPECT_FALSE(options.thoroughness.is_integer);
    }
  }
  EXPECT_LT(refused, 400);
}

TEST(Laws, DownIsRightTransposed) {
  for (std::uint64_t seed = 0; seed < 1000; ++seed) {
    Bits right;
    for (const bool down : {false, true}) {
      Random random(seed);
      RandomCall call(random, true);
      LayoutOptions options = call.options();
      options.direction = down ? Direction::DOWN : Direction::RIGHT;
      options.padding_top = options.padding_left;  // where the flow begins in every direction
      PayloadCase made;
      call.fill(made);
      for (NodeRow& node : made.nodes) {
        if (down) std::swap(node.width, node.height);
        if (down) std::swap(node.x, node.y);
      }
      const Bits bits = bits_of(made.lay_out(options, 12.3), down);
      if (!down) right = bits;
      ASSERT_EQ(bits, right) << "seed " << seed;
    }
  }
}

// What no recorded layout has, since only the results of defaults are promised for ever. A digest
// that differs is a fault unless a change of results was meant.
TEST(Digests, OfStrategiesThatAreNoDefaultsAreAsRecorded) {
  struct Recorded {
    const char* name = nullptr;
    std::optional<LayoutOptions> options;  // none: drawn for every graph
    std::uint64_t digest = 0;
  };
  for (const auto& [name, options, digest] : std::initializer_list<Recorded>{
           {"any", std::nullopt, 8363755655378242466U},
           {"depth first", {{.cycle_breaking_strategy = "DEPTH_FIRST"}}, 18255854762057372654U},
           {"longest path", {{.layering_strategy = "LONGEST_PATH"}}, 11210980550275433300U},
           {"interactive", {{.interactive = true}}, 3800015848961998010U},
           {"sifting", {{.crossing_strategy = "SIFTING"}}, 17308352309609384459U},
           {"keep",
            {{.interactive = true,
            .crossing_strategy = "KEEP",
            .placement_strategy = "INTERACTIVE"}},
            11088338999652562703U},
           {"least length",
            {{.layering_strategy = "MINIMUM_LENGTH", .placement_strategy = "NETWORK_SIMPLEX"}},
            16959546523518301345U},
           {"ordered", {{.edge_routing = "ORTHOGONAL_ORDERED"}}, 12743799915978374783U}}) {
    std::uint64_t found = 14695981039346656037U;  // FNV-1a, a number at a time
    for (std::uint64_t seed = 0; seed < 100; ++seed) {
      Random random(seed);
      RandomCall call(random, true, 60);
      PayloadCase made;
      call.fill(made);
      const LayoutResult result = made.lay_out(options ? *options : call.options());
      for (const auto& [x, y] : bits_of(result, false)) {
        found = ((found ^ x) * 1099511628211U ^ y) * 1099511628211U;
      }
    }
    EXPECT_EQ(found, digest) << name;
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
