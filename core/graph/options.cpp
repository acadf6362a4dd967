#include "core/graph/options.hpp"

namespace quillan::vorn_layered {

LayoutOptions LayoutOptions::resolved() const {
  LayoutOptions pinned = *this;
  const auto pin = [this](std::string& strategy, const char* automatic) {
    if (strategy == AUTO) strategy = interactive ? "INTERACTIVE" : automatic;
  };
  pin(pinned.cycle_breaking_strategy, "GREEDY");
  pin(pinned.layering_strategy, "NETWORK_SIMPLEX");
  pin(pinned.crossing_strategy, "LAYER_SWEEP");
  return pinned;
}

}  // namespace quillan::vorn_layered
