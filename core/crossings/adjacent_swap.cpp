#include "core/crossings/adjacent_swap.hpp"

#include <algorithm>
#include <utility>

#include "core/graph/index_set.hpp"

namespace quillan::vorn_layered {

namespace {

// The crossings of `first` standing before `second` minus those of the reverse, for one side.
std::int64_t side_gain(std::span<const Key64> first, std::span<const Key64> second) {
  if (first.empty() || second.empty()) return 0;
  if (first.size() == 1 && second.size() == 1) {
    return static_cast<std::int64_t>(first[0] > second[0]) -
           static_cast<std::int64_t>(first[0] < second[0]);
  }
  return _sorted_cross_pairs(first, second) - _sorted_cross_pairs(second, first);
}

bool may_cross(std::span<const Key64> first, std::span<const Key64> second) {
  return !first.empty() && !second.empty() && first.back() > second.front();
}

bool should_swap(const LayerOrders& orders, std::int32_t first, std::int32_t second) {
  const std::span<const Key64> up_first = orders.keys(first, Reference::UPPER);
  const std::span<const Key64> up_second = orders.keys(second, Reference::UPPER);
  const std::span<const Key64> down_first = orders.keys(first, Reference::LOWER);
  const std::span<const Key64> down_second = orders.keys(second, Reference::LOWER);
  // Without a crossing as they stand there is nothing to gain.
  if (!may_cross(up_first, up_second) && !may_cross(down_first, down_second)) return false;
  return side_gain(up_first, up_second) + side_gain(down_first, down_second) > 0;
}

}  // namespace

std::int64_t _sorted_cross_pairs(std::span<const Key64> left, std::span<const Key64> right) {
  std::int64_t count = 0;
  for (const Key64 value : left) {
    count += std::lower_bound(right.begin(), right.end(), value) - right.begin();
  }
  return count;
}

void _adjacent_swap(const LayerOrders& orders, std::span<std::int32_t> ordered) {
  const std::int32_t pairs = static_cast<std::int32_t>(ordered.size()) - 1;
  if (pairs < 1) return;
  Arena& scratch = orders.graph().scratch;
  const Arena::Frame frame(scratch);
  IndexSet pending(pairs, scratch);  // pairs with a member that moved since they were looked at
  bool improved = false;
  for (std::int32_t index = 0; index < pairs; ++index) {
    if (!should_swap(orders, ordered[index], ordered[index + 1])) continue;
    std::swap(ordered[index], ordered[index + 1]);
    improved = true;
    if (index > 0) pending.insert(index - 1);
  }
  const std::int64_t cap = 4 * static_cast<std::int64_t>(ordered.size());
  for (std::int64_t scan = 1; improved && scan < cap; ++scan) {
    improved = false;
    for (std::int32_t index = pending.next(0); index >= 0; index = pending.next(index + 1)) {
      pending.erase(index);
      if (!should_swap(orders, ordered[index], ordered[index + 1])) continue;
      std::swap(ordered[index], ordered[index + 1]);
      improved = true;
      if (index > 0) pending.insert(index - 1);
      if (index + 1 < pairs) pending.insert(index + 1);
    }
  }
}

}  // namespace quillan::vorn_layered
