// The module's functions, by group; module.cpp puts them in place.

#ifndef QUILLAN_HOST_FUNCTIONS_HPP_
#define QUILLAN_HOST_FUNCTIONS_HPP_

#include "host/python.hpp"

namespace quillan::host {

// The public functions, in the module's order of definition.
extern PyMethodDef BUILD_FUNCTIONS[];   // build_graph to weakly_connected_components, break_cycles
extern PyMethodDef PHASE_FUNCTIONS[];   // assign_layers to run_phases
extern PyMethodDef LAYOUT_FUNCTIONS[];  // layout

// What the records' methods call; private to the module.
extern PyMethodDef RECORD_FUNCTIONS[];

}  // namespace quillan::host

#endif  // QUILLAN_HOST_FUNCTIONS_HPP_
