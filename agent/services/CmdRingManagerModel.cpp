#include "agent/services/CmdRingManagerModel.h"

#include "platform/rendering/PrintBuffer.h"

namespace KorvoAgent {

namespace {

// The simulated chips hold none of these tables, and the printers say so.
void sayThatThereIsNone(std::uint32_t socket) {
  Rendering::printToSocket(socket, "the simulated chips do not hold this table\n");
}

class NoTable final : public KorvoL2::ShadowTable {
 public:
  void show(std::uint32_t socket, const Qel::Ptr<KorvoL2::ShadowShow>&) override {
    sayThatThereIsNone(socket);
  }
};

}  // namespace

void CmdRingManagerModel::showEgrVfiTable(std::uint32_t socket, const Parameters&) {
  sayThatThereIsNone(socket);
}
void CmdRingManagerModel::showEgrVlanXlate2Entries(std::uint32_t socket, const Parameters&) {
  sayThatThereIsNone(socket);
}
void CmdRingManagerModel::showEgrVlanXlateEntries(std::uint32_t socket, const Parameters&) {
  sayThatThereIsNone(socket);
}
void CmdRingManagerModel::showVfiTable(std::uint32_t socket, const Parameters&) {
  sayThatThereIsNone(socket);
}
void CmdRingManagerModel::showVlanXlate2Entries(std::uint32_t socket, const Parameters&) {
  sayThatThereIsNone(socket);
}
void CmdRingManagerModel::showVlanXlateEntries(std::uint32_t socket, const Parameters&) {
  sayThatThereIsNone(socket);
}
Qel::Ptr<KorvoL2::ShadowTable> CmdRingManagerModel::evtapTable() { return Qel::makePtr<NoTable>(); }
Qel::Ptr<KorvoL2::ShadowTable> CmdRingManagerModel::ivtapTable() { return Qel::makePtr<NoTable>(); }
Qel::Ptr<KorvoL2::ShadowTable> CmdRingManagerModel::sourceVpTable() {
  return Qel::makePtr<NoTable>();
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
