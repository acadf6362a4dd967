#include "core/routing/route_edges.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/base/reals.hpp"
#include "core/graph/incident_maps.hpp"

namespace quillan::vorn_layered {

namespace {

// Ports closer than this along the cross axis are joined by a straight line.
constexpr double kStraight = 0.5;
constexpr std::int32_t kStraightTrack = -1;

// The segments of all gaps, back to back, with their tracks.
struct GapSegments {
  std::span<LEdge*> segments;
  std::span<std::int32_t> tracks;  // kStraightTrack for a segment without bends
  std::span<std::int32_t> starts;  // by gap
  std::span<std::int32_t> track_counts;
};

GapSegments collect(LGraph& graph) {
  Arena& scratch = graph.scratch;
  const std::int32_t gaps = graph.layers.size() - 1;
  GapSegments found{scratch.raw_array<LEdge*>(graph.edges.size()),
                    scratch.raw_array<std::int32_t>(graph.edges.size()),
                    scratch.raw_array<std::int32_t>(gaps + 1),
                    scratch.raw_array<std::int32_t>(gaps)};
  const IncidentMaps maps = _incident_maps(graph);
  const std::span<Interval> intervals = scratch.raw_array<Interval>(graph.edges.size());
  const std::span<std::int32_t> bent = scratch.raw_array<std::int32_t>(graph.edges.size());
  const std::span<std::int32_t> tracks = scratch.raw_array<std::int32_t>(graph.edges.size());
  std::int32_t used = 0;
  for (std::int32_t gap = 0; gap < gaps; ++gap) {
    found.starts[gap] = used;
    std::size_t count = 0;
    for (const LNode* node : graph.layers[gap + 1]) {
      if (node->position < 0) continue;  // outside the graph, where no segment ends
      for (const std::int32_t position : maps.incoming[node->position]) {
        LEdge* edge = graph.edges[position];
        if (edge->source_node()->layer != gap) continue;
        const Interval interval{edge->source->y(), edge->target->y()};
        if (std::abs(interval.source - interval.target) > kStraight) {
          intervals[count] = interval;
          bent[count++] = used;
        }
        found.segments[used] = edge;
        found.tracks[used++] = kStraightTrack;
      }
    }
    found.track_counts[gap] = _assign_tracks(intervals.first(count), tracks, scratch);
    for (std::size_t i = 0; i < count; ++i) found.tracks[bent[i]] = tracks[i];
  }
  found.starts[gaps] = used;
  return found;
}

// Where the boxes of the layer before a gap end and those of the layer behind it begin.
struct Bounds {
  double left;
  double right;
};

Bounds bounds_of(const LGraph& graph, std::int32_t gap) {
  const std::span<LNode* const> before = graph.layers[gap];
  const std::span<LNode* const> behind = graph.layers[gap + 1];
  double left = before.empty() ? 0.0 : before[0]->x + before[0]->width;
  for (const LNode* node : before) left = larger(left, node->x + node->width);
  double right = behind.empty() ? left : behind[0]->x;
  for (const LNode* node : behind) right = smaller(right, node->x);
  return {left, right};
}

// Moves layers by the sum of all widenings in front of them.
//
// Stated as moving every later layer at each widening, which costs layers times nodes. The
// additions must happen one by one and in order, since each rounds; but nodes that stand at one x
// stay at one x. So each layer keeps a list of its different x, catches up with the widenings so
// far when the walk comes near it, and writes the nodes once. Layers catch up in blocks, whose
// additions do not wait for one another.
class Widening {
 public:
  explicit Widening(LGraph& graph) : graph_(graph), places_(graph.layers.flat().size()) {}

  // Gives layer `index` all widenings so far. Called with ascending indices.
  void catch_up(std::int32_t index) {
    if (deltas_.empty()) return;
    if (index >= block_end_) load_block(index);
    for (std::int32_t slot = graph_.layers.start(index); slot < graph_.layers.start(index + 1);
         ++slot) {
      graph_.layers.flat()[slot]->x = values_[places_[slot]];
    }
  }

