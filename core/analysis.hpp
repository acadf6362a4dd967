// Three analyses of a graph that several phases share.

#ifndef QUILLAN_CORE_ANALYSIS_HPP_
#define QUILLAN_CORE_ANALYSIS_HPP_

#include <cstdint>
#include <span>

#include "core/graph/incident_maps.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Successors and predecessors by node position, each list in `edges` order. A parallel edge stands
// once per edge; an edge from a node to itself or with an end outside the graph is left out.
struct Adjacency {
  Grouped succ;
  Grouped pred;
};

// Lives in the open frame of `graph.scratch`. Linear in nodes plus edges.
Adjacency _adjacency(LGraph& graph);

// All node positions in a Kahn order that is stable on node and edge order; nodes on or behind a
// cycle follow at the end in node order. Lives in the open frame of `graph.scratch`. Linear.
std::span<const std::int32_t> _topological_order(LGraph& graph, const Adjacency& adjacency);

// Whether the caller supplied coordinates worth reproducing: at least two nodes have both, and not
// all of these stand at one spot. A freshly imported graph usually has all nodes at the origin.
bool _has_usable_positions(const LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ANALYSIS_HPP_
