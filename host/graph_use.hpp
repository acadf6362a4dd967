// What each function reads and writes of a Python LGraph and its records: the one table of it.
//
// A function looks at nothing else, so that whatever else a graph made by hand holds is no fault,
// and it writes nothing else: lists, records and values beyond its row stay the same objects.

#ifndef QUILLAN_HOST_GRAPH_USE_HPP_
#define QUILLAN_HOST_GRAPH_USE_HPP_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/graph/options.hpp"
#include "host/state.hpp"

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

// What a row can depend on, read of the graph as soon as a row asks for it.
class UseFacts {
 public:
  UseFacts(const State& state, PyObject* graph, vorn_layered::LayoutOptions& options)
      : state_(state), graph_(graph), options_(options) {}

  // The options, with these fields read.
  const vorn_layered::LayoutOptions& options(OptionParts parts);
  // LGraph.layers, as the members of each layer.
  std::vector<std::vector<Ref>>& layers();

 private:
  const State& state_;
  PyObject* graph_;
  vorn_layered::LayoutOptions& options_;
  OptionParts known_options_ = 0;
  Ref options_record_;
  std::vector<std::vector<Ref>> layers_;
  bool knows_layers_ = false;
};

// One function: `first` in any case, and whatever `then` says.
struct GraphUse {
  const char* name = nullptr;
  Use first;
  Use (*then)(UseFacts& facts) = nullptr;
};

namespace uses {

inline constexpr Parts kBoxes = NODES | WIDTHS | HEIGHTS | PLACES;
inline constexpr Parts kEnds = NODES | NODE_IDS | EDGES | ENDS;
inline Use nothing_else(UseFacts&) { return {}; }

// Where the user sees a node along the flow: by its far corner where the flow is reversed.
inline Use seen_places(UseFacts& facts) {
  const bool reversed = is_reversed(facts.options(DIRECTION).direction);
  return {reversed ? ORIGINS | WIDTHS : ORIGINS};
}

inline constexpr GraphUse GRAPH_EXTENT{"graph_extent", {kBoxes}, nothing_else};

inline constexpr GraphUse NODE_POSITIONS{
    "node_positions", {kBoxes | NODE_IDS | KINDS, DIRECTION}, nothing_else};

inline constexpr GraphUse EDGE_ROUTES{
    "edge_routes",
    {kBoxes | CHAINS | PORT_OFFSETS | PORT_SIDES | BENDS | FLIPS, DIRECTION},
    nothing_else};

inline constexpr GraphUse REBUILD_LAYERS{
    "rebuild_layers", {NODES | LAYER_NUMBERS | ORDERS, 0, LAYERS | ORDERS}, nothing_else};

inline constexpr GraphUse BREAK_CYCLES{
    "break_cycles", {kEnds | ORIGIN_IDS, 0, FLIPS}, [](UseFacts& facts) -> Use {
      const std::string& strategy = facts.options(CYCLE_BREAKING).cycle_breaking_strategy;
      return strategy == "INTERACTIVE" ? seen_places(facts) : Use{};
    }};

inline constexpr GraphUse ASSIGN_LAYERS{
    "assign_layers",
    {kEnds | ORIGINS | LAYER_NUMBERS | ORDERS | EDGE_IDS | ORIGIN_IDS | UNSPLIT_CHAINS | COUNTER, 0,
     LAYER_NUMBERS | ORDERS | SPLITS | LAYERS},
    [](UseFacts& facts) -> Use {
      if (facts.options(LAYERING).layering_strategy != "INTERACTIVE") return {};
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
    "reduce_crossings", {LAYERS, 0, ORDERS}, [](UseFacts& facts) -> Use {
      if (facts.layers().size() < 2) return {};
      const std::string& strategy = facts.options(CROSSING).crossing_strategy;
      if (strategy == "NONE") return {};
      const Use sweeps{kEnds | PORT_INDEXES, THOROUGHNESS, LAYERS};
      if (strategy == "INTERACTIVE") return sweeps | seen_places(facts);
      if (strategy == "KEEP") {
        return sweeps | Use{ORIGINS | WIDTHS | HEIGHTS | KINDS | PORT_OFFSETS,
                            DIRECTION | NODE_NODE | EDGE_EDGE | EDGE_NODE};
      }
      return sweeps;
    }};

inline constexpr GraphUse PLACE_NODES{
    "place_nodes", {LAYERS, 0, PLACES}, [](UseFacts& facts) -> Use {
      if (facts.layers().empty()) return {};
      const std::string& strategy = facts.options(PLACEMENT).placement_strategy;
      const Use plain{kEnds | WIDTHS | HEIGHTS | KINDS | ORDERS, SPACINGS | PADDINGS};
      if (strategy == "NETWORK_SIMPLEX") return plain | Use{PORT_OFFSETS | ORIGIN_IDS | FLIPS};
      if (strategy == "INTERACTIVE") return plain | Use{PORT_OFFSETS | ORIGINS, DIRECTION};
      return plain;
    }};

inline constexpr GraphUse ROUTE_EDGES{
    "route_edges", {0, 0, BENDS}, [](UseFacts& facts) -> Use {
      const std::string& strategy = facts.options(ROUTING).edge_routing;
      const bool ordered = strategy == "ORTHOGONAL_ORDERED";
      if (!ordered && strategy != "ORTHOGONAL") return {EDGES};
      if (facts.layers().size() < 2) return {};
      const Use plain{kEnds | WIDTHS | LAYER_NUMBERS | PLACES | PORT_OFFSETS | LAYERS,
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
