// The tracks of one gap: trunks in an order, and wires split where no order keeps them apart.

#ifndef QUILLAN_CORE_ROUTING_GAP_TRACKS_HPP_
#define QUILLAN_CORE_ROUTING_GAP_TRACKS_HPP_

#include <cstdint>
#include <span>
#include <vector>

#include "core/base/arena.hpp"
#include "core/routing/lanes.hpp"
#include "core/routing/trunk_order.hpp"
#include "core/routing/trunks.hpp"

namespace quillan::vorn_layered {

// Finds a lane for every wire of a gap. Its memory serves one gap after the other.
//
// Where two wires exchange heights, say, each should stand left of the other. One of them is then
// split: it goes part of its way across the flow, jogs along it at a height at which there is no
// port, and goes the rest of the way on another trunk. That takes two more bends and no crossing.
class GapTracks {
 public:
  // Wires closer than `clearance` count as lying on one another.
  GapTracks(double clearance, Arena& scratch)
      : clearance_(clearance), scratch_(scratch), trunks_(clearance) {}

  // Takes the wires of a gap, and the heights of all ports at it that have segments there.
  // w log w for w wires.
  void run(std::span<const Wire> wires, std::span<const double> port_heights);

  // The wires, those that were split shortened to their first part, and behind them the other
  // parts.
  [[nodiscard]] const std::vector<Wire>& wires() const { return wires_; }
  // The other part of a wire that was split, or kWhole.
  [[nodiscard]] std::int32_t rest_of(std::int32_t wire) const { return rests_[wire]; }
  [[nodiscard]] const Lane& lane_of(std::int32_t wire) const {
    return lanes_[trunks_.legs()[wires_[wire].leg].trunk];
  }
  // The most tracks side by side.
  [[nodiscard]] std::int32_t most_tracks() const { return most_tracks_; }

  static constexpr std::int32_t kWhole = -1;

 private:
  // Rounds of splitting before everything that could make a further round necessary is split.
  static constexpr int kPatientRounds = 3;
  static constexpr int kRounds = 6;
  // How many places for a jog are looked at.
  static constexpr std::size_t kPlaces = 32;

  // A wire to split between two neighbouring heights.
  struct Split {
    std::size_t below;  // the place of the upper one in heights_
    std::int32_t wire;
  };

  void order_trunks();
  bool split_wires(bool patient);
  [[nodiscard]] std::int32_t wire_to_split(const Precedence& broken) const;
  [[nodiscard]] std::size_t place_for_jog(const Wire& wire, bool near_target) const;
  void split(std::int32_t wire, double height);
  void find_lanes();

  double clearance_;
  Arena& scratch_;
  Trunks trunks_;
  TrunkOrder order_;
  std::vector<Wire> wires_;
  std::vector<std::int32_t> rests_;
  std::vector<double> heights_;  // ascending: of ports and of jogs
  std::vector<Split> splits_;
  std::vector<bool> is_chosen_;
  std::vector<bool> was_on_cycle_;
  std::vector<Run> runs_;
  std::vector<std::int32_t> sequence_;
  std::vector<Lane> lanes_;  // by trunk
  std::int32_t most_tracks_ = 0;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_ROUTING_GAP_TRACKS_HPP_
