// SimplexTree: a spanning tree of tight edges, and the pivots that change it.
//
// The problem is to give every node of a graph a rank so that the weighted lengths of all edges add
// up to as little as possible. An edge is tight where its head's rank is its tail's plus the edge's
// length. It costs `stretch()` for every unit that it is longer than that, and `squeeze()` for
// every unit that it is shorter, or may not be shorter at all.
//
// After Gansner, Koutsofios, North and Vo, A Technique for Drawing Directed Graphs (1993), section
// 2.3. The cut value of a tree edge says how the cost grows when the two parts that the tree falls
// into without the edge are moved apart along it. It is a signed sum over the edges between the
// parts. A pivot takes an edge out of the tree whose cut value shows that a move lowers the cost,
// and takes in the edge that ends the move.
//
// A pivot touches only the smaller of the two parts and the tree path between the ends of the
// entering edge: no other cut value and no other slack changes. Cut values are integers, so they
// stay exact whatever the ranks are.
//
// Which edge leaves and which one enters is for the users to say: _NetworkSimplex has the rules
// of its definition, LeastLength those that are quick.

#ifndef QUILLAN_CORE_SIMPLEX_SIMPLEX_TREE_HPP_
#define QUILLAN_CORE_SIMPLEX_SIMPLEX_TREE_HPP_

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "core/base/arena.hpp"
#include "core/base/grouped.hpp"
#include "core/base/index_set.hpp"
#include "core/simplex/tree_links.hpp"

namespace quillan::vorn_layered {

// What an edge of a SimplexTree has to offer, and the plainest one: length 1, weight 1, never
// shorter.
struct RankEdge {
  using Number = std::int32_t;

  std::int32_t tail;
  std::int32_t head;

  [[nodiscard]] static constexpr Number length() { return 1; }
  [[nodiscard]] static constexpr std::int32_t stretch() { return 1; }
  // 0 or more, and without a meaning where `may_shorten()` is false.
  [[nodiscard]] static constexpr std::int32_t squeeze() { return 0; }
  [[nodiscard]] static constexpr bool may_shorten() { return false; }
};

template <typename Edge>
class SimplexTree {
 public:
  using Number = typename Edge::Number;

  // A graph whose tree, to be made, hangs from `root`. REQUIRES: ends from 0 to `node_count` - 1
  // and different; one rank per node. The arrays live in the open frame of `scratch`.
  SimplexTree(std::int32_t node_count, std::int32_t root, std::span<const Edge> all_edges,
              std::span<const Number> initial_ranks, Arena& scratch)
      : count(node_count),
        edges(all_edges),
        rank(scratch.raw_array<Number>(count)),
        incident(edges_at_nodes(count, all_edges, scratch)),
        in_tree(scratch.array<bool>(edges.size(), false)),
        parent_edge(scratch.array<std::int32_t>(count, -1)),
        cut(scratch.array<std::int32_t>(edges.size(), 0)),
        size_(scratch.array<std::int32_t>(count, 1)),
        links_(incident, all_edges, scratch),
        unfit_(static_cast<std::int32_t>(edges.size()), scratch),
        side_(scratch.array<std::int32_t>(count, 0)),
        climb_(scratch.array<std::int32_t>(count, 0)),
        root_(root) {
    assert(initial_ranks.size() == rank.size());
    for ([[maybe_unused]] const Edge& edge : edges) assert(edge.tail != edge.head);
    std::copy(initial_ranks.begin(), initial_ranks.end(), rank.begin());
  }

  [[nodiscard]] Number slack(std::int32_t position) const {
    const Edge& edge = edges[position];
    return rank[edge.head] - rank[edge.tail] - edge.length();
  }
  [[nodiscard]] std::int32_t other_end(std::int32_t position, std::int32_t node) const {
    return edges[position].tail == node ? edges[position].head : edges[position].tail;
  }

  std::int32_t count;
  std::span<const Edge> edges;
  std::span<Number> rank;
  Grouped incident;                     // edges at each node, in edge order
  std::span<bool> in_tree;              // per edge
  std::span<std::int32_t> parent_edge;  // per node; -1 at the root and outside the tree
  std::span<std::int32_t> cut;          // per edge; 0 outside the tree

 protected:
  // The nodes on one side of a cut. REQUIRES of all that take one: no pivot since it was made.
  struct Side {
    std::span<const std::int32_t> nodes;
    bool is_subtree = false;  // whether it lies below the edge
    bool has_head = false;    // whether it holds the edge's head
  };

  [[nodiscard]] std::int32_t parent(std::int32_t node) const {
    return other_end(parent_edge[node], node);
  }
  // The end of a tree edge that lies farther from the root.
  [[nodiscard]] std::int32_t child_of(std::int32_t position) const {
    const Edge& edge = edges[position];
    return parent_edge[edge.head] == position ? edge.head : edge.tail;
  }

