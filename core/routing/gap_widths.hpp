// The room between neighbouring layers, and making more of it.

#ifndef QUILLAN_CORE_ROUTING_GAP_WIDTHS_HPP_
#define QUILLAN_CORE_ROUTING_GAP_WIDTHS_HPP_

#include <cstdint>
#include <span>

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Where the boxes of the layer before a gap end and those of the layer behind it begin.
struct Bounds {
  double left;
  double right;
};

// The bounds of the gap behind layer `gap`. Linear in the nodes of both layers.
Bounds bounds_of(const LGraph& graph, std::int32_t gap);

// Moves the layers behind each gap that is narrower than `needed` of it along the flow axis, by
// what is missing. Linear in nodes times their different x in a layer, as a rule few.
void widen_gaps(LGraph& graph, std::span<const double> needed);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_GAP_WIDTHS_HPP_
