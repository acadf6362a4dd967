#include "core/routing/trunks.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/base/reals.hpp"

namespace quillan::vorn_layered {

namespace {

// Splitting a wire costs two bends, a wrong order at least two crossings. So a wire is rather split
// than led across another.
constexpr std::int64_t kSplitWeight = 1;
constexpr std::int64_t kCrossingsWeight = 4;

double from(const Wire& wire) { return wire.goes_up() ? -wire.source : wire.source; }
double to(const Wire& wire) { return wire.goes_up() ? -wire.target : wire.target; }

// How many of the ascending `values` lie strictly between two.
std::int64_t between(std::span<const double> values, double low, double high) {
  const auto first = std::upper_bound(values.begin(), values.end(), low);
  const auto last = std::lower_bound(values.begin(), values.end(), high);
  return std::max<std::int64_t>(0, last - first);
}

// The end of the run of elements from `first` on that `same` finds equal to the first.
template <typename Same>
std::size_t run_end(std::span<const std::int32_t> items, std::size_t first, const Same& same) {
  std::size_t end = first + 1;
  while (end < items.size() && same(items[first], items[end])) ++end;
  return end;
}

}  // namespace

void Trunks::form(std::span<Wire> wires) {
  form_legs(wires);
  form_trunks(wires);
  precedences_.clear();
  compare_legs(wires, false);
  compare_legs(wires, true);
  keep_apart(wires);
}

void Trunks::form_legs(std::span<Wire> wires) {
  legs_.clear();
  members_.clear();
  ends_.clear();
  rest_.clear();
  sorted_.resize(wires.size());
  std::iota(sorted_.begin(), sorted_.end(), 0);
  const auto sort_by = [&](std::vector<std::int32_t>& items, auto port, auto other_end) {
    std::sort(items.begin(), items.end(), [&](std::int32_t a, std::int32_t b) {
      const Wire& one = wires[a];
      const Wire& two = wires[b];
      if (one.goes_up() != two.goes_up()) return two.goes_up();
      if (one.*port != two.*port) return one.*port < two.*port;
      const int order = compare_reals(other_end(one), other_end(two));
      return order != 0 ? order < 0 : a < b;
    });
  };
  const auto shares = [&](auto port) {
    return [&wires, port](std::int32_t a, std::int32_t b) {
      return wires[a].*port == wires[b].*port && wires[a].*port != kJog &&
             wires[a].goes_up() == wires[b].goes_up();
    };
  };
  sort_by(sorted_, &Wire::source_port, to);
  for (std::size_t i = 0; i < sorted_.size();) {
    const std::size_t end = run_end(sorted_, i, shares(&Wire::source_port));
    if (end - i > 1 || wires[sorted_[i]].source_port == kJog) {
      add_leg(wires, std::span(sorted_).subspan(i, end - i), true);
    } else {
      rest_.push_back(sorted_[i]);
    }
    i = end;
  }
  sort_by(rest_, &Wire::target_port, from);
  for (std::size_t i = 0; i < rest_.size();) {
    const std::size_t end = run_end(rest_, i, shares(&Wire::target_port));
    add_leg(wires, std::span(rest_).subspan(i, end - i), end - i == 1);
    i = end;
  }
}

void Trunks::add_leg(std::span<Wire> wires, std::span<const std::int32_t> members,
                     bool shares_source) {
  const std::int32_t first = static_cast<std::int32_t>(members_.size());
  for (const std::int32_t member : members) {
    wires[member].leg = static_cast<std::int32_t>(legs_.size());
    members_.push_back(member);
    ends_.push_back(shares_source ? to(wires[member]) : from(wires[member]));
  }
  const Wire& front = wires[members.front()];
  legs_.push_back({shares_source ? from(front) : ends_[first],
                   shares_source ? ends_.back() : to(front), shares_source, front.goes_up(), first,
                   static_cast<std::int32_t>(members.size()), 0});
}

// The leg of a port that goes up and the one that goes down share a trunk.
void Trunks::form_trunks(std::span<const Wire> wires) {
  constexpr std::int32_t kAlone = -1;
  count_ = 0;
  for (Leg& leg : legs_) leg.trunk = kAlone;
  const auto pair_up = [&](auto port, const auto& may_share) {
    by_port_.clear();
    for (std::size_t i = 0; i < legs_.size(); ++i) {
      Leg& leg = legs_[i];
      const std::int32_t at = wires[members_[leg.first]].*port;
      if (leg.trunk != kAlone || at == kJog || !may_share(leg)) continue;
      if (static_cast<std::size_t>(at) >= by_port_.size()) by_port_.resize(at + 1, kAlone);
      const std::int32_t other = by_port_[at];
      by_port_[at] = static_cast<std::int32_t>(i);
      if (other == kAlone || legs_[other].trunk != kAlone) continue;
      leg.trunk = legs_[other].trunk = count_++;
    }
  };
  pair_up(&Wire::source_port, [](const Leg& leg) { return leg.shares_source; });
  pair_up(&Wire::target_port, [&](const Leg& leg) {
    return leg.count == 1 ? wires[members_[leg.first]].source_port != kJog : !leg.shares_source;
  });
  for (Leg& leg : legs_) {
    if (leg.trunk == kAlone) leg.trunk = count_++;
  }
}

// Legs of one way, in order of their beginning; see the head of trunks.hpp.
void Trunks::compare_legs(std::span<const Wire> wires, bool goes_up) {
  sorted_.clear();
  for (std::size_t i = 0; i < legs_.size(); ++i) {
    if (legs_[i].goes_up == goes_up) sorted_.push_back(static_cast<std::int32_t>(i));
  }
  std::sort(sorted_.begin(), sorted_.end(), [&](std::int32_t a, std::int32_t b) {
    const int order = compare_reals(legs_[a].low, legs_[b].low);
    return order != 0 ? order < 0 : a < b;
  });
  open_.clear();
  for (const std::int32_t later : sorted_) {
    const Leg& leg = legs_[later];
    // Both parts of a split wire go on in one direction along the flow.
    const std::int32_t first_part = wires[members_[leg.first]].first_part;
    const std::int32_t led_by = first_part == kJog ? kJog : wires[first_part].leg;
    if (led_by != kJog) precedences_.push_back({led_by, later, kNeverTurned});
    met_.clear();
    while (!open_.empty() && met_.size() < kCompared) {
      const std::int32_t earlier = open_.back();
      open_.pop_back();
      if (!(legs_[earlier].high + clearance_ > leg.low)) continue;  // over for all that follow, too
      met_.push_back(earlier);
      if (earlier == led_by) continue;
      const std::int64_t more = pairs_for(leg, legs_[earlier]) - pairs_for(legs_[earlier], leg);
      if (more > 0) precedences_.push_back({later, earlier, kCrossingsWeight * more});
      if (more < 0) precedences_.push_back({earlier, later, kCrossingsWeight * -more});
    }
    open_.insert(open_.end(), met_.rbegin(), met_.rend());
    open_.push_back(later);
  }
}

// How many pairs of wires, one of each leg, do not cross with `left` on the left and cross twice
// otherwise. Walks the shorter leg and searches the longer one.
std::int64_t Trunks::pairs_for(const Leg& left, const Leg& right) const {
  const std::span<const double> left_ends = ends_of(left);
  const std::span<const double> right_ends = ends_of(right);
  std::int64_t pairs = 0;
  if (left.count <= right.count) {
    for (const double end : left_ends) {
      const double source = left.shares_source ? left.low : end;
      const double target = left.shares_source ? end : left.high;
      if (right.shares_source) {
        if (source > right.low) pairs += between(right_ends, source - clearance_, target);
      } else if (target > right.high && source < right.high + clearance_) {
        pairs +=
            std::lower_bound(right_ends.begin(), right_ends.end(), source) - right_ends.begin();
      }
    }
    return pairs;
  }
  for (const double end : right_ends) {
    const double source = right.shares_source ? right.low : end;
    const double target = right.shares_source ? end : right.high;
    if (left.shares_source) {
      if (left.low > source && left.low < target + clearance_) {
        pairs += left_ends.end() - std::upper_bound(left_ends.begin(), left_ends.end(), target);
      }
    } else if (left.high > target) {
      pairs += between(left_ends, source, target + clearance_);
    }
  }
  return pairs;
}

// Where a source and a target stand at one height, what comes of the source goes left. At most
// kNear sources are looked at for a target: more than that stand so close only where the caller
// asks for less spacing than the clearance.
//
// A part of a split wire that is alone on its leg has such an end on one side only. So no cycle
// goes through it by these precedences alone, and they need never be broken.
void Trunks::keep_apart(std::span<const Wire> wires) {
  const auto collect = [&](std::vector<std::int32_t>& items, auto port, auto height) {
    items.clear();
    for (std::size_t i = 0; i < wires.size(); ++i) {
      if (wires[i].shown && wires[i].*port != kJog) items.push_back(static_cast<std::int32_t>(i));
    }
    std::sort(items.begin(), items.end(), [&](std::int32_t a, std::int32_t b) {
      const int order = compare_reals(wires[a].*height, wires[b].*height);
      if (order != 0) return order < 0;
      return wires[a].leg != wires[b].leg ? wires[a].leg < wires[b].leg : a < b;
    });
  };
  collect(sorted_, &Wire::source_port, &Wire::source);
  // One wire stands for those that leave the source on one leg.
  const auto same = [&](std::int32_t a, std::int32_t b) {
    return wires[a].leg == wires[b].leg && wires[a].source_port == wires[b].source_port;
  };
  sorted_.erase(std::unique(sorted_.begin(), sorted_.end(), same), sorted_.end());
  collect(rest_, &Wire::target_port, &Wire::target);
  std::size_t first = 0;
  for (const std::int32_t target : rest_) {
    const Wire& incoming = wires[target];
    const auto is_near = [&](std::size_t i) {
      return wires[sorted_[i]].source < incoming.target + clearance_;
    };
    while (first < sorted_.size() &&
           !(wires[sorted_[first]].source > incoming.target - clearance_)) {
      ++first;
    }
    const std::size_t end = std::min(sorted_.size(), first + kNear);
    for (std::size_t i = first; i < end && is_near(i); ++i) {
      const Wire& outgoing = wires[sorted_[i]];
      if (outgoing.leg == incoming.leg || outgoing.source_port == incoming.source_port) continue;
      if (legs_[outgoing.leg].count == 1 && outgoing.target_port == incoming.target_port) continue;
      const bool is_split = incoming.source_port == kJog ||
                            (outgoing.target_port == kJog && legs_[outgoing.leg].count == 1);
      precedences_.push_back(
          {outgoing.leg, incoming.leg, is_split ? kNeverTurned : kSplitWeight, sorted_[i], target});
    }
  }
}

bool Trunks::separate(const std::vector<bool>& chosen) {
  bool separated = false;
  met_.assign(count_, 0);  // legs seen on each trunk
  for (Leg& leg : legs_) {
    if (++met_[leg.trunk] == 1 || !chosen[leg.trunk]) continue;
    leg.trunk = count_++;
    met_.push_back(1);
    separated = true;
  }
  return separated;
}

std::span<const Arc> Trunks::arcs() {
  arcs_.clear();
  for (const Precedence& one : precedences_) {
    const std::int32_t before = legs_[one.before].trunk;
    const std::int32_t after = legs_[one.after].trunk;
    if (before != after) arcs_.push_back({before, after, one.weight});
  }
  return arcs_;
}

}  // namespace quillan::vorn_layered
