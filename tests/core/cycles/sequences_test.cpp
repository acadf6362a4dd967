#include <gtest/gtest.h>

#include <vector>

#include "core/cycles/break_cycles.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// Scans over all nodes, as the procedure is defined.
Numbers naive_greedy(const LGraph& graph) {
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  Numbers in(count, 0);
  Numbers out(count, 0);
  std::vector<bool> removed(count, false);
  for (const LEdge* edge : graph.edges) {
    ++out[edge->source_node()->position];
    ++in[edge->target_node()->position];
  }
  Numbers head;
  Numbers tail;
  const auto drop = [&](std::int32_t node, Numbers& end) {
    removed[node] = true;
    end.push_back(node);
    for (const LEdge* edge : graph.edges) {
      if (edge->source_node()->position == node) --in[edge->target_node()->position];
      if (edge->target_node()->position == node) --out[edge->source_node()->position];
    }
  };
  while (head.size() + tail.size() < graph.nodes.size()) {
    std::size_t before = 0;
    do {
      before = head.size() + tail.size();
      for (std::int32_t node = 0; node < count; ++node) {
        if (!removed[node] && out[node] == 0) drop(node, tail);
      }
      for (std::int32_t node = 0; node < count; ++node) {
        if (!removed[node] && in[node] == 0) drop(node, head);
      }
    } while (head.size() + tail.size() > before);
    std::int32_t best = -1;
    for (std::int32_t node = 0; node < count; ++node) {
      if (removed[node]) continue;
      if (best < 0 || out[node] - in[node] > out[best] - in[best]) best = node;
    }
    if (best >= 0) drop(best, head);
  }
  head.insert(head.end(), tail.rbegin(), tail.rend());
  return head;
}

TEST(Sequences, GreedyEqualsFullScans) {
  Random random(3);
  for (int round = 0; round < 4000; ++round) {
    TestGraph graph;
    fill_random(graph, random, random_shape(random, 30));
    ASSERT_EQ(list(_sequence_greedy(graph)), naive_greedy(graph)) << "round " << round;
  }
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
