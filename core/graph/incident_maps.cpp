#include "core/graph/incident_maps.hpp"

#include <algorithm>

#include "core/base/faults.hpp"

namespace quillan::vorn_layered {

void require_known_ends(const LGraph& graph) {
  for (const LEdge* edge : graph.edges) {
    for (const LNode* node : {edge->source_node(), edge->target_node()}) {
      if (node->position < 0) throw LookupFault(node->id.str());
    }
  }
}

EdgeEnds edge_ends(LGraph& graph) {
  const EdgeEnds ends{graph.scratch.raw_array<std::int32_t>(graph.edges.size()),
                      graph.scratch.raw_array<std::int32_t>(graph.edges.size())};
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    ends.sources[i] = graph.edges[i]->source_node()->position;
    ends.targets[i] = graph.edges[i]->target_node()->position;
  }
  return ends;
}

EdgeEnds known_edge_ends(LGraph& graph) {
  const EdgeEnds ends = edge_ends(graph);
  const auto known = [](std::span<const std::int32_t> positions) {
    return std::all_of(positions.begin(), positions.end(), [](std::int32_t at) { return at >= 0; });
  };
  if (!known(ends.sources) || !known(ends.targets)) require_known_ends(graph);
  return ends;
}

IncidentMaps _incident_maps(LGraph& graph) {
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  const EdgeEnds ends = known_edge_ends(graph);
  const Grouped incoming = group_by(ends.targets, count, graph.scratch);
  const Grouped outgoing = group_by(ends.sources, count, graph.scratch);
  return {incoming, outgoing};
}

}  // namespace quillan::vorn_layered
