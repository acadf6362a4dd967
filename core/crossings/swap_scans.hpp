// The scans over neighbours of a layer, step by step.

#ifndef QUILLAN_CORE_CROSSINGS_SWAP_SCANS_HPP_
#define QUILLAN_CORE_CROSSINGS_SWAP_SCANS_HPP_

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <span>

#include "core/crossings/layer_orders.hpp"

namespace quillan::vorn_layered {

// What a node of the layer has on one side: how many keys, and the range that they lie in.
struct SideKeys {
  EndKey first;
  EndKey last;
  std::int32_t count;
  const EndKey* keys;
};

// REQUIRES: `keys` ascending; they outlive the range.
inline SideKeys side_keys(std::span<const EndKey> keys) {
  assert(std::is_sorted(keys.begin(), keys.end()));
  if (keys.empty()) return {0, 0, 0, nullptr};
  return {keys.front(), keys.back(), static_cast<std::int32_t>(keys.size()), keys.data()};
}

// A node of the layer. Towards a layer that does not exist it has no keys.
struct Member {
  SideKeys up;
  SideKeys down;
  std::int32_t slot;
};

// The pairs (a from `left`, b from `right`) with b < a. REQUIRES: `right` ascending. a log b.
std::int64_t _sorted_cross_pairs(std::span<const EndKey> left, std::span<const EndKey> right);

// Whether `second` right behind `first` should change places with it: whether that strictly lowers
// the crossings towards both neighbouring layers together. For two given nodes at most one way
// round should be swapped. a log b for a and b keys, a <= b.
bool should_swap(const Member& first, const Member& second);

// The scans of one layer. After the first scan only pairs with a moved member are looked at again:
// one scan in full, then work in proportion to the exchanges made.
class SwapScans {
 public:
  // REQUIRES: at least one member. The members are rearranged in place.
  SwapScans(std::span<Member> members, Arena& scratch)
      : members_(members),
        moved_(scratch.raw_array<std::int32_t>(members.size())),
        again_(scratch.raw_array<std::int32_t>(members.size())) {
    assert(!members.empty());
  }

  // Scans until a scan makes no exchange or 4 m scans were made, and returns true; or until
  // `exchanges` were made in all, and returns false.
  bool run(std::int64_t exchanges);

  // Whether the last scan made no exchange.
  [[nodiscard]] bool settled() const { return scans_ > 0 && last_ == 0; }

  // The scans made so far.
  [[nodiscard]] std::int64_t count() const { return scans_; }

 private:
  std::size_t scan_all();
  std::size_t scan_moved(std::size_t moved);

  std::span<Member> members_;
  // Pairs by the index of their first member, ascending: those to look at, and those for the next.
  std::span<std::int32_t> moved_;
  std::span<std::int32_t> again_;
  std::size_t last_ = 0;  // the exchanges of the last scan
  std::int64_t exchanges_ = 0;
  std::int64_t scans_ = 0;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_SWAP_SCANS_HPP_
