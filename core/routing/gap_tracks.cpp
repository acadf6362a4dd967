#include "core/routing/gap_tracks.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "core/base/reals.hpp"
#include "core/graph/spacing.hpp"

namespace quillan::vorn_layered {

void GapTracks::run(std::span<const Wire> wires, std::span<const double> port_heights) {
  wires_.assign(wires.begin(), wires.end());
  rests_.assign(wires.size(), kWhole);
  heights_.clear();
  for (const double height : port_heights) {
    if (!std::isnan(height)) heights_.push_back(height);
  }
  std::sort(heights_.begin(), heights_.end());
  for (int round = 0;; ++round) {
    const Arena::Frame frame(scratch_);
    order_trunks();
    if (round == kRounds || !split_wires(round < kPatientRounds)) break;
  }
  find_lanes();
}

// Two legs that share a trunk stand at the same place, which may be one too few. So trunks on
// cycles are taken apart first.
void GapTracks::order_trunks() {
  trunks_.form(wires_);
  order_.read(trunks_.arcs(), trunks_.count(), scratch_);
  if (order_.has_cycle() && trunks_.separate(order_.on_cycle())) {
    order_.read(trunks_.arcs(), trunks_.count(), scratch_);
  }
  was_on_cycle_ = order_.on_cycle();
  order_.arrange();
}

// Splits wires that lie on others in the order found, or if not `patient`, all that might come to.
// Returns whether there were any; then the trunks must be formed anew.
bool GapTracks::split_wires(bool patient) {
  splits_.clear();
  is_chosen_.assign(wires_.size(), false);
  for (const Precedence& one : trunks_.precedences()) {
    if (!one.keeps_apart() || one.weight == kNeverTurned) continue;
    const std::int32_t before = trunks_.legs()[one.before].trunk;
    const std::int32_t after = trunks_.legs()[one.after].trunk;
    const bool is_broken = order_.place(before) > order_.place(after);
    if (!is_broken && (patient || !was_on_cycle_[before] || !was_on_cycle_[after])) continue;
    const std::int32_t wire = wire_to_split(one);
    if (!std::isfinite(wires_[wire].target - wires_[wire].source)) continue;
    if (is_chosen_[wire] || is_chosen_[one.source_wire] || is_chosen_[one.target_wire]) continue;
    is_chosen_[wire] = true;
    splits_.push_back({place_for_jog(wires_[wire], wire == one.target_wire), wire});
  }
  std::sort(splits_.begin(), splits_.end(), [](const Split& a, const Split& b) {
    return a.below != b.below ? a.below < b.below : a.wire < b.wire;
  });
  const std::size_t ports = heights_.size();
  for (std::size_t first = 0; first < splits_.size();) {
    std::size_t end = first;
    while (end < splits_.size() && splits_[end].below == splits_[first].below) ++end;
    const double low = heights_[splits_[first].below];
    const double room = heights_[splits_[first].below + 1] - low;
    const double step = room / static_cast<double>(end - first + 1);
    for (std::size_t i = first; i < end; ++i) {
      const double height = low + step * static_cast<double>(i - first + 1);
      split(splits_[i].wire, height);
      heights_.push_back(height);
    }
    first = end;
  }
  if (heights_.size() > ports) std::sort(heights_.begin(), heights_.end());
  return !splits_.empty();
}

// The longer of the two, where there is a choice.
std::int32_t GapTracks::wire_to_split(const Precedence& broken) const {
  const Wire& outgoing = wires_[broken.source_wire];
  const Wire& incoming = wires_[broken.target_wire];
  const bool has_choice = trunks_.legs()[outgoing.leg].count == 1;
  const double outgoing_way = std::abs(outgoing.target - outgoing.source);
  const double incoming_way = std::abs(incoming.target - incoming.source);
  return has_choice && outgoing_way > incoming_way ? broken.source_wire : broken.target_wire;
}

// A room between two heights that is near one end of the wire, so that only a short part of the
// wire stands at a place of its own, yet leaves both parts long enough to look intended. The
// largest room met if none does.
std::size_t GapTracks::place_for_jog(const Wire& wire, bool near_target) const {
  const double low = std::min(wire.source, wire.target);
  const double high = std::max(wire.source, wire.target);
  const auto begin = std::lower_bound(heights_.begin(), heights_.end(), low) - heights_.begin();
  const auto end = std::lower_bound(heights_.begin(), heights_.end(), high) - heights_.begin();
  const std::size_t count = static_cast<std::size_t>(std::max<std::ptrdiff_t>(end - begin, 1));
  const bool from_high = near_target != wire.goes_up();
  std::size_t best = static_cast<std::size_t>(begin);
  double best_room = -1.0;
  for (std::size_t i = 0; i < std::min(count, kPlaces); ++i) {
    const std::size_t place = static_cast<std::size_t>(begin) + (from_high ? count - 1 - i : i);
    const double room = heights_[place + 1] - heights_[place];
    const double middle = heights_[place] + room / 2.0;
    const bool is_good =
        room >= 2.0 * clearance_ && middle - low >= SMALL_JOG && high - middle >= SMALL_JOG;
    if (is_good) return place;
    if (!(room > best_room)) continue;
    best = place;
    best_room = room;
  }
  return best;
}

void GapTracks::split(std::int32_t wire, double height) {
  Wire rest = wires_[wire];
  rest.source = height;
  rest.source_port = kJog;
  rest.first_part = wire;
  wires_[wire].target = height;
  wires_[wire].target_port = kJog;
  rests_.push_back(kWhole);
  rests_[wire] = static_cast<std::int32_t>(wires_.size());
  wires_.push_back(rest);
}

void GapTracks::find_lanes() {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::size_t count = static_cast<std::size_t>(trunks_.count());
  runs_.assign(count, {kInfinity, -kInfinity});
  for (const Leg& leg : trunks_.legs()) {
    Run& run = runs_[leg.trunk];
    run.low = smaller(run.low, leg.goes_up ? -leg.high : leg.low);
    run.high = larger(run.high, leg.goes_up ? -leg.low : leg.high);
  }
  sequence_.resize(count);
  std::iota(sequence_.begin(), sequence_.end(), 0);
  std::sort(sequence_.begin(), sequence_.end(), [&](std::int32_t a, std::int32_t b) {
    if (order_.depth(a) != order_.depth(b)) return order_.depth(a) < order_.depth(b);
    const int order = compare_reals(runs_[a].low, runs_[b].low);
    return order != 0 ? order < 0 : a < b;
  });
  lanes_.assign(count, Lane());
  assign_lanes(runs_, sequence_, clearance_, lanes_, scratch_);
  most_tracks_ = 0;
  for (const Lane& lane : lanes_) most_tracks_ = std::max(most_tracks_, lane.tracks);
}

}  // namespace quillan::vorn_layered
