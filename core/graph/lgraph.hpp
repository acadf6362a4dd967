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
//   graph.add_edge(graph.copy_text("p"), _pick_port(graph, *a, 0, PortSide::EAST),
//                  _pick_port(graph, *b, 0, PortSide::WEST));

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
#include "core/graph/vocabulary.hpp"

namespace quillan::vorn_layered {

// Lets the members behind this one into its last bytes, which it does not use.
#if defined(_MSC_VER)
#define QUILLAN_SHARE_PADDING [[msvc::no_unique_address]]
#else
#define QUILLAN_SHARE_PADDING [[no_unique_address]]
#endif

struct LNode;

// A connection point on one side of a node. No phase changes side, index or offset.
//
// Nobody but the host asks for the id of a port, so there is none here: see port_id() in
// core/exchange/build_graph.hpp.
struct LPort {
  LNode* node = nullptr;
  double offset = 0.0;     // along the cross axis from the node's near corner
  std::int32_t index = 0;  // among the ports of its side, from 0
  PortSide side = PortSide::WEST;

  [[nodiscard]] double x() const;  // flow-axis position in the graph
  [[nodiscard]] double y() const;  // cross-axis position in the graph
};

// A real node, or a dummy that holds the place of a long edge in one layer. A graph may have far
// more dummies than anything else, so what few nodes need stands elsewhere.
struct LNode {
  QUILLAN_SHARE_PADDING Text id;
  NodeKind kind = NodeKind::NORMAL;
  bool has_origin_x = false;
  bool has_origin_y = false;
  double width = 0.0;
  double height = 0.0;
  double origin_x = 0.0;  // the caller's flow-axis position; meaningless unless has_origin_x
  double origin_y = 0.0;  // the caller's cross-axis position; meaningless unless has_origin_y
  double x = 0.0;         // near corner
  double y = 0.0;
  std::int32_t layer = 0;
  std::int32_t order = 0;  // position inside its layer
  // Place in LGraph::nodes of the node with this id. A graph made by hand may have edges and layers
  // that lead to nodes outside: -1 for those.
  std::int32_t position = 0;

  [[nodiscard]] bool is_dummy() const { return kind != NodeKind::NORMAL; }
  [[nodiscard]] double cross_center() const { return y + height / 2.0; }
};

// Where the user sees the near end of `node` along the flow, growing with the flow in every
// direction: the caller's numbers fall along a reversed flow, and there the box's far corner comes
// first. 0.0 stands in for a number that the caller did not give.
inline double seen_along_flow(const LNode& node, Direction direction) {
  const double x = node.has_origin_x ? node.origin_x : 0.0;
  return is_reversed(direction) ? -(x + node.width) : x;
}
// The same across the flow, which no direction reverses.
inline double seen_across_flow(const LNode& node) {
  return node.has_origin_y ? node.origin_y : 0.0;
}

inline double LPort::x() const { return side == PortSide::WEST ? node->x : node->x + node->width; }
inline double LPort::y() const { return node->y + offset; }

// One segment of a connection, in layering direction.
struct LEdge {
  QUILLAN_SHARE_PADDING Text id;
  bool reversed = false;  // set by phase 1 on a segment that it flips
  LPort* source = nullptr;
  LPort* target = nullptr;
  std::span<Point> bend_points;  // between source and target, in that order; set by phase 5
  std::int32_t caller_edge = 0;  // place of the caller's edge in LGraph::caller_edges
  std::int32_t position = 0;     // place in LGraph::edges

  [[nodiscard]] LNode* source_node() const { return source->node; }
  [[nodiscard]] LNode* target_node() const { return target->node; }
};

// The ports that import made at a node: WEST and EAST, by index.
struct NodePorts {
  std::span<LPort> in;
  std::span<LPort> out;
};

// A caller's edge: its entry in `chains` and in `reversed_originals`, which share their key.
struct CallerEdge {
  Text id;
  std::span<LEdge*> chain;    // the segments in flow order
  bool has_chain = false;     // whether `chains` has this key
  bool has_reversed = false;  // whether `reversed_originals` has this key
  bool reversed = false;      // its value there
};

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

  LNode* add_node(const Text& id, double width, double height);
  // Room for `count` ports on one side of `node`, which had none there; fields are defaults.
  std::span<LPort> add_ports(LNode& node, PortSide side, std::int32_t count);
  // What add_ports() has made at `node`, a node of the graph.
  [[nodiscard]] NodePorts ports_of(const LNode& node) const {
    const std::size_t position = static_cast<std::size_t>(node.position);
    return position < ports.size() ? ports[position] : NodePorts();
  }
  // A caller's edge: appended to `edges`, with a chain of its own under `id`. One that is there
  // already under an equal id must be passed as `caller_edge`; its chain is replaced.
  LEdge* add_edge(const Text& id, LPort* source, LPort* target, std::int32_t caller_edge = -1);
  // A segment that belongs to `caller_edge`; it is not appended to `edges` yet.
  LEdge* make_segment(const Text& id, LPort* source, LPort* target, std::int32_t caller_edge);
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

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_LGRAPH_HPP_
