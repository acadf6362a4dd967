// An order in which most of what should stand left does stand left.

#ifndef QUILLAN_CORE_ROUTING_TRUNK_ORDER_HPP_
#define QUILLAN_CORE_ROUTING_TRUNK_ORDER_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/base/grouped.hpp"

namespace quillan::vorn_layered {

// `before` should stand left of `after`.
struct Arc {
  std::int32_t before;
  std::int32_t after;
  std::int64_t weight;
};

// An arc of this weight is never turned round. REQUIRES: such arcs make no cycle.
inline constexpr std::int64_t kNeverTurned = INT64_MAX;

// Orders items whose arcs may contradict one another.
//
// Example:
//   TrunkOrder order;
//   order.read(arcs, 3, arena);
//   if (order.has_cycle()) ...           // order.on_cycle() says where
//   order.arrange();
//   order.place(0) < order.place(1);     // item 0 stands left of item 1
class TrunkOrder {
 public:
  // Takes the arcs and peels off what is on no cycle and not between two. Linear. What it takes of
  // `arena`, and the arcs, must last until the next read().
  void read(std::span<const Arc> arcs, std::int32_t count, Arena& arena);

  [[nodiscard]] bool has_cycle() const { return core_ > 0; }
  // By item: whether it is on a cycle, or between two. REQUIRES: read() and not yet arrange().
  [[nodiscard]] const std::vector<bool>& on_cycle() const { return in_core_; }

  // Finds the order: what is on cycles by the greedy procedure of Eades, Lin and Smyth, "A Fast and
  // Effective Heuristic for the Feedback Arc Set Problem", 1993, with weights; then everything by
  // the longest path along the arcs that the order keeps, so that it needs few places. a log a for
  // a arcs on cycles, linear in the others.
  void arrange();

  // REQUIRES: arrange().
  [[nodiscard]] std::int32_t place(std::int32_t item) const { return places_[item]; }
  // The number of items that must stand left of this one, one left of the other.
  [[nodiscard]] std::int32_t depth(std::int32_t item) const { return depths_[item]; }

 private:
  // What the greedy procedure knows of an item that has no place yet.
  struct Open {
    std::int64_t gain = 0;  // weight of its arcs to others that are open, less that from them
    std::int64_t queued = INT64_MIN;  // the gain that the latest pair in the queue says
    std::int32_t barriers = 0;        // arcs from others that are never turned round
  };

  void peel(const Grouped& along, std::int32_t Arc::*end, std::vector<std::int32_t>& pending,
            std::vector<std::int32_t>& peeled);
  void order_core();
  void close(std::int32_t item, std::vector<Open>& open) const;
  void find_depths();

  std::span<const Arc> arcs_;
  std::int32_t count_ = 0;
  std::int32_t core_ = 0;  // how many items are on cycles or between two
  Grouped outgoing_;       // by item: arcs
  Grouped incoming_;
  std::vector<bool> in_core_;
  std::vector<std::int32_t> pending_in_;  // by item: arcs from items that are not peeled off
  std::vector<std::int32_t> pending_out_;
  std::vector<std::int32_t> front_;   // peeled off from the left, in order
  std::vector<std::int32_t> back_;    // peeled off from the right, in reverse
  std::vector<std::int32_t> middle_;  // the core, in order
  std::vector<std::int32_t> places_;
  std::vector<std::int32_t> depths_;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_TRUNK_ORDER_HPP_
