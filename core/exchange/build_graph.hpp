// Graph import: rows of a payload turned into an LGraph in the normalised frame.
//
// Sizes and positions are exchanged for DOWN and UP and are otherwise the caller's numbers: how a
// reversed flow reads them is seen_along_flow()'s, and mirroring the drawing belongs to the way
// out.

#ifndef QUILLAN_CORE_EXCHANGE_BUILD_GRAPH_HPP_
#define QUILLAN_CORE_EXCHANGE_BUILD_GRAPH_HPP_

#include <cstdint>

#include "core/exchange/payload.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Fills the empty `graph`, whose options must be resolved. Edges that are left out are skipped; a
// made-up edge id counts positions in the payload's whole list. Throws SizeFault for nodes or ports
// beyond the bounds. Linear.
void build_graph(const Payload& payload, const Component& component, LGraph& graph);

// Gives one side of `node`, which has no ports there, those of `spec`; `ports` is the payload's.
void _port_specs(const PortSpec& spec, std::span<const PortRow> ports, PortSide side, LGraph& graph,
                 LNode& node);

// The port of the node at `position` that an edge asking for `index` attaches to: the first one
// where there is none of that index, and a centred one made on demand where the side has no ports.
LPort* _pick_port(LGraph& graph, std::int32_t position, std::int32_t index, PortSide side);

// The id of a port that import has made at `node`: the caller's, or one derived from the node's.
Text port_id(const Payload& payload, const NodeRow& node, const LPort& port);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_EXCHANGE_BUILD_GRAPH_HPP_
