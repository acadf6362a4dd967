#include "core/crossings/swap_scans.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

namespace quillan::vorn_layered {

namespace {

// The crossings of one side with the first node before the second, minus those of the reverse.
struct SideGain {
  std::int64_t gain;  // if the ranges lie apart
  bool overlap;       // if they do not, and the keys themselves must be compared
};

SideGain gain_of_spans(const SideKeys& first, const SideKeys& second) {
  const std::int64_t pairs = std::int64_t{first.count} * second.count;
  const int sign =
      static_cast<int>(first.first > second.last) - static_cast<int>(first.last < second.first);
  // Two single keys that overlap are equal: one port, and no crossing either way round.
  return {sign * pairs, sign == 0 && pairs > 1};
}

// The pairs (a from `few`, b from `many`) with a < b. REQUIRES: `many` ascending. a log b.
std::int64_t pairs_below(std::span<const EndKey> few, std::span<const EndKey> many) {
  assert(std::is_sorted(many.begin(), many.end()));
  std::int64_t count = 0;
  for (const EndKey value : few) {
    count += many.end() - std::upper_bound(many.begin(), many.end(), value);
  }
  return count;
}

std::int64_t gain_of_keys(const SideKeys& first, const SideKeys& second) {
  constexpr std::int64_t kFew = 32;
  const std::span<const EndKey> left(first.keys, first.count);
  const std::span<const EndKey> right(second.keys, second.count);
  if (std::int64_t{first.count} * second.count > kFew) {
    // From the shorter list both ways: a hub is compared with each of its neighbours in the layer.
    return left.size() <= right.size()
               ? _sorted_cross_pairs(left, right) - pairs_below(left, right)
               : pairs_below(right, left) - _sorted_cross_pairs(right, left);
  }
  std::int32_t gain = 0;
  for (const EndKey a : left) {
    for (const EndKey b : right) gain += static_cast<int>(a > b) - static_cast<int>(a < b);
  }
  return gain;
}

}  // namespace

std::int64_t _sorted_cross_pairs(std::span<const EndKey> left, std::span<const EndKey> right) {
  assert(std::is_sorted(right.begin(), right.end()));
  std::int64_t count = 0;
  for (const EndKey value : left) {
    count += std::lower_bound(right.begin(), right.end(), value) - right.begin();
  }
  return count;
}

bool should_swap(const Member& first, const Member& second) {
  SideGain up = gain_of_spans(first.up, second.up);
  SideGain down = gain_of_spans(first.down, second.down);
  if (up.overlap) up.gain = gain_of_keys(first.up, second.up);
  if (down.overlap) down.gain = gain_of_keys(first.down, second.down);
  return up.gain + down.gain > 0;
}

// The scan over all pairs: one node is carried along and set down where the next one stays behind
// it. Fills `again_` with the pairs in front of an exchange and returns their number.
std::size_t SwapScans::scan_all() {
  const std::span<Member> members = members_;
  std::size_t count = 0;
  Member carried = members[0];
  for (std::size_t index = 0; index + 1 < members.size(); ++index) {
    const Member& next = members[index + 1];
    if (should_swap(carried, next)) {
      members[index] = next;
      again_[count++] = static_cast<std::int32_t>(index) - 1;
    } else {
      members[index] = carried;
      carried = next;
    }
  }
  members.back() = carried;
  return count;
}

// A scan over the pairs with a member that moved since they were looked at: `moved`, and the pairs
// along which a node is carried in this scan. Fills `again_` like scan_all().
std::size_t SwapScans::scan_moved(std::size_t moved_count) {
  const std::span<Member> members = members_;
  const std::span<const std::int32_t> moved = moved_.first(moved_count);
  const std::int32_t pairs = static_cast<std::int32_t>(members.size()) - 1;
  std::size_t count = 0;
  for (std::size_t turn = 0; turn < moved.size();) {
    std::int32_t index = moved[turn++];
    // The first node has no pair in front of it.
    if (index < 0 || !should_swap(members[index], members[index + 1])) continue;
    const Member carried = members[index];
    do {
      members[index] = members[index + 1];
      again_[count++] = index - 1;
      ++index;
      if (turn < moved.size() && moved[turn] == index) ++turn;
    } while (index < pairs && should_swap(carried, members[index + 1]));
    members[index] = carried;
  }
  return count;
}

bool SwapScans::run(std::int64_t exchanges) {
  constexpr std::int64_t kScansANode = 4;
  const std::int64_t cap = kScansANode * static_cast<std::int64_t>(members_.size());
  while (scans_ == 0 || (last_ > 0 && scans_ < cap)) {
    if (scans_ > 0 && exchanges_ >= exchanges) return false;
    std::swap(moved_, again_);
    last_ = scans_ == 0 ? scan_all() : scan_moved(last_);
    exchanges_ += static_cast<std::int64_t>(last_);
    ++scans_;
  }
  return true;
}

}  // namespace quillan::vorn_layered
