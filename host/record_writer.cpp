#include <bit>
#include <unordered_map>
#include <utility>

#include "core/exchange/build_graph.hpp"
#include "host/graph_image.hpp"
#include "host/objects.hpp"

namespace quillan::host {

using vorn_layered::CallerEdge;
using vorn_layered::Component;
using vorn_layered::LEdge;
using vorn_layered::LGraph;
using vorn_layered::LNode;
using vorn_layered::LPort;
using vorn_layered::NodePorts;
using vorn_layered::NodeRow;
using vorn_layered::Payload;
using vorn_layered::Point;
using vorn_layered::PortSide;
using vorn_layered::SegmentEnd;
using vorn_layered::Text;
using vorn_layered::TextForm;

namespace {

Ref none() { return Ref::borrow(Py_None); }

Ref truth_object(bool value) { return Ref::borrow(value ? Py_True : Py_False); }

bool same_bits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

Ref bend_point_list(const LEdge& edge) {
  std::vector<Ref> points;
  points.reserve(edge.bend_points().size());
  for (const Point point : edge.bend_points()) points.push_back(point_object(point.x, point.y));
  return list_of(std::move(points));
}

void set(const State& state, PyObject* record, Field field, const Ref& value) {
  check(PyObject_SetAttr(record, state.field(field), value.get()));
}

}  // namespace

// Makes the Python records of a core graph. Records that are known already are not made again.
class RecordWriter {
 public:
  RecordWriter(const State& state, const LGraph& graph) : state_(state), graph_(graph) {}

  // Takes over the records of an image.
  void know(const GraphImage& image) {
    for (const GraphImage::Node& each : image.nodes_) nodes_[each.node] = each.record.copy();
    for (const GraphImage::Port& each : image.ports_)
      ports_[SegmentEnd(each.port).identity()] = each.record.copy();
    for (const GraphImage::Edge& each : image.edges_) edges_[each.edge] = each.record.copy();
  }

  PyObject* node(LNode* node) {
    const auto [found, added] = nodes_.try_emplace(node);
    if (!added) return found->second.get();
    const bool real = !node->is_dummy();
    found->second = check(PyObject_CallFunction(
        state_.lnode, "OddOOOiidd", text_object(node->id).get(), node->width(), node->height(),
        member(state_.node_kind, real ? "NORMAL" : "LONG_EDGE").get(),
        (node->has_origin_x ? real_object(origin_x(graph_, *node)) : none()).get(),
        (node->has_origin_y ? real_object(origin_y(graph_, *node)) : none()).get(), node->layer,
        node->order, node->x, node->y));
    return found->second.get();
  }

  // Lists the ports that import made at a node. `row` is the caller's.
  void add_ports(LNode* node, const Payload& payload, const NodeRow& row) {
    const NodePorts ports = graph_.ports_of(node->position);
    for (const std::span<LPort> side : {ports.in, ports.out}) {
      for (LPort& port : side) make_port(SegmentEnd(&port), port_id(payload, row, port));
    }
  }

  PyObject* edge(LEdge* edge) {
    const auto [found, added] = edges_.try_emplace(edge);
    if (!added) return found->second.get();
    const Ref source = Ref::borrow(port(edge->source));
    const Ref target = Ref::borrow(port(edge->target));
    found->second = check(PyObject_CallFunction(
        state_.ledge, "OOOOOO", text_object(edge->id).get(), source.get(), target.get(),
        text_object(graph_.caller_edges[edge->caller_edge].id).get(),
        truth_object(edge->reversed).get(), bend_point_list(*edge).get()));
    return found->second.get();
  }

  // One that is not known yet is that of a new dummy.
  PyObject* port(SegmentEnd end) {
    if (const auto found = ports_.find(end.identity()); found != ports_.end()) {
      return found->second.get();
    }
    const bool in = end.side() == PortSide::WEST;
    return make_port(end, end.node()->id.as(in ? TextForm::kDummyIn : TextForm::kDummyOut));
  }

