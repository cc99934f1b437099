#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/EgrVlanXlateSwRequestSmBase.h"

#include <utility>

namespace KorvoL2 {

using Rendering::FixedLine;

namespace {

constexpr SectionLayout kVlanVnis{
    .title = "\nVlan to VNI Mapping Entries:\n",
    // The last head is narrower than its column; tools that cut these lines by position know it.
    .heads = "Vlan       VNIv6\n",
    .rule = "----------------\n",
    .count = "Number of Vlan to VNI mapping entries : %d\n\n",
    // The first section of both dumps ends under this name, by which traces are searched.
    .directory = "vlanXlateDipConfigDir",
};
constexpr SectionLayout kEgrPortVlans{
    .title = "Egress Port-Vlan Translation Entries:\n",
    .heads = "Intf    Outer Vlan     Inner Vlan     Dot1q-tag      \n",
    .rule = "--------------------------------------------------\n",
    .count = "Number of egress port vlan translation entries : %d\n",
    .directory = "egrPortVlanXlateStatusDir",
};
constexpr SectionLayout kVxlanVlans{
    .title = "\nEgress DVP-Vlan Translation Entries:\n",
    .heads = "DVP     Vlan           Intf           Dot1q-tag      \n",
    .rule = "-------------------------------------------------\n",
    .count = "Number of egress DVP-Vlan translation entries : %d\n",
    .directory = "egrVxlanVlanXlateStatusDir",
};

void printVlanVni(FixedLine line, const EgrVlanXlateVxlanVfiConfigDir::Entries::Entry& entry) {
  line.right<4>(entry.key.vlan().value()).right<10>(entry.value.vni);
  line.right<4>(entry.key.isV6() ? 1U : 0U).end();
}

void printEgrPortVlan(FixedLine line, const EgrPortVlanXlateStatusDir::Entries::Entry& entry) {
  line.left<8>(entry.key.intf().shortName()).left<15>(entry.key.vlan().value());
  line.leftOrDash<15>(entry.value.innerVlan).left<15>(entry.value.dot1qTag).end();
}

void printVxlanVlan(FixedLine line, const EgrVxlanVlanXlateStatusDir::Entries::Entry& entry) {
  line.left<8>(entry.value.dvp).left<15>(entry.key.vlan().value());
  line.left<15>(entry.key.intf().shortName()).left<15>(entry.value.dot1qTag).end();
}

}  // namespace

EgrVlanXlateSwRequestSmBase::EgrVlanXlateSwRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
    Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir> egrVlanXlateVfiConfigDir,
    Qel::Ptr<const EgrPortVlanXlateStatusDir> egrPortVlanXlateStatusDir,
    Qel::Ptr<const EgrVxlanVlanXlateStatusDir> egrVxlanVlanXlateStatusDir)
    : VlanXlateSwRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock)) {
  egrVlanXlateVfi_.directory = recordOrEmpty(std::move(egrVlanXlateVfiConfigDir));
  egrPortVlanXlate_.directory = recordOrEmpty(std::move(egrPortVlanXlateStatusDir));
  egrVxlanVlanXlate_.directory = recordOrEmpty(std::move(egrVxlanVlanXlateStatusDir));
}

void EgrVlanXlateSwRequestSmBase::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  getAsyncState();
  showEgrVlanXlateSw();
}

void EgrVlanXlateSwRequestSmBase::showEgrVlanXlateSw() {
  const Qel::TraceSite here(typeData().name);
  showSection(here, kVlanVnis, egrVlanXlateVfi_, printVlanVni);
  showSection(here, kEgrPortVlans, egrPortVlanXlate_, printEgrPortVlan);
  showSection(here, kVxlanVlans, egrVxlanVlanXlate_, printVxlanVlan);
  if (yielding()) return;
  KORVO_L2_TRACE_AT(8, here, "Execution Completed");
  // There is no such table; tools that read the dump to its end look for the line.
  renderer().addFrills("\nNumber of INT Opaque entries : 0\n\n");
  executionComplete();
}

Qel::Ptr<EgrVlanXlateSwRequestSmBase> EgrVlanXlateSwRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir>& egrVlanXlateVfiConfigDir,
    const Qel::Ptr<const EgrPortVlanXlateStatusDir>& egrPortVlanXlateStatusDir,
    const Qel::Ptr<const EgrVxlanVlanXlateStatusDir>& egrVxlanVlanXlateStatusDir) {
  return createRequestSm<EgrVlanXlateSwRequestSmBase>(
      name, request, maxRunTime, clock, egrVlanXlateVfiConfigDir, egrPortVlanXlateStatusDir,
      egrVxlanVlanXlateStatusDir);
}

Qel::Ptr<EgrVlanXlateSwRequestSmBase> egrVlanXlateSwRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const EgrVlanXlateVxlanVfiConfigDir>& egrVlanXlateVfiConfigDir,
    const Qel::Ptr<const EgrPortVlanXlateStatusDir>& egrPortVlanXlateStatusDir,
    const Qel::Ptr<const EgrVxlanVlanXlateStatusDir>& egrVxlanVlanXlateStatusDir) {
  return EgrVlanXlateSwRequestSmBaseIs(name, request, maxRunTime, clock, egrVlanXlateVfiConfigDir,
                                       egrPortVlanXlateStatusDir, egrVxlanVlanXlateStatusDir);
}

}  // namespace KorvoL2
