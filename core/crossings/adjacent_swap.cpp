#include "core/crossings/adjacent_swap.hpp"

#include <algorithm>

#include "core/crossings/swap_cells.hpp"
#include "core/crossings/swap_scans.hpp"

namespace quillan::vorn_layered {

namespace {

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
  const std::int64_t size = static_cast<std::int64_t>(entries.size());
  SwapScans scans(entries, scratch);
  // Cells are worth looking for where nodes have a long way to go.
  for (std::int64_t exchanges = 8 * size; !scans.run(exchanges); exchanges *= 4) {
    if (scans.count() <= size && settle_in_cells(entries, scratch)) return;
  }
}

}  // namespace

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
