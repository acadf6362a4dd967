#include "bench/plain_payload.hpp"

#include <array>
#include <stdexcept>

namespace quillan::vorn_layered::bench {

namespace {

constexpr std::array kNodeKeys = {Key::ID, Key::WIDTH,       Key::HEIGHT,      Key::X,
                                  Key::Y,  Key::INPUT_PORTS, Key::OUTPUT_PORTS};
constexpr std::array kEdgeKeys = {Key::ID, Key::SOURCE, Key::TARGET, Key::SOURCE_PORT,
                                  Key::TARGET_PORT};

bool is_text(Key key) { return key == Key::ID || key == Key::SOURCE || key == Key::TARGET; }

Handle read_mapping(std::istream& file, std::span<const Key> keys, PlainPayload& payload) {
  Mapping& mapping = payload.mappings.emplace_back();
  mapping.reserve(keys.size());
  for (const Key key : keys) {
    mapping.push_back(Field{key, 0.0, {}});
    Field& field = mapping.back();
    if (is_text(key)) {
      std::string& bytes = payload.texts.emplace_back();
      file >> bytes;
      field.text.bytes = bytes;
    } else {
      file >> field.number;
    }
  }
  return &mapping;
}

const Field& field_of(Handle value) { return *static_cast<const Field*>(value); }

}  // namespace

void read_payload(std::istream& file, PlainPayload& payload) {
  std::size_t node_count = 0;
  std::size_t edge_count = 0;
  file >> node_count >> edge_count;
  while (file && payload.nodes.size() < node_count) {
    payload.nodes.push_back(read_mapping(file, kNodeKeys, payload));
  }
  while (file && payload.edges.size() < edge_count) {
    payload.edges.push_back(read_mapping(file, kEdgeKeys, payload));
  }
  if (!file) throw std::runtime_error("the payload ends early or a number in it is malformed");
}

ValueKind PlainReader::kind(Handle value) {
  return field_of(value).text.bytes.empty() ? ValueKind::kInteger : ValueKind::kOther;
}

bool PlainReader::truth(Handle value) {
  return !field_of(value).text.bytes.empty() || field_of(value).number != 0.0;
}

const TextSource* PlainReader::text(Handle value) { return &field_of(value).text; }

std::string_view PlainReader::peek_text(Handle value) { return field_of(value).text.bytes; }

double PlainReader::real(Handle value) { return field_of(value).number; }

std::optional<std::int64_t> PlainReader::integer(Handle value) {
  return static_cast<std::int64_t>(field_of(value).number);
}

Handle PlainReader::get(Handle mapping, Key key) {
  for (Field& field : *static_cast<Mapping*>(mapping)) {
    if (field.key == key) return &field;
  }
  return nullptr;
}

Handle PlainReader::require(Handle mapping, Key key) {
  const Handle found = get(mapping, key);
  return found != nullptr ? found : throw std::logic_error("a payload lacks a key");
}

void PlainReader::walk(Handle /*value*/, const std::function<void(Handle)>& /*visit*/) {
  throw std::logic_error("the ports of a plain payload are counts");
}

void PlainReader::check_mapping(Handle /*value*/) {}

void PlainReader::release(Handle /*value*/) noexcept {}

}  // namespace quillan::vorn_layered::bench
