#include "core/layering/tree_links.hpp"

#include <algorithm>
#include <utility>

namespace quillan::vorn_layered {

TreeLinks::TreeLinks(const Grouped& incident, std::span<const RankEdge> edges, Arena& scratch)
    : edges_(edges),
      starts_(incident.starts),
      tree_ends_(scratch.raw_array<std::int32_t>(incident.starts.size() - 1)),
      links_(scratch.raw_array<TreeLink>(incident.items.size())),
      places_(scratch.raw_array<std::int32_t>(incident.items.size())) {
  std::copy_n(starts_.begin(), tree_ends_.size(), tree_ends_.begin());
  for (std::size_t node = 0; node < tree_ends_.size(); ++node) {
    for (std::int32_t at = starts_[node]; at < starts_[node + 1]; ++at) {
      const std::int32_t position = incident.items[at];
      const RankEdge& edge = edges[position];
      const bool leaves = edge.tail == static_cast<std::int32_t>(node);
      links_[at] = {leaves ? edge.head : edge.tail, leaves ? position : ~position};
      place(links_[at]) = at;
    }
  }
}

void TreeLinks::exchange(std::int32_t a, std::int32_t b) {
  std::swap(links_[a], links_[b]);
  place(links_[a]) = a;
  place(links_[b]) = b;
}

void TreeLinks::add_to_tree(std::int32_t position) {
  exchange(places_[std::size_t{2} * position], tree_ends_[edges_[position].tail]++);
  exchange(places_[std::size_t{2} * position + 1], tree_ends_[edges_[position].head]++);
}

void TreeLinks::take_from_tree(std::int32_t position) {
  exchange(places_[std::size_t{2} * position], --tree_ends_[edges_[position].tail]);
  exchange(places_[std::size_t{2} * position + 1], --tree_ends_[edges_[position].head]);
}

}  // namespace quillan::vorn_layered
