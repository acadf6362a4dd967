#include "core/exchange/build_graph.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "core/base/faults.hpp"
#include "core/components.hpp"
#include "tests/core/payload_case.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

void build_whole(PayloadCase& made, LGraph& graph) {
  build_graph(made, undivided(made, made.arena)[0], graph);
}

TEST(BuildGraph, PortsComeFromCountsListsAndEdges) {
  PayloadCase made;
  NodeRow& listed = made.node("a");
  listed.height = 50.0;
  listed.output_ports = {3};
  made.ports = {{nullptr, 0.0}, {made.node("b").id, 7.0}, {nullptr, {}}};
  made.nodes[0].input_ports = {2, true, 1};
  for (const std::int32_t index : {1, -1, 3}) made.edge("a", "b").source_port = index;
  LGraph graph;
  build_whole(made, graph);
  std::vector<double> offsets;
  std::vector<std::string> ids;
  for (const std::span<LPort> side : {graph.ports[0].in, graph.ports[0].out}) {
    for (const LPort& port : side) {
      offsets.push_back(port.offset);
      ids.push_back(port_id(made, made.nodes[0], port).str());
    }
  }
  EXPECT_EQ(offsets, (std::vector<double>{7.0, 25.0, 12.5, 25.0, 37.5}));
  EXPECT_EQ(ids, (std::vector<std::string>{"b", "a:in:1", "a:out:0", "a:out:1", "a:out:2"}));
  Numbers used;
  for (const LEdge* edge : graph.edges) used.push_back(edge->source->index);
  EXPECT_EQ(used, (Numbers{1, 0, 0}));
  EXPECT_EQ(port_id(made, made.nodes[1], *graph.edges[0]->target).str(), "b:in:auto");
  EXPECT_EQ(graph.edges[2]->target, graph.edges[0]->target);
}

TEST(BuildGraph, TwinsResolveToTheLastAndMadeUpIdsCountAllEdges) {
  PayloadCase made;
  for (const char* id : {"1", "2", "1"}) made.node(id);
  made.edge("1", "1");
  made.edge("1", "nobody");
  made.edge("1", "2", "p");
  made.edge("2", "1");
  made.edge("1", "2", "p");
  LGraph graph;
  build_whole(made, graph);
  ASSERT_EQ(graph.edges.size(), 3U);
  EXPECT_EQ(graph.edges[0]->source_node(), graph.nodes[2]);
  EXPECT_EQ(graph.edges[1]->id.str(), "e3");
  ASSERT_EQ(graph.caller_edges.size(), 2U);
  EXPECT_EQ(graph.caller_edges[0].chain[0], graph.edges[2]);  // the later of two edges of one id
}

TEST(BuildGraph, RefusesPortsBeyondTheBounds) {
  PayloadCase made;
  made.node("a").input_ports.count = MAX_PORTS_PER_SIDE + 1;
  LGraph graph;
  EXPECT_THROW(build_whole(made, graph), SizeFault);
}

TEST(Components, ComeInTheOrderOfTheirFirstNodeWithTwinsReplaced) {
  PayloadCase made;
  for (const char* id : {"a", "b", "c", "d", "a"}) made.node(id);
  made.edge("d", "a");
  made.edge("b", "c");
  made.edge("c", "x");
  made.edge("b", "b");
  const Components parts = weakly_connected_components(made, made.arena);
  ASSERT_EQ(parts.size(), 2);
  EXPECT_EQ(list(parts[0].nodes), (Numbers{3, 4}));
  EXPECT_EQ(list(parts[0].edges), (Numbers{0}));
  EXPECT_EQ(list(parts[1].nodes), (Numbers{1, 2}));
  EXPECT_EQ(list(parts[1].edges), (Numbers{1, 3}));
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
