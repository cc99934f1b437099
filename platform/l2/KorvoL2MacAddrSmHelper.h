// The agent's MAC-address state-machine helper.
#pragma once

#include <optional>
#include <string>

#include "platform/base/Entity.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/MacTblShadow.h"
#include "platform/types/FapId.h"

namespace KorvoL2 {

class L2ModFifoShowSm;
class L2TableReadSm;

/** One forwarding chip that the agent knows. */
struct FapChip {
  std::string fapChipName;
  /** The id that the chip reports; nothing while its data has not arrived. */
  std::optional<Tessar::FapId> chipData = std::nullopt;

  /** The reported id, or the null id. */
  Tessar::FapId fapId() const noexcept { return chipData.value_or(Tessar::FapId()); }
};

/** The chips by the id under which they are configured. */
using FapChipCollection = Qel::KeyedCollection<Tessar::FapId, FapChip>;

/** Gives access to what the agent's MAC-address state machines own. */
class KorvoL2MacAddrSmHelper : public Qel::Entity {
 public:
  /** The software MAC table, or null while there is none. */
  virtual MacTblShadow* macTblShadow() const = 0;
  /** Prints the FIFO registers through which hardware reports learned addresses; may be null. */
  virtual L2ModFifoShowSm* l2ModFifoShowSm() const { return nullptr; }
  /** The known chips; null while there is none. */
  virtual const FapChipCollection* fapChip() const { return nullptr; }
  /** Whether reads of chips that are not known are tried all the same (chips still coming up). */
  virtual bool readUnknownChips() const { return false; }
  /** Reads hardware tables; null while there is none. */
  virtual L2TableReadSm* l2TableReadSm() const { return nullptr; }
};

}  // namespace KorvoL2
