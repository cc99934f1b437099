// Multi-chassis link aggregation: which port-channels frames from the peer link must not leave by.
//
// A frame that came in over the peer link was already sent out by the peer, wherever the peer's
// member of a port-channel is up. On those port-channels every chip has to mask it.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "agent/services/ChipSet.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/l2/L2Services.h"
#include "platform/types/IntfId.h"

namespace KorvoAgent {

/** A port-channel that spans both switches. */
struct MlagInterface {
  bool peerActive = false;  ///< the peer's member is up
  /** The chips that mask it; unless given, those that should: all with an active peer, else none.
   */
  std::optional<ChipSet> maskedOn{};
  friend bool operator==(const MlagInterface&, const MlagInterface&) = default;
};

class MlagHelperModel final : public KorvoL2::MlagHelper {
 public:
  explicit MlagHelperModel(ChipNames chips) : chips_(std::move(chips)) {}

  void showEgrMaskStatus(std::uint32_t socket) override;
  const Qel::TypeData& typeData() const noexcept override;

  /** The link to the other switch; the default for none. */
  Bridging::IntfId peerLink() const noexcept { return peerLink_; }
  void peerLinkIs(Bridging::IntfId intf) { attributeIs(peerLink_, intf, "peerLink"); }
  const Qel::KeyedCollection<Bridging::IntfId, MlagInterface>& interfaces() const noexcept {
    return interfaces_;
  }
  void interfaceIs(Bridging::IntfId intf, const MlagInterface& mlag);

 private:
  ChipNames chips_;
  Bridging::IntfId peerLink_;
  Qel::KeyedCollection<Bridging::IntfId, MlagInterface> interfaces_;
};

}  // namespace KorvoAgent
