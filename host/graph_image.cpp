#include "host/graph_image.hpp"

#include <array>

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

Py_ssize_t size_of(const Ref& items) { return PyTuple_GET_SIZE(items.get()); }
PyObject* item_of(const Ref& items, Py_ssize_t index) {
  return PyTuple_GET_ITEM(items.get(), index);
}

// Calls `visit` with each key and value of pairs from Fields::dict_items().
template <typename Visit>
void for_each_pair(const Ref& pairs, Visit visit) {
  for (Py_ssize_t i = 0; i < size_of(pairs); ++i) {
    PyObject* const pair = item_of(pairs, i);
    visit(PyTuple_GET_ITEM(pair, 0), PyTuple_GET_ITEM(pair, 1));
  }
}

// The index of `value` among the members of an enumeration, which are their own names as text.
int member_of(const Fields& fields, Field field, const char* first, const char* second) {
  const Ref text = fields.text(field);
  if (PyUnicode_CompareWithASCIIString(text.get(), first) == 0) return 0;
  if (PyUnicode_CompareWithASCIIString(text.get(), second) == 0) return 1;
  fields.fail(PyExc_ValueError, "%R is no value of the enumeration", text.get());
}

Point read_point(const Fields& fields, PyObject* value) {
  const auto refuse = [&] {
    fields.fail(PyExc_TypeError, "bend_points must hold pairs of real numbers, not %R", value);
  };
  if (!PyTuple_Check(value) && !PyList_Check(value)) refuse();
  const Ref pair = check(PySequence_Tuple(value));
  if (PyTuple_GET_SIZE(pair.get()) != 2) refuse();
  std::array<double, 2> numbers{};
  for (std::size_t axis = 0; axis < 2; ++axis) {
    numbers[axis] = PyFloat_AsDouble(PyTuple_GET_ITEM(pair.get(), static_cast<Py_ssize_t>(axis)));
    if (numbers[axis] != -1.0 || PyErr_Occurred() == nullptr) continue;
    if (PyErr_ExceptionMatches(PyExc_TypeError) || PyErr_ExceptionMatches(PyExc_OverflowError)) {
      PyErr_Clear();
      refuse();
    }
    throw PythonError();
  }
  return {numbers[0], numbers[1]};
}

}  // namespace

GraphImage::GraphImage(const State& state, PyObject* record, LayerUse layer_use)
    : state_(state), record_(record), layer_use_(layer_use), texts_(graph.arena) {
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
  if (layer_use == LayerUse::kRead || layer_use == LayerUse::kReadAndWrite) read_layers();
}

