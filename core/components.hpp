// The split of a payload into weakly connected components.

#ifndef QUILLAN_CORE_COMPONENTS_HPP_
#define QUILLAN_CORE_COMPONENTS_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/exchange/payload.hpp"

namespace quillan::vorn_layered {

// Components in the order of their first node in the payload; in each, positions of nodes and of
// edges in payload order.
struct Components {
  std::vector<std::int32_t> node_starts = {0};
  std::vector<std::int32_t> nodes;
  std::vector<std::int32_t> edge_starts = {0};
  std::vector<std::int32_t> edges;

  [[nodiscard]] std::size_t size() const { return node_starts.size() - 1; }
  [[nodiscard]] std::span<const std::int32_t> member_nodes(std::size_t component) const {
    return part(nodes, node_starts, component);
  }
  [[nodiscard]] std::span<const std::int32_t> member_edges(std::size_t component) const {
    return part(edges, edge_starts, component);
  }

 private:
  static std::span<const std::int32_t> part(const std::vector<std::int32_t>& items,
                                            const std::vector<std::int32_t>& starts,
                                            std::size_t index) {
    return std::span(items).subspan(starts[index], starts[index + 1] - starts[index]);
  }
};

// Direction of edges plays no part, an edge with an unknown end joins nothing and is in no
// component, a self-loop is in its node's. Of nodes with equal ids only the last one is a member.
// Near-linear (union-find with path halving: Tarjan and van Leeuwen, Worst-case Analysis of Set
// Union Algorithms, 1984, section 2).
Components weakly_connected_components(const Payload& payload);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_COMPONENTS_HPP_
