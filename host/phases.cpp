// The phases one at a time, on Python records.

#include "core/components.hpp"
#include "core/crossings/counting.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/cycles/break_cycles.hpp"
#include "core/exchange/build_graph.hpp"
#include "core/exchange/results.hpp"
#include "core/layering/assign_layers.hpp"
#include "core/placement/place_nodes.hpp"
#include "core/routing/route_edges.hpp"
#include "core/vorn_layered.hpp"
#include "host/arguments.hpp"
#include "host/functions.hpp"
#include "host/graph_image.hpp"
#include "host/objects.hpp"
#include "host/options.hpp"
#include "host/payload_reader.hpp"
#include "host/results.hpp"

namespace quillan::host {

using vorn_layered::Arena;
using vorn_layered::LGraph;
using vorn_layered::Point;

namespace {

PyCFunction with_keywords(PyObject* (*function)(PyObject*, PyObject*, PyObject*)) {
  return reinterpret_cast<PyCFunction>(reinterpret_cast<void*>(function));
}

// The image of the one LGraph that a function is given, by position or as `graph`.
class GraphArgument {
 public:
  GraphArgument(PyObject* module, PyObject* args, PyObject* kwargs, const GraphUse& use)
      : given_(args, kwargs, (std::string("O:") + use.name).c_str(), {"graph"}),
        image(state_of(module), Ref::borrow(given_[0]), use) {}

 private:
  Arguments<1> given_;

 public:
  GraphImage image;
};

// Reads the graph, runs a phase on it and writes it back.
template <void (*Phase)(LGraph&), const GraphUse& Row>
PyObject* run_phase(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    GraphArgument argument(module, args, kwargs, Row);
    Phase(argument.image.graph);
    argument.image.write_back();
    return Py_NewRef(Py_None);
  });
}

PyObject* build_graph(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    const Arguments<3> given(args, kwargs, "OO|O:build_graph", {"nodes", "edges", "options"});
    const State& state = state_of(module);
    const bool by_default = given[2] == nullptr || given[2] == Py_None;
    const Ref options =
        by_default ? check(PyObject_CallNoArgs(state.layout_options)) : Ref::borrow(given[2]);
    require_options(state, options.get());
    const Ref resolved = resolved_options(state, options.get());
    LGraph graph;
    read_options(state, resolved.get(), DIRECTION, graph.options);
    PayloadReader reader(state, given[0], given[1], graph.arena);
    Arena arena;
    const vorn_layered::Components whole = vorn_layered::undivided(reader.payload(), arena);
    reader.read(whole[0], graph.options.direction);
    vorn_layered::build_graph(reader.payload(), whole[0], graph);
    return new_graph_record(state, graph, reader.payload(), whole[0], resolved.get()).release();
  });
}

PyObject* graph_extent(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    const GraphArgument argument(module, args, kwargs, uses::GRAPH_EXTENT);
    const vorn_layered::Extent extent = vorn_layered::graph_extent(argument.image.graph);
    return point_object(extent.flow, extent.cross).release();
  });
}

PyObject* node_positions(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    const GraphArgument argument(module, args, kwargs, uses::NODE_POSITIONS);
    std::vector<vorn_layered::NodePosition> positions;
    vorn_layered::node_positions(argument.image.graph,
                                 vorn_layered::graph_extent(argument.image.graph).flow, Point{},
                                 positions);
    return position_map(positions).release();
  });
}

PyObject* edge_routes(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    const GraphArgument argument(module, args, kwargs, uses::EDGE_ROUTES);
    vorn_layered::EdgeRoutes found;
    vorn_layered::edge_routes(argument.image.graph,
                              vorn_layered::graph_extent(argument.image.graph).flow, Point{},
                              found);
    const CollectorPause pause;
    return route_map(found, pause).release();
  });
}

// The caller's mappings at these positions, as a list.
template <typename MappingAt>
Ref members(std::span<const std::int32_t> positions, MappingAt mapping_at) {
  std::vector<Ref> items;
  items.reserve(positions.size());
  for (const std::int32_t position : positions) items.push_back(Ref::borrow(mapping_at(position)));
  return list_of(items);
}

PyObject* weakly_connected_components(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    const Arguments<2> given(args, kwargs, "OO:weakly_connected_components", {"nodes", "edges"});
    Arena arena;
    const PayloadReader reader(state_of(module), given[0], given[1], arena);
    const vorn_layered::Components found =
        vorn_layered::weakly_connected_components(reader.payload(), arena);
    const auto node = [&](std::int32_t number) { return reader.node(number); };
    const auto edge = [&](std::int32_t number) { return reader.edge(number); };
    std::vector<Ref> result;
    for (std::int32_t i = 0; i < found.size(); ++i) {
      const Ref member_nodes = members(found.nodes[i], node);
      const Ref member_edges = members(found.edges[i], edge);
      result.push_back(check(PyTuple_Pack(2, member_nodes.get(), member_edges.get())));
    }
    return list_of(result).release();
  });
}

