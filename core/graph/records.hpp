// The records of an LGraph: nodes, ports and segments.
//
// A graph may have far more dummies than anything else, and a layout of one holds them all at once.
// So what only a caller's node has stands behind its record, and a dummy has no ports: a segment
// ends at the dummy itself.

#ifndef QUILLAN_CORE_GRAPH_RECORDS_HPP_
#define QUILLAN_CORE_GRAPH_RECORDS_HPP_

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/base/text.hpp"
#include "core/graph/vocabulary.hpp"

namespace quillan::vorn_layered {

// Lets the members behind this one into its last bytes, which it does not use.
#if defined(_MSC_VER)
#define QUILLAN_SHARE_PADDING [[msvc::no_unique_address]]
#else
#define QUILLAN_SHARE_PADDING [[no_unique_address]]
#endif

struct GivenNode;

// A real node, or a dummy that holds the place of a long edge in one layer.
struct LNode {
  QUILLAN_SHARE_PADDING Text id;
  NodeKind kind = NodeKind::NORMAL;
  bool has_origin_x = false;  // whether there is an origin_x() in core/graph/lgraph.hpp
  bool has_origin_y = false;
  double x = 0.0;  // near corner
  double y = 0.0;
  std::int32_t layer = 0;
  std::int32_t order = 0;  // position inside its layer
  // Place in LGraph::nodes of the node with this id. A graph made by hand may have edges and layers
  // that lead to nodes outside: -1 for those.
  std::int32_t position = 0;
  // Of a dummy that phase 2 made: the place in LGraph::caller_edges of the edge that it stands for.
  std::int32_t caller_edge = -1;

  [[nodiscard]] bool is_dummy() const { return kind != NodeKind::NORMAL; }
  // Whether the record is a GivenNode.
  [[nodiscard]] bool is_given() const { return caller_edge < 0; }
  // REQUIRES: is_given().
  [[nodiscard]] GivenNode& given();
  [[nodiscard]] const GivenNode& given() const;

  [[nodiscard]] double width() const;
  [[nodiscard]] double height() const;
  [[nodiscard]] double cross_center() const { return y + height() / 2.0; }
};

// A node as the caller gave it. In a graph made by hand, that may be a dummy.
struct GivenNode : LNode {
  double box_width = 0.0;
  double box_height = 0.0;
  double origin_x = 0.0;  // the caller's flow-axis position; meaningless unless has_origin_x
  double origin_y = 0.0;  // the caller's cross-axis position; meaningless unless has_origin_y
};

inline GivenNode& LNode::given() {
  assert(is_given());
  return static_cast<GivenNode&>(*this);
}
inline const GivenNode& LNode::given() const {
  assert(is_given());
  return static_cast<const GivenNode&>(*this);
}
inline double LNode::width() const { return is_given() ? given().box_width : 0.0; }
inline double LNode::height() const { return is_given() ? given().box_height : 0.0; }

// A connection point on one side of a node. No phase changes side, index or offset.
//
// Nobody but the host asks for the id of a port, so there is none here: see port_id() in
// core/exchange/build_graph.hpp.
struct LPort {
  LNode* node = nullptr;
  double offset = 0.0;     // along the cross axis from the node's near corner
  std::int32_t index = 0;  // among the ports of its side, from 0
  PortSide side = PortSide::WEST;
};

// Where a segment ends: at a port, or at a dummy, which acts as if it had a port of index 0 and
// offset 0.0 on either side. Two ends are equal if they are one port.
//
// Takes no more than a pointer, in whose low bits it keeps what is pointed to.
class SegmentEnd {
 public:
  // Not an end; equal to nullptr.
  SegmentEnd() = default;
  // An end at a port.
  SegmentEnd(LPort* port) : at_(reinterpret_cast<std::byte*>(port)) {}
  // An end at the WEST side of a dummy of phase 2, where a segment arrives. REQUIRES: the dummy is
  // no GivenNode.
  static SegmentEnd into(LNode* dummy) { return SegmentEnd(dummy, kInto); }
  // The same for its EAST side, where a segment leaves.
  static SegmentEnd out_of(LNode* dummy) { return SegmentEnd(dummy, kOutOf); }

  bool operator==(const SegmentEnd&) const = default;

  [[nodiscard]] LNode* node() const {
    const std::uintptr_t tag = this->tag();
    return tag == kPort ? port()->node : reinterpret_cast<LNode*>(at_ - tag);
  }
  [[nodiscard]] std::int32_t index() const { return tag() == kPort ? port()->index : 0; }
  [[nodiscard]] double offset() const { return tag() == kPort ? port()->offset : 0.0; }
  [[nodiscard]] PortSide side() const {
    if (tag() == kPort) return port()->side;
    return tag() == kInto ? PortSide::WEST : PortSide::EAST;
  }
  // Position in the graph along the flow axis.
  [[nodiscard]] double x() const {
    const LNode& of = *node();
    return side() == PortSide::WEST ? of.x : of.x + of.width();
  }
  // Position in the graph along the cross axis.
  [[nodiscard]] double y() const { return node()->y + offset(); }

  // Differs between ends that are not equal.
  [[nodiscard]] const void* identity() const { return at_; }

 private:
  static constexpr std::uintptr_t kPort = 0;
  static constexpr std::uintptr_t kInto = 1;
  static constexpr std::uintptr_t kOutOf = 2;
  static constexpr std::uintptr_t kTags = 3;
  static_assert(alignof(LPort) > kTags && alignof(LNode) > kTags);

  SegmentEnd(LNode* dummy, std::uintptr_t tag) : at_(reinterpret_cast<std::byte*>(dummy) + tag) {
    assert(!dummy->is_given());
  }
  [[nodiscard]] std::uintptr_t tag() const { return reinterpret_cast<std::uintptr_t>(at_) & kTags; }
  [[nodiscard]] const LPort* port() const { return reinterpret_cast<const LPort*>(at_); }

  std::byte* at_ = nullptr;
};

// One segment of a connection, in layering direction.
struct LEdge {
  QUILLAN_SHARE_PADDING Text id;
  bool reversed = false;  // set by phase 1 on a segment that it flips
  SegmentEnd source;
  SegmentEnd target;
  const std::span<Point>* bends = nullptr;  // null: none; set by phase 5
  std::int32_t caller_edge = 0;             // place of the caller's edge in LGraph::caller_edges
  std::int32_t position = 0;                // place in LGraph::edges

  [[nodiscard]] LNode* source_node() const { return source.node(); }
  [[nodiscard]] LNode* target_node() const { return target.node(); }
  // Between source and target, in that order.
  [[nodiscard]] std::span<const Point> bend_points() const {
    return bends != nullptr ? std::span<const Point>(*bends) : std::span<const Point>();
  }
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

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_RECORDS_HPP_
