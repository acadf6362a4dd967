#include "core/crossings/reduce_crossings.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "core/analysis.hpp"
#include "core/crossings/adjacent_swap.hpp"
#include "core/crossings/counting.hpp"
#include "core/crossings/neighbor_order.hpp"
#include "core/graph/faults.hpp"

namespace quillan::vorn_layered {

namespace {

// The sweeps over one graph.
class Sweeper {
 public:
  explicit Sweeper(LayerOrders& orders)
      : orders_(orders),
        layers_(orders.layer_count()),
        gaps_(orders.graph().scratch.array<Gap>(layers_ - 1, Gap{})),
        settled_(orders.graph().scratch.array<Settled>(std::size_t{4} * layers_, Settled{})),
        self_reliant_(orders.graph().scratch.array<bool>(std::size_t{2} * layers_, false)),
        ordered_(orders.graph().scratch.raw_array<std::int32_t>(orders.slot_count())) {
    for (std::int32_t layer = 0; layer < layers_; ++layer) {
      for (const Reference side : {Reference::UPPER, Reference::LOWER}) {
        bool all_have_neighbours = true;
        for (const std::int32_t slot : orders.order(layer)) {
          all_have_neighbours = all_have_neighbours && orders.degree(slot, side) > 0;
        }
        self_reliant_[layer * 2 + static_cast<int>(side)] = all_have_neighbours;
      }
    }
  }

  void run(std::int64_t sweeps) {
    keep_best();
    // Stated as one pass after which the seed is put back.
    if (best_crossings_ == 0) return;
    for (std::int64_t iteration = 0; iteration < sweeps; ++iteration) {
      if (seen_before(iteration)) break;
      const bool use_median = iteration % 2 == 0;
      for (std::int32_t layer = 1; layer < layers_; ++layer) {
        visit(layer, Reference::UPPER, use_median);
      }
      if (record()) break;
      for (std::int32_t layer = layers_ - 2; layer >= 0; --layer) {
        visit(layer, Reference::LOWER, use_median);
      }
      if (record()) break;
    }
    restore_best();
  }

 private:
  // The crossings of a gap between two layers, with the stamps of the orders they were counted for.
  struct Gap {
    std::int64_t crossings = 0;
    std::int64_t upper = -1;
    std::int64_t lower = -1;
  };

  // Stamps of a layer and its neighbours at which a visit is known to change nothing.
  struct Settled {
    std::int64_t own = -1;
    std::int64_t above = -1;
    std::int64_t below = -1;

    bool operator==(const Settled&) const = default;
  };

  [[nodiscard]] Settled stamps(std::int32_t layer) const {
    return {orders_.stamp(layer), layer > 0 ? orders_.stamp(layer - 1) : 0,
            layer + 1 < layers_ ? orders_.stamp(layer + 1) : 0};
  }

  // Sorts one layer by its finished neighbour and refines it against both. What comes out depends
  // on the orders of the neighbours and, through nodes without neighbours on that side, on the
  // layer's own order; so a visit may be skipped where none of these changed since a visit of the
  // same kind left the layer as it was, or since any such visit if every node has neighbours.
  void visit(std::int32_t layer, Reference side, bool use_median) {
    if (orders_.layer_size(layer) < 2) return;
    const int side_index = static_cast<int>(side);
    Settled& settled = settled_[layer * 4 + side_index * 2 + (use_median ? 1 : 0)];
    if (settled == stamps(layer)) return;
    orders_.refresh_keys(layer, Reference::UPPER);
    orders_.refresh_keys(layer, Reference::LOWER);
    const std::span<std::int32_t> ordered = ordered_.first(orders_.layer_size(layer));
    _order_by_neighbors(orders_, layer, side, use_median, ordered);
    _adjacent_swap(orders_, ordered);
    const bool changed = orders_.set_order(layer, ordered);
    if (!changed || self_reliant_[layer * 2 + side_index]) settled = stamps(layer);
  }

