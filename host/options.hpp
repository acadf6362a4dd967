// LayoutOptions between Python and the core.

#ifndef QUILLAN_HOST_OPTIONS_HPP_
#define QUILLAN_HOST_OPTIONS_HPP_

#include "core/graph/options.hpp"
#include "host/graph_use.hpp"
#include "host/state.hpp"

namespace quillan::host {

// Reads those fields of `record`, a LayoutOptions, that `parts` names. TypeError for a field of a
// wrong type, ValueError for a text that names no direction; both name the field.
void read_options(const State& state, PyObject* record, OptionParts parts,
                  vorn_layered::LayoutOptions& options);

// TypeError unless `options` is a LayoutOptions or None.
void require_options(const State& state, PyObject* options);

// All of `options`, a LayoutOptions or None for the defaults. TypeError for anything else.
vorn_layered::LayoutOptions read_all_options(const State& state, PyObject* options);

// A new LayoutOptions like `options`, one itself, with its automatic strategies pinned; all else is
// copied as it is.
Ref resolved_options(const State& state, PyObject* options);

}  // namespace quillan::host

#endif  // QUILLAN_HOST_OPTIONS_HPP_
