// ComponentGraphs: the graphs of a payload's components, one at a time in the same memory.
//
// Example:
//   ComponentGraphs graphs(payload, components, options, texts);
//   for (std::int32_t i = 0; i < components.size(); ++i) run_phases(graphs.build(i));

#ifndef QUILLAN_CORE_COMPONENT_GRAPHS_HPP_
#define QUILLAN_CORE_COMPONENT_GRAPHS_HPP_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/components.hpp"
#include "core/exchange/payload.hpp"
#include "core/graph/lgraph.hpp"

namespace quillan::vorn_layered {

class ComponentGraphs {
 public:
  // Takes memory for the largest component. `texts` holds the ids that are made up and not derived
  // from others. All arguments must outlive this.
  ComponentGraphs(const Payload& payload, const Components& components,
                  const LayoutOptions& options, Arena& texts);

  // The graph of `component` fresh from import, in place of the one built before. Throws SizeFault.
  LGraph& build(std::int32_t component);

 private:
  const Payload& payload_;
  const Components& components_;
  std::unique_ptr<std::byte[]> room_;
  LGraph graph_;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_COMPONENT_GRAPHS_HPP_
