#include "core/routing/route_edges.hpp"

#include <algorithm>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"
#include "core/routing/gap_widths.hpp"
#include "core/routing/ordered.hpp"

namespace quillan::vorn_layered {

namespace {

constexpr std::int32_t kStraightTrack = -1;

struct RoutedSegment {
  LEdge* edge;
  std::int32_t track;  // kStraightTrack if it has no bends
};

struct GapSegments {
  GroupsOf<RoutedSegment> segments;  // by gap
  std::span<std::int32_t> track_counts;
};

GapSegments collect(LGraph& graph) {
  Arena& scratch = graph.scratch;
  const std::int32_t gaps = graph.layers.size() - 1;
  const std::span<RoutedSegment> found = scratch.raw_array<RoutedSegment>(graph.edges.size());
  const std::span<std::int32_t> starts = scratch.raw_array<std::int32_t>(gaps + 1);
  const std::span<std::int32_t> track_counts = scratch.raw_array<std::int32_t>(gaps);
  const IncidentMaps maps = _incident_maps(graph);
  const std::span<Interval> intervals = scratch.raw_array<Interval>(graph.edges.size());
  const std::span<std::int32_t> bent = scratch.raw_array<std::int32_t>(graph.edges.size());
  const std::span<std::int32_t> tracks = scratch.raw_array<std::int32_t>(graph.edges.size());
  std::int32_t used = 0;
  for (std::int32_t gap = 0; gap < gaps; ++gap) {
    starts[gap] = used;
    std::size_t count = 0;
    for_each_segment(graph, maps, gap, [&](LEdge& edge) {
      if (needs_bends(edge)) {
        intervals[count] = {edge.source.y(), edge.target.y()};
        bent[count++] = used;
      }
      found[used++] = {&edge, kStraightTrack};
    });
    track_counts[gap] = _assign_tracks(intervals.first(count), tracks, scratch);
    for (std::size_t i = 0; i < count; ++i) found[bent[i]].track = tracks[i];
  }
  starts[gaps] = used;
  return {{starts, found.first(used)}, track_counts};
}

void widen(LGraph& graph, std::span<const std::int32_t> track_counts) {
  const std::span<GapWidth> widths = graph.scratch.raw_array<GapWidth>(track_counts.size());
  for (std::size_t gap = 0; gap < widths.size(); ++gap) {
    widths[gap] = width_for(track_counts[gap], graph.options);
  }
  widen_gaps(graph, widths);
}

void bend(LGraph& graph, const GapSegments& found) {
  const LayoutOptions& options = graph.options;
  for (std::int32_t gap = 0; gap + 1 < graph.layers.size(); ++gap) {
    const std::int32_t track_count = found.track_counts[gap];
    const Bounds bounds = bounds_of(graph, gap);
    const double usable = larger(bounds.right - bounds.left - 2.0 * options.spacing_edge_node,
                                 track_pitch(options).least);
    const double step = usable / track_count;
    const double first_track = bounds.left + options.spacing_edge_node + step / 2.0;
    for (const RoutedSegment& segment : found.segments[gap]) {
      LEdge& edge = *segment.edge;
      edge.bends = nullptr;
      if (segment.track == kStraightTrack) continue;
      const double mid_x = first_track + segment.track * step;
      const std::span<Point> bends = graph.add_bends(edge, 2);
      bends[0] = {mid_x, edge.source.y()};
      bends[1] = {mid_x, edge.target.y()};
    }
  }
}

}  // namespace

void route_edges(LGraph& graph) {
  const bool ordered = graph.options.edge_routing == "ORTHOGONAL_ORDERED";
  if (!ordered && graph.options.edge_routing != "ORTHOGONAL") {
    for (LEdge* edge : graph.edges) edge->bends = nullptr;
    return;
  }
  if (graph.layers.size() < 2) return;
  const Arena::Frame frame(graph.scratch);
  if (ordered) return route_ordered(graph);
  const GapSegments found = collect(graph);
  widen(graph, found.track_counts);
  bend(graph, found);
}

}  // namespace quillan::vorn_layered
