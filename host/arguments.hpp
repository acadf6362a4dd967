// The arguments of a module's function, owned.

#ifndef QUILLAN_HOST_ARGUMENTS_HPP_
#define QUILLAN_HOST_ARGUMENTS_HPP_

#include <array>
#include <cstddef>
#include <utility>

#include "host/python.hpp"

namespace quillan::host {

// The first `Count` arguments, null where the caller gave none. The dict of a call by keywords can
// be their only other owner, and it can be emptied by code of the caller's that runs meanwhile;
// parsing runs none, since it converts nothing.
//
// Example:
//   const Arguments<2> given(args, kwargs, "O|O:f", {"graph", "options"});
//   use(given[0]);
template <std::size_t Count>
class Arguments {
 public:
  // `format` as in PyArg_ParseTupleAndKeywords(), of "O", "|", "$" and the name only. Throws
  // PythonError.
  Arguments(PyObject* args, PyObject* kwargs, const char* format,
            const std::array<const char*, Count>& names)
      : Arguments(args, kwargs, format, names, std::make_index_sequence<Count>()) {}

  [[nodiscard]] PyObject* operator[](std::size_t index) const { return owned_[index].get(); }

 private:
  template <std::size_t... Index>
  Arguments(PyObject* args, PyObject* kwargs, const char* format,
            const std::array<const char*, Count>& names, std::index_sequence<Index...>) {
    std::array<char*, Count + 1> keywords = {const_cast<char*>(names[Index])..., nullptr};
    std::array<PyObject*, Count> borrowed{};
    if (PyArg_ParseTupleAndKeywords(args, kwargs, format, keywords.data(), &borrowed[Index]...) ==
        0) {
      throw PythonError();
    }
    for (std::size_t i = 0; i < Count; ++i) owned_[i] = Ref::borrow(borrowed[i]);
  }

  std::array<Ref, Count> owned_;
};

}  // namespace quillan::host

#endif  // QUILLAN_HOST_ARGUMENTS_HPP_
