#include "core/crossings/keep.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <span>
#include <vector>

#include "core/base/reals.hpp"
#include "core/crossings/layer_orders.hpp"
#include "core/crossings/seen_places.hpp"
#include "core/crossings/sift_orders.hpp"
#include "core/graph/incident_maps.hpp"
#include "core/graph/spacing.hpp"

namespace quillan::vorn_layered {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// A member of the layer that is put in order.
struct Member {
  LNode* node;
  double place;   // of a node's near side; of a dummy's line
  double second;  // of a node's middle; of the end of a dummy's wire
};

// The places for dummies between a node of a layer and the next.
struct Room {
  double low = -kInfinity;  // the first of them
  double high = kInfinity;  // the last
  std::int64_t free = 0;    // how many more dummies fit in
  std::int32_t taken = 0;
  std::int32_t needed = 0;  // how many it takes for the nodes to keep their distance

  [[nodiscard]] double distance(double line) const {
    return larger(larger(0.0, low - line), line - high);
  }
};

// The rooms of a layer while they fill up.
class Filling {
 public:
  // REQUIRES: neither `low` nor `high` falls from one room to the next; the first and the last room
  // never fill up.
  explicit Filling(std::span<Room> rooms)
      : rooms_(rooms), before_(rooms.size()), behind_(rooms.size()) {
    std::iota(before_.begin(), before_.end(), 0);
    std::iota(behind_.begin(), behind_.end(), 0);
    for (std::size_t room = 0; room < rooms.size(); ++room) close_if_full(room);
  }

  // Takes a place in the nearest room to `line` that has one, of two equally near in the earlier.
  // Near-constant, after a binary search.
  void take_nearest(double line) {
    const auto reaching = std::partition_point(
        rooms_.begin(), rooms_.end() - 1, [line](const Room& room) { return room.high < line; });
    const std::size_t first = reaching - rooms_.begin();
    std::size_t nearest = find(behind_, first);
    const double down = rooms_[nearest].low - line;
    if (first > 0 && down > 0.0) {
      const std::size_t earlier = find(before_, first - 1);
      if (line - rooms_[earlier].high <= down) nearest = earlier;
    }
    --rooms_[nearest].free;
    ++rooms_[nearest].taken;
    close_if_full(nearest);
  }

 private:
  void close_if_full(std::size_t room) {
    if (rooms_[room].free > 0) return;
    before_[room] = room - 1;
    behind_[room] = room + 1;
  }
  // The nearest room with a free place where `next` leads; shortens the way.
  static std::size_t find(std::vector<std::size_t>& next, std::size_t room) {
    while (next[room] != room) {
      next[room] = next[next[room]];
      room = next[room];
    }
    return room;
  }

  std::span<Room> rooms_;
  std::vector<std::size_t> before_;  // by room: itself or, if it is full, an earlier one
  std::vector<std::size_t> behind_;  // the same the other way
};

class Keeper {
 public:
  explicit Keeper(LGraph& graph) : graph_(graph), seen_(graph) {
    room_of_.reserve(graph.layers.flat().size());
  }

  void run() {
    for (std::int32_t layer = 0; layer < graph_.layers.size(); ++layer) {
      const std::size_t first_room = rooms_.size();
      if (sort_members(graph_.layers[layer])) {
        make_rooms();
        Filling filling(std::span<Room>(rooms_).subspan(first_room));
        for (const Member& dummy : dummies_) filling.take_nearest(dummy.place);
        fill_needs(std::span<Room>(rooms_).subspan(first_room));
      } else {
        rooms_.resize(first_room + nodes_.size() + 1);
      }
      fill(graph_.layers[layer], first_room);
    }
    spare_crossings();
  }

 private:
  // What it must spare to take a dummy so much farther from its line: one crossing.
  static constexpr double kDetour = 200.0;
  static constexpr int kRounds = 4;

  // False where the layer has no dummies.
  bool sort_members(std::span<LNode* const> layer) {
    nodes_.clear();
    dummies_.clear();
    for (LNode* node : layer) {
      const double place = seen_.place(*node);
      if (node->is_dummy()) {
        dummies_.push_back({node, place, seen_.end(*node)});
      } else {
        nodes_.push_back({node, place, place + node->height() / 2.0});
      }
    }
    std::sort(nodes_.begin(), nodes_.end(), [this](const Member& a, const Member& b) {
      if (const int order = compare_reals(a.second, b.second)) return order < 0;
      if (const int order = compare_reals(a.place, b.place)) return order < 0;
      const double a_x = seen_along_flow(graph_, *a.node);
      const double b_x = seen_along_flow(graph_, *b.node);
      if (const int order = compare_reals(a_x, b_x)) return order < 0;
      return compare(a.node->id, b.node->id) < 0;
    });
    std::sort(dummies_.begin(), dummies_.end(), [](const Member& a, const Member& b) {
      if (const int order = compare_reals(a.place, b.place)) return order < 0;
      if (const int order = compare_reals(a.second, b.second)) return order < 0;
      return a.node->position < b.node->position;
    });
    return !dummies_.empty();
  }

