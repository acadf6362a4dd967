// Graphs for the tests, drawn from a seed or from a fuzzer's bytes.

#ifndef QUILLAN_TESTS_CORE_RANDOM_GRAPHS_HPP_
#define QUILLAN_TESTS_CORE_RANDOM_GRAPHS_HPP_

#include <cstdint>
#include <numeric>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/cycles/break_cycles.hpp"
#include "core/exchange/build_graph.hpp"
#include "core/graph/lgraph.hpp"
#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered::testing {

// The standard distributions differ from library to library; these draws do not. They come from a
// seed, or from a fuzzer's bytes and then zeros.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  explicit Random(std::span<const std::uint8_t> bytes) : from_bytes_(true), bytes_(bytes) {}

  std::uint64_t bits(int byte_count = 8) {
    if (!from_bytes_) return engine_();
    std::uint64_t value = 0;
    for (; byte_count > 0 && !bytes_.empty(); --byte_count, bytes_ = bytes_.subspan(1)) {
      value = value << 8U | bytes_.front();
    }
    return value;
  }
  std::int32_t below(std::int32_t bound) {
    return static_cast<std::int32_t>(bits(bound <= 256 ? 1 : 4) %
                                     static_cast<std::uint64_t>(bound));
  }
  std::int32_t between(std::int32_t least, std::int32_t most) {
    return least + below(most - least + 1);
  }
  bool chance(int percent) { return below(100) < percent; }
  template <typename T, std::size_t N>
  T pick(const T (&choices)[N]) {
    return choices[below(N)];
  }
  std::vector<std::int32_t> permutation(std::int32_t count) {
    std::vector<std::int32_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    for (std::int32_t i = count; i > 1; --i) std::swap(order[i - 1], order[below(i)]);
    return order;
  }

 private:
  std::mt19937_64 engine_;
  bool from_bytes_ = false;
  std::span<const std::uint8_t> bytes_;
};

// Sums of integers are exact, sums of decimals are off by last bits, SEVENTHS have no short sums.
enum class Grid { INTEGERS, DECIMALS, SEVENTHS };

inline double size_on(Grid grid, Random& random) {
  if (grid == Grid::INTEGERS) return random.between(1, 80);
  return random.between(1, 800) / (grid == Grid::DECIMALS ? 10.0 : 7.0);
}

// "e7" of "e" and 7.
inline std::string numbered(const char* letter, std::int32_t number) {
  std::string name = letter;
  name.append(std::to_string(number));
  return name;
}

using Numbers = std::vector<std::int32_t>;

inline Numbers list(std::span<const std::int32_t> items) { return {items.begin(), items.end()}; }

struct TestEdge {
  std::int32_t source = 0;
  std::int32_t target = 0;
  std::int32_t source_port = 0;
  std::int32_t target_port = 0;
};

// Edges are called "e0", "e1" and so on.
struct TestGraph : LGraph {
  GivenNode* put_node(std::string_view id, double width, double height, std::int32_t ins,
                      std::int32_t outs) {
    GivenNode* node = add_node(copy_text(id), width, height);
    for (const PortSide side : {PortSide::WEST, PortSide::EAST}) {
      const std::int32_t count = side == PortSide::WEST ? ins : outs;
      for (LPort& port : add_ports(*node, side, count)) {
        port.offset = height / (count + 1) * (port.index + 1);
      }
    }
    return node;
  }
  LEdge* put_edge(const TestEdge& link) {
    return add_edge(copy_text(numbered("e", static_cast<std::int32_t>(edges.size()))),
                    _pick_port(*this, link.source, link.source_port, PortSide::EAST),
                    _pick_port(*this, link.target, link.target_port, PortSide::WEST));
  }
};

struct Shape {
  std::int32_t nodes = 0;
  std::int32_t edges = 0;
  std::int32_t ports = 1;  // at most, on a side
  Grid grid = Grid::INTEGERS;
  bool chain = false;  // whether an edge leads from every node to the next one
};

// Anything between all but empty and dense, and now and then with more ports than keys provide for.
inline Shape random_shape(Random& random, std::int32_t most_nodes) {
  const std::int32_t nodes = random.between(1, most_nodes);
  return {nodes, random.below(nodes * 2 + 1), random.pick({1, 2, 4, 70, 300}),
          random.pick({Grid::INTEGERS, Grid::DECIMALS, Grid::SEVENTHS})};
}

// A graph as import leaves it: with cycles and parallel edges, and with ids in another order than
// the nodes. Original coordinates lie on a coarse grid, so that they tie; some are absent.
inline void fill_random(TestGraph& graph, Random& random, const Shape& shape) {
  const std::vector<std::int32_t> names = random.permutation(shape.nodes);
  for (const std::int32_t name : names) {
    // A statement each: compilers differ in the order of arguments.
    const double width = size_on(shape.grid, random);
    const double height = size_on(shape.grid, random);
    const std::int32_t ins = random.between(1, shape.ports);
    const std::int32_t outs = random.between(1, shape.ports);
    GivenNode* node = graph.put_node(numbered("n", name), width, height, ins, outs);
    node->has_origin_x = random.chance(85);
    node->has_origin_y = random.chance(85);
    node->origin_x = random.below(6) * 60.0;
    node->origin_y = random.below(6) * 40.0;
  }
  if (shape.nodes < 2) return;
  for (std::int32_t i = 0; shape.chain && i + 1 < shape.nodes; ++i) graph.put_edge({i, i + 1});
  for (std::int32_t i = 0; i < shape.edges; ++i) {
    TestEdge link{random.below(shape.nodes), random.below(shape.nodes), random.below(shape.ports),
                  random.below(shape.ports)};
    if (link.source == link.target) link.target = (link.target + 1) % shape.nodes;
    graph.put_edge(link);
    if (random.chance(10)) graph.put_edge(link);
  }
}

// The same after phase 2, with dummies.
inline void fill_layered(TestGraph& graph, Random& random, const Shape& shape) {
  fill_random(graph, random, shape);
  break_cycles(graph);
  graph.options.layering_strategy = random.chance(50) ? "LONGEST_PATH" : "NETWORK_SIMPLEX";
  assign_layers(graph);
}

// Moves all layers from `first` on by one, which leaves an empty layer and segments that skip it.
inline void open_gap(LGraph& graph, std::int32_t first) {
  for (LNode* node : graph.nodes) node->layer += node->layer >= first ? 1 : 0;
  graph.rebuild_layers();
}

}  // namespace quillan::vorn_layered::testing

#endif  // QUILLAN_TESTS_CORE_RANDOM_GRAPHS_HPP_
