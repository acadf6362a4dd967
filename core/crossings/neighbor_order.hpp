// Neighbour ordering: one layer sorted by the positions of its neighbours in a fixed layer.
//
// After Gansner, Koutsofios, North and Vo, A Technique for Drawing Directed Graphs (1993), section
// 3 (weighted median), and Sugiyama, Tagawa and Toda, Methods for Visual Understanding of
// Hierarchical System Structures (1981), section IV (barycentre).

#ifndef QUILLAN_CORE_CROSSINGS_NEIGHBOR_ORDER_HPP_
#define QUILLAN_CORE_CROSSINGS_NEIGHBOR_ORDER_HPP_

#include <cstdint>
#include <span>

#include "core/crossings/layer_orders.hpp"

namespace quillan::vorn_layered {

// The median of positions that are given as ascending keys; an even count of four or more leans to
// the side on which the positions lie closer together. REQUIRES: at least one.
double _weighted_median(std::span<const EndKey> sorted_keys);

// The mean of positions that are given as keys. REQUIRES: at least one.
double _barycentre(std::span<const EndKey> keys);

// Fills `ordered` with the slots of `layer` in ascending (measure, id), where the measure of a node
// without neighbours is its own place. REQUIRES: fresh keys for both layers; ranked ids.
// Linear where few nodes share a neighbour, m log m at most.
void _order_by_neighbors(const LayerOrders& orders, std::int32_t layer, FixedLayer fixed,
                         bool use_median, std::span<std::int32_t> ordered);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_NEIGHBOR_ORDER_HPP_
