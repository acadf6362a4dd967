#include "core/base/text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <vector>

namespace quillan::vorn_layered {

namespace {

struct Shape {
  std::string_view before;  // in front of the source
  std::string_view middle;  // between the source and the number
  std::string_view after;   // behind the number
  bool numbered;
};

constexpr std::array<Shape, 9> kShapes = {{
    {"", "", "", false},
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

// What a text is written out from.
class Pieces {
 public:
  Pieces(const TextSource* source, TextForm form, std::uint32_t number) {
    const Shape& shape = kShapes[static_cast<std::size_t>(form)];
    char* const digits = digits_.data();
    char* const end = std::to_chars(digits, digits + kMaxDigits, number).ptr;
    parts_ = {shape.before, source != nullptr ? source->bytes : std::string_view(), shape.middle,
              shape.numbered ? std::string_view(digits, end) : std::string_view(), shape.after};
  }
  Pieces(const Pieces&) = delete;
  Pieces& operator=(const Pieces&) = delete;

  // Writes the first `room` bytes at most; returns how many.
  std::size_t write(char* out, std::size_t room) const {
    std::size_t length = 0;
    for (const std::string_view part : parts_) {
      const std::size_t count = std::min(part.size(), room - length);
      if (count > 0) std::memcpy(out + length, part.data(), count);
      length += count;
    }
    return length;
  }

  // As std::string_view::compare(), without writing anything. `equal` bytes at the beginning are
  // not looked at.
  [[nodiscard]] int compare(const Pieces& other, std::size_t equal) const {
    std::size_t i = 0;
    std::size_t j = 0;
    std::string_view a = parts_[0];
    std::string_view b = other.parts_[0];
    while (true) {
      while (a.empty() && i + 1 < parts_.size()) a = parts_[++i];
      while (b.empty() && j + 1 < parts_.size()) b = other.parts_[++j];
      if (a.empty() || b.empty()) return static_cast<int>(b.empty()) - static_cast<int>(a.empty());
      const std::size_t count = std::min(a.size(), b.size());
      const std::size_t skipped = std::min(count, equal);
      equal -= skipped;
      const std::size_t read = a.data() == b.data() ? 0 : count - skipped;
      const int order = a.substr(skipped, read).compare(b.substr(skipped, read));
      if (order != 0) return order;
      a.remove_prefix(count);
      b.remove_prefix(count);
    }
  }

 private:
  std::array<char, kMaxDigits> digits_{};
  std::array<std::string_view, 5> parts_;
};

// Of a text no more than this is written out to be sorted. An id may be long, and the base of one
// in every layer.
constexpr std::size_t kMostWritten = SourceOrder::LONG;

// A text to be sorted: its first eight bytes behind the common prefix as a big-endian integer, so
// that most comparisons are one integer comparison.
struct SortKey {
  std::uint64_t head;
  std::string_view bytes;
  std::int32_t index;
  bool whole;  // whether `bytes` are all of the text, and not its first kMostWritten only
};

std::uint64_t head_of(std::string_view bytes) {
  std::uint64_t head = 0;
  const std::size_t count = std::min<std::size_t>(bytes.size(), 8);
  for (std::size_t i = 0; i < count; ++i) {
    head |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (56U - 8U * i);
  }
  return head;
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
  return Pieces(source_, form_, number_).write(out, max_size());
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

int compare(const Text& a, const Text& b, std::size_t equal) {
  if (a.is_plain() && b.is_plain()) {
    if (a.source() == b.source()) return 0;
    const std::string_view left = a.source() ? a.source()->bytes : std::string_view();
    const std::string_view right = b.source() ? b.source()->bytes : std::string_view();
    return left.substr(equal).compare(right.substr(equal));
  }
  return Pieces(a.source_, a.form_, a.number_).compare({b.source_, b.form_, b.number_}, equal);
}

SourceOrder::SourceOrder(std::span<const TextSource*> sources) {
  std::sort(sources.begin(), sources.end(),
            [](const TextSource* a, const TextSource* b) { return a->bytes < b->bytes; });
  // Those whose last place is not known yet; each begins with the one before it.
  std::vector<std::int32_t> open;
  std::vector<std::int32_t> last(sources.size());
  const std::int32_t count = static_cast<std::int32_t>(sources.size());
  for (std::int32_t at = 0; at < count; ++at) {
    while (!open.empty() && !sources[at]->bytes.starts_with(sources[open.back()]->bytes)) {
      last[open.back()] = at - 1;
      open.pop_back();
    }
    open.push_back(at);
  }
  for (const std::int32_t at : open) last[at] = count - 1;
  for (std::int32_t at = 0; at < count; ++at) places_[sources[at]] = {at, last[at]};
}

int SourceOrder::compare(const Text& a, const Text& b) const {
  const auto first = places_.find(a.source_);
  const auto second = places_.find(b.source_);
  if (a.form_ != b.form_ || first == places_.end() || second == places_.end()) {
    return vorn_layered::compare(a, b);
  }
  if (first->second.at > second->second.at) return -compare(b, a);
  if (first->second.last < second->second.at) return -1;
  // The one source begins with the other, so that what stands behind this one decides.
  const std::size_t before = kShapes[static_cast<std::size_t>(a.form_)].before.size();
  return vorn_layered::compare(a, b, before + a.source_->bytes.size());
}

void rank_texts(std::span<const Text> texts, std::span<std::int32_t> rank, Arena& scratch,
                const SourceOrder& known) {
  if (texts.size() == 1) rank[0] = 0;
  if (texts.size() < 2) return;
  const Arena::Frame frame(scratch);
  const std::span<SortKey> keys = scratch.raw_array<SortKey>(texts.size());
  std::size_t shared = static_cast<std::size_t>(-1);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const Text& text = texts[i];
    std::string_view bytes;
    if (text.is_plain()) {
      if (text.source_) bytes = text.source_->bytes.substr(0, kMostWritten);
    } else {
      const std::span<char> room = scratch.raw_array<char>(std::min(text.max_size(), kMostWritten));
      const Pieces pieces(text.source_, text.form_, text.number_);
      bytes = {room.data(), pieces.write(room.data(), room.size())};
    }
    keys[i] = {0, bytes, static_cast<std::int32_t>(i), bytes.size() < kMostWritten};
    shared = i == 0 ? bytes.size() : common_prefix(keys[0].bytes, bytes, shared);
  }
  for (SortKey& key : keys) {
    key.bytes.remove_prefix(shared);
    key.head = head_of(key.bytes);
  }
  const auto before = [&](const SortKey& a, const SortKey& b) {
    if (a.head != b.head) return a.head < b.head;
    int order = a.bytes.compare(b.bytes);
    if (order == 0 && !a.whole && !b.whole) order = known.compare(texts[a.index], texts[b.index]);
    return order != 0 ? order < 0 : a.index < b.index;
  };
  if (!std::is_sorted(keys.begin(), keys.end(), before))
    std::sort(keys.begin(), keys.end(), before);
  for (std::size_t place = 0; place < keys.size(); ++place) {
    rank[static_cast<std::size_t>(keys[place].index)] = static_cast<std::int32_t>(place);
  }
}

}  // namespace quillan::vorn_layered
