// Verbs for tests of the VLAN translation dumps: the six directories, and the two machines on them.
#pragma once

#include <chrono>
#include <string>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/EgrVlanXlateSwRequestSmBase.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/IngVlanXlateSwRequestSmBase.h"
#include "tests/KorvoL2/RequestHarness.h"

namespace KorvoL2::Testing {

class VlanXlateHarness : public virtual RequestHarness {
 protected:
  static Bridging::PortVlanKey portVlan(const std::string& intf, unsigned vlan) {
    return {Bridging::IntfId(intf), Bridging::VlanId(vlan)};
  }

  Qel::Ptr<IngVlanXlateSwRequestSmBase> startIng(std::uint32_t format,
                                                 std::uint32_t rowBudget = 0) {
    auto sm = ingVlanXlateSwRequestSmBaseFactory("request-1", request(format),
                                                 std::chrono::milliseconds(50), clock, dips,
                                                 vlanSvps, portVlans);
    rowBudgetIs(*sm, rowBudget);
    return sm;
  }
  Qel::Ptr<EgrVlanXlateSwRequestSmBase> startEgr(std::uint32_t format,
                                                 std::uint32_t rowBudget = 0) {
    auto sm = egrVlanXlateSwRequestSmBaseFactory("request-1", request(format),
                                                 std::chrono::milliseconds(50), clock, vlanVnis,
                                                 egrPortVlans, egrVxlanVlans);
    rowBudgetIs(*sm, rowBudget);
    return sm;
  }
  std::string dumpIng(std::uint32_t format, std::uint32_t rowBudget = 0) {
    runToCompletion(*startIng(format, rowBudget));
    return reader->received;
  }
  std::string dumpEgr(std::uint32_t format, std::uint32_t rowBudget = 0) {
    runToCompletion(*startEgr(format, rowBudget));
    return reader->received;
  }

  void putDip(const char* address) {
    dips->entries.put(Bridging::IpAddr(std::string_view(address)), true);
  }
  void putVlanSvp(unsigned vlan, std::uint32_t svp) {
    vlanSvps->entries.put(Bridging::VlanId(vlan),
                          {.vlan = static_cast<std::uint16_t>(vlan), .svp = svp});
  }
  void putPortVlan(const std::string& intf, unsigned tag, std::uint16_t vlan, std::uint32_t svp) {
    portVlans->entries.put(portVlan(intf, tag), {.svp = svp, .vlan = vlan});
  }
  void putVlanVni(unsigned vlan, bool isV6, std::uint32_t vni) {
    vlanVnis->entries.put({Bridging::VlanId(vlan), isV6}, {.vni = vni});
  }
  void putEgrPortVlan(const std::string& intf, unsigned outer, std::uint16_t inner,
                      std::uint16_t tag) {
    egrPortVlans->entries.put(portVlan(intf, outer), {.innerVlan = inner, .dot1qTag = tag});
  }
  void putEgrVxlanVlan(const std::string& intf, unsigned vlan, std::uint32_t dvp,
                       std::uint16_t tag) {
    egrVxlanVlans->entries.put(portVlan(intf, vlan), {.dvp = dvp, .dot1qTag = tag});
  }

  Qel::Ptr<VlanXlateDipConfigDir> dips = Qel::makePtr<VlanXlateDipConfigDir>();
  Qel::Ptr<VlanSvpStatusDir> vlanSvps = Qel::makePtr<VlanSvpStatusDir>();
  Qel::Ptr<PortVlanXlateStatusDir> portVlans = Qel::makePtr<PortVlanXlateStatusDir>();
  Qel::Ptr<EgrVlanXlateVxlanVfiConfigDir> vlanVnis = Qel::makePtr<EgrVlanXlateVxlanVfiConfigDir>();
  Qel::Ptr<EgrPortVlanXlateStatusDir> egrPortVlans = Qel::makePtr<EgrPortVlanXlateStatusDir>();
  Qel::Ptr<EgrVxlanVlanXlateStatusDir> egrVxlanVlans = Qel::makePtr<EgrVxlanVlanXlateStatusDir>();
};

}  // namespace KorvoL2::Testing
