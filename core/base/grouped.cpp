#include "core/base/grouped.hpp"

#include <algorithm>

namespace quillan::vorn_layered {

namespace {

// Lets each start hold the end of its list, until fill() moves it to the beginning.
void count_keys(std::span<const std::int32_t> keys, std::span<std::int32_t> starts) {
  for (const std::int32_t key : keys) {
    if (key >= 0) ++starts[key];
  }
  for (std::size_t list = 1; list < starts.size(); ++list) starts[list] += starts[list - 1];
}

Grouped fill(std::span<const std::int32_t> keys, std::span<std::int32_t> starts,
             std::span<std::int32_t> items) {
  for (std::size_t i = keys.size(); i-- > 0;) {
    if (keys[i] >= 0) items[--starts[keys[i]]] = static_cast<std::int32_t>(i);
  }
  return {starts, items.first(starts.back())};
}

}  // namespace

Grouped group_by(std::span<const std::int32_t> keys, std::int32_t lists, Arena& arena) {
  const std::span<std::int32_t> starts = arena.array<std::int32_t>(lists + 1, 0);
  count_keys(keys, starts);
  return fill(keys, starts, arena.raw_array<std::int32_t>(starts.back()));
}

Grouped group_by(std::span<const std::int32_t> keys, std::span<std::int32_t> starts,
                 std::span<std::int32_t> items) {
  std::fill(starts.begin(), starts.end(), 0);
  count_keys(keys, starts);
  return fill(keys, starts, items);
}

}  // namespace quillan::vorn_layered
