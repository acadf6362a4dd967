// KEEP: the order that the user sees.

#ifndef QUILLAN_CORE_CROSSINGS_KEEP_HPP_
#define QUILLAN_CORE_CROSSINGS_KEEP_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Orders every layer of `graph.layers` so that its nodes can stay where the user has them.
//
// The nodes of a layer stand in the order of their seen middles. The dummies share the rooms that
// are left between two nodes, before the first and behind the last, so that none pushes nodes apart
// while there is room elsewhere: each takes the nearest room to its line, one at least goes between
// two nodes that stand nearer than nodes without a dummy between them may, and in the order of
// their lines wires cross among themselves only where the lines do. Then a dummy goes to another
// place of its room, or to another room, where that spares crossings: one at least for every
// kDetour that this takes it farther from its line.
//
// REQUIRES: usable positions. n log n; the second part costs a bounded number of nodes and segments
// for each dummy.
void _keep_seen_order(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_KEEP_HPP_
