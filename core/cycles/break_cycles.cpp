#include "core/cycles/break_cycles.hpp"

#include <utility>

#include "core/analysis.hpp"

namespace quillan::vorn_layered {

namespace {

std::span<const std::int32_t> choose_sequence(LGraph& graph) {
  const std::string& strategy = graph.options.cycle_breaking_strategy;
  if (strategy == "INTERACTIVE" && _has_usable_positions(graph))
    return _sequence_interactive(graph);
  if (strategy == "DEPTH_FIRST") return _sequence_depth_first(graph);
  return _sequence_greedy(graph);
}

}  // namespace

void break_cycles(LGraph& graph) {
  const Arena::Frame frame(graph.scratch);
  const std::span<const std::int32_t> sequence = choose_sequence(graph);
  const std::span<std::int32_t> rank = graph.scratch.raw_array<std::int32_t>(sequence.size());
  for (std::size_t place = 0; place < sequence.size(); ++place) {
    rank[sequence[place]] = static_cast<std::int32_t>(place);
  }
  const auto rank_of = [&](const LNode* node) {
    return node->position >= 0 ? rank[node->position] : 0;
  };
  for (LEdge* edge : graph.edges) {
    if (rank_of(edge->source_node()) > rank_of(edge->target_node())) _reverse_edge(graph, *edge);
  }
}

void _reverse_edge(LGraph& graph, LEdge& edge) {
  std::swap(edge.source, edge.target);
  edge.reversed = true;
  CallerEdge& caller_edge = graph.caller_edges[edge.caller_edge];
  caller_edge.has_reversed = true;
  caller_edge.reversed = true;
}

}  // namespace quillan::vorn_layered
