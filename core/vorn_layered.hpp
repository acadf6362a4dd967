// The layered layout engine: the public call and the order of its phases.
//
// Example:
//   Arena texts;                                     // of ids that are made up or not plain
//   PythonReader reader(state, texts);
//   Payload payload(nodes, edges, reader);           // the caller's mappings, read by `reader`
//   const LayoutResult result = layout(payload, LayoutOptions(), 80.0, texts);

#ifndef QUILLAN_CORE_VORN_LAYERED_HPP_
#define QUILLAN_CORE_VORN_LAYERED_HPP_

#include <vector>

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
// `component_gap` apart. Ids in the result refer to texts of `texts`, which must outlive it, and to
// those of the payload's reader. Throws what the reader throws, SizeFault and TypeFault.
LayoutResult layout(const Payload& payload, const LayoutOptions& options, double component_gap,
                    Arena& texts);

// Runs phases 1 to 5 in place on a graph fresh from import.
void run_phases(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_VORN_LAYERED_HPP_
