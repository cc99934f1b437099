#include "agent/services/CmdRingManagerModel.h"

namespace KorvoAgent {

using KorvoL2::ShadowTable;

CmdRingManagerModel::CmdRingManagerModel(const ChipNames& chips) {
  for (const ShadowLayout& layout : shadowLayouts()) {
    tables_.push_back(Qel::makePtr<ShadowTableModel>(layout, chips));
  }
}

void CmdRingManagerModel::showEgrVfiTable(std::uint32_t socket, const Parameters& parameters) {
  shadowTable(ShadowTableId::egrVfi).show(socket, parameters);
}

void CmdRingManagerModel::showEgrVlanXlate2Entries(std::uint32_t socket,
                                                   const Parameters& parameters) {
  shadowTable(ShadowTableId::egrXlate2).show(socket, parameters);
}

void CmdRingManagerModel::showEgrVlanXlateEntries(std::uint32_t socket,
                                                  const Parameters& parameters) {
  shadowTable(ShadowTableId::egrXlate).show(socket, parameters);
}

void CmdRingManagerModel::showVfiTable(std::uint32_t socket, const Parameters& parameters) {
  shadowTable(ShadowTableId::vfi).show(socket, parameters);
}

void CmdRingManagerModel::showVlanXlate2Entries(std::uint32_t socket,
                                                const Parameters& parameters) {
  shadowTable(ShadowTableId::vlanXlate2).show(socket, parameters);
}

void CmdRingManagerModel::showVlanXlateEntries(std::uint32_t socket, const Parameters& parameters) {
  shadowTable(ShadowTableId::vlanXlate).show(socket, parameters);
}

Qel::Ptr<ShadowTable> CmdRingManagerModel::evtapTable() {
  return {&shadowTable(ShadowTableId::evTap)};
}

Qel::Ptr<ShadowTable> CmdRingManagerModel::ivtapTable() {
  return {&shadowTable(ShadowTableId::ivTap)};
}

Qel::Ptr<ShadowTable> CmdRingManagerModel::sourceVpTable() {
  return {&shadowTable(ShadowTableId::sourceVp)};
}

KorvoL2::IngVlanRangeParam CmdRingManagerModel::getIngVlanRangeEntry(std::uint16_t logicalFap,
                                                                     std::uint32_t logicalPort) {
  const auto* const entry = ingVlanRanges.find({.fap = logicalFap, .port = logicalPort});
  return entry == nullptr ? KorvoL2::IngVlanRangeParam{} : *entry;
}

const Qel::TypeData& CmdRingManagerModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::CmdRingManagerModel"};
  return kType;
}

}  // namespace KorvoAgent
