#include "core/routing/lanes.hpp"

#include <algorithm>
#include <bit>
#include <numeric>

#include "core/base/reals.hpp"

namespace quillan::vorn_layered {

namespace {

// The rightmost track in use over ranges of places: raised for a range, asked for a range.
class Rightmost {
 public:
  Rightmost(std::size_t places, Arena& scratch)
      : leaves_(std::bit_ceil(places)),
        inside_(scratch.array<std::int32_t>(2 * leaves_, kNone)),
        whole_(scratch.array<std::int32_t>(2 * leaves_, kNone)) {}

  static constexpr std::int32_t kNone = -1;

  [[nodiscard]] std::int32_t over(std::size_t first, std::size_t last) const {
    std::int32_t most = kNone;
    for (std::size_t a = first + leaves_, b = last + leaves_ + 1; a < b; a /= 2, b /= 2) {
      if (a % 2 == 1) most = std::max(most, inside_[a++]);
      if (b % 2 == 1) most = std::max(most, inside_[--b]);
    }
    for (std::size_t a = first + leaves_; a > 0; a /= 2) most = std::max(most, whole_[a]);
    for (std::size_t b = last + leaves_; b > 0; b /= 2) most = std::max(most, whole_[b]);
    return most;
  }

  void raise(std::size_t first, std::size_t last, std::int32_t track) {
    const auto raise_all = [&](std::size_t at) {
      whole_[at] = std::max(whole_[at], track);
      inside_[at] = std::max(inside_[at], track);
    };
    for (std::size_t a = first + leaves_, b = last + leaves_ + 1; a < b; a /= 2, b /= 2) {
      if (a % 2 == 1) raise_all(a++);
      if (b % 2 == 1) raise_all(--b);
    }
    // Every range that holds a part of this one.
    for (std::size_t a = (first + leaves_) / 2; a > 0; a /= 2) note(a, track);
    for (std::size_t b = (last + leaves_) / 2; b > 0; b /= 2) note(b, track);
  }

 private:
  void note(std::size_t at, std::int32_t track) { inside_[at] = std::max(inside_[at], track); }

  std::size_t leaves_;
  std::span<std::int32_t> inside_;  // the rightmost anywhere in the range
  std::span<std::int32_t> whole_;   // the rightmost that was raised for the whole range
};

bool less(double a, double b) { return compare_reals(a, b) < 0; }

// Counts the tracks of each group of runs that nothing separates.
void count_tracks(std::span<const Run> runs, double clearance, std::span<Lane> lanes,
                  Arena& scratch) {
  const std::span<std::int32_t> sorted = scratch.raw_array<std::int32_t>(runs.size());
  std::iota(sorted.begin(), sorted.end(), 0);
  std::sort(sorted.begin(), sorted.end(), [&](std::int32_t a, std::int32_t b) {
    const int order = compare_reals(runs[a].low, runs[b].low);
    return order != 0 ? order < 0 : a < b;
  });
  for (std::size_t first = 0; first < sorted.size();) {
    double high = runs[sorted[first]].high;
    std::int32_t tracks = lanes[sorted[first]].track + 1;
    std::size_t end = first + 1;
    for (; end < sorted.size() && runs[sorted[end]].low <= high + clearance; ++end) {
      high = larger(high, runs[sorted[end]].high);
      tracks = std::max(tracks, lanes[sorted[end]].track + 1);
    }
    for (; first < end; ++first) lanes[sorted[first]].tracks = tracks;
  }
}

}  // namespace

void assign_lanes(std::span<const Run> runs, std::span<const std::int32_t> order, double clearance,
                  std::span<Lane> lanes, Arena& scratch) {
  if (runs.empty()) return;
  const Arena::Frame frame(scratch);
  const std::span<double> heights = scratch.raw_array<double>(2 * runs.size());
  for (std::size_t i = 0; i < runs.size(); ++i) {
    heights[2 * i] = runs[i].low;
    heights[2 * i + 1] = runs[i].high;
  }
  std::sort(heights.begin(), heights.end(), less);
  const auto place_of = [&](double height) -> std::size_t {
    return std::lower_bound(heights.begin(), heights.end(), height, less) - heights.begin();
  };
  const auto place_behind = [&](double height) -> std::size_t {
    return std::upper_bound(heights.begin(), heights.end(), height, less) - heights.begin();
  };
  Rightmost rightmost(heights.size(), scratch);
  for (const std::int32_t index : order) {
    const Run& run = runs[index];
    const std::size_t low = place_of(run.low);
    const std::size_t high = std::max(low, place_of(run.high));
    const std::size_t first = std::min(low, place_of(run.low - clearance));
    const std::size_t last = std::max(high, place_behind(run.high + clearance) - 1);
    lanes[index].track = rightmost.over(first, last) + 1;
    rightmost.raise(low, high, lanes[index].track);
  }
  count_tracks(runs, clearance, lanes, scratch);
}

}  // namespace quillan::vorn_layered
