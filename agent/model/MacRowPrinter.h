// The rows of the software MAC table, in text and in JSON.
//
// Rows are what a dump of a million entries spends its time on: a row is put together in the print
// buffer itself from ready-made pieces, without a formatting library and without allocation. What
// does not fit the pieces (a cell too wide for its column, a word out of range) goes through a
// plain formatter that writes the same layout.
//
// Text. The cells vlan, mac address, interface, mcastId, type, bitmap, source, flags and keyType
// are right-aligned to end at columns 8, 24, 36, 46, 70, 82, 94, 100 and 108, counted in bytes.
// Nothing is ever cut: a cell that would leave no blank before it keeps its whole text after one
// blank, and the cells after it give up padding until the columns are aligned again. Of an
// interface the short form of its name is printed, whatever room there is. "-" stands for VLAN
// number 0 (outside any VLAN), for no interface and for no multicast group. Control bytes in names
// are printed as \xNN, so that a row is one line whatever an interface is called.
//
// JSON. Always all of these members, in this order, each always of one type: "vlan" (number, 0
// outside any VLAN), "mac" (string), "interface" (string, "" for none), "mcastId" (number, 0 for
// none), "type" (string), "bitmap" (string such as "0x3", since readers lose digits of numbers
// above 2^53), "source" (string), "flags" (list of strings), "keyType" (string).
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/l2/MacEntry.h"
#include "platform/rendering/RendererV2.h"

namespace KorvoAgent {

class MacRowPrinter {
 public:
  /**
   * Prints one entry: in text a line; in JSON the members of an object that the caller has opened
   * and closes. Leaves the renderer's separator due in JSON and alone in text.
   */
  void print(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
             const KorvoL2::MacEntry& entry);

 private:
  /** An interface's cells, ready to be copied whole; one cache line. */
  struct alignas(64) IntfCell {
    const std::string* name = nullptr;  ///< identifies the interface; null while unused
    bool textFits = false;              ///< the text cell leaves at least one blank
    std::uint8_t jsonLength = 0;        ///< 0: the JSON string is too long for `json`
    std::array<char, 12> text{};        ///< right-aligned
    std::array<char, 40> json{};        ///< left-aligned
  };

  const IntfCell& cellOf(Bridging::IntfId intf) {
    // Names live in blocks of their own, so the address tells them apart and mixes well.
    const std::string* const name = &intf.stringValue();
    const auto mixed = reinterpret_cast<std::uintptr_t>(name) * 0x9E3779B97F4A7C15ULL;
    auto& [first, second] = cells_[mixed >> (64 - kSetBits)];
    if (first.name == name) return first;
    IntfCell& cell = first.name == nullptr ? first : second;
    if (cell.name != name) [[unlikely]]
      fill(cell, intf);
    return cell;
  }
  static void fill(IntfCell& cell, Bridging::IntfId intf);

  bool printTextFast(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
                     const KorvoL2::MacEntry& entry);
  bool printJsonFast(Rendering::RendererV2& renderer, const Bridging::MacVlanPair& key,
                     const KorvoL2::MacEntry& entry);

  // 64 KiB, of which a dump touches as many cells as there are interfaces: those of a switch fit
  // with hardly three in a place for two, and with many more the cells are made anew.
  static constexpr unsigned kSetBits = 9;
  std::array<std::array<IntfCell, 2>, 1U << kSetBits> cells_{};
};

}  // namespace KorvoAgent
