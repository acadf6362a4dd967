// Payloads and options drawn by the tests from a seed, and by the fuzzer from its bytes.

#ifndef QUILLAN_TESTS_CORE_RANDOM_PAYLOADS_HPP_
#define QUILLAN_TESTS_CORE_RANDOM_PAYLOADS_HPP_

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "tests/core/payload_case.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {

inline double absurd(Random& random) {
  return random.pick({HUGE_VAL, -HUGE_VAL, std::nan(""), 1e308, -1e308, 1e22,  -1e22,
                      3e18,     -3e18,     1e17,         -1e17, 1e10,   -1e10, 2e7,
                      5e-324,   -5e-324,   1e-310,       1e-9,  1e-10,  -0.0});
}

// Draws the parts of a call, one draw a statement: compilers differ in the order of operands and
// arguments, and recorded digests must not. Braces keep the order. Sizes are bounded so that a call
// takes well below a millisecond. Half of all calls are tame: they ask for what can be drawn, and
// the laws of geometry hold.
class RandomCall {
 public:
  explicit RandomCall(Random& random) : RandomCall(random, random.chance(50)) {}
  RandomCall(Random& random, bool tame, int most_nodes = 24)
      : random_(random), tame_(tame), most_nodes_(most_nodes) {}

  double length() {
    if (tame_ || random_.chance(60)) {
      const double divisor = random_.chance(50) ? 4.0 : 7.0;
      return random_.below(400) / divisor;
    }
    return random_.chance(80) ? absurd(random_) : std::bit_cast<double>(random_.bits());
  }

  void fill(PayloadCase& made) {
    const int nodes = random_.below(most_nodes_ + 1);
    ids_ = nodes * 3 / 2 + 1;
    for (int left = nodes; left > 0; --left) {
      NodeRow& node = made.node(node_id());
      if (!random_.chance(40)) node.width = length();
      if (!random_.chance(40)) node.height = length();
      if (!random_.chance(40)) node.x = length();
      if (!random_.chance(40)) node.y = length();
      if (random_.chance(50)) node.input_ports = ports(made);
      if (random_.chance(50)) node.output_ports = ports(made);
    }
    for (int left = random_.below(most_nodes_ * 2 + 2); left > 0; --left) {
      const std::string source = node_id();
      const std::string target = node_id();
      EdgeRow& edge = random_.chance(20)
                          ? made.edge(source, target, std::to_string(random_.below(60)))
                          : made.edge(source, target);
      if (random_.chance(40)) edge.source_port = random_.below(400) - 10;
      if (random_.chance(40)) edge.target_port = random_.chance(90) ? random_.below(6) : INT32_MIN;
    }
  }

  LayoutOptions options() {
    LayoutOptions options;
    options.direction = static_cast<Direction>(random_.below(4));
    options.interactive = random_.chance(30);
    options.cycle_breaking_strategy =
        random_.pick({"AUTO", "GREEDY", "DEPTH_FIRST", "INTERACTIVE"});
    options.layering_strategy =
        random_.pick({"AUTO", "NETWORK_SIMPLEX", "MINIMUM_LENGTH", "LONGEST_PATH", "INTERACTIVE"});
    options.crossing_strategy =
        random_.pick({"AUTO", "LAYER_SWEEP", "INTERACTIVE", "NONE", "SIFTING", "KEEP"});
    options.placement_strategy = random_.pick(
        {"BRANDES_KOEPF", "LINEAR_SEGMENTS", "NETWORK_SIMPLEX", "SIMPLE", "INTERACTIVE", ""});
    options.edge_routing = random_.pick({"ORTHOGONAL", "ORTHOGONAL_ORDERED", "POLYLINE"});
    for (double* field : {&options.spacing_node_node, &options.spacing_node_node_between_layers,
                          &options.spacing_edge_edge, &options.spacing_edge_node,
                          &options.padding_left, &options.padding_top}) {
      if (random_.chance(40)) *field = length();
    }
    options.thoroughness = {random_.pick<std::int64_t>({INT64_MIN, -1, 0, 1, 2, 7, 100, INT64_MAX}),
                            tame_ || !random_.chance(2)};
    return options;
  }

 private:
  // Few enough that ids repeat now and then, and in no order.
  std::string node_id() {
    if (random_.chance(98)) return std::to_string(random_.below(ids_));
    const char letter = static_cast<char>(random_.bits(1));
    return std::string(random_.below(3), letter);
  }
  PortSpec ports(PayloadCase& made) {
    if (random_.chance(60)) return {random_.below(6) - 1};
    if (random_.chance(10)) return {60 + random_.below(250)};
    if (!tame_ && random_.chance(2)) return {random_.pick({1 << 30U, (1 << 20U) + 1})};
    const PortSpec spec{random_.below(5), true, made.ports.size()};
    for (int left = spec.count; left > 0; --left) {
      made.ports.push_back({random_.chance(50) ? made.nodes[0].id : nullptr, std::nullopt});
      if (random_.chance(80)) made.ports.back().offset = length();
    }
    return spec;
  }

  Random& random_;
  bool tame_;
  int most_nodes_;
  int ids_ = 1;
};

}  // namespace quillan::vorn_layered::testing

#endif  // QUILLAN_TESTS_CORE_RANDOM_PAYLOADS_HPP_
