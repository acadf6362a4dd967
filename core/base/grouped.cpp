#include "core/base/grouped.hpp"

namespace quillan::vorn_layered {

Grouped group_by(std::span<const std::int32_t> keys, std::int32_t lists, Arena& arena) {
  const std::span<std::int32_t> starts = arena.array<std::int32_t>(lists + 1, 0);
  for (const std::int32_t key : keys) {
    if (key >= 0) ++starts[key];
  }
  // Each start holds the end of its list until the fill below, walking backwards, moves it there.
  for (std::int32_t list = 1; list <= lists; ++list) starts[list] += starts[list - 1];
  const std::span<std::int32_t> items = arena.raw_array<std::int32_t>(starts[lists]);
  for (std::size_t i = keys.size(); i-- > 0;) {
    if (keys[i] >= 0) items[--starts[keys[i]]] = static_cast<std::int32_t>(i);
  }
  return {starts, items};
}

}  // namespace quillan::vorn_layered
