// The recorded layouts, compared to the last bit, on whatever machine this was built for.

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/core/payload_case.hpp"

namespace quillan::vorn_layered::testing {
namespace {

std::uint64_t hexadecimal(const std::string& digits) {
  std::uint64_t value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  return value;
}

// The items of one line; tests/golden/plain_layouts.py says how they are written.
class Line {
 public:
  explicit Line(const std::string& line) : in_(line) {}

  std::string word() {
    std::string item;
    EXPECT_TRUE(in_ >> item) << "too few items";
    return item;
  }
  int number() { return std::stoi(word()); }
  double real() { return real(word()); }
  std::optional<double> optional_real() {
    const std::string item = word();
    return item == "-" ? std::nullopt : std::optional(real(item));
  }
  std::string text() { return text(word()); }
  const TextSource* optional_text(PayloadCase& payload) {
    const std::string item = word();
    return item == "-" ? nullptr : payload.keep(text(item));
  }

 private:
  static double real(const std::string& item) {
    EXPECT_EQ(item.size(), 16U) << item;
    return std::bit_cast<double>(hexadecimal(item));
  }
  static std::string text(const std::string& item) {
    EXPECT_EQ(item.substr(0, 1), "=");
    std::string bytes;
    for (std::size_t at = 1; at < item.size(); at += 2) {
      bytes.push_back(static_cast<char>(hexadecimal(item.substr(at, 2))));
    }
    return bytes;
  }

  std::istringstream in_;
};

using Bits = std::vector<std::uint64_t>;
using Named = std::vector<std::pair<std::string, Bits>>;

struct Recorded {
  explicit Recorded(Line& line) : name(line.text()) { read_options(line); }

  void read_options(Line& line) {
    options.direction = *direction_from_text(line.word());
    options.interactive = line.number() != 0;
    options.thoroughness.value = line.number();
    options.cycle_breaking_strategy = line.text();
    options.layering_strategy = line.text();
    options.crossing_strategy = line.text();
    options.placement_strategy = line.text();
    options.edge_routing = line.text();
    options.spacing_node_node = line.real();
    options.spacing_node_node_between_layers = line.real();
    options.spacing_edge_edge = line.real();
    options.spacing_edge_node = line.real();
    options.padding_left = line.real();
    options.padding_top = line.real();
    component_gap = line.real();
  }

  PortSpec read_ports(Line& line) {
    PortSpec spec;
    spec.listed = line.word() == "listed";
    spec.count = line.number();
    spec.first = payload.ports.size();
    for (int i = 0; spec.listed && i < spec.count; ++i) {
      const TextSource* const id = line.optional_text(payload);
      payload.ports.push_back({id, line.optional_real()});
    }
    return spec;
  }

  void add_node(Line& line) {
    NodeRow& node = payload.node(line.text());
    node.width = line.real();
    node.height = line.real();
    node.x = line.optional_real();
    node.y = line.optional_real();
    node.input_ports = read_ports(line);
    node.output_ports = read_ports(line);
  }

  void add_edge(Line& line) {
    const std::string source = line.text();
    const std::string target = line.text();
    const TextSource* const id = line.optional_text(payload);
    EdgeRow& edge = payload.edge(source, target);
    edge.id = id;
    edge.source_port = line.number();
    edge.target_port = line.number();
  }

  static void add_points(Named& named, Line& line, int points) {
    std::string name = line.text();
    if (points == 0) points = line.number();
    Bits bits;
    for (int i = 0; i < 2 * points; ++i) bits.push_back(hexadecimal(line.word()));
    named.emplace_back(std::move(name), std::move(bits));
  }

  void check() {
    SCOPED_TRACE(name);
    const LayoutResult result = payload.lay_out(options, component_gap);
    const auto add = [](Bits& bits, Point point) {
      bits.push_back(std::bit_cast<std::uint64_t>(point.x));
      bits.push_back(std::bit_cast<std::uint64_t>(point.y));
    };
    Named positions_found;
    for (const NodePosition& position : result.positions) {
      add(positions_found.emplace_back(position.id.str(), Bits()).second, position.top_left);
    }
    Named routes_found;
    for (const EdgeRoute& route : result.routes.routes) {
      Bits& bits = routes_found.emplace_back(route.id.str(), Bits()).second;
      for (std::size_t i = 0; i < route.count; ++i)
        add(bits, result.routes.points[route.first + i]);
    }
    EXPECT_EQ(positions_found, positions);
    EXPECT_EQ(routes_found, routes);
  }

  std::string name;
  LayoutOptions options;
  double component_gap = 0.0;
  PayloadCase payload;
  Named positions;
  Named routes;
};

TEST(RecordedLayouts, AreReproducedToTheLastBit) {
  std::ifstream file(QUILLAN_RECORDED_LAYOUTS);
  ASSERT_TRUE(file.is_open()) << QUILLAN_RECORDED_LAYOUTS;
  std::optional<Recorded> recorded;
  int count = 0;
  for (std::string text; std::getline(file, text);) {
    Line line(text);
    const std::string kind = line.word();
    if (kind == "layout") {
      recorded.emplace(line);
    } else if (kind == "node") {
      recorded->add_node(line);
    } else if (kind == "edge") {
      recorded->add_edge(line);
    } else if (kind == "position") {
      Recorded::add_points(recorded->positions, line, 1);
    } else if (kind == "route") {
      Recorded::add_points(recorded->routes, line, 0);
    } else {
      ASSERT_EQ(kind, "end");
      recorded->check();
      ++count;
    }
  }
  EXPECT_EQ(count, 72);
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
