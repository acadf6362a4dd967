// The words of the engine: enumerations, constants and the default sizes.
//
// Two frames exist. The caller's frame is the one of the payload and the result. The normalised
// frame is the one in which all phases work: layers advance along X, the cross axis is Y.

#ifndef QUILLAN_CORE_GRAPH_VOCABULARY_HPP_
#define QUILLAN_CORE_GRAPH_VOCABULARY_HPP_

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace quillan::vorn_layered {

// Where the flow runs in the caller's frame.
enum class Direction : std::uint8_t { RIGHT, LEFT, DOWN, UP };

// The side of a port in the normalised frame: edges enter at WEST and leave at EAST.
enum class PortSide : std::uint8_t { WEST, EAST };

// NORMAL is a node of the caller, LONG_EDGE a dummy that splits a long edge.
enum class NodeKind : std::uint8_t { NORMAL, LONG_EDGE };

inline constexpr std::array<std::string_view, 4> DIRECTION_NAMES = {"RIGHT", "LEFT", "DOWN", "UP"};

// True when the flow axis is Y in the caller's frame.
constexpr bool is_transposed(Direction direction) {
  return direction == Direction::DOWN || direction == Direction::UP;
}

// True when the flow runs towards decreasing coordinates.
constexpr bool is_reversed(Direction direction) {
  return direction == Direction::LEFT || direction == Direction::UP;
}

// The direction whose name is `text`, case-sensitive.
constexpr std::optional<Direction> direction_from_text(std::string_view text) {
  for (std::size_t index = 0; index < DIRECTION_NAMES.size(); ++index) {
    if (DIRECTION_NAMES[index] == text) return static_cast<Direction>(index);
  }
  return std::nullopt;
}

inline constexpr std::string_view AUTO = "AUTO";
inline constexpr double DEFAULT_NODE_WIDTH = 140.0;
inline constexpr double DEFAULT_NODE_HEIGHT = 56.0;
inline constexpr double DEFAULT_COMPONENT_GAP = 80.0;

// The largest graph, in real nodes, whose layers network simplex still assigns.
inline constexpr int NETWORK_SIMPLEX_NODE_LIMIT = 400;

// Bounds on one graph, so that no payload exhausts memory or the range of working integers. What
// goes beyond them is refused before anything is spent on it.
inline constexpr std::int64_t MAX_NODES_PER_GRAPH = std::int64_t{1} << 23U;
inline constexpr std::int64_t MAX_DUMMIES_PER_GRAPH = std::int64_t{1} << 23U;
inline constexpr std::int64_t MAX_PORTS_PER_SIDE = std::int64_t{1} << 20U;
inline constexpr std::int64_t MAX_PORTS_PER_GRAPH = std::int64_t{1} << 24U;
inline constexpr std::int64_t MAX_PORT_INDEX = std::int64_t{1} << 24U;  // in a hand-made record

// A point of either frame.
struct Point {
  double x = 0.0;
  double y = 0.0;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_GRAPH_VOCABULARY_HPP_
