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
#include "platform/base/Attribute.h"
#include "platform/l2/VlanXlateRecords.h"

namespace KorvoL2 {

class EgrVlanXlateSwRequestSmBase : public VlanXlateSwRequestSmBase {
  QEL_ENTITY_CLASS(EgrVlanXlateSwRequestSmBase, "KorvoL2::EgrVlanXlateSwRequestSmBase")
 public:
  /** Null for a directory stands for an empty one. */
  EgrVlanXlateSwRequestSmBase(
      std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
      Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
      Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir> egrVlanXlateVfiConfigDir,
      Qel::Ptr<const EgrPortVlanXlateStatusDir> egrPortVlanXlateStatusDir,
      Qel::Ptr<const EgrVxlanVlanXlateStatusDir> egrVxlanVlanXlateStatusDir);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;

  // The sections in the order in which they are walked.

  /** Networks of VLANs. */
  KORVO_L2_SECTION(EgrVlanXlateVxlanVfiConfigDir, egrVlanXlateVfiConfigDir, egrVlanXlateVfi)
  /** Tags by port and VLAN. */
  KORVO_L2_SECTION(EgrPortVlanXlateStatusDir, egrPortVlanXlateStatusDir, egrPortVlanXlate)
  /** The same for frames out of tunnels. */
  KORVO_L2_SECTION(EgrVxlanVlanXlateStatusDir, egrVxlanVlanXlateStatusDir, egrVxlanVlanXlate)

 private:
  /** One slice. */
  void showEgrVlanXlateSw();
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
