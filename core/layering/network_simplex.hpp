// Network simplex ranking: integer ranks of least total edge span.
//
// After Gansner, Koutsofios, North and Vo, A Technique for Drawing Directed Graphs (1993), section
// 2.3: a spanning tree of tight edges is grown, and a tree edge of negative cut value is swapped
// for the edge of least slack that crosses the same cut the other way, until none is left or a cap
// is reached. Every edge has weight 1 and minimum length 1.
//
// The procedure is stated with all cut values and the whole numbering computed anew at each pivot.
// Here a pivot touches only the smaller side of its cut and the tree path between the ends of the
// entering edge: cut values elsewhere, and slacks of edges with both ends on one side, do not
// change. All values are integers, so the result is the same.

#ifndef QUILLAN_CORE_LAYERING_NETWORK_SIMPLEX_HPP_
#define QUILLAN_CORE_LAYERING_NETWORK_SIMPLEX_HPP_

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "core/base/arena.hpp"
#include "core/base/grouped.hpp"
#include "core/base/index_set.hpp"
#include "core/layering/tree_links.hpp"

namespace quillan::vorn_layered {

// The class name is part of the engine's vocabulary, whatever the language reserves.
class _NetworkSimplex {  // NOLINT(bugprone-reserved-identifier)
 public:
  using Edge = RankEdge;

  // REQUIRES: `initial_ranks`, one per node; ends from 0 to `count` - 1 and different. Ranks that
  // are not feasible give ranks that are not feasible either. The arrays live in the open frame of
  // `scratch`.
  _NetworkSimplex(std::int32_t count, std::span<const Edge> edges,
                  std::span<const std::int32_t> initial_ranks, Arena& scratch);

  // One rank per node, the smallest being 0. Called once. At the end every field reads what it
  // would if it were computed anew at each pivot.
  std::vector<std::int32_t> solve();

  [[nodiscard]] std::int32_t slack(std::int32_t position) const {
    return rank[edges[position].head] - rank[edges[position].tail] - 1;
  }
  [[nodiscard]] std::int32_t other_end(std::int32_t position, std::int32_t node) const {
    return edges[position].tail == node ? edges[position].head : edges[position].tail;
  }

  // The part of the graph around node 0 that tight edges reach, in the order reached; sets in_tree
  // and _visited. Linear.
  std::vector<std::int32_t> _tight_tree();
  // Shifts ranks until the tight tree spans or no edge leaves it. e log e for feasible ranks; for
  // others at most count + 2 passes over the edges.
  void _feasible_tree();
  // Postorder numbers from node 0: sets parent_edge, lim and low. Linear.
  void _number_tree();
  // All cut values from scratch. REQUIRES: the numbering of the current tree. Linear: a cut value
  // is the sum of in-degree minus out-degree over the subtree below the edge, with a sign.
  void _compute_cut_values();
  // REQUIRES: the numbering of the current tree.
  [[nodiscard]] bool _in_subtree(std::int32_t node, std::int32_t root) const {
    return low[root] <= lim[node] && lim[node] <= lim[root];
  }
  // The lowest tree edge of negative cut value, or -1.
  [[nodiscard]] std::int32_t _leave_edge() const { return negative_.next(0); }
  // The edge of least slack that crosses the cut of `leaving` against it, the lowest of equals, or
  // -1. Costs the smaller side of the cut.
  std::int32_t _enter_edge(std::int32_t leaving);
  // One pivot. Leaves lim and low behind, and the ranks of the tree short of a common shift that
  // solve() makes up for. Costs the smaller side of the cut and the tree path between the ends of
  // `entering`.
  void _exchange(std::int32_t leaving, std::int32_t entering);

  std::int32_t count;
  std::span<const Edge> edges;
  std::span<std::int32_t> rank;
  Grouped incident;                     // edges at each node, in edge order
  std::span<bool> in_tree;              // per edge
  std::span<std::int32_t> parent_edge;  // per node; -1 at the root and outside the tree
  std::span<std::int32_t> lim;          // postorder number from 1
  std::span<std::int32_t> low;          // smallest lim in the subtree
  std::span<std::int32_t> cut;          // per edge; 0 outside the tree
  std::span<bool> _visited;             // what the last _tight_tree reached

 private:
  // The end of a tree edge that lies farther from the root.
  [[nodiscard]] std::int32_t child_of(std::int32_t position) const {
    const Edge& edge = edges[position];
    return parent_edge[edge.head] == position ? edge.head : edge.tail;
  }
  void shift_in_passes();
  void find_smaller_side(std::int32_t leaving);
  void set_cut(std::int32_t position, std::int32_t value);
  [[nodiscard]] std::int32_t parent(std::int32_t node) const {
    return other_end(parent_edge[node], node);
  }
  std::int32_t lowest_common_ancestor(std::int32_t a, std::int32_t b);
  void update_cuts_on_path(std::int32_t from, std::int32_t to, std::int32_t leaving_cut);
  void add_to_sizes(std::int32_t from, std::int32_t change);
  void reroot(std::int32_t from, std::int32_t old_top, std::int32_t entering);

  Arena& scratch_;
  TreeLinks links_;                // follow `in_tree` while solve() pivots
  IndexSet negative_;              // tree edges of negative cut value
  std::span<std::int32_t> size_;   // per node: the nodes of its subtree
  std::span<std::int32_t> side_;   // per node: the stamp of the last search that reached it
  std::span<std::int32_t> climb_;  // the same for walks towards the root
  std::int32_t stamp_ = 0;
  std::vector<std::int32_t> small_;  // the smaller side of the cut of `examined_`
  std::int32_t small_stamp_ = 0;     // what `side_` says of its nodes
  bool small_is_subtree_ = true;     // whether the smaller side is the one below `examined_`
  std::int32_t examined_ = -1;       // the leaving edge last looked at; -1 after a pivot
  bool closed_ = true;               // whether no edge leaves the tree
  std::int32_t raised_ = 0;          // what every rank of the tree still has to be raised by
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_LAYERING_NETWORK_SIMPLEX_HPP_
