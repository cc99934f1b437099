// A value of a JSON document together with the way to it.
//
// Readers of documents walk down by making a node of each value that they read, on the stack. A
// node costs nothing but its few words; the JSON Pointer of a value that has to be refused is put
// together only then.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/documents/JsonDocument.h"
#include "platform/base/Exceptions.h"

namespace KorvoAgent {

class JsonNode {
 public:
  explicit JsonNode(const JsonDocument& document) : document_(&document), value_(document.root()) {}
  JsonNode(const JsonNode& parent, std::string_view key, simdjson::dom::element value)
      : document_(parent.document_), parent_(&parent), key_(key), value_(value) {}
  JsonNode(const JsonNode& parent, std::size_t index, simdjson::dom::element value)
      : document_(parent.document_), parent_(&parent), index_(index), value_(value) {}
  JsonNode(const JsonNode&) = delete;  // children refer to their parent
  JsonNode& operator=(const JsonNode&) = delete;

  /** Throws DocumentError "DOCUMENT: POINTER: what". */
  [[noreturn]] void refuse(std::string_view what) const;
  /** RFC 6901; empty for the whole document. */
  std::string pointer() const;
  const std::string& documentName() const noexcept { return document_->name(); }

  bool isList() const noexcept { return value_.type() == simdjson::dom::element_type::ARRAY; }

  bool isString() const noexcept { return value_.type() == simdjson::dom::element_type::STRING; }

  // The value as one type of value; refused if it is of another.

  simdjson::dom::object object() const;
  simdjson::dom::array array() const;
  bool boolean() const;
  std::string_view string() const;
  /** A whole number (10, also written 10.0 or 1e1) from `min` to `max`. */
  std::uint64_t integer(std::uint64_t min, std::uint64_t max) const;
  /**
   * A whole number for a value type that checks its range itself; one that does not fit 32 bits
   * becomes the largest that does.
   */
  std::uint32_t number() const;

  /** What `make` returns; a Qel::Exception that it throws is refused with its message and `todo`.
   */
  template <class Make>
  auto checked(Make&& make, std::string_view todo) const {
    try {
      return make();
    } catch (const Qel::Exception& error) {
      refuse(std::string(error.what()) + "; " + std::string(todo));
    }
  }

  /** Refuses `word`, which none of `known` is, with a hint at the nearest. */
  [[noreturn]] void refuseWord(std::string_view kind, std::string_view word,
                               std::span<const std::string_view> known) const;

 private:
  const JsonDocument* document_;
  const JsonNode* parent_ = nullptr;
  std::string_view key_;
  std::size_t index_ = 0;
  simdjson::dom::element value_;
};

/** One member that an object may have, and who reads it into `Target`. */
template <class Target>
struct JsonMember {
  std::string_view name;
  void (*read)(const JsonNode& value, Target& target);
  bool required = false;
};

namespace Detail {
[[noreturn]] void refuseMember(const JsonNode& object, std::string_view name,
                               std::span<const std::string_view> known);
[[noreturn]] void refuseSecond(const JsonNode& object, std::string_view name);
[[noreturn]] void refuseMissing(const JsonNode& object, std::string_view name);
void checkDistinct(const JsonNode& object, std::vector<std::string_view> names);
}  // namespace Detail

/**
 * Reads the members of an object in the order of the table, whatever their order in the document.
 * Refused are members that are not in the table, with a hint at the nearest name, a member given
 * twice, and an object without a required one.
 */
template <class Target, std::size_t kCount>
void readMembers(const JsonNode& node, const JsonMember<Target> (&members)[kCount],
                 Target& target) {
  static_assert(kCount <= 32);
  simdjson::dom::element values[kCount];
  std::uint32_t seen = 0;
  for (const auto [key, value] : node.object()) {
    std::size_t i = 0;
    while (i < kCount && members[i].name != key) ++i;
    if (i == kCount) [[unlikely]] {
      std::string_view known[kCount];
      for (std::size_t k = 0; k < kCount; ++k) known[k] = members[k].name;
      Detail::refuseMember(node, key, known);
    }
    if ((seen >> i & 1) != 0) [[unlikely]]
      Detail::refuseSecond(node, key);
    seen |= 1U << i;
    values[i] = value;
  }
  for (std::size_t i = 0; i < kCount; ++i) {
    if ((seen >> i & 1) != 0) {
      members[i].read(JsonNode(node, members[i].name, values[i]), target);
    } else if (members[i].required) [[unlikely]] {
      Detail::refuseMissing(node, members[i].name);
    }
  }
}

/**
 * Calls `read(const JsonNode&, std::string_view key)` for every member of an object whose keys are
 * names of the document's own. A name given twice is refused.
 */
template <class Read>
void readMap(const JsonNode& node, Read&& read) {
  std::vector<std::string_view> names;
  for (const auto [key, value] : node.object()) names.push_back(key);
  Detail::checkDistinct(node, std::move(names));
  for (const auto [key, value] : node.object()) read(JsonNode(node, key, value), key);
}

/** Calls `read(const JsonNode&)` for every element of an array. */
template <class Read>
void readList(const JsonNode& node, Read&& read) {
  std::size_t index = 0;
  for (const simdjson::dom::element element : node.array()) read(JsonNode(node, index++, element));
}

/** The position of the node's string in `words`; refused, as a `kind`, when it is none of them. */
std::size_t readWord(const JsonNode& node, std::string_view kind,
                     std::span<const std::string_view> words);

}  // namespace KorvoAgent
