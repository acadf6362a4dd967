#include "core/routing/ordered.hpp"

#include <algorithm>
#include <vector>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"
#include "core/routing/free_dummies.hpp"
#include "core/routing/gap_tracks.hpp"
#include "core/routing/gap_widths.hpp"
#include "core/routing/shared_lines.hpp"
#include "core/routing/straighten.hpp"

namespace quillan::vorn_layered {

namespace {

// Wires closer than this read as one line, whatever spacing the caller asks for.
constexpr double kOneLine = 2.5;
// In a wide gap tracks stand at up to so many times their least pitch.
constexpr double kWidePitch = 2.0;

// What became of a segment with bends.
struct Way {
  LEdge* segment;
  Lane lane;
  Lane rest_lane;  // of the other part, if the segment was split
  double jog;      // the height at which it changes over
  bool is_split;
};

class OrderedRouter {
 public:
  explicit OrderedRouter(LGraph& graph)
      : graph_(graph),
        gap_(std::max(graph.options.spacing_edge_edge / 2.0, kOneLine), graph.scratch) {}

  void run() {
    for (LEdge* edge : graph_.edges) edge->bends = nullptr;
    const IncidentMaps maps = _incident_maps(graph_);
    const std::int32_t gaps = graph_.layers.size() - 1;
    const std::span<GapWidth> widths = graph_.scratch.raw_array<GapWidth>(gaps);
    starts_.assign(1, 0);
    for (std::int32_t gap = 0; gap < gaps; ++gap) {
      collect(maps, gap);
      find_ways();
      const std::int32_t tracks = gap_.most_tracks();
      widths[gap] = tracks == 0 ? GapWidth{0.0, 0.0} : width_for(tracks - 1, graph_.options);
      starts_.push_back(ways_.size());
    }
    widen_gaps(graph_, widths);
    for (std::int32_t gap = 0; gap < gaps; ++gap) bend(gap);
  }

 private:
  // An end of a wire at the gap. Those of one root and height count as one port.
  struct End {
    SegmentEnd root;  // the port; of a dummy, the one at which its wire starts
    double height;
    std::int32_t wire;
  };

  void collect(const IncidentMaps& maps, std::int32_t gap) {
    segments_.clear();
    wires_.clear();
    heights_.clear();
    for_each_segment(graph_, maps, gap, [&](LEdge& edge) {
      const double source = edge.source.y();
      const double target = edge.target.y();
      heights_.insert(heights_.end(), {source, target});
      if (!needs_bends(edge)) return;
      segments_.push_back(&edge);
      wires_.push_back({source, target, 0, 0, !graph_.caller_edges[edge.caller_edge].reversed});
    });
    number_ports(&LEdge::source, &Wire::source_port);
    number_ports(&LEdge::target, &Wire::target_port);
  }

  // Numbers the ports on one side of the gap in order.
  void number_ports(SegmentEnd LEdge::*side, std::int32_t Wire::*number) {
    ends_.clear();
    for (std::size_t i = 0; i < segments_.size(); ++i) {
      const SegmentEnd end = segments_[i]->*side;
      const CallerEdge& edge = graph_.caller_edges[segments_[i]->caller_edge];
      const bool may_share = end.node()->is_dummy() && !edge.chain.empty() && !edge.reversed;
      ends_.push_back(
          {may_share ? edge.chain.front()->source : end, end.y(), static_cast<std::int32_t>(i)});
    }
    std::sort(ends_.begin(), ends_.end(), [](const End& a, const End& b) {
      const int order = compare_reals(a.height, b.height);
      if (order != 0) return order < 0;
      const auto a_port = port_order(a.root);
      const auto b_port = port_order(b.root);
      return a_port != b_port ? a_port < b_port : a.wire < b.wire;
    });
    std::int32_t count = 0;
    for (std::size_t i = 0; i < ends_.size(); ++i) {
      const bool is_next = i > 0 && (ends_[i].root != ends_[i - 1].root ||
                                     compare_reals(ends_[i].height, ends_[i - 1].height) != 0);
      if (is_next) ++count;
      wires_[ends_[i].wire].*number = count;
    }
  }

  void find_ways() {
    gap_.run(wires_, heights_);
    for (std::size_t i = 0; i < segments_.size(); ++i) {
      const std::int32_t wire = static_cast<std::int32_t>(i);
      const std::int32_t rest = gap_.rest_of(wire);
      const bool is_split = rest != GapTracks::kWhole;
      ways_.push_back({segments_[i], gap_.lane_of(wire), gap_.lane_of(is_split ? rest : wire),
                       gap_.wires()[i].target, is_split});
    }
  }

  // Each group of tracks in the middle of the gap, at a pitch that the caller asked for at least.
  [[nodiscard]] double x_of(const Lane& lane, const Bounds& bounds) const {
    const LayoutOptions& options = graph_.options;
    const double usable = bounds.right - bounds.left - options.spacing_edge_node * 2.0;
    const double pitch =
        larger(track_pitch(options).least,
               smaller(usable / lane.tracks, kWidePitch * options.spacing_edge_edge));
    const double middle = bounds.left + (bounds.right - bounds.left) / 2.0;
    return middle + (lane.track - (lane.tracks - 1) / 2.0) * pitch;
  }

  void bend(std::int32_t gap) {
    const Bounds bounds = bounds_of(graph_, gap);
    for (std::size_t i = starts_[gap]; i < starts_[gap + 1]; ++i) {
      const Way& way = ways_[i];
      LEdge& edge = *way.segment;
      const double x = x_of(way.lane, bounds);
      const std::span<Point> bends = graph_.add_bends(edge, way.is_split ? 4 : 2);
      bends.front() = {x, edge.source.y()};
      if (way.is_split) {
        bends[1] = {x, way.jog};
        bends[2] = {x_of(way.rest_lane, bounds), way.jog};
      }
      bends.back() = {way.is_split ? bends[2].x : x, edge.target.y()};
    }
  }

  LGraph& graph_;
  GapTracks gap_;
  std::vector<LEdge*> segments_;  // those with bends in the gap at hand
  std::vector<Wire> wires_;       // by segment
  std::vector<double> heights_;   // of the ports at the gap
  std::vector<End> ends_;
  std::vector<Way> ways_;            // gap by gap
  std::vector<std::size_t> starts_;  // by gap: its first way
};

}  // namespace

void route_ordered(LGraph& graph) {
  straighten_long_edges(graph);
  share_lines(graph);
  OrderedRouter(graph).run();
}

}  // namespace quillan::vorn_layered
