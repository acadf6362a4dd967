// RecordIndex: places by the identity of Python objects.

#ifndef QUILLAN_HOST_RECORD_INDEX_HPP_
#define QUILLAN_HOST_RECORD_INDEX_HPP_

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "host/python.hpp"

namespace quillan::host {

// Reading a graph is mostly finding its records again: open addressing takes a third less time for
// it than the library's map. Objects must outlive it; no order of it ever shows.
//
// Example:
//   const auto [place, added] = index.emplace(record, records.size());
class RecordIndex {
 public:
  // The place of `object`; `place`, and true, if it had none yet.
  std::pair<std::size_t, bool> emplace(PyObject* object, std::size_t place) {
    if (2 * count_ >= slots_.size()) grow();
    Slot& slot = slots_[find(object)];
    if (slot.object != nullptr) return {slot.place, false};
    slot = {object, place};
    ++count_;
    return {place, true};
  }

 private:
  struct Slot {
    PyObject* object;
    std::size_t place;
  };

  // Where the object is, or the empty slot where it belongs.
  [[nodiscard]] std::size_t find(PyObject* object) const {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ULL;
    const std::uint64_t address = reinterpret_cast<std::uintptr_t>(object);
    std::size_t at = static_cast<std::size_t>((address * kMultiplier) >> shift_);
    while (slots_[at].object != nullptr && slots_[at].object != object) {
      at = (at + 1) & (slots_.size() - 1);
    }
    return at;
  }

  void grow() {
    constexpr std::size_t kLeast = 64;
    const std::vector<Slot> old = std::exchange(
        slots_, std::vector<Slot>(slots_.empty() ? kLeast : 4 * slots_.size(), Slot{nullptr, 0}));
    shift_ -= old.empty() ? 6U : 2U;
    for (const Slot& slot : old) {
      if (slot.object != nullptr) slots_[find(slot.object)] = slot;
    }
  }

  std::vector<Slot> slots_;  // a power of two, an eighth to half of them taken
  std::size_t count_ = 0;
  std::uint32_t shift_ = 64;
};

}  // namespace quillan::host

#endif  // QUILLAN_HOST_RECORD_INDEX_HPP_
