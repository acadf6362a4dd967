// The split of a payload into weakly connected components.

#ifndef QUILLAN_CORE_COMPONENTS_HPP_
#define QUILLAN_CORE_COMPONENTS_HPP_

#include <cstdint>
#include <span>

#include "core/base/arena.hpp"
#include "core/base/grouped.hpp"
#include "core/exchange/payload.hpp"

namespace quillan::vorn_layered {

// Lists of positions in the payload, ascending, by component.
struct Components {
  Grouped nodes;
  Grouped edges;
  std::span<const std::int32_t> place_of;  // of each node in its component's list

  [[nodiscard]] std::int32_t size() const { return nodes.size(); }
  [[nodiscard]] Component operator[](std::int32_t component) const {
    return {nodes[component], edges[component], place_of};
  }
};

// Components come in the order of their first node. The direction of edges plays no part, an edge
// with an unknown end joins nothing and is in no component, a self-loop is in its node's. Of nodes
// with equal ids only the last one is a member. The lists are in `arena`. Near-linear (union-find
// with path halving: Tarjan and van Leeuwen, Worst-case Analysis of Set Union Algorithms, 1984,
// section 2).
Components weakly_connected_components(const Payload& payload, Arena& arena);

// All nodes and edges of the payload as if they were one component.
Components undivided(const Payload& payload, Arena& arena);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_COMPONENTS_HPP_
