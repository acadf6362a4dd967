// The few failures that the core itself can report. The host turns them into its own exceptions.

#ifndef QUILLAN_CORE_BASE_FAULTS_HPP_
#define QUILLAN_CORE_BASE_FAULTS_HPP_

#include <stdexcept>

namespace quillan::vorn_layered {

// A value of a type that cannot serve where it is needed.
class TypeFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A payload that asks for more than one of the MAX_ bounds of core/graph/vocabulary.hpp.
class SizeFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A look-up by an id that is not there; what() is the id.
class LookupFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_FAULTS_HPP_
