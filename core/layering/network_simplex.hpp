// Network simplex ranking: integer ranks of small total edge span.
//
// After Gansner, Koutsofios, North and Vo, A Technique for Drawing Directed Graphs (1993), section
// 2.3: a spanning tree of tight edges is grown, and a tree edge of negative cut value is swapped
// for the edge of least slack that crosses the same cut the other way, until none is left or a cap
// is reached. Every edge has weight 1 and minimum length 1.
//
// The procedure is defined with all cut values and the whole numbering computed anew at each pivot.
// Here solve() pivots on a SimplexTree, which touches the smaller side of a cut and a tree path,
// and numbers the tree at the end. All values are integers, so the result is the same.
//
// Example, one pivot by hand:
//   _NetworkSimplex simplex(count, edges, ranks, scratch);
//   simplex._feasible_tree();
//   simplex._number_tree();
//   simplex._compute_cut_values();
//   const std::int32_t leaving = simplex._leave_edge();
//   if (leaving >= 0) simplex._exchange(leaving, simplex._enter_edge(leaving));

#ifndef QUILLAN_CORE_LAYERING_NETWORK_SIMPLEX_HPP_
#define QUILLAN_CORE_LAYERING_NETWORK_SIMPLEX_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/base/arena.hpp"
#include "core/simplex/simplex_tree.hpp"

namespace quillan::vorn_layered {

// The class name is part of the engine's vocabulary, whatever the language reserves.
class _NetworkSimplex : private SimplexTree<RankEdge> {  // NOLINT(bugprone-reserved-identifier)
 public:
  using Edge = RankEdge;

  // REQUIRES: `initial_ranks`, one per node; ends from 0 to `node_count` - 1 and different. Ranks
  // that are not feasible give ranks that are not feasible either. The arrays live in the open
  // frame of `scratch`.
  _NetworkSimplex(std::int32_t node_count, std::span<const Edge> all_edges,
                  std::span<const std::int32_t> initial_ranks, Arena& scratch);

  // One rank per node, the smallest being 0. Called once. At the end every field reads what the
  // steps below would leave.
  std::vector<std::int32_t> solve();

  // The part of the graph around node 0 that tight edges reach, in the order reached; sets in_tree
  // and _visited. Linear.
  std::vector<std::int32_t> _tight_tree();
  // Shifts ranks until the tight tree spans or no edge leaves it. e log e for feasible ranks.
  void _feasible_tree();
  // Postorder numbers from node 0: sets parent_edge, lim and low. Linear.
  void _number_tree();
  // All cut values from scratch. REQUIRES: the numbering of the tree that _feasible_tree() left.
  // Linear: a cut value is the sum of in-degree minus out-degree over the subtree below the edge,
  // with a sign.
  void _compute_cut_values();
  // The lowest tree edge of negative cut value, or -1.
  [[nodiscard]] std::int32_t _leave_edge() const { return next_unfit(0); }
  // The edge of least slack that crosses the cut of `leaving` against it, the lowest of equals, or
  // -1. Costs the smaller side of the cut.
  std::int32_t _enter_edge(std::int32_t leaving);
  // One pivot: ranks, tree, numbers and cut values. REQUIRES: what the two functions above gave.
  // Linear, for the numbers.
  void _exchange(std::int32_t leaving, std::int32_t entering);

  using SimplexTree::count;
  using SimplexTree::cut;
  using SimplexTree::edges;
  using SimplexTree::in_tree;
  using SimplexTree::incident;
  using SimplexTree::other_end;
  using SimplexTree::parent_edge;
  using SimplexTree::rank;
  using SimplexTree::slack;
  std::span<std::int32_t> lim;  // per node: postorder number from 1
  std::span<std::int32_t> low;  // per node: smallest lim in the subtree
  std::span<bool> _visited;     // per node: what the last _tight_tree reached

 private:
  void shift_by_border();
  void shift_in_passes();
  const Side& side_of(std::int32_t leaving);
  void pivot(std::int32_t leaving, std::int32_t entering);
  void settle();

  Arena& scratch_;
  std::int32_t examined_ = -1;  // the leaving edge last looked at; -1 after a pivot
  Side examined_side_{};
  std::int32_t raised_ = 0;  // what every rank of the tree still has to be raised by
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_LAYERING_NETWORK_SIMPLEX_HPP_
