#include "core/components.hpp"

#include <numeric>
#include <utility>

namespace quillan::vorn_layered {

namespace {

class DisjointSets {
 public:
  DisjointSets(std::size_t count, Arena& arena)
      : parent_(arena.raw_array<std::int32_t>(count)), size_(arena.array<std::int32_t>(count, 1)) {
    std::iota(parent_.begin(), parent_.end(), 0);
  }

  std::int32_t find(std::int32_t member) {
    while (parent_[member] != member) {
      parent_[member] = parent_[parent_[member]];
      member = parent_[member];
    }
    return member;
  }

  void join(std::int32_t a, std::int32_t b) {
    a = find(a);
    b = find(b);
    if (a == b) return;
    if (size_[a] < size_[b]) std::swap(a, b);
    parent_[b] = a;
    size_[a] += size_[b];
  }

 private:
  std::span<std::int32_t> parent_;
  std::span<std::int32_t> size_;
};

// Lists the items of `count` components, given each item's component or -1.
Components collect(std::span<const std::int32_t> component_of_node,
                   std::span<const std::int32_t> component_of_edge, std::int32_t count,
                   Arena& arena) {
  const Grouped nodes = group_by(component_of_node, count, arena);
  const std::span<std::int32_t> place_of = arena.raw_array<std::int32_t>(component_of_node.size());
  for (std::int32_t component = 0; component < count; ++component) {
    std::int32_t place = 0;
    for (const std::int32_t node : nodes[component]) place_of[node] = place++;
  }
  return {nodes, group_by(component_of_edge, count, arena), place_of};
}

}  // namespace

Components weakly_connected_components(const Payload& payload, Arena& arena) {
  const std::size_t node_count = payload.nodes.size();
  DisjointSets sets(node_count, arena);
  for (const EdgeRow& edge : payload.edges) {
    if (edge.source >= 0 && edge.target >= 0) sets.join(edge.source, edge.target);
  }
  for (std::size_t i = 0; i < node_count; ++i) {
    if (payload.nodes[i].twin >= 0) sets.join(static_cast<std::int32_t>(i), payload.nodes[i].twin);
  }

  // Numbered at the first node of each component, one whose twin takes its place included.
  const std::span<std::int32_t> number = arena.array<std::int32_t>(node_count, -1);
  const std::span<std::int32_t> component_of = arena.raw_array<std::int32_t>(node_count);
  std::int32_t count = 0;
  for (std::size_t i = 0; i < node_count; ++i) {
    std::int32_t& component = number[sets.find(static_cast<std::int32_t>(i))];
    if (component < 0) component = count++;
    component_of[i] = payload.nodes[i].twin < 0 ? component : -1;
  }

  const std::span<std::int32_t> component_of_edge =
      arena.raw_array<std::int32_t>(payload.edges.size());
  for (std::size_t i = 0; i < payload.edges.size(); ++i) {
    const EdgeRow& edge = payload.edges[i];
    const bool known = edge.source >= 0 && edge.target >= 0;
    component_of_edge[i] = known ? component_of[edge.source] : -1;
  }
  return collect(component_of, component_of_edge, count, arena);
}

Components undivided(const Payload& payload, Arena& arena) {
  const std::span<std::int32_t> nodes = arena.array<std::int32_t>(payload.nodes.size(), 0);
  const std::span<std::int32_t> edges = arena.array<std::int32_t>(payload.edges.size(), 0);
  return collect(nodes, edges, 1, arena);
}

}  // namespace quillan::vorn_layered
