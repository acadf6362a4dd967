#include "core/routing/gap_widths.hpp"

#include <algorithm>
#include <vector>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"

namespace quillan::vorn_layered {

namespace {

// Moves layers by the sum of all widenings in front of them.
//
// The same as moving every later layer at each widening, which would cost layers times nodes. The
// additions must happen one by one and in order, since each rounds; but nodes that stand at one x
// stay at one x. So each layer keeps a list of its different x, catches up with the widenings so
// far when the walk comes near it, and writes the nodes once. Layers catch up in blocks, whose
// additions do not wait for one another.
class Widening {
 public:
  explicit Widening(LGraph& graph)
      : graph_(graph), places_(graph.scratch.raw_array<std::int32_t>(graph.layers.flat().size())) {}

  // Gives layer `index` all widenings so far. Called with ascending indices.
  void catch_up(std::int32_t index) {
    if (deltas_.empty()) return;
    if (index >= block_end_) load_block(index);
    for (std::int32_t slot = graph_.layers.start(index); slot < graph_.layers.start(index + 1);
         ++slot) {
      graph_.layers.flat()[slot]->x = values_[places_[slot]];
    }
  }

  // Adds a widening in front of layer `next`. REQUIRES: catch_up() of that layer.
  void widen(double delta, std::int32_t next) {
    if (next >= block_end_) load_block(next);
    deltas_.push_back(delta);
    for (std::size_t i = firsts_[next - block_begin_]; i < values_.size(); ++i) values_[i] += delta;
  }

 private:
  static constexpr std::int32_t kBlock = 64;
  static constexpr std::size_t kLookBack = 8;

  void load_block(std::int32_t begin) {
    block_begin_ = begin;
    block_end_ = std::min(block_begin_ + kBlock, graph_.layers.size());
    values_.clear();
    firsts_.clear();
    for (std::int32_t layer = block_begin_; layer < block_end_; ++layer) {
      firsts_.push_back(values_.size());
      for (std::int32_t slot = graph_.layers.start(layer); slot < graph_.layers.start(layer + 1);
           ++slot) {
        places_[slot] = find_or_add(graph_.layers.flat()[slot]->x, firsts_.back());
      }
    }
    firsts_.push_back(values_.size());
    for (const double delta : deltas_) {
      for (double& value : values_) value += delta;
    }
  }

  // A few of the last values are enough to find most that stand in the layer already.
  std::int32_t find_or_add(double x, std::size_t first) {
    const std::size_t end = values_.size();
    const std::size_t begin = end - first > kLookBack ? end - kLookBack : first;
    for (std::size_t i = end; i-- > begin;) {
      if (values_[i] == x) return static_cast<std::int32_t>(i);
    }
    values_.push_back(x);
    return static_cast<std::int32_t>(end);
  }

  LGraph& graph_;
  std::span<std::int32_t> places_;   // by slot: index into values_
  std::vector<double> values_;       // different x of the block, layer by layer
  std::vector<std::size_t> firsts_;  // by layer of the block: its first value
  std::vector<double> deltas_;
  std::int32_t block_begin_ = 0;
  std::int32_t block_end_ = 0;
};

}  // namespace

Bounds bounds_of(const LGraph& graph, std::int32_t gap) {
  const std::span<LNode* const> before = graph.layers[gap];
  const std::span<LNode* const> behind = graph.layers[gap + 1];
  double left = before.empty() ? 0.0 : before[0]->x + before[0]->width();
  for (const LNode* node : before) left = larger(left, node->x + node->width());
  double right = behind.empty() ? left : behind[0]->x;
  for (const LNode* node : behind) right = smaller(right, node->x);
  return {left, right};
}

GapWidth width_for(std::int32_t pitches, const LayoutOptions& options) {
  const double margins = options.spacing_edge_node * 2.0;
  const TrackPitch pitch = track_pitch(options);
  return {margins + pitches * pitch.least, margins + pitches * pitch.wanted};
}

void widen_gaps(LGraph& graph, std::span<const GapWidth> widths) {
  Widening widening(graph);
  for (std::int32_t gap = 0; gap + 1 < graph.layers.size(); ++gap) {
    widening.catch_up(gap + 1);
    const Bounds bounds = bounds_of(graph, gap);
    const double width = bounds.right - bounds.left;
    if (larger(0.0, widths[gap].least - width) == 0.0) continue;
    const double delta = larger(0.0, widths[gap].wanted - width);
    widening.widen(delta, gap + 1);
    widening.catch_up(gap + 1);
  }
}

}  // namespace quillan::vorn_layered
