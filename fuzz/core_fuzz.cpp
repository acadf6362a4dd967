// Fuzzing of the core: bytes become a payload and options, all five phases run, and every law of a
// drawing is asserted on what comes out. A law that does not hold ends the process.

#include <cstdint>
#include <span>

#include "core/base/faults.hpp"
#include "tests/core/layout_laws.hpp"
#include "tests/core/random_payloads.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  namespace engine = quillan::vorn_layered;
  engine::testing::Random random(std::span(bytes, size));
  engine::testing::RandomCall call(random);
  const engine::LayoutOptions options = call.options();
  const double gap = call.length();
  engine::testing::PayloadCase made;
  call.fill(made);
  try {
    engine::testing::check_layout(made, options, gap);
  } catch (const engine::SizeFault&) {  // too many ports
  } catch (const engine::TypeFault&) {  // thoroughness
  }
  return 0;
}
