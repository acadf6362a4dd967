// Laws that hold for every graph that has been through all phases.

#ifndef QUILLAN_TESTS_CORE_LAWS_HPP_
#define QUILLAN_TESTS_CORE_LAWS_HPP_

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core/graph/lgraph.hpp"
#include "core/graph/spacing.hpp"
#include "core/routing/route_edges.hpp"

namespace quillan::vorn_layered::testing {

// Says which law does not hold.
struct BrokenLaw : std::logic_error {
  using std::logic_error::logic_error;
};

inline void law(bool holds, const char* what) {
  if (!holds) throw BrokenLaw(what);
}

inline void check_layers(const LGraph& graph) {
  std::size_t members = 0;
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    std::int32_t place = 0;
    for (const LNode* node : graph.layers[layer]) {
      law(node->layer == layer, "a node's layer is the one that lists it");
      law(node->order == place++, "a node's order is its place");
      ++members;
    }
  }
  law(members == graph.nodes.size(), "layers hold every node once");
}

inline void check_chains(const LGraph& graph) {
  for (const CallerEdge& caller_edge : graph.caller_edges) {
    SegmentEnd at;
    for (const LEdge* segment : caller_edge.chain) {
      law(segment->target_node()->layer == segment->source_node()->layer + 1,
          "a segment joins neighbouring layers");
      law(at == nullptr || (at.node() == segment->source_node() && at.node()->is_dummy()),
          "the segments of a chain meet in a dummy");
      law(graph.edges[segment->position] == segment, "a chain's segments are edges of the graph");
      at = segment->target;
    }
    if (caller_edge.chain.empty()) continue;
    const SegmentEnd first = caller_edge.chain.front()->source;
    const SegmentEnd last = caller_edge.chain.back()->target;
    law(!first.node()->is_dummy() && !last.node()->is_dummy(), "a chain joins two real nodes");
    law(first.side() != last.side() && (first.side() == PortSide::EAST || caller_edge.reversed),
        "only a reversed edge starts at an input port");
  }
}

// Given for a tolerance where the laws of geometry are not due.
inline constexpr double NOT_DUE = std::numeric_limits<double>::quiet_NaN();

// How far sums of this graph's lengths may be off; NOT_DUE where the laws of geometry are not due,
// since a length is negative or something is not finite.
inline double tolerance_of(const LGraph& graph) {
  const LayoutOptions& options = graph.options;
  std::vector<double> lengths{options.spacing_node_node, options.spacing_node_node_between_layers,
                              options.spacing_edge_edge, options.spacing_edge_node};
  std::vector<double> coordinates{options.padding_left, options.padding_top};
  for (const LNode* node : graph.nodes) {
    lengths.insert(lengths.end(), {node->width(), node->height()});
    coordinates.insert(coordinates.end(), {node->x + node->width(), node->y + node->height()});
    // A drawing of places far out is moved to its padding.
    if (options.placement_strategy == "INTERACTIVE")
      coordinates.insert(coordinates.end(), {origin_x(graph, *node), origin_y(graph, *node)});
  }
  for (const LEdge* edge : graph.edges) {
    coordinates.insert(coordinates.end(), {edge->source.y(), edge->target.y()});
  }
  double scale = 1.0;
  for (const double length : lengths) {
    if (!(length >= 0.0)) return NOT_DUE;
    scale = std::max(scale, length);
  }
  for (const double coordinate : coordinates) {
    if (std::isnan(coordinate)) return coordinate;
    scale = std::max(scale, std::abs(coordinate));
  }
  // Sums of the largest reals leave their range.
  return scale > 1e300 ? NOT_DUE : scale * 1e-9;
}

// By dummy: the port at which its wire starts. Ordered routes of one port may share a line.
inline std::map<const LNode*, SegmentEnd> roots_of(const LGraph& graph) {
  std::map<const LNode*, SegmentEnd> roots;
  if (graph.options.edge_routing != "ORTHOGONAL_ORDERED") return roots;
  for (const CallerEdge& edge : graph.caller_edges) {
    for (const LEdge* segment : edge.chain) {
      if (!edge.reversed) roots[segment->target_node()] = edge.chain.front()->source;
    }
  }
  return roots;
}

