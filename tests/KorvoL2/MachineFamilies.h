// One machine of each family, made by its exported factory over tables of three rows: for tests of
// what all machines do alike.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2HwTableRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacDiffRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacMissingRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"
#include "tests/KorvoL2/VlanRangeHarness.h"
#include "tests/KorvoL2/VlanXlateHarness.h"
#include "tests/KorvoL2/VxlanHarness.h"

namespace KorvoL2::Testing {

class MachineFamilies : public VlanRangeHarness, public VlanXlateHarness, public VxlanHarness {
 protected:
  using Machine = Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm>;
  struct Family {
    std::string name;  ///< of the class, without its namespace
    std::function<Machine(std::uint32_t format)> make;
  };

  MachineFamilies() {
    addChip(*helper, 0, "Chip0");
    addChip(*helper, 1, "Chip1");
    for (unsigned i = 1; i <= 3; ++i) {
      const std::string intf = "Ethernet" + std::to_string(i);
      const auto vlan = static_cast<std::uint16_t>(10 * i);
      putEntry(vlan, i);
      mapVlan(vlan, 10000 + vlan);
      VxlanHarness::putVlanSvp(vlan, vlan);
      putEdge(intf.c_str(), 10, vlan);
      hwIndexes->entries.put(putRanges(intf, vlan, {range(vlan, vlan + 5U)}), vlan);
      putDip(("10.0.0." + std::to_string(i)).c_str());
      VlanXlateHarness::putVlanSvp(vlan, vlan);
      putPortVlan(intf, vlan, vlan, vlan);
      putVlanVni(vlan, false, 10000U + vlan);
      putEgrPortVlan(intf, vlan, vlan, vlan);
      putEgrVxlanVlan(intf, vlan, vlan, vlan);
    }
  }

  Qel::Ptr<L2SwTableRequestSm> swTable(std::uint32_t format) {
    return inService(l2SwTableRequestSmFactory("request-1", request(format), kBudget,
                                               RequestHarness::clock, helper.get()));
  }
  Qel::Ptr<L2HwTableRequestSm> hwTable(std::uint32_t format) {
    return inService(l2HwTableRequestSmFactory("request-1", request(format), kBudget,
                                               RequestHarness::clock, "0,1", true, helper.get(),
                                               mcastHelper.get()));
  }
  /** Its hardware reads are done. */
  Qel::Ptr<L2MacDiffRequestSm> diffCheck(std::uint32_t format) {
    auto sm = inService(l2MacDiffRequestSmFactory("request-1", request(format), kBudget,
                                                  RequestHarness::clock, helper.get(),
                                                  mcastHelper.get(), "0,1", true));
    for (unsigned i = 1; i <= 3; ++i) {
      auto properties = Qel::makePtr<EntryPropertyDir>();
      properties->propertyIs(EntryProperty::kPort, std::to_string(i));
      auto entry = Qel::makePtr<DiffMacEntry>();
      entry->swEntry = properties;
      entry->hwEntries["Chip0"] = properties;
      entry->diffCount = 1;
      sm->diffEntryTable()->entries().put(macKey(10 * i, i), entry);
    }
    sm->diffEntryTable()->readCompleteIs(true);
    return sm;
  }
  Qel::Ptr<L2MacMissingRequestSm> missingCheck(std::uint32_t format) {
    auto sm = inService(l2MacMissingRequestSmFactory("request-1", request(format), kBudget,
                                                     RequestHarness::clock, helper.get(),
                                                     mcastHelper.get(), "0,1", true));
    for (unsigned i = 1; i <= 3; ++i) {
      auto entry = Qel::makePtr<MissingMacEntry>();
      entry->inSw = i != 2;
      entry->modules = {"Chip0", "Chip1"};
      sm->missingEntryTable()->entries().put(L2HwEntryKey(10 * i, Bridging::EthAddr(i), 0), entry);
    }
    sm->missingEntryTable()->readCompleteIs(true);
    return sm;
  }

  std::vector<Family> families() {
    return {
        {"L2SwTableRequestSm", [this](std::uint32_t format) { return swTable(format); }},
        {"L2HwTableRequestSm", [this](std::uint32_t format) { return hwTable(format); }},
        {"L2MacDiffRequestSm", [this](std::uint32_t format) { return diffCheck(format); }},
        {"L2MacMissingRequestSm", [this](std::uint32_t format) { return missingCheck(format); }},
        {"L2VxlanVlanRequestSmBase",
         [this](std::uint32_t format) { return makeVlanDump(format, true); }},
        {"L2RoutingInfoRequestSm",
         [this](std::uint32_t format) { return makeRoutingInfo(format); }},
        {"IngVlanRangeRequestSm", [this](std::uint32_t format) { return start(format); }},
        {"IngDynamicVlanRangeRequestSm",
         [this](std::uint32_t format) { return startDynamic(format); }},
        {"IngVlanXlateSwRequestSmBase", [this](std::uint32_t format) { return startIng(format); }},
        {"EgrVlanXlateSwRequestSmBase", [this](std::uint32_t format) { return startEgr(format); }},
    };
  }

 private:
  template <class Sm>
  static Qel::Ptr<Sm> inService(Qel::Ptr<Sm> sm) {
    sm->handleInitialized();
    return sm;
  }
};

}  // namespace KorvoL2::Testing
