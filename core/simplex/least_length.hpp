// LeastLength: ranks of least weighted length, for edges that may be shorter and longer.
//
// Starts from any ranks that keep what must be kept. What is tight already makes up trees; a root
// is added, and an edge of no cost from it to each tree, so that all is one tree and nothing has to
// be moved before the first pivot. The first pivots then move whole trees to where they cost least,
// and the root's edges never come back into the tree once they left it.
//
// Edges that may be shorter as well as longer change their slope as a move passes the spot where
// they are tight. A pivot moves on past them for as long as that lowers the cost (the long-step
// rule of bounded dual simplex; Fourer, Notes on the Dual Simplex Method, 1994), which takes the
// place of one pivot each.
//
// Example:
//   using Solver = LeastLength<std::int32_t>;
//   Solver solver(2, std::vector<Solver::Edge>{Solver::Edge::at_least(0, 1, 1, 1)}, ranks,
//   scratch); solver.solve();                       // solver.rank[1] - solver.rank[0] == 1
//
// Cost: near-linear to build. The pivots have no good bound in theory. In practice there are fewer
// than nodes, and they look at 20 nodes and edges for each one of a graph of 1,000 nodes, at 160
// for each one of 10,000. They end after kEffort for each in any case, with ranks that keep what
// must be kept and cost no more than the first ones did.

#ifndef QUILLAN_CORE_SIMPLEX_LEAST_LENGTH_HPP_
#define QUILLAN_CORE_SIMPLEX_LEAST_LENGTH_HPP_

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numeric>
#include <span>
#include <type_traits>
#include <vector>

#include "core/simplex/simplex_tree.hpp"

namespace quillan::vorn_layered {

template <typename Value>
struct WeightedEdge {
  using Number = Value;

  // Never shorter than `length`, at `weight` for each unit beyond.
  static WeightedEdge at_least(std::int32_t tail, std::int32_t head, Value length,
                               std::int32_t weight) {
    return {tail, head, length, weight, -1};
  }
  // At `weight` for each unit that it is longer or shorter than `length`.
  static WeightedEdge near(std::int32_t tail, std::int32_t head, Value length,
                           std::int32_t weight) {
    return {tail, head, length, weight, weight};
  }

  [[nodiscard]] Value length() const { return tight_length; }
  [[nodiscard]] std::int32_t stretch() const { return above; }
  [[nodiscard]] std::int32_t squeeze() const { return below; }
  [[nodiscard]] bool may_shorten() const { return below >= 0; }

  std::int32_t tail;
  std::int32_t head;
  Value tight_length;
  std::int32_t above;  // cost of a unit more
  std::int32_t below;  // cost of a unit less; negative: may not be less
};

template <typename Value>
class LeastLength : private SimplexTree<WeightedEdge<Value>> {
  using Base = SimplexTree<WeightedEdge<Value>>;
  using Side = typename Base::Side;

 public:
  using Edge = WeightedEdge<Value>;

  // REQUIRES: ends from 0 to `node_count` - 1 and different; one rank per node, with which no edge
  // is shorter than it may be; weights that add up to less than 2^30. The arrays live in the open
  // frame of `scratch`.
  LeastLength(std::int32_t node_count, std::span<const Edge> given_edges,
              std::span<const Value> given_ranks, Arena& scratch)
      : LeastLength(Forest(node_count, given_edges, given_ranks, scratch), scratch) {}

  // Moves nodes until no move lowers the cost, or the effort is used up.
  void solve();

  // Of all best ranks, takes some with which more edges are tight that may be shorter as well as
  // longer: what moves at no cost goes to where the first such edge is tight, unless an edge that
  // must not be shorter is tight before. Looks at kTightenEffort nodes and edges for each, at most.
  // REQUIRES: solve().
  void tighten();

  using Base::rank;  // by node, and one more for the root

  // How many pivots the last solve() made.
  std::int32_t pivots = 0;

