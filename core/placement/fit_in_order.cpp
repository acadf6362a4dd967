#include "core/placement/fit_in_order.hpp"

#include <cstddef>

namespace quillan::vorn_layered {

namespace {

// Boxes that touch, as one.
struct Pool {
  double place;  // of its first box, less all distances before that
  double weight;
  std::size_t end;
};

}  // namespace

void fit_in_order(std::span<const Wish> wishes, std::span<double> places, Arena& scratch) {
  const Arena::Frame frame(scratch);
  const std::span<Pool> pools = scratch.raw_array<Pool>(wishes.size());
  std::size_t count = 0;
  double before = 0.0;
  for (std::size_t i = 0; i < wishes.size(); ++i) {
    if (i > 0) before += wishes[i].distance;
    Pool pool{wishes[i].place - before, wishes[i].weight, i + 1};
    for (; count > 0 && pools[count - 1].place > pool.place; --count) {
      const Pool& above = pools[count - 1];
      const double weight = above.weight + pool.weight;
      pool.place += (above.place - pool.place) * (above.weight / weight);
      pool.weight = weight;
    }
    pools[count++] = pool;
  }
  before = 0.0;
  std::size_t i = 0;
  for (const Pool& pool : pools.first(count)) {
    for (; i < pool.end; ++i) {
      if (i > 0) before += wishes[i].distance;
      places[i] = pool.place + before;
    }
  }
}

}  // namespace quillan::vorn_layered
