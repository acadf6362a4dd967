#include <algorithm>
#include <limits>
#include <span>

#include "core/analysis.hpp"
#include "core/base/reals.hpp"
#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

namespace {

// A node as the sweep along the flow sees it.
struct Interval {
  double start;
  double end;
  LNode* node;
};

// The columns of a drawing, found from left to right. `layer` of a node serves as its column until
// all columns are known.
class Columns {
 public:
  explicit Columns(LGraph& graph)
      : graph_(graph),
        nodes_(graph.scratch.raw_array<Interval>(graph.nodes.size())),
        bridges_(graph.scratch.raw_array<bool>(graph.nodes.size())),
        least_end_(graph.scratch.raw_array<double>(graph.nodes.size())) {
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
      LNode* node = graph.nodes[i];
      const double start = seen_along_flow(graph, *node);
      nodes_[i] = {start, start + node->width(), node};
    }
    std::stable_sort(nodes_.begin(), nodes_.end(), [](const Interval& a, const Interval& b) {
      if (const int order = compare_reals(a.start, b.start)) return order < 0;
      return compare(a.node->id, b.node->id) < 0;
    });
  }

  // Numbers the columns in `layer` of their nodes, and returns how many there are.
  std::int32_t find() {
    for_each_band(nodes_, [&](std::span<Interval> band) {
      number(band);
      ++bands_;
    });
    const std::span<bool> has_edges = edges_inside(bands_);
    for_each_band(nodes_, [&](std::span<Interval> band) {
      if (has_edges[band[0].node->layer]) {
        split(band);
      } else {
        take(band);
      }
    });
    return count_;
  }

 private:
  // Runs of nodes that overlap one another along the flow.
  template <typename Visit>
  static void for_each_band(std::span<Interval> nodes, const Visit& visit) {
    for (std::size_t begin = 0, end = 0; begin < nodes.size(); begin = end) {
      double reach = nodes[begin].end;
      for (end = begin + 1; end < nodes.size() && nodes[end].start < reach; ++end) {
        reach = larger(reach, nodes[end].end);
      }
      visit(nodes.subspan(begin, end - begin));
    }
  }
  void number(std::span<Interval> band) const {
    for (const Interval& interval : band) interval.node->layer = bands_;
  }
  void take(std::span<const Interval> column) {
    for (const Interval& interval : column) interval.node->layer = count_;
    ++count_;
  }
  // By band: whether an edge joins two of its nodes, which cannot share a layer then.
  [[nodiscard]] std::span<bool> edges_inside(std::int32_t bands) const {
    const std::span<bool> found = graph_.scratch.array<bool>(bands, false);
    for (const LEdge* edge : graph_.edges) {
      const std::int32_t source = edge->source_node()->position;
      const std::int32_t target = edge->target_node()->position;
      if (source < 0 || target < 0) continue;
      // Ends may be nodes outside the graph that have the ids of nodes in it.
      const std::int32_t band = graph_.nodes[source]->layer;
      if (graph_.nodes[target]->layer == band) found[band] = true;
    }
    return found;
  }

  // Takes the nodes that alone hold the band together for columns of their own: a node set between
  // two columns must not make one of them. What is left falls into columns again.
  void split(std::span<Interval> band) {
    mark_bridges(band);
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= band.size(); ++i) {
      if (i < band.size() && !bridges_[i]) continue;
      pierce(band.subspan(begin, i - begin));
      if (i < band.size()) take(band.subspan(i, 1));
      begin = i + 1;
    }
  }
  void mark_bridges(std::span<const Interval> band) {
    std::fill_n(bridges_.begin(), band.size(), false);
    constexpr double kNowhere = -std::numeric_limits<double>::infinity();
    std::size_t farthest = 0;
    double reach_of_others = kNowhere;
    for (std::size_t i = 1; i < band.size(); ++i) {
      const double since = larger(reach_of_others, band[farthest].start);
      if (reach_of_others != kNowhere && band[i].start > since) bridges_[farthest] = true;
      if (band[i].end > band[farthest].end) {
        reach_of_others = larger(reach_of_others, band[farthest].end);
        farthest = i;
      } else {
        reach_of_others = larger(reach_of_others, band[i].end);
      }
    }
  }
  // As few columns as can be so that the nodes of each have a line across the flow in common: again
  // and again, what the end of the first node to end runs through.
  void pierce(std::span<Interval> nodes) {
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = nodes.size(); i-- > 0;) {
      least = smaller(least, nodes[i].end);
      least_end_[i] = least;
    }
    for (std::size_t begin = 0, end = 0; begin < nodes.size(); begin = end) {
      for (end = begin + 1; end < nodes.size() && nodes[end].start < least_end_[begin];) ++end;
      take(nodes.subspan(begin, end - begin));
    }
  }

  LGraph& graph_;
  std::span<Interval> nodes_;
  std::span<bool> bridges_;  // by place in the band at hand
  std::span<double> least_end_;
  std::int32_t bands_ = 0;
  std::int32_t count_ = 0;
};

// The longest way along edges inside a column that ends at each node, or that begins there.
std::span<std::int32_t> depths(LGraph& graph, const Grouped& neighbours,
                               std::span<const std::int32_t> order, bool forward) {
  const std::span<std::int32_t> depth = graph.scratch.array<std::int32_t>(order.size(), 0);
  for (std::size_t i = 0; i < order.size(); ++i) {
    const std::int32_t node = order[forward ? i : order.size() - 1 - i];
    for (const std::int32_t other : neighbours[node]) {
      if (graph.nodes[other]->layer != graph.nodes[node]->layer) continue;
      depth[node] = std::max(depth[node], depth[other] + 1);
    }
  }
  return depth;
}

// Gives each column as many layers as edges inside it need, and its nodes the first of these or the
// last, whichever keeps more of them together.
void spread(LGraph& graph, std::int32_t columns) {
  const Adjacency adjacency = _adjacency(graph);
  const std::span<const std::int32_t> order = _topological_order(graph, adjacency);
  const std::span<std::int32_t> early = depths(graph, adjacency.pred, order, true);
  const std::span<std::int32_t> late = depths(graph, adjacency.succ, order, false);
  const std::span<std::int32_t> base = graph.scratch.array<std::int32_t>(columns + 1, 0);
  const std::span<std::int32_t> lead = graph.scratch.array<std::int32_t>(columns, 0);
  for (const LNode* node : graph.nodes) {
    const std::int32_t column = node->layer;
    base[column + 1] = std::max(base[column + 1], early[node->position] + 1);
    lead[column] += static_cast<int>(early[node->position] == 0);
    lead[column] -= static_cast<int>(late[node->position] == 0);
  }
  for (std::int32_t column = 0; column < columns; ++column) base[column + 1] += base[column];
  for (LNode* node : graph.nodes) {
    const std::int32_t column = node->layer;
    node->layer = lead[column] >= 0 ? base[column] + early[node->position]
                                    : base[column + 1] - 1 - late[node->position];
  }
}

}  // namespace

void layer_by_columns(LGraph& graph) {
  const Arena::Frame frame(graph.scratch);
  const std::int32_t columns = Columns(graph).find();
  spread(graph, columns);
  // A graph whose cycles were broken otherwise than by its positions may have edges back.
  push_behind_predecessors(graph, OwnLayer::KEEP);
}

}  // namespace quillan::vorn_layered
