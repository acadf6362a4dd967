// One line for the wires of a port that run side by side.

#ifndef QUILLAN_CORE_ROUTING_SHARED_LINES_HPP_
#define QUILLAN_CORE_ROUTING_SHARED_LINES_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Lays long edges that leave one port onto one line, from there on as far as nothing stands between
// them in a layer, so that they read as one trunk with branches. A line lies where one of its wires
// lay, or between them, so that it comes no nearer to its neighbours. A port keeps its separate
// lines if more steps would be seen otherwise, or more of them under SMALL_JOG.
//
// REQUIRES: final y of real nodes. Writes `y` of dummies; those of one port may be equal then,
// which is the one exception to the spacing between nodes. n log n in nodes and segments.
void share_lines(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_SHARED_LINES_HPP_
