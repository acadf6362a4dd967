#include "core/exchange/build_graph.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "core/base/faults.hpp"
#include "core/components.hpp"
#include "tests/core/variant_reader.hpp"

namespace quillan::vorn_layered::testing {
namespace {

Mapping edge(const Variant& source, const Variant& target) {
  return {{Key::SOURCE, source}, {Key::TARGET, target}};
}

TEST(BuildGraph, UnusablePortIndicesMeanTheFirstPort) {
  const std::vector<std::pair<Variant, int>> cases = {
      {1, 1}, {1.9, 1}, {"1.5", 0}, {-1, 0}, {3, 0}, {true, 1}, {nullptr, 0}, {std::nan(""), 0}};
  for (const auto& [index, expected] : cases) {
    Mapping link = edge("a", "b");
    link.emplace_back(Key::SOURCE_PORT, index);
    PayloadCase made({Mapping{{Key::ID, "a"}, {Key::OUTPUT_PORTS, 3}}, Mapping{{Key::ID, "b"}}},
                     {link});
    LGraph graph;
    build_graph(made.payload, graph);
    EXPECT_EQ(graph.edges.at(0)->source->index, expected);
    EXPECT_EQ(graph.edges[0]->target->id.str(), "b:in:auto");
  }
}

TEST(BuildGraph, IdsMatchByTextAndTwinsResolveToTheLast) {
  Mapping named = edge("1", 2);
  named.emplace_back(Key::ID, "p");
  PayloadCase made({Mapping{{Key::ID, 1}}, Mapping{{Key::ID, "2"}}, Mapping{{Key::ID, "1"}}},
                   {edge("1", "1"), edge("1", "nobody"), named, edge(2, 1), named});
  LGraph graph;
  build_graph(made.payload, graph);
  ASSERT_EQ(graph.edges.size(), 3U);
  EXPECT_EQ(graph.edges[0]->source_node(), graph.nodes[2]);
  EXPECT_EQ(graph.edges[1]->id.str(), "e3");  // counted over skipped mappings too
  ASSERT_EQ(graph.origins.size(), 2U);
  EXPECT_EQ(graph.origins[0].chain[0], graph.edges[2]);  // the later of two edges of one id
}

TEST(BuildGraph, FailuresOfTheReaderComeThrough) {
  const auto build = [](const List& nodes, const List& edges) {
    PayloadCase made(nodes, edges);
    LGraph graph;
    build_graph(made.payload, graph);
  };
  const auto node = [](Key key, const Variant& value) {
    return Mapping{{Key::ID, "a"}, {key, value}};
  };
  EXPECT_THROW(build({Mapping{}}, {}), Rejected);
  EXPECT_THROW(build({}, {"edge"}), Rejected);
  EXPECT_THROW(build({node(Key::WIDTH, "wide")}, {}), Rejected);
  EXPECT_THROW(build({node(Key::INPUT_PORTS, 2.0)}, {}), Rejected);
  EXPECT_THROW(build({node(Key::INPUT_PORTS, List{1, nullptr})}, {}), Rejected);
  EXPECT_THROW(build({node(Key::INPUT_PORTS, 2'000'000)}, {}), SizeFault);
  Mapping endless = edge("a", "b");
  endless.emplace_back(Key::SOURCE_PORT, std::numeric_limits<double>::infinity());
  EXPECT_THROW(build({node(Key::OUTPUT_PORTS, 1), Mapping{{Key::ID, "b"}}}, {endless}), Rejected);
  EXPECT_NO_THROW(build({node(Key::OUTPUT_PORTS, 0), Mapping{{Key::ID, "b"}}}, {endless}));
}

TEST(Components, ComeInTheOrderOfTheirFirstNodeWithTwinsReplaced) {
  PayloadCase made({Mapping{{Key::ID, "a"}}, Mapping{{Key::ID, "b"}}, Mapping{{Key::ID, "c"}},
                    Mapping{{Key::ID, "d"}}, Mapping{{Key::ID, "a"}}},
                   {edge("d", "a"), edge("b", "c"), edge("c", "x"), edge("b", "b")});
  const Components parts = weakly_connected_components(made.payload);
  EXPECT_EQ(parts.nodes, (std::vector<std::int32_t>{3, 4, 1, 2}));
  EXPECT_EQ(parts.node_starts, (std::vector<std::int32_t>{0, 2, 4}));
  EXPECT_EQ(parts.edges, (std::vector<std::int32_t>{0, 1, 3}));
  EXPECT_EQ(parts.edge_starts, (std::vector<std::int32_t>{0, 1, 3}));
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
