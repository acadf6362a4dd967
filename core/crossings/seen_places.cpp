#include "core/crossings/seen_places.hpp"

#include <cmath>
#include <limits>
#include <span>
#include <utility>

#include "core/base/grouped.hpp"

namespace quillan::vorn_layered {

namespace {

constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();

}  // namespace

SeenPlaces::SeenPlaces(LGraph& graph)
    : graph_(graph), place_(graph.nodes.size(), kNowhere), end_(graph.nodes.size(), kNowhere) {
  for (const LNode* node : graph.nodes) {
    if (node->has_origin_y) place_[node->position] = seen_across_flow(graph, *node);
  }
  follow_wires();
  place_the_unplaced();
  place_dummies();
}

void SeenPlaces::follow_wires() {
  // By dummy: a segment that leaves it and was not followed yet.
  std::vector<const LEdge*> leaving(graph_.nodes.size(), nullptr);
  for (const LEdge* edge : graph_.edges) {
    if (edge->source_node()->is_dummy()) leaving[edge->source_node()->position] = edge;
  }
  for (const LEdge* edge : graph_.edges) {
    if (edge->source_node()->is_dummy()) continue;
    Wire wire{edge->source, edge->target, static_cast<std::int32_t>(dummies_.size()), 0};
    while (wire.target != nullptr && wire.target.node()->is_dummy()) {
      const LNode* dummy = wire.target.node();
      const LEdge* next = std::exchange(leaving[dummy->position], nullptr);
      dummies_.push_back(dummy);
      ++wire.count;
      wire.target = next != nullptr ? next->target : nullptr;
    }
    wires_.push_back(wire);
  }
}

// Breadth first from the nodes that have a place.
void SeenPlaces::place_the_unplaced() {
  const Arena::Frame frame(graph_.scratch);
  const std::span<std::int32_t> node_of_end =
      graph_.scratch.array<std::int32_t>(2 * wires_.size(), -1);
  for (std::size_t i = 0; i < wires_.size(); ++i) {
    if (wires_[i].target == nullptr) continue;
    node_of_end[2 * i] = wires_[i].source.node()->position;
    node_of_end[2 * i + 1] = wires_[i].target.node()->position;
  }
  const Grouped ends_of =
      group_by(node_of_end, static_cast<std::int32_t>(graph_.nodes.size()), graph_.scratch);
  const auto end_at = [this](std::int32_t end) {
    return end % 2 == 0 ? wires_[end / 2].source : wires_[end / 2].target;
  };
  std::vector<std::int32_t> queue;
  for (const LNode* node : graph_.nodes) {
    if (!node->is_dummy() && !std::isnan(place_[node->position])) queue.push_back(node->position);
  }
  for (std::size_t next = 0; next < queue.size(); ++next) {
    for (const std::int32_t end : ends_of[queue[next]]) {
      const std::int32_t reached = end_at(end ^ 1).node()->position;
      if (!std::isnan(place_[reached])) continue;
      double sum = 0.0;
      double count = 0.0;
      for (const std::int32_t own : ends_of[reached]) {
        const double straight = place(end_at(own ^ 1)) - end_at(own).offset();
        if (std::isnan(straight)) continue;
        sum += straight;
        count += 1.0;
      }
      // Infinite places may have no mean. The node is reached all the same.
      place_[reached] = std::isnan(sum / count) ? 0.0 : sum / count;
      queue.push_back(reached);
    }
  }
}

void SeenPlaces::place_dummies() {
  for (const Wire& wire : wires_) {
    const double start = place(wire.source);
    const double end = wire.target != nullptr ? place(wire.target) : start;
    for (std::int32_t i = 0; i < wire.count; ++i) {
      const std::int32_t dummy = dummies_[wire.first + i]->position;
      const double share = static_cast<double>(i + 1) / static_cast<double>(wire.count + 1);
      place_[dummy] = start + (end - start) * share;
      end_[dummy] = end;
    }
  }
}

}  // namespace quillan::vorn_layered
