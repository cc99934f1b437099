// Interface identifiers.
#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Bridging {

/**
 * An interface (Ethernet, port-channel, VXLAN, any name that the system's configuration uses),
 * identified and printed by its name. As small as a pointer and cheap to compare for equality; its
 * texts are made once per name.
 *
 * Ordered by name as a person would: Ethernet2 comes before Ethernet10. The default identifier has
 * the empty name, stands for "none" and comes first.
 *
 * A name that is entered stays for the life of the process. So names come from configuration and
 * tables only; a name out of a client's command is looked up with find(), which enters nothing.
 *
 * Threading: names are entered by the agent's one thread.
 */
class IntfId {
 public:
  /** Longest name, in bytes. */
  static constexpr std::size_t kMaxNameLength = 63;
  /** How many different names one process takes; a bound on what bad input can make it keep. */
  static constexpr std::size_t kMaxNames = 1'000'000;

  /** No interface: the empty name. */
  IntfId() noexcept : name_(&kNone) {}
  /** Throws Qel::RangeException when the name is too long or there are too many names. */
  explicit IntfId(std::string_view name);
  /**
   * The interface of that name, nothing when nobody has entered it. Throws Qel::RangeException when
   * the name is too long to be one.
   */
  static std::optional<IntfId> find(std::string_view name);
  /** How many names have been entered in this process. */
  static std::size_t numNames() noexcept;

  bool isDefault() const noexcept { return name_ == &kNone; }
  const std::string& stringValue() const noexcept { return name_->full; }
  /**
   * The short form that column tables use: the kind cut to two letters ("Et3/1", "Po12", "Vx1"); a
   * name of no known kind is its own short form.
   */
  const std::string& shortName() const noexcept { return name_->brief; }
  /** The name as a JSON string, quotes included. */
  const std::string& jsonString() const noexcept { return name_->json; }

  friend bool operator==(IntfId a, IntfId b) noexcept { return a.name_ == b.name_; }
  friend std::strong_ordering operator<=>(IntfId a, IntfId b) noexcept {
    if (a.name_ == b.name_) return std::strong_ordering::equal;
    const int c = a.name_->order.compare(b.name_->order);
    // Equal but for leading zeros ("Et01", "Et1"): different names must not compare equal.
    return (c != 0 ? c : a.name_->full.compare(b.name_->full)) <=> 0;
  }
  template <class H>
  friend H AbslHashValue(H h, IntfId i) {
    return H::combine(std::move(h), i.name_);
  }

 private:
  struct Name {
    std::string order;  // compares bytewise as a person orders the names
    std::string full;
    std::string brief;
    std::string json = "\"\"";
  };
  class Names;
  static const Name kNone;

  explicit IntfId(const Name* name) noexcept : name_(name) {}

  const Name* name_;
};

}  // namespace Bridging
