// The edges at every node of a graph with a spanning tree, those of the tree apart.

#ifndef QUILLAN_CORE_SIMPLEX_TREE_LINKS_HPP_
#define QUILLAN_CORE_SIMPLEX_TREE_LINKS_HPP_

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "core/base/arena.hpp"
#include "core/base/grouped.hpp"

namespace quillan::vorn_layered {

// An edge as seen from a node.
struct TreeLink {
  std::int32_t other;  // the node at the other end
  std::int32_t edge;   // the edge's position if the node is its tail, else the complement of that

  [[nodiscard]] bool leaves() const { return edge >= 0; }
  [[nodiscard]] std::int32_t position() const { return leaves() ? edge : ~edge; }
};

// Lets a search along the tree pass over the other edges, and a search among those over the tree,
// without a look at either. In no particular order within each kind.
template <typename Edge>
class TreeLinks {
 public:
  // All edges are taken to be outside the tree; `incident` holds the positions of the edges at each
  // node. The arrays live in the open frame of `scratch`. Linear.
  TreeLinks(const Grouped& incident, std::span<const Edge> edges, Arena& scratch);

  [[nodiscard]] std::span<const TreeLink> tree(std::int32_t node) const {
    return links_.subspan(starts_[node], tree_ends_[node] - starts_[node]);
  }
  [[nodiscard]] std::span<const TreeLink> rest(std::int32_t node) const {
    return links_.subspan(tree_ends_[node], starts_[node + 1] - tree_ends_[node]);
  }

  [[nodiscard]] bool in_tree(std::int32_t position) const {
    return places_[std::size_t{2} * position] < tree_ends_[edges_[position].tail];
  }
  // REQUIRES: the edge is outside the tree.
  void add_to_tree(std::int32_t position) {
    assert(!in_tree(position));
    exchange(places_[std::size_t{2} * position], tree_ends_[edges_[position].tail]++);
    exchange(places_[std::size_t{2} * position + 1], tree_ends_[edges_[position].head]++);
  }
  // REQUIRES: the edge is in the tree.
  void take_from_tree(std::int32_t position) {
    assert(in_tree(position));
    exchange(places_[std::size_t{2} * position], --tree_ends_[edges_[position].tail]);
    exchange(places_[std::size_t{2} * position + 1], --tree_ends_[edges_[position].head]);
  }

 private:
  // Where in `links_` the edge stands as seen from its tail, or from its head.
  [[nodiscard]] std::int32_t& place(const TreeLink& link) {
    return places_[std::size_t{2} * link.position() + (link.leaves() ? 0 : 1)];
  }
  void exchange(std::int32_t a, std::int32_t b) {
    std::swap(links_[a], links_[b]);
    place(links_[a]) = a;
    place(links_[b]) = b;
  }

  std::span<const Edge> edges_;
  std::span<const std::int32_t> starts_;  // of the links of each node, and one past the end
  std::span<std::int32_t> tree_ends_;     // of the tree links of each node
  std::span<TreeLink> links_;
  std::span<std::int32_t> places_;
};

template <typename Edge>
TreeLinks<Edge>::TreeLinks(const Grouped& incident, std::span<const Edge> edges, Arena& scratch)
    : edges_(edges),
      starts_(incident.starts),
      tree_ends_(scratch.raw_array<std::int32_t>(incident.starts.size() - 1)),
      links_(scratch.raw_array<TreeLink>(incident.items.size())),
      places_(scratch.raw_array<std::int32_t>(incident.items.size())) {
  std::copy_n(starts_.begin(), tree_ends_.size(), tree_ends_.begin());
  for (std::size_t node = 0; node < tree_ends_.size(); ++node) {
    for (std::int32_t at = starts_[node]; at < starts_[node + 1]; ++at) {
      const std::int32_t position = incident.items[at];
      const Edge& edge = edges[position];
      const bool leaves = edge.tail == static_cast<std::int32_t>(node);
      links_[at] = {leaves ? edge.head : edge.tail, leaves ? position : ~position};
      place(links_[at]) = at;
    }
  }
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_SIMPLEX_TREE_LINKS_HPP_
