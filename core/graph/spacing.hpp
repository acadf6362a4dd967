// The clear distance along the cross axis between two neighbours of a layer.

#ifndef QUILLAN_CORE_GRAPH_SPACING_HPP_
#define QUILLAN_CORE_GRAPH_SPACING_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

inline double _spacing_between(bool a_is_dummy, bool b_is_dummy, const LayoutOptions& options) {
  if (a_is_dummy && b_is_dummy) return options.spacing_edge_edge;
  if (a_is_dummy || b_is_dummy) return options.spacing_edge_node;
  return options.spacing_node_node;
}

inline double _spacing_between(const LNode& a, const LNode& b, const LayoutOptions& options) {
  return _spacing_between(a.is_dummy(), b.is_dummy(), options);
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_SPACING_HPP_
