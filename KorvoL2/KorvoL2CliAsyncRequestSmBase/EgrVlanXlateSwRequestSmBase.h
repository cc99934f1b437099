// The dump of the agent's software tables of egress VLAN translation: the VXLAN network of each
// VLAN, and the tags with which frames leave a port, those out of tunnels apart.
//
//   Vlan to VNI Mapping Entries:
//   ----------------
//   Vlan       VNIv6
//   ----------------
//     10     10010   0
//   ----------------
//   Number of Vlan to VNI mapping entries : 1
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/VlanXlateSwRequestSmBase.h"
#include "platform/base/Tracked.h"
#include "platform/l2/VlanXlateRecords.h"

namespace KorvoL2 {

class EgrVlanXlateSwRequestSmBase : public VlanXlateSwRequestSmBase {
  QEL_TRACKED_ALLOCATION(EgrVlanXlateSwRequestSmBase)
 public:
  /** Null for a directory stands for an empty one. */
  EgrVlanXlateSwRequestSmBase(
      std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
      Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
      Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir> egrVlanXlateVfiConfigDir,
      Qel::Ptr<const EgrPortVlanXlateStatusDir> egrPortVlanXlateStatusDir,
      Qel::Ptr<const EgrVxlanVlanXlateStatusDir> egrVxlanVlanXlateStatusDir);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;

  // The sections in the order in which they are walked: the directory, never null; whether the
  // heads are printed; whether all is printed; the key of the entry at which the walk goes on.

  /** Networks of VLANs. */
  const Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir>& egrVlanXlateVfiConfigDir() const noexcept {
    return vlanVnis_.directory();
  }
  bool egrVlanXlateVfiStarted() const noexcept { return vlanVnis_.started(); }
  void egrVlanXlateVfiStartedIs(bool started) { startedIs(vlanVnis_, started); }
  bool egrVlanXlateVfiComplete() const noexcept { return vlanVnis_.complete(); }
  void egrVlanXlateVfiCompleteIs(bool complete) { completeIs(vlanVnis_, complete); }
  const Bridging::VlanIpVerKey& egrVlanXlateVfiBookmark() const noexcept {
    return vlanVnis_.bookmark();
  }
  void egrVlanXlateVfiBookmarkIs(const Bridging::VlanIpVerKey& bookmark) {
    bookmarkIs(vlanVnis_, bookmark);
  }

  /** Tags by port and VLAN. */
  const Qel::Ptr<const EgrPortVlanXlateStatusDir>& egrPortVlanXlateStatusDir() const noexcept {
    return portVlans_.directory();
  }
  bool egrPortVlanXlateStarted() const noexcept { return portVlans_.started(); }
  void egrPortVlanXlateStartedIs(bool started) { startedIs(portVlans_, started); }
  bool egrPortVlanXlateComplete() const noexcept { return portVlans_.complete(); }
  void egrPortVlanXlateCompleteIs(bool complete) { completeIs(portVlans_, complete); }
  const Bridging::PortVlanKey& egrPortVlanXlateBookmark() const noexcept {
    return portVlans_.bookmark();
  }
  void egrPortVlanXlateBookmarkIs(const Bridging::PortVlanKey& bookmark) {
    bookmarkIs(portVlans_, bookmark);
  }

  /** The same for frames out of tunnels. */
  const Qel::Ptr<const EgrVxlanVlanXlateStatusDir>& egrVxlanVlanXlateStatusDir() const noexcept {
    return vxlanVlans_.directory();
  }
  bool egrVxlanVlanXlateStarted() const noexcept { return vxlanVlans_.started(); }
  void egrVxlanVlanXlateStartedIs(bool started) { startedIs(vxlanVlans_, started); }
  bool egrVxlanVlanXlateComplete() const noexcept { return vxlanVlans_.complete(); }
  void egrVxlanVlanXlateCompleteIs(bool complete) { completeIs(vxlanVlans_, complete); }
  const Bridging::PortVlanKey& egrVxlanVlanXlateBookmark() const noexcept {
    return vxlanVlans_.bookmark();
  }
  void egrVxlanVlanXlateBookmarkIs(const Bridging::PortVlanKey& bookmark) {
    bookmarkIs(vxlanVlans_, bookmark);
  }

  KORVO_L2_API const Qel::TypeData& typeData() const noexcept override;

 private:
  /** One slice. */
  void showEgrVlanXlateSw();

  Section<EgrVlanXlateVxlanVfiConfigDir> vlanVnis_;
  Section<EgrPortVlanXlateStatusDir> portVlans_;
  Section<EgrVxlanVlanXlateStatusDir> vxlanVlans_;
};

KORVO_L2_API Qel::Ptr<EgrVlanXlateSwRequestSmBase> EgrVlanXlateSwRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir>& egrVlanXlateVfiConfigDir,
    const Qel::Ptr<const EgrPortVlanXlateStatusDir>& egrPortVlanXlateStatusDir,
    const Qel::Ptr<const EgrVxlanVlanXlateStatusDir>& egrVxlanVlanXlateStatusDir);
KORVO_L2_API Qel::Ptr<EgrVlanXlateSwRequestSmBase> egrVlanXlateSwRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir>& egrVlanXlateVfiConfigDir,
    const Qel::Ptr<const EgrPortVlanXlateStatusDir>& egrPortVlanXlateStatusDir,
    const Qel::Ptr<const EgrVxlanVlanXlateStatusDir>& egrVxlanVlanXlateStatusDir);

}  // namespace KorvoL2
