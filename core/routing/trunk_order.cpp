#include "core/routing/trunk_order.hpp"

#include <algorithm>
#include <queue>
#include <utility>

namespace quillan::vorn_layered {

void TrunkOrder::read(std::span<const Arc> arcs, std::int32_t count, Arena& arena) {
  arcs_ = arcs;
  count_ = count;
  const auto by_end = [&](std::int32_t Arc::*end) {
    const std::span<std::int32_t> keys = arena.raw_array<std::int32_t>(arcs.size());
    for (std::size_t i = 0; i < arcs.size(); ++i) keys[i] = arcs[i].*end;
    return group_by(keys, count, arena);
  };
  outgoing_ = by_end(&Arc::before);
  incoming_ = by_end(&Arc::after);
  in_core_.assign(count, true);
  pending_in_.assign(count, 0);
  pending_out_.assign(count, 0);
  for (const Arc& arc : arcs) {
    ++pending_in_[arc.after];
    ++pending_out_[arc.before];
  }
  peel(outgoing_, &Arc::after, pending_in_, front_);
  peel(incoming_, &Arc::before, pending_out_, back_);
  core_ = count - static_cast<std::int32_t>(front_.size() + back_.size());
}

// Peels off items without pending arcs until none is left, walking `along` to the items at `end`.
void TrunkOrder::peel(const Grouped& along, std::int32_t Arc::*end,
                      std::vector<std::int32_t>& pending, std::vector<std::int32_t>& peeled) {
  peeled.clear();
  for (std::int32_t item = 0; item < count_; ++item) {
    if (in_core_[item] && pending[item] == 0) peeled.push_back(item);
  }
  for (std::size_t i = 0; i < peeled.size(); ++i) {
    in_core_[peeled[i]] = false;
    for (const std::int32_t arc : along[peeled[i]]) {
      const std::int32_t item = arcs_[arc].*end;
      if (--pending[item] == 0 && in_core_[item]) peeled.push_back(item);
    }
  }
}

void TrunkOrder::arrange() {
  middle_.clear();
  if (has_cycle()) order_core();
  places_.resize(count_);
  std::int32_t place = 0;
  for (const std::int32_t item : front_) places_[item] = place++;
  for (const std::int32_t item : middle_) places_[item] = place++;
  for (std::size_t i = back_.size(); i-- > 0;) places_[back_[i]] = place++;
  find_depths();
}

// Takes the item that gains most, again and again. An item that another must precede at any rate
// waits for it.
void TrunkOrder::order_core() {
  std::vector<Open> open(count_);
  for (const Arc& arc : arcs_) {
    if (!in_core_[arc.before] || !in_core_[arc.after]) continue;
    if (arc.weight == kNeverTurned) {
      ++open[arc.after].barriers;
      continue;
    }
    open[arc.before].gain += arc.weight;
    open[arc.after].gain -= arc.weight;
  }
  // The largest gain first, then the smallest item. An item whose gain fell since gets another pair
  // when its latest one comes up.
  std::priority_queue<std::pair<std::int64_t, std::int32_t>> queue;
  const auto push = [&](std::int32_t item) {
    open[item].queued = open[item].gain;
    queue.emplace(open[item].gain, -item);
  };
  for (std::int32_t item = 0; item < count_; ++item) {
    if (in_core_[item] && open[item].barriers == 0) push(item);
  }
  while (!queue.empty()) {
    const auto [gain, negated] = queue.top();
    const std::int32_t item = -negated;
    queue.pop();
    if (!in_core_[item]) continue;
    if (open[item].gain != gain) {
      if (open[item].queued == gain) push(item);
      continue;
    }
    in_core_[item] = false;
    middle_.push_back(item);
    close(item, open);
    for (const std::int32_t arc : outgoing_[item]) {
      const std::int32_t after = arcs_[arc].after;
      const bool has_risen = open[after].gain > open[after].queued;
      if (in_core_[after] && open[after].barriers == 0 && has_risen) push(after);
    }
  }
  // A cycle of arcs that are never turned round would leave its items out.
  for (std::int32_t item = 0; item < count_; ++item) {
    if (in_core_[item]) middle_.push_back(item);
  }
}

void TrunkOrder::close(std::int32_t item, std::vector<Open>& open) const {
  for (const std::int32_t arc : outgoing_[item]) {
    if (arcs_[arc].weight == kNeverTurned) {
      --open[arcs_[arc].after].barriers;
    } else {
      open[arcs_[arc].after].gain += arcs_[arc].weight;
    }
  }
  for (const std::int32_t arc : incoming_[item]) {
    if (arcs_[arc].weight != kNeverTurned) open[arcs_[arc].before].gain -= arcs_[arc].weight;
  }
}

void TrunkOrder::find_depths() {
  depths_.assign(count_, 0);
  const auto pass_on = [&](std::int32_t item) {
    for (const std::int32_t arc : outgoing_[item]) {
      const std::int32_t after = arcs_[arc].after;
      if (places_[item] < places_[after]) {
        depths_[after] = std::max(depths_[after], depths_[item] + 1);
      }
    }
  };
  for (const std::int32_t item : front_) pass_on(item);
  for (const std::int32_t item : middle_) pass_on(item);
  for (std::size_t i = back_.size(); i-- > 0;) pass_on(back_[i]);
}

}  // namespace quillan::vorn_layered
