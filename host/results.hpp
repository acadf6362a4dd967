// Positions and routes as the Python maps that callers get.

#ifndef QUILLAN_HOST_RESULTS_HPP_
#define QUILLAN_HOST_RESULTS_HPP_

#include <vector>

#include "core/exchange/results.hpp"
#include "host/python.hpp"

namespace quillan::host {

// A dict of id to a tuple of two floats.
Ref position_map(const std::vector<vorn_layered::NodePosition>& positions);

// A dict of id to a list of such tuples. The lists are filled in place, so the collector must not
// run meanwhile: it shows a list from its first moment on to code that may empty it.
Ref route_map(const vorn_layered::EdgeRoutes& found, const CollectorPause& pause);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_RESULTS_HPP_
