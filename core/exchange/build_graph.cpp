#include "core/exchange/build_graph.hpp"

#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "core/base/faults.hpp"
#include "core/base/prefetch.hpp"

namespace quillan::vorn_layered {

namespace {

Value get(ValueReader& reader, Handle mapping, Key key) {
  return {reader, reader.get(mapping, key)};
}

// Fails before memory is spent on a side of `count` ports that goes beyond the bounds.
void check_port_count(const LGraph& graph, std::int64_t count) {
  if (count <= MAX_PORTS_PER_SIDE && count <= MAX_PORTS_PER_GRAPH - graph.port_count) return;
  throw SizeFault("too many ports: at most " + std::to_string(MAX_PORTS_PER_SIDE) +
                  " on a side of a node and " + std::to_string(MAX_PORTS_PER_GRAPH) +
                  " in a graph");
}

std::span<LPort> reserve_ports(LGraph& graph, LNode& node, PortSide side, std::int64_t count) {
  check_port_count(graph, count);
  graph.port_count += count;
  const std::span<LPort> ports = graph.add_ports(node, side, static_cast<std::int32_t>(count));
  const TextForm form = side == PortSide::WEST ? TextForm::kInPort : TextForm::kOutPort;
  for (std::size_t i = 0; i < ports.size(); ++i) {
    ports[i].id = {node.id.source(), form, static_cast<std::uint32_t>(i)};
  }
  return ports;
}

// One item of a walked port spec, before its node's list of ports is complete.
struct PortSpec {
  const TextSource* id;  // null: the id by position
  double offset;
};

PortSpec read_port(ValueReader& reader, Handle item, double node_cross_extent) {
  if (reader.kind(item) != ValueKind::kMapping) return {nullptr, reader.real(item)};
  const Value id = get(reader, item, Key::ID);
  const TextSource* text = id.truth() ? id.text() : nullptr;
  const Value offset = get(reader, item, Key::OFFSET);
  return {text, offset.absent() ? node_cross_extent * 0.5 : offset.real()};
}

double size_of(const Value& value, double fallback) {
  return value.truth() ? value.real() : fallback;
}

void read_node(const Payload& payload, const Payload::Node& item, LGraph& graph) {
  ValueReader& reader = payload.reader;
  const Direction direction = graph.options.direction;
  double width = size_of(get(reader, item.mapping, Key::WIDTH), DEFAULT_NODE_WIDTH);
  double height = size_of(get(reader, item.mapping, Key::HEIGHT), DEFAULT_NODE_HEIGHT);
  Value x = get(reader, item.mapping, Key::X);
  Value y = get(reader, item.mapping, Key::Y);
  if (is_transposed(direction)) {
    std::swap(width, height);
    std::swap(x, y);
  }
  LNode* node = graph.add_node(Text(item.id), width, height);
  if (!x.absent_or_null()) {
    node->origin_x = x.real();
    node->has_origin_x = true;
  }
  if (!y.absent_or_null()) {
    node->origin_y = y.real();
    node->has_origin_y = true;
  }
  for (const PortSide side : {PortSide::WEST, PortSide::EAST}) {
    const Key key = side == PortSide::WEST ? Key::INPUT_PORTS : Key::OUTPUT_PORTS;
    _port_specs(reader, get(reader, item.mapping, key), height, side, graph, *node);
  }
}

LPort* attach(ValueReader& reader, Handle edge, Key key, LGraph& graph, LNode& node,
              PortSide side) {
  const std::span<LPort> pool = side == PortSide::EAST ? node.out_ports : node.in_ports;
  std::optional<std::int64_t> index;
  // Without declared ports no index matters, so none is converted either.
  if (!pool.empty()) {
    const Value value = get(reader, edge, key);
    if (!value.absent_or_null()) index = reader.integer(value.handle());
  }
  return _pick_port(graph, node, index, side);
}

// The id of an edge that has none: "e" and its position in the caller's list.
Text default_edge_id(LGraph& graph, std::int32_t number) {
  std::string id = "e";
  id.append(std::to_string(number));
  return graph.plain(id);
}

void read_edge(const Payload& payload, std::int32_t number, const GraphMembers& members,
               TextIndex& origins, LGraph& graph) {
  ValueReader& reader = payload.reader;
  const Payload::Edge& item = payload.edges[number];
  if (item.source < 0 || item.target < 0 || item.source == item.target) return;
  LNode& source = *graph.nodes[members.place_of[item.source]];
  LNode& target = *graph.nodes[members.place_of[item.target]];
  const Value given = get(reader, item.mapping, Key::ID);
  const Text id = given.truth() ? Text(given.text()) : default_edge_id(graph, number);
  LPort* from = attach(reader, item.mapping, Key::SOURCE_PORT, graph, source, PortSide::EAST);
  LPort* to = attach(reader, item.mapping, Key::TARGET_PORT, graph, target, PortSide::WEST);
  // A repeated id takes over the entry of the earlier edge, which loses its chain.
  const std::int32_t next = static_cast<std::int32_t>(graph.origins.size());
  const std::int32_t origin = origins.find_or_add(id.source()->bytes, next);
  graph.add_edge(id, from, to, origin == next ? -1 : origin);
}

// Starts to load what edges after the one at `i` of the members will need.
void look_ahead_from_edge(const Payload& payload, const GraphMembers& members, std::size_t i,
                          const TextIndex& origins, const LGraph& graph) {
  const auto edge_at = [&](std::size_t at) -> const Payload::Edge& {
    return payload.edges[members.edges[at]];
  };
  look_ahead(payload.reader, i, members.edges.size(),
             [&](std::size_t at) { return edge_at(at).mapping; });
  if (i + AHEAD_TABLE >= members.edges.size()) return;
  prefetch_text(origins, payload.reader, edge_at(i + AHEAD_CONTENT).mapping, Key::ID);
  const auto node_of = [&](std::int32_t number) { return graph.nodes[members.place_of[number]]; };
  const Payload::Edge& later = edge_at(i + AHEAD_TABLE);
  if (later.source >= 0) prefetch(&node_of(later.source)->out_ports);
  if (later.target >= 0) prefetch(&node_of(later.target)->in_ports);
  const Payload::Edge& soon = edge_at(i + AHEAD_CONTENT);
  if (soon.source >= 0) prefetch(node_of(soon.source)->out_ports.data());
  if (soon.target >= 0) prefetch(node_of(soon.target)->in_ports.data());
}

}  // namespace

void _port_specs(ValueReader& reader, const Value& raw, double node_cross_extent, PortSide side,
                 LGraph& graph, LNode& node) {
  if (raw.absent()) return;
  const ValueKind kind = raw.kind();
  if (kind == ValueKind::kNull) return;
  if (kind == ValueKind::kInteger) {
    const std::int64_t count = *reader.integer(raw.handle());
    if (count <= 0) return;
    const std::span<LPort> ports = reserve_ports(graph, node, side, count);
    const double step = node_cross_extent / static_cast<double>(count + 1);
    for (std::size_t i = 0; i < ports.size(); ++i) {
      ports[i].offset = step * static_cast<double>(i + 1);
    }
    return;
  }
  std::vector<PortSpec> specs;
  reader.walk(raw.handle(), [&](Handle item) {
    check_port_count(graph, static_cast<std::int64_t>(specs.size()) + 1);
    specs.push_back(read_port(reader, item, node_cross_extent));
  });
  const std::span<LPort> ports =
      reserve_ports(graph, node, side, static_cast<std::int64_t>(specs.size()));
  for (std::size_t i = 0; i < ports.size(); ++i) {
    if (specs[i].id != nullptr) ports[i].id = Text(specs[i].id);
    ports[i].offset = specs[i].offset;
  }
}

LPort* _pick_port(LGraph& graph, LNode& node, std::optional<std::int64_t> index, PortSide side) {
  const bool out = side == PortSide::EAST;
  const std::span<LPort> pool = out ? node.out_ports : node.in_ports;
  if (!pool.empty()) {
    const std::int64_t position = index.value_or(0);
    const bool inside = position >= 0 && position < static_cast<std::int64_t>(pool.size());
    return &pool[inside ? position : 0];
  }
  LPort& port = graph.add_ports(node, side, 1)[0];
  port.id = {node.id.source(), out ? TextForm::kOutAuto : TextForm::kInAuto};
  port.offset = node.height / 2.0;
  return &port;
}

void build_graph(const Payload& payload, const GraphMembers& members, LGraph& graph) {
  if (static_cast<std::int64_t>(members.nodes.size()) > MAX_NODES_PER_GRAPH) {
    throw SizeFault("too many connected nodes: at most " + std::to_string(MAX_NODES_PER_GRAPH));
  }
  for (std::size_t place = 0; place < members.nodes.size(); ++place) {
    look_ahead(payload.reader, place, members.nodes.size(),
               [&](std::size_t at) { return payload.nodes[members.nodes[at]].mapping; });
    const std::int32_t number = members.nodes[place];
    members.place_of[number] = static_cast<std::int32_t>(place);
    read_node(payload, payload.nodes[number], graph);
  }
  TextIndex origins(members.edges.size());
  graph.edges.reserve(members.edges.size());
  graph.origins.reserve(members.edges.size());
  for (std::size_t i = 0; i < members.edges.size(); ++i) {
    look_ahead_from_edge(payload, members, i, origins, graph);
    read_edge(payload, members.edges[i], members, origins, graph);
  }
}

void build_graph(const Payload& payload, LGraph& graph) {
  std::vector<std::int32_t> nodes(payload.nodes.size());
  std::vector<std::int32_t> edges(payload.edges.size());
  std::vector<std::int32_t> place_of(payload.nodes.size());
  std::iota(nodes.begin(), nodes.end(), 0);
  std::iota(edges.begin(), edges.end(), 0);
  build_graph(payload, GraphMembers{nodes, edges, place_of}, graph);
}

}  // namespace quillan::vorn_layered
