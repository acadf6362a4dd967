#include "core/crossings/layer_orders.hpp"

#include <algorithm>
#include <numeric>
#include <vector>

namespace quillan::vorn_layered {

namespace {

// A port and a segment in one integer, the port in the high bits.
constexpr int kPortShift = 32;
constexpr std::int64_t kSegmentMask = (std::int64_t{1} << kPortShift) - 1;

// The order of the long ids that dummies may be named after.
SourceOrder order_of_long_ids(const LGraph& graph) {
  std::vector<const TextSource*> sources;
  for (const CallerEdge& edge : graph.caller_edges) {
    const TextSource* source = edge.id.source();
    if (source != nullptr && source->bytes.size() > SourceOrder::LONG) sources.push_back(source);
  }
  return SourceOrder(sources);
}

}  // namespace

std::span<const std::int32_t> rank_ids(std::span<const LNode* const> nodes, Arena& scratch,
                                       const SourceOrder& known) {
  const std::span<std::int32_t> rank = scratch.raw_array<std::int32_t>(nodes.size());
  const Arena::Frame frame(scratch);
  const std::span<Text> ids = scratch.raw_array<Text>(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) ids[i] = nodes[i]->id;
  rank_texts(ids, rank, scratch, known);
  return rank;
}

LayerOrders::LayerOrders(LGraph& graph)
    : graph_(graph),
      slots_(graph),
      at_(graph.scratch.raw_array<std::int32_t>(slots_.count())),
      place_(graph.scratch.raw_array<std::int32_t>(slots_.count())),
      stamp_(graph.scratch.array<std::int64_t>(graph.layers.size(), 0)) {
  std::iota(at_.begin(), at_.end(), 0);
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    for (const std::int32_t slot : graph.layers.slots(layer)) {
      place_[slot] = slot - first_slot(layer);
    }
  }
  collect();
}

// A graph of many long edges has most of its memory here: what stays is taken first, so that what
// only this function needs is given back. Keys are first written by refresh_keys(): until then
// their room serves the lists of segments by their ends.
void LayerOrders::collect() {
  Arena& scratch = graph_.scratch;
  const std::size_t most = graph_.edges.size();
  const std::span<std::int32_t> upper_starts = scratch.raw_array<std::int32_t>(slot_count() + 1);
  const std::span<std::int32_t> lower_starts = scratch.raw_array<std::int32_t>(slot_count() + 1);
  const std::span<UpperEnd> upper_ends = scratch.raw_array<UpperEnd>(most);
  const std::span<Segment> segments = scratch.raw_array<Segment>(most);
  keys_[0] = {lower_starts, scratch.raw_array<EndKey>(most)};
  keys_[1] = {upper_starts, scratch.raw_array<EndKey>(most)};
  for (std::span<std::int64_t>& seen : seen_) {
    seen = scratch.array<std::int64_t>(layer_count(), -1);
  }
  const std::span<std::int32_t> port_starts = scratch.raw_array<std::int32_t>(layer_count() + 1);
  target_ports_ = {port_starts, scratch.raw_array<TargetPort>(most)};

  const Arena::Frame frame(scratch);
  const EdgeEnds ends = LayerSlots::ends_of_edges(graph_, slots_.by_position(graph_));
  for (std::size_t i = 0; i < most; ++i) {
    if (slots_.joins_neighbours(ends.sources[i], ends.targets[i])) continue;
    ends.sources[i] = ends.targets[i] = -1;
    regular_ = false;
  }
  const Grouped above = group_by(ends.targets, lower_starts, keys_[0].items);
  for (std::size_t i = 0; i < above.items.size(); ++i) {
    const std::int32_t edge = above.items[i];
    upper_ends[i] = {ends.sources[edge], graph_.edges[edge]->source.index()};
  }
  upper_ends_ = {lower_starts, upper_ends.first(above.items.size())};

  const Grouped below = group_by(ends.sources, upper_starts, keys_[1].items);
  for (std::size_t i = 0; i < below.items.size(); ++i) {
    const LEdge& edge = *graph_.edges[below.items[i]];
    segments[i] = {edge.source.index(), ends.targets[below.items[i]], edge.target.index(), 0};
  }
  segments_ = {upper_starts, segments.first(below.items.size())};
  number_target_ports(above, below, port_starts);
  const auto by_port = [](const Segment& a, const Segment& b) {
    return a.upper_port < b.upper_port;
  };
  for (std::int32_t slot = 0; slot < slot_count(); ++slot) {
    const std::span<Segment> own = segments_[slot];
    if (!std::is_sorted(own.begin(), own.end(), by_port)) {
      std::sort(own.begin(), own.end(), by_port);
    }
  }
}

std::int32_t LayerOrders::largest_layer() const {
  std::int32_t most = 0;
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    most = std::max(most, layer_size(layer));
  }
  return most;
}

