// Payload: what a caller says about nodes and edges, as plain rows with their ids matched.
//
// Everything is in the caller's frame and units. A row begins with the values that stand for keys
// that the caller left out, so that whoever fills it sets what there is.
//
// Example:
//   Payload payload(2, 1);
//   payload.add_node(&a);                               // TextSource a{"a"}, b{"b"}, p{"p"}
//   payload.add_node(&b).input_ports.count = 2;
//   EdgeRow& edge = payload.add_edge("a", "b");
//   edge.id = &p;
//   edge.target_port = 1;

#ifndef QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_
#define QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "core/base/text.hpp"
#include "core/base/text_index.hpp"
#include "core/graph/vocabulary.hpp"

namespace quillan::vorn_layered {

// A port that the caller listed.
struct PortRow {
  const TextSource* id = nullptr;  // null: made up from the node's id and the port's position
  std::optional<double> offset;    // none: the middle of the side
};

// The ports of one side of a node.
struct PortSpec {
  std::int32_t count = 0;  // below 1: none
  bool listed = false;     // whether they stand in Payload::ports; else they are spread evenly
  std::size_t first = 0;   // where they begin there
};

struct NodeRow {
  const TextSource* id = nullptr;
  double width = DEFAULT_NODE_WIDTH;
  double height = DEFAULT_NODE_HEIGHT;
  std::optional<double> x;
  std::optional<double> y;
  PortSpec input_ports;
  PortSpec output_ports;
  std::int32_t twin = -1;  // the next node with this id, to which edges go instead; -1: none
};

struct EdgeRow {
  const TextSource* id = nullptr;  // null: made up from the edge's position
  std::int32_t source = -1;        // position in Payload::nodes, or -1 where no node has the id
  std::int32_t target = -1;
  std::int32_t source_port = 0;  // one that is out of range means the first port
  std::int32_t target_port = 0;

  // An edge with an unknown end and a self-loop are left out of the drawing.
  [[nodiscard]] bool is_left_out() const { return source < 0 || target < 0 || source == target; }
};

// The sources of ids must outlive the payload.
class Payload {
 public:
  // Room for so many rows.
  Payload(std::size_t node_count, std::size_t edge_count);

  // Appends a node. Expected constant cost.
  NodeRow& add_node(const TextSource* id);
  // Appends an edge between nodes of these ids, the last one where several have the same.
  // REQUIRES: all nodes were added. Expected constant cost.
  EdgeRow& add_edge(std::string_view source, std::string_view target);

  std::vector<NodeRow> nodes;
  std::vector<EdgeRow> edges;
  std::vector<PortRow> ports;

 private:
  TextIndex by_id_;
};

// What makes one graph: positions of rows, ascending, and the place of each node among `nodes`, by
// its position in the payload.
struct Component {
  std::span<const std::int32_t> nodes;
  std::span<const std::int32_t> edges;
  std::span<const std::int32_t> place_of;
};

// Throws SizeFault where a side of `count` ports, in a graph that has `others` beside them, goes
// beyond the bounds; to be called before memory is spent on them.
void check_port_count(std::int64_t count, std::int64_t others);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_EXCHANGE_PAYLOAD_HPP_
