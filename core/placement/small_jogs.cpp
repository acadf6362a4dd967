#include "core/placement/small_jogs.hpp"

#include <cmath>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "core/base/reals.hpp"
#include "core/graph/incident_maps.hpp"
#include "core/graph/layer_slots.hpp"
#include "core/graph/spacing.hpp"

namespace quillan::vorn_layered {

namespace {

// What rounding may leave of a straight segment.
constexpr double kLevel = 1e-6;
constexpr std::int32_t kMostMoved = 256;  // nodes

class Blocks {
 public:
  Blocks(LGraph& graph, const IncidentMaps& maps)
      : graph_(graph),
        maps_(maps),
        slots_(graph),
        slot_of_(slots_.by_position(graph)),
        next_(graph.nodes.size()),
        block_(graph.nodes.size()) {
    std::iota(next_.begin(), next_.end(), 0);
    std::iota(block_.begin(), block_.end(), 0);
    sizes_.assign(graph.nodes.size(), 1);
    stamps_.assign(graph.nodes.size(), 0);
    for (const LNode* node : graph.nodes) top_ = smaller(top_, node->y);
    for (const LEdge* edge : graph.edges) {
      if (std::abs(step_of(*edge)) <= kLevel) join(*edge);
    }
  }

  void run() {
    for (const LEdge* edge : graph_.edges) {
      const double step = step_of(*edge);
      if (!is_small(step) || graph_.caller_edges[edge->caller_edge].reversed) continue;
      if (try_move(edge->target_node()->position, -step) ||
          try_move(edge->source_node()->position, step)) {
        join(*edge);
      }
    }
  }

 private:
  static double step_of(const LEdge& edge) { return edge.target.y() - edge.source.y(); }
  static bool is_small(double step) {
    return std::abs(step) > kLevel && std::abs(step) < SMALL_JOG;
  }

  // The smaller block takes the name of the larger one, so that no node is renamed often.
  void join(const LEdge& edge) {
    std::int32_t kept = block_[edge.source_node()->position];
    std::int32_t renamed = block_[edge.target_node()->position];
    if (kept == renamed) return;
    if (sizes_[kept] < sizes_[renamed]) std::swap(kept, renamed);
    sizes_[kept] += sizes_[renamed];
    std::int32_t node = renamed;
    do {
      block_[node] = kept;
      node = next_[node];
    } while (node != renamed);
    std::swap(next_[kept], next_[renamed]);
  }

  // Moves the block of a node, and blocks that stand in its way, if that is a gain.
  bool try_move(std::int32_t member, double delta) {
    ++stamp_;
    moving_.clear();
    if (!take(block_[member])) return false;
    std::size_t checked = 0;
    while (checked < moving_.size()) {  // take() appends to it
      const LNode& node = *graph_.nodes[moving_[checked++]];
      const double y = node.y + delta;
      // The drawing's upmost node holds its padding.
      if (!(node.y > top_) || !(y >= top_)) return false;
      const LNode* other = neighbour(node, delta);
      if (other == nullptr || is_clear(node, y, *other, delta)) continue;
      if (other->position < 0) return false;  // outside the graph
      if (!moves(*other) && !take(block_[other->position])) return false;
    }
    std::int32_t gain = 0;
    for (const std::int32_t node : moving_) gain += gain_at(node, delta);
    if (gain <= 0) return false;
    for (const std::int32_t node : moving_) graph_.nodes[node]->y += delta;
    return true;
  }

  // Adds a block to what moves, unless that becomes too much.
  bool take(std::int32_t block) {
    if (static_cast<std::int32_t>(moving_.size()) + sizes_[block] > kMostMoved) return false;
    stamps_[block] = stamp_;
    std::int32_t node = block;
    do {
      moving_.push_back(node);
      node = next_[node];
    } while (node != block);
    return true;
  }

  [[nodiscard]] bool moves(const LNode& node) const {
    return node.position >= 0 && stamps_[block_[node.position]] == stamp_;
  }

  // The next node of the layer in the direction of a move. It goes by `layers`: what a node of a
  // graph made by hand says of its layer need not be so.
  [[nodiscard]] const LNode* neighbour(const LNode& node, double delta) const {
    const std::int32_t slot = slot_of_[node.position];
    const std::int32_t next = slot + (delta > 0.0 ? 1 : -1);
    const bool exists = next >= 0 && next < slots_.count() && slots_.layer_of[slot] >= 0 &&
                        slots_.layer_of[next] == slots_.layer_of[slot];
    return exists ? slots_.nodes[next] : nullptr;
  }

  [[nodiscard]] bool is_clear(const LNode& node, double y, const LNode& other, double delta) const {
    const double gap = _spacing_between(node, other, graph_.options);
    return delta > 0.0 ? y + node.height() + gap <= other.y : other.y + other.height() + gap <= y;
  }

  // How many fewer small steps there are at the segments that leave what moves at this node.
  [[nodiscard]] std::int32_t gain_at(std::int32_t node, double delta) const {
    std::int32_t gain = 0;
    const auto add = [&](std::span<const std::int32_t> segments, double change) {
      for (const std::int32_t segment : segments) {
        const LEdge& edge = *graph_.edges[segment];
        if (moves(*edge.source_node()) && moves(*edge.target_node())) continue;
        gain += is_small(step_of(edge)) ? 1 : 0;
        gain -= is_small(step_of(edge) + change) ? 1 : 0;
      }
    };
    add(maps_.incoming[node], delta);
    add(maps_.outgoing[node], -delta);
    return gain;
  }

  LGraph& graph_;
  const IncidentMaps& maps_;
  const LayerSlots slots_;
  const std::span<const std::int32_t> slot_of_;  // by LNode::position
  std::vector<std::int32_t> next_;               // by node: the next of its block, round and round
  std::vector<std::int32_t> block_;              // by node: a node of its block that stands for it
  std::vector<std::int32_t> sizes_;              // by block
  std::vector<std::int32_t> stamps_;             // by block: the last move of which it was a part
  std::vector<std::int32_t> moving_;             // nodes
  std::int32_t stamp_ = 0;
  double top_ = std::numeric_limits<double>::infinity();
};

}  // namespace

void remove_small_jogs(LGraph& graph) {
  const Arena::Frame frame(graph.scratch);
  const IncidentMaps maps = _incident_maps(graph);
  Blocks(graph, maps).run();
}

}  // namespace quillan::vorn_layered
