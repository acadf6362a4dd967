#include "core/placement/straighten.hpp"

#include <cmath>
#include <cstdint>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"
#include "core/simplex/least_length.hpp"

namespace quillan::vorn_layered {

namespace {

using Solver = LeastLength<double>;

// The pinned nodes move as one, if they moved at all: they share node 0 of the solver, whose rank
// is 0.0, and a coordinate counts from there.
class Problem {
 public:
  Problem(LGraph& graph, std::span<const bool> pinned)
      : graph_(graph),
        pinned_(pinned),
        number_(graph.scratch.raw_array<std::int32_t>(graph.nodes.size())),
        ranks_(graph.scratch.raw_array<double>(graph.nodes.size() + 1)),
        edges_(graph.scratch.raw_array<Solver::Edge>(graph.nodes.size() + graph.edges.size())) {
    ranks_[0] = 0.0;
    for (const LNode* node : graph.nodes) {
      if (pinned[node->position]) {
        number_[node->position] = 0;
      } else {
        number_[node->position] = count_;
        ranks_[count_++] = node->y;
      }
    }
    add_separations();
    add_segments();
  }

  void solve() {
    Solver solver(count_, edges_.first(used_), ranks_.first(count_), graph_.scratch);
    solver.solve();
    solver.tighten();
    for (LNode* node : graph_.nodes) {
      if (!pinned_[node->position]) node->y = solver.rank[number_[node->position]] - solver.rank[0];
    }
  }

 private:
  // The coordinate of `node` less the rank of its number.
  [[nodiscard]] double base(const LNode& node) const {
    return pinned_[node.position] ? node.y : 0.0;
  }
  // Wants `to` to stand `distance` beyond `from`.
  void add(const LNode& from, const LNode& to, double distance, std::int32_t weight,
           bool at_least) {
    const std::int32_t tail = number_[from.position];
    const std::int32_t head = number_[to.position];
    if (tail == head) return;
    const double length = distance + base(from) - base(to);
    edges_[used_++] = at_least ? Solver::Edge::at_least(tail, head, length, weight)
                               : Solver::Edge::near(tail, head, length, weight);
  }
  void add_separations() {
    for (std::int32_t layer = 0; layer < graph_.layers.size(); ++layer) {
      const LNode* previous = nullptr;
      for (const LNode* node : graph_.layers[layer]) {
        if (previous != nullptr) {
          const double spacing = _spacing_between(*previous, *node, graph_.options);
          add(*previous, *node, previous->height() + spacing, 0, true);
        }
        previous = node;
      }
    }
  }
  void add_segments() {
    for (const LEdge* edge : graph_.edges) {
      const LNode& from = *edge->source_node();
      const LNode& to = *edge->target_node();
      const int dummies = static_cast<int>(from.is_dummy()) + static_cast<int>(to.is_dummy());
      add(from, to, edge->source.offset() - edge->target.offset(), SEGMENT_WEIGHTS[dummies], false);
    }
  }

  LGraph& graph_;
  std::span<const bool> pinned_;
  std::span<std::int32_t> number_;  // by position in LGraph::nodes: the solver's node
  std::span<double> ranks_;
  std::span<Solver::Edge> edges_;
  std::int32_t count_ = 1;
  std::size_t used_ = 0;
};

// The weighted length of all segments across the flow.
double length_of(const LGraph& graph) {
  double length = 0.0;
  for (const LEdge* edge : graph.edges) {
    const int dummies = static_cast<int>(edge->source_node()->is_dummy()) +
                        static_cast<int>(edge->target_node()->is_dummy());
    length += SEGMENT_WEIGHTS[dummies] * std::abs(edge->source.y() - edge->target.y());
  }
  return length;
}

// Means along the flow and against it come so near to the best drawing that a seventh of the
// pivots' work is left (a graph of 1,000 nodes). One round does for most graphs; where the layers
// are many and the wires short, more of them leave less than half of that.
void lean_both_ways(LGraph& graph, std::span<const bool> pinned) {
  constexpr int kRounds = 20;
  constexpr double kWorthwhile = 0.9;  // what may be left of the length for one more round
  const IncidentMaps maps = _incident_maps(graph);
  double before = 0.0;
  for (int round = 0; round < kRounds; ++round) {
    for (const bool forward : {true, false}) lean(graph, pinned, maps, forward);
    const double length = length_of(graph);
    if (round > 0 && !(length < kWorthwhile * before)) break;
    before = length;
  }
}

}  // namespace

bool can_straighten(const LGraph& graph) {
  constexpr double kFar = 1e100;
  const LayoutOptions& options = graph.options;
  double sum = std::abs(options.spacing_node_node) + std::abs(options.spacing_edge_edge) +
               std::abs(options.spacing_edge_node);
  sum *= static_cast<double>(graph.nodes.size());
  for (const LNode* node : graph.nodes) sum += std::abs(node->y) + std::abs(node->height());
  for (const LEdge* edge : graph.edges) {
    sum += std::abs(edge->source.offset()) + std::abs(edge->target.offset());
  }
  return sum <= kFar;  // false for what is not a number, too
}

void straighten(LGraph& graph, std::span<const bool> pinned) {
  const Arena::Frame frame(graph.scratch);
  lean_both_ways(graph, pinned);
  Problem(graph, pinned).solve();
  push_apart_in_order(graph);
}

void push_apart_in_order(LGraph& graph) {
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    const LNode* previous = nullptr;
    for (LNode* node : graph.layers[layer]) {
      if (previous != nullptr) {
        const double spacing = _spacing_between(*previous, *node, graph.options);
        node->y = larger(node->y, previous->y + previous->height() + spacing);
      }
      previous = node;
    }
  }
}

}  // namespace quillan::vorn_layered
