// Graph import: a payload read into an LGraph in the normalised frame.
//
// Sizes and positions are exchanged for DOWN and UP and are otherwise the caller's numbers: how a
// reversed flow reads them is seen_along_flow()'s, and mirroring the drawing belongs to the way
// out.

#ifndef QUILLAN_CORE_EXCHANGE_BUILD_GRAPH_HPP_
#define QUILLAN_CORE_EXCHANGE_BUILD_GRAPH_HPP_

#include <cstdint>
#include <optional>
#include <span>

#include "core/exchange/payload.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// The members of a payload that make one graph.
struct GraphMembers {
  std::span<const std::int32_t> nodes;
  std::span<const std::int32_t> edges;
  // By payload position: room for the node's place in the graph, overwritten for every member.
  std::span<std::int32_t> place_of;
};

// Fills the empty `graph`, whose options must be resolved. An edge with an unknown end and a
// self-loop are skipped; a default edge id counts positions in the payload's whole edge list.
// Throws what the reader throws, and SizeFault for a port count beyond the bounds. Linear.
void build_graph(const Payload& payload, const GraphMembers& members, LGraph& graph);

// The same for all nodes and edges of the payload.
void build_graph(const Payload& payload, LGraph& graph);

// The ports of one side as `raw` asks for them: a count spreads them evenly along
// `node_cross_extent`, anything else is walked. `raw` null means absent.
void _port_specs(ValueReader& reader, const Value& raw, double node_cross_extent, PortSide side,
                 LGraph& graph, LNode& node);

// The port of `node` that an edge asking for `index` attaches to: the first one where the index is
// unusable, and a centred one made on demand where the side has none.
LPort* _pick_port(LGraph& graph, LNode& node, std::optional<std::int64_t> index, PortSide side);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_EXCHANGE_BUILD_GRAPH_HPP_
