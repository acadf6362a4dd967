#include "core/crossings/reduce_crossings.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "core/analysis.hpp"
#include "core/base/faults.hpp"
#include "core/crossings/adjacent_swap.hpp"
#include "core/crossings/counting.hpp"
#include "core/crossings/keep.hpp"
#include "core/crossings/neighbor_order.hpp"
#include "core/crossings/sifting.hpp"

namespace quillan::vorn_layered {

namespace {

// The sweeps over one graph.
class Sweeper {
 public:
  explicit Sweeper(LayerOrders& orders)
      : orders_(orders),
        layers_(orders.layer_count()),
        gaps_(orders.graph().scratch.array<Gap>(std::size_t{kKinds} * (layers_ - 1), Gap{})),
        outcomes_(orders.graph().scratch.array<Outcome>(std::size_t{kKinds} * layers_, Outcome{})),
        kept_(orders.graph().scratch.raw_array<std::int32_t>(std::size_t{kKinds} *
                                                             orders.slot_count())),
        self_reliant_(orders.graph().scratch.array<bool>(std::size_t{2} * layers_, false)),
        ordered_(orders.graph().scratch.raw_array<std::int32_t>(orders.largest_layer())),
        starts_(orders.graph().scratch.array<std::int64_t>(std::size_t{2} * layers_, -1)) {
    for (std::int32_t layer = 0; layer < layers_; ++layer) {
      for (const FixedLayer fixed : {FixedLayer::UPPER, FixedLayer::LOWER}) {
        bool all_have_neighbours = true;
        for (const std::int32_t slot : orders.order(layer)) {
          all_have_neighbours = all_have_neighbours && orders.degree(slot, fixed) > 0;
        }
        self_reliant_[layer * 2 + static_cast<int>(fixed)] = all_have_neighbours;
      }
    }
  }

  void run(std::int64_t sweeps) {
    keep_best(count_up_to(INT64_MAX, {}));
    // The same as one pass after which the seed is put back.
    if (best_crossings_ == 0) return;
    const std::int64_t last_round = (sweeps - 1) / 2;
    for (std::int64_t iteration = 0; iteration < sweeps; ++iteration) {
      if (stands_still(iteration)) break;
      if (iteration % 2 == 0 && repeats(iteration / 2, last_round)) break;
      const Measure measure = iteration % 2 == 0 ? Measure::MEDIAN : Measure::BARYCENTRE;
      for (std::int32_t layer = 1; layer < layers_; ++layer) {
        visit(layer, {FixedLayer::UPPER, measure});
      }
      if (record({FixedLayer::UPPER, measure})) break;
      for (std::int32_t layer = layers_ - 2; layer >= 0; --layer) {
        visit(layer, {FixedLayer::LOWER, measure});
      }
      if (record({FixedLayer::LOWER, measure})) break;
    }
    orders_.set_all(best_);
  }

 private:
  // The sweeps take turns between four kinds of passes. Soon most layers take the same order again
  // whenever the same kind of pass comes by, though another after each of the others.
  enum class Measure : std::uint8_t { MEDIAN, BARYCENTRE };
  struct Kind {
    FixedLayer fixed;
    Measure measure;

    [[nodiscard]] std::size_t index() const {
      return static_cast<std::size_t>(fixed) * 2 + static_cast<std::size_t>(measure);
    }
  };
  static constexpr std::size_t kKinds = 4;

  // The crossings of a gap between two layers, with the stamps of the orders they were counted for.
  struct Gap {
    std::int64_t crossings = 0;
    std::int64_t upper = -1;
    std::int64_t lower = -1;
  };

  // What a visit of a layer depends on: the orders of its neighbours, and its own if it has nodes
  // without neighbours, which the sort puts where they stood.
  struct Inputs {
    std::int64_t own = -1;
    std::int64_t above = -1;
    std::int64_t below = -1;

    bool operator==(const Inputs&) const = default;
  };

  // The last visit of one kind to a layer; the order it made is in `kept_`.
  struct Outcome {
    Inputs inputs;
    std::int64_t stamp = -1;  // of that order; -1 before the first visit
  };