void GraphImage::read_nodes() {
  const Ref items = Fields(state_, record_).list_items(Field::kNodes);
  for (Py_ssize_t i = 0; i < size_of(items); ++i) {
    PyObject* const record = item_of(items, i);
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
  LNode* node = graph.add_node(Text(texts_.keep(fields.text(Field::kId))),
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
  const Ref items = Fields(state_, record).list_items(in ? Field::kInPorts : Field::kOutPorts);
  const std::span<LPort> ports =
      graph.add_ports(node, side, static_cast<std::int32_t>(size_of(items)));
  for (Py_ssize_t i = 0; i < size_of(items); ++i) {
    PyObject* const port_record = item_of(items, i);
    require_instance(port_record, state_.lport, in ? "LNode.in_ports" : "LNode.out_ports");
    const Fields fields(state_, port_record);
    if (fields.get(Field::kNode).get() != record) {
      fields.fail(PyExc_ValueError, "its node is not the one that lists it");
    }
    if (member_of(fields, Field::kSide, "WEST", "EAST") != static_cast<int>(side)) {
      fields.fail(PyExc_ValueError,
                  in ? "an input port must have side WEST" : "an output port must have side EAST");
    }
    LPort& port = ports[i];
    port.id = Text(texts_.keep(fields.text(Field::kId)));
    port.offset = fields.real(Field::kOffset);
    port.index =
        static_cast<std::int32_t>(fields.integer(Field::kIndex, 0, vorn_layered::MAX_PORT_INDEX));
    if (!ports_.emplace(port_record, &port).second) {
      fields.fail(PyExc_ValueError, "stands twice among the ports of the graph");
    }
    kept_.push_back(Ref::borrow(port_record));
  }
}

std::int32_t GraphImage::origin_of(PyObject* text) {
  const vorn_layered::TextSource* source = texts_.keep(text_form(text));
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
  const Ref items = fields.list_items(Field::kBendPoints);
  edge.bend_points = graph.arena.array<Point>(static_cast<std::size_t>(size_of(items)), Point{});
  for (Py_ssize_t i = 0; i < size_of(items); ++i) {
    edge.bend_points[i] = read_point(fields, item_of(items, i));
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
  LEdge* edge = graph.make_segment(Text(texts_.keep(fields.text(Field::kId))), source, target,
                                   origin_of(origin_id.get()));
  edge->position = -1;
  edge->reversed = fields.truth(Field::kReversed);
  read_bend_points(record, *edge);
  edges_[record] = edge;
  return edge;
}

void GraphImage::read_edges() {
  const Ref items = Fields(state_, record_).list_items(Field::kEdges);
  for (Py_ssize_t i = 0; i < size_of(items); ++i) {
    LEdge* edge = read_edge(item_of(items, i));
    if (edge->position >= 0) {
      Fields(state_, item_of(items, i)).fail(PyExc_ValueError, "stands twice in LGraph.edges");
    }
    edge->position = static_cast<std::int32_t>(i);
    graph.edges.push_back(edge);
  }
}

void GraphImage::read_chains() {
  const Fields fields(state_, record_);
  const Ref chains = fields.dict_items(Field::kChains);
  // Keys first, so that the origins stand in the order of the mapping.
  for_each_pair(chains, [&](PyObject* key, PyObject* value) {
    if (!PyUnicode_Check(key)) fields.wrong_type(Field::kChains, "a dict with str keys", key);
    if (!PyList_Check(value)) fields.wrong_type(Field::kChains, "a dict of lists", value);
    graph.origins[origin_of(key)].has_chain = true;
  });
  for_each_pair(chains, [&](PyObject* key, PyObject* value) { read_chain(key, value); });
}

void GraphImage::read_chain(PyObject* key, PyObject* list) {
  const Ref items = check(PyList_AsTuple(list));
  const std::int32_t origin = origin_of(key);
  const std::size_t known = edges_.size();
  const std::span<LEdge*> chain =
      graph.arena.array<LEdge*>(static_cast<std::size_t>(size_of(items)), nullptr);
  for (Py_ssize_t i = 0; i < size_of(items); ++i) {
    chain[i] = read_edge(item_of(items, i));
    if (chain[i]->origin != origin) {
      Fields(state_, item_of(items, i))
          .fail(PyExc_ValueError, "stands in the chain of %R, which is not its origin_id", key);
    }
  }
  // Chains come before the other edges, and each edge is in the chain of its origin_id only.
  if (edges_.size() - known != chain.size()) {
    Fields(state_, record_).fail(PyExc_ValueError, "the chain of %R holds an edge twice", key);
  }
  graph.origins[origin].chain = chain;
}

void GraphImage::read_reversed_originals() {
  const Fields fields(state_, record_);
  const Ref reversed = fields.dict_items(Field::kReversedOriginals);
  for_each_pair(reversed, [&](PyObject* key, PyObject* value) {
    if (!PyUnicode_Check(key)) {
      fields.wrong_type(Field::kReversedOriginals, "a dict with str keys", key);
    }
    Origin& origin = graph.origins[origin_of(key)];
    origin.has_reversed = true;
    origin.reversed = check(PyObject_IsTrue(value)) != 0;
  });
}

void GraphImage::read_layers() {
  const Fields fields(state_, record_);
  const Ref lists = fields.list_items(Field::kLayers);
  if (size_of(lists) == 0) return;
  std::vector<bool> seen(graph.nodes.size(), false);
  for (Py_ssize_t i = 0; i < size_of(lists); ++i) read_layer(item_of(lists, i), seen);
  for (const LNode* node : graph.nodes) {
    if (seen[node->position]) continue;
    fields.fail(PyExc_ValueError, "layers lack node %R; rebuild_layers() regroups the nodes",
                static_cast<PyObject*>(const_cast<void*>(node->id.host())));
  }
}

void GraphImage::read_layer(PyObject* list, std::vector<bool>& seen) {
  const Fields fields(state_, record_);
  if (!PyList_Check(list)) fields.wrong_type(Field::kLayers, "a list of lists", list);
  const Ref items = check(PyList_AsTuple(list));
  std::vector<LNode*> members;
  for (Py_ssize_t i = 0; i < size_of(items); ++i) {
    PyObject* const record = item_of(items, i);
    require_instance(record, state_.lnode, "LGraph.layers");
    const auto found = nodes_.find(record);
    if (found == nodes_.end()) {
      Fields(state_, record).fail(PyExc_ValueError, "stands in LGraph.layers, not in LGraph.nodes");
    }
    if (seen[found->second->position]) {
      Fields(state_, record).fail(PyExc_ValueError, "stands twice in LGraph.layers");
    }
    seen[found->second->position] = true;
    members.push_back(found->second);
  }
  graph.layers.push_back(members);
}

}  // namespace quillan::host
