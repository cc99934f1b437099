// The agent's MAC-address state-machine helper.
#pragma once

#include "platform/base/Entity.h"
#include "platform/l2/MacTblShadow.h"

namespace KorvoL2 {

class L2ModFifoShowSm;

/** Gives access to what the agent's MAC-address state machines own. */
class KorvoL2MacAddrSmHelper : public Qel::Entity {
 public:
  /** The software MAC table, or null while there is none. */
  virtual MacTblShadow* macTblShadow() const = 0;
  /** Prints the FIFO registers through which hardware reports learned addresses; may be null. */
  virtual L2ModFifoShowSm* l2ModFifoShowSm() const { return nullptr; }
};

}  // namespace KorvoL2
