#include "platform/types/IntfId.h"

#include <array>
#include <memory>
#include <unordered_map>

#include "platform/base/Exceptions.h"
#include "platform/rendering/JsonText.h"

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

std::string briefOf(std::string_view name) {
  for (const Kind& kind : kKinds) {
    // Only in front of a number: "Vlan-uplink" is a name of its own.
    if (name.starts_with(kind.full) && name.size() > kind.full.size() &&
        isDigit(name[kind.full.size()])) {
      return std::string(kind.brief).append(name.substr(kind.full.size()));
    }
  }
  return std::string(name);
}

}  // namespace

const IntfId::Name IntfId::kNone{};

IntfId::IntfId(std::string_view name) : name_(&kNone) {
  if (name.empty()) return;
  // Never destroyed and never shrunk: identifiers are copied freely and outlive their tables.
  static auto* const names = new std::unordered_map<std::string_view, std::unique_ptr<const Name>>;
  if (const auto it = names->find(name); it != names->end()) {
    name_ = it->second.get();
    return;
  }
  if (name.size() > kMaxNameLength) {
    throw Qel::RangeException("interface name \"" + std::string(name.substr(0, kMaxNameLength)) +
                              "...\" is longer than " + std::to_string(kMaxNameLength) + " bytes");
  }
  if (names->size() >= kMaxNames) {
    throw Qel::RangeException("more than " + std::to_string(kMaxNames) + " interface names");
  }
  auto entry = std::make_unique<Name>();
  entry->full = name;
  entry->brief = briefOf(name);
  entry->json.clear();
  Rendering::appendJsonString(entry->json, name);
  name_ = entry.get();
  const std::string_view key = entry->full;
  names->emplace(key, std::move(entry));
}

std::strong_ordering IntfId::compareNames(std::string_view a, std::string_view b) noexcept {
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() && j < b.size()) {
    if (isDigit(a[i]) && isDigit(b[j])) {
      const std::size_t aStart = i;
      const std::size_t bStart = j;
      while (i < a.size() && isDigit(a[i])) ++i;
      while (j < b.size() && isDigit(b[j])) ++j;
      std::string_view x = a.substr(aStart, i - aStart);
      std::string_view y = b.substr(bStart, j - bStart);
      while (x.size() > 1 && x.front() == '0') x.remove_prefix(1);
      while (y.size() > 1 && y.front() == '0') y.remove_prefix(1);
      if (x.size() != y.size()) return x.size() <=> y.size();
      if (const int c = x.compare(y); c != 0) return c <=> 0;
      continue;
    }
    if (a[i] != b[j]) {
      return static_cast<unsigned char>(a[i]) <=> static_cast<unsigned char>(b[j]);
    }
    ++i;
    ++j;
  }
  if (i < a.size()) return std::strong_ordering::greater;
  if (j < b.size()) return std::strong_ordering::less;
  // Equal but for leading zeros ("Et01", "Et1"): different names must not compare equal.
  return a.compare(b) <=> 0;
}

}  // namespace Bridging
