// GraphImage: a Python LGraph read into the core, and the way back into the same objects.
//
// Only what the function's row in host/graph_use.hpp names is read and written. All is read before
// anything runs and all new objects are made before anything is written, so that a refused graph is
// left as it was.

#ifndef QUILLAN_HOST_GRAPH_IMAGE_HPP_
#define QUILLAN_HOST_GRAPH_IMAGE_HPP_

#include <map>
#include <vector>

#include "core/exchange/payload.hpp"
#include "core/graph/lgraph.hpp"
#include "host/fields.hpp"
#include "host/graph_use.hpp"
#include "host/record_index.hpp"
#include "host/state.hpp"
#include "host/texts.hpp"

namespace quillan::host {

class RecordWriter;

class GraphImage {
 public:
  // Bounds the layers of hand-made records, far beyond any drawing; every layer up to the largest
  // costs memory.
  static constexpr std::int64_t kMaxLayer = std::int64_t{1} << 24U;

  // The order of a node that no phase has ordered.
  static constexpr std::int32_t UNWRITTEN_ORDER = INT32_MIN;

  // An image of `record`, an LGraph. TypeError for a field of a wrong type and ValueError for one
  // out of its range, both naming the record and the field; ValueError for a node that stands in
  // `layers` twice.
  GraphImage(const State& state, Ref record, const GraphUse& use);
  GraphImage(const GraphImage&) = delete;
  GraphImage& operator=(const GraphImage&) = delete;

  // Ends of edges and members of layers outside LGraph.nodes are nodes of the image as well. Their
  // position is that of the node in LGraph.nodes with their id, or -1.
  vorn_layered::LGraph graph;

  // Writes what the function has changed; dummies and new segments become new records.
  void write_back();

 private:
  struct Node {
    vorn_layered::LNode* node;
    Ref record;
    bool layered;  // whether a layer holds it
    double x, y;   // as they were read
  };
  struct Port {
    vorn_layered::LPort* port;
    Ref record;
  };
  struct Edge {
    vorn_layered::LEdge* edge;
    Ref record;
  };

  void read_parts();
  void read_nodes();
  std::size_t node_index(PyObject* record);
  void read_node(PyObject* record, vorn_layered::GivenNode& node, bool inside);
  std::int32_t position_of(const vorn_layered::Text& id);
  vorn_layered::LPort* read_port(const Fields& edge, Field field);
  void read_edges();
  vorn_layered::LEdge* read_edge(PyObject* record, const char* where, bool ends);
  void read_bend_points(PyObject* record, vorn_layered::LEdge& edge);
  void read_chains();
  void read_reversed_originals();
  void read_layers();
  std::int32_t caller_edge_of(Ref text);

  struct Split;
  Split make_split(RecordWriter& writer) const;
  void write_split(const Split& split);
  void write_flips();
  void write_nodes();
  void write_bend_points();

  friend class RecordWriter;

  // What the bends of an edge are until a phase writes them.
  const std::span<vorn_layered::Point> unwritten_;

  const State& state_;
  Ref record_;
  Use use_;
  std::size_t inside_ = 0;  // how many nodes LGraph.nodes holds
  TextKeeper texts_;
  std::vector<Node> nodes_;  // those of LGraph.nodes first, in that order
  std::vector<Port> ports_;
  std::vector<Edge> edges_;
  RecordIndex node_indexes_;
  RecordIndex port_indexes_;
  RecordIndex edge_indexes_;
  std::map<std::string_view, std::int32_t> caller_edges_;
  std::map<std::string, std::int32_t, std::less<>> positions_;  // made when a node outside comes up
  std::vector<std::vector<Ref>> layer_items_;
  std::vector<std::int32_t> unsplit_;  // the caller's edges whose chains were read as one edge
};

// A new Python LGraph for a graph fresh from import of all of a payload. `options` becomes its
// `options` field.
Ref new_graph_record(const State& state, const vorn_layered::LGraph& graph,
                     const vorn_layered::Payload& payload, const vorn_layered::Component& whole,
                     PyObject* options);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_GRAPH_IMAGE_HPP_
