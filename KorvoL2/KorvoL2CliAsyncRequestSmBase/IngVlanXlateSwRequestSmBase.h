// The dump of the agent's software tables of ingress VLAN translation: the tunnel end addresses
// whose frames are decapsulated, the virtual port of each VLAN, and what becomes of a tag on a
// port.
//
//   Vlan SVP Entries:
//   ------------------------------
//   Dot1q-tag     Vlan      SVP
//   ------------------------------
//   10            10        40001
//   ------------------------------
//   Number of Vlan SVP entries : 1
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/VlanXlateSwRequestSmBase.h"
#include "platform/base/Tracked.h"
#include "platform/l2/VlanXlateRecords.h"

namespace KorvoL2 {

class IngVlanXlateSwRequestSmBase : public VlanXlateSwRequestSmBase {
  QEL_TRACKED_ALLOCATION(IngVlanXlateSwRequestSmBase)
 public:
  /** Null for a directory stands for an empty one. */
  IngVlanXlateSwRequestSmBase(std::string name,
                              Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                              Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                              Qel::Ptr<const VlanXlateDipConfigDir> vlanXlateDipConfigDir,
                              Qel::Ptr<const VlanSvpStatusDir> vlanSvpStatusDir,
                              Qel::Ptr<const PortVlanXlateStatusDir> portVlanXlateStatusDir);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;

  // The sections in the order in which they are walked: the directory, never null; whether the
  // heads are printed; whether all is printed; the key of the entry at which the walk goes on.

  /** Tunnel end addresses. */
  const Qel::Ptr<const VlanXlateDipConfigDir>& vlanXlateDipConfigDir() const noexcept {
    return dips_.directory();
  }
  bool vlanXlateDipStarted() const noexcept { return dips_.started(); }
  void vlanXlateDipStartedIs(bool started) { startedIs(dips_, started); }
  bool vlanXlateDipComplete() const noexcept { return dips_.complete(); }
  void vlanXlateDipCompleteIs(bool complete) { completeIs(dips_, complete); }
  const Bridging::IpAddr& vlanXlateDipBookmark() const noexcept { return dips_.bookmark(); }
  void vlanXlateDipBookmarkIs(const Bridging::IpAddr& bookmark) { bookmarkIs(dips_, bookmark); }

  /** Virtual ports of VLANs. */
  const Qel::Ptr<const VlanSvpStatusDir>& vlanSvpStatusDir() const noexcept {
    return vlanSvps_.directory();
  }
  bool vlanSvpStatusStarted() const noexcept { return vlanSvps_.started(); }
  void vlanSvpStatusStartedIs(bool started) { startedIs(vlanSvps_, started); }
  bool vlanSvpStatusComplete() const noexcept { return vlanSvps_.complete(); }
  void vlanSvpStatusCompleteIs(bool complete) { completeIs(vlanSvps_, complete); }
  const Bridging::VlanId& vlanSvpStatusBookmark() const noexcept { return vlanSvps_.bookmark(); }
  void vlanSvpStatusBookmarkIs(const Bridging::VlanId& bookmark) {
    bookmarkIs(vlanSvps_, bookmark);
  }

  /** Translations by port and tag. */
  const Qel::Ptr<const PortVlanXlateStatusDir>& portVlanXlateStatusDir() const noexcept {
    return portVlans_.directory();
  }
  bool portVlanXlateStatusStarted() const noexcept { return portVlans_.started(); }
  void portVlanXlateStatusStartedIs(bool started) { startedIs(portVlans_, started); }
  bool portVlanXlateStatusComplete() const noexcept { return portVlans_.complete(); }
  void portVlanXlateStatusCompleteIs(bool complete) { completeIs(portVlans_, complete); }
  const Bridging::PortVlanKey& portVlanXlateStatusBookmark() const noexcept {
    return portVlans_.bookmark();
  }
  void portVlanXlateStatusBookmarkIs(const Bridging::PortVlanKey& bookmark) {
    bookmarkIs(portVlans_, bookmark);
  }

  KORVO_L2_API const Qel::TypeData& typeData() const noexcept override;

 private:
  /** One slice. */
  void showIngVlanXlateSw();

  Section<VlanXlateDipConfigDir> dips_;
  Section<VlanSvpStatusDir> vlanSvps_;
  Section<PortVlanXlateStatusDir> portVlans_;
};

KORVO_L2_API Qel::Ptr<IngVlanXlateSwRequestSmBase> IngVlanXlateSwRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const VlanXlateDipConfigDir>& vlanXlateDipConfigDir,
    const Qel::Ptr<const VlanSvpStatusDir>& vlanSvpStatusDir,
    const Qel::Ptr<const PortVlanXlateStatusDir>& portVlanXlateStatusDir);
KORVO_L2_API Qel::Ptr<IngVlanXlateSwRequestSmBase> ingVlanXlateSwRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const VlanXlateDipConfigDir>& vlanXlateDipConfigDir,
    const Qel::Ptr<const VlanSvpStatusDir>& vlanSvpStatusDir,
    const Qel::Ptr<const PortVlanXlateStatusDir>& portVlanXlateStatusDir);

}  // namespace KorvoL2
