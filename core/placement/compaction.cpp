#include "core/placement/compaction.hpp"

#include <algorithm>
#include <vector>

#include "core/base/index_set.hpp"
#include "core/placement/block_pushes.hpp"

namespace quillan::vorn_layered {

namespace {

// Pushes that reach the top together lie within a few tolerances of it; a longer staircase of them
// is left to the sweeps.
constexpr int kMaxClusterSteps = 4;
constexpr std::int32_t kUnknown = 0;  // in place of a sweep

// Why one walk in topological order gives what the sweeps give.
//
// In the sweeps a block's center rises, by more than the tolerance each time, until it takes its
// final value. A push from s to t, `center(s) + separation`, is made whenever s is visited; what
// counts is the first time it is made with a given value. The final value of s is first pushed in
// the sweep in which s took it if s comes after the block that pushed it there, else in the next
// one; a block that stays at 0.0 pushes in sweep 1. So the moment of every final push is known once
// s is done: (sweep, index of s, place of the constraint), in which order the sweeps apply them.
//
// Take the final pushes on t and the cluster of those that reach the top: the largest, and all that
// are chained to it by steps of at most the tolerance. Everything else pushed on t lies below the
// cluster by more than the tolerance: the other final pushes by choice of the cluster, and pushes
// of earlier values of s by a check against `earlier(s) + separation`, a bound on them, since
// rounding is monotone. Then nothing else can keep the first push of the cluster from being
// accepted, and nothing else is accepted after it. The outcome is that of the cluster alone, in
// order of moments, from 0.0.
//
// Absurd numbers, infinities among them, swallow what is added to them, so that an earlier value of
// s may push as much as the final one, and the moment when the top is first pushed is not known.
// But there no number below the top is within the tolerance of it, so that it is the outcome
// whenever it is pushed. The moment is missed only if negative numbers as absurd lead back to usual
// ones, and those to a cluster of different pushes.
//
// Where the checks fail, compact_by_trails() looks further back.
class Replay {
 public:
  Replay(const BlockConstraints& constraints, std::span<double> centers, Arena& scratch)
      : constraints_(constraints),
        centers_(centers),
        members_(group_by(constraints.block_of, constraints.block_count, scratch)),
        scratch_(scratch),
        blocks_(scratch.raw_array<Block>(constraints.block_count)) {}

  bool run() {
    return in_order_of_pushes(constraints_, members_, scratch_,
                              [this](std::int32_t block) { return place(block); });
  }

 private:
  struct Block {
    double earlier;     // bounds every value held before the final one; kNever if there was none
    std::int32_t acts;  // the sweep in which the final value is first pushed on, or kUnknown
  };

  bool place(std::int32_t block) {
    Push first{kNever, 1, 0, 0};  // of the largest value
    double below = kNever;        // the largest value of all others
    double early = kNever;
    // What is not a number is passed over here, as in all comparisons below.
    for (const std::int32_t slot : members_[block]) {
      if (constraints_.opens_layer[slot]) continue;
      const Push push = push_at(slot);
      early = std::max(early, blocks_[push.source].earlier + constraints_.separation[slot]);
      if (push.value > first.value) {
        below = first.value;
        first = push;
      } else {
        below = std::max(below, push.value);
      }
    }
    const double top = first.value;
    blocks_[block] = {kNever, 1};
    centers_[block] = 0.0;
    if (!(0.0 < top - kTolerance)) return true;  // every push falls short, whenever it is made

    if (early == top && top - kTolerance == top) {
      centers_[block] = top;
      blocks_[block].acts = kUnknown;
      blocks_[block].earlier = next_below(top);
      return true;
    }
    if (!(below < top - kTolerance)) return place_by_cluster(block, top, early);
    if (!(early < top - kTolerance)) return false;
    blocks_[block].earlier = std::max({0.0, early, below});
    take(block, first);
    if (first.sweep == kUnknown) blocks_[block].acts = kUnknown;
    return true;
  }

  [[nodiscard]] Push push_at(std::int32_t slot) const {
    const std::int32_t source = constraints_.block_of[slot - 1];
    return {centers_[source] + constraints_.separation[slot], blocks_[source].acts, source, slot};
  }

