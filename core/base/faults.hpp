// The few failures that the core itself can report. The host turns them into its own exceptions.

#ifndef QUILLAN_CORE_BASE_FAULTS_HPP_
#define QUILLAN_CORE_BASE_FAULTS_HPP_

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

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

// A look-up by an id that is not there. An id may hold a zero byte, at which what() would end.
class LookupFault : public std::runtime_error {
 public:
  explicit LookupFault(const std::string& missing) : std::runtime_error(missing), id(missing) {}
  std::string id;
};

// A node whose layer is below 0 where the layers are to be listed.
class LayerFault : public std::runtime_error {
 public:
  LayerFault(std::string node, std::int32_t its_layer)
      : std::runtime_error("layer below 0"), id(std::move(node)), layer(its_layer) {}
  std::string id;
  std::int32_t layer;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_FAULTS_HPP_
