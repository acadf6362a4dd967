// GraphImage: a Python LGraph read into the core, and the way back into the same objects.
//
// Reading checks all that a phase relies on before anything runs, so that a graph that contradicts
// itself is refused and left as it was. Writing makes all new objects first.

#ifndef QUILLAN_HOST_GRAPH_IMAGE_HPP_
#define QUILLAN_HOST_GRAPH_IMAGE_HPP_

#include <unordered_map>
#include <vector>

#include "core/graph/lgraph.hpp"
#include "host/state.hpp"
#include "host/texts.hpp"

namespace quillan::host {

// What a function does with LGraph.layers. Where it does not look, layers that a changed graph has
// outgrown are no contradiction: assign_layers and rebuild_layers are how one repairs them.
enum class LayerUse : std::uint8_t { kNone, kRead, kWrite, kReadAndWrite };

class GraphImage {
 public:
  // Bounds the layers of hand-made records, far beyond any drawing; every layer up to the largest
  // costs memory.
  static constexpr std::int64_t kMaxLayer = std::int64_t{1} << 24U;

  // An image of `record`, an LGraph. TypeError for a field of a wrong type, ValueError for a graph
  // that contradicts itself; both name the record.
  GraphImage(const State& state, PyObject* record, LayerUse layer_use);
  GraphImage(const GraphImage&) = delete;
  GraphImage& operator=(const GraphImage&) = delete;

  vorn_layered::LGraph graph;

  // Writes the graph back: old records keep their identity, dummies and new segments become new
  // ones.
  void write_back();

 private:
  void read_nodes();
  vorn_layered::LNode* read_node(PyObject* record);
  void read_ports(PyObject* record, vorn_layered::LNode& node, vorn_layered::PortSide side);
  void read_edges();
  vorn_layered::LEdge* read_edge(PyObject* record);
  vorn_layered::LPort* port_of(PyObject* edge, Field field);
  void read_bend_points(PyObject* record, vorn_layered::LEdge& edge);
  void read_chains();
  void read_chain(PyObject* key, PyObject* list);
  void read_reversed_originals();
  void read_layers();
  void read_layer(PyObject* list, std::vector<bool>& seen);
  std::int32_t origin_of(PyObject* text);

  friend class RecordWriter;

  const State& state_;
  PyObject* record_;
  LayerUse layer_use_;
  TextKeeper texts_;
  std::vector<Ref> kept_;  // every record that the maps below point to
  std::unordered_map<PyObject*, vorn_layered::LNode*> nodes_;
  std::unordered_map<PyObject*, vorn_layered::LPort*> ports_;
  std::unordered_map<PyObject*, vorn_layered::LEdge*> edges_;
  std::unordered_map<std::string_view, std::int32_t> origins_;
};

// A new Python LGraph for a graph fresh from import. `options` becomes its `options` field.
Ref new_graph_record(const State& state, const vorn_layered::LGraph& graph, PyObject* options);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_GRAPH_IMAGE_HPP_
