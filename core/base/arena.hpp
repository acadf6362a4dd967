// Arena: bump allocation for records and working arrays that die together.
//
// A layout makes and drops many small records and short-lived arrays. An Arena hands them out of
// large blocks at the cost of a pointer increment, never moves what it handed out, and gives all of
// it back at once. Nothing in it is destroyed one by one, so only trivially destructible types fit.
//
// Example:
//   Arena arena;
//   const Arena::Frame frame(arena);            // all below is given back at the end of the scope
//   std::span<int> order = arena.array<int>(n, 0);
//
// Cost: constant per call plus the initialisation asked for. Throws std::bad_alloc.
//
// Under the address sanitizer, all bytes of a block are poisoned but those of records and arrays
// that somebody holds: reading past the end of one, or after its frame was left, is reported.

#ifndef QUILLAN_CORE_BASE_ARENA_HPP_
#define QUILLAN_CORE_BASE_ARENA_HPP_

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUILLAN_POISONED_ARENAS 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define QUILLAN_POISONED_ARENAS 1
#endif
#if defined(QUILLAN_POISONED_ARENAS)
#include <sanitizer/asan_interface.h>
#endif

namespace quillan::vorn_layered {

class Arena {
 public:
  Arena() = default;
  ~Arena() { drop_blocks(0); }
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  // One record, constructed from `args`.
  template <typename T, typename... Args>
  T* make(Args&&... args) {
    static_assert(std::is_trivially_destructible_v<T>);
    return ::new (allocate(sizeof(T), alignof(T))) T{std::forward<Args>(args)...};
  }

  // `count` elements, each a copy of `value`.
  template <typename T>
  std::span<T> array(std::size_t count, const T& value) {
    const std::span<T> made = raw_array<T>(count);
    for (T& element : made) element = value;
    return made;
  }

  // `count` elements whose values are indeterminate until written.
  template <typename T>
  std::span<T> raw_array(std::size_t count) {
    static_assert(std::is_trivially_destructible_v<T> && std::is_trivially_copyable_v<T>);
    if (count > kLargest / sizeof(T)) throw std::bad_alloc();
    return {static_cast<T*>(allocate(count * sizeof(T), alignof(T))), count};
  }

  // Gives back everything; the blocks stay for the next use.
  void clear() { rewind(0, 0); }

  // Gives back everything, and to the system all blocks but the first ones of 32 MiB together.
  // Where two users of much memory follow one another, the second need not find a use for blocks
  // that were made to the measure of the first.
  void shrink();

  // Has the arena begin in `memory`, aligned for every fundamental type, before it makes blocks of
  // its own. REQUIRES: nothing was allocated yet; the memory outlives what is allocated.
  void begin_in(std::span<std::byte> memory) {
    assert(blocks_.empty());
    poison(memory.data(), memory.size());
    blocks_.push_back({nullptr, memory});
    rewind(0, 0);
  }

  // A scope: what is allocated while it lives is given back when it ends.
  class Frame {
   public:
    explicit Frame(Arena& arena) : arena_(arena), block_(arena.block_), used_(arena.used_) {}
    ~Frame() { arena_.rewind(block_, used_); }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

   private:
    Arena& arena_;
    std::size_t block_;
    std::size_t used_;
  };

 private:
  static constexpr std::size_t kLargest = static_cast<std::size_t>(-1) / 4;

  struct Block {
    std::unique_ptr<std::byte[]> owned;  // null for memory lent by begin_in()
    std::span<std::byte> bytes;
  };

#if defined(QUILLAN_POISONED_ARENAS)
  static constexpr std::size_t kGranule = 8;  // poison begins at multiples of it
  static constexpr std::size_t kGap = 16;     // never handed out, behind each record and array
  static void poison(const std::byte* at, std::size_t size) {
    __asan_poison_memory_region(at, size);
  }
  static void unpoison(const std::byte* at, std::size_t size) {
    __asan_unpoison_memory_region(at, size);
  }
#else
  static constexpr std::size_t kGranule = 1;
  static constexpr std::size_t kGap = 0;
  static void poison(const std::byte* /*at*/, std::size_t /*size*/) {}
  static void unpoison(const std::byte* /*at*/, std::size_t /*size*/) {}
#endif

  void* allocate(std::size_t size, std::size_t alignment) {
    const std::size_t aligned = std::max(alignment, kGranule);
    const std::size_t start = (used_ + aligned - 1) & ~(aligned - 1);
    if (start + size + kGap > capacity_) return allocate_in_next_block(size);
    used_ = start + size + kGap;
    unpoison(base_ + start, size);
    return base_ + start;
  }

  void* allocate_in_next_block(std::size_t size);
  void rewind(std::size_t block, std::size_t used);
  void drop_blocks(std::size_t from);

  std::vector<Block> blocks_;
  std::size_t block_ = 0;  // the block in use
  std::size_t used_ = 0;   // bytes taken of it
  std::size_t capacity_ = 0;
  std::byte* base_ = nullptr;
};

// Uninitialised bytes, aligned for every fundamental type. Asks for large pages where the system
// gives them on request: a big block then costs a few page faults in place of thousands, and its
// records fewer misses of the address cache. Null if there is no memory.
std::unique_ptr<std::byte[]> take_block(std::size_t size) noexcept;

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_ARENA_HPP_
