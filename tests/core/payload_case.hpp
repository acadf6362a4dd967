// Payloads for the tests, with the texts that they refer to.
//
// Example:
//   PayloadCase made;
//   made.node("a").width = 10.0;
//   made.node("b");
//   made.edge("a", "b", "wire").target_port = 1;

#ifndef QUILLAN_TESTS_CORE_PAYLOAD_CASE_HPP_
#define QUILLAN_TESTS_CORE_PAYLOAD_CASE_HPP_

#include <deque>
#include <string>
#include <utility>

#include "core/components.hpp"
#include "core/exchange/payload.hpp"
#include "core/vorn_layered.hpp"

namespace quillan::vorn_layered::testing {

class PayloadCase : public Payload {
 public:
  explicit PayloadCase(std::size_t node_count = 64) : Payload(node_count, 0) {}

  NodeRow& node(std::string id) { return add_node(keep(std::move(id))); }
  NodeRow& node(int id) { return node(std::to_string(id)); }
  EdgeRow& edge(std::string_view source, std::string_view target) {
    return add_edge(source, target);
  }
  EdgeRow& edge(std::string_view source, std::string_view target, std::string id) {
    EdgeRow& row = add_edge(source, target);
    row.id = keep(std::move(id));
    return row;
  }
  EdgeRow& edge(int source, int target) {
    return edge(std::to_string(source), std::to_string(target));
  }

  LayoutResult lay_out(const LayoutOptions& options, double component_gap = 80.0) {
    return layout(*this, weakly_connected_components(*this, arena), options, component_gap, arena);
  }

  const TextSource* keep(std::string bytes) {
    bytes_.push_back(std::move(bytes));
    sources_.push_back({bytes_.back()});
    return &sources_.back();
  }

  Arena arena;  // of what is derived from the payload

 private:
  std::deque<std::string> bytes_;
  std::deque<TextSource> sources_;
};

}  // namespace quillan::vorn_layered::testing

#endif  // QUILLAN_TESTS_CORE_PAYLOAD_CASE_HPP_
