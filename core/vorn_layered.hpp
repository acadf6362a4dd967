// The layered layout engine: the public call and the order of its phases.
//
// Example:
//   Arena arena;
//   Payload payload(node_count, edge_count);   // and its rows filled
//   const Components components = weakly_connected_components(payload, arena);
//   const LayoutResult result = layout(payload, components, LayoutOptions(), 80.0, arena);

#ifndef QUILLAN_CORE_VORN_LAYERED_HPP_
#define QUILLAN_CORE_VORN_LAYERED_HPP_

#include <vector>

#include "core/components.hpp"
#include "core/exchange/payload.hpp"
#include "core/exchange/results.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Positions and polylines in the caller's frame, component by component.
struct LayoutResult {
  std::vector<NodePosition> positions;
  EdgeRoutes routes;
};

// Lays out the components of a payload one by one and packs them along the cross axis,
// `component_gap` apart. Ids in the result refer to those of the payload and to texts of `texts`.
// Throws SizeFault and TypeFault.
LayoutResult layout(const Payload& payload, const Components& components,
                    const LayoutOptions& options, double component_gap, Arena& texts);

// Runs phases 1 to 5 in place on a graph fresh from import.
void run_phases(LGraph& graph);

// Stacks the drawings of components along the cross axis of the caller's frame.
class Packing {
 public:
  // The first drawing begins at the padding of the cross axis.
  Packing(const LayoutOptions& options, double component_gap);

  // Appends what `graph` holds after all phases to `result`, moved behind the drawings before it.
  // REQUIRES: the graph has nodes.
  void append(const LGraph& graph, LayoutResult& result);

 private:
  Point next_shift(const LGraph& graph, double flow_extent);

  double component_gap_;
  double cursor_;  // where the next drawing begins
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_VORN_LAYERED_HPP_
