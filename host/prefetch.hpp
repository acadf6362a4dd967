// Hints to the processor, where the compiler has a way to give them. Leaving them out changes the
// time that is taken and nothing else.

#ifndef QUILLAN_HOST_PREFETCH_HPP_
#define QUILLAN_HOST_PREFETCH_HPP_

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace quillan::host {

// Starts to load the cache line at `address`, which need not be valid.
inline void prefetch([[maybe_unused]] const void* address) {
#if defined(__GNUC__) || defined(__clang__)
  __builtin_prefetch(address);
#elif defined(_M_X64) || defined(_M_IX86)
  _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T0);
#elif defined(_M_ARM64)
  __prefetch(address);
#endif
}

}  // namespace quillan::host

#endif  // QUILLAN_HOST_PREFETCH_HPP_
