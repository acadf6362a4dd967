#include "core/crossings/counting.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <numeric>

namespace quillan::vorn_layered {

namespace {

constexpr std::int64_t kPortsPerNode = 256;
constexpr int kPlaceShift = 32;
constexpr std::int64_t kPortMask = (std::int64_t{1} << kPlaceShift) - 1;

constexpr std::uint32_t kWordBits = 64;

// A set of ranks below 64 that tells how many members lie above a rank. Most gaps have no more
// segments, and then all of it is one register.
class SmallRankSet {
 public:
  // REQUIRES: `rank` is no member.
  [[nodiscard]] std::int64_t count_above(std::uint32_t rank) const {
    assert((word_ >> rank & 1U) == 0);
    return std::popcount(word_ >> rank);
  }
  void insert(std::uint32_t rank) { word_ |= std::uint64_t{1} << rank; }

 private:
  std::uint64_t word_ = 0;
};

// The same for ranks below any bound.
//
// A bit for each rank, in blocks of eight words; for each word, the members in later words of its
// block; over the blocks, a Fenwick tree. So one block is served without a loop. Otherwise the cost
// of a call is the logarithm of the blocks.
class RankSet {
 public:
  RankSet(std::size_t bound, Arena& scratch)
      : words_(scratch.array<std::uint64_t>((bound / kBlockRanks + 1) * kBlockWords, 0)),
        later_(scratch.array<std::uint16_t>(words_.size(), 0)),
        tree_(scratch.array<std::int32_t>(words_.size() / kBlockWords + 1, 0)) {}

  // REQUIRES: `rank` is no member.
  [[nodiscard]] std::int64_t count_above(std::uint32_t rank) const {
    const std::uint32_t word = rank / kWordBits;
    assert((words_[word] >> (rank % kWordBits) & 1U) == 0);
    std::int64_t count = std::popcount(words_[word] >> (rank % kWordBits)) + later_[word];
    if (words_.size() == kBlockWords) return count;
    for (std::size_t i = blocks_behind(word); i > 0; i &= i - 1) count += tree_[i];
    return count;
  }

  void insert(std::uint32_t rank) {
    const std::uint32_t word = rank / kWordBits;
    words_[word] |= std::uint64_t{1} << (rank % kWordBits);
    std::uint16_t* const later = &later_[word / kBlockWords * kBlockWords];
    for (std::size_t i = 0; i < kBlockWords; ++i) later[i] += kEarlier[word % kBlockWords][i];
    if (words_.size() == kBlockWords) return;
    for (std::size_t i = blocks_behind(word) + 1; i < tree_.size(); i += i & -i) ++tree_[i];
  }

 private:
  static constexpr std::size_t kBlockWords = 8;
  static constexpr std::size_t kBlockRanks = kBlockWords * kWordBits;

  // kEarlier[w][i] is 1 if word i of a block comes before word w.
  static constexpr auto kEarlier = [] {
    std::array<std::array<std::uint16_t, kBlockWords>, kBlockWords> earlier{};
    for (std::size_t word = 0; word < kBlockWords; ++word) {
      for (std::size_t i = 0; i < word; ++i) earlier[word][i] = 1;
    }
    return earlier;
  }();

  [[nodiscard]] std::size_t blocks_behind(std::uint32_t word) const {
    return (words_.size() - 1 - word) / kBlockWords;
  }

