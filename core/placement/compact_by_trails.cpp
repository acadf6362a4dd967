#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "core/placement/block_pushes.hpp"
#include "core/placement/compaction.hpp"

namespace quillan::vorn_layered {

namespace {

// Where the last push on a block is not enough to tell its center, its last few pushes may be.
//
// The trail of a block holds the last values that it had when a sweep visited it, and with which it
// pushed on, each from one sweep on; what it had at earlier visits is only bounded. The pushes of
// all trails on a block are applied in order of moments, as the sweeps do. Pushes that are in no
// trail may come at any moment, so at first the center is not known, but not above the largest of
// them. From the first push on that exceeds all before and all unknown ones by more than the
// tolerance it is known exactly, for no unknown push can raise it any more.
//
// Where absurd numbers swallow the tolerance, the center is known as soon as such a bound is itself
// pushed, although not since when: the value has no date then, and what it pushes on counts as a
// push that may come at any moment.
class Trails {
 public:
  Trails(const BlockConstraints& constraints, std::size_t longest, std::span<double> centers,
         Arena& scratch)
      : constraints_(constraints),
        longest_(longest),
        centers_(centers),
        scratch_(scratch),
        members_(group_by(constraints.block_of, constraints.block_count, scratch)),
        trails_(scratch.raw_array<Trail>(constraints.block_count)) {}

  bool run() {
    return in_order_of_pushes(constraints_, members_, scratch_,
                              [this](std::int32_t block) { return place(block); });
  }

 private:
  struct Visit {
    double value;
    std::int32_t sweep;
  };
  struct Trail {
    double before;      // bounds the values at visits that are not held; kNever if there is none
    std::size_t first;  // in visits_
    std::size_t count;  // 0: the final value has no date
  };
  // The largest pushes on a block that have no moment.
  struct Undated {
    double unseen = kNever;  // bounds those of values that no trail holds
    double top = kNever;     // of final values
    double below_top = kNever;
  };

  bool place(std::int32_t block) {
    const Undated undated = collect_pushes(block);
    std::sort(pushes_.begin(), pushes_.end());
    const std::size_t first = visits_.size();
    double& center = centers_[block];
    center = 0.0;
    double bound = std::max(undated.unseen, undated.top);
    double before = kNever;
    bool known = !(0.0 < bound - kTolerance);
    if (known) visits_.push_back({0.0, 1});
    for (const Push& push : pushes_) {
      const double reach = push.value - kTolerance;
      if (!known) {
        if (bound == push.value && bound == reach) {
          known = true;
          center = push.value;
          before = next_below(center);
          continue;
        }
        if (!(bound < reach)) {
          bound = std::max(bound, push.value);
          continue;
        }
        known = true;
        before = bound;
      } else if (!(center < reach)) {
        continue;
      } else if (visits_.size() == first) {
        before = center;
      }
      center = push.value;
      const std::int32_t sweep = push.sweep_after(block);
      if (visits_.size() == first || visits_.back().sweep != sweep) visits_.push_back({});
      visits_.back() = {center, sweep};
    }
    if (!known && !take_undated(undated, bound, center, before)) return false;
    keep(block, first, before);
    return true;
  }

  // Fills pushes_ with those that have a moment and can raise a center.
  Undated collect_pushes(std::int32_t block) {
    Undated undated;
    pushes_.clear();
    for (const std::int32_t slot : members_[block]) {
      if (constraints_.opens_layer[slot]) continue;
      const double separation = constraints_.separation[slot];
      const std::int32_t source = constraints_.block_of[slot - 1];
      const Trail& trail = trails_[source];
      undated.unseen = std::max(undated.unseen, trail.before + separation);
      if (trail.count == 0) {
        const double value = centers_[source] + separation;
        if (value < undated.top) undated.below_top = std::max(undated.below_top, value);
        if (value > undated.top) undated.below_top = std::exchange(undated.top, value);
      }
      for (std::size_t i = trail.first; i < trail.first + trail.count; ++i) {
        const double value = visits_[i].value + separation;
        if (0.0 < value - kTolerance) pushes_.push_back({value, visits_[i].sweep, source, slot});
      }
    }
    return undated;
  }

  // The center where no push that has a moment tells it; false if that cannot be known.
  bool take_undated(const Undated& undated, double bound, double& center, double& before) const {
    center = bound;
    if (bound - kTolerance == bound) {
      before = next_below(bound);
      return true;
    }
    before = std::max({0.0, undated.unseen, undated.below_top});
    for (const Push& push : pushes_) {
      if (push.value < bound) before = std::max(before, push.value);
    }
    return undated.top == bound && before < bound - kTolerance;
  }

  void keep(std::int32_t block, std::size_t first, double before) {
    const std::size_t count = visits_.size() - first;
    if (count > longest_) {
      before = visits_[visits_.size() - longest_ - 1].value;
      const std::span<Visit> all(visits_);
      std::ranges::copy(all.last(longest_), all.begin() + static_cast<std::ptrdiff_t>(first));
      visits_.resize(first + longest_);
    }
    trails_[block] = {before, first, std::min(count, longest_)};
  }

  const BlockConstraints& constraints_;
  std::size_t longest_;  // visits of a trail
  std::span<double> centers_;
  Arena& scratch_;
  Grouped members_;  // slots of each block, ascending
  std::span<Trail> trails_;
  std::vector<Visit> visits_;  // of all trails
  std::vector<Push> pushes_;
};

// Whether most separations are positive but no more than the tolerance.
bool are_mostly_swallowed(std::span<const double> separations) {
  const auto count = std::ranges::count_if(
      separations, [](double value) { return 0.0 < value && value <= kTolerance; });
  return count > std::ssize(separations) / 2;
}

}  // namespace

bool compact_by_trails(const BlockConstraints& constraints, std::span<double> centers,
                       Arena& scratch) {
  // Short trails are enough for nearly all graphs. Many separations of up to a hundred tolerances
  // need longer ones, and of up to ten, ones that are no cheaper than the sweeps. Nor are they
  // where it takes several separations together to push at all.
  const auto run = [&](std::size_t longest) {
    const Arena::Frame frame(scratch);
    return Trails(constraints, longest, centers, scratch).run();
  };
  return run(8) || (!are_mostly_swallowed(constraints.separation) && run(32));
}

}  // namespace quillan::vorn_layered
