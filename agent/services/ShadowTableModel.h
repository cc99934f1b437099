// One hardware table as software remembers having written it to the chips.
//
// An entry lies at an index, is valid or not, and has the fields of its table, each of so many
// bits. Chips usually hold the same at an index; where they do not, there are several entries of
// that index, each on chips of its own.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <compare>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/services/ChipSet.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/L2CmdRingManager.h"

namespace KorvoAgent {

/** What a hardware table is made of. */
struct ShadowLayout {
  struct Field {
    std::string_view name;  ///< as state documents spell it
    std::string_view head;  ///< as operators read it
    std::uint8_t bits;      ///< 1 to 32
    std::uint32_t max() const noexcept {
      return static_cast<std::uint32_t>((std::uint64_t{1} << bits) - 1);
    }
  };
  std::string_view name;  ///< as commands spell it: "VLAN_XLATE_2"
  std::string_view title;
  std::uint32_t size;  ///< how many indexes there are
  std::span<const Field> fields;
};

struct ShadowEntry {
  bool valid = true;
  ChipSet chips{};                      ///< that hold it; none stands for every chip
  std::vector<std::uint32_t> fields{};  ///< as many as the table has, each within its bits
};

class ShadowTableModel final : public KorvoL2::ShadowTable {
 public:
  /** Entries of one index differ in the lowest of their chips. */
  struct Key {
    std::uint32_t index = 0;
    std::uint8_t firstChip = 0;
    friend auto operator<=>(const Key&, const Key&) = default;
  };
  using Entries = Qel::KeyedCollection<Key, ShadowEntry>;

  /** `layout` lives as long as the program. */
  ShadowTableModel(const ShadowLayout& layout, ChipNames chips)
      : layout_(layout), chips_(std::move(chips)) {}

  /**
   * Prints valid entries, and with the parameter allEntries all; with entryIdSet that of one index,
   * whatever it is; of the chip of the parameters, or of all for the null id; with raw, their words
   * instead of their fields.
   */
  void show(std::uint32_t socket, const Qel::Ptr<KorvoL2::ShadowShow>& parameters) override;
  const Qel::TypeData& typeData() const noexcept override;

  const ShadowLayout& layout() const noexcept { return layout_; }
  const Entries& entries() const noexcept { return entries_; }
  /**
   * Adds an entry. Throws Qel::RangeException for an index or a field that the table has no room
   * for, and where one of its chips holds another entry of that index.
   */
  void entryIs(std::uint32_t index, ShadowEntry entry);
  /** Removes all entries of an index. */
  void entryDel(std::uint32_t index);

  /** The words of an entry, lowest first: bit 0 says that it is valid, the fields follow. */
  std::vector<std::uint32_t> words(const ShadowEntry& entry) const;

 private:
  std::string rawText(const ShadowEntry& entry) const;

  const ShadowLayout& layout_;
  ChipNames chips_;
  Entries entries_;
};

}  // namespace KorvoAgent
