#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacMissingRequestSm.h"

#include <fmt/format.h>

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/TextHelpers.h"
#include "KorvoL2/Trace.h"

namespace KorvoL2 {

namespace {

std::string keyTypeText(std::uint8_t keyType) {
  switch (keyType) {
    case 0:
      return fmt::format("bridge({})", keyType);
    case 3:
      return fmt::format("VFI({})", keyType);
    default:
      return fmt::format("undefined({})", keyType);
  }
}

}  // namespace

L2MacMissingRequestSm::L2MacMissingRequestSm(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper, std::string fapIdList,
    bool detail)
    : L2MacCheckRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock),
                              macAddrSmHelper, mcastHelper, std::move(fapIdList), detail) {
  handleInitialized();
}

void L2MacMissingRequestSm::missingEntryTableIs() {
  auto table = Qel::makePtr<MissingMacEntryTable>();
  table->hasNotificationActiveIs(true);
  attributeIs(missingEntryTable_, std::move(table), "missingEntryTable");
}

void L2MacMissingRequestSm::moduleCountIs(const std::string& module, std::uint32_t count) {
  const auto [it, added] = moduleCount_.emplace(module, count);
  if (!added && it->second == count) return;
  it->second = count;
  changed("moduleCount");
}

void L2MacMissingRequestSm::moduleCountDel(const std::string& module) {
  if (moduleCount_.erase(module) != 0) changed("moduleCount");
}

void L2MacMissingRequestSm::moduleCountDelAll() {
  if (moduleCount_.empty()) return;
  moduleCount_.clear();
  changed("moduleCount");
}

L2TableReadReq L2MacMissingRequestSm::resultTableIs() {
  missingEntryTableIs();
  L2TableReadReq request;
  request.missingEntryTable = missingEntryTable_;
  request.type = L2TableReadType::missing;
  return request;
}

std::vector<L2MacCheckRequestSmBase::ReportColumn> L2MacMissingRequestSm::reportColumns() const {
  std::vector<ReportColumn> columns{
      {"Vlan", {11, 0, 4, 2, true, 0}},
      {"Mac Address", {25, 0, 4, 2, true, 0}},
  };
  if (detail()) columns.push_back({"Key Type", {25, 0, 4, 2, true, 0}});
  columns.push_back({"Present in SW?", {16, 0, 1, 1, true, 0}});
  columns.push_back({"Present in HW?", {21, 0, 4, 4, true, 0}});
  columns.push_back({"Missing in HW", {21, 0, 4, 4, true, 0}});
  if (detail()) columns.push_back({"HW Index", {10, 0, 1, 1, true, 0}});
  return columns;
}

void L2MacMissingRequestSm::printMissingEntries() {
  KORVO_L2_TRACE(8, "");
  // Held for this slice: a reactor may let go of it.
  const auto table = recordOrEmpty(Qel::Ptr<const MissingMacEntryTable>(missingEntryTable_));
  runReportSlice(Qel::TraceSite(typeData().name), walk_, table->entries(),
                 [this](const Entry& entry) {
                   if (renderer().isJson()) {
                     printJson(entry);
                   } else {
                     printText(entry);
                   }
                   count(*entry.value);
                 });
}

void L2MacMissingRequestSm::count(const MissingMacEntry& entry) {
  for (const std::string& module : entry.modules) {
    if (entry.inSw) {
      hwMissingCountInc(1);
      const auto it = moduleCount_.find(module);
      moduleCountIs(module, it == moduleCount_.end() ? 1 : it->second + 1);
    } else {
      swMissingCountInc(1);
    }
  }
}

void L2MacMissingRequestSm::printJson(const Entry& entry) {
  Rendering::RendererV2& out = renderer();
  out.openObject();
  out.member("vlan", entry.key.vlan());
  out.member("mac", entry.key.mac().stringValue());
  out.member("inSw", entry.value->inSw);
  out.member("hwTblIndex", entry.value->hwTblIndex);
  out.member("keyType", keyTypeText(entry.key.keyType()));
  out.openList("modules");
  for (const std::string& module : entry.value->modules) out.element(module);
  out.closeList();
  out.closeObject();
}

void L2MacMissingRequestSm::printText(const Entry& entry) {
  const MissingMacEntry& missing = *entry.value;
  std::vector<std::string> vlan{std::to_string(entry.key.vlan())};
  std::vector<std::string> mac{entry.key.mac().stringValue()};
  std::vector<std::string> keyType{keyTypeText(entry.key.keyType())};
  std::vector<std::string> inSw{missing.inSw ? "Y" : "N"};
  std::vector<std::string> presentInHw;
  std::vector<std::string> missingInHw;
  std::vector<std::string> hwIndex{std::to_string(missing.hwTblIndex)};
  (missing.inSw ? missingInHw : presentInHw) = missing.modules;
  zip_longest("", vlan, mac, keyType, inSw, presentInHw, missingInHw, hwIndex);
  for (std::size_t i = 0; i < vlan.size(); ++i) {
    if (detail()) {
      tableRenderer()->addRow(
          {vlan[i], mac[i], keyType[i], inSw[i], presentInHw[i], missingInHw[i], hwIndex[i]});
    } else {
      tableRenderer()->addRow({vlan[i], mac[i], inSw[i], presentInHw[i], missingInHw[i]});
    }
  }
}

void L2MacMissingRequestSm::executionComplete() {
  KORVO_L2_TRACE(8, "");
  Rendering::RendererV2& out = renderer();
  out.addFrills("\n");
  // An empty line after the first total and none after the second: the lines by module belong to
  // it.
  out.addFrills("Total entries missing in software:  %u\n\n", swMissingCount_);
  out.addFrills("Total entries missing in hardware:  %u\n", hwMissingCount_);
  for (const auto& [module, missing] : moduleCount_) {
    out.addFrills("            %s:  %u\n", module, missing);
  }
  finishReport();
}

Qel::Ptr<L2MacMissingRequestSm> L2MacMissingRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail) {
  return createRequestSm<L2MacMissingRequestSm>(name, request, maxRunTime, clock, macAddrSmHelper,
                                                mcastHelper, fapIdList, detail);
}

Qel::Ptr<L2MacMissingRequestSm> l2MacMissingRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail) {
  return L2MacMissingRequestSmIs(name, request, maxRunTime, clock, macAddrSmHelper, mcastHelper,
                                 fapIdList, detail);
}

}  // namespace KorvoL2