  [[nodiscard]] Inputs inputs_of(std::int32_t layer, Kind kind) const {
    const bool self_reliant = self_reliant_[layer * 2 + static_cast<int>(kind.fixed)];
    return {self_reliant ? 0 : orders_.stamp(layer), layer > 0 ? orders_.stamp(layer - 1) : 0,
            layer + 1 < layers_ ? orders_.stamp(layer + 1) : 0};
  }

  [[nodiscard]] std::span<std::int32_t> kept(std::int32_t layer, std::size_t kind) {
    return kept_.subspan(kind * orders_.slot_count() + orders_.first_slot(layer),
                         orders_.layer_size(layer));
  }

  // Sorts one layer by its finished neighbour and refines it against both, or does again what the
  // last visit of the kind did if nothing that it depends on has changed.
  void visit(std::int32_t layer, Kind kind) {
    if (orders_.layer_size(layer) < 2) return;
    Outcome& outcome = outcomes_[layer * kKinds + kind.index()];
    const Inputs inputs = inputs_of(layer, kind);
    if (outcome.inputs != inputs) {
      orders_.refresh_keys(layer, FixedLayer::UPPER);
      orders_.refresh_keys(layer, FixedLayer::LOWER);
      const std::span<std::int32_t> ordered = ordered_.first(orders_.layer_size(layer));
      _order_by_neighbors(orders_, layer, kind.fixed, kind.measure == Measure::MEDIAN, ordered);
      _adjacent_swap(orders_, ordered);
      const std::int64_t stamp = stamp_for(layer, ordered);
      std::copy(ordered.begin(), ordered.end(), kept(layer, kind.index()).begin());
      outcome = {inputs, stamp};
    }
    orders_.set_order(layer, kept(layer, kind.index()), outcome.stamp);
  }

  // The stamp of an order of the layer, which may be the present one or one that is kept.
  [[nodiscard]] std::int64_t stamp_for(std::int32_t layer, std::span<const std::int32_t> ordered) {
    const auto same = [ordered](std::span<const std::int32_t> other) {
      return std::equal(ordered.begin(), ordered.end(), other.begin());
    };
    if (same(orders_.order(layer))) return orders_.stamp(layer);
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      const std::int64_t stamp = outcomes_[layer * kKinds + kind].stamp;
      if (stamp >= 0 && same(kept(layer, kind))) return stamp;
    }
    return orders_.new_stamp();
  }

  // Counts the crossings of the graph after a pass of this kind, gap by gap and only where no count
  // is known. Gives up at `enough`, since only a smaller count makes a difference.
  std::int64_t count_up_to(std::int64_t enough, Kind kind) {
    std::int64_t sum = 0;
    for (std::int32_t upper = 0; upper + 1 < layers_; ++upper) {
      if (const Gap* gap = known(upper)) sum += gap->crossings;
    }
    for (std::int32_t upper = 0; upper + 1 < layers_ && sum < enough; ++upper) {
      if (known(upper) != nullptr) continue;
      Gap& gap = gaps_[upper * kKinds + kind.index()];
      gap = {_crossings_between(orders_, upper), orders_.stamp(upper), orders_.stamp(upper + 1)};
      sum += gap.crossings;
    }
    return sum;
  }

  // The count of a gap as the orders stand, or null.
  [[nodiscard]] const Gap* known(std::int32_t upper) const {
    const std::span<const Gap> counts = gaps_.subspan(upper * kKinds, kKinds);
    const auto found = std::find_if(counts.begin(), counts.end(), [&](const Gap& gap) {
      return gap.upper == orders_.stamp(upper) && gap.lower == orders_.stamp(upper + 1);
    });
    return found != counts.end() ? &*found : nullptr;
  }

  void keep_best(std::int64_t crossings) {
    best_crossings_ = crossings;
    best_.assign(orders_.all().begin(), orders_.all().end());
  }

  // Takes note of an order with strictly fewer crossings; true when there is nothing left to gain.
  bool record(Kind kind) {
    const std::int64_t crossings = count_up_to(best_crossings_, kind);
    if (crossings < best_crossings_) keep_best(crossings);
    return best_crossings_ == 0;
  }

