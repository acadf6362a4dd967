#include "core/exchange/payload.hpp"

#include <string>

#include "core/base/faults.hpp"

namespace quillan::vorn_layered {

Payload::Payload(std::size_t node_count, std::size_t edge_count) : by_id_(node_count) {
  nodes.reserve(node_count);
  edges.reserve(edge_count);
}

NodeRow& Payload::add_node(const TextSource* id) {
  const std::int32_t number = static_cast<std::int32_t>(nodes.size());
  std::int32_t& last = by_id_.find_or_add(id->bytes, number);
  if (last != number) nodes[last].twin = number;
  last = number;
  NodeRow& node = nodes.emplace_back();
  node.id = id;
  return node;
}

EdgeRow& Payload::add_edge(std::string_view source, std::string_view target) {
  EdgeRow& edge = edges.emplace_back();
  edge.source = by_id_.find(source);
  edge.target = by_id_.find(target);
  return edge;
}

void check_port_count(std::int64_t count, std::int64_t others) {
  if (count <= MAX_PORTS_PER_SIDE && count <= MAX_PORTS_PER_GRAPH - others) return;
  throw SizeFault("too many ports: at most " + std::to_string(MAX_PORTS_PER_SIDE) +
                  " on a side of a node and " + std::to_string(MAX_PORTS_PER_GRAPH) +
                  " in a graph");
}

}  // namespace quillan::vorn_layered
