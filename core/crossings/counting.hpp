// Exact crossing counts; port order counts on both ends of a segment.
//
// After Barth, Juenger and Mutzel, Simple and Efficient Bilayer Cross Counting (2002), section 2:
// the segments between two layers are put in order along the upper layer, and the crossings are the
// inversions of the resulting sequence along the lower layer. A tree of counters finds these there;
// here words of bits take the place of its lower levels.

#ifndef QUILLAN_CORE_CROSSINGS_COUNTING_HPP_
#define QUILLAN_CORE_CROSSINGS_COUNTING_HPP_

#include <cstdint>
#include <span>

#include "core/crossings/layer_orders.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// The pairs i before j with sequence[i] > sequence[j]. s log s.
std::int64_t _count_inversions(std::span<const std::int64_t> sequence, Arena& scratch);

// The crossings between layer `upper` and the one after it. A target end orders by 256 times its
// node's place plus its port, so that ports from 256 on compare like low ports of the next node.
std::int64_t _crossings_between(const LayerOrders& orders, std::int32_t upper);

// The crossings of all layers as `orders` stand.
std::int64_t count_crossings(const LayerOrders& orders);

// The crossings of the whole graph as `graph.layers` stands.
std::int64_t count_crossings(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_COUNTING_HPP_