PyObject* count_crossings(PyObject* module, PyObject* args, PyObject* kwargs) {
  return guarded([&]() -> PyObject* {
    GraphArgument argument(module, args, kwargs, uses::COUNT_CROSSINGS);
    return check(PyLong_FromLongLong(vorn_layered::count_crossings(argument.image.graph)))
        .release();
  });
}

constexpr int kKeywords = METH_VARARGS | METH_KEYWORDS;

}  // namespace

PyMethodDef BUILD_FUNCTIONS[] = {
    {"build_graph", with_keywords(build_graph), kKeywords,
     R"doc(build_graph(nodes, edges, options=None)
--

Read a payload, as `layout` takes it, into a new `LGraph` in the normalised frame.

Sizes and positions are exchanged for DOWN and UP and are otherwise the caller's numbers.
`graph.options` is `options.resolved()`. Edges with an unknown end and edges from a node to itself
are skipped; a default edge id counts positions in `edges`. The graph is
not split into connected parts: `weakly_connected_components` does that, and `layout` builds one graph
for each part. Nodes with the same id all become nodes, and edges go to the last of them.

Raises what `layout` raises. Linear in nodes, edges and ports.
)doc"},
    {"graph_extent", with_keywords(graph_extent), kKeywords,
     R"doc(graph_extent(graph)
--

The `(flow, cross)` extent of a graph, from 0.0 to its farthest box, dummies included.

Normalised frame; never negative, (0.0, 0.0) for a graph without nodes. Linear in the nodes.

Reads: of the graph `nodes`; of nodes `x`, `y`, `width`, `height`.

Raises TypeError or ValueError, naming the record and the field, for a value that it cannot read.
)doc"},
    {"node_positions", with_keywords(node_positions), kKeywords,
     R"doc(node_positions(graph)
--

Top-left corners of the real nodes, in the caller's frame: a dict from id to `(x, y)`, in the order of
`nodes`.

Reads: of the graph `nodes`; of nodes `id`, `kind`, `x`, `y`, `width`, `height`; of the options
`direction`.

Parts are not packed; `layout` does that. Linear in the nodes. Raises what `graph_extent` raises.
)doc"},
    {"edge_routes", with_keywords(edge_routes), kKeywords,
     R"doc(edge_routes(graph)
--

Polylines of the edges, in the caller's frame: a dict from edge id to a list of `(x, y)`, in the order
of `chains`.

Reads: of the graph `nodes`, `chains`, `reversed_originals`; of nodes `x`, `y`, `width`, `height`; of
edges `source`, `target`, `bend_points`; of ports `node`, `side`, `offset`; of the options `direction`.

An edge that phase 1 reversed has none. Points run from source port to target port; a point within
1e-6 of its predecessor on both axes is dropped. Linear in segments and bend points. Raises what
`graph_extent` raises.
)doc"},
    {"weakly_connected_components", with_keywords(weakly_connected_components), kKeywords,
     R"doc(weakly_connected_components(nodes, edges)
--

Split a payload into disjoint parts: a list of `(member_nodes, member_edges)`, lists of the
caller's own mappings in payload order.

Parts are in the order of their first nodes. An edge with an unknown end is in no part; an edge from a
node to itself is in the part of that node. Of several nodes with the same id the last one counts.

Raises KeyError for a node without "id" and TypeError for an item that is not a mapping. Near-linear,
by union-find (Tarjan and van Leeuwen, "Worst-case Analysis of Set Union Algorithms", 1984).
)doc"},
    {"break_cycles", with_keywords(run_phase<vorn_layered::break_cycles, uses::BREAK_CYCLES>),
     kKeywords,
     R"doc(break_cycles(graph)
--

Phase 1: flip edges in place until the graph has no cycle.

`graph.options.cycle_breaking_strategy` chooses the order of the nodes against which no edge may
run. A flipped edge has its source and target exchanged; its ports keep their sides.

Reads: of the graph `nodes`, `edges`; of nodes `id`; of edges `source`, `target`, `origin_id`; of ports
`node`; of the options `cycle_breaking_strategy`. With "INTERACTIVE" also: of nodes `origin_x`,
`origin_y`; of the options `direction`. With "INTERACTIVE" under LEFT and UP also: of nodes `width`.

Writes: into the graph's `reversed_originals`; of edges `source`, `target`, `reversed`.

Raises TypeError or ValueError, naming the record and the field, for a value that it cannot read;
the graph is then left as it was. Near-linear; "INTERACTIVE" sorts the nodes. (Eades, Lin and
Smyth, "A Fast and Effective Heuristic for the Feedback Arc Set Problem", 1993; Tarjan,
"Depth-First Search and Linear Graph Algorithms", 1972.)
)doc"},
    {nullptr, nullptr, 0, nullptr}};

