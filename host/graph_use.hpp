// What each function reads and writes of a Python LGraph and its records: the one table of it.
//
// A function looks at nothing else, so that whatever else a graph made by hand holds is no fault,
// and it writes nothing else: lists, records and values beyond its row stay the same objects.

#ifndef QUILLAN_HOST_GRAPH_USE_HPP_
#define QUILLAN_HOST_GRAPH_USE_HPP_

#include <cstddef>
#include <cstdint>

#include "core/graph/options.hpp"

namespace quillan::host {

// Parts of a graph, as a set of bits.
using Parts = std::uint32_t;
enum Part : Parts {
  NODES = 1U << 0U,            // LGraph.nodes; the fields below of each node in it
  NODE_IDS = 1U << 1U,         // LNode.id
  WIDTHS = 1U << 2U,           // LNode.width
  HEIGHTS = 1U << 3U,          // LNode.height
  KINDS = 1U << 4U,            // LNode.kind
  ORIGINS = 1U << 5U,          // LNode.origin_x and origin_y
  LAYER_NUMBERS = 1U << 6U,    // LNode.layer; read only where it is not written
  ORDERS = 1U << 7U,           // LNode.order
  PLACES = 1U << 8U,           // LNode.x and y; written to every node that a layer holds
  MOVES = 1U << 9U,            // written: LNode.x and y where they change
  EDGES = 1U << 10U,           // LGraph.edges
  ENDS = 1U << 11U,            // of the edges in it: source, target, LPort.node and its node
  EDGE_IDS = 1U << 12U,        // LEdge.id
  ORIGIN_IDS = 1U << 13U,      // LEdge.origin_id
  CHAINS = 1U << 14U,          // LGraph.chains; the ends of the edges in it
  UNSPLIT_CHAINS = 1U << 23U,  // the same of those entries that hold one edge
  FLIPS = 1U << 15U,           // read: LGraph.reversed_originals; written: also source, target and
                               // reversed of each edge that is flipped
  PORT_INDEXES = 1U << 16U,    // LPort.index
  PORT_OFFSETS = 1U << 17U,    // LPort.offset
  PORT_SIDES = 1U << 18U,      // LPort.side
  BENDS = 1U << 19U,           // LEdge.bend_points; written where a route was made or taken away
  LAYERS = 1U << 20U,          // LGraph.layers; written: a new list
  COUNTER = 1U << 21U,         // LGraph._counter
  SPLITS = 1U << 22U,          // written: nodes appended, a new LGraph.edges, new chains, _counter
};

// Fields of LayoutOptions, as a set of bits.
using OptionParts = std::uint32_t;
enum OptionPart : OptionParts {
  DIRECTION = 1U << 0U,
  CYCLE_BREAKING = 1U << 1U,
  LAYERING = 1U << 2U,
  CROSSING = 1U << 3U,
  PLACEMENT = 1U << 4U,
  ROUTING = 1U << 5U,
  NODE_NODE = 1U << 6U,
  BETWEEN_LAYERS = 1U << 7U,
  EDGE_EDGE = 1U << 8U,
  EDGE_NODE = 1U << 9U,
  PADDING_LEFT = 1U << 10U,
  PADDING_TOP = 1U << 11U,
  THOROUGHNESS = 1U << 12U,
  SPACINGS = NODE_NODE | BETWEEN_LAYERS | EDGE_EDGE | EDGE_NODE,
  PADDINGS = PADDING_LEFT | PADDING_TOP,
  ALL_OPTIONS = (1U << 13U) - 1,
};

struct Use {
  Parts reads = 0;
  OptionParts options = 0;
  Parts writes = 0;

