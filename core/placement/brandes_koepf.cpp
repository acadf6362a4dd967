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
      slot_count(static_cast<std::int32_t>(laid_out.nodes.size())),
      slot_of(graph.scratch.raw_array<std::int32_t>(slot_count)),
      separation(graph.scratch.array<double>(slot_count, 0.0)),
      opens_layer(graph.scratch.array<bool>(slot_count, false)),
      inner_source(graph.scratch.array<std::int32_t>(slot_count, -1)) {
  require_known_ends(graph);
  std::fill(slot_of.begin(), slot_of.end(), -1);
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    const LNode* previous = nullptr;
    for (std::int32_t slot = graph.layers.start(layer); slot < graph.layers.start(layer + 1);
         ++slot) {
      const LNode* node = graph.layers.flat()[slot];
      if (node->position < 0) throw LookupFault(node->id.str());
      slot_of[node->position] = slot;
      opens_layer[slot] = previous == nullptr;
      if (previous != nullptr) {
        separation[slot] = previous->height / 2.0 + node->height / 2.0 +
                           _spacing_between(*previous, *node, graph.options);
      }
      previous = node;
    }
  }
  // A node that no layer holds is linked to nothing and kept from nothing.
  std::int32_t unlayered = static_cast<std::int32_t>(graph.layers.flat().size());
  for (std::int32_t& slot : slot_of) {
    if (slot >= 0) continue;
    slot = unlayered++;
    opens_layer[slot] = true;
  }
  collect_links();
}

void AlignmentGraph::collect_links() {
  Arena& scratch = graph.scratch;
  constexpr std::int32_t kNoLayer = -2;  // and none that comes before or after another
  const std::span<std::int32_t> layer_of = scratch.array<std::int32_t>(slot_count, kNoLayer);
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    for (std::int32_t slot = graph.layers.start(layer); slot < graph.layers.start(layer + 1);
         ++slot) {
      layer_of[slot] = layer;
    }
  }
  const std::span<std::int32_t> sources = scratch.raw_array<std::int32_t>(graph.edges.size());
  const std::span<std::int32_t> targets = scratch.raw_array<std::int32_t>(graph.edges.size());
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    const LNode* source = graph.edges[i]->source_node();
    const LNode* target = graph.edges[i]->target_node();
    sources[i] = slot_of[source->position];
    targets[i] = slot_of[target->position];
    std::int32_t& inner = inner_source[targets[i]];
    if (inner < 0 && source->is_dummy() && target->is_dummy()) inner = sources[i];
    if (layer_of[sources[i]] + 1 != layer_of[targets[i]]) sources[i] = -1;
  }

  // Filling one side's lists while walking the other side's slots in order leaves them sorted.
  const Grouped leaving = group_by(sources, slot_count, scratch);
  const std::span<std::int32_t> above_starts = scratch.array<std::int32_t>(slot_count + 1, 0);
  const std::span<std::int32_t> filled = scratch.raw_array<std::int32_t>(slot_count);
  for (const std::int32_t edge : leaving.items) ++above_starts[targets[edge] + 1];
  std::partial_sum(above_starts.begin(), above_starts.end(), above_starts.begin());
  std::copy(above_starts.begin(), above_starts.end() - 1, filled.begin());
  above_ = scratch.raw_array<Link>(leaving.items.size());
  for (std::int32_t slot = 0; slot < slot_count; ++slot) {
    for (const std::int32_t edge : leaving[slot]) above_[filled[targets[edge]]++] = {slot, -1};
  }

  // Parallel segments are neighbours in the list now: all but the first go.
  below_starts_ = scratch.array<std::int32_t>(slot_count + 1, 0);
  for (std::int32_t slot = 0; slot < slot_count; ++slot) {
    const std::int32_t begin = above_starts[slot];
    const std::int32_t end = filled[slot];
    above_starts[slot] = segment_count;
    for (std::int32_t i = begin; i < end; ++i) {
      const std::int32_t source = above_[i].slot;
      if (i > begin && above_[segment_count - 1].slot == source) continue;
      above_[segment_count] = {source, segment_count};
      ++segment_count;
      ++below_starts_[source + 1];
    }
  }
  above_starts[slot_count] = segment_count;
  above_starts_ = above_starts;

  std::partial_sum(below_starts_.begin(), below_starts_.end(), below_starts_.begin());
  std::copy(below_starts_.begin(), below_starts_.end() - 1, filled.begin());
  below_ = scratch.raw_array<Link>(segment_count);
  for (std::int32_t slot = 0; slot < slot_count; ++slot) {
    for (const Link& link : above(slot)) below_[filled[link.slot]++] = {slot, link.segment};
  }
}

