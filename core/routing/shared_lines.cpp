#include "core/routing/shared_lines.hpp"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "core/base/reals.hpp"
#include "core/routing/free_dummies.hpp"

namespace quillan::vorn_layered {

namespace {

constexpr std::int32_t kNone = -1;

// What there is to know of a dummy; of other nodes, nothing.
struct Dummy {
  SegmentEnd root;                // where its wire starts
  std::int32_t previous = kNone;  // the dummy before it, by position
  std::int32_t ahead = 0;         // how many segments of its wire are left
  std::int32_t line = kNone;      // the first of those that it shares a line with
  double height = 0.0;            // of that line
};

class SharedLines {
 public:
  explicit SharedLines(LGraph& graph)
      : graph_(graph), dummies_(graph.nodes.size()), top_(top_of(graph)) {
    for (const CallerEdge& edge : graph.caller_edges) {
      if (edge.has_chain && !edge.reversed && edge.chain.size() > 1) follow(edge);
    }
  }

  void run() {
    if (wires_.size() < 2) return;
    for (std::int32_t layer = 0; layer < graph_.layers.size(); ++layer) find_lines(layer);
    std::stable_sort(wires_.begin(), wires_.end(), [](const CallerEdge* a, const CallerEdge* b) {
      return port_order(a->chain.front()->source) < port_order(b->chain.front()->source);
    });
    for (std::size_t first = 0, end = 0; first < wires_.size(); first = end) {
      const SegmentEnd root = wires_[first]->chain.front()->source;
      for (end = first + 1; end < wires_.size() && wires_[end]->chain.front()->source == root;) {
        ++end;
      }
      if (end - first > 1) settle(std::span(wires_).subspan(first, end - first));
    }
  }

 private:
  void follow(const CallerEdge& edge) {
    wires_.push_back(&edge);
    const std::int32_t segments = static_cast<std::int32_t>(edge.chain.size());
    std::int32_t previous = kNone;
    for (std::int32_t i = 0; i + 1 < segments; ++i) {
      const SegmentEnd in = edge.chain[i]->target;
      if (!is_free_dummy(in, edge.chain[i + 1]->source)) break;
      const LNode& dummy = *in.node();
      dummies_[dummy.position] = {edge.chain.front()->source, previous, segments - i, kNone,
                                  dummy.y};
      previous = dummy.position;
    }
  }

  // Null where the node is no dummy that may move.
  [[nodiscard]] SegmentEnd root_of(const LNode& node) const {
    return node.position < 0 ? SegmentEnd() : dummies_[node.position].root;
  }
  [[nodiscard]] std::int32_t line_before(const LNode& node) const {
    const std::int32_t previous = dummies_[node.position].previous;
    return previous == kNone ? kNone : dummies_[previous].line;
  }

  void find_lines(std::int32_t layer) {
    sort_across_flow(graph_.layers[layer], sorted_);
    for (std::size_t first = 0, end = 0; first < sorted_.size(); first = end) {
      const LNode& front = *sorted_[first];
      const SegmentEnd root = root_of(front);
      end = first + 1;
      if (root == nullptr) continue;
      while (end < sorted_.size() && root_of(*sorted_[end]) == root &&
             line_before(*sorted_[end]) == line_before(front)) {
        ++end;
      }
      join(std::span<const LNode* const>(sorted_).subspan(first, end - first));
    }
  }

  // Gives neighbours one line: where they come from if that lies among them, else where the longest
  // wire runs.
  void join(std::span<const LNode* const> members) {
    const LNode* leader = members.front();
    for (const LNode* node : members) {
      if (dummies_[node->position].ahead > dummies_[leader->position].ahead) leader = node;
    }
    const Dummy& front = dummies_[members.front()->position];
    const double from = front.previous == kNone ? front.root.y() : dummies_[front.previous].height;
    const double low = members.front()->y;
    double height = low <= from && from <= members.back()->y ? from : leader->y;
    if (!(low > top_)) height = low;
    for (const LNode* node : members) {
      Dummy& dummy = dummies_[node->position];
      dummy.line = members.front()->position;
      dummy.height = height;
    }
  }

  // Moves the wires of a port onto their lines if they look no worse then.
  void settle(std::span<const CallerEdge* const> wires) {
    const Looks before = looks(wires, false);
    const Looks after = looks(wires, true);
    if (after.steps > before.steps || after.small > before.small) return;
    for (const CallerEdge* wire : wires) {
      for (const LEdge* segment : wire->chain) {
        LNode& node = *segment->target.node();
        if (root_of(node) != nullptr) node.y = dummies_[node.position].height;
      }
    }
  }

  // Where wires lie on one another, a step is seen once.
  Looks looks(std::span<const CallerEdge* const> wires, bool on_lines) {
    steps_.clear();
    for (const CallerEdge* wire : wires) {
      double from = wire->chain.front()->source.y();
      for (std::size_t i = 0; i < wire->chain.size(); ++i) {
        const SegmentEnd end = wire->chain[i]->target;
        const bool moves = on_lines && root_of(*end.node()) != nullptr;
        const double to = moves ? dummies_[end.node()->position].height : end.y();
        if (std::isfinite(to - from)) steps_.emplace_back(i, from, to);
        from = to;
      }
    }
    std::sort(steps_.begin(), steps_.end());
    steps_.erase(std::unique(steps_.begin(), steps_.end()), steps_.end());
    Looks looks;
    for (const auto& [gap, from, to] : steps_) looks.add(from, to);
    return looks;
  }

  LGraph& graph_;
  std::vector<Dummy> dummies_;  // by position in LGraph::nodes
  std::vector<const CallerEdge*> wires_;
  double top_;
  std::vector<const LNode*> sorted_;  // the layer at hand
  std::vector<std::tuple<std::size_t, double, double>> steps_;
};

}  // namespace

void share_lines(LGraph& graph) { SharedLines(graph).run(); }

}  // namespace quillan::vorn_layered
