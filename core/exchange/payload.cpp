#include "core/exchange/payload.hpp"

#include <string_view>

namespace quillan::vorn_layered {

void prefetch_text(const TextIndex& index, ValueReader& reader, Handle mapping, Key key) {
  if (index.is_large()) index.prefetch(reader.glance(mapping, key));
}

Payload::Payload(std::span<const Handle> node_items, std::span<const Handle> edge_items,
                 ValueReader& host)
    : reader(host) {
  TextIndex by_id(node_items.size());
  nodes.reserve(node_items.size());
  bool repeated = false;  // whether two nodes have one id
  for (std::size_t i = 0; i < node_items.size(); ++i) {
    look_ahead(host, i, node_items.size(), [&](std::size_t at) { return node_items[at]; });
    if (i + AHEAD_CONTENT < node_items.size()) {
      prefetch_text(by_id, host, node_items[i + AHEAD_CONTENT], Key::ID);
    }
    host.check_mapping(node_items[i]);
    const TextSource* id = Value(host, host.require(node_items[i], Key::ID)).text();
    const std::int32_t number = static_cast<std::int32_t>(i);
    nodes.push_back({node_items[i], id, number});
    std::int32_t& canonical = by_id.find_or_add(id->bytes, number);
    repeated = repeated || canonical != number;
    canonical = number;
  }
  if (repeated) {
    for (Node& node : nodes) node.canonical = by_id.find(node.id->bytes);
  }

  const auto end_of = [&](Handle mapping, Key key) {
    const Value value(host, host.get(mapping, key));
    return by_id.find(value.absent() ? std::string_view() : value.peek_text());
  };
  edges.reserve(edge_items.size());
  for (std::size_t i = 0; i < edge_items.size(); ++i) {
    look_ahead(host, i, edge_items.size(), [&](std::size_t at) { return edge_items[at]; });
    if (i + AHEAD_CONTENT < edge_items.size()) {
      prefetch_text(by_id, host, edge_items[i + AHEAD_CONTENT], Key::SOURCE);
      prefetch_text(by_id, host, edge_items[i + AHEAD_CONTENT], Key::TARGET);
    }
    const Handle item = edge_items[i];
    host.check_mapping(item);
    const std::int32_t source = end_of(item, Key::SOURCE);
    const std::int32_t target = end_of(item, Key::TARGET);
    edges.push_back({item, source, target});
  }
}

}  // namespace quillan::vorn_layered
