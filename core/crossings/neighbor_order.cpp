#include "core/crossings/neighbor_order.hpp"

#include <algorithm>

namespace quillan::vorn_layered {

namespace {

// A key as the position that it stands for; exact, since the scale is a power of two.
double position(Key64 key) { return static_cast<double>(key) / static_cast<double>(KEY_SCALE); }

struct Measured {
  double measure;
  std::int32_t id_rank;
  std::int32_t slot;

  bool operator<(const Measured& other) const {
    return measure != other.measure ? measure < other.measure : id_rank < other.id_rank;
  }
};

// After the first sweeps most layers are nearly in order: insertion then costs one pass, and a budget
// of moves keeps a badly mixed layer from costing a square.
void sort_measured(std::span<Measured> entries) {
  std::size_t budget = 8 * entries.size();
  for (std::size_t i = 1; i < entries.size(); ++i) {
    if (!(entries[i] < entries[i - 1])) continue;
    const Measured entry = entries[i];
    std::size_t j = i;
    for (; j > 0 && entry < entries[j - 1]; --j) entries[j] = entries[j - 1];
    entries[j] = entry;
    if (i - j > budget) {
      std::sort(entries.begin(), entries.end());
      return;
    }
    budget -= i - j;
  }
}

}  // namespace

double _weighted_median(std::span<const Key64> sorted_keys) {
  const std::size_t count = sorted_keys.size();
  if (count == 0) return -1.0;
  const std::size_t mid = count / 2;
  if (count % 2 == 1) return position(sorted_keys[mid]);
  const double below = position(sorted_keys[mid - 1]);
  const double above = position(sorted_keys[mid]);
  if (count == 2) return (below + above) / 2.0;
  const double left = below - position(sorted_keys.front());
  const double right = position(sorted_keys.back()) - above;
  if (left + right == 0.0) return (below + above) / 2.0;
  return (below * right + above * left) / (left + right);
}

double _barycentre(std::span<const Key64> keys) {
  // Stated as a sum of reals in ascending order. All of them are multiples of 1/64 and far below
  // 2^53 / 64, so that sum is exact and this one, taken in integers, is the same.
  Key64 sum = 0;
  for (const Key64 key : keys) sum += key;
  return position(sum) / static_cast<double>(keys.size());
}

void _order_by_neighbors(LayerOrders& orders, std::int32_t layer, Reference side, bool use_median,
                         std::span<std::int32_t> ordered) {
  const std::span<const std::int32_t> ranks = orders.id_ranks();
  const std::span<const std::int32_t> current = orders.order(layer);
  Arena& scratch = orders.graph().scratch;
  const Arena::Frame frame(scratch);
  const std::span<Measured> entries = scratch.raw_array<Measured>(current.size());
  for (std::size_t place = 0; place < current.size(); ++place) {
    const std::int32_t slot = current[place];
    const std::span<const Key64> keys = orders.keys(slot, side);
    double measure = static_cast<double>(place);
    if (keys.size() == 1) {
      measure = position(keys[0]);
    } else if (!keys.empty()) {
      measure = use_median ? _weighted_median(keys) : _barycentre(keys);
    }
    entries[place] = {measure, ranks[slot], slot};
  }
  sort_measured(entries);
  for (std::size_t place = 0; place < entries.size(); ++place) ordered[place] = entries[place].slot;
}

}  // namespace quillan::vorn_layered
