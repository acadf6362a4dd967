// Takes small steps out of nearly straight wires.

#ifndef QUILLAN_CORE_PLACEMENT_SMALL_JOGS_HPP_
#define QUILLAN_CORE_PLACEMENT_SMALL_JOGS_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// The least total length leaves wires whose ends miss each other by a few units, where it is as
// short to have the step in another wire. A step under 8 units looks like a mistake, though. This
// moves blocks, the nodes that straight segments join, by such a step, together with blocks that
// would be in their way, where fewer small steps come of it. No straight segment gets a step.
//
// REQUIRES: final order in the layers, with the boxes of each layer in that order across the flow.
// Linear in nodes and segments, but for a search of up to 256 nodes a small step.
void remove_small_jogs(LGraph& graph);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_SMALL_JOGS_HPP_
