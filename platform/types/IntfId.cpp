#include "platform/types/IntfId.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_map>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/types/IntfCalled.h"
#include "text/JsonString.h"
#include "text/Printable.h"

namespace Bridging {

namespace {

bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

struct Kind {
  std::string_view full;
  std::string_view brief;
};
constexpr std::array kKinds{
    Kind{"Ethernet", "Et"},       Kind{"Port-Channel", "Po"}, Kind{"Vxlan", "Vx"},
    Kind{"Management", "Ma"},     Kind{"Loopback", "Lo"},     Kind{"Vlan", "Vl"},
    Kind{"Recirc-Channel", "Re"},
};

// The name with the kind written in the other way, from one member of Kind to the other.
std::optional<std::string> inOtherForm(std::string_view name, std::string_view Kind::*from,
                                       std::string_view Kind::*to) {
  for (const Kind& kind : kKinds) {
    const std::size_t end = (kind.*from).size();
    // Only in front of a number: "Vlan-uplink" is a name of its own.
    if (name.starts_with(kind.*from) && name.size() > end && isDigit(name[end])) {
      return std::string(kind.*to).append(name.substr(end));
    }
  }
  return std::nullopt;
}

std::string briefOf(std::string_view name) {
  return inOtherForm(name, &Kind::full, &Kind::brief).value_or(std::string(name));
}

// The name with each run of digits, less leading zeros, behind its length: a longer number is a
// larger one. Lengths up to nine are a digit, one less, and longer ones '9' and a byte, so that
// against any other character they compare as digits do.
std::string orderOf(std::string_view name) {
  constexpr std::size_t kShort = 9;
  std::string order;
  for (std::size_t i = 0; i < name.size();) {
    if (!isDigit(name[i])) {
      order += name[i++];
      continue;
    }
    std::size_t end = i;
    while (end < name.size() && isDigit(name[end])) ++end;
    while (i + 1 < end && name[i] == '0') ++i;
    const std::size_t length = end - i;
    order += static_cast<char>('0' + std::min(length - 1, kShort));
    if (length > kShort) order += static_cast<char>(length);
    order += name.substr(i, length);
    i = end;
  }
  return order;
}

}  // namespace

const IntfId::Name IntfId::kNone{};

/** All names of the process. */
class IntfId::Names {
 public:
  static Names& instance() {
    // Never destroyed and never shrunk: identifiers are copied freely and outlive their tables.
    static auto* const names = new Names;
    return *names;
  }

  std::size_t size() const noexcept { return names_.size(); }

  /** Null when the name is not there; throws when it can never be. */
  const Name* find(std::string_view name) const {
    if (name.empty()) return &kNone;
    if (const auto it = names_.find(name); it != names_.end()) return it->second.get();
    if (name.size() <= kMaxNameLength) return nullptr;
    throw Qel::RangeException("interface name " + Text::inQuotes(name, kMaxNameLength) +
                              " is longer than " + std::to_string(kMaxNameLength) + " bytes");
  }

  const Name* enter(std::string_view name) {
    if (const Name* const present = find(name)) return present;
    if (size() >= kMaxNames) {
      throw Qel::RangeException("more than " + std::to_string(kMaxNames) + " interface names");
    }
    auto entry = std::make_unique<Name>();
    entry->order = orderOf(name);
    entry->full = name;
    entry->brief = Text::printable(briefOf(name));
    entry->json.clear();
    Text::appendJsonString(entry->json, name);
    const std::string_view key = entry->full;
    return names_.emplace(key, std::move(entry)).first->second.get();
  }

 private:
  std::unordered_map<std::string_view, std::unique_ptr<const Name>> names_;
};

IntfId::IntfId(std::string_view name) : IntfId(Names::instance().enter(name)) {}

std::optional<IntfId> IntfId::find(std::string_view name) {
  const Name* const found = Names::instance().find(name);
  return found == nullptr ? std::nullopt : std::optional(IntfId(found));
}

std::optional<IntfId> intfCalled(std::string_view text) {
  const auto find = [](std::string_view name) {
    return name.empty() || name.size() > IntfId::kMaxNameLength ? std::nullopt : IntfId::find(name);
  };
  if (const std::optional<IntfId> named = find(text)) return named;
  const std::optional<std::string> full = inOtherForm(text, &Kind::brief, &Kind::full);
  return full ? find(*full) : std::nullopt;
}

std::size_t IntfId::numNames() noexcept { return Names::instance().size(); }

}  // namespace Bridging
