// Sifting: single nodes moved to better places of their layers, from several starts.
//
// After Matuszewski, Schoenfeld and Molitor, Using Sifting for k-Layer Straightline Crossing
// Minimization (1999), with both neighbouring layers looked at together, and Lourenco, Martin and
// Stuetzle, Iterated Local Search (2003), section 3.

#ifndef QUILLAN_CORE_CROSSINGS_SIFTING_HPP_
#define QUILLAN_CORE_CROSSINGS_SIFTING_HPP_

#include <cstdint>

#include "core/crossings/layer_orders.hpp"

namespace quillan::vorn_layered {

// The most that `thoroughness` can ask for. On graphs of a few hundred nodes the search has ended
// by then.
inline constexpr std::int64_t MOST_THOROUGHNESS = 100;

// Lowers the crossings of `orders`; never raises them. A larger `thoroughness` goes on where a
// smaller one ends, so that its result is never worse. Looks at a number of nodes and segments that
// is at most linear in those of the graph, times `thoroughness`; sorting makes that n log n.
// REQUIRES: 0 < thoroughness.
void sift_layers(LayerOrders& orders, std::int64_t thoroughness);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_SIFTING_HPP_
