// LGraph: the intermediate graph on which all phases work, with its nodes, ports and edges.
//
// Every coordinate and size is in the normalised frame: x and width run along the flow axis, y and
// height along the cross axis. The graph owns its records in an arena; their addresses never move
// while it lives. Records refer to one another by pointer, and to the caller's ids as Text.
//
// Example:
//   LGraph graph;
//   LNode* a = graph.add_node(graph.copy_text("a"), 140.0, 56.0);
//   LNode* b = graph.add_node(graph.copy_text("b"), 140.0, 56.0);
//   graph.add_edge(graph.copy_text("p"), _pick_port(graph, a->position, 0, PortSide::EAST),
//                  _pick_port(graph, b->position, 0, PortSide::WEST));

#ifndef QUILLAN_CORE_GRAPH_LGRAPH_HPP_
#define QUILLAN_CORE_GRAPH_LGRAPH_HPP_

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/base/arena.hpp"
#include "core/base/strict_numbers.hpp"
#include "core/base/text.hpp"
#include "core/graph/options.hpp"
#include "core/graph/records.hpp"

namespace quillan::vorn_layered {

// The integers from one up to another, to loop over. The library's own range of them does not
// compile with every clang that is supported.
class IndexRange {
 public:
  class iterator {
   public:
    explicit iterator(std::int32_t value) : value_(value) {}
    std::int32_t operator*() const { return value_; }
    iterator& operator++() {
      ++value_;
      return *this;
    }
    bool operator==(const iterator&) const = default;

   private:
    std::int32_t value_;
  };

  IndexRange(std::int32_t first, std::int32_t end) : first_(first), end_(end) {}
  [[nodiscard]] iterator begin() const { return iterator(first_); }
  [[nodiscard]] iterator end() const { return iterator(end_); }

 private:
  std::int32_t first_;
  std::int32_t end_;
};

// The layers of a graph: one flat list of nodes and the bounds of each layer in it.
class Layers {
 public:
  [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(starts_.size()) - 1; }
  [[nodiscard]] bool empty() const { return size() == 0; }
  [[nodiscard]] std::span<LNode*> operator[](std::int32_t index) {
    return std::span(nodes_).subspan(starts_[index], starts_[index + 1] - starts_[index]);
  }
  [[nodiscard]] std::span<LNode* const> operator[](std::int32_t index) const {
    return std::span(nodes_).subspan(starts_[index], starts_[index + 1] - starts_[index]);
  }
  // All nodes, layer by layer.
  [[nodiscard]] std::span<LNode*> flat() { return nodes_; }
  [[nodiscard]] std::span<LNode* const> flat() const { return nodes_; }
  // Where layer `index` begins in flat(); `index` may be size().
  [[nodiscard]] std::int32_t start(std::int32_t index) const { return starts_[index]; }

  void clear() {
    nodes_.clear();
    starts_.assign(1, 0);
  }
  // The places of a layer's nodes in flat().
  [[nodiscard]] IndexRange slots(std::int32_t index) const {
    return {start(index), start(index + 1)};
  }
  // Makes `sizes.size()` layers of these sizes with empty slots.
  void resize(std::span<const std::int32_t> sizes);
  // Appends a layer holding `members`.
  void push_back(std::span<LNode* const> members);

 private:
  std::vector<LNode*> nodes_;
  std::vector<std::int32_t> starts_ = {0};
};

class LGraph {
 public:
  LGraph() = default;
  explicit LGraph(LayoutOptions resolved) : options(std::move(resolved)) {}
  LGraph(const LGraph&) = delete;
  LGraph& operator=(const LGraph&) = delete;

  std::vector<LNode*> nodes;     // real nodes in payload order, then dummies in order of creation
  std::vector<NodePorts> ports;  // by LNode::position, as far as add_ports() came
  // All current segments. An end may be outside `nodes`; each phase says what it does then.
  std::vector<LEdge*> edges;
  std::vector<CallerEdge>
      caller_edges;  // `chains` and `reversed_originals`, in order of first insertion
  Layers layers;
  LayoutOptions options;
  std::uint32_t _counter = 0;   // the last number given out
  std::int64_t port_count = 0;  // declared ports so far, held against MAX_PORTS_PER_GRAPH

  // A plain text whose bytes are copied into `texts`.
  Text copy_text(std::string_view bytes);

  GivenNode* add_node(const Text& id, double width, double height);
  // A dummy for the edge at `caller_edge`, in `layer`.
  LNode* add_dummy(const Text& id, std::int32_t caller_edge, std::int32_t layer);
  // Room for `count` ports on one side of `node`, which had none there; fields are defaults.
  std::span<LPort> add_ports(LNode& node, PortSide side, std::int32_t count);
  // What add_ports() has made at the node at `position`.
  [[nodiscard]] NodePorts ports_of(std::int32_t position) const {
    const std::size_t index = static_cast<std::size_t>(position);
    return index < ports.size() ? ports[index] : NodePorts();
  }
  // A caller's edge: appended to `edges`, with a chain of its own under `id`. One that is there
  // already under an equal id must be passed as `caller_edge`; its chain is replaced.
  LEdge* add_edge(const Text& id, SegmentEnd source, SegmentEnd target,
                  std::int32_t caller_edge = -1);
  // A segment that belongs to `caller_edge`; it is not appended to `edges` yet.
  LEdge* make_segment(const Text& id, SegmentEnd source, SegmentEnd target,
                      std::int32_t caller_edge);
  // Gives `edge` `count` bend points, whose values are indeterminate until written.
  std::span<Point> add_bends(LEdge& edge, std::size_t count);
  // Replaces `edges` and renumbers the edges in it.
  void set_edges(std::vector<LEdge*> replacement);

  // Adds 1 to the graph's one counter and gives `base` in `form` with that number.
  Text next_id(const Text& base, TextForm form);
  // Regroups the nodes by `layer` and renumbers `order`; stable in (order, nodes order).
  // Near-linear unless orders are badly mixed up. Throws LayerFault, and changes nothing, if a node
  // has a layer below 0.
  void rebuild_layers();

  // Empties the graph for another component and keeps its memory.
  void clear();

  Arena arena;            // the records
  Arena scratch;          // working arrays; every phase gives back what it took
  Arena* texts = &arena;  // where copy_text() keeps bytes; may outlive the graph
};

// Where the caller had a node, for one that has_origin_x or has_origin_y. A dummy of phase 2 lies
// on the straight line between the ends of its edge. REQUIRES: the chain of that edge is as phase 2
// made it.
double origin_x(const LGraph& graph, const LNode& node);
double origin_y(const LGraph& graph, const LNode& node);

// Where the user sees the near end of `node` along the flow, growing with the flow in every
// direction: the caller's numbers fall along a reversed flow, and there the box's far corner comes
// first. 0.0 stands in for a number that the caller did not give.
inline double seen_along_flow(const LGraph& graph, const LNode& node) {
  const double x = node.has_origin_x ? origin_x(graph, node) : 0.0;
  return is_reversed(graph.options.direction) ? -(x + node.width()) : x;
}
// The same across the flow, which no direction reverses.
inline double seen_across_flow(const LGraph& graph, const LNode& node) {
  return node.has_origin_y ? origin_y(graph, node) : 0.0;
}

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_LGRAPH_HPP_
