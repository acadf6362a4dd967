// Payload: the caller's node and edge mappings with their ids read and matched, once per call.

#ifndef QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_
#define QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/exchange/value.hpp"

namespace quillan::vorn_layered {

// Finds texts by their bytes: an open-addressed table of positions into a list the caller keeps.
// Expected constant cost per look-up.
class TextIndex {
 public:
  // Room for `expected` texts before the table grows.
  explicit TextIndex(std::size_t expected);

  // The value kept for `bytes`, after setting it to `value` if there was none.
  std::int32_t& find_or_add(std::string_view bytes, std::int32_t value);
  // The value kept for `bytes`, or -1.
  [[nodiscard]] std::int32_t find(std::string_view bytes) const;

  // Starts to load what a look-up of the text under `key` will look at, where the table is large.
  void prefetch(ValueReader& reader, Handle mapping, Key key) const;

 private:
  // Slots are small, so that the table of a large payload stays in the cache; the texts themselves
  // are looked at only where the tags agree.
  struct Slot {
    std::uint32_t tag = 0;    // of the hash
    std::int32_t entry = -1;  // -1: the slot is free
  };
  struct Entry {
    std::string_view bytes;
    std::int32_t value;
  };
  [[nodiscard]] std::size_t probe(std::string_view bytes, std::uint64_t hash) const;
  void grow();

  std::vector<Slot> slots_;
  std::vector<Entry> entries_;
};

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
