#include "core/graph/incident_maps.hpp"

#include "core/base/faults.hpp"

namespace quillan::vorn_layered {

IncidentMap group_by(std::span<const std::int32_t> keys, std::int32_t lists, Arena& scratch) {
  const std::span<std::int32_t> starts = scratch.array<std::int32_t>(lists + 1, 0);
  for (const std::int32_t key : keys) {
    if (key >= 0) ++starts[key];
  }
  // Each start holds the end of its list until the fill below, walking backwards, moves it there.
  for (std::int32_t list = 1; list <= lists; ++list) starts[list] += starts[list - 1];
  const std::span<std::int32_t> items = scratch.raw_array<std::int32_t>(starts[lists]);
  for (std::size_t i = keys.size(); i-- > 0;) {
    if (keys[i] >= 0) items[--starts[keys[i]]] = static_cast<std::int32_t>(i);
  }
  return {starts, items};
}

void require_known_ends(const LGraph& graph) {
  for (const LEdge* edge : graph.edges) {
    for (const LNode* node : {edge->source_node(), edge->target_node()}) {
      if (node->position < 0) throw LookupFault(node->id.str());
    }
  }
}

IncidentMaps _incident_maps(LGraph& graph) {
  require_known_ends(graph);
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  const std::span<std::int32_t> sources = graph.scratch.raw_array<std::int32_t>(graph.edges.size());
  const std::span<std::int32_t> targets = graph.scratch.raw_array<std::int32_t>(graph.edges.size());
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    sources[i] = graph.edges[i]->source_node()->position;
    targets[i] = graph.edges[i]->target_node()->position;
  }
  const IncidentMap incoming = group_by(targets, count, graph.scratch);
  const IncidentMap outgoing = group_by(sources, count, graph.scratch);
  return {incoming, outgoing};
}

}  // namespace quillan::vorn_layered
