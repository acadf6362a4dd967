// What each phase costs: `core_bench [--benchmark_...] FILE` lays out the payload in the file and
// reports, as counters, the nanoseconds that every phase took per node plus segment.

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/plain_payload.hpp"
#include "core/components.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/cycles/break_cycles.hpp"
#include "core/exchange/build_graph.hpp"
#include "core/layering/assign_layers.hpp"
#include "core/placement/place_nodes.hpp"
#include "core/routing/route_edges.hpp"
#include "core/vorn_layered.hpp"

namespace quillan::vorn_layered::bench {

namespace {

enum Phase : std::uint8_t { IMPORT, CYCLES, LAYERS, CROSSINGS, PLACEMENT, ROUTING, EXPORT };
constexpr std::array kPhaseNames = {
    "import",      "break_cycles", "assign_layers", "reduce_crossings",
    "place_nodes", "route_edges",  "export"};

// Nanoseconds by phase. A lap charges all time since the one before to its phase, so that a layout
// of thousands of tiny components pays for one look at the clock a phase and no more.
class Laps {
 public:
  void start() { last_ = Clock::now(); }
  void lap(Phase phase) {
    const Clock::time_point now = Clock::now();
    nanoseconds_[phase] += std::chrono::duration<double, std::nano>(now - last_).count();
    last_ = now;
  }
  [[nodiscard]] double total() const {
    return std::accumulate(nanoseconds_.begin(), nanoseconds_.end(), 0.0);
  }
  [[nodiscard]] double of(std::size_t phase) const { return nanoseconds_[phase]; }

 private:
  using Clock = std::chrono::steady_clock;
  std::array<double, kPhaseNames.size()> nanoseconds_{};
  Clock::time_point last_;
};

// What the layout of a payload holds once long edges are split.
struct Counts {
  std::size_t nodes = 0;
  std::size_t dummies = 0;
  std::size_t segments = 0;
};

// Lays out one payload from scratch, phase by phase as layout() does; only the packing of the
// components is left out. Every phase therefore starts from what the earlier ones have just made.
Counts lay_out(const PlainPayload& plain, Laps& laps) {
  Counts counts;
  PlainReader reader;
  Arena texts;
  LayoutResult result;
  LGraph graph(LayoutOptions().resolved());
  graph.texts = &texts;
  laps.start();
  const Payload payload(plain.nodes, plain.edges, reader);
  const Components components = weakly_connected_components(payload);
  std::vector<std::int32_t> place_of(payload.nodes.size());
  result.positions.reserve(components.nodes.size());
  result.routes.routes.reserve(components.edges.size());
  for (std::size_t i = 0; i < components.size(); ++i) {
    graph.clear();
    build_graph(payload, {components.member_nodes(i), components.member_edges(i), place_of}, graph);
    const std::size_t real_nodes = graph.nodes.size();
    laps.lap(IMPORT);
    break_cycles(graph);
    laps.lap(CYCLES);
    assign_layers(graph);
    laps.lap(LAYERS);
    reduce_crossings(graph);
    laps.lap(CROSSINGS);
    place_nodes(graph);
    laps.lap(PLACEMENT);
    route_edges(graph);
    laps.lap(ROUTING);
    const double flow_extent = graph_extent(graph).flow;
    node_positions(graph, flow_extent, {}, result.positions);
    edge_routes(graph, flow_extent, {}, result.routes);
    laps.lap(EXPORT);
    counts.nodes += graph.nodes.size();
    counts.dummies += graph.nodes.size() - real_nodes;
    counts.segments += graph.edges.size();
  }
  benchmark::DoNotOptimize(result.routes.points.data());
  return counts;
}

// The payload of this run; a benchmark takes no arguments of its own.
PlainPayload& plain_payload() {
  static PlainPayload plain;
  return plain;
}

void bench_phases(benchmark::State& state) {
  Laps laps;
  Counts counts;
  for ([[maybe_unused]] const auto _ : state) {
    const double before = laps.total();
    counts = lay_out(plain_payload(), laps);
    state.SetIterationTime((laps.total() - before) * 1e-9);
  }
  const double elements =
      static_cast<double>(counts.nodes + counts.segments) * static_cast<double>(state.iterations());
  for (std::size_t phase = 0; phase < kPhaseNames.size(); ++phase) {
    state.counters[kPhaseNames[phase]] = laps.of(phase) / elements;
  }
  state.counters["nodes"] = static_cast<double>(counts.nodes);
  state.counters["dummies"] = static_cast<double>(counts.dummies);
  state.counters["segments"] = static_cast<double>(counts.segments);
}

BENCHMARK(bench_phases)->UseManualTime()->Unit(benchmark::kMillisecond);

void run(int argc, char** argv) {
#ifdef __clang__
  benchmark::AddCustomContext("compiler", __VERSION__);
#else
  benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
#endif
  benchmark::Initialize(&argc, argv);
  if (argc != 2) throw std::runtime_error("usage: core_bench [--benchmark_...] FILE");
  std::ifstream file(argv[1]);
  if (!file) throw std::runtime_error(std::string("cannot read ") + argv[1]);
  read_payload(file, plain_payload());
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

}  // namespace

}  // namespace quillan::vorn_layered::bench

int main(int argc, char** argv) {
  try {
    quillan::vorn_layered::bench::run(argc, argv);
  } catch (const std::exception& fault) {
    std::cerr << fault.what() << '\n';
    return 1;
  }
  return 0;
}