  std::span<std::uint64_t> words_;
  std::span<std::uint16_t> later_;
  std::span<std::int32_t> tree_;  // from index 1 on, over the blocks from the last to the first
};

// The crossings of a gap whose lower ends have the ranks that `next_ranks` begins with at each
// target port. `ranks` has room for one each; `members` is empty.
template <typename Set>
std::int64_t count_ranks(const LayerOrders& orders, std::int32_t upper,
                         std::span<std::uint32_t> next_ranks, std::span<std::uint32_t> ranks,
                         Set& members) {
  const std::int32_t first_port = orders.first_target_port(upper + 1);
  std::int64_t crossings = 0;
  for (const std::int32_t slot : orders.order(upper)) {
    const std::span<const LayerOrders::Segment> segments = orders.segments_below(slot);
    for (std::size_t begin = 0; begin < segments.size();) {
      // Segments of one upper port do not cross: all are counted before any is a member.
      const std::int32_t port = segments[begin].upper_port;
      std::size_t end = begin;
      for (; end < segments.size() && segments[end].upper_port == port; ++end) {
        ranks[end] = next_ranks[segments[end].target_number - first_port]++;
        crossings += members.count_above(ranks[end]);
      }
      for (; begin < end; ++begin) members.insert(ranks[begin]);
    }
  }
  return crossings;
}

// The crossings of a gap whose lower ends are in order by node, then port.
std::int64_t count_by_ends(const LayerOrders& orders, std::int32_t upper) {
  const std::int32_t lower = upper + 1;
  Arena& scratch = orders.graph().scratch;
  const std::int32_t first_slot = orders.first_slot(lower);
  const std::span<std::uint32_t> ranks_before =
      scratch.raw_array<std::uint32_t>(orders.layer_size(lower));
  std::uint32_t total = 0;
  for (const std::int32_t slot : orders.order(lower)) {
    ranks_before[slot - first_slot] = total;
    total += orders.degree(slot, FixedLayer::UPPER);
  }
  // The lower ends get ranks in ascending order, and the segments of one end in the order in which
  // they come here, so that no two of them cross.
  const std::span<const LayerOrders::TargetPort> ports = orders.target_ports(lower);
  const std::span<std::uint32_t> next_ranks = scratch.raw_array<std::uint32_t>(ports.size());
  for (std::size_t i = 0; i < ports.size(); ++i) {
    next_ranks[i] = ranks_before[ports[i].slot - first_slot] + ports[i].before;
  }

  const std::span<std::uint32_t> ranks = scratch.raw_array<std::uint32_t>(total);
  if (total <= kWordBits) {
    SmallRankSet members;
    return count_ranks(orders, upper, next_ranks, ranks, members);
  }
  RankSet members(total, scratch);
  return count_ranks(orders, upper, next_ranks, ranks, members);
}

// The crossings of a gap with ports that run into the range of the next node.
std::int64_t count_by_packed_ends(const LayerOrders& orders, std::int32_t upper) {
  Arena& scratch = orders.graph().scratch;
  // Place and port of the target ends, the place in the high bits.
  const std::span<std::int64_t> ends = scratch.raw_array<std::int64_t>(orders.gap_size(upper));
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
  // Sorting by the packed keys would hide crossings between segments of one port.
  for (std::int64_t& end : ends) {
    end = (end >> kPlaceShift) * kPortsPerNode + (end & kPortMask);
  }
  return _count_inversions(ends, scratch);
}

}  // namespace

std::int64_t _count_inversions(std::span<const std::int64_t> sequence, Arena& scratch) {
  const Arena::Frame frame(scratch);
  const std::span<std::uint32_t> sorted = scratch.raw_array<std::uint32_t>(sequence.size());
  std::iota(sorted.begin(), sorted.end(), 0U);
  std::sort(sorted.begin(), sorted.end(), [&](std::uint32_t a, std::uint32_t b) {
    return sequence[a] != sequence[b] ? sequence[a] < sequence[b] : a < b;
  });
  const std::span<std::uint32_t> ranks = scratch.raw_array<std::uint32_t>(sequence.size());
  for (std::size_t rank = 0; rank < sorted.size(); ++rank) {
    ranks[sorted[rank]] = static_cast<std::uint32_t>(rank);
  }
  RankSet members(sequence.size(), scratch);
  std::int64_t inversions = 0;
  for (const std::uint32_t rank : ranks) {
    inversions += members.count_above(rank);
    members.insert(rank);
  }
  return inversions;
}

std::int64_t _crossings_between(const LayerOrders& orders, std::int32_t upper) {
  if (orders.gap_size(upper) < 2) return 0;
  const Arena::Frame frame(orders.graph().scratch);
  return orders.highest_target_port() < kPortsPerNode ? count_by_ends(orders, upper)
                                                      : count_by_packed_ends(orders, upper);
}

std::int64_t count_crossings(const LayerOrders& orders) {
  std::int64_t crossings = 0;
  for (std::int32_t upper = 0; upper + 1 < orders.layer_count(); ++upper) {
    crossings += _crossings_between(orders, upper);
  }
  return crossings;
}

std::int64_t count_crossings(LGraph& graph) {
  require_known_ends(graph);
  if (graph.layers.size() < 2) return 0;
  const Arena::Frame frame(graph.scratch);
  return count_crossings(LayerOrders(graph));
}

}  // namespace quillan::vorn_layered
