#include <cstddef>
#include <limits>

#include "core/analysis.hpp"
#include "core/base/faults.hpp"
#include "core/base/reals.hpp"
#include "core/graph/incident_maps.hpp"
#include "core/graph/spacing.hpp"
#include "core/placement/fit_in_order.hpp"
#include "core/placement/place_nodes.hpp"
#include "core/placement/straighten.hpp"

namespace quillan::vorn_layered {

namespace {

bool is_seen_along_flow(const LNode& node) { return !node.is_dummy() && node.has_origin_x; }
bool is_seen_across_flow(const LNode& node) { return !node.is_dummy() && node.has_origin_y; }

// The extent of the seen boxes of a layer along the flow.
struct Column {
  double left = 0.0;
  double right = 0.0;
  bool seen = false;

  void include(double from, double to) {
    left = seen ? smaller(left, from) : from;
    right = seen ? larger(right, to) : to;
    seen = true;
  }
};

// Fits the seen nodes of a layer to where the user has them, which is their `y` so far, with room
// for those in between. None goes beyond `top`: the drawing begins at its padding, so that all
// others would have to make way.
void fit_seen(LGraph& graph, std::span<LNode* const> layer, double top) {
  const Arena::Frame frame(graph.scratch);
  const std::span<LNode*> seen = graph.scratch.raw_array<LNode*>(layer.size());
  const std::span<Wish> wishes = graph.scratch.raw_array<Wish>(layer.size());
  const std::span<double> places = graph.scratch.raw_array<double>(layer.size());
  std::size_t count = 0;
  double distance = 0.0;
  const LNode* previous = nullptr;
  for (LNode* node : layer) {
    if (previous != nullptr) {
      distance += previous->height() + _spacing_between(*previous, *node, graph.options);
    }
    previous = node;
    if (!is_seen_across_flow(*node)) continue;
    wishes[count] = {node->y, 1.0, distance};
    seen[count++] = node;
    distance = 0.0;
  }
  fit_in_order(wishes.first(count), places.first(count), graph.scratch);
  double least = top;
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) least = seen[i - 1]->y + wishes[i].distance;
    seen[i]->y = larger(places[i], least);
  }
}

void assign_seen_x(LGraph& graph) {
  const double gap = graph.options.spacing_node_node_between_layers;
  double bound = graph.options.padding_left;
  bool first = true;
  for (std::int32_t index = 0; index < graph.layers.size(); ++index) {
    const std::span<LNode*> layer = graph.layers[index];
    if (layer.empty()) continue;
    Column column;
    for (LNode* node : layer) {
      node->x = seen_along_flow(graph, *node);
      if (is_seen_along_flow(*node)) column.include(node->x, node->x + node->width());
    }
    if (!column.seen) column.include(bound, bound);
    // All others in the middle, as in a column without positions.
    const double middle = column.left + (column.right - column.left) / 2.0;
    for (LNode* node : layer) {
      if (is_seen_along_flow(*node)) continue;
      node->x = middle - node->width() / 2.0;
      column.include(node->x, node->x + node->width());
    }
    const double push = first ? 0.0 : larger(0.0, bound - column.left);
    for (LNode* node : layer) node->x += push;
    bound = column.right + push + gap;
    first = false;
  }
}

}  // namespace

bool place_interactive(LGraph& graph) {
  if (!_has_usable_positions(graph)) return false;
  for (const LNode* node : graph.layers.flat()) {
    if (node->position < 0) throw LookupFault(node->id.str());
  }
  for (LNode* node : graph.nodes) node->y = seen_across_flow(graph, *node);
  if (!can_straighten(graph)) return false;
  assign_seen_x(graph);
  double top = std::numeric_limits<double>::infinity();
  for (const LNode* node : graph.nodes) {
    if (is_seen_across_flow(*node)) top = smaller(top, node->y);
  }
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    fit_seen(graph, graph.layers[layer], top);
  }
  const Arena::Frame frame(graph.scratch);
  const std::span<bool> pinned = graph.scratch.raw_array<bool>(graph.nodes.size());
  for (const LNode* node : graph.nodes) pinned[node->position] = is_seen_across_flow(*node);
  straighten(graph, pinned);
  return true;
}

}  // namespace quillan::vorn_layered
