#include "core/placement/brandes_koepf.hpp"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "core/base/faults.hpp"
#include "core/graph/spacing.hpp"
#include "core/placement/place_nodes.hpp"

namespace quillan::vorn_layered {

AlignmentGraph::AlignmentGraph(LGraph& laid_out)
    : graph(laid_out),
      slots(laid_out),
      slot_of(slots.by_position(laid_out)),
      separation(graph.scratch.array<double>(slots.count(), 0.0)),
      // A node that no layer holds is linked to nothing and kept from nothing.
      opens_layer(graph.scratch.array<bool>(slots.count(), true)) {
  collect_links();
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    for (const std::int32_t slot : graph.layers.slots(layer)) {
      const LNode& node = *slots.nodes[slot];
      if (node.position < 0) throw LookupFault(node.id.str());
      if (slot == graph.layers.start(layer)) continue;
      const LNode& previous = *slots.nodes[slot - 1];
      opens_layer[slot] = false;
      separation[slot] = previous.height() / 2.0 + node.height() / 2.0 +
                         _spacing_between(previous, node, graph.options);
    }
  }
}

// Marks conflicts as well, since only that needs inner_source. What stays is taken first, so that
// what only this function needs is given back.
void AlignmentGraph::collect_links() {
  Arena& scratch = graph.scratch;
  const std::size_t most = graph.edges.size();
  const std::span<std::int32_t> starts = scratch.raw_array<std::int32_t>(slots.count() + 1);
  const std::span<std::int32_t> upper_ends = scratch.raw_array<std::int32_t>(most);
  const std::span<std::int32_t> lower_ends = scratch.raw_array<std::int32_t>(most);
  const std::span<std::int32_t> upper_starts = scratch.raw_array<std::int32_t>(slots.count() + 1);
  const std::span<std::int32_t> by_upper = scratch.raw_array<std::int32_t>(most);
  marked = scratch.array<bool>(most, false);

  const Arena::Frame frame(scratch);
  const std::span<std::int32_t> inner_source = scratch.array<std::int32_t>(slots.count(), -1);
  const EdgeEnds ends = LayerSlots::ends_of_edges(graph, slot_of);
  const std::span<std::int32_t> uppers = scratch.raw_array<std::int32_t>(most);
  for (std::size_t i = 0; i < most; ++i) {
    const std::int32_t source = ends.sources[i];
    const std::int32_t target = ends.targets[i];
    if (inner_source[target] < 0 && slots.nodes[target]->is_dummy() &&
        graph.edges[i]->source_node()->is_dummy()) {
      inner_source[target] = source;
    }
    uppers[i] = slots.joins_neighbours(source, target) ? source : -1;
  }

  // Grouping by the one side what is in order by the other leaves each list sorted.
  const Grouped leaving = group_by(uppers, slots.count(), scratch);
  const std::span<std::int32_t> lowers = scratch.raw_array<std::int32_t>(leaving.items.size());
  for (std::size_t i = 0; i < lowers.size(); ++i) lowers[i] = ends.targets[leaving.items[i]];
  const Grouped entering = group_by(lowers, slots.count(), scratch);

  // Parallel segments are neighbours in the list now: all but the first go.
  std::int32_t count = 0;
  for (std::int32_t slot = 0; slot < slots.count(); ++slot) {
    starts[slot] = count;
    for (const std::int32_t item : entering[slot]) {
      const std::int32_t source = ends.sources[leaving.items[item]];
      if (count > starts[slot] && upper_ends[count - 1] == source) continue;
      upper_ends[count] = source;
      lower_ends[count++] = slot;
    }
  }
  starts.back() = count;
  above_ = {starts, upper_ends.first(count)};
  below_ = group_by(above_.items, upper_starts, by_upper);
  lower_of_ = lower_ends.first(count);
  _mark_type1_conflicts(*this, inner_source, marked);
}

