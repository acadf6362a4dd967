// Payloads without a host: plain records read from a file, and the reader through which the engine
// sees them. What the phases cost is measured on these, free of any host's objects.
//
// The file is text: the numbers of nodes and of edges, then for each node its id, width, height, x,
// y, input and output ports, then for each edge its id, source, target, source and target port, all
// separated by white space.

#ifndef QUILLAN_BENCH_PLAIN_PAYLOAD_HPP_
#define QUILLAN_BENCH_PLAIN_PAYLOAD_HPP_

#include <cstddef>
#include <deque>
#include <functional>
#include <istream>
#include <span>
#include <string>
#include <vector>

#include "core/exchange/payload.hpp"
#include "core/exchange/value.hpp"

namespace quillan::vorn_layered::bench {

// A text if it has bytes, else a number.
struct Field {
  Key key = Key::ID;
  double number = 0.0;
  TextSource text;
};
using Mapping = std::vector<Field>;

// The handles of a payload that read_payload() filled; they stay good while it lives.
struct PlainPayload {
  std::deque<std::string> texts;
  std::deque<Mapping> mappings;
  std::vector<Handle> nodes;
  std::vector<Handle> edges;
};

// Throws std::runtime_error unless `file` holds a whole payload.
void read_payload(std::istream& file, PlainPayload& payload);

// Serves any number of payloads; keeps nothing itself.
class PlainReader final : public ValueReader {
 public:
  ValueKind kind(Handle value) override;
  bool truth(Handle value) override;
  const TextSource* text(Handle value) override;
  std::string_view peek_text(Handle value) override;
  double real(Handle value) override;
  std::optional<std::int64_t> integer(Handle value) override;
  Handle get(Handle mapping, Key key) override;
  Handle require(Handle mapping, Key key) override;
  void walk(Handle value, const std::function<void(Handle)>& visit) override;
  void check_mapping(Handle value) override;
  void release(Handle value) noexcept override;
};

}  // namespace quillan::vorn_layered::bench

#endif  // QUILLAN_BENCH_PLAIN_PAYLOAD_HPP_
