// Trunks: the runs across the flow inside one gap, and which of them must stand left of which.
//
// A wire is a segment with a bend, or one of the two parts of a segment that was split. It comes
// from its source along the flow, goes across the flow on its trunk and leaves for its target. The
// wires of a port that go the same way, up or down, form a leg; the two legs of a port share one
// trunk as long as nothing speaks against it. (Sander, "Layout of Directed Hypergraphs with
// Orthogonal Hyperedges", 2003, section 3, has one trunk per hyperedge as well.)
//
// Where all wires go down, let (s, t) be the source and target of one and (s', t') those of another
// with s < s', t < t' and s' < t: they cross twice if the first stands left of the second, and not
// at all otherwise. Any other two wires that go down, and a wire that goes up with one that goes
// down, cross as often whichever stands left. So legs of one way have an order without a
// contradiction unless some share their sources and others their targets, and drawn crossings are
// those of the orders inside the layers.
//
// On top of that, where a source and a target stand at one height, the wires of the source must end
// left of where those of the target begin, or they would lie on one another.

#ifndef QUILLAN_CORE_ROUTING_TRUNKS_HPP_
#define QUILLAN_CORE_ROUTING_TRUNKS_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/routing/trunk_order.hpp"

namespace quillan::vorn_layered {

// The end of a wire at a jog, where its segment was split.
inline constexpr std::int32_t kJog = -1;

struct Wire {
  double source = 0.0;  // across the flow
  double target = 0.0;
  std::int32_t source_port =
      kJog;  // numbered within the gap in ascending order across the flow; or kJog
  std::int32_t target_port = kJog;
  bool shown = true;  // false for a flipped edge, which is not drawn and may be covered
  std::int32_t first_part = kJog;  // the wire that leads to its jog, if it begins at one
  std::int32_t leg = 0;

  [[nodiscard]] bool goes_up() const { return target < source; }
};

// Wires of one port that go the same way. Coordinates are negated for a leg that goes up, so that
// it reads as one that goes down.
struct Leg {
  double low;          // the least source
  double high;         // the greatest target
  bool shares_source;  // what its wires have in common; true for a single wire
  bool goes_up;
  std::int32_t first;  // its wires, a range of Trunks::members
  std::int32_t count;
  std::int32_t trunk;
};

// A leg should stand left of another. Where it does not, wires cross without need, or two wires lie
// on one another, of which one must be split.
struct Precedence {
  std::int32_t before = 0;  // legs
  std::int32_t after = 0;
  std::int64_t weight = 0;
  std::int32_t source_wire = kNone;  // the wires that would lie on one another, by their ends
  std::int32_t target_wire = kNone;

  static constexpr std::int32_t kNone = -1;
  [[nodiscard]] bool keeps_apart() const { return source_wire != kNone; }
};

// The trunks of one gap. Its memory serves one gap after the other.
class Trunks {
 public:
  // Wires closer than `clearance` count as lying on one another.
  explicit Trunks(double clearance) : clearance_(clearance) {}

  // Forms legs and trunks, and finds what must stand left of what. w log w for w wires: each leg is
  // compared with the kCompared legs that began last before it and reach it.
  void form(std::span<Wire> wires);

  // Gives every leg on a trunk of which `chosen` is true a trunk of its own. Returns whether there
  // was such a trunk with two legs.
  bool separate(const std::vector<bool>& chosen);

  [[nodiscard]] std::span<const Leg> legs() const { return legs_; }
  [[nodiscard]] std::span<const Precedence> precedences() const { return precedences_; }
  // The same as arcs between trunks.
  [[nodiscard]] std::span<const Arc> arcs();
  [[nodiscard]] std::int32_t count() const { return count_; }

 private:
  static constexpr std::size_t kCompared = 32;
  static constexpr std::size_t kNear = 4;

  void form_legs(std::span<Wire> wires);
  void add_leg(std::span<Wire> wires, std::span<const std::int32_t> members, bool shares_source);
  void form_trunks(std::span<const Wire> wires);
  void compare_legs(std::span<const Wire> wires, bool goes_up);
  void keep_apart(std::span<const Wire> wires);
  [[nodiscard]] std::int64_t pairs_for(const Leg& left, const Leg& right) const;
  [[nodiscard]] std::span<const double> ends_of(const Leg& leg) const {
    return std::span(ends_).subspan(leg.first, leg.count);
  }

  double clearance_;
  std::vector<Leg> legs_;
  std::vector<std::int32_t> members_;  // wires, leg by leg
  std::vector<double> ends_;           // by member, ascending in a leg: what its wires do not share
  std::vector<Precedence> precedences_;
  std::vector<Arc> arcs_;
  std::vector<std::int32_t> sorted_;
  std::vector<std::int32_t> rest_;
  std::vector<std::int32_t> by_port_;
  std::vector<std::int32_t> open_;
  std::vector<std::int32_t> met_;
  std::int32_t count_ = 0;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_TRUNKS_HPP_
