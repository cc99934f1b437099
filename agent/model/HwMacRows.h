// Who prints what the chips hold for the entries of the software MAC table.
#pragma once

#include "platform/l2/MacEntry.h"
#include "platform/rendering/RendererV2.h"
#include "platform/types/FapId.h"

namespace Rendering {
class TableRenderer;
}

namespace KorvoAgent {

class HwMacRows {
 public:
  virtual ~HwMacRows() = default;
  /**
   * Prints a row for one entry of `entries` and one chip, which may be none that there is: in text
   * a row of seven cells into `table`, or a line where `table` is null; in JSON the members of an
   * object that the caller has opened and closes.
   */
  virtual void printHwRow(Rendering::RendererV2& renderer, Rendering::TableRenderer* table,
                          Tessar::FapId chip, const KorvoL2::MacEntryCollection& entries,
                          const Bridging::MacVlanPair& pair, const KorvoL2::MacEntry& entry) = 0;
};

}  // namespace KorvoAgent
