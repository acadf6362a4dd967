// Phase 4: coordinates of all nodes, dummies included. Writes x and y and nothing else.

#ifndef QUILLAN_CORE_PLACEMENT_PLACE_NODES_HPP_
#define QUILLAN_CORE_PLACEMENT_PLACE_NODES_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Runs phase 4. REQUIRES: `layers` is empty, or holds exactly the nodes of the graph in final
// order.
void place_nodes(LGraph& graph);

// Packs the layers along the flow axis and centres each node in its column. Linear.
void _assign_layer_x(LGraph& graph);

// Stacks each layer from the padding, then moves every node to the mean of its neighbours' centers,
// four times, pushing overlaps apart after each. Linear beside the sort of the layers.
void _place_simple_y(LGraph& graph);

// The middle of four alignments (Brandes and Koepf, Fast and Simple Horizontal Coordinate
// Assignment, 2002). The result may be negative and boxes of a layer may still overlap.
// Near-linear, see _compact_blocks.
void _place_brandes_kopf_y(LGraph& graph);

// Least weighted length of all segments across the flow, from what Brandes-Koepf gives. See
// straighten(); where a length is absurd, boxes are only pushed apart.
void place_network_simplex_y(LGraph& graph);

// Places every node as near as possible to where the user sees it. Across the flow that is least
// squares in each layer; dummies and nodes without a position take part only by the room they need,
// and then go to where wires run straightest. Along the flow a column moves only as far as the one
// before it reaches too far. False, with nothing but coordinates written, where the user has placed
// nothing or a length is absurd. REQUIRES: every node is in a layer. Linear but for straighten().
bool place_interactive(LGraph& graph);

// Pushes the boxes of each layer apart towards larger y, in order of their y. m log m per layer,
// linear where the layer's list is in that order already.
void _pack_layer_overlaps(LGraph& graph);

// Moves the whole drawing so that its smallest coordinates are the paddings.
void _snap_non_negative(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_PLACE_NODES_HPP_
