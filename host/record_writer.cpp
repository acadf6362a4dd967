#include <unordered_map>

#include "host/fields.hpp"
#include "host/graph_image.hpp"
#include "host/options.hpp"

namespace quillan::host {

using vorn_layered::LEdge;
using vorn_layered::LGraph;
using vorn_layered::LNode;
using vorn_layered::LPort;
using vorn_layered::Origin;
using vorn_layered::Point;
using vorn_layered::Text;

namespace {

Ref text_object(const Text& text) {
  if (text.host() != nullptr) {
    // The core hands back the object that it was given.
    return Ref::borrow(static_cast<PyObject*>(const_cast<void*>(text.host())));
  }
  return text_from_bytes(text.str());
}

Ref real_object(double value) { return check(PyFloat_FromDouble(value)); }

Ref optional_real(bool present, double value) {
  return present ? real_object(value) : Ref::borrow(Py_None);
}

Ref truth_object(bool value) { return Ref::borrow(value ? Py_True : Py_False); }

}  // namespace

// Makes the Python records of a core graph. Records that are known already are not made again.
class RecordWriter {
 public:
  RecordWriter(const State& state, const LGraph& graph) : state_(state), graph_(graph) {}

  // Takes over the records of an image.
  void know(const GraphImage& image) {
    for (const auto& [record, node] : image.nodes_) nodes_[node] = Ref::borrow(record);
    for (const auto& [record, port] : image.ports_) ports_[port] = Ref::borrow(record);
    for (const auto& [record, edge] : image.edges_) edges_[edge] = Ref::borrow(record);
  }

  PyObject* node(LNode* node) {
    Ref& record = nodes_[node];
    if (!record) {
      record = check(PyObject_CallFunction(
          state_.lnode, "OddOOOiiddOO", text_object(node->id).get(), node->width, node->height,
          member(state_.node_kind, node->is_dummy() ? "LONG_EDGE" : "NORMAL").get(),
          optional_real(node->has_origin_x, node->origin_x).get(),
          optional_real(node->has_origin_y, node->origin_y).get(), node->layer, node->order,
          node->x, node->y, check(PyList_New(0)).get(), check(PyList_New(0)).get()));
      add_ports(record.get(), node->in_ports, Field::kInPorts, "WEST");
      add_ports(record.get(), node->out_ports, Field::kOutPorts, "EAST");
    }
    return record.get();
  }

  PyObject* edge(LEdge* edge) {
    Ref& record = edges_[edge];
    if (!record) {
      record = check(PyObject_CallFunction(
          state_.ledge, "OOOOOO", text_object(edge->id).get(), port(edge->source),
          port(edge->target), text_object(graph_.origins[edge->origin].id).get(),
          truth_object(edge->reversed).get(), bend_points(*edge).get()));
    }
    return record.get();
  }

  PyObject* port(LPort* port) {
    node(port->node);
    return ports_[port].get();
  }

  Ref bend_points(const LEdge& edge) const {
    Ref list = check(PyList_New(static_cast<Py_ssize_t>(edge.bend_points.size())));
    for (std::size_t i = 0; i < edge.bend_points.size(); ++i) {
      const Point point = edge.bend_points[i];
      PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i),
                      check(Py_BuildValue("(dd)", point.x, point.y)).release());
    }
    return list;
  }

  template <typename Items, typename Make>
  static Ref list_of(Items&& items, Make make) {
    Ref list = check(PyList_New(static_cast<Py_ssize_t>(items.size())));
    for (std::size_t i = 0; i < items.size(); ++i) {
      PyObject* const record = make(items[i]);
      Py_INCREF(record);
      PyList_SET_ITEM(list.get(), static_cast<Py_ssize_t>(i), record);
    }
    return list;
  }

  Ref node_list() {
    return list_of(graph_.nodes, [&](LNode* each) { return node(each); });
  }
  Ref edge_list() {
    return list_of(graph_.edges, [&](LEdge* each) { return edge(each); });
  }
  Ref chain_map() {
    Ref map = check(PyDict_New());
    for (const Origin& origin : graph_.origins) {
      if (!origin.has_chain) continue;
      const Ref list = list_of(origin.chain, [&](LEdge* each) { return edge(each); });
      check(PyDict_SetItem(map.get(), text_object(origin.id).get(), list.get()));
    }
    return map;
  }
  Ref reversed_map() const {
    Ref map = check(PyDict_New());
    for (const Origin& origin : graph_.origins) {
      if (!origin.has_reversed) continue;
      check(PyDict_SetItem(map.get(), text_object(origin.id).get(),
                           truth_object(origin.reversed).get()));
    }
    return map;
  }
  Ref layer_lists() {
    Ref lists = check(PyList_New(graph_.layers.size()));
    for (std::int32_t i = 0; i < graph_.layers.size(); ++i) {
      PyList_SET_ITEM(lists.get(), i,
                      list_of(graph_.layers[i], [&](LNode* each) { return node(each); }).release());
    }
    return lists;
  }

 private:
  static Ref member(PyObject* enumeration, const char* name) {
    return check(PyObject_GetAttrString(enumeration, name));
  }

  void add_ports(PyObject* record, std::span<LPort> ports, Field field, const char* side) {
    const Ref list = check(PyObject_GetAttr(record, state_.field(field)));
    for (LPort& port : ports) {
      Ref made = check(PyObject_CallFunction(state_.lport, "OOOid", text_object(port.id).get(),
                                             record, member(state_.port_side, side).get(),
                                             port.index, port.offset));
      check(PyList_Append(list.get(), made.get()));
      ports_[&port] = std::move(made);
    }
  }

  const State& state_;
  const LGraph& graph_;
  std::unordered_map<LNode*, Ref> nodes_;
  std::unordered_map<LPort*, Ref> ports_;
  std::unordered_map<LEdge*, Ref> edges_;
};

