#include "core/placement/place_nodes.hpp"
#include "core/placement/small_jogs.hpp"
#include "core/placement/straighten.hpp"

namespace quillan::vorn_layered {

void place_network_simplex_y(LGraph& graph) {
  _place_brandes_kopf_y(graph);
  push_apart_in_order(graph);
  if (!can_straighten(graph)) return;
  const Arena::Frame frame(graph.scratch);
  straighten(graph, graph.scratch.array<bool>(graph.nodes.size(), false));
  remove_small_jogs(graph);
}

}  // namespace quillan::vorn_layered
