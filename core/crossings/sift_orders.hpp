// SiftOrders: orders of layers in which single nodes move, the working form of sifting.

#ifndef QUILLAN_CORE_CROSSINGS_SIFT_ORDERS_HPP_
#define QUILLAN_CORE_CROSSINGS_SIFT_ORDERS_HPP_

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "core/base/random.hpp"
#include "core/crossings/layer_orders.hpp"

namespace quillan::vorn_layered {

// A node moves past others of its layer one at a time. What passing one changes depends on the two
// nodes alone: on each side, the pairs of their segments that cross one way round and not the
// other. So what a move changes is known without a count of the graph, except that ports from 256
// on are told apart here and not there.
//
// Example:
//   SiftOrders orders(layer_orders);
//   const std::int64_t change = orders.sift(slot, 1);  // 0 or less
class SiftOrders {
 public:
  // The far end of a segment: the node there, and the index of its port.
  struct End {
    std::int32_t slot;
    std::int32_t port;
  };

  // Takes over the slots of all layers, the segments and the present order. The arrays live in the
  // open frame of the graph's scratch memory. Linear, but for sorting each node's segments by port.
  explicit SiftOrders(const LayerOrders& orders);

  [[nodiscard]] std::int32_t slot_count() const { return static_cast<std::int32_t>(at_.size()); }
  [[nodiscard]] std::int32_t layer_size(std::int32_t slot) const {
    return layers_[nodes_[slot].layer].size;
  }
  // The far ends of a slot's segments: those in the layer before by slot, then those in the layer
  // after by the port at which the segment starts, then by slot.
  [[nodiscard]] std::span<const End> ends(std::int32_t slot) const {
    return ends_.subspan(nodes_[slot].first, nodes_[slot + 1].first - nodes_[slot].first);
  }
  [[nodiscard]] std::span<const End> ends(std::int32_t slot, FixedLayer fixed) const {
    const Node& node = nodes_[slot];
    return fixed == FixedLayer::UPPER
               ? ends_.subspan(node.first, node.middle - node.first)
               : ends_.subspan(node.middle, nodes_[slot + 1].first - node.middle);
  }

  // All layers' orders, back to back.
  [[nodiscard]] std::span<const std::int32_t> all() const { return at_; }
  // Replaces all orders. REQUIRES: each layer has the slots that it had.
  void set_all(std::span<const std::int32_t> ordered);
  // Replaces all orders: the slots of a layer stand in the order in which they come in `sequence`.
  // REQUIRES: every slot once.
  void set_by_sequence(std::span<const std::int32_t> sequence);

  // Moves a node to the place with the fewest crossings among those that it looks at, the farthest
  // of equals on one side, chosen by lot. Returns the change, 0 or less. To either side it looks at
  // one place after the other until one is worse than its own by more than `tolerance`, or until it
  // has passed kReach nodes and segments. Costs the nodes passed and their segments, times the
  // logarithm of the node's own.
  std::int64_t sift(std::int32_t slot, std::int64_t tolerance);
  // The last node that another one passed, and towards later places (1) or earlier ones (-1).
  struct Passed {
    std::int32_t slot = -1;
    std::int32_t step = 0;
  };
  // Moves a node to the place where crossings and price together are fewest, and tells which node
  // it passed last: none if its own place, which has no price, is none the worse. `price` is that
  // of the place right beyond a node.
  Passed sift_at_price(std::int32_t slot,
                       const std::function<double(std::int32_t passed, std::int32_t step)>& price);
  // Moves a node up to `reach` places to one side, both chosen by lot, but no farther than where
  // the crossings have grown by more than `tolerance`. Returns the change. REQUIRES: the layer has
  // another node.
  std::int64_t push(std::int32_t slot, std::int32_t reach, std::int64_t tolerance);
  // Sorts every layer but the first by the barycentres of the layer before, and then every layer
  // but the last by those of the layer after.
  void sweep();

  // How many moves were made since the last call of forget_moves() or undo_moves().
  [[nodiscard]] std::size_t moves() const { return moves_.size(); }
  void forget_moves() { moves_.clear(); }
  void undo_moves();

  // Nodes and segments looked at while moving: a measure of time that is the same everywhere.
  [[nodiscard]] std::int64_t effort() const { return effort_; }
  // Counts a look at a node that can only stay.
  void pass() { ++effort_; }

  [[nodiscard]] Random& random() { return random_; }

 private:
  static constexpr std::int64_t kReach = 400;

  // A port's place in the layer, as one number.
  using Key = std::int64_t;
  struct Node {
    std::int32_t first;   // in `ends_`: of the ends in the layer before
    std::int32_t middle;  // of those in the layer after, up to the next node's first
    std::int32_t layer;
  };
  struct Layer {
    std::int32_t first;
    std::int32_t size;
  };
  // The keys of a node that is about to move, by side, ascending.
  struct Mover {
    std::span<const Key> up;
    std::span<const Key> down;
  };
  struct Move {
    std::int32_t slot;
    std::int32_t from;
  };

  [[nodiscard]] Key key(End end) const {
    return Key{place_[end.slot]} * (2 * MAX_PORT_INDEX) + end.port;
  }
  [[nodiscard]] std::int32_t weight(std::int32_t slot) const {
    return 1 + nodes_[slot + 1].first - nodes_[slot].first;
  }
  void collect_ends(const LayerOrders& orders);
  [[nodiscard]] Mover mover(std::int32_t slot);
  [[nodiscard]] std::int64_t gain_of_passing(const Mover& mover, std::int32_t slot) const;
  template <typename Consider>
  void walk(std::int32_t slot, const Mover& mover, std::int32_t step, const Consider& consider);
  void move(std::int32_t slot, std::int32_t place);
  void sort_layer(const Layer& layer, FixedLayer fixed);

  std::span<Node> nodes_;  // by slot, and one more that ends the last
  std::span<End> ends_;
  std::span<Layer> layers_;
  std::span<std::int32_t> at_;
  std::span<std::int32_t> place_;
  std::span<Key> keys_;  // of the mover
  std::span<std::int64_t> measured_;
  std::span<std::int32_t> turn_;
  std::vector<Move> moves_;
  std::int64_t effort_ = 0;
  Random random_{0x9E3779B97F4A7C15U};
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_SIFT_ORDERS_HPP_