void LayerOrders::number_target_ports(const Grouped& above, const Grouped& below,
                                      std::span<std::int32_t> starts) {
  Arena& scratch = graph_.scratch;
  const std::span<Segment> segments = segments_.items;
  const std::span<TargetPort> ports = target_ports_.items;
  const std::span<std::int32_t> segment_of = scratch.raw_array<std::int32_t>(graph_.edges.size());
  for (std::size_t i = 0; i < below.items.size(); ++i) {
    segment_of[below.items[i]] = static_cast<std::int32_t>(i);
  }
  const std::span<std::int64_t> by_port = scratch.raw_array<std::int64_t>(segments.size());
  std::int32_t count = 0;
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    starts[layer] = count;
    for (const std::int32_t slot : graph_.layers.slots(layer)) {
      const std::span<std::int64_t> own = by_port.first(above.size_of(slot));
      for (std::size_t i = 0; i < own.size(); ++i) {
        const std::int32_t segment = segment_of[above[slot][i]];
        own[i] = (std::int64_t{segments[segment].lower_port} << kPortShift) | segment;
      }
      sort_few(own);
      std::int32_t last_port = -1;
      for (std::size_t i = 0; i < own.size(); ++i) {
        const auto port = static_cast<std::int32_t>(own[i] >> kPortShift);
        if (port != last_port) ports[count++] = {slot, static_cast<std::int32_t>(i)};
        segments[own[i] & kSegmentMask].target_number = count - 1;
        last_port = port;
      }
      highest_target_port_ = std::max(highest_target_port_, last_port);
    }
  }
  starts.back() = count;
}

void LayerOrders::set_order(std::int32_t layer, std::span<const std::int32_t> ordered,
                            std::int64_t stamp) {
  if (stamp_[layer] == stamp) return;
  stamp_[layer] = stamp;
  const std::span<std::int32_t> current = at_.subspan(first_slot(layer), layer_size(layer));
  for (std::size_t place = 0; place < ordered.size(); ++place) {
    current[place] = ordered[place];
    place_[ordered[place]] = static_cast<std::int32_t>(place);
  }
}

void LayerOrders::set_all(std::span<const std::int32_t> ordered) {
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    set_order(layer, ordered.subspan(first_slot(layer), layer_size(layer)), new_stamp());
  }
}

void LayerOrders::refresh_keys(std::int32_t layer, FixedLayer fixed) {
  const std::int32_t neighbour = fixed == FixedLayer::UPPER ? layer - 1 : layer + 1;
  if (neighbour < 0 || neighbour >= layer_count()) return;
  std::int64_t& seen = seen_[static_cast<int>(fixed)][layer];
  if (seen == stamp_[neighbour]) return;
  seen = stamp_[neighbour];
  const GroupsOf<EndKey>& keys = keys_[static_cast<int>(fixed)];
  const std::int32_t begin = keys.starts[first_slot(layer)];
  const std::int32_t end = keys.starts[first_slot(layer + 1)];
  const auto key = [&](std::int32_t slot, std::int32_t port) {
    return place_[slot] * KEY_SCALE + port + 1;
  };
  if (fixed == FixedLayer::UPPER) {
    for (std::int32_t i = begin; i < end; ++i) {
      keys.items[i] = key(upper_ends_.items[i].slot, upper_ends_.items[i].port);
    }
  } else {
    for (std::int32_t i = begin; i < end; ++i) {
      keys.items[i] = key(segments_.items[i].lower_slot, segments_.items[i].lower_port);
    }
  }
  for (const std::int32_t slot : graph_.layers.slots(layer)) {
    if (keys.size_of(slot) > 1) sort_few(keys[slot]);
  }
}

void LayerOrders::sort_ids() {
  Arena& scratch = graph_.scratch;
  by_id_ = scratch.raw_array<std::int32_t>(slots_.nodes.size());
  const SourceOrder known = order_of_long_ids(graph_);
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    const Arena::Frame frame(scratch);
    const std::int32_t first = first_slot(layer);
    const std::int32_t size = layer_size(layer);
    const std::span<const std::int32_t> rank =
        rank_ids(slots_.nodes.subspan(first, size), scratch, known);
    for (std::int32_t i = 0; i < size; ++i) by_id_[first + rank[i]] = first + i;
  }
}

void LayerOrders::commit() {
  const Arena::Frame frame(graph_.scratch);
  const std::span<LNode*> members = graph_.scratch.raw_array<LNode*>(graph_.layers.flat().size());
  const std::span<std::int32_t> sizes =
      graph_.scratch.array<std::int32_t>(static_cast<std::size_t>(layer_count()), 0);
  std::size_t count = 0;
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    for (const std::int32_t slot : order(layer)) {
      const std::int32_t position = slots_.nodes[slot]->position;
      if (position < 0) continue;
      members[count] = graph_.nodes[position];
      members[count++]->order = sizes[layer]++;
    }
  }
  graph_.layers.resize(sizes);
  std::copy_n(members.begin(), count, graph_.layers.flat().begin());
}

}  // namespace quillan::vorn_layered
