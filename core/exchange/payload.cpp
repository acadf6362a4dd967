#include "core/exchange/payload.hpp"

#include <bit>
#include <cstring>

namespace quillan::vorn_layered {

namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ULL;

std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
  // Folding the 128-bit product lets every input bit reach the low bits that pick the slot.
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a ^ kMultiplier) * (b ^ (kMultiplier >> 7U));
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

std::uint64_t hash_bytes(std::string_view bytes) {
  std::uint64_t hash = bytes.size();
  while (bytes.size() >= 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), 8);
    hash = mix(hash, word);
    bytes.remove_prefix(8);
  }
  if (!bytes.empty()) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), bytes.size());
    hash = mix(hash, word);
  }
  return hash;
}

// The slot is chosen by the low bits, the tag is made of the high ones.
std::uint32_t tag_of(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 32U); }

}  // namespace

TextIndex::TextIndex(std::size_t expected) : slots_(std::bit_ceil(expected * 2 + 2)) {
  entries_.reserve(expected);
}

std::size_t TextIndex::probe(std::string_view bytes, std::uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  const std::uint32_t tag = tag_of(hash);
  std::size_t at = hash & mask;
  while (slots_[at].entry >= 0 &&
         (slots_[at].tag != tag || entries_[slots_[at].entry].bytes != bytes)) {
    at = (at + 1) & mask;
  }
  return at;
}

void TextIndex::grow() {
  slots_.assign(slots_.size() * 2, Slot{});
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const std::uint64_t hash = hash_bytes(entries_[i].bytes);
    slots_[probe(entries_[i].bytes, hash)] = {tag_of(hash), static_cast<std::int32_t>(i)};
  }
}

std::int32_t& TextIndex::find_or_add(std::string_view bytes, std::int32_t value) {
  if ((entries_.size() + 1) * 2 > slots_.size()) grow();
  const std::uint64_t hash = hash_bytes(bytes);
  Slot& slot = slots_[probe(bytes, hash)];
  if (slot.entry < 0) {
    slot = {tag_of(hash), static_cast<std::int32_t>(entries_.size())};
    entries_.push_back({bytes, value});
  }
  return entries_[slot.entry].value;
}

std::int32_t TextIndex::find(std::string_view bytes) const {
  const std::int32_t entry = slots_[probe(bytes, hash_bytes(bytes))].entry;
  return entry < 0 ? -1 : entries_[entry].value;
}

void TextIndex::prefetch(ValueReader& reader, Handle mapping, Key key) const {
  constexpr std::size_t kCached = (std::size_t{1} << 17U) / sizeof(Slot);
  if (slots_.size() <= kCached) return;
  __builtin_prefetch(&slots_[hash_bytes(reader.glance(mapping, key)) & (slots_.size() - 1)]);
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
      by_id.prefetch(host, node_items[i + AHEAD_CONTENT], Key::ID);
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
      by_id.prefetch(host, edge_items[i + AHEAD_CONTENT], Key::SOURCE);
      by_id.prefetch(host, edge_items[i + AHEAD_CONTENT], Key::TARGET);
    }
    const Handle item = edge_items[i];
    host.check_mapping(item);
    const std::int32_t source = end_of(item, Key::SOURCE);
    const std::int32_t target = end_of(item, Key::TARGET);
    edges.push_back({item, source, target});
  }
}

}  // namespace quillan::vorn_layered
