// Dummies that routing may move across the flow, and what moving them does to the looks of a wire.

#ifndef QUILLAN_CORE_ROUTING_FREE_DUMMIES_HPP_
#define QUILLAN_CORE_ROUTING_FREE_DUMMIES_HPP_

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <tuple>
#include <vector>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"

namespace quillan::vorn_layered {

// Whether the node that joins two segments is a dummy as phase 2 makes them.
inline bool is_free_dummy(SegmentEnd in, SegmentEnd out) {
  const LNode& node = *in.node();
  return node.is_dummy() && node.position >= 0 && node.height() == 0.0 && in.offset() == 0.0 &&
         out.node() == &node && out.offset() == 0.0;
}

// By what ports are sorted where they stand in one place.
inline std::tuple<std::int32_t, PortSide, std::int32_t> port_order(SegmentEnd end) {
  return {end.node()->position, end.side(), end.index()};
}

// The nodes of a layer as they follow one another across the flow, which is not always the order of
// the layer. At one height, what has none itself lies before what begins there; equals stay in
// order.
inline void sort_across_flow(std::span<LNode* const> layer, std::vector<const LNode*>& sorted) {
  sorted.assign(layer.begin(), layer.end());
  std::stable_sort(sorted.begin(), sorted.end(), [](const LNode* a, const LNode* b) {
    const int order = compare_reals(a->y, b->y);
    return order != 0 ? order < 0 : compare_reals(a->height(), b->height()) < 0;
  });
}

// The least y of all nodes. A drawing's upmost node holds its padding, so it must not move.
inline double top_of(const LGraph& graph) {
  double top = std::numeric_limits<double>::infinity();
  for (const LNode* node : graph.nodes) top = smaller(top, node->y);
  return top;
}

// What wires look like: steps across the flow, and those under SMALL_JOG.
struct Looks {
  std::int32_t steps = 0;
  std::int32_t small = 0;

  void add(double from, double to) {
    if (from == to) return;
    ++steps;
    if (std::abs(from - to) < SMALL_JOG) ++small;
  }
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_FREE_DUMMIES_HPP_
