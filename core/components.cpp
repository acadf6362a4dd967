#include "core/components.hpp"

#include <numeric>

namespace quillan::vorn_layered {

namespace {

class DisjointSets {
 public:
  explicit DisjointSets(std::size_t count) : parent_(count), size_(count, 1) {
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
  std::vector<std::int32_t> parent_;
  std::vector<std::int32_t> size_;
};

// Moves `keys` (a component per item, -1 for none) into lists by component, in item order.
void group(const std::vector<std::int32_t>& keys, std::size_t lists,
           std::vector<std::int32_t>& starts, std::vector<std::int32_t>& items) {
  starts.assign(lists + 1, 0);
  for (const std::int32_t key : keys) {
    if (key >= 0) ++starts[key];
  }
  std::partial_sum(starts.begin(), starts.end(), starts.begin());
  items.resize(starts.back());
  for (std::size_t i = keys.size(); i-- > 0;) {
    if (keys[i] >= 0) items[--starts[keys[i]]] = static_cast<std::int32_t>(i);
  }
}

}  // namespace

Components weakly_connected_components(const Payload& payload) {
  DisjointSets sets(payload.nodes.size());
  for (const Payload::Edge& edge : payload.edges) {
    if (edge.source >= 0 && edge.target >= 0) sets.join(edge.source, edge.target);
  }

  // Numbered at the first node of each component, an outdated twin of a repeated id included.
  std::vector<std::int32_t> number(payload.nodes.size(), -1);
  std::vector<std::int32_t> component_of(payload.nodes.size(), -1);
  std::int32_t count = 0;
  for (const Payload::Node& node : payload.nodes) {
    std::int32_t& component = number[sets.find(node.canonical)];
    if (component < 0) component = count++;
    component_of[node.canonical] = component;
  }

  std::vector<std::int32_t> component_of_edge(payload.edges.size(), -1);
  for (std::size_t i = 0; i < payload.edges.size(); ++i) {
    const Payload::Edge& edge = payload.edges[i];
    if (edge.source >= 0 && edge.target >= 0) component_of_edge[i] = component_of[edge.source];
  }

  Components result;
  group(component_of, count, result.node_starts, result.nodes);
  group(component_of_edge, count, result.edge_starts, result.edges);
  return result;
}

}  // namespace quillan::vorn_layered
