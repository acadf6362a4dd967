#include <algorithm>
#include <string>
#include <vector>

#include "core/base/faults.hpp"
#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

namespace {

// The layers that the edge of a one-segment chain spans, or 0 if the chain is not to be split.
std::int32_t long_span(const CallerEdge& caller_edge) {
  if (!caller_edge.has_chain || caller_edge.chain.size() != 1) return 0;
  const LEdge& edge = *caller_edge.chain[0];
  const std::int32_t span = edge.target_node()->layer - edge.source_node()->layer;
  return span > 1 ? span : 0;
}

void split(LGraph& graph, std::int32_t number, std::int32_t span, std::vector<LEdge*>& edges) {
  CallerEdge& caller_edge = graph.caller_edges[number];
  const LEdge& edge = *caller_edge.chain[0];
  const LNode& source = *edge.source_node();
  const LNode& target = *edge.target_node();
  const std::span<LEdge*> segments = graph.arena.raw_array<LEdge*>(span);
  SegmentEnd upstream = edge.source;
  for (std::int32_t step = 1; step <= span; ++step) {
    SegmentEnd downstream = edge.target;
    LNode* dummy = nullptr;
    if (step < span) {
      dummy = graph.add_dummy(graph.next_id(caller_edge.id, TextForm::kDummy), number,
                              source.layer + step);
      dummy->has_origin_x = source.has_origin_x && target.has_origin_x;
      dummy->has_origin_y = source.has_origin_y && target.has_origin_y;
      downstream = SegmentEnd::into(dummy);
    }
    LEdge* segment = graph.make_segment(graph.next_id(caller_edge.id, TextForm::kSegment), upstream,
                                        downstream, edge.caller_edge);
    segments[step - 1] = segment;
    edges.push_back(segment);
    if (dummy != nullptr) upstream = SegmentEnd::out_of(dummy);
  }
  caller_edge.chain = segments;
}

// The edges that stay: those whose id is none of a split edge's. So a twin of the same id, which
// has no chain of its own, leaves too.
class Survivors {
 public:
  // `replaced` holds, by caller's edge, the edge that was split or null.
  Survivors(const LGraph& graph, std::span<const LEdge* const> replaced) : replaced_(replaced) {
    const auto as_imported = [&](const LEdge* edge) {
      return compare(edge->id, graph.caller_edges[edge->caller_edge].id) == 0;
    };
    by_caller_edge_ = std::all_of(graph.edges.begin(), graph.edges.end(), as_imported);
    for (std::size_t i = 0; i < replaced.size() && by_caller_edge_; ++i) {
      by_caller_edge_ =
          replaced[i] == nullptr ||
          (replaced[i]->caller_edge == static_cast<std::int32_t>(i) && as_imported(replaced[i]));
    }
    if (by_caller_edge_) return;
    for (const LEdge* edge : replaced) {
      if (edge != nullptr) ids_.push_back(edge->id.str());
    }
    std::sort(ids_.begin(), ids_.end());
  }

  [[nodiscard]] bool stays(const LEdge& edge) const {
    if (by_caller_edge_) return replaced_[edge.caller_edge] == nullptr;
    return !std::binary_search(ids_.begin(), ids_.end(), edge.id.str());
  }

 private:
  std::span<const LEdge* const> replaced_;
  // Import gives an edge, its caller's edge and its chain one id. Then equal ids are one caller's
  // edge, and no text needs to be written out.
  bool by_caller_edge_ = false;
  std::vector<std::string> ids_;  // sorted; of the split edges otherwise
};

}  // namespace

void insert_dummy_nodes(LGraph& graph) {
  std::int64_t dummies = 0;
  std::int64_t split_count = 0;
  for (const CallerEdge& caller_edge : graph.caller_edges) {
    const std::int32_t span = long_span(caller_edge);
    if (span == 0) continue;
    dummies += span - 1;
    ++split_count;
  }
  if (split_count == 0) return;
  if (dummies > MAX_DUMMIES_PER_GRAPH) {
    throw SizeFault("the long edges of this graph need " + std::to_string(dummies) +
                    " dummies; the limit is " + std::to_string(MAX_DUMMIES_PER_GRAPH));
  }

  const Arena::Frame frame(graph.scratch);
  const std::span<const LEdge*> replaced =
      graph.scratch.array<const LEdge*>(graph.caller_edges.size(), nullptr);
  for (std::size_t i = 0; i < replaced.size(); ++i) {
    const CallerEdge& caller_edge = graph.caller_edges[i];
    if (long_span(caller_edge) > 0) replaced[i] = caller_edge.chain[0];
  }
  const Survivors survivors(graph, replaced);
  std::vector<LEdge*> edges;
  edges.reserve(graph.edges.size() + dummies + split_count);
  for (LEdge* edge : graph.edges) {
    if (survivors.stays(*edge)) edges.push_back(edge);
  }
  graph.nodes.reserve(graph.nodes.size() + dummies);
  for (std::size_t i = 0; i < replaced.size(); ++i) {
    const std::int32_t span = long_span(graph.caller_edges[i]);
    if (span > 0) split(graph, static_cast<std::int32_t>(i), span, edges);
  }
  graph.set_edges(std::move(edges));
}

}  // namespace quillan::vorn_layered
