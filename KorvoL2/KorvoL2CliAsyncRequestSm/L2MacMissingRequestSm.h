// The MAC missing-entry report: entries that are in software but missing from a chip's hardware,
// and entries that are in hardware but missing from software.
//
// Text:  a table with one line for each chip concerned, then the totals, those of the hardware by
// chip. JSON:
// {"macTableMissingEntries":[{"vlan":..,"mac":..,"inSw":..,"hwTblIndex":..,"keyType":..,
//        "modules":[..]},...]} and a newline; no totals.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <absl/container/btree_map.h>

#include <cstdint>
#include <string>
#include <vector>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacCheckRequestSmBase.h"
#include "platform/base/Attribute.h"

namespace KorvoL2 {

class L2MacMissingRequestSm final : public L2MacCheckRequestSmBase {
  QEL_ENTITY_CLASS(L2MacMissingRequestSm, "KorvoL2::L2MacMissingRequestSm")
 public:
  /** By module name; in order, so that totals come out the same way every time. */
  using ModuleCount = absl::btree_map<std::string, std::uint32_t>;

  /** Issues the hardware reads before it returns; throws as handleInitialized() does. */
  L2MacMissingRequestSm(std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                        Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                        KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
                        std::string fapIdList, bool detail);

  /** Pairs of entry and module: in software, missing from that module's hardware. */
  QEL_COUNTER(std::uint32_t, hwMissingCount)
  /** Pairs of entry and module: in that module's hardware, missing from software. */
  QEL_COUNTER(std::uint32_t, swMissingCount)
  /** What hwMissingCount() is made of, module by module. */
  QEL_FIXED_ATTRIBUTE(ModuleCount, moduleCount)
  KORVO_L2_API void moduleCountIs(const std::string& module, std::uint32_t count);
  KORVO_L2_API void moduleCountDel(const std::string& module);
  KORVO_L2_API void moduleCountDelAll();

  QEL_FIXED_ATTRIBUTE(Qel::Ptr<MissingMacEntryTable>, missingEntryTable)
  KORVO_L2_API void missingEntryTableIs();
  void missingEntryTableDel() { attributeIs(missingEntryTable_, nullptr, "missingEntryTable"); }
  /** Key of the next entry to print. */
  KORVO_L2_WALK(RestingWalk<MissingMacEntryTable::Collection>, walk, bookmark)

 private:
  using Entry = MissingMacEntryTable::Collection::Entry;

  L2TableReadReq resultTableIs() override;
  bool resultTableComplete() const override {
    return missingEntryTable_ == nullptr || missingEntryTable_->readComplete();
  }
  std::string_view listKey() const override { return "macTableMissingEntries"; }
  std::vector<ReportColumn> reportColumns() const override;
  void printReport() override { printMissingEntries(); }
  void executionComplete() override;

  void printMissingEntries();
  void count(const MissingMacEntry& entry);
  void printJson(const Entry& entry);
  void printText(const Entry& entry);
};

KORVO_L2_API Qel::Ptr<L2MacMissingRequestSm> L2MacMissingRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail);
KORVO_L2_API Qel::Ptr<L2MacMissingRequestSm> l2MacMissingRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail);

}  // namespace KorvoL2
