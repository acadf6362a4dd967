// The layered layout engine: the public call and the order of its phases.
//
// Example:
//   Workspace workspace;
//   PythonReader reader(state, workspace.texts);
//   Payload payload(nodes, edges, reader);           // the caller's mappings, read by `reader`
//   const LayoutResult& result = layout(payload, LayoutOptions(), 80.0, workspace);

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

// The memory that a layout works in. Fresh memory is dear: the system hands it out page by page and
// clears it, which took a fifth of the time of a layout of a thousand nodes. So a host keeps a
// workspace for its next layout. Nothing else is carried over.
struct Workspace {
  LGraph graph;
  Arena texts;  // of ids, for the reader and the result
  LayoutResult result;

  // Ends the use of result and texts and keeps their memory.
  void clear();
  // The bytes that clear() keeps.
  [[nodiscard]] std::size_t footprint() const;
};

// Lays out the components of a payload one by one and packs them along the cross axis,
// `component_gap` apart, into `workspace.result`, which it returns. REQUIRES: a workspace that is
// new or was cleared before the payload was read. Ids in the result refer to texts of the
// workspace and of the payload's reader. Throws what the reader throws, SizeFault and TypeFault.
const LayoutResult& layout(const Payload& payload, const LayoutOptions& options,
                           double component_gap, Workspace& workspace);

// Runs phases 1 to 5 in place on a graph fresh from import.
void run_phases(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_VORN_LAYERED_HPP_
