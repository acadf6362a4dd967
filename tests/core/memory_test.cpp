// Running out of memory at any moment of a layout: the failure comes out as std::bad_alloc, and all
// that was allocated before it is given back.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "core/vorn_layered.hpp"
#include "tests/core/payload_case.hpp"

namespace {

// The allocations of this test program.
struct Allocations {
  std::int64_t until_failure = -1;  // that still succeed; negative: all do
  bool lasting = false;             // whether those after the first failure fail too
  bool failed = false;
  std::int64_t live = 0;
};
Allocations allocations;

void* take(std::size_t size) noexcept {
  if (allocations.until_failure == 0) {
    allocations.failed = true;
    if (!allocations.lasting) allocations.until_failure = -1;
    return nullptr;
  }
  if (allocations.until_failure > 0) --allocations.until_failure;
  void* const memory = std::malloc(size > 0 ? size : 1);
  if (memory != nullptr) ++allocations.live;
  return memory;
}

void* take_or_throw(std::size_t size) {
  void* const memory = take(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void give_back(void* memory) noexcept {
  if (memory != nullptr) --allocations.live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return take_or_throw(size); }
void* operator new[](std::size_t size) { return take_or_throw(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return take(size); }
void operator delete(void* memory) noexcept { give_back(memory); }
void operator delete[](void* memory) noexcept { give_back(memory); }
void operator delete(void* memory, std::size_t) noexcept { give_back(memory); }
void operator delete[](void* memory, std::size_t) noexcept { give_back(memory); }

namespace quillan::vorn_layered::testing {
namespace {

// Two components with cycles, long edges, parallel edges and ports of every kind.
void fill(PayloadCase& made) {
  made.ports = {{nullptr, 10.0}, {nullptr, 20.0}};
  for (int i = 0; i < 70; ++i) {
    NodeRow& node = made.node(i);
    node.x = i % 7 * 100;
    node.y = i % 5 * 50;
    node.input_ports = {2, true, 0};
    node.output_ports.count = i % 4;
  }
  for (int i = 0; i < 70; ++i) {
    for (const int step : {1, 5, 9}) {
      const int other = i % 35 < step ? i : i - step;  // within the half that i is in
      const bool back = i % 6 == 0;
      made.edge(back ? i : other, back ? other : i);
    }
  }
}

std::vector<double> numbers_of(const LayoutResult& result) {
  std::vector<double> numbers;
  for (const NodePosition& item : result.positions) {
    numbers.insert(numbers.end(), {item.top_left.x, item.top_left.y});
  }
  for (const Point point : result.routes.points) numbers.insert(numbers.end(), {point.x, point.y});
  return numbers;
}

struct Outcome {
  bool failed = false;    // whether an allocation was refused
  bool thrown = false;    // whether std::bad_alloc came out
  bool correct = false;   // whether the layout came out
  std::int64_t kept = 0;  // allocations that were not given back
};

Outcome attempt(const LayoutOptions& options, std::int64_t until_failure, bool lasting,
                const std::vector<double>& expected) {
  Outcome outcome;
  const std::int64_t live = allocations.live;
  allocations.failed = false;
  allocations.lasting = lasting;
  allocations.until_failure = until_failure;
  try {
    PayloadCase made;
    fill(made);
    const LayoutResult result = made.lay_out(options);
    allocations.until_failure = -1;
    outcome.correct = numbers_of(result) == expected;
  } catch (const std::bad_alloc&) {
    allocations.until_failure = -1;
    outcome.thrown = true;
  }
  outcome.failed = allocations.failed;
  outcome.kept = allocations.live - live;
  return outcome;
}

TEST(OutOfMemory, EveryFailedAllocationComesOutAndNothingIsKept) {
  for (const bool interactive : {false, true}) {
    LayoutOptions options;
    options.interactive = interactive;
    options.placement_strategy = interactive ? "SIMPLE" : "BRANDES_KOEPF";
    PayloadCase made;
    fill(made);
    const std::vector<double> expected = numbers_of(made.lay_out(options));
    for (const bool lasting : {false, true}) {
      std::int64_t refused = 0;
      while (true) {
        const Outcome outcome = attempt(options, refused, lasting, expected);
        ASSERT_EQ(outcome.kept, 0) << "allocation " << refused;
        // A request that may be refused, as a sort's for its buffer, is the only one to be
        // survived.
        ASSERT_NE(outcome.thrown, outcome.correct) << "allocation " << refused;
        if (!outcome.failed) break;
        ++refused;
      }
      EXPECT_GT(refused, 100);
    }
  }
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
