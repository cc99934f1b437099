#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanXlateSwRequestSmBase.h"

#include <utility>

namespace KorvoL2 {

using Rendering::FixedLine;

namespace {

constexpr SectionLayout kDips{
    .title = "Vxlan DIP Entries:\n",
    .heads = "Vxlan DIP \n",
    .rule = "---------------------\n",
    .count = "Number of Vxlan DIP entries : %d\n\n",
    .directory = "vlanXlateDipConfigDir",
};
constexpr SectionLayout kVlanSvps{
    .title = "Vlan SVP Entries:\n",
    .heads = "Dot1q-tag     Vlan      SVP        \n",
    .rule = "------------------------------\n",
    .count = "Number of Vlan SVP entries : %d\n",
    .directory = "vlanSvpStatusDir",
};
constexpr SectionLayout kPortVlans{
    .title = "\nPort-Vlan Translation / SVP assignment Entries:\n",
    .heads = " Intf   Dot1q-tag      Vlan           SVP            \n",
    .rule = "-------------------------------------------------\n",
    .count = "Number of port-vlan/svp entries : %d\n",
    .directory = "portVlanXlateStatusDir",
};

void printDip(FixedLine line, const VlanXlateDipConfigDir::Entries::Entry& entry) {
  line.left<27>(entry.key.stringValue()).end();
}

void printVlanSvp(FixedLine line, const VlanSvpStatusDir::Entries::Entry& entry) {
  // A VLAN as a whole is reached by its own tag: both columns show the one number.
  const std::uint16_t vlan = entry.value.vlan;
  line.left<14>(vlan).left<10>(vlan).left<11>(entry.value.svp).end();
}

void printPortVlan(FixedLine line, const PortVlanXlateStatusDir::Entries::Entry& entry) {
  line.left<8>(entry.key.intf().shortName()).left<15>(entry.key.vlan().value());
  line.leftOrDash<15>(entry.value.vlan).leftOrDash<15>(entry.value.svp).end();
}

}  // namespace

IngVlanXlateSwRequestSmBase::IngVlanXlateSwRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
    Qel::Ptr<const VlanXlateDipConfigDir> vlanXlateDipConfigDir,
    Qel::Ptr<const VlanSvpStatusDir> vlanSvpStatusDir,
    Qel::Ptr<const PortVlanXlateStatusDir> portVlanXlateStatusDir)
    : VlanXlateSwRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock)) {
  vlanXlateDip_.directory = recordOrEmpty(std::move(vlanXlateDipConfigDir));
  vlanSvpStatus_.directory = recordOrEmpty(std::move(vlanSvpStatusDir));
  portVlanXlateStatus_.directory = recordOrEmpty(std::move(portVlanXlateStatusDir));
}

void IngVlanXlateSwRequestSmBase::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  getAsyncState();
  showIngVlanXlateSw();
}

void IngVlanXlateSwRequestSmBase::showIngVlanXlateSw() {
  const Qel::TraceSite here(typeData().name);
  showSection(here, kDips, vlanXlateDip_, printDip);
  showSection(here, kVlanSvps, vlanSvpStatus_, printVlanSvp);
  showSection(here, kPortVlans, portVlanXlateStatus_, printPortVlan);
  if (yielding()) return;
  KORVO_L2_TRACE_AT(8, here, "Execution Completed");
  executionComplete();
}

Qel::Ptr<IngVlanXlateSwRequestSmBase> IngVlanXlateSwRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const VlanXlateDipConfigDir>& vlanXlateDipConfigDir,
    const Qel::Ptr<const VlanSvpStatusDir>& vlanSvpStatusDir,
    const Qel::Ptr<const PortVlanXlateStatusDir>& portVlanXlateStatusDir) {
  return createRequestSm<IngVlanXlateSwRequestSmBase>(name, request, maxRunTime, clock,
                                                      vlanXlateDipConfigDir, vlanSvpStatusDir,
                                                      portVlanXlateStatusDir);
}

Qel::Ptr<IngVlanXlateSwRequestSmBase> ingVlanXlateSwRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const VlanXlateDipConfigDir>& vlanXlateDipConfigDir,
    const Qel::Ptr<const VlanSvpStatusDir>& vlanSvpStatusDir,
    const Qel::Ptr<const PortVlanXlateStatusDir>& portVlanXlateStatusDir) {
  return IngVlanXlateSwRequestSmBaseIs(name, request, maxRunTime, clock, vlanXlateDipConfigDir,
                                       vlanSvpStatusDir, portVlanXlateStatusDir);
}

}  // namespace KorvoL2
