#include "core/crossings/swap_cells.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>

namespace quillan::vorn_layered {

namespace {

// Sides of an member: one on which every node of the layer has keys, and the other.
using Side = SideKeys Member::*;

bool all_have_keys(std::span<const Member> members, Side side) {
  return std::all_of(members.begin(), members.end(),
                     [side](const Member& member) { return (member.*side).count > 0; });
}

// The places of the members, in order of their first keys on side `full`, and the cells among them.
struct Cells {
  std::span<std::int32_t> places;
  std::span<std::int32_t> ends;  // of each cell, in `places`
};

// Keys of an earlier cell are on neither side above those of a later one. So two nodes of different
// cells that stand the wrong way round gain on side `full`, where their first keys differ; nodes
// with equal first keys stand the right way round, since their places decide.
Cells find_cells(std::span<const Member> members, Side full, Side other, Arena& scratch) {
  const std::size_t size = members.size();
  Cells cells{scratch.raw_array<std::int32_t>(size), scratch.raw_array<std::int32_t>(size)};
  std::iota(cells.places.begin(), cells.places.end(), 0);
  std::sort(cells.places.begin(), cells.places.end(), [&](std::int32_t a, std::int32_t b) {
    const EndKey first = (members[a].*full).first;
    const EndKey second = (members[b].*full).first;
    return first != second ? first < second : a < b;
  });
  // The least key on the other side from each place on.
  const std::span<EndKey> least = scratch.raw_array<EndKey>(size + 1);
  least[size] = std::numeric_limits<EndKey>::max();
  for (std::size_t i = size; i-- > 0;) {
    const SideKeys& keys = members[cells.places[i]].*other;
    least[i] = keys.count > 0 ? std::min(least[i + 1], keys.first) : least[i + 1];
  }
  EndKey last = std::numeric_limits<EndKey>::min();
  EndKey last_other = std::numeric_limits<EndKey>::min();
  std::size_t count = 0;
  for (std::size_t i = 0; i < size; ++i) {
    const Member& member = members[cells.places[i]];
    last = std::max(last, (member.*full).last);
    if ((member.*other).count > 0) last_other = std::max(last_other, (member.*other).last);
    const bool parted = i + 1 == size || (last <= (members[cells.places[i + 1]].*full).first &&
                                          last_other <= least[i + 1]);
    if (parted) cells.ends[count++] = static_cast<std::int32_t>(i) + 1;
  }
  cells.ends = cells.ends.first(count);
  return cells;
}

}  // namespace

bool settle_in_cells(std::span<Member> members, Arena& scratch) {
  const Arena::Frame frame(scratch);
  const bool up = all_have_keys(members, &Member::up);
  if (!up && !all_have_keys(members, &Member::down)) return false;
  const Cells cells = find_cells(members, up ? &Member::up : &Member::down,
                                 up ? &Member::down : &Member::up, scratch);
  const std::span<Member> settled = scratch.raw_array<Member>(members.size());
  std::int32_t begin = 0;
  for (const std::int32_t end : cells.ends) {
    const std::span<std::int32_t> places = cells.places.subspan(begin, end - begin);
    if (places.size() * 2 > members.size()) return false;
    std::sort(places.begin(), places.end());
    const std::span<Member> cell = settled.subspan(begin, places.size());
    for (std::size_t i = 0; i < places.size(); ++i) cell[i] = members[places[i]];
    const Arena::Frame cell_frame(scratch);
    SwapScans scans(cell, scratch);
    scans.run(std::numeric_limits<std::int64_t>::max());
    if (!scans.settled()) return false;
    begin = end;
  }
  std::copy(settled.begin(), settled.end(), members.begin());
  return true;
}

}  // namespace quillan::vorn_layered
