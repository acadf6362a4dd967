// Payloads in C++: plain variants, and the reader through which the engine sees them.
//
// Example:
//   PayloadCase made({Mapping{{Key::ID, 1}}, Mapping{{Key::ID, "b"}}},
//                    {Mapping{{Key::SOURCE, "1"}, {Key::TARGET, "b"}}});
//   build_graph(made.payload, graph);

#ifndef QUILLAN_TESTS_CORE_VARIANT_READER_HPP_
#define QUILLAN_TESTS_CORE_VARIANT_READER_HPP_

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "core/exchange/payload.hpp"
#include "core/exchange/value.hpp"

namespace quillan::vorn_layered::testing {

struct Variant {
  using List = std::vector<Variant>;
  using Mapping = std::vector<std::pair<Key, Variant>>;

  Variant(std::nullptr_t) : value(nullptr) {}
  Variant(bool truth) : value(truth) {}
  Variant(int number) : value(std::int64_t{number}) {}
  Variant(double number) : value(number) {}
  Variant(const char* text) : value(std::string(text)) {}
  Variant(std::string text) : value(std::move(text)) {}
  Variant(List list) : value(std::move(list)) {}
  Variant(Mapping mapping) : value(std::move(mapping)) {}

  std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, List, Mapping> value;
};
using List = Variant::List;
using Mapping = Variant::Mapping;

// What the reader throws for a value that cannot serve; stands for any failure of a host.
struct Rejected : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class VariantReader final : public ValueReader {
 public:
  ~VariantReader() override { EXPECT_EQ(held_, 0) << "handles were not released"; }

  static Handle handle(const Variant& variant) { return const_cast<Variant*>(&variant); }
  static std::vector<Handle> handles(const List& list) {
    std::vector<Handle> result;
    for (const Variant& item : list) result.push_back(handle(item));
    return result;
  }

  ValueKind kind(Handle value) override {
    if (as<std::nullptr_t>(value) != nullptr) return ValueKind::kNull;
    if (as<Mapping>(value) != nullptr) return ValueKind::kMapping;
    const bool integer = as<std::int64_t>(value) != nullptr || as<bool>(value) != nullptr;
    return integer ? ValueKind::kInteger : ValueKind::kOther;
  }
  bool truth(Handle value) override {
    if (const auto* text = as<std::string>(value)) return !text->empty();
    if (const auto* list = as<List>(value)) return !list->empty();
    if (const auto* mapping = as<Mapping>(value)) return !mapping->empty();
    return as<std::nullptr_t>(value) == nullptr && real(value) != 0.0;
  }
  const TextSource* text(Handle value) override {
    Kept& kept = kept_.emplace_back();
    kept.bytes = form(value);
    kept.source.bytes = kept.bytes;
    return &kept.source;
  }
  std::string_view peek_text(Handle value) override { return peeked_ = form(value); }
  double real(Handle value) override {
    if (const auto* number = as<std::int64_t>(value)) return static_cast<double>(*number);
    if (const auto* flag = as<bool>(value)) return *flag ? 1.0 : 0.0;
    const auto* number = as<double>(value);
    return number != nullptr ? *number : throw Rejected("not a number");
  }
  std::optional<std::int64_t> integer(Handle value) override {
    if (kind(value) != ValueKind::kInteger && as<double>(value) == nullptr) return std::nullopt;
    const double number = real(value);
    if (std::isinf(number)) throw Rejected("infinite");
    return std::isnan(number) ? std::nullopt : std::optional(static_cast<std::int64_t>(number));
  }
  Handle get(Handle mapping, Key key) override {
    check_mapping(mapping);
    for (const auto& [name, value] : *as<Mapping>(mapping)) {
      if (name != key) continue;
      ++held_;
      return handle(value);
    }
    return nullptr;
  }
  Handle require(Handle mapping, Key key) override {
    const Handle found = get(mapping, key);
    return found != nullptr ? found : throw Rejected("a key is missing");
  }
  void walk(Handle value, const std::function<void(Handle)>& visit) override {
    if (as<List>(value) == nullptr) throw Rejected("not a list");
    for (const Variant& item : *as<List>(value)) visit(handle(item));
  }
  void check_mapping(Handle value) override {
    if (as<Mapping>(value) == nullptr) throw Rejected("not a mapping");
  }
  void release(Handle /*value*/) noexcept override { --held_; }

 private:
  struct Kept {
    std::string bytes;
    TextSource source;
  };

  template <typename T>
  static const T* as(Handle value) {
    return std::get_if<T>(&static_cast<const Variant*>(value)->value);
  }
  std::string form(Handle value) {
    if (const auto* text = as<std::string>(value)) return *text;
    if (const auto* number = as<std::int64_t>(value)) return std::to_string(*number);
    return "value of kind " + std::to_string(static_cast<int>(kind(value)));
  }

  std::deque<Kept> kept_;
  std::string peeked_;
  int held_ = 0;
};

// A payload with all that it borrows from.
struct PayloadCase {
  PayloadCase(List node_items, List edge_items)
      : nodes(std::move(node_items)),
        edges(std::move(edge_items)),
        payload(VariantReader::handles(nodes), VariantReader::handles(edges), reader) {}

  List nodes;
  List edges;
  VariantReader reader;
  Payload payload;
};

}  // namespace quillan::vorn_layered::testing

#endif  // QUILLAN_TESTS_CORE_VARIANT_READER_HPP_
