#include "core/crossings/sifting.hpp"

#include <algorithm>
#include <vector>

#include "core/crossings/counting.hpp"
#include "core/crossings/sift_orders.hpp"

namespace quillan::vorn_layered {

namespace {

// The search over one graph: a few starts, then kicks at the best of them.
class Search {
 public:
  explicit Search(LayerOrders& orders)
      : orders_(orders),
        sift_(orders),
        in_queue_(orders.graph().scratch.array<bool>(sift_.slot_count(), false)),
        sequence_(orders.graph().scratch.raw_array<std::int32_t>(sift_.slot_count())),
        best_(sift_.all().begin(), sift_.all().end()),
        best_crossings_(count()) {}

  void run(std::int64_t thoroughness) {
    start();
    sift_.set_all(best_);
    if (best_crossings_ > 0) sift_all(kFarTolerance);
    const std::int64_t effort = kEffortOfGraph + kEffortOfSlot * sift_.slot_count();
    std::int64_t last_gain = 0;
    for (std::int64_t share = 1; share <= thoroughness && best_crossings_ > 0; ++share) {
      for (const std::int64_t end = sift_.effort() + effort; sift_.effort() < end;) kick();
      if (keep_if_better()) last_gain = share;
      if (share - last_gain > kPatience + last_gain / 2) break;
    }
    orders_.set_all(best_);
  }

 private:
  // Crossings that a node may add on the way to a better place.
  static constexpr std::int64_t kTolerance = 1;
  static constexpr std::int64_t kFarTolerance = 10;
  // Starts from random orders, of which the first is made in any case and the others while all of
  // them together are cheap, and the sweeps that each gets.
  static constexpr int kMostStarts = 6;
  static constexpr std::int64_t kCheapEffort = 60'000;
  static constexpr int kSweeps = 3;
  // The search ends once it has brought nothing for so many shares, plus half of those before.
  static constexpr std::int64_t kPatience = 2;
  // A share, for one unit of thoroughness.
  static constexpr std::int64_t kEffortOfGraph = 1000;
  static constexpr std::int64_t kEffortOfSlot = 48;

  // The crossings of the present orders.
  std::int64_t count() {
    orders_.set_all(sift_.all());
    return count_crossings(orders_);
  }

  bool keep_if_better() {
    const std::int64_t crossings = count();
    if (crossings >= best_crossings_) return false;
    best_crossings_ = crossings;
    best_.assign(sift_.all().begin(), sift_.all().end());
    return true;
  }

  void sift_all(std::int64_t tolerance) {
    for (std::int32_t slot = 0; slot < sift_.slot_count(); ++slot) sift_.sift(slot, tolerance);
    sift_.forget_moves();
  }

  // Sifts the given order and a few others, and keeps the best of all. The order of a tree by its
  // ports needs nothing more.
  void start() {
    if (best_crossings_ == 0) return;
    sift_all(kTolerance);
    keep_if_better();
    seed_by_ports();
    keep_if_better();
    for (int i = 0; best_crossings_ > 0 && i < kMostStarts; ++i) {
      if (i > 0 && sift_.effort() >= kCheapEffort) break;
      seed_by_search();
      for (int sweep = 0; sweep < kSweeps; ++sweep) sift_.sweep();
      sift_all(kTolerance);
      keep_if_better();
    }
  }

  // Depth first, along the segments in the order of the ports at which they start.
  void seed_by_ports() {
    std::vector<bool> visited(sift_.slot_count(), false);
    std::vector<std::int32_t> stack;
    std::size_t count = 0;
    for (std::int32_t root = 0; root < sift_.slot_count(); ++root) {
      stack.push_back(root);
      while (!stack.empty()) {
        const std::int32_t slot = stack.back();
        stack.pop_back();
        if (visited[slot]) continue;
        visited[slot] = true;
        sequence_[count++] = slot;
        const std::span<const SiftOrders::End> below = sift_.ends(slot, FixedLayer::LOWER);
        for (std::size_t i = below.size(); i-- > 0;) {
          if (!visited[below[i].slot]) stack.push_back(below[i].slot);
        }
      }
    }
    sift_.set_by_sequence(sequence_);
  }

  // Breadth first, in both directions, from a slot chosen by lot.
  void seed_by_search() {
    const std::int32_t slots = sift_.slot_count();
    std::vector<bool> reached(slots, false);
    const std::int32_t first = sift_.random().below(slots);
    std::int32_t count = 0;
    std::int32_t next = 0;
    const auto reach = [&](std::int32_t slot) {
      if (reached[slot]) return;
      reached[slot] = true;
      sequence_[count++] = slot;
    };
    for (std::int32_t i = 0; i < slots; ++i) {
      reach(first + i < slots ? first + i : first + i - slots);
      for (; next < count; ++next) {
        for (const SiftOrders::End& end : sift_.ends(sequence_[next])) reach(end.slot);
      }
    }
    sift_.set_by_sequence(sequence_);
  }

  void enqueue_neighbours(std::int32_t slot) {
    for (const SiftOrders::End& end : sift_.ends(slot)) {
      if (in_queue_[end.slot]) continue;
      in_queue_[end.slot] = true;
      queue_.push_back(end.slot);
    }
  }

  // Pushes a node aside, sifts its neighbours, the neighbours of those that moved and so on, and at
  // last the node itself. Takes all of it back if there are more crossings then.
  void kick() {
    constexpr std::int32_t kReach = 10;
    constexpr std::int64_t kPushTolerance = 8;
    constexpr std::size_t kSifts = 12;
    const std::int32_t slot = sift_.random().below(sift_.slot_count());
    if (sift_.layer_size(slot) < 2) return sift_.pass();
    std::int64_t change = sift_.push(slot, kReach, kPushTolerance);
    queue_.clear();
    enqueue_neighbours(slot);
    std::size_t sifted = 0;
    for (; sifted < std::min(queue_.size(), kSifts); ++sifted) {
      const std::int32_t next = queue_[sifted];
      in_queue_[next] = false;
      const std::size_t moves = sift_.moves();
      change += sift_.sift(next, kTolerance);
      if (sift_.moves() > moves) enqueue_neighbours(next);
    }
    for (; sifted < queue_.size(); ++sifted) in_queue_[queue_[sifted]] = false;
    change += sift_.sift(slot, kTolerance);
    if (change > 0) sift_.undo_moves();
    sift_.forget_moves();
  }

  LayerOrders& orders_;
  SiftOrders sift_;
  std::span<bool> in_queue_;
  std::vector<std::int32_t> queue_;
  std::span<std::int32_t> sequence_;
  std::vector<std::int32_t> best_;
  std::int64_t best_crossings_;
};

}  // namespace

void sift_layers(LayerOrders& orders, std::int64_t thoroughness) {
  Search(orders).run(thoroughness);
}

}  // namespace quillan::vorn_layered
