#include "core/crossings/sift_orders.hpp"

#include <algorithm>
#include <tuple>

namespace quillan::vorn_layered {

namespace {

// The pairs of one of `keys` and `other` that cross with the former's node behind the latter's,
// minus those that cross with it in front. REQUIRES: `keys` ascending.
std::int32_t gain_of_key(std::span<const std::int64_t> keys, std::int64_t other) {
  constexpr std::size_t kFew = 8;
  if (keys.size() > kFew) {
    const auto [low, high] = std::equal_range(keys.begin(), keys.end(), other);
    return static_cast<std::int32_t>((low - keys.begin()) - (keys.end() - high));
  }
  std::int32_t gain = 0;
  for (const std::int64_t key : keys) {
    gain += static_cast<std::int32_t>(key < other) - static_cast<std::int32_t>(key > other);
  }
  return gain;
}

}  // namespace

SiftOrders::SiftOrders(const LayerOrders& orders) {
  Arena& scratch = orders.graph().scratch;
  // Nodes that stand in no layer come last in the numbering of slots.
  const std::size_t slots = orders.first_slot(orders.layer_count());
  nodes_ = scratch.raw_array<Node>(slots + 1);
  layers_ = scratch.raw_array<Layer>(orders.layer_count());
  at_ = scratch.raw_array<std::int32_t>(slots);
  place_ = scratch.raw_array<std::int32_t>(slots);
  measured_ = scratch.raw_array<std::int64_t>(slots);
  // A graph made by hand may have more layers than nodes.
  turn_ = scratch.raw_array<std::int32_t>(
      std::max(slots, static_cast<std::size_t>(orders.layer_count())));
  for (std::int32_t layer = 0; layer < orders.layer_count(); ++layer) {
    layers_[layer] = {orders.first_slot(layer), orders.layer_size(layer)};
  }
  std::int32_t count = 0;
  std::int32_t most = 0;
  for (std::int32_t slot = 0; slot < slot_count(); ++slot) {
    const std::int32_t first = count;
    const std::int32_t middle = first + orders.degree(slot, FixedLayer::UPPER);
    count = middle + orders.degree(slot, FixedLayer::LOWER);
    nodes_[slot] = {first, middle, orders.layer_of(slot)};
    most = std::max(most, count - first);
  }
  nodes_.back() = {count, count, 0};
  keys_ = scratch.raw_array<Key>(most);
  ends_ = scratch.raw_array<End>(count);
  collect_ends(orders);
  set_all(orders.all().first(slots));
}

void SiftOrders::collect_ends(const LayerOrders& orders) {
  const auto by_port = [](const LayerOrders::Segment& a, const LayerOrders::Segment& b) {
    return std::tie(a.upper_port, a.lower_slot, a.lower_port) <
           std::tie(b.upper_port, b.lower_slot, b.lower_port);
  };
  const Arena::Frame frame(orders.graph().scratch);
  const std::span<std::int32_t> above =
      orders.graph().scratch.raw_array<std::int32_t>(slot_count());
  for (std::int32_t slot = 0; slot < slot_count(); ++slot) above[slot] = nodes_[slot].first;
  std::vector<LayerOrders::Segment> segments;
  for (std::int32_t slot = 0; slot < slot_count(); ++slot) {
    const std::span<const LayerOrders::Segment> below = orders.segments_below(slot);
    segments.assign(below.begin(), below.end());
    if (segments.size() > 1) std::sort(segments.begin(), segments.end(), by_port);
    std::int32_t next = nodes_[slot].middle;
    for (const LayerOrders::Segment& segment : segments) {
      ends_[next++] = {segment.lower_slot, segment.lower_port};
      ends_[above[segment.lower_slot]++] = {slot, segment.upper_port};
    }
  }
}

void SiftOrders::set_all(std::span<const std::int32_t> ordered) {
  std::copy(ordered.begin(), ordered.end(), at_.begin());
  for (const Layer& layer : layers_) {
    for (std::int32_t place = 0; place < layer.size; ++place) {
      place_[at_[layer.first + place]] = place;
    }
  }
}

void SiftOrders::set_by_sequence(std::span<const std::int32_t> sequence) {
  const std::span<std::int32_t> sizes = turn_.first(layers_.size());
  std::fill(sizes.begin(), sizes.end(), 0);
  for (const std::int32_t slot : sequence) {
    const std::int32_t layer = nodes_[slot].layer;
    place_[slot] = sizes[layer]++;
    at_[layers_[layer].first + place_[slot]] = slot;
  }
}

SiftOrders::Mover SiftOrders::mover(std::int32_t slot) {
  const std::span<const End> own = ends(slot);
  const std::span<Key> keys = keys_.first(own.size());
  for (std::size_t i = 0; i < own.size(); ++i) keys[i] = key(own[i]);
  const std::size_t above = nodes_[slot].middle - nodes_[slot].first;
  if (above > 1) sort_few(keys.first(above));
  if (own.size() - above > 1) sort_few(keys.subspan(above));
  effort_ += weight(slot);
  return {keys.first(above), keys.subspan(above)};
}

// The change of crossings when the mover passes `slot` on its way to later places; on its way to
// earlier ones, it is the opposite.
std::int64_t SiftOrders::gain_of_passing(const Mover& mover, std::int32_t slot) const {
  const auto gain_of_side = [this](std::span<const Key> keys, const End* end, const End* last) {
    std::int32_t gain = 0;
    if (keys.size() == 1) {
      const Key own = keys[0];
      for (; end != last; ++end) {
        const Key other = key(*end);
        gain += static_cast<std::int32_t>(own < other) - static_cast<std::int32_t>(own > other);
      }
    } else if (!keys.empty()) {
      for (; end != last; ++end) gain += gain_of_key(keys, key(*end));
    }
    return gain;
  };
  const End* const middle = ends_.data() + nodes_[slot].middle;
  return gain_of_side(mover.up, ends_.data() + nodes_[slot].first, middle) +
         gain_of_side(mover.down, middle, ends_.data() + nodes_[slot + 1].first);
}

// Has the slot's node look at the places to one side of its own, one after the other. Calls
// `consider` with each place, the node passed last, and the change of crossings there; that says
// whether to go on.
template <typename Consider>
void SiftOrders::walk(std::int32_t slot, const Mover& mover, std::int32_t step,
                      const Consider& consider) {
  const Layer layer = layers_[nodes_[slot].layer];
  const std::int32_t* const at = &at_[layer.first];
  const std::int32_t last = step > 0 ? layer.size - 1 : 0;
  std::int64_t change = 0;
  std::int64_t reach = kReach;
  for (std::int32_t place = place_[slot]; place != last;) {
    place += step;
    reach -= weight(at[place]);
    if (reach < 0) break;
    change += step * gain_of_passing(mover, at[place]);
    if (!consider(place, at[place], change)) break;
  }
  effort_ += kReach - reach;
}

std::int64_t SiftOrders::sift(std::int32_t slot, std::int64_t tolerance) {
  const std::int32_t start = place_[slot];
  if (layer_size(slot) < 2) return 0;
  const Mover moving = mover(slot);
  std::int64_t best = 0;
  std::int32_t best_place = start;
  const std::int32_t first_step = random_.below(2) == 0 ? 1 : -1;
  for (const std::int32_t step : {first_step, -first_step}) {
    walk(slot, moving, step, [&](std::int32_t place, std::int32_t, std::int64_t change) {
      best_place = change <= best ? place : best_place;
      best = std::min(best, change);
      return change <= tolerance;
    });
  }
  if (best_place != start) move(slot, best_place);
  return best;
}

SiftOrders::Passed SiftOrders::sift_at_price(
    std::int32_t slot, const std::function<double(std::int32_t passed, std::int32_t step)>& price) {
  const Mover moving = mover(slot);
  double best = 0.0;
  std::int32_t best_place = place_[slot];
  Passed last;
  for (const std::int32_t step : {-1, 1}) {
    walk(slot, moving, step, [&](std::int32_t place, std::int32_t passed, std::int64_t change) {
      const double total = static_cast<double>(change) + price(passed, step);
      if (total < best) {
        best = total;
        best_place = place;
        last = {passed, step};
      }
      return true;
    });
  }
  if (last.slot >= 0) move(slot, best_place);
  return last;
}

std::int64_t SiftOrders::push(std::int32_t slot, std::int32_t reach, std::int64_t tolerance) {
  const Layer layer = layers_[nodes_[slot].layer];
  const std::int32_t* const at = &at_[layer.first];
  const std::int32_t start = place_[slot];
  const std::int32_t step =
      start == 0 || (start + 1 < layer.size && random_.below(2) == 0) ? 1 : -1;
  const std::int32_t room = step > 0 ? layer.size - 1 - start : start;
  const std::int32_t last = start + step * (1 + random_.below(std::min(room, reach)));
  const Mover moving = mover(slot);
  std::int64_t change = 0;
  std::int32_t place = start;
  while (place != last && change <= tolerance) {
    place += step;
    change += step * gain_of_passing(moving, at[place]);
    effort_ += weight(at[place]);
  }
  move(slot, place);
  return change;
}

void SiftOrders::move(std::int32_t slot, std::int32_t place) {
  std::int32_t* const at = &at_[layers_[nodes_[slot].layer].first];
  std::int32_t from = place_[slot];
  moves_.push_back({slot, from});
  for (; from < place; ++from) {
    at[from] = at[from + 1];
    place_[at[from]] = from;
  }
  for (; from > place; --from) {
    at[from] = at[from - 1];
    place_[at[from]] = from;
  }
  at[place] = slot;
  place_[slot] = place;
}

void SiftOrders::undo_moves() {
  for (std::size_t i = moves_.size(); i-- > 0;) move(moves_[i].slot, moves_[i].from);
  moves_.clear();
}

void SiftOrders::sweep() {
  for (std::size_t i = 1; i < layers_.size(); ++i) sort_layer(layers_[i], FixedLayer::UPPER);
  for (std::size_t i = layers_.size() - 1; i-- > 0;) sort_layer(layers_[i], FixedLayer::LOWER);
}

// Nodes without neighbours on the side keep their places, the others share the rest, those of equal
// barycentre in the order in which they stand.
void SiftOrders::sort_layer(const Layer& layer, FixedLayer fixed) {
  constexpr std::int32_t kPorts = 16;  // that are told apart
  constexpr std::int64_t kFine = 64;   // parts of a port that are told apart
  constexpr int kPlaceBits = 24;
  static_assert(MAX_NODES_PER_GRAPH + MAX_DUMMIES_PER_GRAPH <= std::int64_t{1} << kPlaceBits);
  const std::span<std::int32_t> at = at_.subspan(layer.first, layer.size);
  std::size_t count = 0;
  for (std::size_t place = 0; place < at.size(); ++place) {
    const std::span<const End> own = ends(at[place], fixed);
    if (own.empty()) continue;
    std::int64_t sum = 0;
    for (const End& end : own) {
      sum += std::int64_t{place_[end.slot]} * kPorts + std::min(end.port, kPorts - 1);
    }
    const std::int64_t barycentre = sum * kFine / static_cast<std::int64_t>(own.size());
    measured_[count++] = (barycentre << kPlaceBits) | static_cast<std::int64_t>(place);
  }
  sort_few(measured_.first(count));
  for (std::size_t i = 0; i < count; ++i) {
    turn_[i] = at[measured_[i] & ((std::int64_t{1} << kPlaceBits) - 1)];
  }
  std::size_t next = 0;
  for (std::size_t place = 0; place < at.size(); ++place) {
    if (!ends(at[place], fixed).empty()) at[place] = turn_[next++];
    place_[at[place]] = static_cast<std::int32_t>(place);
  }
}

}  // namespace quillan::vorn_layered
