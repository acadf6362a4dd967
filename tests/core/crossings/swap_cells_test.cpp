// Layers settled cell by cell against scans of the whole layer.

#include "core/crossings/swap_cells.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

// Nodes that stand in order on both sides but for `noise`, in the order in which a sort by the
// middle of their lower ends may leave them.
class Tangle {
 public:
  Tangle(Random& random, std::int32_t size, std::int32_t noise) : upper_(size), lower_(size) {
    const int bare = random.pick({0, 0, 10});  // percent of nodes without upper ends
    for (std::int32_t i = 0; i < size; ++i) {
      const std::int32_t step = random.pick({1, 1, 3});
      const int upper_ends = random.chance(bare) ? 0 : random.pick({1, 1, 1, 2});
      upper_[i] = draw(random, i / step * step, upper_ends, noise);
      lower_[i] = draw(random, i, random.pick({0, 1, 1, 2, 4}), noise);
    }
    for (const std::int32_t i : random.permutation(size)) {
      members.push_back({side_keys(upper_[i]), side_keys(lower_[i]), i});
    }
    if (random.chance(30)) {
      for (Member& member : members) std::swap(member.up, member.down);
    }
  }

  std::vector<Member> members;

 private:
  using Keys = std::vector<EndKey>;

  static Keys draw(Random& random, std::int32_t at, int count, std::int32_t noise) {
    Keys keys(count);
    for (EndKey& key : keys) key = at * 4 + (random.chance(20) ? random.below(noise) : 0);
    std::sort(keys.begin(), keys.end());
    return keys;
  }

  std::vector<Keys> upper_;
  std::vector<Keys> lower_;
};

std::vector<std::int32_t> slots_of(const std::vector<Member>& members) {
  std::vector<std::int32_t> slots;
  slots.reserve(members.size());
  for (const Member& member : members) slots.push_back(member.slot);
  return slots;
}

TEST(SwapCells, GiveTheOrderOfTheScansOrNone) {
  Random random(11);
  int settled_wide = 0;
  constexpr int kRounds = 30000;
  for (int round = 0; round < kRounds; ++round) {
    Tangle tangle(random, random.between(1, 60), random.pick({1, 4, 8, 12, 20, 40}));
    std::vector<Member> scanned = tangle.members;
    Arena arena;
    SwapScans scans(scanned, arena);
    ASSERT_TRUE(scans.run(std::numeric_limits<std::int64_t>::max()));
    const std::vector<std::int32_t> before = slots_of(tangle.members);
    const bool settled = settle_in_cells(tangle.members, arena);
    ASSERT_EQ(slots_of(tangle.members), settled ? slots_of(scanned) : before) << "round " << round;
    settled_wide += settled && before.size() > 30;
  }
  EXPECT_GT(settled_wide, kRounds / 10);
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
