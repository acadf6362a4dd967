// Text: an identifier, kept as its ingredients and written out only when somebody reads it.
//
// Most ids of a layout are made from a caller's id, a literal and a number ("dummy:e7#3",
// "e7:seg#4"). A graph can have millions of them and nobody looks at most: a Text holds a pointer
// to the caller's bytes, a form and a number, in 16 bytes.
//
// Bytes are UTF-8 with lone surrogates encoded as if they were ordinary code points, so that the
// order of bytes is the order of code points.
//
// Example:
//   Text(source_of("p"), TextForm::kDummy, 1).str() == "dummy:p#1"

#ifndef QUILLAN_CORE_BASE_TEXT_HPP_
#define QUILLAN_CORE_BASE_TEXT_HPP_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "core/base/arena.hpp"

namespace quillan::vorn_layered {

// Bytes that outlive every Text made from them, and the host's own object for them, if any.
struct TextSource {
  std::string_view bytes;
  const void* host = nullptr;
};

enum class TextForm : std::uint8_t {
  kPlain,     // S
  kInPort,    // S:in:n
  kOutPort,   // S:out:n
  kInAuto,    // S:in:auto
  kOutAuto,   // S:out:auto
  kDummy,     // dummy:S#n
  kDummyIn,   // dummy:S#n:in
  kDummyOut,  // dummy:S#n:out
  kSegment,   // S:seg#n
};

class SourceOrder;

class Text {
 public:
  Text() = default;
  explicit Text(const TextSource* source) : source_(source) {}
  // `number` is used by the forms that name an n.
  Text(const TextSource* source, TextForm form, std::uint32_t number = 0)
      : source_(source), number_(number), form_(form) {}

  [[nodiscard]] bool is_plain() const { return form_ == TextForm::kPlain; }
  [[nodiscard]] const TextSource* source() const { return source_; }

  // The same ingredients in another form; turns the id of a dummy into those of its ports.
  [[nodiscard]] Text as(TextForm form) const { return {source_, form, number_}; }

  // The host's own object for exactly this text, or null.
  [[nodiscard]] const void* host() const { return is_plain() && source_ ? source_->host : nullptr; }

  void append_to(std::string& out) const;
  [[nodiscard]] std::string str() const;

  // Writes the text to `out` and returns its length; `out` needs room for max_size() bytes.
  std::size_t write(char* out) const;
  [[nodiscard]] std::size_t max_size() const;

 private:
  friend class SourceOrder;
  friend int compare(const Text& a, const Text& b, std::size_t equal);
  friend void rank_texts(std::span<const Text> texts, std::span<std::int32_t> rank, Arena& scratch,
                         const SourceOrder& known);

  const TextSource* source_ = nullptr;  // null: the empty text
  std::uint32_t number_ = 0;
  TextForm form_ = TextForm::kPlain;
};

// Negative, zero or positive as `a` is below, equal to or above `b` by code point. `equal` bytes at
// the beginning of both are known to be the same.
int compare(const Text& a, const Text& b, std::size_t equal = 0);

// The order of long sources, found once. A long edge has the caller's id in the id of every dummy:
// whoever compares those layer by layer would read two long ids with one beginning in each of them.
class SourceOrder {
 public:
  // Only sources longer than this are worth it.
  static constexpr std::size_t LONG = 256;

  SourceOrder() = default;
  // Cost: n log n comparisons of sources.
  explicit SourceOrder(std::span<const TextSource*> sources);

  // As compare(). Constant for two texts of one form and known sources.
  [[nodiscard]] int compare(const Text& a, const Text& b) const;

 private:
  struct Place {
    std::int32_t at;    // in the order of all sources
    std::int32_t last;  // the last place of a source that begins with this one
  };
  std::unordered_map<const TextSource*, Place> places_;
};

// Sets `rank[i]` to the place of `texts[i]` in code point order, from 0; equal texts stand in index
// order. Cost: near-linear for texts that differ early; n log n comparisons by `known` at most.
void rank_texts(std::span<const Text> texts, std::span<std::int32_t> rank, Arena& scratch,
                const SourceOrder& known);

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_BASE_TEXT_HPP_
