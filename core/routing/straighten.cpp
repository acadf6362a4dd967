#include "core/routing/straighten.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"
#include "core/routing/free_dummies.hpp"

namespace quillan::vorn_layered {

namespace {

// How often all edges are gone through: room that one of them gives up may serve another.
constexpr int kRounds = 2;

// Where an edge may pass: heights from `low` to `high`.
struct Room {
  double low;
  double high;
};

bool better(const Looks& a, const Looks& b) {
  return a.steps != b.steps ? a.steps < b.steps : a.small < b.small;
}

class Straightener {
 public:
  explicit Straightener(LGraph& graph)
      : graph_(graph), above_(graph.nodes.size()), below_(above_), top_(top_of(graph)) {
    for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) find_neighbours(layer);
  }

  void run() {
    for (int round = 0; round < kRounds; ++round) {
      const std::size_t count = graph_.caller_edges.size();
      for (std::size_t i = 0; i < count; ++i) {
        const CallerEdge& edge = graph_.caller_edges[round % 2 == 0 ? i : count - 1 - i];
        if (edge.has_chain && !edge.reversed && edge.chain.size() > 1) walk(edge.chain);
      }
    }
  }

 private:
  void find_neighbours(std::int32_t layer) {
    sort_across_flow(graph_.layers[layer], sorted_);
    for (std::size_t i = 0; i < sorted_.size(); ++i) {
      const std::int32_t position = sorted_[i]->position;
      if (position < 0) continue;  // outside the graph
      above_[position] = i > 0 ? sorted_[i - 1] : nullptr;
      below_[position] = i + 1 < sorted_.size() ? sorted_[i + 1] : nullptr;
    }
  }

  // The chain in stretches between ends that cannot move.
  void walk(std::span<LEdge* const> chain) {
    dummies_.clear();
    double from = chain.front()->source.y();
    for (std::size_t i = 0; i < chain.size(); ++i) {
      const SegmentEnd end = chain[i]->target;
      if (i + 1 < chain.size() && is_free_dummy(end, chain[i + 1]->source)) {
        dummies_.push_back(end.node());
        continue;
      }
      if (!dummies_.empty()) settle(from, end.y());
      dummies_.clear();
      from = end.y();
    }
  }

  // The drawing's upmost node holds its padding, so it must not move.
  [[nodiscard]] Room room_of(const LNode& dummy) const {
    if (!(dummy.y > top_)) return {dummy.y, dummy.y};
    const LNode* above = above_[dummy.position];
    const LNode* below = below_[dummy.position];
    Room room{top_, std::numeric_limits<double>::infinity()};
    if (above != nullptr) {
      room.low = above->y + above->height() + _spacing_between(*above, dummy, graph_.options);
    }
    if (below != nullptr) room.high = below->y - _spacing_between(dummy, *below, graph_.options);
    // Where the layer is packed too tightly as it is.
    return {smaller(room.low, dummy.y), larger(room.high, dummy.y)};
  }

  // Finds heights for the dummies of a stretch between two ends, and moves them if that is better.
  void settle(double from, double to) {
    heights_.assign(dummies_.size(), from);
    Looks before;
    Looks after;
    double last = from;
    for (const LNode* dummy : dummies_) {
      before.add(last, dummy->y);
      last = dummy->y;
    }
    before.add(last, to);
    double height = from;
    bool at_start = true;
    std::size_t first = 0;
    Room shared{from, from};  // of the dummies from `first` on
    for (std::size_t i = 0; i <= dummies_.size(); ++i) {
      const Room room = i < dummies_.size() ? room_of(*dummies_[i]) : Room{to, to};
      const Room both{larger(shared.low, room.low), smaller(shared.high, room.high)};
      if (both.low <= both.high) {
        shared = both;
        continue;
      }
      const double next = at_start ? from : choose(shared, height, room);
      after.add(height, next);
      height = next;
      const std::span<double> group = std::span(heights_).subspan(first, i - first);
      std::fill(group.begin(), group.end(), height);
      at_start = false;
      first = i;
      shared = room;
    }
    after.add(height, to);
    const std::span<double> rest = std::span(heights_).subspan(first);
    std::fill(rest.begin(), rest.end(), to);
    if (!better(after, before)) return;
    for (std::size_t i = 0; i < dummies_.size(); ++i) dummies_[i]->y = heights_[i];
  }

  // A height in `room`, coming from height `last` and going on to `next`: least way, unless that
  // makes small jogs which can be avoided.
  [[nodiscard]] static double choose(Room room, double last, Room next) {
    const auto fit = [](double height, Room into) {
      return std::clamp(height, into.low, into.high);
    };
    const std::array<double, 5> wanted = {last, last - SMALL_JOG, last + SMALL_JOG,
                                          next.low - SMALL_JOG, next.high + SMALL_JOG};
    double best = fit(last, room);
    Looks best_looks{1, 3};
    double best_way = 0.0;
    for (const double height : wanted) {
      const double here = fit(height, room);
      const double there = fit(here, next);
      Looks looks;
      looks.add(last, here);
      looks.add(here, there);
      const double way = std::abs(here - last) + std::abs(there - here);
      const bool better =
          looks.small != best_looks.small ? looks.small < best_looks.small : way < best_way;
      if (!better) continue;
      best = here;
      best_looks = looks;
      best_way = way;
    }
    return best;
  }

  LGraph& graph_;
  std::vector<const LNode*> above_;  // by position: the neighbours in the layer
  std::vector<const LNode*> below_;
  double top_;
  std::vector<const LNode*> sorted_;
  std::vector<LNode*> dummies_;  // of the stretch at hand
  std::vector<double> heights_;
};

}  // namespace

void straighten_long_edges(LGraph& graph) { Straightener(graph).run(); }

}  // namespace quillan::vorn_layered
