// KEEP: the order that the user sees, and dummies where there is room for them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "core/crossings/reduce_crossings.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// Dummies by their wires' names, nodes by their own.
std::vector<std::string> order_of(LGraph& graph, std::int32_t layer) {
  graph.options.crossing_strategy = "KEEP";
  reduce_crossings(graph);
  std::vector<std::string> names;
  for (const LNode* node : graph.layers[layer]) {
    const std::string id = node->id.str();
    names.push_back(node->is_dummy() ? id.substr(6, id.find('#') - 6) : id);
  }
  return names;
}
using Names = std::vector<std::string>;

// A wire e0 from s to t and a column of nodes in between, all 20 high, at these places.
struct Column : TestGraph {
  Column(double source, double target, std::initializer_list<double> places, int wires = 1) {
    put("s", source);
    put("t", target);
    for (int i = 0; i < wires; ++i) put_edge({0, 1});
    std::int32_t next = 0;
    for (const double place : places) {
      put(numbered("n", next++), place);
      put_edge({0, static_cast<std::int32_t>(nodes.size()) - 1});
      put_edge({static_cast<std::int32_t>(nodes.size()) - 1, 1});
    }
    options.layering_strategy = "LONGEST_PATH";
    assign_layers(*this);
  }
  void put(const std::string& id, double place) {
    LNode* node = put_node(id, 10.0, 20.0, 1, 1);
    node->has_origin_x = node->has_origin_y = true;
    node->origin_y = place;
  }
};

TEST(Keep, ADummyTakesTheNearestRoomThatIsLeft) {
  // One dummy needs 24 between two nodes, and every further one 10.
  Column exact(0, 100, {0, 44, 88});
  EXPECT_EQ(order_of(exact, 1), (Names{"n0", "n1", "e0", "n2"}));
  Column tight(0, 100, {0, 43.9, 87.8});
  EXPECT_EQ(order_of(tight, 1), (Names{"n0", "n1", "n2", "e0"}));
  Column level(40, 40, {0, 44, 90});
  EXPECT_EQ(order_of(level, 1), (Names{"n0", "e0", "n1", "n2"}));
  Column two(0, 100, {0, 44, 98}, 3);
  EXPECT_EQ(order_of(two, 1), (Names{"n0", "e0", "n1", "e1", "e2", "n2"}));
}

// 29 apart, nodes need a dummy between them, or one of them has to move.
TEST(Keep, ADummyGoesBetweenNodesThatStandNearEachOther) {
  Column near(0, 0, {0, 60, 109}, 2);
  EXPECT_EQ(order_of(near, 1), (Names{"e0", "n0", "n1", "e1", "n2"}));
}

TEST(Keep, NodesGoByTheirMiddlesAndTheUnplacedByTheirWires) {
  Column overlapping(0, 0, {0, 60, 30});
  overlapping.nodes[3]->height = 10.0;
  overlapping.nodes[4]->height = 80.0;
  EXPECT_EQ(order_of(overlapping, 1), (Names{"e0", "n0", "n1", "n2"}));
  Column unplaced(70, 30, {0, 60, 90});
  unplaced.nodes[4]->has_origin_y = false;
  EXPECT_EQ(order_of(unplaced, 1), (Names{"n0", "e0", "n2", "n1"}));
}

// No more dummies between two nodes than fit there, and nodes in the order of their middles.
TEST(Keep, NoNodeHasToMove) {
  Random random(12);
  int beyond = 0;
  for (int round = 0; round < 1500; ++round) {
    TestGraph graph;
    fill_layered(graph, random, random_shape(random, 30));
    double y = 0.0;
    for (LNode* node : graph.nodes) {
      if (node->is_dummy()) continue;
      y += random.between(-40, 60);
      node->origin_y = y;
      node->has_origin_x = node->has_origin_y = true;
      node->origin_x = y;
    }
    const LayoutOptions& options = graph.options;
    graph.options.crossing_strategy = "KEEP";
    reduce_crossings(graph);
    for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
      const LNode* last = nullptr;
      double bottom = -std::numeric_limits<double>::infinity();
      int dummies = 0;
      for (const LNode* node : graph.layers[layer]) {
        if (node->is_dummy()) {
          ++dummies;
          continue;
        }
        if (last != nullptr && graph.layers.size() > 1) {
          ASSERT_LE(last->origin_y + last->height / 2, node->origin_y + node->height / 2);
          const double needed =
              2 * options.spacing_edge_node + (dummies - 1) * options.spacing_edge_edge;
          ASSERT_TRUE(dummies == 0 || bottom + needed <= node->origin_y + 1e-6)
              << "round " << round << ", layer " << layer;
        }
        beyond += dummies;
        dummies = 0;
        last = node;
        bottom = std::max(bottom, node->origin_y + node->height);
      }
    }
  }
  EXPECT_GT(beyond, 300) << "few dummies had a node behind them";
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
