// Straight wires: coordinates across the flow of least weighted length, by network simplex.
//
// After Gansner, Koutsofios, North and Vo, A Technique for Drawing Directed Graphs (1993), section
// 4: the order inside the layers stands, neighbours keep their distance, and what is made small is
// the sum over all segments of how far apart their two ports are across the flow. A segment between
// two dummies counts most, since a bend inside a long edge helps nobody. The paper adds a node for
// each segment; here a segment is an edge that may be shorter as well as longer, see LeastLength,
// which takes a third of the nodes.

#ifndef QUILLAN_CORE_PLACEMENT_STRAIGHTEN_HPP_
#define QUILLAN_CORE_PLACEMENT_STRAIGHTEN_HPP_

#include <cstdint>
#include <span>

#include "core/graph/incident_maps.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// What a segment counts, by how many of its ends are dummies (section 4.2 of the paper).
inline constexpr std::int32_t SEGMENT_WEIGHTS[] = {1, 2, 8};

// Moves all nodes but the pinned ones, by position in LGraph::nodes, to where the segments are
// shortest. Where nodes begin decides which of several best drawings comes out, and how long it
// takes. REQUIRES: can_straighten(); between the pinned nodes of a layer there is room for the
// others. Afterwards the boxes of each layer keep their spacing in the order of the layer. Cost:
// see LeastLength.
void straighten(LGraph& graph, std::span<const bool> pinned);

// Moves the nodes of each layer that are not pinned to the means of their neighbours in the layer
// before it, from the first layer on, or in the layer behind it, from the last one on. REQUIRES and
// leaves what straighten() does. Linear.
void lean(LGraph& graph, std::span<const bool> pinned, const IncidentMaps& maps, bool forward);

// Whether no length or coordinate is so large, or not a number, that sums of them could not be
// used.
bool can_straighten(const LGraph& graph);

// Pushes the boxes of each layer apart towards larger y, in the order of the layer. Linear.
void push_apart_in_order(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_STRAIGHTEN_HPP_
