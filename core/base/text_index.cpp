#include "core/base/text_index.hpp"

#include <bit>
#include <cstring>

namespace quillan::vorn_layered {

namespace {

// How many slots, one behind the other, a text may be in. With at most half of the slots taken,
// texts that are not made to collide hardly ever need as many.
constexpr std::size_t kReach = 32;

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ULL;

std::uint64_t mix(std::uint64_t hash, std::uint64_t word) {
  // A product carries bits upwards only; the shift brings them down for the next one.
  const std::uint64_t product = (hash ^ word) * kMultiplier;
  return product ^ (product >> 32U);
}

template <typename Word>
Word load(const char* at) {
  Word word = 0;
  std::memcpy(&word, at, sizeof(Word));
  return word;
}

// Up to seven bytes as one number, without a copy of a length that is not known beforehand.
std::uint64_t short_text(std::string_view bytes) {
  const char* at = bytes.data();
  const std::size_t size = bytes.size();
  if (size >= 4) {
    return std::uint64_t{load<std::uint32_t>(at)} << 32U | load<std::uint32_t>(at + size - 4);
  }
  if (size == 0) return 0;
  const auto byte = [at](std::size_t i) {
    return std::uint64_t{static_cast<unsigned char>(at[i])};
  };
  return byte(0) << 16U | byte(size / 2) << 8U | byte(size - 1);
}

}  // namespace

TextIndex::TextIndex(std::size_t expected)
    : slots_(std::bit_ceil(expected * 2 + 2)),
      shift_(64U - static_cast<std::uint32_t>(std::countr_zero(slots_.size()))) {
  entries_.reserve(expected);
}

std::uint64_t TextIndex::hash(std::string_view bytes) {
  std::uint64_t hash = bytes.size();
  const char* at = bytes.data();
  const char* const end = at + bytes.size();
  if (bytes.size() < sizeof(std::uint64_t)) {
    hash = mix(hash, short_text(bytes));
  } else {
    for (; end - at > 8; at += 8) hash = mix(hash, load<std::uint64_t>(at));
    hash = mix(hash, load<std::uint64_t>(end - 8));
  }
  return hash * kMultiplier;
}

std::size_t TextIndex::probe(std::string_view bytes, std::uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  const std::uint32_t tag = static_cast<std::uint32_t>(hash);  // slots are chosen by the high bits
  std::size_t at = first_slot(hash);
  for (std::size_t step = 0; step < kReach; ++step) {
    const Slot& slot = slots_[at];
    if (slot.entry < 0 || (slot.tag == tag && entries_[slot.entry].bytes == bytes)) return at;
    at = (at + 1) & mask;
  }
  return slots_.size();
}

std::int32_t& TextIndex::find_or_add(std::string_view bytes, std::int32_t value) {
  const std::uint64_t hash = TextIndex::hash(bytes);
  const std::size_t at = probe(bytes, hash);
  if (at == slots_.size()) return crowded_out_.try_emplace(bytes, value).first->second;
  Slot& slot = slots_[at];
  if (slot.entry < 0) {
    slot = {static_cast<std::uint32_t>(hash), static_cast<std::int32_t>(entries_.size())};
    entries_.push_back({bytes, value});
  }
  return entries_[slot.entry].value;
}

std::int32_t TextIndex::find(std::string_view bytes) const {
  const std::size_t at = probe(bytes, hash(bytes));
  if (at == slots_.size()) {
    const auto found = crowded_out_.find(bytes);
    return found == crowded_out_.end() ? -1 : found->second;
  }
  const std::int32_t entry = slots_[at].entry;
  return entry < 0 ? -1 : entries_[entry].value;
}

}  // namespace quillan::vorn_layered
