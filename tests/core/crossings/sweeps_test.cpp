// Phase 3 against a driver that takes no shortcut: it runs every sweep and every scan, measures
// with reals, and counts crossings pair by pair.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <tuple>
#include <vector>

#include "core/analysis.hpp"
#include "core/crossings/adjacent_swap.hpp"
#include "core/crossings/counting.hpp"
#include "core/crossings/neighbor_order.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

using Layer = std::vector<LNode*>;
using Reals = std::vector<double>;

double naive_median(const Reals& sorted) {
  const std::size_t count = sorted.size();
  const std::size_t mid = count / 2;
  if (count % 2 == 1) return sorted[mid];
  if (count == 2) return (sorted[0] + sorted[1]) / 2.0;
  const double left = sorted[mid - 1] - sorted[0];
  const double right = sorted[count - 1] - sorted[mid];
  if (left + right == 0.0) return (sorted[mid - 1] + sorted[mid]) / 2.0;
  return (sorted[mid - 1] * right + sorted[mid] * left) / (left + right);
}

class Naive {
 public:
  explicit Naive(const LGraph& graph)
      : graph_(graph), incoming_(graph.nodes.size()), outgoing_(graph.nodes.size()) {
    for (std::int32_t i = 0; i < graph.layers.size(); ++i) {
      layers.emplace_back(graph.layers[i].begin(), graph.layers[i].end());
    }
    for (const LEdge* edge : graph.edges) {
      outgoing_[edge->source_node()->position].push_back(edge);
      incoming_[edge->target_node()->position].push_back(edge);
    }
  }

  std::vector<Layer> layers;

  // Ends of the node's segments in the layer at `index`; one that does not exist has no nodes.
  Reals positions(const LNode* node, std::int64_t index, bool use_source) const {
    Reals found;
    if (index < 0 || index >= std::ssize(layers)) return found;
    const Layer& reference = layers[index];
    for (const LEdge* edge : (use_source ? incoming_ : outgoing_)[node->position]) {
      const SegmentEnd end = use_source ? edge->source : edge->target;
      const auto at = std::find(reference.begin(), reference.end(), end.node());
      if (at == reference.end()) continue;
      found.push_back(static_cast<double>(at - reference.begin()) + (end.index() + 1) / 64.0);
    }
    std::sort(found.begin(), found.end());
    return found;
  }

  Layer order_by_neighbors(std::int64_t index, bool use_source, bool use_median) const {
    std::vector<std::tuple<double, std::string, LNode*>> keyed;
    for (LNode* node : layers[index]) {
      const Reals ends = positions(node, index + (use_source ? -1 : 1), use_source);
      const double sum = std::accumulate(ends.begin(), ends.end(), 0.0);
      const double measure = ends.empty() ? static_cast<double>(keyed.size())
                             : use_median ? naive_median(ends)
                                          : sum / static_cast<double>(ends.size());
      keyed.emplace_back(measure, node->id.str(), node);
    }
    std::sort(keyed.begin(), keyed.end());
    Layer ordered;
    for (const auto& [measure, id, node] : keyed) ordered.push_back(node);
    return ordered;
  }

  Layer adjacent_swap(Layer ordered, std::int64_t index) const {
    bool improved = true;
    for (std::size_t guard = 0; improved && guard < 4 * ordered.size(); ++guard) {
      improved = false;
      for (std::size_t i = 0; i + 1 < ordered.size(); ++i) {
        std::int64_t delta = 0;
        for (const bool use_source : {true, false}) {
          const std::int64_t reference = index + (use_source ? -1 : 1);
          const Reals first = positions(ordered[i], reference, use_source);
          const Reals second = positions(ordered[i + 1], reference, use_source);
          for (const double a : first) {
            for (const double b : second) delta += (b < a) - (a < b);
          }
        }
        if (delta <= 0) continue;
        std::swap(ordered[i], ordered[i + 1]);
        improved = true;
      }
    }
    return ordered;
  }

  std::int64_t crossings() const {
    std::int64_t sum = 0;
    for (std::size_t upper = 0; upper + 1 < layers.size(); ++upper) {
      std::vector<std::array<std::int64_t, 4>> ends;  // place and port of either end
      for (const LEdge* edge : graph_.edges) {
        const std::int64_t source = place(layers[upper], edge->source_node());
        const std::int64_t target = place(layers[upper + 1], edge->target_node());
        if (source < 0 || target < 0) continue;
        ends.push_back({source, edge->source.index(), target, edge->target.index()});
      }
      for (const auto& a : ends) {
        for (const auto& b : ends) sum += a < b && a[2] * 256 + a[3] > b[2] * 256 + b[3];
      }
    }
    return sum;
  }

  void seed_interactive() {
    for (Layer& layer : layers) {
      std::sort(layer.begin(), layer.end(), [&](const LNode* a, const LNode* b) {
        const auto key = [&](const LNode* node) {
          return std::tuple(node->has_origin_y ? origin_y(graph_, *node) : 0.0,
                            node->has_origin_x ? origin_x(graph_, *node) : 0.0, node->id.str());
        };
        return key(a) < key(b);
      });
    }
  }