  // Whether the sweeps have come back to the orders that they started from two iterations ago, with
  // the same measure: then all that follows is a repetition and brings no better order. Stamps tell
  // that, since a visit that makes the order of the last visit of its kind again keeps its stamp.
  bool stands_still(std::int64_t iteration) {
    bool same = true;
    for (std::int32_t layer = 0; layer < layers_; ++layer) {
      const std::int64_t now = orders_.stamp(layer);
      same = std::exchange(starts_[static_cast<std::int64_t>(layer) * 2 + iteration % 2], now) ==
                 now &&
             same;
    }
    return same;
  }

  // The same for a round of two iterations and any earlier round. Compares with the start of a
  // round kept at every power of two, which finds a cycle of any length (Brent, An Improved Monte
  // Carlo Factorization Algorithm, 1980, section 2). A cycle of one round stands still, so nothing
  // is kept that only the next round would see.
  bool repeats(std::int64_t round, std::int64_t last_round) {
    const std::span<const std::int32_t> now = orders_.all();
    if (std::equal(now.begin(), now.end(), milestone_.begin(), milestone_.end())) return true;
    if (round == next_milestone_ && round + 2 <= last_round) {
      milestone_.assign(now.begin(), now.end());
      next_milestone_ *= 2;
    }
    return false;
  }

  LayerOrders& orders_;
  std::int32_t layers_;
  std::span<Gap> gaps_;           // per gap, as many counts as there are kinds
  std::span<Outcome> outcomes_;   // per layer and kind
  std::span<std::int32_t> kept_;  // per kind, laid out like LayerOrders::all()
  std::span<bool> self_reliant_;  // per layer and fixed layer: every node has neighbours there
  std::span<std::int32_t> ordered_;
  std::vector<std::int32_t> best_;
  std::int64_t best_crossings_ = 0;
  std::vector<std::int32_t> milestone_;  // the orders at the start of a round
  std::int64_t next_milestone_ = 2;      // the round to keep next
  std::span<std::int64_t> starts_;  // per layer: its stamps at the start of the last two iterations
};

// Sweeps, and gives back what that took.
void sweep(LayerOrders& orders, std::int64_t sweeps) {
  const Arena::Frame frame(orders.graph().scratch);
  Sweeper(orders).run(sweeps);
}

// Sweeps, then sifts. The sweeps before are the same for every thoroughness, so that a larger one
// goes on with the same search; if it pays for more of them, their best order counts as well. On
// large graphs sweeps would go on for as long as they are told to, so they have the same bound.
void sweep_and_sift(LayerOrders& orders, std::int64_t asked) {
  const std::int64_t thoroughness = std::min(asked, MOST_THOROUGHNESS);
  constexpr std::int64_t kSweeps = 7;
  sweep(orders, kSweeps);
  sift_layers(orders, thoroughness);
  if (thoroughness <= kSweeps) return;
  const std::vector<std::int32_t> sifted(orders.all().begin(), orders.all().end());
  const std::int64_t crossings = count_crossings(orders);
  if (crossings == 0) return;
  _seed_dfs(orders);
  sweep(orders, thoroughness);
  if (crossings <= count_crossings(orders)) orders.set_all(sifted);
}

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
  if (strategy == "KEEP" && _has_usable_positions(graph)) {
    _keep_seen_order(graph);
    _commit_order(graph);
    return;
  }
  const Arena::Frame frame(graph.scratch);
  LayerOrders orders(graph);
  orders.sort_ids();
  if (strategy == "INTERACTIVE" && _has_usable_positions(graph)) {
    _seed_interactive(orders);
  } else {
    _seed_dfs(orders);
  }
  const LazyInteger thoroughness = graph.options.thoroughness;
  if (!thoroughness.is_integer) throw TypeFault("thoroughness must be an integer");
  const std::int64_t effort = std::max<std::int64_t>(1, thoroughness.value);
  if (strategy == "SIFTING") {
    sweep_and_sift(orders, effort);
  } else {
    sweep(orders, effort);
  }
  orders.commit();
}

}  // namespace quillan::vorn_layered