  constexpr Use operator|(const Use& other) const {
    return {reads | other.reads, options | other.options, writes | other.writes};
  }
};

// One function. What it touches can depend on its strategy and on the number of layers: `first` in
// any case, and whatever `then` says.
struct GraphUse {
  const char* name = nullptr;
  Use first;
  Use (*then)(const vorn_layered::LayoutOptions& options, std::size_t layer_count) = nullptr;
};

namespace uses {

using Options = vorn_layered::LayoutOptions;

inline constexpr Parts kBoxes = NODES | WIDTHS | HEIGHTS | PLACES;
inline constexpr Parts kEnds = NODES | NODE_IDS | EDGES | ENDS;
inline Use nothing_else(const Options&, std::size_t) { return {}; }

inline constexpr GraphUse GRAPH_EXTENT{"graph_extent", {kBoxes}, nothing_else};

inline constexpr GraphUse NODE_POSITIONS{
    "node_positions", {kBoxes | NODE_IDS | KINDS, DIRECTION}, nothing_else};

inline constexpr GraphUse EDGE_ROUTES{
    "edge_routes",
    {kBoxes | CHAINS | PORT_OFFSETS | PORT_SIDES | BENDS | FLIPS, DIRECTION},
    nothing_else};

inline constexpr GraphUse REBUILD_LAYERS{
    "rebuild_layers", {NODES | LAYER_NUMBERS | ORDERS, 0, LAYERS | ORDERS}, nothing_else};

inline constexpr GraphUse BREAK_CYCLES{"break_cycles",
                                       {kEnds | ORIGIN_IDS, CYCLE_BREAKING, FLIPS},
                                       [](const Options& options, std::size_t) -> Use {
                                         if (options.cycle_breaking_strategy != "INTERACTIVE")
                                           return {};
                                         return {ORIGINS | WIDTHS, DIRECTION};
                                       }};

inline constexpr GraphUse ASSIGN_LAYERS{
    "assign_layers",
    {kEnds | ORIGINS | LAYER_NUMBERS | ORDERS | EDGE_IDS | ORIGIN_IDS | UNSPLIT_CHAINS | COUNTER,
     LAYERING, LAYER_NUMBERS | ORDERS | SPLITS | LAYERS},
    [](const Options& options, std::size_t) -> Use {
      if (options.layering_strategy != "INTERACTIVE") return {};
      return {WIDTHS, DIRECTION | PLACEMENT};
    }};

// Looks at those nodes only that the edges of chains join.
inline constexpr GraphUse INSERT_DUMMY_NODES{
    "insert_dummy_nodes",
    {ORIGINS | LAYER_NUMBERS | EDGES | EDGE_IDS | ORIGIN_IDS | UNSPLIT_CHAINS | COUNTER, 0, SPLITS},
    nothing_else};

inline constexpr GraphUse COUNT_CROSSINGS{
    "count_crossings", {kEnds | PORT_INDEXES | LAYERS}, nothing_else};

inline constexpr GraphUse REDUCE_CROSSINGS{
    "reduce_crossings",
    {LAYERS, CROSSING, ORDERS},
    [](const Options& options, std::size_t layer_count) -> Use {
      const std::string& strategy = options.crossing_strategy;
      if (layer_count < 2 || strategy == "NONE") return {};
      const Use sweeps{kEnds | PORT_INDEXES, THOROUGHNESS, LAYERS};
      if (strategy == "INTERACTIVE") return sweeps | Use{ORIGINS | WIDTHS, DIRECTION};
      if (strategy == "KEEP") {
        return sweeps | Use{ORIGINS | WIDTHS | HEIGHTS | KINDS | PORT_OFFSETS,
                            DIRECTION | NODE_NODE | EDGE_EDGE | EDGE_NODE};
      }
      return sweeps;
    }};

inline constexpr GraphUse PLACE_NODES{
    "place_nodes", {LAYERS, PLACEMENT}, [](const Options& options, std::size_t layer_count) -> Use {
      if (layer_count == 0) return {};
      const std::string& strategy = options.placement_strategy;
      const Use plain{kEnds | WIDTHS | HEIGHTS | KINDS | ORDERS, SPACINGS | PADDINGS, PLACES};
      if (strategy == "NETWORK_SIMPLEX") return plain | Use{PORT_OFFSETS | ORIGIN_IDS | FLIPS};
      if (strategy == "INTERACTIVE") return plain | Use{PORT_OFFSETS | ORIGINS, DIRECTION};
      return plain;
    }};

inline constexpr GraphUse ROUTE_EDGES{
    "route_edges",
    {EDGES | LAYERS, ROUTING, BENDS},
    [](const Options& options, std::size_t layer_count) -> Use {
      const bool ordered = options.edge_routing == "ORTHOGONAL_ORDERED";
      const bool orthogonal = ordered || options.edge_routing == "ORTHOGONAL";
      if (!orthogonal || layer_count < 2) return {};
      const Use plain{kEnds | WIDTHS | LAYER_NUMBERS | PLACES | PORT_OFFSETS,
                      EDGE_EDGE | EDGE_NODE | PLACEMENT, MOVES};
      if (!ordered) return plain;
      return plain | Use{HEIGHTS | KINDS | PORT_INDEXES | PORT_SIDES | CHAINS | ORIGIN_IDS | FLIPS,
                         NODE_NODE};
    }};

inline constexpr GraphUse RUN_PHASES{
    "run_phases",
    {kEnds | WIDTHS | HEIGHTS | KINDS | ORIGINS | LAYER_NUMBERS | ORDERS | CHAINS | EDGE_IDS |
         ORIGIN_IDS | PORT_INDEXES | PORT_OFFSETS | PORT_SIDES | FLIPS | COUNTER,
     ALL_OPTIONS, FLIPS | LAYER_NUMBERS | ORDERS | SPLITS | LAYERS | PLACES | BENDS},
    nothing_else};

}  // namespace uses

}  // namespace quillan::host

#endif  // QUILLAN_HOST_GRAPH_USE_HPP_
