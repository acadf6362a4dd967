#include "host/graph_image.hpp"

#include "host/fields.hpp"
#include "host/options.hpp"

namespace quillan::host {

using vorn_layered::LEdge;
using vorn_layered::LNode;
using vorn_layered::LPort;
using vorn_layered::NodeKind;
using vorn_layered::Origin;
using vorn_layered::Point;
using vorn_layered::PortSide;
using vorn_layered::Text;

namespace {

Py_ssize_t size_of(const Ref& list) { return PyList_GET_SIZE(list.get()); }
PyObject* item_of(const Ref& list, Py_ssize_t index) { return PyList_GET_ITEM(list.get(), index); }

// The index of `value` among the members of an enumeration, which are their own names as text.
int member_of(const Fields& fields, Field field, const char* first, const char* second) {
  const Ref text = fields.text(field);
  if (PyUnicode_CompareWithASCIIString(text.get(), first) == 0) return 0;
  if (PyUnicode_CompareWithASCIIString(text.get(), second) == 0) return 1;
  fields.fail(PyExc_ValueError, "%R is no value of the enumeration", text.get());
}

}  // namespace

GraphImage::GraphImage(const State& state, PyObject* record)
    : state_(state), record_(record), reader_(state, graph.arena) {
  if (check(PyObject_IsInstance(record, state.lgraph)) == 0) {
    PyErr_Format(PyExc_TypeError, "graph must be an LGraph, not %.200s", Py_TYPE(record)->tp_name);
    throw PythonError();
  }
  const Fields fields(state, record);
  graph.options = read_options(state, fields.instance(Field::kOptions, state.layout_options).get());
  graph._counter = static_cast<std::uint32_t>(fields.integer(Field::kCounter, 0, UINT32_MAX / 2));
  read_nodes();
  read_chains();
  read_edges();
  read_reversed_originals();
  read_layers();
}

void GraphImage::read_nodes() {
  const Ref list = Fields(state_, record_).list(Field::kNodes);
  for (Py_ssize_t i = 0; i < size_of(list); ++i) {
    PyObject* const record = item_of(list, i);
    require_instance(record, state_.lnode, "LGraph.nodes");
    if (!nodes_.emplace(record, nullptr).second) {
      Fields(state_, record).fail(PyExc_ValueError, "stands twice in LGraph.nodes");
    }
    kept_.push_back(Ref::borrow(record));
    nodes_[record] = read_node(record);
  }
}

LNode* GraphImage::read_node(PyObject* record) {
  const Fields fields(state_, record);
  LNode* node = graph.add_node(Text(reader_.keep(fields.text(Field::kId))),
                               fields.real(Field::kWidth), fields.real(Field::kHeight));
  node->kind = static_cast<NodeKind>(member_of(fields, Field::kKind, "NORMAL", "LONG_EDGE"));
  node->has_origin_x = fields.get(Field::kOriginX).get() != Py_None;
  node->has_origin_y = fields.get(Field::kOriginY).get() != Py_None;
  if (node->has_origin_x) node->origin_x = fields.real(Field::kOriginX);
  if (node->has_origin_y) node->origin_y = fields.real(Field::kOriginY);
  node->layer = static_cast<std::int32_t>(fields.integer(Field::kLayer, 0, kMaxLayer));
  node->order = static_cast<std::int32_t>(fields.integer(Field::kOrder, INT32_MIN, INT32_MAX));
  node->x = fields.real(Field::kX);
  node->y = fields.real(Field::kY);
  read_ports(record, *node, PortSide::WEST);
  read_ports(record, *node, PortSide::EAST);
  return node;
}

void GraphImage::read_ports(PyObject* record, LNode& node, PortSide side) {
  const bool in = side == PortSide::WEST;
  const Ref list = Fields(state_, record).list(in ? Field::kInPorts : Field::kOutPorts);
  const std::span<LPort> ports =
      graph.add_ports(node, side, static_cast<std::int32_t>(size_of(list)));
  for (Py_ssize_t i = 0; i < size_of(list); ++i) {
    PyObject* const port_record = item_of(list, i);
    require_instance(port_record, state_.lport, in ? "LNode.in_ports" : "LNode.out_ports");
    const Fields fields(state_, port_record);
    if (fields.get(Field::kNode).get() != record) {
      fields.fail(PyExc_ValueError, "its node is not the one that lists it");
    }
    if (member_of(fields, Field::kSide, "WEST", "EAST") != static_cast<int>(side)) {
      fields.fail(PyExc_ValueError, in ? "an input port must have side WEST"
                                       : "an output port must have side EAST");
    }
    LPort& port = ports[i];
    port.id = Text(reader_.keep(fields.text(Field::kId)));
    port.offset = fields.real(Field::kOffset);
    port.index = static_cast<std::int32_t>(fields.integer(Field::kIndex, 0, kMaxPortIndex));
    if (!ports_.emplace(port_record, &port).second) {
      fields.fail(PyExc_ValueError, "stands twice among the ports of the graph");
    }
    kept_.push_back(Ref::borrow(port_record));
  }
}

std::int32_t GraphImage::origin_of(PyObject* text) {
  const vorn_layered::TextSource* source = reader_.keep(Ref::borrow(text));
  const std::int32_t next = static_cast<std::int32_t>(graph.origins.size());
  const auto [entry, added] = origins_.emplace(source->bytes, next);
  if (added) graph.origins.push_back({Text(source), {}, false, false, false});
  return entry->second;
}

LPort* GraphImage::port_of(PyObject* edge, Field field) {
  const Fields fields(state_, edge);
  const Ref port = fields.instance(field, state_.lport);
  const auto found = ports_.find(port.get());
  if (found == ports_.end()) {
    const Ref id = Fields(state_, port.get()).get(Field::kId);
    fields.fail(PyExc_ValueError, "its port %R belongs to no node of the graph", id.get());
  }
  return found->second;
}

void GraphImage::read_bend_points(PyObject* record, LEdge& edge) {
  const Fields fields(state_, record);
  const Ref list = fields.list(Field::kBendPoints);
  edge.bend_points = graph.arena.array<Point>(static_cast<std::size_t>(size_of(list)), Point{});
  for (Py_ssize_t i = 0; i < size_of(list); ++i) {
    const Ref pair = Ref::borrow(item_of(list, i));
    const bool is_pair = (PyTuple_Check(pair.get()) || PyList_Check(pair.get())) &&
                         PySequence_Size(pair.get()) == 2;
    if (!is_pair) fields.fail(PyExc_TypeError, "bend_points must hold pairs, not %R", pair.get());
    for (const Py_ssize_t axis : {0, 1}) {
      const Ref number = check(PySequence_GetItem(pair.get(), axis));
      const double value = PyFloat_AsDouble(number.get());
      if (value == -1.0 && PyErr_Occurred()) throw PythonError();
      (axis == 0 ? edge.bend_points[i].x : edge.bend_points[i].y) = value;
    }
  }
}

LEdge* GraphImage::read_edge(PyObject* record) {
  require_instance(record, state_.ledge, "LGraph.edges and LGraph.chains");
  const auto [entry, added] = edges_.emplace(record, nullptr);
  if (!added) return entry->second;
  kept_.push_back(Ref::borrow(record));
  const Fields fields(state_, record);
  LPort* const source = port_of(record, Field::kSource);
  LPort* const target = port_of(record, Field::kTarget);
  const Ref origin_id = fields.text(Field::kOriginId);
  LEdge* edge = graph.make_segment(Text(reader_.keep(fields.text(Field::kId))), source, target,
                                   origin_of(origin_id.get()));
  edge->position = -1;
  edge->reversed = fields.truth(Field::kReversed);
  read_bend_points(record, *edge);
  edges_[record] = edge;
  return edge;
}

void GraphImage::read_edges() {
  const Ref list = Fields(state_, record_).list(Field::kEdges);
  for (Py_ssize_t i = 0; i < size_of(list); ++i) {
    LEdge* edge = read_edge(item_of(list, i));
    if (edge->position >= 0) {
      Fields(state_, item_of(list, i)).fail(PyExc_ValueError, "stands twice in LGraph.edges");
    }
    edge->position = static_cast<std::int32_t>(i);
    graph.edges.push_back(edge);
  }
}

void GraphImage::read_chains() {
  const Fields fields(state_, record_);
  const Ref chains = fields.dictionary(Field::kChains);
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  // Keys first, so that the origins stand in the order of the mapping.
  for (Py_ssize_t at = 0; PyDict_Next(chains.get(), &at, &key, &value) != 0;) {
    if (!PyUnicode_CheckExact(key)) fields.wrong_type(Field::kChains, "a dict with str keys", key);
    if (!PyList_Check(value)) fields.wrong_type(Field::kChains, "a dict of lists", value);
    graph.origins[origin_of(key)].has_chain = true;
  }
  for (Py_ssize_t at = 0; PyDict_Next(chains.get(), &at, &key, &value) != 0;) {
    const Ref list = check(PyList_GetSlice(value, 0, PyList_GET_SIZE(value)));
    const std::span<LEdge*> chain =
        graph.arena.array<LEdge*>(static_cast<std::size_t>(size_of(list)), nullptr);
    for (Py_ssize_t i = 0; i < size_of(list); ++i) chain[i] = read_edge(item_of(list, i));
    graph.origins[origin_of(key)].chain = chain;
  }
}

void GraphImage::read_reversed_originals() {
  const Fields fields(state_, record_);
  const Ref reversed = fields.dictionary(Field::kReversedOriginals);
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  for (Py_ssize_t at = 0; PyDict_Next(reversed.get(), &at, &key, &value) != 0;) {
    if (!PyUnicode_CheckExact(key)) {
      fields.wrong_type(Field::kReversedOriginals, "a dict with str keys", key);
    }
    Origin& origin = graph.origins[origin_of(key)];
    origin.has_reversed = true;
    origin.reversed = check(PyObject_IsTrue(value)) != 0;
  }
}

void GraphImage::read_layers() {
  const Fields fields(state_, record_);
  const Ref lists = fields.list(Field::kLayers);
  if (size_of(lists) == 0) return;
  std::vector<bool> seen(graph.nodes.size(), false);
  std::size_t count = 0;
  std::vector<LNode*> members;
  for (Py_ssize_t i = 0; i < size_of(lists); ++i) {
    PyObject* const layer = item_of(lists, i);
    if (!PyList_Check(layer)) fields.wrong_type(Field::kLayers, "a list of lists", layer);
    members.clear();
    for (Py_ssize_t j = 0; j < PyList_GET_SIZE(layer); ++j) {
      const auto found = nodes_.find(PyList_GET_ITEM(layer, j));
      if (found == nodes_.end() || seen[found->second->position]) {
        const Ref item = Ref::borrow(PyList_GET_ITEM(layer, j));
        fields.fail(PyExc_ValueError,
                    "layers must hold every node of the graph once; %R does not fit", item.get());
      }
      seen[found->second->position] = true;
      members.push_back(found->second);
      ++count;
    }
    graph.layers.push_back(members);
  }
  if (count != graph.nodes.size()) {
    fields.fail(PyExc_ValueError, "layers must hold every node of the graph once");
  }
}

}  // namespace quillan::host
