// SeenPlaces: where the user sees nodes, and the wires between them, across the flow.

#ifndef QUILLAN_CORE_CROSSINGS_SEEN_PLACES_HPP_
#define QUILLAN_CORE_CROSSINGS_SEEN_PLACES_HPP_

#include <cstdint>
#include <vector>

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// The place of a node is that of its near side. One that the user has not placed is where its wires
// to placed nodes would run straight on average; where there are none of these, its wires to nodes
// that got a place that way.
//
// The place of a dummy is that of the straight line between the ports at the ends of its wire, with
// the layers at equal distances.
class SeenPlaces {
 public:
  // Linear. REQUIRES: the ends of all edges are nodes of the graph.
  explicit SeenPlaces(LGraph& graph);

  // Not a number for a node without a place that no wire joins to one that has one.
  [[nodiscard]] double place(const LNode& node) const {
    return node.position < 0 ? seen_across_flow(graph_, node) : place_[node.position];
  }
  // Where the wire of a dummy ends.
  [[nodiscard]] double end(const LNode& dummy) const {
    return dummy.position < 0 ? seen_across_flow(graph_, dummy) : end_[dummy.position];
  }

 private:
  // A caller's edge, or what is left of one in a graph made by hand.
  struct Wire {
    SegmentEnd source;
    SegmentEnd target;       // null where the wire ends in a dummy
    std::int32_t first = 0;  // in `dummies_`, of its dummies along the flow
    std::int32_t count = 0;
  };

  [[nodiscard]] double place(SegmentEnd end) const { return place(*end.node()) + end.offset(); }
  void follow_wires();
  void place_the_unplaced();
  void place_dummies();

  LGraph& graph_;
  std::vector<double> place_;  // by node position
  std::vector<double> end_;
  std::vector<Wire> wires_;
  std::vector<const LNode*> dummies_;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_SEEN_PLACES_HPP_
