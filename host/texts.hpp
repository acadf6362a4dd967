// Python strings as the core's texts.

#ifndef QUILLAN_HOST_TEXTS_HPP_
#define QUILLAN_HOST_TEXTS_HPP_

#include <string_view>
#include <vector>

#include "core/base/arena.hpp"
#include "core/base/text.hpp"
#include "host/python.hpp"

namespace quillan::host {

// The exact str that is the text form of `value`.
Ref text_form(PyObject* value);

// The bytes of an exact str: UTF-8 with lone surrogates encoded like any code point. `encoded` owns
// them where the str itself does not.
std::string_view bytes_of(PyObject* text, Ref& encoded);

// The exact str of a text: the very object that it was made from where there is one.
Ref text_object(const vorn_layered::Text& text);

// Keeps strings alive for the texts made from them: the records and mappings that they come from
// may change meanwhile.
class TextKeeper {
 public:
  // `arena` holds the sources and must live as long as what is made from them.
  explicit TextKeeper(vorn_layered::Arena& arena) : arena_(arena) {}

  // Keeps `text`, an exact str, and returns its source.
  const vorn_layered::TextSource* keep(Ref text);

 private:
  vorn_layered::Arena& arena_;
  std::vector<Ref> kept_;
};

}  // namespace quillan::host

#endif  // QUILLAN_HOST_TEXTS_HPP_
