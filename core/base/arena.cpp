#include "core/base/arena.hpp"

#include <algorithm>
#include <memory>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace quillan::vorn_layered {

namespace {
constexpr std::size_t kFirstBlock = std::size_t{1} << 14U;
constexpr std::size_t kLargestGrowth = std::size_t{1} << 25U;
}  // namespace

std::unique_ptr<std::byte[]> take_block(std::size_t size) noexcept {
  // operator new aligns for every fundamental type, which covers all that an arena holds.
  std::unique_ptr<std::byte[]> block(new (std::nothrow) std::byte[size]);
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr std::size_t kPage = std::size_t{1} << 21U;
  void* start = block.get();
  if (start != nullptr && std::align(kPage, kPage, start, size) != nullptr) {
    // Whether it is granted makes no difference to what is in the pages.
    static_cast<void>(madvise(start, size & ~(kPage - 1), MADV_HUGEPAGE));
  }
#endif
  return block;
}

void* Arena::allocate_in_next_block(std::size_t size) {
  const std::size_t needed = size + kGap;
  std::size_t next = blocks_.empty() ? 0 : block_ + 1;
  // A block kept from an earlier use may be too small for this request; it is dropped, so that the
  // blocks in use stay a prefix of the list.
  while (next < blocks_.size() && blocks_[next].bytes.size() < needed) {
    blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(next));
  }
  if (next == blocks_.size()) {
    const std::size_t last = blocks_.empty() ? 0 : blocks_.back().bytes.size();
    const std::size_t grown = std::clamp(last * 2, kFirstBlock, kLargestGrowth);
    const std::size_t wanted = std::max(grown, needed);
    std::unique_ptr<std::byte[]> block = take_block(wanted);
    if (!block) throw std::bad_alloc();
    const std::span<std::byte> bytes(block.get(), wanted);
    poison(bytes.data(), bytes.size());
    blocks_.push_back({std::move(block), bytes});
  }
  block_ = next;
  base_ = blocks_[next].bytes.data();
  capacity_ = blocks_[next].bytes.size();
  used_ = needed;
  unpoison(base_, size);
  return base_;
}

void Arena::shrink() {
  clear();
  std::size_t kept = 0;
  std::size_t bytes = 0;
  for (; kept < blocks_.size(); ++kept) {
    bytes += blocks_[kept].bytes.size();
    if (bytes > kLargestGrowth) break;
  }
  drop_blocks(kept);
  rewind(0, 0);
}

void Arena::drop_blocks(std::size_t from) {
  for (std::size_t i = from; i < blocks_.size(); ++i) {
    unpoison(blocks_[i].bytes.data(), blocks_[i].bytes.size());
  }
  blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(from), blocks_.end());
}

void Arena::rewind(std::size_t block, std::size_t used) {
  for (std::size_t i = block; i <= block_ && i < blocks_.size(); ++i) {
    const std::size_t begin = i == block ? used : 0;
    const std::size_t end = i == block_ ? used_ : blocks_[i].bytes.size();
    poison(blocks_[i].bytes.data() + begin, end - begin);
  }
  block_ = block;
  used_ = used;
  base_ = blocks_.empty() ? nullptr : blocks_[block].bytes.data();
  capacity_ = blocks_.empty() ? 0 : blocks_[block].bytes.size();
}

}  // namespace quillan::vorn_layered
