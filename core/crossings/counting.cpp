#include "core/crossings/counting.hpp"

#include <algorithm>

namespace quillan::vorn_layered {

namespace {

constexpr std::int64_t kPortsPerNode = 256;
constexpr int kPlaceShift = 32;
constexpr std::int64_t kPortMask = (std::int64_t{1} << kPlaceShift) - 1;
constexpr std::size_t kRun = 16;

// Sorts a short run by insertion; every step of an element over a larger one is an inversion.
std::int64_t insertion_inversions(std::span<std::int64_t> run) {
  std::int64_t inversions = 0;
  for (std::size_t i = 1; i < run.size(); ++i) {
    const std::int64_t value = run[i];
    std::size_t j = i;
    for (; j > 0 && run[j - 1] > value; --j) run[j] = run[j - 1];
    run[j] = value;
    inversions += static_cast<std::int64_t>(i - j);
  }
  return inversions;
}

// Merges two sorted neighbours into `out`. An element of the right one passes all that is left of
// the left one; equal elements do not pass.
std::int64_t merge_inversions(std::span<const std::int64_t> left,
                              std::span<const std::int64_t> right, std::int64_t* out) {
  std::int64_t inversions = 0;
  const std::int64_t* a = left.data();
  const std::int64_t* const a_end = a + left.size();
  const std::int64_t* b = right.data();
  const std::int64_t* const b_end = b + right.size();
  while (a != a_end && b != b_end) {
    const bool take_right = *b < *a;
    inversions += take_right ? a_end - a : 0;
    *out++ = take_right ? *b : *a;
    b += take_right ? 1 : 0;
    a += take_right ? 0 : 1;
  }
  out = std::copy(a, a_end, out);
  std::copy(b, b_end, out);
  return inversions;
}

}  // namespace

std::int64_t _count_inversions(std::span<std::int64_t> sequence, Arena& scratch) {
  const std::size_t size = sequence.size();
  std::int64_t inversions = 0;
  for (std::size_t start = 0; start < size; start += kRun) {
    inversions += insertion_inversions(sequence.subspan(start, std::min(kRun, size - start)));
  }
  if (size <= kRun) return inversions;
  const Arena::Frame frame(scratch);
  std::span<std::int64_t> from = sequence;
  std::span<std::int64_t> into = scratch.raw_array<std::int64_t>(size);
  for (std::size_t width = kRun; width < size; width *= 2) {
    for (std::size_t start = 0; start < size; start += 2 * width) {
      const std::size_t left = std::min(width, size - start);
      const std::size_t right = std::min(width, size - start - left);
      inversions += merge_inversions(from.subspan(start, left), from.subspan(start + left, right),
                                     &into[start]);
    }
    std::swap(from, into);
  }
  if (from.data() != sequence.data()) std::copy(from.begin(), from.end(), sequence.begin());
  return inversions;
}

std::int64_t _crossings_between(const LayerOrders& orders, std::int32_t upper) {
  const std::int32_t total = orders.gap_size(upper);
  if (total < 2) return 0;
  Arena& scratch = orders.graph().scratch;
  const Arena::Frame frame(scratch);
  // Place and port of the target ends, the place in the high bits.
  const std::span<std::int64_t> ends = scratch.raw_array<std::int64_t>(total);
  std::size_t used = 0;
  for (const std::int32_t slot : orders.order(upper)) {
    std::size_t group = used;
    std::int32_t port = -1;
    for (const LayerOrders::Segment& segment : orders.segments_below(slot)) {
      // Segments of one port stand in ascending order of place, then port.
      if (segment.upper_port != port) {
        if (used - group > 1) sort_few(ends.subspan(group, used - group));
        group = used;
        port = segment.upper_port;
      }
      ends[used++] =
          (std::int64_t{orders.place(segment.lower_slot)} << kPlaceShift) | segment.lower_port;
    }
    if (used - group > 1) sort_few(ends.subspan(group, used - group));
  }
  // Only now may a high port run into the range of the next place: sorting by these keys would hide
  // crossings between segments of one port.
  for (std::int64_t& end : ends) {
    end = (end >> kPlaceShift) * kPortsPerNode + (end & kPortMask);
  }
  return _count_inversions(ends, scratch);
}

std::int64_t count_crossings(LGraph& graph) {
  if (graph.layers.size() < 2) return 0;
  const Arena::Frame frame(graph.scratch);
  const LayerOrders orders(graph);
  std::int64_t crossings = 0;
  for (std::int32_t upper = 0; upper + 1 < orders.layer_count(); ++upper) {
    crossings += _crossings_between(orders, upper);
  }
  return crossings;
}

}  // namespace quillan::vorn_layered
