#include <algorithm>
#include <vector>

#include "core/analysis.hpp"
#include "core/base/index_set.hpp"
#include "core/cycles/break_cycles.hpp"

namespace quillan::vorn_layered {

namespace {

// The peeling state. The procedure is defined by passes over all positions; the sets of current
// sinks and sources visit the same nodes in the same order without the passes.
class Peeling {
 public:
  explicit Peeling(LGraph& graph)
      : adjacency_(_adjacency(graph)),
        count_(static_cast<std::int32_t>(graph.nodes.size())),
        out_degree_(graph.scratch.raw_array<std::int32_t>(count_)),
        in_degree_(graph.scratch.raw_array<std::int32_t>(count_)),
        removed_(graph.scratch.array<bool>(count_, false)),
        order_(graph.scratch.raw_array<std::int32_t>(count_)),
        sinks_(count_, graph.scratch),
        sources_(count_, graph.scratch) {
    for (std::int32_t node = 0; node < count_; ++node) {
      out_degree_[node] = static_cast<std::int32_t>(adjacency_.succ[node].size());
      in_degree_[node] = static_cast<std::int32_t>(adjacency_.pred[node].size());
      if (out_degree_[node] == 0) sinks_.insert(node);
      if (in_degree_[node] == 0) sources_.insert(node);
    }
  }

  std::span<const std::int32_t> run() {
    tail_ = count_;
    while (head_ < tail_) {
      peel();
      if (head_ == tail_) break;
      const std::int32_t best = take_best();
      order_[head_++] = best;
      drop(best);
    }
    return order_;
  }

 private:
  // Alternates sink and source scans until neither finds a node. `head_` grows from the front of
  // `order_` and `tail_` from its back, where the tail's reversal comes out by itself.
  void peel() {
    std::int32_t before = 0;
    do {
      before = tail_ - head_;
      for (std::int32_t node = sinks_.next(0); node >= 0; node = sinks_.next(node + 1)) {
        order_[--tail_] = node;
        drop(node);
      }
      for (std::int32_t node = sources_.next(0); node >= 0; node = sources_.next(node + 1)) {
        order_[head_++] = node;
        drop(node);
      }
    } while (tail_ - head_ != before && head_ < tail_);
  }

  void drop(std::int32_t node) {
    removed_[node] = true;
    sinks_.erase(node);
    sources_.erase(node);
    for (const std::int32_t target : adjacency_.succ[node]) {
      if (removed_[target]) continue;
      if (--in_degree_[target] == 0) sources_.insert(target);
      note(target);
    }
    for (const std::int32_t source : adjacency_.pred[node]) {
      if (removed_[source]) continue;
      if (--out_degree_[source] == 0) sinks_.insert(source);
      note(source);
    }
  }

  struct Candidate {
    std::int32_t surplus;  // out-degree minus in-degree when noted
    std::int32_t node;

    // Heap order: the largest surplus on top, then the smallest position.
    bool operator<(const Candidate& other) const {
      return surplus != other.surplus ? surplus < other.surplus : node > other.node;
    }
  };

  void note(std::int32_t node) {
    if (!candidates_ready_) return;
    candidates_.push_back({out_degree_[node] - in_degree_[node], node});
    std::push_heap(candidates_.begin(), candidates_.end());
  }

  // The heap is made when a cycle first shows; from then on every change of a degree adds an entry,
  // and entries that are out of date are passed over.
  std::int32_t take_best() {
    if (!candidates_ready_) {
      candidates_ready_ = true;
      for (std::int32_t node = 0; node < count_; ++node) {
        if (!removed_[node]) candidates_.push_back({out_degree_[node] - in_degree_[node], node});
      }
      std::make_heap(candidates_.begin(), candidates_.end());
    }
    while (true) {
      const Candidate top = candidates_.front();
      std::pop_heap(candidates_.begin(), candidates_.end());
      candidates_.pop_back();
      const bool current = top.surplus == out_degree_[top.node] - in_degree_[top.node];
      if (current && !removed_[top.node]) return top.node;
    }
  }

  Adjacency adjacency_;
  std::int32_t count_;
  std::span<std::int32_t> out_degree_;
  std::span<std::int32_t> in_degree_;
  std::span<bool> removed_;
  std::span<std::int32_t> order_;
  std::int32_t head_ = 0;
  std::int32_t tail_ = 0;
  IndexSet sinks_;
  IndexSet sources_;
  std::vector<Candidate> candidates_;
  bool candidates_ready_ = false;
};

}  // namespace

std::span<const std::int32_t> _sequence_greedy(LGraph& graph) { return Peeling(graph).run(); }

}  // namespace quillan::vorn_layered
