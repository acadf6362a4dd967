// Result export: positions and polylines of a finished graph, in the caller's frame.
//
// Export mirrors the flow axis for LEFT and UP and then transposes for DOWN and UP. Nothing here
// writes to the graph.

#ifndef QUILLAN_CORE_EXCHANGE_RESULTS_HPP_
#define QUILLAN_CORE_EXCHANGE_RESULTS_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// How far a graph reaches from 0.0, dummies included; never negative.
struct Extent {
  double flow = 0.0;
  double cross = 0.0;
};

// A box in the caller's frame.
struct Box {
  double x = 0.0;
  double y = 0.0;
  double width = 0.0;
  double height = 0.0;
};

struct NodePosition {
  Text id;
  Point top_left;
};

// The polyline of one caller's edge: `count` points of EdgeRoutes::points from `first` on.
struct EdgeRoute {
  Text id;
  std::size_t first = 0;
  std::size_t count = 0;
};

struct EdgeRoutes {
  std::vector<EdgeRoute> routes;
  std::vector<Point> points;
};

Extent graph_extent(const LGraph& graph);

Point _denormalise_point(Point point, Direction direction, double flow_extent);

Box _caller_box(const LNode& node, Direction direction, double flow_extent);

// Whether both coordinates differ by at most `tol`.
bool _close(Point a, Point b, double tol = 1e-6);

// Appends the polyline of `chain` in the normalised frame, from source port to target port; a point
// close to its direct predecessor is dropped.
void _chain_points(std::span<LEdge* const> chain, std::vector<Point>& points);

// Top-left corners of the real nodes, in `nodes` order, each moved by `shift`.
void node_positions(const LGraph& graph, double flow_extent, Point shift,
                    std::vector<NodePosition>& positions);

// Polylines of the edges that have a chain and were not reversed, in order of the chains, each
// point moved by `shift`. Linear in segments and points.
void edge_routes(const LGraph& graph, double flow_extent, Point shift, EdgeRoutes& result);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_EXCHANGE_RESULTS_HPP_