  // Counts the crossings of the graph, gap by gap and only where an order changed. Gives up at
  // `enough`, since only a smaller count makes a difference.
  std::int64_t count_up_to(std::int64_t enough) {
    std::int64_t sum = 0;
    for (std::int32_t upper = 0; upper + 1 < layers_; ++upper) {
      if (is_current(upper)) sum += gaps_[upper].crossings;
    }
    for (std::int32_t upper = 0; upper + 1 < layers_ && sum < enough; ++upper) {
      if (is_current(upper)) continue;
      gaps_[upper] = {_crossings_between(orders_, upper), orders_.stamp(upper),
                      orders_.stamp(upper + 1)};
      sum += gaps_[upper].crossings;
    }
    return sum;
  }

  [[nodiscard]] bool is_current(std::int32_t upper) const {
    return gaps_[upper].upper == orders_.stamp(upper) &&
           gaps_[upper].lower == orders_.stamp(upper + 1);
  }

  void keep_best() {
    best_crossings_ = count_up_to(INT64_MAX);
    best_.assign(orders_.all().begin(), orders_.all().end());
  }

  // Takes note of an order with strictly fewer crossings; true when there is nothing left to gain.
  bool record() {
    if (count_up_to(best_crossings_) < best_crossings_) keep_best();
    return best_crossings_ == 0;
  }

  void restore_best() {
    for (std::int32_t layer = 0; layer < layers_; ++layer) {
      orders_.set_order(
          layer, std::span(best_).subspan(orders_.first_slot(layer), orders_.layer_size(layer)));
    }
  }

  // Whether the sweeps have come back to orders that they started from before with the same
  // measure: then all that follows is a repetition and brings no better order. Compares with the
  // start two iterations ago, and with a start kept at every power of two, which finds a cycle of
  // any length (Brent, An Improved Monte Carlo Factorization Algorithm, 1980, section 2).
  bool seen_before(std::int64_t iteration) {
    const std::span<const std::int32_t> now = orders_.all();
    const auto same = [now](const std::vector<std::int32_t>& other) {
      return std::equal(now.begin(), now.end(), other.begin(), other.end());
    };
    std::vector<std::int32_t>& previous = starts_[iteration % 2];
    if (same(previous)) return true;
    previous.assign(now.begin(), now.end());
    if (iteration % 2 != 0 || iteration == 0) return false;
    if (same(milestone_)) return true;
    if (iteration >= next_milestone_) {
      milestone_.assign(now.begin(), now.end());
      next_milestone_ *= 2;
    }
    return false;
  }

  LayerOrders& orders_;
  std::int32_t layers_;
  std::span<Gap> gaps_;
  std::span<Settled> settled_;    // per layer, side and measure
  std::span<bool> self_reliant_;  // per layer and side: every node has neighbours there
  std::span<std::int32_t> ordered_;
  std::vector<std::int32_t> best_;
  std::int64_t best_crossings_ = 0;
  std::array<std::vector<std::int32_t>, 2> starts_;  // of the last two iterations
  std::vector<std::int32_t> milestone_;
  std::int64_t next_milestone_ = 4;
};

}  // namespace

void _commit_order(LGraph& graph) {
  for (std::int32_t layer = 0; layer < graph.layers.size(); ++layer) {
    std::int32_t order = 0;
    for (LNode* node : graph.layers[layer]) node->order = order++;
  }
}

void reduce_crossings(LGraph& graph) {
  const std::string& strategy = graph.options.crossing_strategy;
  if (graph.layers.size() < 2 || strategy == "NONE") {
    _commit_order(graph);
    return;
  }
  const Arena::Frame frame(graph.scratch);
  LayerOrders orders(graph);
  orders.rank_ids();
  if (strategy == "INTERACTIVE" && _has_usable_positions(graph)) {
    _seed_interactive(orders);
  } else {
    _seed_dfs(orders);
  }
  const LazyInteger thoroughness = graph.options.thoroughness;
  if (!thoroughness.is_integer) throw TypeFault("thoroughness must be an integer");
  Sweeper(orders).run(std::max<std::int64_t>(1, thoroughness.value));
  orders.commit();
}

}  // namespace quillan::vorn_layered