PyMethodDef PHASE_FUNCTIONS[] = {
    {"assign_layers", with_keywords(run_phase<vorn_layered::assign_layers, uses::ASSIGN_LAYERS>),
     kKeywords,
     R"doc(assign_layers(graph)
--

Phase 2: give every node a layer from 0, split long edges by dummies, and fill `graph.layers`.

Expects the acyclic graph that phase 1 leaves. `graph.options.layering_strategy` chooses.
"NETWORK_SIMPLEX", which makes the total length of the edges small, is used for up to
NETWORK_SIMPLEX_NODE_LIMIT nodes, "LONGEST_PATH" beyond; "MINIMUM_LENGTH" makes it as small as possible
at any size. Afterwards every segment of an edge in `graph.chains` joins a layer to the next.

Reads: of the graph `nodes`, `edges`, `chains`, `_counter`; of nodes `id`, `order`, `origin_x`,
`origin_y`; of edges `id`, `source`, `target`, `origin_id`; of ports `node`; of the options
`layering_strategy`. With "INTERACTIVE" also: of nodes `width`; of the options `direction`,
`placement_strategy`.

Writes: of the graph `layers`; of nodes `layer`, `order`; where an edge is split, also into the graph's
`nodes`, `chains`; of the graph `edges`, `_counter`.

Raises what `break_cycles` raises, and MemoryError if splitting would take more than 2**23 dummies.
Linear in nodes, edges and dummies; n log n for "INTERACTIVE"; up to 300 pivots for "NETWORK_SIMPLEX",
and for "MINIMUM_LENGTH" as many as it takes, within 1000 steps for each node and edge. (Gansner, Koutsofios, North and Vo, "A Technique for Drawing Directed Graphs", 1993,
section 2.)
)doc"},
    {"insert_dummy_nodes",
     with_keywords(run_phase<vorn_layered::insert_dummy_nodes, uses::INSERT_DUMMY_NODES>),
     kKeywords,
     R"doc(insert_dummy_nodes(graph)
--

Split every edge that spans more than one layer into segments joined by dummies of no size.

`assign_layers` does this too. A second run changes nothing, and `graph.layers` is left to
`rebuild_layers`.

Reads: of the graph `edges`, `chains`, `_counter`; of nodes `layer`, `origin_x`, `origin_y`; of edges
`id`, `source`, `target`, `origin_id`; of ports `node`. Looks only at the nodes and edges that entries
of `chains` with one edge lead to.

Writes: where an edge is split, into the graph's `nodes`, `chains`; of the graph `edges`, `_counter`.

Raises what `assign_layers` raises. Linear in edges plus new dummies.
)doc"},
    {"count_crossings", with_keywords(count_crossings), kKeywords,
     R"doc(count_crossings(graph)
--

The number of crossings between segments of neighbouring layers, for `graph.layers` as it is.

The order of ports counts at both ends. A graph without layers has no crossings.

Reads: of the graph `nodes`, `edges`, `layers`; of nodes `id`; of edges `source`, `target`; of ports
`node`, `index`.

Raises what `break_cycles` raises, and KeyError with the id of an end that is not in `graph.nodes`.
s log s for s segments (Barth, Juenger and Mutzel, "Simple and Efficient Bilayer Cross Counting",
2002).
)doc"},
    {"reduce_crossings",
     with_keywords(run_phase<vorn_layered::reduce_crossings, uses::REDUCE_CROSSINGS>), kKeywords,
     R"doc(reduce_crossings(graph)
--

Phase 3: reorder the nodes inside `graph.layers` to cut crossings, and write their `order`.

`graph.options.crossing_strategy` chooses the initial order and how it is improved; "NONE" keeps the
order that is there, and "KEEP" the one that the user sees. `thoroughness` limits the effort. Sweeps and
sifting never leave more crossings than the initial order.

Reads: of the graph `layers`; of the options `crossing_strategy`. With any but "NONE" also: of the
graph `nodes`, `edges`; of nodes `id`; of edges `source`, `target`; of ports `node`, `index`; of the
options `thoroughness`. With "INTERACTIVE" and "KEEP" also: of nodes `origin_x`, `origin_y`; of the
options `direction`. With "INTERACTIVE" under LEFT and UP also: of nodes `width`. With "KEEP" also: of
nodes `width`, `height`, `kind`; of ports `offset`; of the options `spacing_node_node`,
`spacing_edge_edge`, `spacing_edge_node`. Of fewer than two layers nothing else is read.

Writes: of nodes `order`. With any but "NONE" also: of the graph `layers`.

Raises what `count_crossings` raises, and TypeError if sweeps are made and `thoroughness` is not an
integer. s log s for s segments, times the sweeps. (Sugiyama, Tagawa and Toda, "Methods for
Visual Understanding of Hierarchical System Structures", 1981; Gansner, Koutsofios, North and Vo,
1993, section 3.)
)doc"},
    {"place_nodes", with_keywords(run_phase<vorn_layered::place_nodes, uses::PLACE_NODES>),
     kKeywords,
     R"doc(place_nodes(graph)
--

Phase 4: coordinates of all nodes, dummies included, in the normalised frame.

A graph without layers is left alone. The boxes of a layer keep their spacings, unless these are
negative, and the smallest coordinates are the paddings. `graph.options.placement_strategy` chooses.

Reads: of the graph `nodes`, `edges`, `layers`; of nodes `id`, `width`, `height`, `kind`, `order`; of
edges `source`, `target`; of ports `node`; of the options `placement_strategy`, `spacing_node_node`,
`spacing_node_node_between_layers`, `spacing_edge_edge`, `spacing_edge_node`, `padding_left`,
`padding_top`. With "NETWORK_SIMPLEX" also: of the graph `reversed_originals`; of edges `origin_id`; of
ports `offset`. With "INTERACTIVE" also: of nodes `origin_x`, `origin_y`; of ports `offset`; of the
options `direction`.

Writes: of nodes `x`, `y`.

Raises what `count_crossings` raises. Near-linear; "NETWORK_SIMPLEX" takes as many pivots as it
needs, within 1000 steps for each node and edge. (Brandes and Koepf, "Fast and Simple Horizontal
Coordinate Assignment", 2002; Gansner, Koutsofios, North and Vo, 1993, section 4.)
)doc"},
    {"route_edges", with_keywords(run_phase<vorn_layered::route_edges, uses::ROUTE_EDGES>),
     kKeywords,
     R"doc(route_edges(graph)
--

Phase 5: `bend_points` of all segments, in the normalised frame.

With "ORTHOGONAL", segments in a gap between layers that overlap across the flow get separate tracks,
and layers behind a gap that is too narrow for its tracks move along the flow: their `x` changes. With
"ORTHOGONAL_ORDERED", edges of one port share their run across the flow; these runs are ordered so that
edges cross as rarely as the layers allow; no two edges of different ports overlap; and dummies move
across the flow, by their `y`, where that removes a bend from a long edge or lays two of one port onto
one line. Segments then have up to four bend points. With "POLYLINE", or an unknown value, segments are straight and have no bend points.

Reads: of the graph `edges`; of the options `edge_routing`. With "ORTHOGONAL" and
"ORTHOGONAL_ORDERED" also: of the graph `nodes`, `layers`; of nodes `id`, `width`, `layer`, `x`, `y`; of edges
`source`, `target`; of ports `node`, `offset`; of the options `placement_strategy`,
`spacing_edge_edge`, `spacing_edge_node`. With "ORTHOGONAL_ORDERED" also: of the graph `chains`,
`reversed_originals`; of nodes `height`, `kind`; of edges `origin_id`; of ports `side`, `index`; of the
options `spacing_node_node`.

Writes: of edges `bend_points`. With "ORTHOGONAL" and "ORTHOGONAL_ORDERED" also: of nodes `x`. With
"ORTHOGONAL_ORDERED" also: of nodes `y`.

Raises what `count_crossings` raises. s log s for s segments: greedy colouring of intervals, each
taking the first free track.
)doc"},
    {"run_phases", with_keywords(run_phase<vorn_layered::run_phases, uses::RUN_PHASES>), kKeywords,
     R"doc(run_phases(graph)
--

Phases 1 to 5 in place, on a connected graph fresh from `build_graph` or made by hand.

The same as calling `break_cycles`, `assign_layers`, `reduce_crossings`, `place_nodes` and
`route_edges` in turn. Raises what they raise; a failure in any phase leaves the graph as it was.
)doc"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace quillan::host
