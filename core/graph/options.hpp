// LayoutOptions: what a caller can ask of a layout.
//
// Strategies are plain text and compared exactly; a value that a phase does not know takes that
// phase's last branch. Lengths are in the caller's units.

#ifndef QUILLAN_CORE_GRAPH_OPTIONS_HPP_
#define QUILLAN_CORE_GRAPH_OPTIONS_HPP_

#include <cstdint>
#include <string>

#include "core/graph/vocabulary.hpp"

namespace quillan::vorn_layered {

// An integer option that is looked at only where it is needed: a host value that is no integer is
// carried along and fails at its use, not before.
struct LazyInteger {
  std::int64_t value = 0;  // clamped to the range of the type
  bool is_integer = true;
};

struct LayoutOptions {
  Direction direction = Direction::RIGHT;
  bool interactive = false;
  std::string cycle_breaking_strategy{AUTO};
  std::string layering_strategy{AUTO};
  std::string crossing_strategy{AUTO};
  std::string placement_strategy{"BRANDES_KOEPF"};
  std::string edge_routing{"ORTHOGONAL"};
  double spacing_node_node = 30.0;                 // cross axis, two real nodes of a layer
  double spacing_node_node_between_layers = 60.0;  // flow axis, two neighbouring layers
  double spacing_edge_edge = 10.0;                 // cross axis, two dummies; pitch of tracks
  double spacing_edge_node = 12.0;                 // cross axis, dummy and node; channel margin
  double padding_left = 24.0;                      // smallest normalised X of a drawing
  double padding_top = 24.0;                       // smallest normalised Y of a drawing
  LazyInteger thoroughness{7};                     // bound on the sweeps of phase 3

  // A copy in which every AUTO strategy is pinned: to the incremental strategies when `interactive`
  // is on, to the full ones otherwise. Explicit values stay. Idempotent.
  [[nodiscard]] LayoutOptions resolved() const;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_OPTIONS_HPP_
