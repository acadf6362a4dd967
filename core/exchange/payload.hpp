// Payload: the caller's node and edge mappings with their ids read and matched, once per call.

#ifndef QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_
#define QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/base/text_index.hpp"
#include "core/exchange/value.hpp"

namespace quillan::vorn_layered {

// Starts to load what a look-up of the text that `mapping` has under `key` will look at, where the
// index is large.
void prefetch_text(const TextIndex& index, ValueReader& reader, Handle mapping, Key key);

// The two lists of a call. Node `i` stands for all nodes of its id if `canonical[i] == i`; of nodes
// with equal ids the last one does.
struct Payload {
  struct Node {
    Handle mapping;
    const TextSource* id;
    std::int32_t canonical;
  };
  struct Edge {
    Handle mapping;
    std::int32_t source;  // canonical position, or -1 if no node has the id
    std::int32_t target;
  };

  // Reads `id` of every node, then `source` and `target` of every edge. The handles must stay good
  // while the payload is used. Throws what the reader throws. Expected linear cost.
  Payload(std::span<const Handle> node_items, std::span<const Handle> edge_items,
          ValueReader& host);

  ValueReader& reader;
  std::vector<Node> nodes;
  std::vector<Edge> edges;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_
