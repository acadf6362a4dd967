// Pseudo-random numbers that are the same on every machine.

#ifndef QUILLAN_CORE_BASE_RANDOM_HPP_
#define QUILLAN_CORE_BASE_RANDOM_HPP_

#include <cstdint>

namespace quillan::vorn_layered {

// A sequence of pseudo-random integers, fixed by its seed (Marsaglia, Xorshift RNGs, 2003, section
// 3, with the output multiplied as in Vigna, An Experimental Exploration of Marsaglia's xorshift
// Generators, Scrambled, 2016, section 3). For choices in a search, not for secrets.
class Random {
 public:
  // REQUIRES: `seed` is not 0.
  explicit Random(std::uint64_t seed) : state_(seed) {}

  // An integer from 0 to `bound` - 1, all of them about equally likely. REQUIRES: 0 < `bound`.
  std::int32_t below(std::int32_t bound) {
    state_ ^= state_ >> 12U;
    state_ ^= state_ << 25U;
    state_ ^= state_ >> 27U;
    const std::uint64_t high = (state_ * 0x2545F4914F6CDD1DU) >> 32U;
    return static_cast<std::int32_t>((high * static_cast<std::uint64_t>(bound)) >> 32U);
  }

 private:
  std::uint64_t state_;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_RANDOM_HPP_
