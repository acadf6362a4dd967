#include "core/crossings/neighbor_order.hpp"

#include <algorithm>
#include <cassert>

namespace quillan::vorn_layered {

namespace {

// A key as the position that it stands for; exact, since the scale is a power of two.
double position(std::int64_t key) {
  return static_cast<double>(key) / static_cast<double>(KEY_SCALE);
}

struct Measured {
  double measure;
  std::int32_t id_order;  // the node's turn in ascending order of ids
  std::int32_t slot;

  bool operator<(const Measured& other) const {
    return measure != other.measure ? measure < other.measure : id_order < other.id_order;
  }
};

// Sorts entries that stand in the same bucket; they come in id order.
void sort_bucket(std::span<Measured> entries) {
  constexpr std::size_t kShort = 16;
  if (entries.size() > kShort) {
    std::sort(entries.begin(), entries.end());
    return;
  }
  for (std::size_t i = 1; i < entries.size(); ++i) {
    const Measured entry = entries[i];
    std::size_t j = i;
    for (; j > 0 && entry.measure < entries[j - 1].measure; --j) entries[j] = entries[j - 1];
    entries[j] = entry;
  }
}

double measure_of(std::span<const EndKey> keys, std::int32_t place, bool use_median) {
  if (keys.size() == 1) return position(keys[0]);
  if (keys.empty()) return static_cast<double>(place);
  return use_median ? _weighted_median(keys) : _barycentre(keys);
}

}  // namespace

double _weighted_median(std::span<const EndKey> sorted_keys) {
  assert(!sorted_keys.empty());
  const std::size_t count = sorted_keys.size();
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

double _barycentre(std::span<const EndKey> keys) {
  assert(!keys.empty());
  // The positions are multiples of 1/64 far below 2^53 / 64: their sum as reals is exact in any
  // order, and this one, taken in integers, is the same.
  std::int64_t sum = 0;
  for (const EndKey key : keys) sum += key;
  return position(sum) / static_cast<double>(keys.size());
}

void _order_by_neighbors(const LayerOrders& orders, std::int32_t layer, FixedLayer fixed,
                         bool use_median, std::span<std::int32_t> ordered) {
  assert(orders.has_fresh_keys(layer, fixed));
  Arena& scratch = orders.graph().scratch;
  const Arena::Frame frame(scratch);
  const std::int32_t size = orders.layer_size(layer);
  const std::int32_t reference_size =
      orders.layer_size(fixed == FixedLayer::UPPER ? layer - 1 : layer + 1);
  // Measures are places, more or less: one bucket a place sorts them almost completely.
  const std::int32_t buckets = std::max(size, reference_size) + 1;
  const std::span<std::int32_t> ends = scratch.array<std::int32_t>(buckets, 0);
  const std::span<std::int32_t> bucket_of = scratch.raw_array<std::int32_t>(size);
  const std::span<Measured> measured = scratch.raw_array<Measured>(size);
  const std::span<const std::int32_t> by_id = orders.by_id(layer);
  for (std::int32_t i = 0; i < size; ++i) {
    const std::int32_t slot = by_id[i];
    const double measure = measure_of(orders.keys(slot, fixed), orders.place(slot), use_median);
    measured[i] = {measure, i, slot};
    bucket_of[i] = measure < buckets ? static_cast<std::int32_t>(measure) : buckets - 1;
    ++ends[bucket_of[i]];
  }
  for (std::int32_t bucket = 1; bucket < buckets; ++bucket) ends[bucket] += ends[bucket - 1];
  const std::span<Measured> sorted = scratch.raw_array<Measured>(size);
  for (std::int32_t i = size; i-- > 0;) sorted[--ends[bucket_of[i]]] = measured[i];
  // Each entry of `ends` is now where its bucket begins.
  for (std::int32_t bucket = 0; bucket < buckets; ++bucket) {
    const std::int32_t end = bucket + 1 < buckets ? ends[bucket + 1] : size;
    if (end - ends[bucket] > 1) {
      sort_bucket(sorted.subspan(ends[bucket], end - ends[bucket]));
    }
  }
  for (std::int32_t place = 0; place < size; ++place) ordered[place] = sorted[place].slot;
}

}  // namespace quillan::vorn_layered
