#include <algorithm>
#include <vector>

#include "core/crossings/reduce_crossings.hpp"
#include "core/graph/spacing.hpp"

namespace quillan::vorn_layered {

namespace {

// Sorts every layer by `before`, which compares slots.
template <typename Before>
void sort_layers(LayerOrders& orders, Before before) {
  std::vector<std::int32_t> ordered;
  for (std::int32_t layer = 0; layer < orders.layer_count(); ++layer) {
    const std::span<const std::int32_t> current = orders.order(layer);
    ordered.assign(current.begin(), current.end());
    std::stable_sort(ordered.begin(), ordered.end(), before);
    orders.set_order(layer, ordered);
  }
}

}  // namespace

void _seed_dfs(LayerOrders& orders) {
  Arena& scratch = orders.graph().scratch;
  const std::span<const std::int32_t> rank = orders.id_ranks();
  const Arena::Frame frame(scratch);
  const std::span<std::int32_t> number = scratch.array<std::int32_t>(orders.slot_count(), -1);
  std::int32_t counter = 0;
  std::vector<std::int32_t> roots;
  std::vector<std::int32_t> stack;
  for (std::int32_t layer = 0; layer < orders.layer_count(); ++layer) {
    const std::span<const std::int32_t> current = orders.order(layer);
    roots.assign(current.begin(), current.end());
    std::sort(roots.begin(), roots.end(),
              [&](std::int32_t a, std::int32_t b) { return rank[a] < rank[b]; });
    for (const std::int32_t root : roots) {
      if (number[root] >= 0) continue;
      stack.push_back(root);
      while (!stack.empty()) {
        const std::int32_t slot = stack.back();
        stack.pop_back();
        if (number[slot] >= 0) continue;
        number[slot] = counter++;
        const std::size_t bottom = stack.size();
        for (const std::int32_t successor : orders.successors(slot)) {
          if (number[successor] < 0) stack.push_back(successor);
        }
        // The smallest id lies on top. Equal entries are one node: the copies are passed over.
        if (stack.size() - bottom > 1) {
          std::sort(stack.begin() + static_cast<std::ptrdiff_t>(bottom), stack.end(),
                    [&](std::int32_t a, std::int32_t b) { return rank[a] > rank[b]; });
        }
      }
    }
  }
  sort_layers(orders, [&](std::int32_t a, std::int32_t b) { return number[a] < number[b]; });
}

void _seed_interactive(LayerOrders& orders) {
  const std::span<const std::int32_t> rank = orders.id_ranks();
  sort_layers(orders, [&](std::int32_t left, std::int32_t right) {
    const LNode& a = *orders.node(left);
    const LNode& b = *orders.node(right);
    const double ay = a.has_origin_y ? a.origin_y : 0.0;
    const double by = b.has_origin_y ? b.origin_y : 0.0;
    if (comes_before(ay, by) || comes_before(by, ay)) return comes_before(ay, by);
    const double ax = a.has_origin_x ? a.origin_x : 0.0;
    const double bx = b.has_origin_x ? b.origin_x : 0.0;
    if (comes_before(ax, bx) || comes_before(bx, ax)) return comes_before(ax, bx);
    return rank[left] < rank[right];
  });
}

}  // namespace quillan::vorn_layered
