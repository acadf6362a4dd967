#include "host/graph_image.hpp"

#include "host/options.hpp"

namespace quillan::host {

using vorn_layered::GivenNode;
using vorn_layered::LEdge;
using vorn_layered::LNode;
using vorn_layered::LPort;
using vorn_layered::NodeKind;
using vorn_layered::Point;
using vorn_layered::PortSide;
using vorn_layered::Text;

namespace {

bool is_text(PyObject* value, const char* text) {
  return PyUnicode_Check(value) && PyUnicode_CompareWithASCIIString(value, text) == 0;
}

Point read_point(const Fields& fields, PyObject* value) {
  constexpr const char* kExpected = "a list of pairs of real numbers";
  const bool sequence = PyTuple_Check(value) || PyList_Check(value);
  const std::vector<Ref> pair = sequence ? sequence_items(value) : std::vector<Ref>();
  if (pair.size() != 2) fields.wrong_type(Field::kBendPoints, kExpected, value);
  return {fields.real_from(Field::kBendPoints, pair[0].get(), kExpected),
          fields.real_from(Field::kBendPoints, pair[1].get(), kExpected)};
}

}  // namespace

GraphImage::GraphImage(const State& state, Ref record, const GraphUse& use)
    : state_(state), record_(std::move(record)), use_(use.first), texts_(graph.arena) {
  if (!is_instance(record_.get(), state.lgraph)) {
    PyErr_Format(PyExc_TypeError, "graph must be an LGraph, not %.200s",
                 Py_TYPE(record_.get())->tp_name);
    throw PythonError();
  }
  UseFacts facts(state, record_.get(), graph.options);
  use_ = use_ | use.then(facts);
  facts.options(use_.options);
  if ((use_.reads & LAYERS) != 0) layer_items_ = std::move(facts.layers());
  read_parts();
}

void GraphImage::read_parts() {
  if ((use_.reads & COUNTER) != 0) {
    const Fields fields(state_, record_.get());
    graph._counter = static_cast<std::uint32_t>(fields.integer(Field::kCounter, 0, UINT32_MAX / 2));
  }
  if ((use_.reads & NODES) != 0) read_nodes();
  if ((use_.reads & (CHAINS | UNSPLIT_CHAINS)) != 0) read_chains();
  if ((use_.reads & EDGES) != 0) read_edges();
  if ((use_.reads & FLIPS) != 0) read_reversed_originals();
  if ((use_.reads & LAYERS) != 0) read_layers();
}

void GraphImage::read_nodes() {
  for (Ref& item : Fields(state_, record_.get()).items(Field::kNodes)) {
    require_record(item.get(), state_.lnode, "LGraph.nodes");
    GivenNode* const node = graph.add_node(Text(), 0.0, 0.0);
    if (!node_indexes_.emplace(item.get(), nodes_.size()).second) {
      Fields(state_, item.get()).fail(PyExc_ValueError, "appears twice in LGraph.nodes");
    }
    nodes_.push_back({node, std::move(item), false, 0.0, 0.0});
    read_node(nodes_.back().record.get(), *node, true);
    nodes_.back().x = node->x;
    nodes_.back().y = node->y;
  }
  inside_ = nodes_.size();
}

void GraphImage::read_node(PyObject* record, GivenNode& node, bool inside) {
  const Fields fields(state_, record);
  if ((use_.reads & NODE_IDS) != 0) node.id = Text(texts_.keep(fields.text(Field::kId)));
  // The layering reads of an end outside the graph only what it needs to split an edge.
  const bool laid_out = inside || (use_.writes & LAYER_NUMBERS) == 0;
  if ((use_.reads & WIDTHS) != 0 && laid_out) node.box_width = fields.real(Field::kWidth);
  if ((use_.reads & HEIGHTS) != 0) node.box_height = fields.real(Field::kHeight);
  if ((use_.reads & KINDS) != 0) {
    const bool real = is_text(fields.get(Field::kKind).get(), "NORMAL");
    node.kind = real ? NodeKind::NORMAL : NodeKind::LONG_EDGE;
  }
  if ((use_.reads & ORIGINS) != 0) {
    node.has_origin_x = fields.get(Field::kOriginX).get() != Py_None;
    node.has_origin_y = fields.get(Field::kOriginY).get() != Py_None;
    if (node.has_origin_x) node.origin_x = fields.real(Field::kOriginX);
    if (node.has_origin_y) node.origin_y = fields.real(Field::kOriginY);
  }
  const bool overwritten = inside && (use_.writes & LAYER_NUMBERS) != 0;
  if ((use_.reads & LAYER_NUMBERS) != 0 && !overwritten) {
    // Layers are listed from 0 on; everything else works with any.
    const std::int64_t least = (use_.writes & LAYERS) != 0 && inside ? 0 : -kMaxLayer;
    node.layer = static_cast<std::int32_t>(fields.integer(Field::kLayer, least, kMaxLayer));
  }
  node.order = UNWRITTEN_ORDER;
  if ((use_.reads & ORDERS) != 0 && laid_out) {
    node.order = static_cast<std::int32_t>(fields.integer(Field::kOrder, INT32_MIN + 1, INT32_MAX));
  }
  if ((use_.reads & PLACES) != 0) {
    node.x = fields.real(Field::kX);
    node.y = fields.real(Field::kY);
  }
}

// The image of a node met at the end of an edge or in a layer.
std::size_t GraphImage::node_index(PyObject* record) {
  const auto [found, added] = node_indexes_.emplace(record, nodes_.size());
  if (!added) return found;
  GivenNode* const node = graph.arena.make<GivenNode>();
  nodes_.push_back({node, Ref::borrow(record), false, 0.0, 0.0});
  const std::size_t index = nodes_.size() - 1;
  read_node(record, *node, false);
  node->position = position_of(node->id);
  nodes_[index].x = node->x;
  nodes_[index].y = node->y;
  return index;
}

std::int32_t GraphImage::position_of(const Text& id) {
  if ((use_.reads & NODE_IDS) == 0) return -1;
  if (positions_.empty()) {
    for (const LNode* node : graph.nodes) positions_[node->id.str()] = node->position;
  }
  const auto found = positions_.find(id.str());
  return found != positions_.end() ? found->second : -1;
}

std::int32_t GraphImage::caller_edge_of(Ref text) {
  const vorn_layered::TextSource* source = texts_.keep(std::move(text));
  const std::int32_t next = static_cast<std::int32_t>(graph.caller_edges.size());
  const auto [entry, added] = caller_edges_.emplace(source->bytes, next);
  if (added) graph.caller_edges.push_back({Text(source), {}, false, false, false});
  return entry->second;
}

LPort* GraphImage::read_port(const Fields& edge, Field field) {
  Ref record = edge.instance(field, state_.lport);
  const auto [found, added] = port_indexes_.emplace(record.get(), ports_.size());
  if (!added) return ports_[found].port;
  LPort* const port = graph.arena.make<LPort>();
  ports_.push_back({port, std::move(record)});
  const Fields fields(state_, ports_.back().record.get());
  const Ref owner = fields.instance(Field::kNode, state_.lnode);
  port->node = nodes_[node_index(owner.get())].node;
  if ((use_.reads & PORT_INDEXES) != 0) {
    port->index =
        static_cast<std::int32_t>(fields.integer(Field::kIndex, 0, vorn_layered::MAX_PORT_INDEX));
  }
  if ((use_.reads & PORT_OFFSETS) != 0) port->offset = fields.real(Field::kOffset);
  if ((use_.reads & PORT_SIDES) != 0) {
    const bool west = is_text(fields.get(Field::kSide).get(), "WEST");
    port->side = west ? PortSide::WEST : PortSide::EAST;
  }
  return port;
}

LEdge* GraphImage::read_edge(PyObject* record, const char* where, bool ends) {
  require_record(record, state_.ledge, where);
  const auto [found, added] = edge_indexes_.emplace(record, edges_.size());
  if (!added) return edges_[found].edge;
  LEdge* const edge = graph.make_segment(Text(), nullptr, nullptr, -1);
  edge->bends = &unwritten_;
  edges_.push_back({edge, Ref::borrow(record)});
  const Fields fields(state_, record);
  if (ends) {
    edge->source = read_port(fields, Field::kSource);
    edge->target = read_port(fields, Field::kTarget);
  }
  if ((use_.reads & EDGE_IDS) != 0) edge->id = Text(texts_.keep(fields.text(Field::kId)));
  if ((use_.reads & ORIGIN_IDS) != 0)
    edge->caller_edge = caller_edge_of(fields.text(Field::kOriginId));
  if ((use_.reads & BENDS) != 0) read_bend_points(record, *edge);
  return edge;
}

void GraphImage::read_bend_points(PyObject* record, LEdge& edge) {
  const Fields fields(state_, record);
  const std::vector<Ref> items = fields.items(Field::kBendPoints);
  const std::span<Point> bends = graph.add_bends(edge, items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    bends[i] = read_point(fields, items[i].get());
  }
}

void GraphImage::read_edges() {
  for (const Ref& item : Fields(state_, record_.get()).items(Field::kEdges)) {
    graph.edges.push_back(read_edge(item.get(), "LGraph.edges", (use_.reads & ENDS) != 0));
  }
}

void GraphImage::read_chains() {
  const Fields fields(state_, record_.get());
  const std::vector<Ref> pairs = fields.pairs(Field::kChains);
  // Keys first, so that the caller's edges stand in the order of the mapping.
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    caller_edge_of(fields.key_text(Field::kChains, pairs[i].get()));
  }
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    const std::vector<Ref> items = fields.items_of(Field::kChains, pairs[i + 1].get());
    if ((use_.reads & CHAINS) == 0 && items.size() != 1) continue;
    const std::int32_t caller_edge =
        caller_edge_of(fields.key_text(Field::kChains, pairs[i].get()));
    const std::span<LEdge*> chain = graph.arena.array<LEdge*>(items.size(), nullptr);
    for (std::size_t k = 0; k < items.size(); ++k) {
      chain[k] = read_edge(items[k].get(), "LGraph.chains", true);
    }
    graph.caller_edges[caller_edge].chain = chain;
    graph.caller_edges[caller_edge].has_chain = true;
    if (chain.size() == 1) unsplit_.push_back(caller_edge);
  }
}

