#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"
#include "core/placement/fit_in_order.hpp"
#include "core/placement/straighten.hpp"

namespace quillan::vorn_layered {

namespace {

// What a node without neighbours counts against one with them: it gives way.
constexpr double kFaint = 1e-6;

// Where a node's neighbours on one side want it, and what they count together.
Wish wish_of(const LGraph& graph, const LNode& node, std::span<const std::int32_t> segments) {
  double sum = 0.0;
  double weight = 0.0;
  for (const std::int32_t position : segments) {
    const LEdge& edge = *graph.edges[position];
    const bool enters = edge.target_node() == &node;
    const SegmentEnd here = enters ? edge.target : edge.source;
    const SegmentEnd there = enters ? edge.source : edge.target;
    const std::int32_t counts =
        SEGMENT_WEIGHTS[(node.is_dummy() ? 1 : 0) + (there.node()->is_dummy() ? 1 : 0)];
    sum += counts * (there.y() - here.offset());
    weight += counts;
  }
  return weight > 0.0 ? Wish{sum / weight, weight, 0.0} : Wish{node.y, kFaint, 0.0};
}

// Nodes of a layer next to one another, none of them pinned, between pinned ones or the ends.
struct Run {
  std::span<LNode* const> nodes;
  const LNode* before;
  const LNode* behind;
};

void fit(LGraph& graph, const Run& run, const Grouped& segments) {
  const LayoutOptions& options = graph.options;
  const Arena::Frame frame(graph.scratch);
  const std::span<Wish> wishes = graph.scratch.raw_array<Wish>(run.nodes.size());
  const std::span<double> places = graph.scratch.raw_array<double>(run.nodes.size());
  const auto step = [&](const LNode& a, const LNode& b) {
    return a.height() + _spacing_between(a, b, options);
  };
  for (std::size_t i = 0; i < run.nodes.size(); ++i) {
    const LNode& node = *run.nodes[i];
    wishes[i] = wish_of(graph, node, segments[node.position]);
    if (i > 0) wishes[i].distance = step(*run.nodes[i - 1], node);
  }
  fit_in_order(wishes, places, graph.scratch);
  // The best places between two bounds are the best ones of all, moved to the bound they exceed.
  for (std::size_t i = 0; i < run.nodes.size(); ++i) run.nodes[i]->y = places[i];
  const LNode* next = run.behind;
  for (std::size_t i = run.nodes.size(); next != nullptr && i-- > 0; next = run.nodes[i]) {
    run.nodes[i]->y = smaller(run.nodes[i]->y, next->y - step(*run.nodes[i], *next));
  }
  const LNode* previous = run.before;
  for (LNode* node : run.nodes) {
    if (previous != nullptr) node->y = larger(node->y, previous->y + step(*previous, *node));
    previous = node;
  }
}

}  // namespace

void lean(LGraph& graph, std::span<const bool> pinned, const IncidentMaps& maps, bool forward) {
  for (std::int32_t i = 0; i < graph.layers.size(); ++i) {
    const std::span<LNode* const> layer = graph.layers[forward ? i : graph.layers.size() - 1 - i];
    const LNode* before = nullptr;
    for (std::size_t begin = 0; begin < layer.size();) {
      std::size_t end = begin;
      while (end < layer.size() && !pinned[layer[end]->position]) ++end;
      const LNode* behind = end < layer.size() ? layer[end] : nullptr;
      if (begin < end) {
        fit(graph, {layer.subspan(begin, end - begin), before, behind},
            forward ? maps.incoming : maps.outgoing);
      }
      before = behind;
      begin = end + 1;
    }
  }
}

}  // namespace quillan::vorn_layered
