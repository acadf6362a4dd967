#include "core/base/text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace quillan::vorn_layered {

namespace {

struct Shape {
  std::string_view before;  // in front of the source
  std::string_view middle;  // between the source and the number
  std::string_view after;   // behind the number
  bool numbered;
};

constexpr std::array<Shape, 10> kShapes = {{
    {"", "", "", false},
    {"", "#", "", true},
    {"", ":in:", "", true},
    {"", ":out:", "", true},
    {"", ":in:auto", "", false},
    {"", ":out:auto", "", false},
    {"dummy:", "#", "", true},
    {"dummy:", "#", ":in", true},
    {"dummy:", "#", ":out", true},
    {"", ":seg#", "", true},
}};

constexpr std::size_t kMaxDigits = 10;

char* put(char* out, std::string_view piece) {
  if (!piece.empty()) std::memcpy(out, piece.data(), piece.size());
  return out + piece.size();
}

// A text to be sorted: its first eight bytes behind the common prefix as a big-endian integer, so
// that most comparisons are one integer comparison.
struct SortKey {
  std::uint64_t head;
  std::string_view bytes;
  std::int32_t index;
};

std::uint64_t head_of(std::string_view bytes) {
  std::uint64_t head = 0;
  const std::size_t count = std::min<std::size_t>(bytes.size(), 8);
  for (std::size_t i = 0; i < count; ++i) {
    head |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (56U - 8U * i);
  }
  return head;
}

bool before(const SortKey& a, const SortKey& b) {
  if (a.head != b.head) return a.head < b.head;
  const int order = a.bytes.compare(b.bytes);
  return order != 0 ? order < 0 : a.index < b.index;
}

std::size_t common_prefix(std::string_view a, std::string_view b, std::size_t limit) {
  const std::size_t end = std::min({a.size(), b.size(), limit});
  std::size_t length = 0;
  while (length < end && a[length] == b[length]) ++length;
  return length;
}

}  // namespace

std::size_t Text::max_size() const {
  const Shape& shape = kShapes[static_cast<std::size_t>(form_)];
  return shape.before.size() + (source_ ? source_->bytes.size() : 0) + shape.middle.size() +
         (shape.numbered ? kMaxDigits : 0) + shape.after.size();
}

std::size_t Text::write(char* out) const {
  const Shape& shape = kShapes[static_cast<std::size_t>(form_)];
  char* end = put(out, shape.before);
  if (source_) end = put(end, source_->bytes);
  end = put(end, shape.middle);
  if (shape.numbered) end = std::to_chars(end, end + kMaxDigits, number_).ptr;
  end = put(end, shape.after);
  return static_cast<std::size_t>(end - out);
}

void Text::append_to(std::string& out) const {
  const std::size_t start = out.size();
  out.resize(start + max_size());
  out.resize(start + write(out.data() + start));
}

std::string Text::str() const {
  std::string out;
  append_to(out);
  return out;
}

int compare(const Text& a, const Text& b) {
  if (a.is_plain() && b.is_plain()) {
    if (a.source() == b.source()) return 0;
    const std::string_view left = a.source() ? a.source()->bytes : std::string_view();
    const std::string_view right = b.source() ? b.source()->bytes : std::string_view();
    return left.compare(right);
  }
  return a.str().compare(b.str());
}

void rank_texts(std::span<const Text> texts, std::span<std::int32_t> rank, Arena& scratch) {
  if (texts.size() == 1) rank[0] = 0;
  if (texts.size() < 2) return;
  const Arena::Frame frame(scratch);
  const std::span<SortKey> keys = scratch.raw_array<SortKey>(texts.size());
  std::size_t shared = static_cast<std::size_t>(-1);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::string_view bytes;
    if (texts[i].is_plain()) {
      if (texts[i].source()) bytes = texts[i].source()->bytes;
    } else {
      const std::span<char> written = scratch.raw_array<char>(texts[i].max_size());
      bytes = {written.data(), texts[i].write(written.data())};
    }
    keys[i] = {0, bytes, static_cast<std::int32_t>(i)};
    shared = i == 0 ? bytes.size() : common_prefix(keys[0].bytes, bytes, shared);
  }
  for (SortKey& key : keys) {
    key.bytes.remove_prefix(shared);
    key.head = head_of(key.bytes);
  }
  if (!std::is_sorted(keys.begin(), keys.end(), before))
    std::sort(keys.begin(), keys.end(), before);
  for (std::size_t place = 0; place < keys.size(); ++place) {
    rank[static_cast<std::size_t>(keys[place].index)] = static_cast<std::int32_t>(place);
  }
}

}  // namespace quillan::vorn_layered
