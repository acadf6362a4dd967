// Value: one value of the host, read through a table of functions for it.
//
// The engine never copies the payload and never touches a key that it does not name: it holds a
// handle to a host value and asks a ValueReader about it. Whatever a host conversion rejects is
// thrown by the reader, passes through the core, and is caught by the host again.

#ifndef QUILLAN_CORE_EXCHANGE_VALUE_HPP_
#define QUILLAN_CORE_EXCHANGE_VALUE_HPP_

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "core/base/text.hpp"

namespace quillan::vorn_layered {

// The keys that the engine reads, in the order of this list.
enum class Key : std::uint8_t {
  ID,
  WIDTH,
  HEIGHT,
  X,
  Y,
  INPUT_PORTS,
  OUTPUT_PORTS,
  OFFSET,
  SOURCE,
  TARGET,
  SOURCE_PORT,
  TARGET_PORT,
};
inline constexpr std::size_t KEY_COUNT = 12;

// An opaque host value; null stands for a value that is absent.
using Handle = void*;

enum class ValueKind : std::uint8_t {
  kNull,
  kInteger,  // an integer or a truth value
  kMapping,
  kOther,
};

// How the core reads host values. One reader serves one call and outlives all texts it gave out.
class ValueReader {
 public:
  ValueReader() = default;
  ValueReader(const ValueReader&) = delete;
  ValueReader& operator=(const ValueReader&) = delete;
  virtual ~ValueReader() = default;

  virtual ValueKind kind(Handle value) = 0;
  virtual bool truth(Handle value) = 0;
  // The text form, kept by the reader until the call ends.
  virtual const TextSource* text(Handle value) = 0;
  // The bytes of the text form, good until the reader is used again.
  virtual std::string_view peek_text(Handle value) = 0;
  virtual double real(Handle value) = 0;
  // The value as an integer, clamped to 64 bits; nothing if it is malformed.
  virtual std::optional<std::int64_t> integer(Handle value) = 0;
  // The value of `key`: an owned handle for release(), null if the mapping has no such key.
  virtual Handle get(Handle mapping, Key key) = 0;
  // The same, failing where the key is missing.
  virtual Handle require(Handle mapping, Key key) = 0;
  // Calls `visit` with each item of the value, in order; the handle is good during the call only.
  virtual void walk(Handle value, const std::function<void(Handle)>& visit) = 0;
  // Fails the way the host fails for an item that should have been a mapping.
  virtual void check_mapping(Handle value) = 0;
  virtual void release(Handle value) noexcept = 0;
  // The bytes of the text that `mapping` has under `key`, where a look has no effect that the host
  // could notice, else none. Good until the host's own code runs.
  virtual std::string_view glance([[maybe_unused]] Handle mapping,
                                  [[maybe_unused]] Key key) noexcept {
    return {};
  }
  // Starts to load what will be read of two mappings: first `far`, and then again as `near`, when
  // it is about to be read. Touches nothing that the host could notice.
  virtual void prefetch([[maybe_unused]] Handle far, [[maybe_unused]] Handle near) noexcept {}
};

// How many turns ahead of its use a loop starts to load a mapping, the mapping's table, and what
// these lead to. The host's objects lie all over its memory; waiting for each of them in turn takes
// longer than reading them, as soon as they do not fit into the cache.
inline constexpr std::size_t AHEAD_MAPPING = 16;
inline constexpr std::size_t AHEAD_TABLE = 8;
inline constexpr std::size_t AHEAD_CONTENT = 4;

// To be called at each turn `i` of a loop that reads the mappings `mapping_at(0)` up to
// `mapping_at(count - 1)`.
template <typename MappingAt>
void look_ahead(ValueReader& reader, std::size_t i, std::size_t count, MappingAt mapping_at) {
  if (i + AHEAD_MAPPING >= count) return;
  reader.prefetch(mapping_at(i + AHEAD_MAPPING), mapping_at(i + AHEAD_TABLE));
}

// An owned handle: releases it at the end of the scope.
class Value {
 public:
  Value(ValueReader& reader, Handle handle) : reader_(&reader), handle_(handle) {}
  Value(Value&& other) noexcept
      : reader_(other.reader_), handle_(std::exchange(other.handle_, nullptr)) {}
  Value& operator=(Value&& other) noexcept {
    std::swap(reader_, other.reader_);
    std::swap(handle_, other.handle_);
    return *this;
  }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
  ~Value() {
    if (handle_ != nullptr) reader_->release(handle_);
  }

  [[nodiscard]] bool absent() const { return handle_ == nullptr; }
  [[nodiscard]] bool absent_or_null() const { return absent() || kind() == ValueKind::kNull; }
  [[nodiscard]] ValueKind kind() const { return reader_->kind(handle_); }
  [[nodiscard]] bool truth() const { return handle_ != nullptr && reader_->truth(handle_); }
  [[nodiscard]] double real() const { return reader_->real(handle_); }
  [[nodiscard]] const TextSource* text() const { return reader_->text(handle_); }
  [[nodiscard]] std::string_view peek_text() const { return reader_->peek_text(handle_); }
  [[nodiscard]] Handle handle() const { return handle_; }

 private:
  ValueReader* reader_;
  Handle handle_;
};

}  // namespace quillan::vorn_layered

#endif  // QUILLAN_CORE_EXCHANGE_VALUE_HPP_
