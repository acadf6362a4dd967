// GroupsOf: lists of one kind, back to back in one array. Grouped: the same of integers.
//
// Example:
//   const std::array<std::int32_t, 4> layer_of = {1, 0, -1, 1};
//   const Grouped members = group_by(layer_of, 2, arena);   // members[1] holds 0 and 3
//   for (const std::int32_t item : members[1]) visit(item);

#ifndef QUILLAN_CORE_BASE_GROUPED_HPP_
#define QUILLAN_CORE_BASE_GROUPED_HPP_

#include <cstdint>
#include <span>

#include "core/base/arena.hpp"

namespace quillan::vorn_layered {

template <typename Item>
struct GroupsOf {
  std::span<const std::int32_t> starts;  // where each list begins, and the end of the last one
  std::span<Item> items;

  [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(starts.size()) - 1; }
  [[nodiscard]] std::int32_t size_of(std::int32_t list) const {
    return starts[list + 1] - starts[list];
  }
  [[nodiscard]] std::span<Item> operator[](std::int32_t list) const {
    return items.subspan(starts[list], size_of(list));
  }
};

using Grouped = GroupsOf<const std::int32_t>;

// Groups the indices of `keys` by key: list k of the `lists` lists holds, ascending, every i with
// keys[i] == k. A key below 0 belongs to no list. The result lives as long as what is allocated
// from `arena` now. Linear, by counting.
Grouped group_by(std::span<const std::int32_t> keys, std::int32_t lists, Arena& arena);
// The same in arrays of the caller's. REQUIRES: `starts` has one element more than there are lists;
// `items` has as many as there are keys.
Grouped group_by(std::span<const std::int32_t> keys, std::span<std::int32_t> starts,
                 std::span<std::int32_t> items);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_GROUPED_HPP_