void _mark_type1_conflicts(const AlignmentGraph& layers, std::span<const std::int32_t> inner_source,
                           std::span<bool> marked) {
  const Layers& lists = layers.graph.layers;
  for (std::int32_t index = 1; index < lists.size(); ++index) {
    const std::int32_t upper_first = lists.start(index - 1);
    const std::int32_t upper_end = lists.start(index);
    const std::int32_t end = lists.start(index + 1);
    std::int32_t k0 = upper_first;
    std::int32_t scan = upper_end;
    for (std::int32_t slot = upper_end; slot < end; ++slot) {
      const std::int32_t inner = inner_source[slot];
      if (inner < 0 && slot + 1 < end) continue;
      const bool inner_above = inner >= upper_first && inner < upper_end;
      const std::int32_t k1 = inner_above ? inner : upper_end - 1;
      for (; scan <= slot; ++scan) {
        for (std::int32_t i = 0; i < layers.above_count(scan); ++i) {
          const AlignmentGraph::Link link = layers.above(scan, i);
          if (link.slot < k0 || link.slot > k1) marked[link.segment] = true;
        }
      }
      k0 = k1;
    }
  }
}

std::span<std::int32_t> _align_blocks(const AlignmentGraph& layers, bool downward, bool leftward) {
  const Layers& lists = layers.graph.layers;
  const std::span<std::int32_t> root =
      layers.graph.scratch.raw_array<std::int32_t>(layers.slots.count());
  std::iota(root.begin(), root.end(), 0);
  for (std::int32_t step = 1; step < lists.size(); ++step) {
    const std::int32_t index = downward ? step : lists.size() - 1 - step;
    const std::int32_t first = lists.start(index);
    const std::int32_t count = lists.start(index + 1) - first;
    // The most recent link into the adjacent layer; links must not cross one another.
    std::int32_t reached = leftward ? -1 : layers.slots.count();
    for (std::int32_t i = 0; i < count; ++i) {
      const std::int32_t slot = leftward ? first + i : first + count - 1 - i;
      const std::int32_t neighbours =
          downward ? layers.above_count(slot) : layers.below_count(slot);
      if (neighbours == 0) continue;
      std::int32_t median = neighbours / 2;
      std::int32_t other = median;
      if (neighbours % 2 == 0) (leftward ? median : other) -= 1;
      for (const std::int32_t choice : {median, other}) {
        const AlignmentGraph::Link link =
            downward ? layers.above(slot, choice) : layers.below(slot, choice);
        const bool allowed = leftward ? link.slot > reached : link.slot < reached;
        if (!layers.marked[link.segment] && allowed) {
          root[slot] = root[link.slot];
          reached = link.slot;
          break;
        }
      }
    }
  }
  return root;
}

BlockConstraints _blocks_from_root(const AlignmentGraph& layers, std::span<std::int32_t> root) {
  Arena& scratch = layers.graph.scratch;
  const Arena::Frame frame(scratch);
  const std::span<std::int32_t> number = scratch.array<std::int32_t>(layers.slots.count(), -1);
  std::int32_t count = 0;
  for (const std::int32_t slot : layers.slot_of) {
    std::int32_t& block = number[root[slot]];
    if (block < 0) block = count++;
    root[slot] = block;
  }
  return {count, root, layers.separation, layers.opens_layer};
}

void _place_brandes_kopf_y(LGraph& graph) {
  Arena& scratch = graph.scratch;
  const Arena::Frame frame(scratch);
  const AlignmentGraph layers(graph);
  // What an alignment says of a slot is the center of its block.
  struct Candidate {
    std::span<const std::int32_t> block_of;
    std::span<const double> centers;
  };
  std::array<Candidate, 4> candidates;
  std::size_t alignment = 0;
  for (const bool downward : {true, false}) {
    for (const bool leftward : {true, false}) {
      const BlockConstraints blocks =
          _blocks_from_root(layers, _align_blocks(layers, downward, leftward));
      const std::span<double> centers = scratch.raw_array<double>(blocks.block_count);
      _compact_blocks(blocks, centers, scratch);
      candidates[alignment++] = {blocks.block_of, centers};
    }
  }
  for (LNode* node : graph.nodes) {
    const std::int32_t slot = layers.slot_of[node->position];
    std::array<double, 4> coords{};
    for (std::size_t i = 0; i < coords.size(); ++i) {
      coords[i] = candidates[i].centers[candidates[i].block_of[slot]];
    }
    std::sort(coords.begin(), coords.end());
    node->y = (coords[1] + coords[2]) / 2.0 - node->height() / 2.0;
  }
}

}  // namespace quillan::vorn_layered
