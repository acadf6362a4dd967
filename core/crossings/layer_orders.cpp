#include "core/crossings/layer_orders.hpp"

#include <algorithm>
#include <numeric>

namespace quillan::vorn_layered {

namespace {

// A port and a segment in one integer, the port in the high bits.
constexpr int kPortShift = 32;
constexpr std::int64_t kSegmentMask = (std::int64_t{1} << kPortShift) - 1;

}  // namespace

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
  const EdgeEnds ends = slots_.ends_of_edges(graph);
  for (std::size_t i = 0; regular_ && i < ends.sources.size(); ++i) {
    regular_ = slots_.joins_neighbours(ends.sources[i], ends.targets[i]);
  }
  collect(ends);
}

void LayerOrders::collect(const EdgeEnds& ends) {
  Arena& scratch = graph_.scratch;
  std::span<std::int32_t> uppers = ends.sources;
  std::span<std::int32_t> lowers = ends.targets;
  if (!regular_) {
    uppers = scratch.array<std::int32_t>(uppers.size(), -1);
    lowers = scratch.array<std::int32_t>(lowers.size(), -1);
    for (std::size_t i = 0; i < uppers.size(); ++i) {
      if (!slots_.joins_neighbours(ends.sources[i], ends.targets[i])) continue;
      uppers[i] = ends.sources[i];
      lowers[i] = ends.targets[i];
    }
  }
  const Grouped below = group_by(uppers, slot_count(), scratch);
  const Grouped above = group_by(lowers, slot_count(), scratch);
  const std::size_t count = below.items.size();

  const std::span<std::int32_t> sources = scratch.raw_array<std::int32_t>(count);
  collect_side(Reference::UPPER, above.starts, sources);
  for (std::size_t i = 0; i < count; ++i) {
    sources[i] = ends.sources[above.items[i]];
    neighbours_[0].ports[i] = graph_.edges[above.items[i]]->source->index + 1;
  }

  const std::span<Segment> segments = scratch.raw_array<Segment>(count);
  for (std::size_t i = 0; i < count; ++i) {
    const LEdge& edge = *graph_.edges[below.items[i]];
    segments[i] = {edge.source->index, ends.targets[below.items[i]], edge.target->index, 0};
  }
  segments_ = {below.starts, segments};
  number_target_ports(above, below, segments);
  const auto by_port = [](const Segment& a, const Segment& b) {
    return a.upper_port < b.upper_port;
  };
  for (std::int32_t slot = 0; slot < slot_count(); ++slot) {
    const std::span<Segment> own = segments_[slot];
    if (!std::is_sorted(own.begin(), own.end(), by_port)) {
      std::sort(own.begin(), own.end(), by_port);
    }
  }
  const std::span<std::int32_t> targets = scratch.raw_array<std::int32_t>(count);
  collect_side(Reference::LOWER, below.starts, targets);
  for (std::size_t i = 0; i < count; ++i) {
    targets[i] = segments[i].lower_slot;
    neighbours_[1].ports[i] = segments[i].lower_port + 1;
  }
  collect_successors(ends);
}

void LayerOrders::collect_side(Reference side, std::span<const std::int32_t> starts,
                               std::span<const std::int32_t> neighbours) {
  Arena& scratch = graph_.scratch;
  keys_[static_cast<int>(side)] = {starts, scratch.raw_array<EndKey>(neighbours.size())};
  neighbours_[static_cast<int>(side)] = {neighbours,
                                         scratch.raw_array<std::int32_t>(neighbours.size()),
                                         scratch.array<std::int64_t>(layer_count(), -1)};
}

void LayerOrders::number_target_ports(const Grouped& above, const Grouped& below,
                                      std::span<Segment> segments) {
  Arena& scratch = graph_.scratch;
  const std::span<std::int32_t> starts = scratch.raw_array<std::int32_t>(layer_count() + 1);
  const std::span<TargetPort> ports = scratch.raw_array<TargetPort>(segments.size());
  const Arena::Frame frame(scratch);
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
  target_ports_ = {starts, ports};
}

void LayerOrders::collect_successors(const EdgeEnds& ends) {
  if (regular_) {
    successors_ = {segments_.starts, neighbours_[1].slots};
    return;
  }
  const Grouped leaving = group_by(ends.sources, slot_count(), graph_.scratch);
  const std::span<std::int32_t> items =
      graph_.scratch.raw_array<std::int32_t>(leaving.items.size());
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = ends.targets[leaving.items[i]];
  successors_ = {leaving.starts, items};
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

void LayerOrders::refresh_keys(std::int32_t layer, Reference side) {
  const std::int32_t neighbour = side == Reference::UPPER ? layer - 1 : layer + 1;
  if (neighbour < 0 || neighbour >= layer_count()) return;
  const Neighbours& from = neighbours_[static_cast<int>(side)];
  if (from.seen[layer] == stamp_[neighbour]) return;
  from.seen[layer] = stamp_[neighbour];
  const GroupsOf<EndKey>& keys = keys_[static_cast<int>(side)];
  const std::int32_t begin = keys.starts[first_slot(layer)];
  const std::int32_t end = keys.starts[first_slot(layer + 1)];
  for (std::int32_t i = begin; i < end; ++i) {
    keys.items[i] = place_[from.slots[i]] * KEY_SCALE + from.ports[i];
  }
  for (const std::int32_t slot : graph_.layers.slots(layer)) {
    if (keys.size_of(slot) > 1) sort_few(keys[slot]);
  }
}

void LayerOrders::rank_ids() {
  Arena& scratch = graph_.scratch;
  id_rank_ = scratch.raw_array<std::int32_t>(slots_.nodes.size());
  by_id_ = scratch.raw_array<std::int32_t>(slots_.nodes.size());
  const Arena::Frame frame(scratch);
  const std::span<Text> ids = scratch.raw_array<Text>(slots_.nodes.size());
  for (std::size_t slot = 0; slot < slots_.nodes.size(); ++slot) ids[slot] = slots_.nodes[slot]->id;
  // Successors of one node may lie in different layers if segments skip some.
  if (!regular_) rank_texts(ids, id_rank_, scratch);
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    const std::int32_t first = first_slot(layer);
    const std::span<std::int32_t> ranks = id_rank_.subspan(first, layer_size(layer));
    const std::span<std::int32_t> sorted = by_id_.subspan(first, layer_size(layer));
    if (regular_) {
      rank_texts(ids.subspan(first, layer_size(layer)), ranks, scratch);
      for (std::size_t i = 0; i < ranks.size(); ++i) {
        sorted[ranks[i]] = first + static_cast<std::int32_t>(i);
      }
    } else {
      std::iota(sorted.begin(), sorted.end(), first);
      std::sort(sorted.begin(), sorted.end(),
                [&](std::int32_t a, std::int32_t b) { return id_rank_[a] < id_rank_[b]; });
    }
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
