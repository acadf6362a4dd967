#include "core/component_graphs.hpp"

#include <algorithm>
#include <span>

#include "core/exchange/build_graph.hpp"

namespace quillan::vorn_layered {

namespace {

// What one node or edge is given room for: more than twice what its records and working arrays take
// where edges are short. What is never touched costs nothing.
constexpr std::size_t kRecordBytes = 512;
constexpr std::size_t kWorkingBytes = 256;

// Fresh memory is dear: the system clears it and hands it out page by page, which took a fifth of
// the time of a layout of a thousand nodes. What is given back stays with the process for the next
// layout only while it is no more than about twice the largest block given back so far, and that
// was at most 32 MiB (mallopt(3), M_TRIM_THRESHOLD). Blocks that double each exceed this together,
// one large block does not.
constexpr std::size_t kLargestKept = std::size_t{1} << 25U;

// The nodes and edges of the largest component.
std::size_t largest(const Components& components) {
  std::size_t most = 0;
  for (std::int32_t i = 0; i < components.size(); ++i) {
    most = std::max(most, components[i].nodes.size() + components[i].edges.size());
  }
  return most;
}

}  // namespace

ComponentGraphs::ComponentGraphs(const Payload& payload, const Components& components,
                                 const LayoutOptions& options, Arena& texts)
    : payload_(payload), components_(components), graph_(options.resolved()) {
  graph_.texts = &texts;
  const std::size_t elements = largest(components);
  const std::size_t size = elements * (kRecordBytes + kWorkingBytes);
  if (size == 0 || size >= kLargestKept) return;
  room_ = take_block(size);
  if (!room_) return;
  const std::span<std::byte> bytes(room_.get(), size);
  graph_.arena.begin_in(bytes.first(elements * kRecordBytes));
  graph_.scratch.begin_in(bytes.subspan(elements * kRecordBytes));
}

LGraph& ComponentGraphs::build(std::int32_t component) {
  graph_.clear();
  build_graph(payload_, components_[component], graph_);
  return graph_;
}

}  // namespace quillan::vorn_layered