  // Brings the links of the tree in line with `in_tree`. Linear.
  void link_tree() {
    for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size());
         ++position) {
      if (in_tree[position] != links_.in_tree(position)) relink(position);
    }
  }
  [[nodiscard]] std::span<const TreeLink> tree_links(std::int32_t node) const {
    return links_.tree(node);
  }

  // A tree edge that should leave: the first one from `from` on, or -1.
  [[nodiscard]] std::int32_t next_unfit(std::int32_t from) const { return unfit_.next(from); }

  // All cut values. `surplus` holds, by node, the slopes of the edges that enter it less those of
  // the edges that leave it, a tree edge counting with its stretch; it is used up. `upward` lists
  // every node before its parent. Linear.
  void set_all_cuts(std::span<std::int32_t> surplus, std::span<const std::int32_t> upward);
  void set_cut(std::int32_t position, std::int32_t value);

  // The smaller side of the cut of a tree edge, found along the tree. Costs its nodes.
  Side smaller_side(std::int32_t leaving);
  // Calls `visit(link)` for every edge outside the tree from a node of the side to the other one.
  // Costs the edges at the side's nodes.
  template <typename Visit>
  void for_each_crossing(const Side& side, const Visit& visit) {
    for (const std::int32_t node : side.nodes) {
      const std::span<const TreeLink> links = links_.rest(node);
      effort_ += static_cast<std::int64_t>(links.size());
      for (const TreeLink& link : links) {
        if (side_[link.other] != side_stamp_) visit(link);
      }
    }
  }

  // For a flow of `change` more along the tree from `from` to `to`: an edge that points along the
  // path loses `change` of its cut value, one that points against it gains as much. Returns the
  // node of the path that is nearest to the root.
  std::int32_t add_flow(std::int32_t from, std::int32_t to, std::int32_t change);

  // Has `entering` take the place of `leaving` in the tree. `flow` is what the leaving edge will
  // carry less what it carries now, and `entering_cut` the cut value of the entering edge.
  // REQUIRES: `side` is the smaller side of the leaving edge, which the other one crosses. Ranks
  // stay as they are. Costs the tree path between the ends of `entering`.
  void replace(std::int32_t leaving, std::int32_t entering, const Side& side, std::int32_t flow,
               std::int32_t entering_cut);

  std::span<std::int32_t> size_;  // per node: the nodes of its subtree
  std::int64_t effort_ = 0;       // nodes and edges that pivots have looked at so far

 private:
  static Grouped edges_at_nodes(std::int32_t count, std::span<const Edge> edges, Arena& scratch);
  void relink(std::int32_t position) {
    in_tree[position] ? links_.add_to_tree(position) : links_.take_from_tree(position);
  }
  std::int32_t lowest_common_ancestor(std::int32_t a, std::int32_t b);
  void reroot(std::int32_t from, std::int32_t old_top, std::int32_t entering, std::int32_t above);

  TreeLinks<Edge> links_;
  IndexSet unfit_;                 // tree edges that should leave
  std::span<std::int32_t> side_;   // per node: the stamp of the last search that reached it
  std::span<std::int32_t> climb_;  // the same for walks towards the root
  std::int32_t stamp_ = 0;
  std::vector<std::int32_t> small_;  // the nodes of the last smaller_side
  std::int32_t side_stamp_ = 0;      // what `side_` says of them
  std::int32_t root_;
};

template <typename Edge>
Grouped SimplexTree<Edge>::edges_at_nodes(std::int32_t count, std::span<const Edge> edges,
                                          Arena& scratch) {
  const std::span<std::int32_t> ends = scratch.raw_array<std::int32_t>(edges.size() * 2);
  for (std::size_t i = 0; i < edges.size(); ++i) {
    ends[2 * i] = edges[i].tail;
    ends[2 * i + 1] = edges[i].head;
  }
  const Grouped by_end = group_by(ends, count, scratch);
  const std::span<std::int32_t> items = scratch.raw_array<std::int32_t>(ends.size());
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = by_end.items[i] / 2;
  return {by_end.starts, items};
}

template <typename Edge>
void SimplexTree<Edge>::set_cut(std::int32_t position, std::int32_t value) {
  cut[position] = value;
  const Edge& edge = edges[position];
  const bool too_long = edge.may_shorten() && value > edge.stretch() + edge.squeeze();
  if (in_tree[position] && (value < 0 || too_long)) {
    unfit_.insert(position);
  } else {
    unfit_.erase(position);
  }
}

