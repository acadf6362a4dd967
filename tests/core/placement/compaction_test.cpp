#include "core/placement/compaction.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "core/crossings/reduce_crossings.hpp"
#include "core/placement/brandes_koepf.hpp"
#include "tests/core/random_payloads.hpp"

namespace quillan::vorn_layered::testing {
namespace {

using Reals = std::vector<double>;

// Constraints that own their arrays.
struct Blocks {
  std::int32_t count;
  Numbers block_of;
  Reals separation;
  std::vector<std::uint8_t> opens;  // not vector<bool>, which has no array of bool inside

  BlockConstraints view(Arena& arena) const {
    const std::span<bool> flags = arena.array<bool>(opens.size(), false);
    for (std::size_t i = 0; i < opens.size(); ++i) flags[i] = opens[i] != 0;
    return {count, block_of, separation, flags};
  }
};

Reals naive_sweeps(const BlockConstraints& blocks) {
  std::vector<std::vector<std::pair<std::int32_t, double>>> pushes(blocks.block_count);
  for (std::size_t slot = 1; slot < blocks.block_of.size(); ++slot) {
    if (blocks.opens_layer[slot]) continue;
    pushes[blocks.block_of[slot - 1]].emplace_back(blocks.block_of[slot], blocks.separation[slot]);
  }
  Reals centers(blocks.block_count, 0.0);
  bool changed = true;
  for (std::int32_t sweep = 0; changed && sweep < blocks.block_count + 2; ++sweep) {
    changed = false;
    for (std::int32_t source = 0; source < blocks.block_count; ++source) {
      for (const auto& [target, separation] : pushes[source]) {
        const double needed = centers[source] + separation;
        if (!(centers[target] < needed - 1e-9)) continue;
        centers[target] = needed;
        changed = true;
      }
    }
  }
  return centers;
}

bool same_bits(const Reals& a, const Reals& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

// Holds all ways against the plain sweeps; how many did not vouch for their results.
int check(const BlockConstraints& blocks, Arena& arena) {
  const Reals expected = naive_sweeps(blocks);
  Reals centers;
  for (const auto way : {compact_by_sweeps, _compact_blocks}) {
    centers.assign(blocks.block_count, -1.0);
    way(blocks, centers, arena);
    EXPECT_TRUE(same_bits(centers, expected)) << "sweeps, all ways in turn";
  }
  int refused = 0;
  for (const auto way : {compact_by_replay, compact_by_trails}) {
    centers.assign(blocks.block_count, -1.0);
    const bool vouched = way(blocks, centers, arena);
    EXPECT_TRUE(!vouched || same_bits(centers, expected)) << "replay, trails";
    refused += vouched ? 0 : 1;
  }
  return refused;
}

using Draw = double (*)(Random&);

double signed_decimal(Random& random) { return random.between(-60, 80) / 10.0; }

Blocks draw_blocks(Draw separation, bool cyclic, Random& random) {
  Blocks blocks{random.between(2, 14), {}, {}, {}};
  const Numbers order = random.permutation(blocks.count);
  for (std::int32_t layer = random.between(1, 7); layer > 0; --layer) {
    Numbers members;
    for (const std::int32_t block : order) {
      if (random.chance(60)) members.push_back(block);
    }
    if (cyclic && !members.empty()) {
      std::swap(members[random.below(static_cast<std::int32_t>(members.size()))], members.back());
    }
    for (const std::int32_t block : members) {
      blocks.opens.push_back(block == members.front());
      blocks.block_of.push_back(block);
      blocks.separation.push_back(separation(random));
    }
  }
  return blocks;
}

// For how many of `rounds` random cases more ways than `allowed` do not vouch.
int fallbacks(Draw separation, bool cyclic, int rounds, int allowed = 0) {
  Random random(10);
  int count = 0;
  for (int round = 0; round < rounds && !::testing::Test::HasFailure(); ++round) {
    Arena arena;
    const Blocks blocks = draw_blocks(separation, cyclic, random);
    count += check(blocks.view(arena), arena) > allowed ? 1 : 0;
  }
  return count;
}

void record(const char* name, int count) { ::testing::Test::RecordProperty(name, count); }

TEST(Compaction, ReplayEqualsSweepsOnRandomBlocks) {
  EXPECT_EQ(fallbacks([](Random& random) { return random.below(12) * 1.0; }, false, 6000), 0);
  EXPECT_EQ(fallbacks([](Random& random) { return random.below(80) / 10.0; }, false, 6000), 0);
  EXPECT_EQ(fallbacks([](Random& random) { return random.below(80) / 7.0; }, false, 6000), 0);
  EXPECT_EQ(fallbacks(signed_decimal, false, 6000), 0);
  // Sums that differ by less than the tolerance of 1e-9, by a little more, or not at all.
  const Draw near_ties = [](Random& random) {
    return random.below(4) + random.between(-6, 6) * 2.5e-10;
  };
  EXPECT_EQ(fallbacks(near_ties, false, 20000, 1), 0);
  const Draw tolerances = [](Random& random) { return random.below(9) * 2.5e-10; };
  EXPECT_LT(fallbacks(tolerances, false, 20000, 1), 200);
  const Draw staircases = [](Random& random) { return 1.0 + random.below(5) * 4e-10; };
  EXPECT_LT(fallbacks(staircases, false, 20000, 1), 200);
  record("fallbacks_cyclic", fallbacks(signed_decimal, true, 4000));
}

TEST(Compaction, AbsurdNumbersLeaveNothingToTheSweeps) {
  const Draw few = [](Random& random) {
    return random.chance(5) ? absurd(random) : random.below(80) / 7.0;
  };
  const Draw many = [](Random& random) {
    return random.chance(50) ? absurd(random) : random.below(80) / 7.0;
  };
  EXPECT_EQ(fallbacks(few, false, 20000), 0);
  EXPECT_EQ(fallbacks(many, false, 20000), 0);
  EXPECT_EQ(fallbacks(absurd, false, 6000), 0);
  // Back from numbers that swallow others to pushes whose order decides.
  const Draw there_and_back = [](Random& random) {
    if (random.chance(30)) return random.pick({1e17, -1e17});
    return 16.0 * random.below(3) + random.between(-6, 6) * 2.5e-10;
  };
  EXPECT_EQ(fallbacks(there_and_back, false, 100000, 1), 0);
}

// All four alignments of random graphs, their crossings reduced or not.
int alignment_fallbacks(Grid grid) {
  Random random(17);
  int count = 0;
  for (int round = 0; round < 2000 && !::testing::Test::HasFailure(); ++round) {
    TestGraph graph;
    Shape shape = random_shape(random, 30);
    shape.grid = grid;
    graph.options.spacing_node_node = size_on(grid, random);
    graph.options.spacing_edge_edge = size_on(grid, random);
    fill_layered(graph, random, shape);
    if (random.chance(70)) reduce_crossings(graph);
    const AlignmentGraph layers(graph);
    for (const bool downward : {true, false}) {
      for (const bool leftward : {true, false}) {
        const BlockConstraints blocks =
            _blocks_from_root(layers, _align_blocks(layers, downward, leftward));
        count += check(blocks, graph.scratch);
      }
    }
  }
  return count;
}

TEST(Compaction, ReplayNeedsNoSweepsForAlignments) {
  EXPECT_EQ(alignment_fallbacks(Grid::INTEGERS), 0);
  EXPECT_EQ(alignment_fallbacks(Grid::DECIMALS), 0);
  EXPECT_EQ(alignment_fallbacks(Grid::SEVENTHS), 0);
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
