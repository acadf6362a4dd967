#include "core/graph/lgraph.hpp"

#include <algorithm>
#include <cstring>

#include "core/base/faults.hpp"

namespace quillan::vorn_layered {

namespace {

double origin(const LGraph& graph, const LNode& node, double GivenNode::*coordinate) {
  if (node.is_given()) return node.given().*coordinate;
  const std::span<LEdge* const> chain = graph.caller_edges[node.caller_edge].chain;
  const GivenNode& source = chain.front()->source_node()->given();
  const GivenNode& target = chain.back()->target_node()->given();
  const double span = static_cast<double>(target.layer - source.layer);
  const double fraction = static_cast<double>(node.layer - source.layer) / span;
  return source.*coordinate + (target.*coordinate - source.*coordinate) * fraction;
}

}  // namespace

void Layers::resize(std::span<const std::int32_t> sizes) {
  starts_.resize(sizes.size() + 1);
  starts_[0] = 0;
  for (std::size_t i = 0; i < sizes.size(); ++i) starts_[i + 1] = starts_[i] + sizes[i];
  nodes_.assign(starts_.back(), nullptr);
}

void Layers::push_back(std::span<LNode* const> members) {
  nodes_.insert(nodes_.end(), members.begin(), members.end());
  starts_.push_back(static_cast<std::int32_t>(nodes_.size()));
}

Text LGraph::copy_text(std::string_view bytes) {
  const std::span<char> copy = texts->raw_array<char>(bytes.size());
  if (!bytes.empty()) std::memcpy(copy.data(), bytes.data(), bytes.size());
  return Text(texts->make<TextSource>(std::string_view(copy.data(), copy.size())));
}

GivenNode* LGraph::add_node(const Text& id, double width, double height) {
  GivenNode* node = arena.make<GivenNode>();
  node->id = id;
  node->box_width = width;
  node->box_height = height;
  node->position = static_cast<std::int32_t>(nodes.size());
  nodes.push_back(node);
  return node;
}

LNode* LGraph::add_dummy(const Text& id, std::int32_t caller_edge, std::int32_t layer) {
  LNode* node = arena.make<LNode>();
  node->id = id;
  node->kind = NodeKind::LONG_EDGE;
  node->layer = layer;
  node->position = static_cast<std::int32_t>(nodes.size());
  node->caller_edge = caller_edge;
  nodes.push_back(node);
  return node;
}

std::span<LPort> LGraph::add_ports(LNode& node, PortSide side, std::int32_t count) {
  const std::span<LPort> made = arena.raw_array<LPort>(count);
  for (std::int32_t index = 0; index < count; ++index) {
    ::new (&made[index]) LPort{&node, 0.0, index, side};
  }
  const std::size_t position = static_cast<std::size_t>(node.position);
  if (ports.size() <= position) ports.resize(position + 1);
  (side == PortSide::WEST ? ports[position].in : ports[position].out) = made;
  return made;
}

LEdge* LGraph::make_segment(const Text& id, SegmentEnd source, SegmentEnd target,
                            std::int32_t caller_edge) {
  return arena.make<LEdge>(id, false, source, target, nullptr, caller_edge);
}

std::span<Point> LGraph::add_bends(LEdge& edge, std::size_t count) {
  edge.bends = arena.make<std::span<Point>>(arena.raw_array<Point>(count));
  return *edge.bends;
}

LEdge* LGraph::add_edge(const Text& id, SegmentEnd source, SegmentEnd target,
                        std::int32_t caller_edge) {
  if (caller_edge < 0) {
    caller_edge = static_cast<std::int32_t>(caller_edges.size());
    caller_edges.push_back({id, {}, false, false, false});
  }
  LEdge* edge = make_segment(id, source, target, caller_edge);
  edge->position = static_cast<std::int32_t>(edges.size());
  edges.push_back(edge);
  CallerEdge& entry = caller_edges[caller_edge];
  entry.chain = arena.array<LEdge*>(1, edge);
  entry.has_chain = true;
  entry.has_reversed = true;
  entry.reversed = false;
  return edge;
}

void LGraph::set_edges(std::vector<LEdge*> replacement) {
  edges = std::move(replacement);
  for (std::size_t i = 0; i < edges.size(); ++i) edges[i]->position = static_cast<std::int32_t>(i);
}

Text LGraph::next_id(const Text& base, TextForm form) {
  ++_counter;
  return {base.source(), form, _counter};
}

void LGraph::rebuild_layers() {
  std::int32_t count = 0;
  for (const LNode* node : nodes) {
    if (node->layer < 0) throw LayerFault(node->id.str(), node->layer);
    count = std::max(count, node->layer + 1);
  }
  layers.clear();
  if (nodes.empty()) return;
  const Arena::Frame frame(scratch);
  const std::span<std::int32_t> sizes = scratch.array<std::int32_t>(count, 0);
  for (const LNode* node : nodes) ++sizes[node->layer];
  layers.resize(sizes);
  const std::span<std::int32_t> filled = scratch.array<std::int32_t>(count, 0);
  for (LNode* node : nodes) layers[node->layer][filled[node->layer]++] = node;
  const auto by_order = [](const LNode* a, const LNode* b) { return a->order < b->order; };
  for (std::int32_t index = 0; index < count; ++index) {
    const std::span<LNode*> layer = layers[index];
    if (!std::is_sorted(layer.begin(), layer.end(), by_order)) {
      std::stable_sort(layer.begin(), layer.end(), by_order);
    }
    for (std::size_t order = 0; order < layer.size(); ++order) {
      layer[order]->order = static_cast<std::int32_t>(order);
    }
  }
}

double origin_x(const LGraph& graph, const LNode& node) {
  return origin(graph, node, &GivenNode::origin_x);
}

double origin_y(const LGraph& graph, const LNode& node) {
  return origin(graph, node, &GivenNode::origin_y);
}

void LGraph::clear() {
  nodes.clear();
  ports.clear();
  edges.clear();
  caller_edges.clear();
  layers.clear();
  _counter = 0;
  port_count = 0;
  arena.clear();
}

}  // namespace quillan::vorn_layered