  template <typename Items, typename Make>
  static std::vector<Ref> records_of(Items&& items, Make make) {
    std::vector<Ref> records;
    records.reserve(items.size());
    for (auto* const item : items) records.push_back(Ref::borrow(make(item)));
    return records;
  }

  Ref node_list() {
    return list_of(records_of(graph_.nodes, [&](LNode* each) { return node(each); }));
  }
  Ref edge_list() {
    return list_of(records_of(graph_.edges, [&](LEdge* each) { return edge(each); }));
  }
  Ref chain_list(const CallerEdge& caller_edge) {
    return list_of(records_of(caller_edge.chain, [&](LEdge* each) { return edge(each); }));
  }
  Ref layer_lists() {
    std::vector<Ref> lists;
    lists.reserve(static_cast<std::size_t>(graph_.layers.size()));
    for (std::int32_t i = 0; i < graph_.layers.size(); ++i) {
      lists.push_back(
          list_of(records_of(graph_.layers[i], [&](LNode* each) { return node(each); })));
    }
    return list_of(std::move(lists));
  }

 private:
  static Ref member(PyObject* enumeration, const char* name) {
    return check(PyObject_GetAttrString(enumeration, name));
  }

  // Makes a port and appends it to its node's list.
  PyObject* make_port(SegmentEnd end, const Text& id) {
    const bool in = end.side() == PortSide::WEST;
    PyObject* const owner = node(end.node());
    Ref record = check(PyObject_CallFunction(state_.lport, "OOOid", text_object(id).get(), owner,
                                             member(state_.port_side, in ? "WEST" : "EAST").get(),
                                             end.index(), end.offset()));
    const Field field = in ? Field::kInPorts : Field::kOutPorts;
    const Ref list = check(PyObject_GetAttr(owner, state_.field(field)));
    if (!PyList_Check(list.get())) {
      Fields(state_, owner).wrong_type(field, "a list", list.get());
    }
    check(PyList_Append(list.get(), record.get()));
    return (ports_[end.identity()] = std::move(record)).get();
  }

