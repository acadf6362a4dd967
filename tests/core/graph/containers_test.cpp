#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <numeric>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "core/base/arena.hpp"
#include "core/base/index_set.hpp"
#include "core/base/text.hpp"
#include "core/base/text_index.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

TEST(Arena, FrameGivesBackWhatItTookAndNothingElse) {
  Arena arena;
  const std::span<int> outer = arena.array<int>(1000, 7);
  const void* first = nullptr;
  for (std::size_t round = 1; round < 4; ++round) {
    const Arena::Frame frame(arena);
    const std::span<std::size_t> small = arena.array<std::size_t>(10, round);
    if (first == nullptr) first = small.data();
    EXPECT_EQ(small.data(), first);
    const Arena::Frame inner(arena);  // larger than any block so far
    const std::span<double> large = arena.array<double>(100'000 * round, 1.5);
    EXPECT_EQ(large.back(), 1.5);
    EXPECT_EQ(small.back(), round);
  }
  EXPECT_EQ(std::count(outer.begin(), outer.end(), 7), 1000);
  EXPECT_EQ(arena.raw_array<std::size_t>(1).data(), first);
  EXPECT_THROW(arena.raw_array<double>(static_cast<std::size_t>(-1) / 8), std::bad_alloc);
}

TEST(Arena, ShrinksToItsFirstBlocksAndGoesOn) {
  Arena arena;
  for (int round = 0; round < 2; ++round) {
    std::array<std::span<std::int32_t>, 5> arrays;
    for (int i = 0; i < 5; ++i) arrays[i] = arena.array<std::int32_t>(1U << 21U, i);
    for (int i = 0; i < 5; ++i) ASSERT_EQ(arrays[i].back(), i);
    arena.shrink();
  }
  Arena large;
  static_cast<void>(
      large.array<std::byte>(1U << 26U, std::byte{1}));  // its first block is too large
  large.shrink();
  large.shrink();
  EXPECT_EQ(large.array<int>(3, 7)[2], 7);
}

TEST(Arena, BeginsInLentMemoryAndGoesOnInItsOwn) {
  alignas(std::max_align_t) std::array<std::byte, 64> lent{};
  Arena arena;
  arena.begin_in(lent);
  const auto is_lent = [&lent](const auto& items) {
    const std::byte* bytes = std::as_bytes(std::span(items)).data();
    return bytes >= lent.data() && bytes < lent.data() + lent.size();
  };
  for (int round = 0; round < 2; ++round) {
    const std::span<int> first = arena.array<int>(10, 1);
    const std::span<int> second = arena.array<int>(10, 2);
    EXPECT_TRUE(is_lent(first));
    EXPECT_FALSE(is_lent(second));
    EXPECT_EQ(std::count(first.begin(), first.end(), 1), 10);
    arena.clear();
  }
}

// A text of two words with the hash of "samehash" twice. Undoes the mixing of words, so it must be
// changed with it; the test that uses it would notice.
std::string colliding_text(std::uint64_t first) {
  const auto mix = [](std::uint64_t hash, std::uint64_t word) {
    const std::uint64_t product = (hash ^ word) * 0x9E3779B97F4A7C15ULL;
    return product ^ (product >> 32U);
  };
  std::uint64_t word = 0;
  std::memcpy(&word, "samehash", 8);
  const std::uint64_t words[2] = {first, mix(16, first) ^ mix(16, word) ^ word};
  std::string text(16, ' ');
  std::memcpy(text.data(), words, 16);
  return text;
}

TEST(TextIndex, FindsTextsOfOneHash) {
  constexpr std::int32_t kCount = 2000;
  std::vector<std::string> texts;
  texts.reserve(std::size_t{2} * kCount);
  for (std::int32_t i = 0; i < 2 * kCount; ++i) texts.push_back(colliding_text(i));
  TextIndex index(kCount / 2);  // fewer than come
  for (std::int32_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(TextIndex::hash(texts[i]), TextIndex::hash("samehashsamehash"));
    ASSERT_EQ(index.find_or_add(texts[i], i), i);
    ASSERT_EQ(index.find_or_add(texts[i], -2), i);
  }
  for (std::int32_t i = 0; i < 2 * kCount; ++i) {
    ASSERT_EQ(index.find(texts[i]), i < kCount ? i : -1) << i;
  }
}

TEST(IndexSet, AgreesWithAnOrderedSet) {
  Random random(1);
  for (const std::int32_t range : {1, 2, 63, 64, 65, 4095, 4096, 4097, 300'000}) {
    Arena arena;
    IndexSet set(range, arena);
    std::set<std::int32_t> naive;
    for (int step = 0; step < 2000; ++step) {
      // Half of them near the end, where the words of the upper levels end too.
      const std::int32_t member =
          random.chance(50) ? random.below(range) : range - 1 - random.below(std::min(range, 130));
      if (random.chance(60)) {
        set.insert(member);
        naive.insert(member);
      } else {
        set.erase(member);
        naive.erase(member);
      }
      const std::int32_t from = random.below(range + 1);
      const auto at = naive.lower_bound(from);
      ASSERT_EQ(set.next(from), at == naive.end() ? -1 : *at) << "range " << range;
    }
  }
}

TEST(Text, RanksAndComparesByCodePoint) {
  // Numbers inside a text do not count, a prefix comes first, and bytes above 127 are no negatives.
  const std::vector<std::string> pieces = {"",
                                           "a",
                                           "a9",
                                           "a10",
                                           "Z",
                                           "\x7f",
                                           "\xc3\xa9",
                                           "\xef\xbd\x9a",
                                           "\xf0\x9f\x98\x80",
                                           std::string("a\0b", 3),
                                           "a-long-common-prefix-1",
                                           "a-long-common-prefix-2",
                                           std::string(260, 'x')};  // too long to be written out
  Random random(2);
  for (int round = 0; round < 3000; ++round) {
    Arena arena;
    std::vector<std::string> bytes(random.below(12));
    for (std::string& text : bytes) {
      for (int i = random.below(3); i >= 0; --i) text += pieces[random.below(13)];
    }
    std::vector<Text> texts;
    texts.reserve(bytes.size());
    for (const std::string& text : bytes) {
      texts.emplace_back(arena.make<TextSource>(text),
                         random.pick({TextForm::kPlain, TextForm::kDummy}),
                         static_cast<std::uint32_t>(random.below(11)));
    }
    std::vector<const TextSource*> sources;
    for (const Text& text : texts) {
      if (random.chance(70)) sources.push_back(text.source());
    }
    const SourceOrder known(sources);
    std::vector<std::int32_t> order(texts.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
      const bool before = texts[a].str() < texts[b].str();
      EXPECT_EQ(compare(texts[a], texts[b]) < 0, before);
      EXPECT_EQ(known.compare(texts[a], texts[b]) < 0, before);
      return before;
    });
    std::vector<std::int32_t> rank(texts.size(), -1);
    rank_texts(texts, rank, arena, known);
    for (std::size_t place = 0; place < order.size(); ++place) {
      ASSERT_EQ(rank[order[place]], static_cast<std::int32_t>(place)) << "round " << round;
    }
  }
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
