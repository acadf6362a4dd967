#include <algorithm>
#include <vector>

#include "core/base/reals.hpp"
#include "core/crossings/reduce_crossings.hpp"

namespace quillan::vorn_layered {

namespace {

// Ranks of the ids by code point, by slot. Those of a layer compare; so do those of one node's
// successors, which stand in one layer if the graph is regular.
std::span<const std::int32_t> id_ranks(const LayerOrders& orders) {
  Arena& scratch = orders.graph().scratch;
  if (!orders.is_regular()) return rank_ids(orders.slots().nodes, scratch);
  const std::span<std::int32_t> ranks = scratch.raw_array<std::int32_t>(orders.slot_count());
  for (std::int32_t layer = 0; layer < orders.layer_count(); ++layer) {
    std::int32_t rank = 0;
    for (const std::int32_t slot : orders.by_id(layer)) ranks[slot] = rank++;
  }
  return ranks;
}

}  // namespace

void _seed_dfs(LayerOrders& orders) {
  Arena& scratch = orders.graph().scratch;
  const Arena::Frame frame(scratch);
  const std::span<const std::int32_t> rank = id_ranks(orders);
  const std::span<bool> visited = scratch.array<bool>(orders.slot_count(), false);
  const std::span<std::int32_t> ordered = scratch.raw_array<std::int32_t>(orders.slot_count());
  // Nodes are visited in ascending number, so appending each to its layer sorts the layers.
  const std::span<std::int32_t> layer_ends = scratch.raw_array<std::int32_t>(orders.layer_count());
  for (std::int32_t layer = 0; layer < orders.layer_count(); ++layer) {
    layer_ends[layer] = orders.first_slot(layer);
  }
  // Segments that skip layers are followed too, and then those of the orders are not enough.
  const bool regular = orders.is_regular();
  LGraph& graph = orders.graph();
  const EdgeEnds ends =
      regular ? EdgeEnds{} : LayerSlots::ends_of_edges(graph, orders.slots().by_position(graph));
  const Grouped leaving =
      regular ? Grouped{} : group_by(ends.sources, orders.slot_count(), scratch);
  std::vector<std::int32_t> stack;
  const auto push = [&](std::int32_t successor) {
    if (!visited[successor]) stack.push_back(successor);
  };
  for (std::int32_t layer = 0; layer < orders.layer_count(); ++layer) {
    for (const std::int32_t root : orders.by_id(layer)) {
      if (visited[root]) continue;
      stack.push_back(root);
      while (!stack.empty()) {
        const std::int32_t slot = stack.back();
        stack.pop_back();
        if (visited[slot]) continue;
        visited[slot] = true;
        // The walk leads on through nodes that stand in no layer.
        const std::int32_t own_layer = orders.layer_of(slot);
        if (own_layer != LayerSlots::NO_LAYER) ordered[layer_ends[own_layer]++] = slot;
        const std::size_t bottom = stack.size();
        if (regular) {
          for (const LayerOrders::Segment& each : orders.segments_below(slot))
            push(each.lower_slot);
        } else {
          for (const std::int32_t edge : leaving[slot]) push(ends.targets[edge]);
        }
        // The smallest id lies on top. Equal entries are one node: the copies are passed over.
        if (stack.size() - bottom > 1) {
          std::sort(stack.begin() + static_cast<std::ptrdiff_t>(bottom), stack.end(),
                    [&](std::int32_t a, std::int32_t b) { return rank[a] > rank[b]; });
        }
      }
    }
  }
  orders.set_all(ordered);
}

void _seed_interactive(LayerOrders& orders) {
  struct Seen {
    std::int32_t slot;
    double across;
    double along;
  };
  const LGraph& graph = orders.graph();
  const Arena::Frame frame(orders.graph().scratch);
  const std::span<const std::int32_t> rank = id_ranks(orders);
  std::vector<Seen> seen;
  std::vector<std::int32_t> ordered;
  for (std::int32_t layer = 0; layer < orders.layer_count(); ++layer) {
    seen.clear();
    for (const std::int32_t slot : orders.order(layer)) {
      const LNode& node = *orders.node(slot);
      seen.push_back({slot, seen_across_flow(graph, node), seen_along_flow(graph, node)});
    }
    std::sort(seen.begin(), seen.end(), [rank](const Seen& a, const Seen& b) {
      if (const int order = compare_reals(a.across, b.across)) return order < 0;
      if (const int order = compare_reals(a.along, b.along)) return order < 0;
      return rank[a.slot] < rank[b.slot];
    });
    ordered.clear();
    for (const Seen& one : seen) ordered.push_back(one.slot);
    orders.set_order(layer, ordered, orders.new_stamp());
  }
}

}  // namespace quillan::vorn_layered