 private:
  // Slack of reals that is due to rounding.
  static constexpr Value kTight = std::is_floating_point_v<Value> ? static_cast<Value>(1e-9) : 0;
  static constexpr std::int64_t kEffort = 1000;       // per node and edge, before solve() gives up
  static constexpr std::int64_t kTightenEffort = 20;  // the same for tighten()
  static constexpr int kCandidates = 40;

  // The trees of tight edges, joined to a root.
  struct Forest {
    Forest(std::int32_t node_count, std::span<const Edge> given_edges,
           std::span<const Value> given_ranks, Arena& scratch);
    std::int32_t find(std::int32_t node) {
      while (above[node] != node) node = above[node] = above[above[node]];
      return node;
    }

    std::int32_t root;
    std::span<Edge> edges;          // the given ones, then those of the root
    std::span<Value> ranks;         // the given ones, then the root's
    std::span<bool> tight;          // by edge: whether it is in the forest
    std::span<std::int32_t> above;  // union-find
    std::size_t used;
  };

  // Where a move changes its slope.
  struct Breakpoint {
    Value distance;
    std::int32_t position;
    bool operator<(const Breakpoint& other) const {
      return distance != other.distance ? distance < other.distance : position < other.position;
    }
    bool operator>(const Breakpoint& other) const { return other < *this; }
  };

  LeastLength(Forest forest, Arena& scratch);

  [[nodiscard]] std::int32_t slope(std::int32_t position) const {
    const Edge& edge = edges[position];
    return below_[position] ? -edge.squeeze() : edge.stretch();
  }
  // Whether it has no slope to change.
  [[nodiscard]] bool is_free(std::int32_t position) const {
    const Edge& edge = edges[position];
    return edge.may_shorten() && edge.stretch() + edge.squeeze() == 0;
  }
  // What a unit of the move that takes this tree edge out saves; positive where it should leave.
  [[nodiscard]] std::int64_t gain(std::int32_t position) const {
    const Edge& edge = edges[position];
    return cut[position] < 0 ? -cut[position] : cut[position] - edge.stretch() - edge.squeeze();
  }
  std::int32_t choose_leaving();
  void set_ranks_by_tree(std::span<std::int32_t> upward);
  void hang();
  bool pivot(std::int32_t leaving);
  // Whether a tree edge may leave at no cost, and is none of those that should be tight.
  [[nodiscard]] bool leaves_freely(std::int32_t position) const {
    return in_tree[position] && cut[position] == 0 &&
           (!edges[position].may_shorten() || is_free(position));
  }
  bool reaches_tight(const Side& side, bool head_rises);
  void enter(std::int32_t leaving, const Side& side, bool head_rises, std::int32_t per_unit);
  void collect_breakpoints(const Side& side, bool head_rises);
  void flip(std::int32_t position);

  using Base::count;
  using Base::cut;
  using Base::edges;
  using Base::in_tree;
  using Base::parent_edge;

  std::int32_t root_ = 0;
  Arena& scratch_;
  std::int32_t cursor_ = 0;  // where the next round of choices begins
  std::span<bool> below_;    // per edge outside the tree: whether it counts as shorter than tight
  std::vector<Breakpoint> breakpoints_;
};

template <typename Value>
LeastLength<Value>::Forest::Forest(std::int32_t node_count, std::span<const Edge> given_edges,
                                   std::span<const Value> given_ranks, Arena& scratch)
    : root(node_count),
      edges(scratch.raw_array<Edge>(given_edges.size() + node_count)),
      ranks(scratch.raw_array<Value>(node_count + 1)),
      tight(scratch.array<bool>(given_edges.size() + node_count, false)),
      above(scratch.raw_array<std::int32_t>(node_count)),
      used(given_edges.size()) {
  std::copy(given_edges.begin(), given_edges.end(), edges.begin());
  std::copy(given_ranks.begin(), given_ranks.end(), ranks.begin());
  ranks[root] = 0;
  std::iota(above.begin(), above.end(), 0);
  for (std::size_t position = 0; position < used; ++position) {
    const Edge& edge = edges[position];
    const Value slack = ranks[edge.head] - ranks[edge.tail] - edge.length();
    if (!(std::abs(slack) <= kTight)) continue;
    const std::int32_t tail = find(edge.tail);
    const std::int32_t head = find(edge.head);
    if (tail == head) continue;
    above[std::max(tail, head)] = std::min(tail, head);
    tight[position] = true;
  }
  for (std::int32_t node = 0; node < node_count; ++node) {
    if (above[node] != node) continue;
    tight[used] = true;
    edges[used++] = Edge::near(root, node, ranks[node], 0);
  }
}

template <typename Value>
LeastLength<Value>::LeastLength(Forest forest, Arena& scratch)
    : Base(forest.root + 1, forest.root, forest.edges.first(forest.used), forest.ranks, scratch),
      root_(forest.root),
      scratch_(scratch),
      below_(scratch.array<bool>(forest.used, false)) {
  for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size()); ++position) {
    in_tree[position] = forest.tight[position];
    if (in_tree[position]) continue;
    below_[position] = edges[position].may_shorten() && this->slack(position) < 0;
  }
  this->link_tree();
  hang();
}

