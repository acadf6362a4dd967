// What each phase costs: `core_bench [--benchmark_...] FILE` lays out the payload in the file and
// reports, as counters, the nanoseconds that every phase took per node plus segment.

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <fstream>
#include <iostream>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/component_graphs.hpp"
#include "core/components.hpp"
#include "core/crossings/reduce_crossings.hpp"
#include "core/cycles/break_cycles.hpp"
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

// A payload as its file has it: node rows, and edge rows with the ids of their ends beside them.
struct PlainPayload {
  struct Ends {
    const TextSource* source;
    const TextSource* target;
  };
  std::vector<NodeRow> nodes;
  std::vector<EdgeRow> edges;
  std::vector<Ends> ends;
  std::deque<std::string> bytes;
  std::deque<TextSource> texts;
};

const TextSource* read_text(std::istream& file, PlainPayload& plain) {
  file >> plain.bytes.emplace_back();
  plain.texts.push_back({plain.bytes.back()});
  return &plain.texts.back();
}

// The file is text: the numbers of nodes and of edges, then for each node its id, width, height, x,
// y, input and output ports, then for each edge its id, source, target, source and target port, all
// separated by white space.
void read_payload(std::istream& file, PlainPayload& plain) {
  std::size_t node_count = 0;
  std::size_t edge_count = 0;
  file >> node_count >> edge_count;
  while (file && plain.nodes.size() < node_count) {
    NodeRow& row = plain.nodes.emplace_back();
    row.id = read_text(file, plain);
    file >> row.width >> row.height >> row.x.emplace() >> row.y.emplace();
    file >> row.input_ports.count >> row.output_ports.count;
  }
  while (file && plain.edges.size() < edge_count) {
    EdgeRow& row = plain.edges.emplace_back();
    row.id = read_text(file, plain);
    const TextSource* const source = read_text(file, plain);
    plain.ends.push_back({source, read_text(file, plain)});
    file >> row.source_port >> row.target_port;
  }
  if (!file) throw std::runtime_error("the payload ends early or a number in it is malformed");
}

// Has the engine match the ids, as a host does once per call.
void fill(const PlainPayload& plain, Payload& payload) {
  for (const NodeRow& row : plain.nodes) payload.add_node(row.id) = row;
  for (std::size_t i = 0; i < plain.edges.size(); ++i) {
    EdgeRow& edge = payload.add_edge(plain.ends[i].source->bytes, plain.ends[i].target->bytes);
    edge.id = plain.edges[i].id;
    edge.source_port = plain.edges[i].source_port;
    edge.target_port = plain.edges[i].target_port;
  }
}

// Lays out one payload as layout() does, with a look at the clock between the phases. Every phase
// therefore starts from what the earlier ones have just made.
Counts lay_out(const PlainPayload& plain, Laps& laps) {
  Counts counts;
  const LayoutOptions options;
  LayoutResult result;
  laps.start();
  Arena arena;
  Payload payload(plain.nodes.size(), plain.edges.size());
  fill(plain, payload);
  const Components components = weakly_connected_components(payload, arena);
  ComponentGraphs graphs(payload, components, options, arena);
  Packing packing(options, DEFAULT_COMPONENT_GAP);
  for (std::int32_t i = 0; i < components.size(); ++i) {
    LGraph& graph = graphs.build(i);
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
    packing.append(graph, result);
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
