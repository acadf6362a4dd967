// Distances: between two neighbours of a layer along the cross axis, between tracks, and how short
// a step may be.

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

// A step of a route across the flow that is shorter than this looks like a mistake.
inline constexpr double SMALL_JOG = 8.0;

// The distance between two tracks of a gap.
struct TrackPitch {
  double least;   // before the gap is widened
  double wanted;  // at least, in a gap that is
};

// Where nodes are to keep the places that the user sees, tracks come nearer to one another before a
// column moves: a drawing that is laid out again may need more tracks than it needed at first.
inline TrackPitch track_pitch(const LayoutOptions& options) {
  const double pitch = options.spacing_edge_edge;
  const bool keeps_places = options.placement_strategy == "INTERACTIVE";
  return keeps_places ? TrackPitch{pitch / 4.0, pitch / 2.0} : TrackPitch{pitch, pitch};
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_SPACING_HPP_
