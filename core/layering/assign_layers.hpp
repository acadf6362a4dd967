// Phase 2: an integer layer for every node, and the split of every long edge.

#ifndef QUILLAN_CORE_LAYERING_ASSIGN_LAYERS_HPP_
#define QUILLAN_CORE_LAYERING_ASSIGN_LAYERS_HPP_

#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

// Runs phase 2 in place. REQUIRES: an acyclic graph without dummies. Afterwards every node has a
// layer of 0 or more and the smallest is 0, every segment joins a layer to the next, and `layers`
// lists the nodes of each layer in `nodes` order. Throws SizeFault beyond MAX_DUMMIES_PER_GRAPH.
void assign_layers(LGraph& graph);

// As early as possible: every node one past its latest predecessor. Linear.
void _layer_longest_path(LGraph& graph);

// From the columns that the user sees: nodes whose boxes overlap along the flow axis share a layer;
// a walk in topological order then pushes every node behind its predecessors. n log n.
void _layer_interactive(LGraph& graph);

// The same for a drawing that is to keep still, where _layer_interactive() would tear columns
// apart: a node set between two columns makes one layer of them there, and those that follow one
// another leave it one by one. Here such a node gets a layer of its own, a column whose nodes
// depend on one another as many as it takes, and all nodes behind it move on together. Without such
// nodes both give the same layers. n log n.
void layer_by_columns(LGraph& graph);

// A layering of small total span, by network simplex with a cap on its pivots.
void _layer_network_simplex(LGraph& graph);

// A layering of least total span for a graph of any size, see LeastLength. Among several, the one
// that its pivots lead to from the longest paths.
void layer_minimum_length(LGraph& graph);

// Shifts all layers so that the smallest is 0.
void _normalise_layers(LGraph& graph);

// Splits every edge that spans more than one layer into segments joined by dummies of no size, one
// per layer in between. Works from the chains of one segment; a second run changes nothing. Linear
// in edges plus new dummies. Throws SizeFault beyond MAX_DUMMIES_PER_GRAPH, before anything is
// changed.
void insert_dummy_nodes(LGraph& graph);

// What becomes of the layer that a node has where it has predecessors.
enum class OwnLayer : std::uint8_t { KEEP, DROP };

// Walks the nodes in topological order and sets the layer of each node with predecessors to one
// past the last of theirs; a kept layer of its own is a lower bound. An edge into a node outside
// the graph is passed over. Linear.
void push_behind_predecessors(LGraph& graph, OwnLayer keep);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_LAYERING_ASSIGN_LAYERS_HPP_
