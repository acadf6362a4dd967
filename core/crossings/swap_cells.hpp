// A layer settled cell by cell, without the long way that nodes have to go in scans.

#ifndef QUILLAN_CORE_CROSSINGS_SWAP_CELLS_HPP_
#define QUILLAN_CORE_CROSSINGS_SWAP_CELLS_HPP_

#include <span>

#include "core/crossings/swap_scans.hpp"

namespace quillan::vorn_layered {

// Puts the members in the order in which scans would leave them and returns true; or changes
// nothing and returns false, where the layer does not fall into small cells.
//
// The cells of a layer follow one another in a fixed order: wherever a node of a later cell stands
// in front of one of an earlier cell, it should pass. So scans end with the cells one behind the
// other. Inside a cell, they end with the order in which scans of its members alone end:
//
// - A scan carries a node along and sets it down where it meets one that it should not pass, which
//   is carried on instead. Call the nodes that were carried heads. The next scan carries nobody
//   past a head: neither the head before it, which was set down there, nor any of the nodes between
//   the two, which the head itself has passed (of two nodes at most one should pass the other).
// - Seen from a cell, its members pass what is left of earlier cells, and a node of a later cell
//   passes all members behind it. So where such a node comes in, the scan sets down the member that
//   it carries, and does nothing more to the cell.
// - That member is a head. So the next scan carries it on from there, after it has done the same to
//   the members in front as the second scan of the cell alone would do; and the scan after that
//   takes the place of the second. The members meet in the same order, only later.
//
// A scan leaves each node with one less of those in front that should pass it. So the cells are in
// order, and no scan is cut short any more, after m - 1 scans at most.
//
// REQUIRES: at most m of the 4 m scans were made; a cell takes the rest if it settles at all, since
// none is larger than m / 2. m log m, plus the exchanges inside the cells.
bool settle_in_cells(std::span<Member> members, Arena& scratch);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_CROSSINGS_SWAP_CELLS_HPP_