  // The case of several pushes that reach the top.
  bool place_by_cluster(std::int32_t block, double top, double early) {
    pushes_.clear();
    for (const std::int32_t slot : members_[block]) {
      if (!constraints_.opens_layer[slot]) pushes_.push_back(push_at(slot));
    }
    double below = kNever;  // the largest final push outside the cluster
    double bottom = top;
    if (!find_cluster(bottom, below)) return false;
    if (!(early < bottom - kTolerance)) return false;
    blocks_[block].earlier = std::max({0.0, early, below});
    return settle(block, bottom, top);
  }

  // Lowers `bottom` to the smallest push of the cluster and sets `below`.
  bool find_cluster(double& bottom, double& below) const {
    for (int step = 0; step < kMaxClusterSteps; ++step) {
      const double reach = bottom - kTolerance;
      double lowest = bottom;
      below = kNever;
      for (const Push& push : pushes_) {
        if (push.value >= reach) {
          lowest = std::min(lowest, push.value);
        } else {
          below = std::max(below, push.value);
        }
      }
      if (lowest == bottom) return true;
      bottom = lowest;
    }
    return false;
  }

  // Applies the pushes of the cluster in order of their moments; false if it must know one that is
  // unknown.
  bool settle(std::int32_t block, double bottom, double top) {
    const bool unknown = std::any_of(pushes_.begin(), pushes_.end(), [=](const Push& push) {
      return push.value >= bottom && push.sweep == kUnknown;
    });
    if (bottom == top) {
      // All of them ask for the same value: the first one sets it.
      Push first{top, INT32_MAX, 0, 0};
      for (const Push& push : pushes_) {
        if (push.value == top && push < first) first = push;
      }
      take(block, first);
      if (unknown) blocks_[block].acts = kUnknown;
      return true;
    }
    if (unknown) return false;
    std::sort(pushes_.begin(), pushes_.end());
    for (const Push& push : pushes_) {
      if (push.value < bottom || !(centers_[block] < push.value - kTolerance)) continue;
      blocks_[block].earlier = std::max(blocks_[block].earlier, centers_[block]);
      take(block, push);
    }
    return true;
  }

  void take(std::int32_t block, const Push& push) {
    centers_[block] = push.value;
    blocks_[block].acts = push.sweep_after(block);
  }

  const BlockConstraints& constraints_;
  std::span<double> centers_;
  Grouped members_;  // slots of each block, ascending
  Arena& scratch_;
  std::span<Block> blocks_;
  std::vector<Push> pushes_;
};

}  // namespace

bool compact_by_replay(const BlockConstraints& constraints, std::span<double> centers,
                       Arena& scratch) {
  const Arena::Frame frame(scratch);
  return Replay(constraints, centers, scratch).run();
}

void compact_by_sweeps(const BlockConstraints& constraints, std::span<double> centers,
                       Arena& scratch) {
  const Arena::Frame frame(scratch);
  const Grouped members = group_by(constraints.block_of, constraints.block_count, scratch);
  const std::int32_t slots = static_cast<std::int32_t>(constraints.block_of.size());
  std::fill(centers.begin(), centers.end(), 0.0);
  // A block whose center has not risen since its last visit pushes nothing that was not pushed.
  IndexSet risen(constraints.block_count, scratch);
  for (std::int32_t block = 0; block < constraints.block_count; ++block) risen.insert(block);
  for (std::int64_t sweep = 0; sweep < std::int64_t{constraints.block_count} + 2; ++sweep) {
    std::int32_t source = risen.next(0);
    if (source < 0) return;
    for (; source >= 0; source = risen.next(source + 1)) {
      risen.erase(source);
      for (const std::int32_t slot : members[source]) {
        const std::int32_t next = slot + 1;
        if (next == slots || constraints.opens_layer[next]) continue;
        const std::int32_t target = constraints.block_of[next];
        const double needed = centers[source] + constraints.separation[next];
        if (centers[target] < needed - kTolerance) {
          centers[target] = needed;
          risen.insert(target);
        }
      }
    }
  }
}

void _compact_blocks(const BlockConstraints& constraints, std::span<double> centers,
                     Arena& scratch) {
  if (compact_by_replay(constraints, centers, scratch)) return;
  if (compact_by_trails(constraints, centers, scratch)) return;
  compact_by_sweeps(constraints, centers, scratch);
}

}  // namespace quillan::vorn_layered
