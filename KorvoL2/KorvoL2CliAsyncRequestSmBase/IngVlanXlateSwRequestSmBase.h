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
#include "platform/base/Attribute.h"
#include "platform/l2/VlanXlateRecords.h"

namespace KorvoL2 {

class IngVlanXlateSwRequestSmBase : public VlanXlateSwRequestSmBase {
  QEL_ENTITY_CLASS(IngVlanXlateSwRequestSmBase, "KorvoL2::IngVlanXlateSwRequestSmBase")
 public:
  /** Null for a directory stands for an empty one. */
  IngVlanXlateSwRequestSmBase(std::string name,
                              Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                              Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                              Qel::Ptr<const VlanXlateDipConfigDir> vlanXlateDipConfigDir,
                              Qel::Ptr<const VlanSvpStatusDir> vlanSvpStatusDir,
                              Qel::Ptr<const PortVlanXlateStatusDir> portVlanXlateStatusDir);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;

  // The sections in the order in which they are walked.

  /** Tunnel end addresses. */
  KORVO_L2_SECTION(VlanXlateDipConfigDir, vlanXlateDipConfigDir, vlanXlateDip)
  /** Virtual ports of VLANs. */
  KORVO_L2_SECTION(VlanSvpStatusDir, vlanSvpStatusDir, vlanSvpStatus)
  /** Translations by port and tag. */
  KORVO_L2_SECTION(PortVlanXlateStatusDir, portVlanXlateStatusDir, portVlanXlateStatus)

 private:
  /** One slice. */
  void showIngVlanXlateSw();
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
