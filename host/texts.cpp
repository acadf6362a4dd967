#include "host/texts.hpp"

#include <string>
#include <utility>

namespace quillan::host {

using vorn_layered::TextSource;

namespace {

// Python refuses to write out an int of more digits than a limit that the user may set to as few as
// this.
constexpr int kDigitsAtOnce = 640;

// The decimal form of an int beyond Python's limit, written out in pieces from the lowest digits
// on.
Ref long_decimal_form(PyObject* integer) {
  const Ref ten = check(PyLong_FromLong(10));
  const Ref exponent = check(PyLong_FromLong(kDigitsAtOnce));
  const Ref base = check(PyNumber_Power(ten.get(), exponent.get(), Py_None));
  const Ref zero = check(PyLong_FromLong(0));
  Ref rest = check(PyNumber_Absolute(integer));
  std::vector<std::string> pieces;
  while (check(PyObject_IsTrue(rest.get())) != 0) {
    const Ref both = check(PyNumber_Divmod(rest.get(), base.get()));
    const Ref piece = check(PyLong_Type.tp_repr(PyTuple_GET_ITEM(both.get(), 1)));
    pieces.emplace_back(static_cast<const char*>(PyUnicode_DATA(piece.get())),
                        static_cast<std::size_t>(PyUnicode_GET_LENGTH(piece.get())));
    rest = Ref::borrow(PyTuple_GET_ITEM(both.get(), 0));
  }
  std::string digits =
      check(PyObject_RichCompareBool(integer, zero.get(), Py_LT)) != 0 ? "-" : std::string();
  digits += pieces.back();
  for (std::size_t i = pieces.size() - 1; i-- > 0;) {
    digits.append(static_cast<std::size_t>(kDigitsAtOnce) - pieces[i].size(), '0');
    digits += pieces[i];
  }
  return text_from_bytes(digits);
}

// The decimal form of an int, whatever its class makes of str() and however long it is. Owned,
// since a failure may let the collector run, and with it code of the caller's.
Ref decimal_form(PyObject* borrowed) {
  const Ref owned = Ref::borrow(borrowed);
  PyObject* const integer = owned.get();
  Ref text = Ref::steal(PyLong_Type.tp_repr(integer));
  if (text) return text;
  if (!PyErr_ExceptionMatches(PyExc_ValueError)) throw PythonError();
  PyErr_Clear();
  const Ref exact = check(PyNumber_Index(integer));
  return long_decimal_form(exact.get());
}

}  // namespace

Ref text_form(PyObject* value) {
  if (PyUnicode_CheckExact(value)) return Ref::borrow(value);
  if (PyUnicode_Check(value)) return check(PyUnicode_FromObject(value));
  if (PyLong_Check(value) && !PyBool_Check(value)) return decimal_form(value);
  Ref text = check(PyObject_Str(value));
  if (PyUnicode_CheckExact(text.get())) return text;
  return check(PyUnicode_FromObject(text.get()));
}

std::string_view bytes_of(PyObject* text, Ref& encoded) {
  if (PyUnicode_IS_ASCII(text)) {
    return {static_cast<const char*>(PyUnicode_DATA(text)),
            static_cast<std::size_t>(PyUnicode_GET_LENGTH(text))};
  }
  encoded = check(PyUnicode_AsEncodedString(text, "utf-8", "surrogatepass"));
  return {PyBytes_AS_STRING(encoded.get()),
          static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.get()))};
}

Ref text_object(const vorn_layered::Text& text) {
  if (text.host() != nullptr) {
    return Ref::borrow(static_cast<PyObject*>(const_cast<void*>(text.host())));
  }
  return text_from_bytes(text.str());
}

const TextSource* TextKeeper::keep(Ref text) {
  Ref encoded;
  const std::string_view bytes = bytes_of(text.get(), encoded);
  const TextSource* source = arena_.make<TextSource>(bytes, static_cast<const void*>(text.get()));
  if (encoded) kept_.push_back(std::move(encoded));
  kept_.push_back(std::move(text));
  return source;
}

}  // namespace quillan::host