// Sets parents, and ranks without the rounding of pivots; fills `upward` with every node before its
// parent.
template <typename Value>
void LeastLength<Value>::set_ranks_by_tree(std::span<std::int32_t> upward) {
  std::int32_t begin = count;  // filled from the end, the root last
  upward[--begin] = root_;
  for (std::int32_t cursor = count - 1; cursor >= begin; --cursor) {
    const std::int32_t node = upward[cursor];
    for (const TreeLink& link : this->tree_links(node)) {
      if (link.position() == parent_edge[node]) continue;
      parent_edge[link.other] = link.position();
      const Value length = edges[link.position()].length();
      rank[link.other] = link.leaves() ? rank[node] + length : rank[node] - length;
      upward[--begin] = link.other;
    }
  }
}

template <typename Value>
void LeastLength<Value>::hang() {
  const Arena::Frame frame(scratch_);
  const std::span<std::int32_t> upward = scratch_.raw_array<std::int32_t>(count);
  set_ranks_by_tree(upward);
  for (const std::int32_t node : upward) {
    if (node != root_) this->size_[this->parent(node)] += this->size_[node];
  }
  const std::span<std::int32_t> surplus = scratch_.array<std::int32_t>(count, 0);
  for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size()); ++position) {
    surplus[edges[position].tail] -= slope(position);
    surplus[edges[position].head] += slope(position);
  }
  this->set_all_cuts(surplus, upward);
}

// Of the next few edges that should leave, in a round over all positions, the one whose move gains
// most for each node moved; the first of equals. Against taking the next one as it comes that saves
// nine of ten steps on a graph of 10,000 nodes, and looking at all of them saves no more.
template <typename Value>
std::int32_t LeastLength<Value>::choose_leaving() {
  const auto from = [&](std::int32_t position) {
    const std::int32_t found = this->next_unfit(position);
    return found >= 0 ? found : this->next_unfit(0);
  };
  const auto nodes_moved = [&](std::int32_t position) -> std::int64_t {
    const std::int32_t below = this->size_[this->child_of(position)];
    return std::min(below, count - below);
  };
  const std::int32_t first = from(cursor_);
  if (first < 0) return -1;
  std::int32_t best = first;
  std::int32_t last = first;
  for (int looked_at = 1; looked_at < kCandidates; ++looked_at) {
    const std::int32_t next = from(last + 1);
    if (next == first) break;
    last = next;
    if (gain(next) * nodes_moved(best) > gain(best) * nodes_moved(next)) best = next;
  }
  cursor_ = last + 1;
  return best;
}

// The edges whose slope changes as the side of the leaving edge's head rises, or sinks, as a heap.
template <typename Value>
void LeastLength<Value>::collect_breakpoints(const Side& side, bool head_rises) {
  breakpoints_.clear();
  // Seen from the small side, an edge that leaves it gets shorter as the side rises.
  const bool small_rises = side.has_head == head_rises;
  this->for_each_crossing(side, [&](const TreeLink& link) {
    const std::int32_t position = link.position();
    const bool shortens = link.leaves() == small_rises;
    if (shortens == below_[position] || is_free(position)) return;
    const Value distance = shortens ? this->slack(position) : -this->slack(position);
    breakpoints_.push_back({std::max(distance, Value{0}), position});
  });
  std::make_heap(breakpoints_.begin(), breakpoints_.end(), std::greater<>());
}

