#include "core/graph/arena.hpp"

#include <algorithm>
#include <memory>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace quillan::vorn_layered {

namespace {
constexpr std::size_t kFirstBlock = std::size_t{1} << 14U;
constexpr std::size_t kLargestGrowth = std::size_t{1} << 25U;

// Asks for large pages where the system gives them on request: a big block then costs a few page
// faults in place of thousands, and its records fewer misses of the address cache.
void prefer_large_pages([[maybe_unused]] std::byte* bytes, [[maybe_unused]] std::size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr std::size_t kPage = std::size_t{1} << 21U;
  void* start = bytes;
  if (std::align(kPage, kPage, start, size) == nullptr) return;
  // Whether it is granted makes no difference to what is in the pages.
  static_cast<void>(madvise(start, size & ~(kPage - 1), MADV_HUGEPAGE));
#endif
}
}  // namespace

void* Arena::allocate_in_next_block(std::size_t size) {
  std::size_t next = blocks_.empty() ? 0 : block_ + 1;
  // A block kept from an earlier use may be too small for this request; it is dropped, so that the
  // blocks in use stay a prefix of the list.
  while (next < blocks_.size() && blocks_[next].size < size) {
    blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(next));
  }
  if (next == blocks_.size()) {
    const std::size_t grown =
        blocks_.empty() ? kFirstBlock : std::min(blocks_.back().size * 2, kLargestGrowth);
    const std::size_t wanted = std::max(grown, size);
    // operator new aligns for every fundamental type, which covers all that an arena holds.
    blocks_.push_back({std::unique_ptr<std::byte[]>(new std::byte[wanted]), wanted});
    prefer_large_pages(blocks_.back().bytes.get(), wanted);
  }
  block_ = next;
  base_ = blocks_[next].bytes.get();
  capacity_ = blocks_[next].size;
  used_ = size;
  return base_;
}

std::size_t Arena::footprint() const {
  std::size_t bytes = 0;
  for (const Block& block : blocks_) bytes += block.size;
  return bytes;
}

void Arena::rewind(std::size_t block, std::size_t used) {
  block_ = block;
  used_ = used;
  base_ = blocks_.empty() ? nullptr : blocks_[block].bytes.get();
  capacity_ = blocks_.empty() ? 0 : blocks_[block].size;
}

}  // namespace quillan::vorn_layered