void GraphImage::read_reversed_originals() {
  const Fields fields(state_, record_.get());
  const std::vector<Ref> pairs = fields.pairs(Field::kReversedOriginals);
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    const std::int32_t index =
        caller_edge_of(fields.key_text(Field::kReversedOriginals, pairs[i].get()));
    const bool reversed = check(PyObject_IsTrue(pairs[i + 1].get())) != 0;
    graph.caller_edges[index].has_reversed = true;
    graph.caller_edges[index].reversed = reversed;
  }
}

void GraphImage::read_layers() {
  std::vector<bool> seen(graph.nodes.size(), false);
  std::vector<LNode*> members;
  for (const std::vector<Ref>& layer : layer_items_) {
    members.clear();
    for (const Ref& item : layer) {
      require_record(item.get(), state_.lnode, "LGraph.layers");
      Node& entry = nodes_[node_index(item.get())];
      const std::int32_t position = entry.node->position;
      if (entry.layered || (position >= 0 && seen[position])) {
        Fields(state_, item.get()).fail(PyExc_ValueError, "appears twice in LGraph.layers");
      }
      entry.layered = true;
      if (position >= 0) seen[position] = true;
      members.push_back(entry.node);
    }
    graph.layers.push_back(members);
  }
  if ((use_.writes & PLACES) == 0) return;
  // Nodes in no layer are not placed: where they stand counts for their neighbours, and for how far
  // the whole drawing is moved.
  for (Node& entry : nodes_) {
    if (entry.layered) continue;
    const Fields fields(state_, entry.record.get());
    entry.x = entry.node->x = fields.real(Field::kX);
    entry.y = entry.node->y = fields.real(Field::kY);
  }
}

}  // namespace quillan::host