inline void check_spacing(const LGraph& graph, std::span<LNode* const> layer,
                          const std::map<const LNode*, SegmentEnd>& roots, double tolerance) {
  const LayoutOptions& options = graph.options;
  // Where boxes without height may stand at one spot, their sequence cannot be told afterwards.
  const double least =
      std::min({options.spacing_node_node, options.spacing_edge_edge, options.spacing_edge_node});
  const auto root_of = [&](const LNode& node) {
    const auto found = roots.find(&node);
    return found != roots.end() ? found->second : SegmentEnd();
  };
  std::vector<const LNode*> ordered(layer.begin(), layer.end());
  std::sort(ordered.begin(), ordered.end(), [](const LNode* a, const LNode* b) {
    return std::pair(a->y, a->height()) < std::pair(b->y, b->height());
  });
  for (std::size_t i = 1; i < ordered.size(); ++i) {
    const LNode& above = *ordered[i - 1];
    const LNode& below = *ordered[i];
    const bool one_line = above.is_dummy() && below.is_dummy() && above.y == below.y;
    if (one_line && root_of(above) != nullptr && root_of(above) == root_of(below)) continue;
    const double gap = least > 2 * tolerance ? _spacing_between(above, below, options) : 0.0;
    law(below.y + tolerance >= above.y + above.height() + gap,
        "boxes of a layer keep their spacing");
  }
}

// Two segments of a gap that are routed along tracks in any order.
inline void check_tracks(const LEdge& edge, const LEdge& other) {
  if (edge.bend_points().empty() || other.bend_points().empty()) return;
  if (edge.bend_points()[0].x != other.bend_points()[0].x) return;
  const auto [low, high] = std::minmax({edge.source.y(), edge.target.y()});
  const auto [other_low, other_high] = std::minmax({other.source.y(), other.target.y()});
  law(high <= other_low || other_high <= low, "segments on one track do not overlap");
}

// The points of a segment, from port to port.
inline std::vector<Point> points_of(const LEdge& edge) {
  std::vector<Point> points{{edge.source.x(), edge.source.y()}};
  points.insert(points.end(), edge.bend_points().begin(), edge.bend_points().end());
  points.push_back({edge.target.x(), edge.target.y()});
  return points;
}

// Two segments of a gap whose trunks are ordered. Those that share a port may lie on one another,
// and so may those that are not drawn. Ports that are level with one another on one side of the gap
// leave no way, and neither do small spacings.
inline void check_apart(const LGraph& graph, const LEdge& edge, const LEdge& other,
                        double tolerance) {
  const auto level = [](SegmentEnd a, SegmentEnd b) { return std::abs(a.y() - b.y()) <= 5.0; };
  if (graph.caller_edges[edge.caller_edge].reversed ||
      graph.caller_edges[other.caller_edge].reversed)
    return;
  if (level(edge.source, other.source) || level(edge.target, other.target)) return;
  if (tolerance > 1.0) return;  // so that nearly all heights are level
  const std::vector<Point> points = points_of(edge);
  const std::vector<Point> other_points = points_of(other);
  const auto meet = [&](double a, double b, double c, double d) {
    const auto [low, high] = std::minmax(a, b);
    const auto [other_low, other_high] = std::minmax(c, d);
    return std::min(high, other_high) > std::max(low, other_low) + tolerance;
  };
  for (std::size_t i = 1; i < points.size(); ++i) {
    const Point a = points[i - 1];
    const Point b = points[i];
    for (std::size_t j = 1; j < other_points.size(); ++j) {
      const Point c = other_points[j - 1];
      const Point d = other_points[j];
      if (a.x == b.x && c.x == d.x && meet(a.y, b.y, c.y, d.y)) {
        law(std::abs(a.x - c.x) + tolerance >= track_pitch(graph.options).least,
            "wires side by side keep the pitch of tracks");
      }
      if (a.y == b.y && c.y == d.y && meet(a.x, b.x, c.x, d.x)) {
        law(a.y != c.y, "wires of different ports never lie on one line");
      }
    }
  }
}