namespace {

void set(const State& state, PyObject* record, Field field, const Ref& value) {
  check(PyObject_SetAttr(record, state.field(field), value.get()));
}

// The list or dict that the record has in `field`. It is filled anew, so that the caller's own
// reference to it stays good.
Ref container(const State& state, PyObject* record, Field field, PyTypeObject& type) {
  return Fields(state, record).instance(field, reinterpret_cast<PyObject*>(&type));
}

void refill(const Ref& list, const Ref& values) {
  check(PyList_SetSlice(list.get(), 0, PyList_GET_SIZE(list.get()), values.get()));
}

}  // namespace

void GraphImage::write_back() {
  RecordWriter writer(state_, graph);
  writer.know(*this);
  // Everything that can fail comes before the first record changes.
  const Ref nodes = writer.node_list();
  const Ref edges = writer.edge_list();
  const Ref chains = writer.chain_map();
  const Ref reversed = writer.reversed_map();
  const Ref layers = writer.layer_lists();
  const Ref old_nodes = container(state_, record_, Field::kNodes, PyList_Type);
  const Ref old_edges = container(state_, record_, Field::kEdges, PyList_Type);
  const Ref old_chains = container(state_, record_, Field::kChains, PyDict_Type);
  const Ref old_reversed = container(state_, record_, Field::kReversedOriginals, PyDict_Type);
  for (LNode* node : graph.nodes) {
    PyObject* const record = writer.node(node);
    set(state_, record, Field::kLayer, check(PyLong_FromLong(node->layer)));
    set(state_, record, Field::kOrder, check(PyLong_FromLong(node->order)));
    set(state_, record, Field::kX, real_object(node->x));
    set(state_, record, Field::kY, real_object(node->y));
  }
  for (LEdge* edge : graph.edges) {
    PyObject* const record = writer.edge(edge);
    set(state_, record, Field::kSource, Ref::borrow(writer.port(edge->source)));
    set(state_, record, Field::kTarget, Ref::borrow(writer.port(edge->target)));
    set(state_, record, Field::kReversed, truth_object(edge->reversed));
    set(state_, record, Field::kBendPoints, writer.bend_points(*edge));
  }
  refill(old_nodes, nodes);
  refill(old_edges, edges);
  check(PyDict_Update(old_chains.get(), chains.get()));
  check(PyDict_Update(old_reversed.get(), reversed.get()));
  if (layer_use_ == LayerUse::kWrite || layer_use_ == LayerUse::kReadAndWrite) {
    set(state_, record_, Field::kLayers, layers);
  }
  set(state_, record_, Field::kCounter, check(PyLong_FromUnsignedLong(graph._counter)));
}

Ref new_graph_record(const State& state, const LGraph& graph, PyObject* options) {
  RecordWriter writer(state, graph);
  return check(PyObject_CallFunction(state.lgraph, "OOOOOOk", writer.node_list().get(),
                                     writer.edge_list().get(), options, writer.chain_map().get(),
                                     writer.reversed_map().get(), writer.layer_lists().get(),
                                     static_cast<unsigned long>(graph._counter)));
}

}  // namespace quillan::host
