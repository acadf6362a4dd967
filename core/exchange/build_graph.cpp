#include "core/exchange/build_graph.hpp"

#include <string>
#include <utility>

#include "core/base/faults.hpp"

namespace quillan::vorn_layered {

namespace {

void add_node(const Payload& payload, const NodeRow& row, LGraph& graph) {
  double width = row.width;
  double height = row.height;
  std::optional<double> x = row.x;
  std::optional<double> y = row.y;
  if (is_transposed(graph.options.direction)) {
    std::swap(width, height);
    std::swap(x, y);
  }
  GivenNode* node = graph.add_node(Text(row.id), width, height);
  node->origin_x = x.value_or(0.0);
  node->origin_y = y.value_or(0.0);
  node->has_origin_x = x.has_value();
  node->has_origin_y = y.has_value();
  _port_specs(row.input_ports, payload.ports, PortSide::WEST, graph, *node);
  _port_specs(row.output_ports, payload.ports, PortSide::EAST, graph, *node);
}

// The id of an edge that has none: "e" and its position in the caller's list.
Text default_edge_id(LGraph& graph, std::int32_t number) {
  std::string id = "e";
  id.append(std::to_string(number));
  return graph.copy_text(id);
}

void add_edge(const EdgeRow& row, std::int32_t number, const Component& component,
              TextIndex& caller_edges, LGraph& graph) {
  const Text id = row.id != nullptr ? Text(row.id) : default_edge_id(graph, number);
  LPort* from = _pick_port(graph, component.place_of[row.source], row.source_port, PortSide::EAST);
  LPort* to = _pick_port(graph, component.place_of[row.target], row.target_port, PortSide::WEST);
  // A repeated id takes over the entry of the earlier edge, which loses its chain.
  const std::int32_t next = static_cast<std::int32_t>(graph.caller_edges.size());
  const std::int32_t caller_edge = caller_edges.find_or_add(id.source()->bytes, next);
  graph.add_edge(id, from, to, caller_edge == next ? -1 : caller_edge);
}

}  // namespace

void _port_specs(const PortSpec& spec, std::span<const PortRow> ports, PortSide side, LGraph& graph,
                 LNode& node) {
  if (spec.count <= 0) return;
  check_port_count(spec.count, graph.port_count);
  graph.port_count += spec.count;
  const double step = node.height() / static_cast<double>(spec.count + 1);
  for (LPort& port : graph.add_ports(node, side, spec.count)) {
    port.offset = step * static_cast<double>(port.index + 1);
    if (!spec.listed) continue;
    const PortRow& row = ports[spec.first + static_cast<std::size_t>(port.index)];
    port.offset = row.offset.value_or(node.height() * 0.5);
  }
}

// Most nodes have ports. Then the node itself is not looked at, which in a large graph is far away.
LPort* _pick_port(LGraph& graph, std::int32_t position, std::int32_t index, PortSide side) {
  const bool out = side == PortSide::EAST;
  const NodePorts ports = graph.ports_of(position);
  const std::span<LPort> pool = out ? ports.out : ports.in;
  if (!pool.empty()) {
    const bool inside = index >= 0 && static_cast<std::size_t>(index) < pool.size();
    return &pool[inside ? static_cast<std::size_t>(index) : 0];
  }
  LNode& node = *graph.nodes[position];
  LPort& port = graph.add_ports(node, side, 1)[0];
  port.offset = node.height() / 2.0;
  return &port;
}

Text port_id(const Payload& payload, const NodeRow& node, const LPort& port) {
  const bool in = port.side == PortSide::WEST;
  const PortSpec& spec = in ? node.input_ports : node.output_ports;
  if (spec.count <= 0) return {node.id, in ? TextForm::kInAuto : TextForm::kOutAuto};
  if (spec.listed) {
    const PortRow& row = payload.ports[spec.first + static_cast<std::size_t>(port.index)];
    if (row.id != nullptr) return Text(row.id);
  }
  return {node.id, in ? TextForm::kInPort : TextForm::kOutPort,
          static_cast<std::uint32_t>(port.index)};
}

void build_graph(const Payload& payload, const Component& component, LGraph& graph) {
  if (static_cast<std::int64_t>(component.nodes.size()) > MAX_NODES_PER_GRAPH) {
    throw SizeFault("too many connected nodes: at most " + std::to_string(MAX_NODES_PER_GRAPH));
  }
  graph.nodes.reserve(component.nodes.size());
  for (const std::int32_t number : component.nodes) {
    add_node(payload, payload.nodes[number], graph);
  }
  TextIndex caller_edges(component.edges.size());
  graph.edges.reserve(component.edges.size());
  graph.caller_edges.reserve(component.edges.size());
  for (const std::int32_t number : component.edges) {
    const EdgeRow& row = payload.edges[number];
    if (!row.is_left_out()) add_edge(row, number, component, caller_edges, graph);
  }
}

}  // namespace quillan::vorn_layered
