// KEEP: the order that the user sees, and dummies where there is room for them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/crossings/reduce_crossings.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// No more dummies between two nodes than fit there, and nodes in the order of their middles.
TEST(Keep, NoNodeHasToMove) {
  Random random(12);
  std::int64_t places = 0;
  for (int round = 0; round < 1500; ++round) {
    TestGraph graph;
    fill_layered(graph, random, random_shape(random, 30));
    double y = 0.0;
    for (LNode* node : graph.nodes) {
      if (node->is_dummy()) continue;
      y += random.between(-40, 60);
      node->given().origin_y = y;
      node->has_origin_x = node->has_origin_y = true;
      node->given().origin_x = y;
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
          places += node->order;
          continue;
        }
        if (last != nullptr && graph.layers.size() > 1) {
          ASSERT_LE(origin_y(graph, *last) + last->height() / 2,
                    origin_y(graph, *node) + node->height() / 2);
          const double needed =
              2 * options.spacing_edge_node + (dummies - 1) * options.spacing_edge_edge;
          ASSERT_TRUE(dummies == 0 || bottom + needed <= origin_y(graph, *node) + 1e-6)
              << "round " << round << ", layer " << layer;
        }
        dummies = 0;
        last = node;
        bottom = std::max(bottom, origin_y(graph, *node) + node->height());
      }
    }
  }
  EXPECT_EQ(places, 102889) << "dummies stand elsewhere than recorded";
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
