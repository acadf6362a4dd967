#include "core/crossings/adjacent_swap.hpp"

#include <algorithm>
#include <cassert>

#include "core/crossings/swap_cells.hpp"
#include "core/crossings/swap_scans.hpp"

namespace quillan::vorn_layered {

namespace {

// Whether every node has one key on side `sorted` and at most one on side `free`, and the layer
// stands in ascending order of the former.
bool is_plain(std::span<const Member> members, SideKeys Member::*sorted, SideKeys Member::*free) {
  EndKey last = INT32_MIN;
  for (const Member& member : members) {
    const SideKeys& keys = member.*sorted;
    if (keys.count != 1 || (member.*free).count > 1 || keys.first < last) return false;
    last = keys.first;
  }
  return true;
}

// What the scans make of a plain layer, without them. Nodes with different keys on the sorted side
// never change places: what the exchange could gain on the other side it loses on this one. Nodes
// with equal keys there are exchanged exactly if their other keys stand in descending order, and a
// node without another key stays where it is and parts those around it. So each stretch of equal
// keys comes out as a stable sort, which the scans need fewer rounds for than their cap.
void settle_plain(std::span<Member> members, SideKeys Member::*sorted, SideKeys Member::*free) {
  for (std::size_t begin = 0; begin < members.size();) {
    std::size_t end = begin;
    while (end < members.size() && (members[end].*free).count == 1 &&
           (members[end].*sorted).first == (members[begin].*sorted).first) {
      ++end;
    }
    const auto by_free_key = [free](const Member& a, const Member& b) {
      return (a.*free).first < (b.*free).first;
    };
    const std::span<Member> stretch = members.subspan(begin, end - begin);
    if (!std::is_sorted(stretch.begin(), stretch.end(), by_free_key)) {
      std::stable_sort(stretch.begin(), stretch.end(), by_free_key);
    }
    begin = std::max(end, begin + 1);
  }
}

void settle_by_scans(std::span<Member> members, Arena& scratch) {
  const std::int64_t size = static_cast<std::int64_t>(members.size());
  SwapScans scans(members, scratch);
  // Cells are worth looking for where nodes have a long way to go, and again where they still have
  // after several times as many exchanges.
  constexpr std::int64_t kFirstLook = 8;  // exchanges a node
  constexpr std::int64_t kNextLook = 4;   // times the last
  for (std::int64_t exchanges = kFirstLook * size; !scans.run(exchanges); exchanges *= kNextLook) {
    if (scans.count() <= size && settle_in_cells(members, scratch)) return;
  }
}

}  // namespace

void _adjacent_swap(const LayerOrders& orders, std::span<std::int32_t> ordered) {
  if (ordered.size() < 2) return;
  assert(orders.has_fresh_keys(orders.layer_of(ordered[0]), FixedLayer::UPPER));
  assert(orders.has_fresh_keys(orders.layer_of(ordered[0]), FixedLayer::LOWER));
  Arena& scratch = orders.graph().scratch;
  const Arena::Frame frame(scratch);
  const std::span<Member> members = scratch.raw_array<Member>(ordered.size());
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    members[i] = {side_keys(orders.keys(ordered[i], FixedLayer::UPPER)),
                  side_keys(orders.keys(ordered[i], FixedLayer::LOWER)), ordered[i]};
  }
  if (is_plain(members, &Member::up, &Member::down)) {
    settle_plain(members, &Member::up, &Member::down);
  } else if (is_plain(members, &Member::down, &Member::up)) {
    settle_plain(members, &Member::down, &Member::up);
  } else {
    settle_by_scans(members, scratch);
  }
  for (std::size_t i = 0; i < ordered.size(); ++i) ordered[i] = members[i].slot;
}

}  // namespace quillan::vorn_layered
