// Adjacent swaps: a layer refined by exchanging neighbours while that lowers the crossings.

#ifndef QUILLAN_CORE_CROSSINGS_ADJACENT_SWAP_HPP_
#define QUILLAN_CORE_CROSSINGS_ADJACENT_SWAP_HPP_

#include <cstdint>
#include <span>

#include "core/crossings/layer_orders.hpp"

namespace quillan::vorn_layered {

// Refines `ordered`, the slots of one layer, in place: scans over all adjacent pairs, each
// exchanging a pair when that strictly lowers the crossings towards both neighbouring layers
// together, until a scan makes no exchange or 4 m scans were made. REQUIRES: fresh keys of both
// sides.
//
// Whether two neighbours should be exchanged depends on those two and the fixed layers beside them,
// so after the first scan only pairs with a moved member are looked at again: one scan in full,
// then work in proportion to the exchanges made. Two kinds of layers are settled without their
// exchanges, in m log m: one of dummies that stands sorted by one side, and one that falls into
// small cells which are in order on both sides, as that of a tree does.
void _adjacent_swap(const LayerOrders& orders, std::span<std::int32_t> ordered);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_ADJACENT_SWAP_HPP_