// Has an edge outside the tree count as longer where it counted as shorter, or the reverse.
template <typename Value>
void LeastLength<Value>::flip(std::int32_t position) {
  const std::int32_t before = slope(position);
  below_[position] = !below_[position];
  this->add_flow(edges[position].tail, edges[position].head, before - slope(position));
}

// Moves the smaller side of the leaving edge's cut to where that costs least. False if it costs
// less however far it moves.
template <typename Value>
bool LeastLength<Value>::pivot(std::int32_t leaving) {
  const Side side = this->smaller_side(leaving);
  const bool head_rises = cut[leaving] < 0;  // else the edge gets shorter
  collect_breakpoints(side, head_rises);
  while (!breakpoints_.empty()) {
    const std::int32_t position = breakpoints_.front().position;
    const Edge& in = edges[position];
    const std::int32_t per_unit = static_cast<std::int32_t>(gain(leaving));
    if (!in.may_shorten() || in.stretch() + in.squeeze() >= per_unit) {
      enter(leaving, side, head_rises, per_unit);
      return true;
    }
    flip(position);
    std::pop_heap(breakpoints_.begin(), breakpoints_.end(), std::greater<>());
    breakpoints_.pop_back();
  }
  return false;
}

// Moves the side to the first breakpoint, whose edge takes the place of the leaving one. A unit of
// the move saves `per_unit`.
template <typename Value>
void LeastLength<Value>::enter(std::int32_t leaving, const Side& side, bool head_rises,
                               std::int32_t per_unit) {
  const auto [distance, position] = breakpoints_.front();
  const Edge& in = edges[position];
  const Value shift = side.has_head == head_rises ? distance : -distance;
  for (const std::int32_t node : side.nodes) rank[node] += shift;
  below_[leaving] = !head_rises;
  const std::int32_t entering_cut =
      below_[position] ? in.stretch() + in.squeeze() - per_unit : per_unit;
  below_[position] = false;
  this->replace(leaving, position, side, head_rises ? -per_unit : per_unit, entering_cut);
}

template <typename Value>
void LeastLength<Value>::solve() {
  const std::int64_t limit = kEffort * (count + static_cast<std::int64_t>(edges.size()));
  pivots = 0;
  while (this->effort_ < limit) {
    const std::int32_t leaving = choose_leaving();
    if (leaving < 0 || !pivot(leaving)) break;
    ++pivots;
  }
  const Arena::Frame frame(scratch_);
  set_ranks_by_tree(scratch_.raw_array<std::int32_t>(count));
}

// Whether the first breakpoint on the way of the side is that of an edge that may be shorter.
template <typename Value>
bool LeastLength<Value>::reaches_tight(const Side& side, bool head_rises) {
  collect_breakpoints(side, head_rises);
  return !breakpoints_.empty() && edges[breakpoints_.front().position].may_shorten();
}

template <typename Value>
void LeastLength<Value>::tighten() {
  const std::int64_t size = count + static_cast<std::int64_t>(edges.size());
  const std::int64_t limit = this->effort_ + kTightenEffort * size;
  for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size()); ++position) {
    if (!leaves_freely(position)) continue;
    if (this->effort_ >= limit) break;
    const Side side = this->smaller_side(position);
    for (const bool head_rises : {true, false}) {
      if (!head_rises && !is_free(position)) break;  // must not get shorter
      if (!reaches_tight(side, head_rises)) continue;
      enter(position, side, head_rises, 0);
      break;
    }
  }
  const Arena::Frame frame(scratch_);
  set_ranks_by_tree(scratch_.raw_array<std::int32_t>(count));
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_SIMPLEX_LEAST_LENGTH_HPP_
