// Phase 3: the order of the nodes inside each layer.
//
// A seed order, then sweeps down and up the layers that sort each layer by its finished neighbour
// and refine it by adjacent swaps; the best order seen is kept (Sugiyama, Tagawa and Toda, Methods
// for Visual Understanding of Hierarchical System Structures, 1981, section IV; Gansner,
// Koutsofios, North and Vo, A Technique for Drawing Directed Graphs, 1993, section 3).

#ifndef QUILLAN_CORE_CROSSINGS_REDUCE_CROSSINGS_HPP_
#define QUILLAN_CORE_CROSSINGS_REDUCE_CROSSINGS_HPP_

#include "core/crossings/layer_orders.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Runs phase 3 in place: reorders `layers` and writes `order`. REQUIRES: `layers` as
// rebuild_layers() left them. The result never has more crossings than the seed. Throws TypeFault
// where the sweeps need `thoroughness` and it is no integer. Cost of a pass: the layers whose own
// order or whose neighbours' orders changed since they were last visited the same way, each m log m
// plus its segments.
void reduce_crossings(LGraph& graph);

// Sets `order` to the place in the layer.
void _commit_order(LGraph& graph);

// The seeds: both sort every layer. REQUIRES: ranked ids.

// By depth-first preorder over the segments, roots and successors in id order.
void _seed_dfs(LayerOrders& orders);

// By the caller's cross coordinate, then flow coordinate, then id.
void _seed_interactive(LayerOrders& orders);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_REDUCE_CROSSINGS_HPP_
