#include "agent/documents/JsonNode.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "agent/documents/DocumentError.h"
#include "text/NearName.h"
#include "text/Printable.h"

namespace KorvoAgent {

using simdjson::dom::element_type;

namespace {

std::string_view typeName(element_type type) {
  switch (type) {
    case element_type::ARRAY:
      return "a list";
    case element_type::OBJECT:
      return "an object";
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE:
      return "a number";
    case element_type::STRING:
      return "a string";
    case element_type::BOOL:
      return "true or false";
    case element_type::NULL_VALUE:
      return "null";
  }
  return "a value";
}

[[noreturn]] void refuseType(const JsonNode& node, std::string_view expected, element_type found) {
  node.refuse(fmt::format("expected {}, not {}", expected, typeName(found)));
}

}  // namespace

void JsonNode::refuse(std::string_view what) const {
  const std::string place = pointer();
  throw DocumentError(
      fmt::format("{}: {}: {}", document_->name(), place.empty() ? "at the top" : place, what));
}

std::string JsonNode::pointer() const {
  if (parent_ == nullptr) return {};
  std::string text = parent_->pointer() + "/";
  if (key_.data() == nullptr) return text + std::to_string(index_);
  std::string name;
  for (const char c : key_) {
    if (c == '~') {
      name += "~0";
    } else if (c == '/') {
      name += "~1";
    } else {
      name += c;
    }
  }
  return text + name;
}

simdjson::dom::object JsonNode::object() const {
  simdjson::dom::object object;
  if (value_.get(object) != simdjson::SUCCESS) refuseType(*this, "an object", value_.type());
  return object;
}

simdjson::dom::array JsonNode::array() const {
  simdjson::dom::array array;
  if (value_.get(array) != simdjson::SUCCESS) refuseType(*this, "a list", value_.type());
  return array;
}

bool JsonNode::boolean() const {
  bool value = false;
  if (value_.get(value) != simdjson::SUCCESS) refuseType(*this, "true or false", value_.type());
  return value;
}

std::string_view JsonNode::string() const {
  std::string_view value;
  if (value_.get(value) != simdjson::SUCCESS) refuseType(*this, "a string", value_.type());
  return value;
}

std::uint64_t JsonNode::integer(std::uint64_t min, std::uint64_t max) const {
  const auto outOfRange = [&](const auto& value) {
    refuse(fmt::format("expected a whole number from {} to {}, not {}", min, max, value));
  };
  switch (value_.type()) {
    case element_type::INT64: {
      const std::int64_t value = value_;
      if (value < 0 || static_cast<std::uint64_t>(value) < min ||
          static_cast<std::uint64_t>(value) > max) {
        outOfRange(value);
      }
      return static_cast<std::uint64_t>(value);
    }
    case element_type::UINT64: {
      const std::uint64_t value = value_;
      if (value < min || value > max) outOfRange(value);
      return value;
    }
    case element_type::DOUBLE: {
      // Compared as doubles first: a double may be beyond every integer.
      const double value = value_;
      if (value != std::floor(value) || !(value >= static_cast<double>(min)) ||
          !(value <= static_cast<double>(max)) || value >= 0x1p64) {
        outOfRange(value);
      }
      return static_cast<std::uint64_t>(value);
    }
    default:
      refuseType(*this, "a number", value_.type());
  }
}

std::uint32_t JsonNode::number() const {
  constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
  switch (value_.type()) {
    case element_type::INT64: {
      const std::int64_t value = value_;
      return value < 0 || value > kMost ? kMost : static_cast<std::uint32_t>(value);
    }
    case element_type::UINT64:
      return kMost;  // only what a signed number cannot hold has this type
    case element_type::DOUBLE: {
      const double value = value_;
      if (value != std::floor(value)) refuse(fmt::format("expected a whole number, not {}", value));
      return value < 0 || value > kMost ? kMost : static_cast<std::uint32_t>(value);
    }
    default:
      refuseType(*this, "a number", value_.type());
  }
}

void JsonNode::refuseWord(std::string_view kind, std::string_view word,
                          std::span<const std::string_view> known) const {
  refuse(
      fmt::format("{} is no {}; {}", Text::inQuotes(word), kind, Text::nearNameHint(word, known)));
}

namespace Detail {

void refuseMember(const JsonNode& object, std::string_view name,
                  std::span<const std::string_view> known) {
  object.refuse(
      fmt::format("unknown member {}; {}", Text::inQuotes(name), Text::nearNameHint(name, known)));
}

void refuseSecond(const JsonNode& object, std::string_view name) {
  object.refuse(fmt::format("member {} is given twice; keep one of them", Text::inQuotes(name)));
}

void refuseMissing(const JsonNode& object, std::string_view name) {
  object.refuse(fmt::format("member {} is missing; add it", Text::inQuotes(name)));
}

void checkDistinct(const JsonNode& object, std::vector<std::string_view> names) {
  std::ranges::sort(names);
  if (const auto twice = std::ranges::adjacent_find(names); twice != names.end()) {
    refuseSecond(object, *twice);
  }
}

}  // namespace Detail

std::size_t readWord(const JsonNode& node, std::string_view kind,
                     std::span<const std::string_view> words) {
  const std::string_view given = node.string();
  const auto at = std::ranges::find(words, given);
  if (at == words.end()) node.refuseWord(kind, given, words);
  return static_cast<std::size_t>(at - words.begin());
}

}  // namespace KorvoAgent
