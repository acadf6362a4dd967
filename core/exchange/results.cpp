#include "core/exchange/results.hpp"

#include <cmath>

#include "core/base/reals.hpp"

namespace quillan::vorn_layered {

Extent graph_extent(const LGraph& graph) {
  Extent extent;
  for (const LNode* node : graph.nodes) {
    extent.flow = larger(extent.flow, node->x + node->width());
    extent.cross = larger(extent.cross, node->y + node->height());
  }
  return extent;
}

Point _denormalise_point(Point point, Direction direction, double flow_extent) {
  if (is_reversed(direction)) point.x = flow_extent - point.x;
  return is_transposed(direction) ? Point{point.y, point.x} : point;
}

Box _caller_box(const LNode& node, Direction direction, double flow_extent) {
  // Mirroring the corner alone would give the box's far corner.
  const double x = is_reversed(direction) ? flow_extent - (node.x + node.width()) : node.x;
  return is_transposed(direction) ? Box{node.y, x, node.height(), node.width()}
                                  : Box{x, node.y, node.width(), node.height()};
}

bool _close(Point a, Point b, double tol) {
  return std::abs(a.x - b.x) <= tol && std::abs(a.y - b.y) <= tol;
}

void _chain_points(std::span<LEdge* const> chain, std::vector<Point>& points) {
  const std::size_t first = points.size();
  const auto add = [&](Point point) {
    if (points.size() == first || !_close(points.back(), point)) points.push_back(point);
  };
  for (const LEdge* segment : chain) {
    add({segment->source.x(), segment->source.y()});
    for (const Point bend : segment->bend_points()) add(bend);
    add({segment->target.x(), segment->target.y()});
  }
}

void node_positions(const LGraph& graph, double flow_extent, Point shift,
                    std::vector<NodePosition>& positions) {
  for (const LNode* node : graph.nodes) {
    if (node->is_dummy()) continue;
    const Box box = _caller_box(*node, graph.options.direction, flow_extent);
    positions.push_back({node->id, {box.x + shift.x, box.y + shift.y}});
  }
}

void edge_routes(const LGraph& graph, double flow_extent, Point shift, EdgeRoutes& result) {
  for (const CallerEdge& caller_edge : graph.caller_edges) {
    if (!caller_edge.has_chain || caller_edge.chain.empty() || caller_edge.reversed) continue;
    const std::size_t first = result.points.size();
    _chain_points(caller_edge.chain, result.points);
    for (std::size_t i = first; i < result.points.size(); ++i) {
      const Point point =
          _denormalise_point(result.points[i], graph.options.direction, flow_extent);
      result.points[i] = {point.x + shift.x, point.y + shift.y};
    }
    result.routes.push_back({caller_edge.id, first, result.points.size() - first});
  }
}

}  // namespace quillan::vorn_layered
