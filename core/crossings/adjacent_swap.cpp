#include "core/crossings/adjacent_swap.hpp"

#include <algorithm>
#include <utility>

namespace quillan::vorn_layered {

namespace {

// What a node of the scan has on one side: how many keys, and the range that they lie in.
struct Range {
  EndKey first;
  EndKey last;
  std::int32_t count;
  const EndKey* keys;
};

struct Entry {
  Range up;
  Range down;
  std::int32_t slot;
};

Range range_of(std::span<const EndKey> keys) {
  if (keys.empty()) return {0, 0, 0, nullptr};
  return {keys.front(), keys.back(), static_cast<std::int32_t>(keys.size()), keys.data()};
}

// The crossings of one side with the first node before the second, minus those of the reverse.
struct SideGain {
  std::int64_t gain;  // if the ranges lie apart
  bool overlap;       // if they do not, and the keys themselves must be compared
};

SideGain gain_of_ranges(const Range& first, const Range& second) {
  const std::int64_t pairs = std::int64_t{first.count} * second.count;
  const int sign =
      static_cast<int>(first.first > second.last) - static_cast<int>(first.last < second.first);
  // Two single keys that overlap are equal: one port, and no crossing either way round.
  return {sign * pairs, sign == 0 && pairs > 1};
}

std::int64_t gain_of_keys(const Range& first, const Range& second) {
  constexpr std::int64_t kFew = 32;
  const std::span<const EndKey> left(first.keys, first.count);
  const std::span<const EndKey> right(second.keys, second.count);
  if (std::int64_t{first.count} * second.count > kFew) {
    return _sorted_cross_pairs(left, right) - _sorted_cross_pairs(right, left);
  }
  std::int32_t gain = 0;
  for (const EndKey a : left) {
    for (const EndKey b : right) gain += static_cast<int>(a > b) - static_cast<int>(a < b);
  }
  return gain;
}

bool should_swap(const Entry& first, const Entry& second) {
  SideGain up = gain_of_ranges(first.up, second.up);
  SideGain down = gain_of_ranges(first.down, second.down);
  if (up.overlap) up.gain = gain_of_keys(first.up, second.up);
  if (down.overlap) down.gain = gain_of_keys(first.down, second.down);
  return up.gain + down.gain > 0;
}

// Pairs by the index of their first member, ascending.
using Pairs = std::span<std::int32_t>;

// The scan over all pairs: one node is carried along and set down where the next one stays behind
// it. Fills `again` with the pairs in front of an exchange and returns their number.
std::size_t scan_all(std::span<Entry> entries, Pairs again) {
  std::size_t count = 0;
  Entry carried = entries[0];
  for (std::size_t index = 0; index + 1 < entries.size(); ++index) {
    const Entry& next = entries[index + 1];
    if (should_swap(carried, next)) {
      entries[index] = next;
      again[count++] = static_cast<std::int32_t>(index) - 1;
    } else {
      entries[index] = carried;
      carried = next;
    }
  }
  entries.back() = carried;
  return count;
}

// A scan over the pairs with a member that moved since they were looked at: `moved`, and the pair
// behind each exchange of this scan. Fills `again` like scan_all().
std::size_t scan_moved(std::span<Entry> entries, std::span<const std::int32_t> moved, Pairs again) {
  const std::int32_t pairs = static_cast<std::int32_t>(entries.size()) - 1;
  std::size_t count = 0;
  std::int32_t behind = pairs;  // the pair behind the last exchange; `pairs` for none
  for (std::size_t turn = 0; turn < moved.size() || behind < pairs;) {
    const std::int32_t index = turn < moved.size() ? std::min(moved[turn], behind) : behind;
    if (turn < moved.size() && moved[turn] == index) ++turn;
    behind = pairs;
    // The first node has no pair in front of it.
    if (index < 0 || !should_swap(entries[index], entries[index + 1])) continue;
    std::swap(entries[index], entries[index + 1]);
    again[count++] = index - 1;
    behind = index + 1;
  }
  return count;
}

// Whether every node has one key on side `sorted` and at most one on side `free`, and the layer
// stands in ascending order of the former.
bool is_plain(std::span<const Entry> entries, Range Entry::*sorted, Range Entry::*free) {
  EndKey last = INT32_MIN;
  for (const Entry& entry : entries) {
    const Range& range = entry.*sorted;
    if (range.count != 1 || (entry.*free).count > 1 || range.first < last) return false;
    last = range.first;
  }
  return true;
}

// What the scans make of a plain layer, without them. Nodes with different keys on the sorted side
// never change places: what the exchange could gain on the other side it loses on this one. Nodes
// with equal keys there are exchanged exactly if their other keys stand in descending order, and a
// node without another key stays where it is and parts those around it. So each stretch of equal
// keys comes out as a stable sort, which the scans need fewer rounds for than their cap.
void settle_plain(std::span<Entry> entries, Range Entry::*sorted, Range Entry::*free) {
  for (std::size_t begin = 0; begin < entries.size();) {
    std::size_t end = begin;
    while (end < entries.size() && (entries[end].*free).count == 1 &&
           (entries[end].*sorted).first == (entries[begin].*sorted).first) {
      ++end;
    }
    const auto by_free_key = [free](const Entry& a, const Entry& b) {
      return (a.*free).first < (b.*free).first;
    };
    const std::span<Entry> stretch = entries.subspan(begin, end - begin);
    if (!std::is_sorted(stretch.begin(), stretch.end(), by_free_key)) {
      std::stable_sort(stretch.begin(), stretch.end(), by_free_key);
    }
    begin = std::max(end, begin + 1);
  }
}

void settle_by_scans(std::span<Entry> entries, Arena& scratch) {
  Pairs moved = scratch.raw_array<std::int32_t>(entries.size());
  Pairs again = scratch.raw_array<std::int32_t>(entries.size());
  std::size_t count = scan_all(entries, again);
  const std::int64_t cap = 4 * static_cast<std::int64_t>(entries.size());
  for (std::int64_t scan = 1; count > 0 && scan < cap; ++scan) {
    std::swap(moved, again);
    count = scan_moved(entries, moved.first(count), again);
  }
}

}  // namespace

std::int64_t _sorted_cross_pairs(std::span<const EndKey> left, std::span<const EndKey> right) {
  std::int64_t count = 0;
  for (const EndKey value : left) {
    count += std::lower_bound(right.begin(), right.end(), value) - right.begin();
  }
  return count;
}

void _adjacent_swap(const LayerOrders& orders, std::span<std::int32_t> ordered) {
  if (ordered.size() < 2) return;
  Arena& scratch = orders.graph().scratch;
  const Arena::Frame frame(scratch);
  const std::span<Entry> entries = scratch.raw_array<Entry>(ordered.size());
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    entries[i] = {range_of(orders.keys(ordered[i], Reference::UPPER)),
                  range_of(orders.keys(ordered[i], Reference::LOWER)), ordered[i]};
  }
  if (is_plain(entries, &Entry::up, &Entry::down)) {
    settle_plain(entries, &Entry::up, &Entry::down);
  } else if (is_plain(entries, &Entry::down, &Entry::up)) {
    settle_plain(entries, &Entry::down, &Entry::up);
  } else {
    settle_by_scans(entries, scratch);
  }
  for (std::size_t i = 0; i < ordered.size(); ++i) ordered[i] = entries[i].slot;
}

}  // namespace quillan::vorn_layered