template <typename Edge>
void SimplexTree<Edge>::set_all_cuts(std::span<std::int32_t> surplus,
                                     std::span<const std::int32_t> upward) {
  // A node comes after its whole subtree, whose edges with both ends inside cancel.
  for (const std::int32_t node : upward) {
    if (parent_edge[node] >= 0) surplus[parent(node)] += surplus[node];
  }
  for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size()); ++position) {
    if (!in_tree[position]) {
      set_cut(position, 0);
      continue;
    }
    const std::int32_t child = child_of(position);
    set_cut(position, child == edges[position].head ? surplus[child] : -surplus[child]);
  }
}

template <typename Edge>
typename SimplexTree<Edge>::Side SimplexTree<Edge>::smaller_side(std::int32_t leaving) {
  const std::int32_t child = child_of(leaving);
  const bool is_subtree = 2 * size_[child] <= size_[root_];
  const std::int32_t start = is_subtree ? child : other_end(leaving, child);
  side_stamp_ = ++stamp_;
  small_.assign(1, start);
  side_[start] = side_stamp_;
  for (std::size_t cursor = 0; cursor < small_.size(); ++cursor) {
    for (const TreeLink& link : links_.tree(small_[cursor])) {
      if (side_[link.other] == side_stamp_ || link.position() == leaving) continue;
      side_[link.other] = side_stamp_;
      small_.push_back(link.other);
    }
  }
  effort_ += static_cast<std::int64_t>(small_.size());
  return {small_, is_subtree, start == edges[leaving].head};
}

template <typename Edge>
std::int32_t SimplexTree<Edge>::lowest_common_ancestor(std::int32_t a, std::int32_t b) {
  // Both climb in turn; the first to stand where the other has been has found the ancestor.
  const std::int32_t stamp = ++stamp_;
  while (true) {
    if (a >= 0) {
      if (climb_[a] == stamp) return a;
      climb_[a] = stamp;
      a = parent_edge[a] >= 0 ? parent(a) : -1;
      ++effort_;
    }
    std::swap(a, b);
  }
}

template <typename Edge>
std::int32_t SimplexTree<Edge>::add_flow(std::int32_t from, std::int32_t to, std::int32_t change) {
  const std::int32_t top = lowest_common_ancestor(from, to);
  for (std::int32_t node = from; node != top; node = parent(node)) {
    const std::int32_t position = parent_edge[node];
    const bool along = edges[position].tail == node;
    set_cut(position, cut[position] + (along ? -change : change));
  }
  for (std::int32_t node = to; node != top; node = parent(node)) {
    const std::int32_t position = parent_edge[node];
    const bool along = edges[position].head == node;
    set_cut(position, cut[position] + (along ? -change : change));
  }
  return top;
}

template <typename Edge>
void SimplexTree<Edge>::replace(std::int32_t leaving, std::int32_t entering, const Side& side,
                                std::int32_t flow, std::int32_t entering_cut) {
  assert((side_[edges[entering].tail] == side_stamp_) !=
         (side_[edges[entering].head] == side_stamp_));
  const std::int32_t child = child_of(leaving);
  const Edge& edge = edges[entering];
  // The ends of the entering edge on the sides of the leaving one's tail and head.
  const bool tail_is_small = side_[edge.tail] == side_stamp_;
  const bool against = tail_is_small == side.has_head;
  const std::int32_t at_tail = against ? edge.head : edge.tail;
  const std::int32_t at_head = against ? edge.tail : edge.head;
  const std::int32_t top = add_flow(at_tail, at_head, flow);
  in_tree[leaving] = false;
  in_tree[entering] = true;
  relink(leaving);
  relink(entering);
  set_cut(leaving, 0);
  set_cut(entering, entering_cut);
  reroot(child == edges[leaving].head ? at_head : at_tail, child, entering, top);
}

// Hangs the subtree that ended at `old_top` onto `entering`, whose end in it is `from`. Sizes do
// not change from `above` on, which lies over both ends of the edge.
template <typename Edge>
void SimplexTree<Edge>::reroot(std::int32_t from, std::int32_t old_top, std::int32_t entering,
                               std::int32_t above) {
  const std::int32_t total = size_[old_top];
  for (std::int32_t node = parent(old_top); node != above; node = parent(node)) {
    size_[node] -= total;
  }
  std::int32_t below = 0;  // the size that the node before on the path had
  for (std::int32_t node = from, position = entering;;) {
    const std::int32_t up = parent_edge[node];
    const std::int32_t next = other_end(up, node);
    parent_edge[node] = position;
    below = std::exchange(size_[node], total - below);
    if (node == old_top) break;
    position = up;
    node = next;
  }
  for (std::int32_t node = parent(from); node != above; node = parent(node)) size_[node] += total;
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_SIMPLEX_SIMPLEX_TREE_HPP_