  void seed_dfs() {
    std::vector<std::int32_t> number(graph_.nodes.size(), -1);
    std::int32_t counter = 0;
    const auto by_id = [](const LNode* a, const LNode* b) { return a->id.str() < b->id.str(); };
    for (Layer roots : layers) {
      std::sort(roots.begin(), roots.end(), by_id);
      for (LNode* root : roots) {
        for (Layer stack = {root}; !stack.empty();) {
          const LNode* current = stack.back();
          stack.pop_back();
          if (number[current->position] >= 0) continue;
          number[current->position] = counter++;
          Layer successors;
          for (const LEdge* edge : outgoing_[current->position]) {
            successors.push_back(edge->target_node());
          }
          std::sort(successors.rbegin(), successors.rend(), by_id);
          stack.insert(stack.end(), successors.begin(), successors.end());
        }
      }
    }
    for (Layer& layer : layers) {
      std::sort(layer.begin(), layer.end(), [&](const LNode* a, const LNode* b) {
        return number[a->position] < number[b->position];
      });
    }
  }

  void reduce() {
    const std::int64_t count = std::ssize(layers);
    if (count < 2 || graph_.options.crossing_strategy == "NONE") return;
    if (graph_.options.crossing_strategy == "INTERACTIVE" && _has_usable_positions(graph_)) {
      seed_interactive();
    } else {
      seed_dfs();
    }
    std::vector<Layer> best = layers;
    std::int64_t best_crossings = seed_crossings = crossings();
    const std::int64_t sweeps = std::max<std::int64_t>(1, graph_.options.thoroughness.value);
    for (std::int64_t pass = 0; pass < 2 * sweeps; ++pass) {
      const bool down = pass % 2 == 0;
      for (std::int64_t step = 1; step < count; ++step) {
        const std::int64_t index = down ? step : count - 1 - step;
        layers[index] = order_by_neighbors(index, down, pass / 2 % 2 == 0);
        layers[index] = adjacent_swap(layers[index], index);
      }
      if (crossings() < best_crossings) {
        best_crossings = crossings();
        best = layers;
      }
      if (best_crossings == 0) break;
    }
    layers = best;
  }

  std::int64_t seed_crossings = 0;

 private:
  static std::int64_t place(const Layer& layer, const LNode* node) {
    const auto at = std::find(layer.begin(), layer.end(), node);
    return at == layer.end() ? -1 : at - layer.begin();
  }

  const LGraph& graph_;
  std::vector<std::vector<const LEdge*>> incoming_;
  std::vector<std::vector<const LEdge*>> outgoing_;
};

TEST(Sweeps, OneLayerEqualsFullScans) {
  Random random(7);
  for (int round = 0; round < 3000; ++round) {
    TestGraph graph;
    fill_layered(graph, random, random_shape(random, 24));
    for (LNode* node : graph.nodes) node->order = random.below(1000);
    graph.rebuild_layers();
    const Naive naive(graph);
    ASSERT_EQ(count_crossings(graph), naive.crossings()) << "round " << round;
    LayerOrders orders(graph);
    orders.sort_ids();
    const std::int32_t layer = random.below(graph.layers.size());
    orders.refresh_keys(layer, FixedLayer::UPPER);
    orders.refresh_keys(layer, FixedLayer::LOWER);
    Layer expected = naive.layers[layer];
    Numbers ordered = list(orders.order(layer));
    if (layer > 0 && random.chance(70)) {
      const bool use_median = random.chance(50);
      _order_by_neighbors(orders, layer, FixedLayer::UPPER, use_median, ordered);
      expected = naive.order_by_neighbors(layer, true, use_median);
    }
    _adjacent_swap(orders, ordered);
    Layer swapped;
    for (const std::int32_t slot : ordered) swapped.push_back(orders.node(slot));
    ASSERT_EQ(swapped, naive.adjacent_swap(expected, layer)) << "round " << round;
  }
}

TEST(Sweeps, AllSweepsAndRecountsGiveTheSameOrder) {
  Random random(8);
  int improved = 0;
  for (int round = 0; round < 4000; ++round) {
    TestGraph graph;
    const bool large = round % 80 == 0;  // where late sweeps still find better orders
    fill_layered(graph, random, large ? Shape{60, 120, 2} : random_shape(random, 22));
    if (random.chance(8)) open_gap(graph, random.between(1, graph.layers.size()) - 1);
    graph.options.crossing_strategy = random.pick({"LAYER_SWEEP", "LAYER_SWEEP", "INTERACTIVE"});
    graph.options.thoroughness.value = large ? random.between(10, 30) : random.between(-1, 9);
    Naive naive(graph);
    naive.reduce();
    reduce_crossings(graph);
    for (std::int32_t i = 0; i < graph.layers.size(); ++i) {
      const Layer layer(graph.layers[i].begin(), graph.layers[i].end());
      ASSERT_EQ(layer, naive.layers[i]) << "round " << round << ", layer " << i;
      for (std::size_t place = 0; place < layer.size(); ++place) {
        ASSERT_EQ(layer[place]->order, static_cast<std::int32_t>(place));
      }
    }
    ASSERT_LE(count_crossings(graph), naive.seed_crossings);
    improved += count_crossings(graph) < naive.seed_crossings;
  }
  EXPECT_GT(improved, 500) << "the sweeps had next to nothing to do";
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