// The gap behind `layer`.
inline void check_gap(const LGraph& graph, std::int32_t layer, double tolerance) {
  double left = -std::numeric_limits<double>::infinity();
  double right = std::numeric_limits<double>::infinity();
  for (const LNode* node : graph.layers[layer]) left = std::max(left, node->x + node->width());
  for (const LNode* node : graph.layers[layer + 1]) right = std::min(right, node->x);
  law(right + tolerance >= left + graph.options.spacing_node_node_between_layers,
      "layers keep their spacing");
  std::vector<const LEdge*> here;
  for (const LEdge* edge : graph.edges) {
    if (edge->source_node()->layer == layer && edge->target_node()->layer == layer + 1) {
      here.push_back(edge);
      for (const Point bend : edge->bend_points()) {
        law(bend.x + tolerance >= left && bend.x - tolerance <= right, "a bend lies in its gap");
      }
    }
  }
  if (graph.options.spacing_edge_edge <= 2 * tolerance) return;
  const bool ordered = graph.options.edge_routing == "ORTHOGONAL_ORDERED";
  for (const LEdge* edge : here) {
    for (const LEdge* other : here) {
      if (edge == other) continue;
      ordered ? check_apart(graph, *edge, *other, tolerance) : check_tracks(*edge, *other);
    }
  }
}

inline void check_geometry(const LGraph& graph) {
  const double tolerance = tolerance_of(graph);
  if (std::isnan(tolerance) || graph.nodes.empty()) return;
  const auto less_x = [](const LNode* a, const LNode* b) { return a->x < b->x; };
  const auto less_y = [](const LNode* a, const LNode* b) { return a->y < b->y; };
  const LNode* first = *std::min_element(graph.nodes.begin(), graph.nodes.end(), less_x);
  const LNode* top = *std::min_element(graph.nodes.begin(), graph.nodes.end(), less_y);
  law(std::abs(first->x - graph.options.padding_left) <= tolerance,
      "a drawing starts at its padding");
  law(std::abs(top->y - graph.options.padding_top) <= tolerance, "a drawing starts at its padding");
  const auto roots = roots_of(graph);
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    check_spacing(graph, graph.layers[layer], roots, tolerance);
    if (layer + 1 < graph.layers.size()) check_gap(graph, layer, tolerance);
  }
}

inline bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }
inline bool same(Point a, Point b) { return same(a.x, b.x) && same(a.y, b.y); }

inline void check_bends(const LGraph& graph) {
  const bool ordered = graph.options.edge_routing == "ORTHOGONAL_ORDERED";
  const bool orthogonal = ordered || graph.options.edge_routing == "ORTHOGONAL";
  for (const LEdge* edge : graph.edges) {
    // A twin without a chain of its own is not split.
    if (edge->target_node()->layer != edge->source_node()->layer + 1) continue;
    const Interval ends{edge->source.y(), edge->target.y()};
    const std::span<const Point> bends = edge->bend_points();
    const bool steep = std::abs(ends.source - ends.target) > 0.5;
    const std::size_t expected = !orthogonal || !steep ? 0 : ordered && bends.size() == 4 ? 4 : 2;
    law(bends.size() == expected, "two bends on an orthogonal way, four where it is split");
    if (bends.empty()) continue;
    law(same(bends.front().y, ends.source) && same(bends.back().y, ends.target),
        "a route runs along the axes");
    for (std::size_t i = 1; i < bends.size(); ++i) {
      law(i % 2 == 1 ? same(bends[i - 1].x, bends[i].x) : same(bends[i - 1].y, bends[i].y),
          "a route runs along the axes");
    }
  }
}

// Throws BrokenLaw. Geometry is looked at only where all lengths are finite and not negative.
inline void check_laws(const LGraph& graph) {
  check_layers(graph);
  check_chains(graph);
  check_bends(graph);
  check_geometry(graph);
}

}  // namespace quillan::vorn_layered::testing

#endif  // QUILLAN_TESTS_CORE_LAWS_HPP_
