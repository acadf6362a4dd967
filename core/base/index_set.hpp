// IndexSet: a set of small integers that finds its next member quickly.
//
// A tree of 64-way bit masks: bit i of a word on one level says whether word i of the level below
// has any bit set. It lets a procedure that is defined by passes over all positions look only at
// those that matter, in the same order.
//
// Example:
//   for (int i = set.next(0); i >= 0; i = set.next(i + 1)) visit(i);   // sees members added behind
//   i
//
// Cost: log64 of the range per operation; two bits of memory per possible member.

#ifndef QUILLAN_CORE_BASE_INDEX_SET_HPP_
#define QUILLAN_CORE_BASE_INDEX_SET_HPP_

#include <array>
#include <bit>
#include <cstdint>
#include <span>

#include "core/base/arena.hpp"

namespace quillan::vorn_layered {

class IndexSet {
 public:
  // An empty set for members from 0 to `range` - 1, in the open frame of `scratch`.
  IndexSet(std::int32_t range, Arena& scratch) {
    std::size_t size = static_cast<std::size_t>(range);
    do {
      size = (size + kWordBits - 1) / kWordBits;
      levels_[depth_++] = scratch.array<std::uint64_t>(size + 1, 0);
    } while (size > 1);
  }

  void insert(std::int32_t member) {
    std::uint32_t at = static_cast<std::uint32_t>(member);
    for (int level = 0; level < depth_; ++level) {
      levels_[level][at / kWordBits] |= std::uint64_t{1} << (at % kWordBits);
      at /= kWordBits;
    }
  }

  void erase(std::int32_t member) {
    std::uint32_t at = static_cast<std::uint32_t>(member);
    for (int level = 0; level < depth_; ++level) {
      std::uint64_t& word = levels_[level][at / kWordBits];
      word &= ~(std::uint64_t{1} << (at % kWordBits));
      if (word != 0) return;
      at /= kWordBits;
    }
  }

  // The smallest member that is at least `from`, or -1.
  [[nodiscard]] std::int32_t next(std::int32_t from) const {
    std::uint32_t at = static_cast<std::uint32_t>(from);
    for (int level = 0; level < depth_; ++level) {
      // The spare word at the end of each level stays 0, so that `at` may lie just behind the
      // range.
      const std::uint64_t rest = levels_[level][at / kWordBits] >> (at % kWordBits);
      if (rest != 0) return descend(level, at + static_cast<std::uint32_t>(std::countr_zero(rest)));
      at = at / kWordBits + 1;
    }
    return -1;
  }

 private:
  static constexpr std::uint32_t kWordBits = 64;

  [[nodiscard]] std::int32_t descend(int level, std::uint32_t at) const {
    while (level-- > 0) {
      at = at * kWordBits + static_cast<std::uint32_t>(std::countr_zero(levels_[level][at]));
    }
    return static_cast<std::int32_t>(at);
  }

  std::array<std::span<std::uint64_t>, 6> levels_;
  int depth_ = 0;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_INDEX_SET_HPP_
