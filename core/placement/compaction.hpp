// Compaction of blocks along the cross axis by longest paths.

#ifndef QUILLAN_CORE_PLACEMENT_COMPACTION_HPP_
#define QUILLAN_CORE_PLACEMENT_COMPACTION_HPP_

#include <cstdint>
#include <span>

#include "core/base/arena.hpp"

namespace quillan::vorn_layered {

// What has to be compacted. Slots are nodes numbered by layer and place, so that slot s - 1 is the
// neighbour before s unless s opens its layer. The neighbours s - 1 and s say that the center of
// the block of s lies at least separation[s] beyond that of the block of s - 1; in the list of a
// block these constraints stand in slot order.
struct BlockConstraints {
  std::int32_t block_count;
  std::span<const std::int32_t> block_of;  // per slot
  std::span<const double> separation;      // per slot; unused where the slot opens its layer
  std::span<const bool> opens_layer;       // per slot
};

// Centers of all blocks: what sweeps over all constraints by block index, starting at 0.0 and
// raising a center that falls short by more than 1e-9, end with (after at most block_count + 2
// sweeps). Takes the first of the three ways below that vouches for its result; near-linear in
// slots but where thousands of separations of about 1e-9 meet.
void _compact_blocks(const BlockConstraints& constraints, std::span<double> centers,
                     Arena& scratch);

// The sweeps themselves. Cost: near-linear in how often centers rise, each time times the
// constraints of the block; sweeps times slots at most.
void compact_by_sweeps(const BlockConstraints& constraints, std::span<double> centers,
                       Arena& scratch);

// One walk over the blocks that replays the sweeps; false, with `centers` unspecified, where it
// cannot vouch for the result.
bool compact_by_replay(const BlockConstraints& constraints, std::span<double> centers,
                       Arena& scratch);

// The same with a memory of the last values of each block: a few times the time, and hardly a
// result left that it cannot vouch for.
bool compact_by_trails(const BlockConstraints& constraints, std::span<double> centers,
                       Arena& scratch);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_PLACEMENT_COMPACTION_HPP_
