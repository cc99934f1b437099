// The MAC difference report: every entry whose software and hardware contents disagree, chip by
// chip.
//
// Text:  a table of VLAN, MAC address, software lines, chip and hardware lines, then a total.
// JSON:  {"macTableDiffEntries":[{"vlan":..,"mac":..,"swEntries":[{..}],"hwEntries":{"CHIP":{..}},
//        "hwTblIndex":..},...]} and a newline; no total.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacCheckRequestSmBase.h"
#include "platform/base/Attribute.h"

namespace KorvoL2 {

/** Appends the display lines of one entry's properties, in their fixed order; null has none. */
void prepareDiffEntryList(std::vector<std::string>& lines, const EntryPropertyDir* properties);

class L2MacDiffRequestSm final : public L2MacCheckRequestSmBase {
  QEL_ENTITY_CLASS(L2MacDiffRequestSm, "KorvoL2::L2MacDiffRequestSm")
 public:
  /** Issues the hardware reads before it returns; throws as handleInitialized() does. */
  L2MacDiffRequestSm(std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                     Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                     KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
                     std::string fapIdList, bool detail);

  /** Sum of the difference counts of the entries printed. */
  QEL_COUNTER(std::uint32_t, diffCount)
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<DiffMacEntryTable>, diffEntryTable)
  KORVO_L2_API void diffEntryTableIs();
  void diffEntryTableDel() { attributeIs(diffEntryTable_, nullptr, "diffEntryTable"); }
  /** Key of the next entry to print. */
  KORVO_L2_WALK(RestingWalk<DiffMacEntryTable::Collection>, walk, bookmark)

 private:
  using Entry = DiffMacEntryTable::Collection::Entry;

  L2TableReadReq resultTableIs() override;
  bool resultTableComplete() const override {
    return diffEntryTable_ == nullptr || diffEntryTable_->readComplete();
  }
  std::string_view listKey() const override { return "macTableDiffEntries"; }
  std::vector<ReportColumn> reportColumns() const override;
  void printReport() override { printDiffEntries(); }
  void executionComplete() override;

  void printDiffEntries();
  void printJson(const Entry& entry);
  void printText(const Entry& entry);
  void addPropertiesToJson(const EntryPropertyDir* properties);
};

KORVO_L2_API Qel::Ptr<L2MacDiffRequestSm> L2MacDiffRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail);
KORVO_L2_API Qel::Ptr<L2MacDiffRequestSm> l2MacDiffRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail);

}  // namespace KorvoL2
