#include "core/crossings/layer_orders.hpp"

#include <algorithm>
#include <numeric>

namespace quillan::vorn_layered {

// Per edge of the graph: the slots of its ends, and those again where they lie in layers next to
// each other, else -1.
struct LayerOrders::EdgeSlots {
  std::span<std::int32_t> source;
  std::span<std::int32_t> target;
  std::span<std::int32_t> adjacent_source;
  std::span<std::int32_t> adjacent_target;
};

LayerOrders::LayerOrders(LGraph& graph)
    : graph_(graph), stamp_(graph.scratch.array<std::int64_t>(graph.layers.size(), 0)) {
  require_known_ends(graph);
  Arena& scratch = graph.scratch;
  const std::span<const std::int32_t> slot_of = number_nodes();
  const std::size_t count = graph.edges.size();
  EdgeSlots ends{
      scratch.raw_array<std::int32_t>(count), scratch.raw_array<std::int32_t>(count), {}, {}};
  for (std::size_t i = 0; i < count; ++i) {
    ends.source[i] = slot_of[graph.edges[i]->source_node()->position];
    ends.target[i] = slot_of[graph.edges[i]->target_node()->position];
    if (layer_of_[ends.source[i]] + 1 != layer_of_[ends.target[i]]) regular_ = false;
  }
  ends.adjacent_source = ends.source;
  ends.adjacent_target = ends.target;
  if (!regular_) {
    ends.adjacent_source = scratch.array<std::int32_t>(count, -1);
    ends.adjacent_target = scratch.array<std::int32_t>(count, -1);
    for (std::size_t i = 0; i < count; ++i) {
      if (layer_of_[ends.source[i]] + 1 != layer_of_[ends.target[i]]) continue;
      ends.adjacent_source[i] = ends.source[i];
      ends.adjacent_target[i] = ends.target[i];
    }
  }
  collect(ends);
}

std::span<const std::int32_t> LayerOrders::number_nodes() {
  Arena& scratch = graph_.scratch;
  const std::span<LNode* const> layered = graph_.layers.flat();
  const std::span<std::int32_t> slot_of = scratch.array<std::int32_t>(graph_.nodes.size(), -1);
  std::size_t known = 0;  // nodes of the graph that stand in a layer
  for (std::size_t slot = 0; slot < layered.size(); ++slot) {
    if (layered[slot]->position < 0) continue;
    slot_of[layered[slot]->position] = static_cast<std::int32_t>(slot);
    ++known;
  }
  const std::size_t count = layered.size() + graph_.nodes.size() - known;
  nodes_ = scratch.raw_array<LNode*>(count);
  layer_of_ = scratch.array<std::int32_t>(count, NO_LAYER);
  at_ = scratch.raw_array<std::int32_t>(count);
  place_ = scratch.raw_array<std::int32_t>(count);
  std::iota(at_.begin(), at_.end(), 0);
  std::copy(layered.begin(), layered.end(), nodes_.begin());
  for (std::int32_t layer = 0; layer < layer_count(); ++layer) {
    for (std::int32_t slot = first_slot(layer); slot < first_slot(layer + 1); ++slot) {
      layer_of_[slot] = layer;
      place_[slot] = slot - first_slot(layer);
    }
  }
  if (known == graph_.nodes.size()) return slot_of;
  std::int32_t next = static_cast<std::int32_t>(layered.size());
  for (LNode* node : graph_.nodes) {
    if (slot_of[node->position] >= 0) continue;
    nodes_[next] = node;
    slot_of[node->position] = next++;
  }
  return slot_of;
}

void LayerOrders::collect(const EdgeSlots& ends) {
  Arena& scratch = graph_.scratch;
  const Grouped below = group_by(ends.adjacent_source, slot_count(), scratch);
  const Grouped above = group_by(ends.adjacent_target, slot_count(), scratch);
  const std::size_t count = below.items.size();

  Half& upper = halves_[static_cast<int>(Reference::UPPER)];
  const std::span<std::int32_t> sources = scratch.raw_array<std::int32_t>(count);
  upper = {above.starts, sources, scratch.raw_array<std::int32_t>(count),
           scratch.raw_array<EndKey>(count), scratch.array<std::int64_t>(layer_count(), -1)};
  for (std::size_t i = 0; i < count; ++i) {
    sources[i] = ends.source[above.items[i]];
    upper.ports[i] = graph_.edges[above.items[i]]->source->index + 1;
  }

  segments_ = scratch.raw_array<Segment>(count);
  for (std::size_t i = 0; i < count; ++i) {
    const LEdge& edge = *graph_.edges[below.items[i]];
    segments_[i] = {edge.source->index, ends.target[below.items[i]], edge.target->index, 0};
  }
  number_ends(above, below);
  Half& lower = halves_[static_cast<int>(Reference::LOWER)];
  const std::span<std::int32_t> targets = scratch.raw_array<std::int32_t>(count);
  lower = {below.starts, targets, scratch.raw_array<std::int32_t>(count),
           scratch.raw_array<EndKey>(count), scratch.array<std::int64_t>(layer_count(), -1)};
  sort_segments(ends);
  for (std::size_t i = 0; i < count; ++i) {
    targets[i] = segments_[i].lower_slot;
    lower.ports[i] = segments_[i].lower_port + 1;
  }
}

void LayerOrders::number_ends(const Grouped& above, const Grouped& below) {
  Arena& scratch = graph_.scratch;
  first_end_ = scratch.raw_array<std::int32_t>(slot_count() + 1);
  ends_ = scratch.raw_array<LowerEnd>(segments_.size());
  const Arena::Frame frame(scratch);
  const std::span<std::int32_t> segment_of = scratch.raw_array<std::int32_t>(graph_.edges.size());
  for (std::size_t i = 0; i < below.items.size(); ++i) {
    segment_of[below.items[i]] = static_cast<std::int32_t>(i);
  }
  const std::span<std::int64_t> by_port = scratch.raw_array<std::int64_t>(above.items.size());
  std::int32_t count = 0;
  for (std::int32_t slot = 0; slot < slot_count(); ++slot) {
    first_end_[slot] = count;
    const std::int32_t begin = above.starts[slot];
    const std::span<std::int64_t> own = by_port.first(above.starts[slot + 1] - begin);
    for (std::size_t i = 0; i < own.size(); ++i) {
      const std::int32_t segment = segment_of[above.items[begin + i]];
      own[i] = (std::int64_t{segments_[segment].lower_port} << 32U) | segment;
    }
    sort_few(own);
    std::int32_t last_port = -1;
    for (std::size_t i = 0; i < own.size(); ++i) {
      const auto port = static_cast<std::int32_t>(own[i] >> 32U);
      if (port != last_port) ends_[count++] = {slot, static_cast<std::int32_t>(i)};
      segments_[own[i] & INT32_MAX].lower_end = count - 1;
      last_port = port;
    }
    highest_target_port_ = std::max(highest_target_port_, last_port);
  }
  first_end_.back() = count;
}

void LayerOrders::sort_segments(const EdgeSlots& ends) {
  const Half& lower = halves_[static_cast<int>(Reference::LOWER)];
  const auto by_port = [](const Segment& a, const Segment& b) {
    return a.upper_port < b.upper_port;
  };
  for (std::int32_t slot = 0; slot < slot_count(); ++slot) {
    const std::span<Segment> own =
        segments_.subspan(lower.starts[slot], lower.starts[slot + 1] - lower.starts[slot]);
    if (!std::is_sorted(own.begin(), own.end(), by_port)) {
      std::sort(own.begin(), own.end(), by_port);
    }
  }
  if (regular_) {
    successors_ = {lower.starts, lower.slots};
    return;
  }
  const Grouped leaving = group_by(ends.source, slot_count(), graph_.scratch);
  const std::span<std::int32_t> items =
      graph_.scratch.raw_array<std::int32_t>(leaving.items.size());
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = ends.target[leaving.items[i]];
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
  Half& half = halves_[static_cast<int>(side)];
  if (half.seen[layer] == stamp_[neighbour]) return;
  half.seen[layer] = stamp_[neighbour];
  const std::int32_t begin = half.starts[first_slot(layer)];
  const std::int32_t end = half.starts[first_slot(layer + 1)];
  for (std::int32_t i = begin; i < end; ++i) {
    half.keys[i] = place_[half.slots[i]] * KEY_SCALE + half.ports[i];
  }
  for (std::int32_t slot = first_slot(layer); slot < first_slot(layer + 1); ++slot) {
    const std::int32_t degree = half.starts[slot + 1] - half.starts[slot];
    if (degree > 1) sort_few(half.keys.subspan(half.starts[slot], degree));
  }
}

void LayerOrders::rank_ids() {
  Arena& scratch = graph_.scratch;
  id_rank_ = scratch.raw_array<std::int32_t>(nodes_.size());
  by_id_ = scratch.raw_array<std::int32_t>(nodes_.size());
  const Arena::Frame frame(scratch);
  const std::span<Text> ids = scratch.raw_array<Text>(nodes_.size());
  for (std::size_t slot = 0; slot < nodes_.size(); ++slot) ids[slot] = nodes_[slot]->id;
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
      const std::int32_t position = nodes_[slot]->position;
      if (position < 0) continue;
      members[count] = graph_.nodes[position];
      members[count++]->order = sizes[layer]++;
    }
  }
  graph_.layers.resize(sizes);
  std::copy_n(members.begin(), count, graph_.layers.flat().begin());
}

}  // namespace quillan::vorn_layered
