// What the ways to compact blocks have in common; for the files of compaction.hpp alone.

#ifndef QUILLAN_CORE_PLACEMENT_BLOCK_PUSHES_HPP_
#define QUILLAN_CORE_PLACEMENT_BLOCK_PUSHES_HPP_

#include <bit>
#include <cstdint>
#include <limits>
#include <span>
#include <tuple>

#include "core/base/arena.hpp"
#include "core/base/grouped.hpp"
#include "core/placement/compaction.hpp"

namespace quillan::vorn_layered {

inline constexpr double kTolerance = 1e-9;
inline constexpr double kNever = -std::numeric_limits<double>::infinity();

// The largest number below a positive one.
inline double next_below(double value) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(value) - 1);
}

// The center of one block and a separation, held against the center of another. The sweeps apply
// pushes in the order of (sweep, source, slot): their moments.
struct Push {
  double value;
  std::int32_t sweep;
  std::int32_t source;
  std::int32_t slot;

  bool operator<(const Push& other) const {
    return std::tie(sweep, source, slot) < std::tie(other.sweep, other.source, other.slot);
  }
  // The sweep that pushes on from `block`, if its center becomes `value`.
  [[nodiscard]] std::int32_t sweep_after(std::int32_t block) const {
    return block > source ? sweep : sweep + 1;
  }
};

// Calls place(block) for every block after those that push on it, until it returns false. False,
// too, if the constraints have a cycle.
template <typename Place>
bool in_order_of_pushes(const BlockConstraints& constraints, const Grouped& members, Arena& scratch,
                        Place place) {
  const std::span<std::int32_t> waiting =  // constraints on a block whose source is not done
      scratch.array<std::int32_t>(constraints.block_count, 0);
  const std::span<std::int32_t> queue = scratch.raw_array<std::int32_t>(constraints.block_count);
  std::int32_t end = 0;
  for (std::int32_t block = 0; block < constraints.block_count; ++block) {
    for (const std::int32_t slot : members[block]) {
      if (!constraints.opens_layer[slot]) ++waiting[block];
    }
    if (waiting[block] == 0) queue[end++] = block;
  }
  const std::int32_t slots = static_cast<std::int32_t>(constraints.block_of.size());
  for (std::int32_t cursor = 0; cursor < end; ++cursor) {
    const std::int32_t block = queue[cursor];
    if (!place(block)) return false;
    for (const std::int32_t slot : members[block]) {
      const std::int32_t next = slot + 1;
      if (next == slots || constraints.opens_layer[next]) continue;
      const std::int32_t target = constraints.block_of[next];
      if (--waiting[target] == 0) queue[end++] = target;
    }
  }
  return end == constraints.block_count;
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_BLOCK_PUSHES_HPP_