  // Adds a widening in front of layer `next`. REQUIRES: catch_up() of that layer.
  void widen(double delta, std::int32_t next) {
    if (next >= block_end_) load_block(next);
    deltas_.push_back(delta);
    for (std::size_t i = firsts_[next - block_begin_]; i < values_.size(); ++i) values_[i] += delta;
  }

 private:
  static constexpr std::int32_t kBlock = 64;
  static constexpr std::size_t kLookBack = 8;

  void load_block(std::int32_t begin) {
    block_begin_ = begin;
    block_end_ = std::min(block_begin_ + kBlock, graph_.layers.size());
    values_.clear();
    firsts_.clear();
    for (std::int32_t layer = block_begin_; layer < block_end_; ++layer) {
      firsts_.push_back(values_.size());
      for (std::int32_t slot = graph_.layers.start(layer); slot < graph_.layers.start(layer + 1);
           ++slot) {
        places_[slot] = find_or_add(graph_.layers.flat()[slot]->x, firsts_.back());
      }
    }
    firsts_.push_back(values_.size());
    for (const double delta : deltas_) {
      for (double& value : values_) value += delta;
    }
  }

  // A few of the last values are enough to find most that stand in the layer already.
  std::size_t find_or_add(double x, std::size_t first) {
    const std::size_t end = values_.size();
    const std::size_t begin = end - first > kLookBack ? end - kLookBack : first;
    for (std::size_t i = end; i-- > begin;) {
      if (values_[i] == x) return i;
    }
    values_.push_back(x);
    return end;
  }

  LGraph& graph_;
  std::vector<std::size_t> places_;  // by slot: index into values_
  std::vector<double> values_;       // different x of the block, layer by layer
  std::vector<std::size_t> firsts_;  // by layer of the block: its first value
  std::vector<double> deltas_;
  std::int32_t block_begin_ = 0;
  std::int32_t block_end_ = 0;
};

void widen_gaps(LGraph& graph, std::span<const std::int32_t> track_counts) {
  const LayoutOptions& options = graph.options;
  Widening widening(graph);
  for (std::int32_t gap = 0; gap + 1 < graph.layers.size(); ++gap) {
    widening.catch_up(gap + 1);
    const Bounds bounds = bounds_of(graph, gap);
    const double needed =
        options.spacing_edge_node * 2.0 + track_counts[gap] * options.spacing_edge_edge;
    const double delta = larger(0.0, needed - (bounds.right - bounds.left));
    if (delta == 0.0) continue;
    widening.widen(delta, gap + 1);
    widening.catch_up(gap + 1);
  }
}

void bend(LGraph& graph, const GapSegments& found) {
  const LayoutOptions& options = graph.options;
  for (std::int32_t gap = 0; gap + 1 < graph.layers.size(); ++gap) {
    const std::int32_t track_count = found.track_counts[gap];
    const Bounds bounds = bounds_of(graph, gap);
    const double usable = larger(bounds.right - bounds.left - 2.0 * options.spacing_edge_node,
                                 options.spacing_edge_edge);
    const double step = usable / track_count;
    const double first_track = bounds.left + options.spacing_edge_node + step / 2.0;
    for (std::int32_t i = found.starts[gap]; i < found.starts[gap + 1]; ++i) {
      LEdge& edge = *found.segments[i];
      edge.bend_points = {};
      if (found.tracks[i] == kStraightTrack) continue;
      const double mid_x = first_track + found.tracks[i] * step;
      edge.bend_points = graph.arena.raw_array<Point>(2);
      edge.bend_points[0] = {mid_x, edge.source->y()};
      edge.bend_points[1] = {mid_x, edge.target->y()};
    }
  }
}

}  // namespace

void route_edges(LGraph& graph) {
  if (graph.options.edge_routing != "ORTHOGONAL") {
    for (LEdge* edge : graph.edges) edge->bend_points = {};
    return;
  }
  if (graph.layers.size() < 2) return;
  const Arena::Frame frame(graph.scratch);
  const GapSegments found = collect(graph);
  widen_gaps(graph, found.track_counts);
  bend(graph, found);
}

}  // namespace quillan::vorn_layered