  const State& state_;
  const LGraph& graph_;
  // Records refer to one another, so that the collector would walk all of them again and again.
  const CollectorPause pause_;
  std::unordered_map<LNode*, Ref> nodes_;
  std::unordered_map<const void*, Ref> ports_;  // by SegmentEnd::identity()
  std::unordered_map<LEdge*, Ref> edges_;
};

// What splitting long edges has made.
struct GraphImage::Split {
  std::vector<Ref> nodes;                   // the new dummies
  std::vector<std::pair<Ref, Ref>> chains;  // keys and new lists
  Ref edges;                                // null where nothing was split
};

GraphImage::Split GraphImage::make_split(RecordWriter& writer) const {
  Split split;
  if ((use_.writes & SPLITS) == 0) return split;
  for (const std::int32_t index : unsplit_) {
    const CallerEdge& caller_edge = graph.caller_edges[index];
    if (caller_edge.chain.size() == 1) continue;
    split.chains.emplace_back(text_object(caller_edge.id), writer.chain_list(caller_edge));
  }
  if (split.chains.empty()) return split;
  for (std::size_t i = inside_; i < graph.nodes.size(); ++i) {
    split.nodes.push_back(Ref::borrow(writer.node(graph.nodes[i])));
  }
  split.edges = writer.edge_list();
  return split;
}

void GraphImage::write_back() {
  // Everything that makes records comes before the first one changes.
  RecordWriter writer(state_, graph);
  if ((use_.writes & (SPLITS | LAYERS)) != 0) writer.know(*this);
  const Split split = make_split(writer);
  const Ref layers = (use_.writes & LAYERS) != 0 ? writer.layer_lists() : Ref();
  if ((use_.writes & FLIPS) != 0) write_flips();
  write_nodes();
  if ((use_.writes & BENDS) != 0) write_bend_points();
  if (split.edges) write_split(split);
  if (layers) set(state_, record_.get(), Field::kLayers, layers);
}

void GraphImage::write_split(const Split& split) {
  const Fields fields(state_, record_.get());
  const Ref nodes = fields.get(Field::kNodes);
  if (PyList_Check(nodes.get())) {
    for (const Ref& node : split.nodes) check(PyList_Append(nodes.get(), node.get()));
  } else {
    std::vector<Ref> all = fields.items(Field::kNodes);
    for (const Ref& node : split.nodes) all.push_back(node.copy());
    set(state_, record_.get(), Field::kNodes, list_of(std::move(all)));
  }
  set(state_, record_.get(), Field::kEdges, split.edges);
  const Ref chains = fields.dict(Field::kChains);
  for (const auto& [id, chain] : split.chains) {
    check(PyDict_SetItem(chains.get(), id.get(), chain.get()));
  }
  set(state_, record_.get(), Field::kCounter, check(PyLong_FromUnsignedLong(graph._counter)));
}

void GraphImage::write_flips() {
  Ref reversed;
  for (const Edge& entry : edges_) {
    if (!entry.edge->reversed) continue;
    if (!reversed) reversed = Fields(state_, record_.get()).dict(Field::kReversedOriginals);
    const Fields fields(state_, entry.record.get());
    const Ref source = fields.get(Field::kSource);
    const Ref target = fields.get(Field::kTarget);
    set(state_, entry.record.get(), Field::kSource, target);
    set(state_, entry.record.get(), Field::kTarget, source);
    set(state_, entry.record.get(), Field::kReversed, truth_object(true));
    const Ref id = text_object(graph.caller_edges[entry.edge->caller_edge].id);
    check(PyDict_SetItem(reversed.get(), id.get(), Py_True));
  }
}

void GraphImage::write_nodes() {
  const Parts writes = use_.writes;
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    const Node& entry = nodes_[i];
    const LNode& node = *entry.node;
    PyObject* const record = entry.record.get();
    const bool inside = i < inside_;
    // A function that makes the layers puts every node of the graph into one.
    const bool layered = entry.layered || ((writes & LAYERS) != 0 && inside);
    if ((writes & LAYER_NUMBERS) != 0 && inside) {
      set(state_, record, Field::kLayer, check(PyLong_FromLong(node.layer)));
    }
    if ((writes & ORDERS) != 0 && layered && node.order != UNWRITTEN_ORDER) {
      set(state_, record, Field::kOrder, check(PyLong_FromLong(node.order)));
    }
    const bool placed = (writes & PLACES) != 0 && layered;
    const bool moves = (writes & (PLACES | MOVES)) != 0;
    if (placed || (moves && !same_bits(node.x, entry.x))) {
      set(state_, record, Field::kX, real_object(node.x));
    }
    if (placed || (moves && !same_bits(node.y, entry.y))) {
      set(state_, record, Field::kY, real_object(node.y));
    }
  }
}

void GraphImage::write_bend_points() {
  for (const Edge& entry : edges_) {
    if (entry.edge->bends == &unwritten_) continue;
    set(state_, entry.record.get(), Field::kBendPoints, bend_point_list(*entry.edge));
  }
}

Ref new_graph_record(const State& state, const LGraph& graph, const Payload& payload,
                     const Component& whole, PyObject* options) {
  RecordWriter writer(state, graph);
  const Ref nodes = writer.node_list();
  for (LNode* const node : graph.nodes) {
    writer.add_ports(node, payload, payload.nodes[whole.nodes[node->position]]);
  }
  const Ref edges = writer.edge_list();
  const Ref chains = check(PyDict_New());
  const Ref reversed = check(PyDict_New());
  for (const CallerEdge& caller_edge : graph.caller_edges) {
    const Ref id = text_object(caller_edge.id);
    check(PyDict_SetItem(chains.get(), id.get(), writer.chain_list(caller_edge).get()));
    check(PyDict_SetItem(reversed.get(), id.get(), Py_False));
  }
  return check(PyObject_CallFunctionObjArgs(state.lgraph, nodes.get(), edges.get(), options,
                                            chains.get(), reversed.get(), nullptr));
}

}  // namespace quillan::host