std::span<const bool> _mark_type1_conflicts(const AlignmentGraph& layers) {
  const Layers& lists = layers.graph.layers;
  const std::span<bool> marked = layers.graph.scratch.array<bool>(layers.segment_count, false);
  for (std::int32_t index = 1; index < lists.size(); ++index) {
    const std::int32_t upper_first = lists.start(index - 1);
    const std::int32_t upper_end = lists.start(index);
    const std::int32_t end = lists.start(index + 1);
    std::int32_t k0 = upper_first;
    std::int32_t scan = upper_end;
    for (std::int32_t slot = upper_end; slot < end; ++slot) {
      const std::int32_t inner = layers.inner_source[slot];
      if (inner < 0 && slot + 1 < end) continue;
      const bool inner_above = inner >= upper_first && inner < upper_end;
      const std::int32_t k1 = inner_above ? inner : upper_end - 1;
      for (; scan <= slot; ++scan) {
        for (const AlignmentGraph::Link& link : layers.above(scan)) {
          if (link.slot < k0 || link.slot > k1) marked[link.segment] = true;
        }
      }
      k0 = k1;
    }
  }
  return marked;
}

std::span<const std::int32_t> _align_blocks(const AlignmentGraph& layers, bool downward,
                                            bool leftward, std::span<const bool> marked) {
  const Layers& lists = layers.graph.layers;
  const std::span<std::int32_t> root =
      layers.graph.scratch.raw_array<std::int32_t>(layers.slot_count);
  std::iota(root.begin(), root.end(), 0);
  for (std::int32_t step = 1; step < lists.size(); ++step) {
    const std::int32_t index = downward ? step : lists.size() - 1 - step;
    const std::int32_t first = lists.start(index);
    const std::int32_t count = lists.start(index + 1) - first;
    // The most recent link into the adjacent layer; links must not cross one another.
    std::int32_t reached = leftward ? -1 : layers.slot_count;
    for (std::int32_t i = 0; i < count; ++i) {
      const std::int32_t slot = leftward ? first + i : first + count - 1 - i;
      const std::span<const AlignmentGraph::Link> neighbours =
          downward ? layers.above(slot) : layers.below(slot);
      if (neighbours.empty()) continue;
      std::size_t median = neighbours.size() / 2;
      std::size_t other = median;
      if (neighbours.size() % 2 == 0) (leftward ? median : other) -= 1;
      for (const std::size_t choice : {median, other}) {
        const AlignmentGraph::Link& link = neighbours[choice];
        const bool allowed = leftward ? link.slot > reached : link.slot < reached;
        if (!marked[link.segment] && allowed) {
          root[slot] = root[link.slot];
          reached = link.slot;
          break;
        }
      }
    }
  }
  return root;
}

BlockConstraints _blocks_from_root(const AlignmentGraph& layers,
                                   std::span<const std::int32_t> root) {
  Arena& scratch = layers.graph.scratch;
  const std::span<std::int32_t> block_of = scratch.raw_array<std::int32_t>(layers.slot_count);
  const std::span<std::int32_t> number = scratch.array<std::int32_t>(layers.slot_count, -1);
  std::int32_t count = 0;
  for (std::int32_t position = 0; position < layers.slot_count; ++position) {
    const std::int32_t slot = layers.slot_of[position];
    std::int32_t& block = number[root[slot]];
    if (block < 0) block = count++;
    block_of[slot] = block;
  }
  return {count, block_of, layers.separation, layers.opens_layer};
}

void _place_brandes_kopf_y(LGraph& graph) {
  Arena& scratch = graph.scratch;
  const Arena::Frame frame(scratch);
  const AlignmentGraph layers(graph);
  const std::span<const bool> marked = _mark_type1_conflicts(layers);
  std::array<std::span<double>, 4> candidates;  // by slot
  std::size_t alignment = 0;
  for (const bool downward : {true, false}) {
    for (const bool leftward : {true, false}) {
      const std::span<double> values = scratch.raw_array<double>(layers.slot_count);
      candidates[alignment++] = values;
      const Arena::Frame inner(scratch);
      const BlockConstraints blocks =
          _blocks_from_root(layers, _align_blocks(layers, downward, leftward, marked));
      const std::span<double> centers = scratch.raw_array<double>(blocks.block_count);
      _compact_blocks(blocks, centers, scratch);
      for (std::int32_t slot = 0; slot < layers.slot_count; ++slot) {
        values[slot] = centers[blocks.block_of[slot]];
      }
    }
  }
  for (LNode* node : graph.nodes) {
    const std::int32_t slot = layers.slot_of[node->position];
    std::array<double, 4> coords = {candidates[0][slot], candidates[1][slot], candidates[2][slot],
                                    candidates[3][slot]};
    std::sort(coords.begin(), coords.end());
    node->y = (coords[1] + coords[2]) / 2.0 - node->height / 2.0;
  }
}

}  // namespace quillan::vorn_layered
