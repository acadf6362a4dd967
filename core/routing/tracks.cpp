#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <limits>

#include "core/base/reals.hpp"
#include "core/routing/route_edges.hpp"

namespace quillan::vorn_layered {

namespace {

// The ends of all tracks in a tree of minima, to find the first track that ends at or before a
// value. Tracks not in use yet end before everything, so the first of them comes out where no other
// fits.
class TrackEnds {
 public:
  TrackEnds(std::size_t most, Arena& scratch)
      : leaves_(std::bit_ceil(most)),
        tree_(scratch.array<double>(2 * leaves_, -std::numeric_limits<double>::infinity())) {}

  [[nodiscard]] std::size_t first_at_most(double limit) const {
    std::size_t at = 1;
    while (at < leaves_) at = 2 * at + (tree_[2 * at] <= limit ? 0 : 1);
    return at - leaves_;
  }

  void set(std::size_t track, double end) {
    std::size_t at = track + leaves_;
    tree_[at] = end;
    for (at /= 2; at > 0; at /= 2) {
      const double least = std::min(tree_[2 * at], tree_[2 * at + 1]);
      if (tree_[at] == least) break;
      tree_[at] = least;
    }
  }

 private:
  std::size_t leaves_;
  std::span<double> tree_;
};

}  // namespace

std::int32_t _assign_tracks(std::span<const Interval> intervals, std::span<std::int32_t> tracks,
                            Arena& scratch) {
  struct Start {
    double at;  // the first value of an interval
    std::int32_t index;
  };
  if (intervals.empty()) return 0;
  const Arena::Frame frame(scratch);
  const std::span<Start> sorted = scratch.raw_array<Start>(intervals.size());
  for (std::size_t i = 0; i < intervals.size(); ++i) {
    assert(!std::isnan(intervals[i].source) && !std::isnan(intervals[i].target));
    sorted[i] = {intervals[i].source, static_cast<std::int32_t>(i)};
  }
  std::sort(sorted.begin(), sorted.end(), [](const Start& a, const Start& b) {
    const int order = compare_reals(a.at, b.at);
    return order != 0 ? order < 0 : a.index < b.index;
  });
  TrackEnds ends(intervals.size(), scratch);
  std::int32_t count = 0;
  for (const Start& start : sorted) {
    const Interval& interval = intervals[start.index];
    const std::size_t track = ends.first_at_most(std::min(interval.source, interval.target));
    ends.set(track, std::max(interval.source, interval.target));
    tracks[start.index] = static_cast<std::int32_t>(track);
    count = std::max(count, tracks[start.index] + 1);
  }
  return count;
}

}  // namespace quillan::vorn_layered