  // Appends the rooms of the layer.
  void make_rooms() {
    const double beside = _spacing_between(true, false, graph_.options);
    const double apart = _spacing_between(true, true, graph_.options);
    const std::int64_t all = static_cast<std::int64_t>(dummies_.size());
    const std::size_t first = rooms_.size();
    rooms_.resize(first + nodes_.size() + 1);
    const std::span<Room> rooms = std::span<Room>(rooms_).subspan(first);
    // Nodes may overlap: a room begins where all nodes in front of it have ended.
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
      rooms[i + 1].low = larger(rooms[i].low, nodes_[i].place + nodes_[i].node->height() + beside);
    }
    for (std::size_t i = nodes_.size(); i-- > 0;) {
      rooms[i].high = smaller(rooms[i + 1].high, nodes_[i].place - beside);
    }
    for (Room& room : rooms) {
      // A finished drawing leaves exactly the room that was needed, give or take a rounding error.
      constexpr double kRounding = 1e-7;
      const double extent = room.high - room.low + kRounding;
      if (!(extent >= 0.0)) continue;
      // Two nodes with a dummy between them may stand nearer than without.
      const bool near = extent + 2.0 * beside < graph_.options.spacing_node_node;
      room.needed = near ? 1 : 0;
      const double count = apart > 0.0 ? std::floor(extent / apart) + 1.0 : kInfinity;
      room.free = count < static_cast<double>(all) ? static_cast<std::int64_t>(count) : all;
    }
    // With one to spare, so that they are never full.
    rooms.front().free = rooms.back().free = all + 1;
  }

  // Has each room that needs a dummy and has none get one from the nearer of the last room before
  // it and the first room behind it that can do with fewer. Linear.
  static void fill_needs(std::span<Room> rooms) {
    const auto spares = [&](std::size_t room) { return rooms[room].taken > rooms[room].needed; };
    std::vector<std::size_t> before;
    std::size_t behind = 0;
    for (std::size_t room = 0; room < rooms.size(); ++room) {
      if (spares(room)) before.push_back(room);
      if (rooms[room].taken >= rooms[room].needed) continue;
      while (!before.empty() && !spares(before.back())) before.pop_back();
      behind = std::max(behind, room);
      while (behind < rooms.size() && !spares(behind)) ++behind;
      if (before.empty() && behind == rooms.size()) return;
      const bool from_behind = before.empty() || (behind < rooms.size() &&
                                                  rooms[behind].low - rooms[room].high <
                                                      rooms[room].low - rooms[before.back()].high);
      Room& giver = rooms[from_behind ? behind : before.back()];
      --giver.taken;
      ++giver.free;
      ++rooms[room].taken;
      --rooms[room].free;
    }
  }

  // Puts the members into the layer, room by room. That dummies go by their lines, whichever of
  // them took a place where, takes them no farther from their rooms on the whole.
  void fill(std::span<LNode*> layer, std::size_t first_room) {
    std::size_t place = 0;
    std::size_t dummy = 0;
    for (std::size_t room = first_room; room < rooms_.size(); ++room) {
      for (std::int32_t i = 0; i < rooms_[room].taken; ++i) {
        layer[place++] = dummies_[dummy++].node;
        room_of_.push_back(room);
      }
      if (room - first_room == nodes_.size()) break;
      layer[place++] = nodes_[room - first_room].node;
      room_of_.push_back(room);
    }
  }

  void spare_crossings() {
    const Arena::Frame frame(graph_.scratch);
    LayerOrders orders(graph_);  // its slots are the places in `room_of_`
    SiftOrders sift(orders);
    for (int round = 0, moves = 1; round < kRounds && moves > 0; ++round) {
      moves = 0;
      for (std::int32_t slot = 0; slot < sift.slot_count(); ++slot) {
        if (orders.node(slot)->is_dummy() && move_dummy(orders, sift, slot)) ++moves;
      }
    }
    orders.set_all(sift.all());
    orders.commit();
  }

  bool move_dummy(const LayerOrders& orders, SiftOrders& sift, std::int32_t slot) {
    const std::size_t own = room_of_[slot];
    const double line = seen_.place(*orders.node(slot));
    const auto room_beyond = [&](std::int32_t passed, std::int32_t step) {
      const bool next_room = step > 0 && !orders.node(passed)->is_dummy();
      return room_of_[passed] + (next_room ? 1 : 0);
    };
    const auto price = [&](std::int32_t passed, std::int32_t step) {
      const std::size_t room = room_beyond(passed, step);
      if (room == own) return 0.0;
      if (rooms_[room].free <= 0 || rooms_[own].taken <= rooms_[own].needed) return kInfinity;
      return (rooms_[room].distance(line) - rooms_[own].distance(line)) / kDetour;
    };
    const SiftOrders::Passed passed = sift.sift_at_price(slot, price);
    if (passed.slot < 0) return false;
    room_of_[slot] = room_beyond(passed.slot, passed.step);
    ++rooms_[own].free;
    --rooms_[own].taken;
    --rooms_[room_of_[slot]].free;
    ++rooms_[room_of_[slot]].taken;
    return true;
  }

  LGraph& graph_;
  const SeenPlaces seen_;
  std::vector<Member> nodes_;  // of the layer at hand
  std::vector<Member> dummies_;
  std::vector<Room> rooms_;  // of all layers up to that one, back to back
  // By place in all layers: the room of a dummy; of a node, the room before it.
  std::vector<std::size_t> room_of_;
};

}  // namespace

void _keep_seen_order(LGraph& graph) {
  require_known_ends(graph);
  Keeper(graph).run();
}

}  // namespace quillan::vorn_layered
