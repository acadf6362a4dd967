// Phase 1: make the graph acyclic by reversing a small set of its edges.
//
// A strategy puts all nodes in a total order, and every edge that points backwards in it is
// flipped. The result is acyclic whatever the order is, so no later phase meets a cycle.

#ifndef QUILLAN_CORE_CYCLES_BREAK_CYCLES_HPP_
#define QUILLAN_CORE_CYCLES_BREAK_CYCLES_HPP_

#include <cstdint>
#include <span>

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Runs phase 1 in place. REQUIRES: a graph fresh from import, every chain one segment.
// Linear beside the cost of the chosen sequence.
void break_cycles(LGraph& graph);

// Exchanges source and target of `edge` and records the flip for the caller's edge.
void _reverse_edge(LGraph& graph, LEdge& edge);

// The sequences: node positions in the chosen order, in the open frame of `graph.scratch`.

// Sinks peeled to the tail, sources to the head, else the node of largest out-degree minus
// in-degree (Eades, Lin and Smyth, A Fast and Effective Heuristic for the Feedback Arc Set Problem,
// 1993, section 2). Near-linear in nodes plus edges.
std::span<const std::int32_t> _sequence_greedy(LGraph& graph);

// Reverse postorder of a depth-first search, so that exactly the edges back to a node still on the
// search path point backwards (Tarjan, Depth-First Search and Linear Graph Algorithms, 1972,
// section 2). Linear.
std::span<const std::int32_t> _sequence_depth_first(LGraph& graph);

// Ascending by the caller's flow coordinate, then cross coordinate, then id. n log n.
std::span<const std::int32_t> _sequence_interactive(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CYCLES_BREAK_CYCLES_HPP_
