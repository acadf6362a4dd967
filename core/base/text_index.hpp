// TextIndex: finds texts by their bytes.
//
// Ids come from whoever made the graph, and may be made to hash alike. A look-up therefore goes
// through a bounded number of slots of an open-addressed table; texts that find none of theirs free
// are kept in a search tree. So the cost has a bound that no choice of texts gets around, without a
// secret on which it would depend.
//
// Example:
//   TextIndex index(2);
//   index.find_or_add("a", 0);
//   index.find_or_add("b", 1);
//   index.find("b") == 1 && index.find("c") == -1
//
// Cost of a look-up: constant for texts that are not made to collide; for any others a fixed number
// of comparisons and as many as the logarithm of the number of texts. Room: 16 to 32 bytes a text
// and its Entry.

#ifndef QUILLAN_CORE_BASE_TEXT_INDEX_HPP_
#define QUILLAN_CORE_BASE_TEXT_INDEX_HPP_

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

namespace quillan::vorn_layered {

class TextIndex {
 public:
  // With room for `expected` texts; more are taken, at the cost of the search tree.
  explicit TextIndex(std::size_t expected);

  // The value kept for `bytes`, after setting it to `value` if there was none. The bytes must
  // outlive the index. The reference is good until the next text is added.
  std::int32_t& find_or_add(std::string_view bytes, std::int32_t value);
  // The value kept for `bytes`, or -1.
  [[nodiscard]] std::int32_t find(std::string_view bytes) const;

  // What chooses the slots of a text. Differs between machines of different byte order, so nothing
  // but cost may depend on it.
  static std::uint64_t hash(std::string_view bytes);

 private:
  // Slots are small, so that the table of a large payload stays in the cache; the texts themselves
  // are looked at only where the tags agree.
  struct Slot {
    std::uint32_t tag = 0;    // of the hash
    std::int32_t entry = -1;  // -1: the slot is free
  };
  struct Entry {
    std::string_view bytes;
    std::int32_t value;
  };
  // The slot that holds `bytes` or that is free for them; none (slots_.size()) if neither is among
  // the slots that are theirs.
  [[nodiscard]] std::size_t probe(std::string_view bytes, std::uint64_t hash) const;
  [[nodiscard]] std::size_t first_slot(std::uint64_t hash) const {
    return static_cast<std::size_t>(hash >> shift_);
  }

  std::vector<Slot> slots_;  // a power of two of them
  std::uint32_t shift_;      // leaves as many bits of a hash as number the slots
  std::vector<Entry> entries_;
  std::map<std::string_view, std::int32_t> crowded_out_;  // texts whose slots were all taken
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_TEXT_INDEX_HPP_
