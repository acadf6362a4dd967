// LayoutOptions between Python and the core.

#ifndef QUILLAN_HOST_OPTIONS_HPP_
#define QUILLAN_HOST_OPTIONS_HPP_

#include "core/graph/options.hpp"
#include "host/state.hpp"

namespace quillan::host {

// The core's form of `options`, a LayoutOptions or None for the defaults. TypeError for anything
// else and for a field of a wrong type, ValueError for a text that names no direction.
vorn_layered::LayoutOptions read_options(const State& state, PyObject* options);

// A new LayoutOptions like `options` with its automatic strategies pinned.
Ref resolved_options(const State& state, PyObject* options);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_OPTIONS_HPP_
