#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacDiffRequestSm.h"

#include <array>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/TextHelpers.h"
#include "KorvoL2/Trace.h"

namespace KorvoL2 {

namespace {

/** How the value of a property is shown. */
enum class Shown : std::uint8_t {
  nameOnly,   ///< text: the name; JSON: true
  withName,   ///< text: "name=value"; JSON: a number
  valueOnly,  ///< text: the value; JSON: a string
};

struct PropertyForm {
  std::string_view property;
  std::string_view jsonKey;
  Shown shown;
};

constexpr PropertyForm kDstDiscard{EntryProperty::kDstDiscard, "dstDiscard", Shown::nameOnly};
constexpr PropertyForm kMcastId{EntryProperty::kMcastId, "mcastId", Shown::withName};
constexpr PropertyForm kTrunkId{EntryProperty::kTrunkId, "trunkId", Shown::withName};
constexpr PropertyForm kMod{EntryProperty::kMod, "mod", Shown::withName};
constexpr PropertyForm kPort{EntryProperty::kPort, "port", Shown::withName};
constexpr PropertyForm kClassId{EntryProperty::kClassId, "classId", Shown::withName};
constexpr PropertyForm kMacAddressType{EntryProperty::kMacAddressType, "macAddressType",
                                       Shown::valueOnly};
constexpr PropertyForm kInvalidEntry{EntryProperty::kInvalidEntry, "invalidEntry", Shown::nameOnly};

// Readers of the two forms rely on these orders, and they are not the same.
constexpr std::array kTextOrder{kDstDiscard, kMcastId, kTrunkId,        kMod,
                                kPort,       kClassId, kMacAddressType, kInvalidEntry};
constexpr std::array kJsonOrder{kMacAddressType, kMcastId, kPort,    kMod,
                                kDstDiscard,     kTrunkId, kClassId, kInvalidEntry};

}  // namespace

void prepareDiffEntryList(std::vector<std::string>& lines, const EntryPropertyDir* properties) {
  if (properties == nullptr) return;
  for (const PropertyForm& form : kTextOrder) {
    const std::string* const value = properties->property(form.property);
    if (value == nullptr) continue;
    switch (form.shown) {
      case Shown::nameOnly:
        lines.emplace_back(form.property);
        break;
      case Shown::withName:
        lines.push_back(std::string(form.property).append("=").append(*value));
        break;
      case Shown::valueOnly:
        lines.push_back(*value);
        break;
    }
  }
}

L2MacDiffRequestSm::L2MacDiffRequestSm(std::string name,
                                       Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                                       Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                                       KorvoL2MacAddrSmHelper* macAddrSmHelper,
                                       KorvoL2McastHelper* mcastHelper, std::string fapIdList,
                                       bool detail)
    : L2MacCheckRequestSmBase(std::move(name), std::move(request), maxRunTime, std::move(clock),
                              macAddrSmHelper, mcastHelper, std::move(fapIdList), detail) {
  handleInitialized();
}

void L2MacDiffRequestSm::diffEntryTableIs() {
  auto table = Qel::makePtr<DiffMacEntryTable>();
  table->hasNotificationActiveIs(true);
  attributeIs(diffEntryTable_, std::move(table), "diffEntryTable");
}

L2TableReadReq L2MacDiffRequestSm::resultTableIs() {
  diffEntryTableIs();
  L2TableReadReq request;
  request.diffEntryTable = diffEntryTable_;
  request.type = L2TableReadType::difference;
  return request;
}

std::vector<L2MacCheckRequestSmBase::ReportColumn> L2MacDiffRequestSm::reportColumns() const {
  std::vector<ReportColumn> columns{
      {"Vlan", {6, 0, 1, 1, true, 0}},      {"Mac Address", {16, 0, 1, 1, true, 0}},
      {"SW Entry", {24, 0, 1, 1, true, 0}}, {"Chip", {17, 0, 3, 3, true, 0}},
      {"HW Entry", {24, 0, 1, 1, true, 0}},
  };
  if (detail()) columns.push_back({"HW Index", {10, 0, 1, 1, true, 0}});
  return columns;
}

void L2MacDiffRequestSm::printDiffEntries() {
  KORVO_L2_TRACE(8, "");
  // Held for this slice: a reactor may let go of it.
  const auto table = recordOrEmpty(Qel::Ptr<const DiffMacEntryTable>(diffEntryTable_));
  runReportSlice(Qel::TraceSite(typeData().name), walk_, table->entries(),
                 [this](const Entry& entry) {
                   if (renderer().isJson()) {
                     printJson(entry);
                   } else {
                     printText(entry);
                   }
                   diffCountInc(entry.value->diffCount);
                 });
}

void L2MacDiffRequestSm::printJson(const Entry& entry) {
  Rendering::RendererV2& out = renderer();
  out.openObject();
  out.member("vlan", entry.key.vlan());
  out.member("mac", entry.key.mac().stringValue());
  out.openList("swEntries");
  out.openObject();
  addPropertiesToJson(entry.value->swEntry.get());
  out.closeObject();
  out.closeList();
  out.openObject("hwEntries");
  for (const auto& [chip, properties] : entry.value->hwEntries) {
    out.openObject(chip);
    addPropertiesToJson(properties.get());
    out.closeObject();
  }
  out.closeObject();
  out.member("hwTblIndex", entry.value->hwTblIndex);
  out.closeObject();
}

void L2MacDiffRequestSm::addPropertiesToJson(const EntryPropertyDir* properties) {
  if (properties == nullptr) return;
  Rendering::RendererV2& out = renderer();
  for (const PropertyForm& form : kJsonOrder) {
    const std::string* const value = properties->property(form.property);
    if (value == nullptr) continue;
    switch (form.shown) {
      case Shown::nameOnly:
        out.member(form.jsonKey, true);
        break;
      case Shown::withName:
        out.member(form.jsonKey, lenientDecimal(*value));
        break;
      case Shown::valueOnly:
        out.member(form.jsonKey, std::string_view(*value));
        break;
    }
  }
}

void L2MacDiffRequestSm::printText(const Entry& entry) {
  std::vector<std::string> vlan{std::to_string(entry.key.vlan())};
  std::vector<std::string> mac{entry.key.mac().stringValue()};
  std::vector<std::string> sw;
  std::vector<std::string> chips;
  std::vector<std::string> hw;
  std::vector<std::string> hwIndex{std::to_string(entry.value->hwTblIndex)};
  prepareDiffEntryList(sw, entry.value->swEntry.get());
  for (const auto& [chip, properties] : entry.value->hwEntries) {
    chips.push_back(chip);
    prepareDiffEntryList(hw, properties.get());
    // Chips stand apart where there are several; the empty row ends each block, the last included.
    if (entry.value->diffCount > 1) hw.emplace_back();
    zip_longest("", chips, hw);
  }
  zip_longest("", vlan, mac, sw, chips, hw, hwIndex);
  for (std::size_t i = 0; i < vlan.size(); ++i) {
    // Always six cells: without detail the table has no sixth column and leaves the cell out.
    tableRenderer()->addRow({vlan[i], mac[i], sw[i], chips[i], hw[i], hwIndex[i]});
  }
}

void L2MacDiffRequestSm::executionComplete() {
  KORVO_L2_TRACE(8, "total diff count {}", diffCount_);
  Rendering::RendererV2& out = renderer();
  out.addFrills("\n");
  out.addFrills("Total entries different between software and hardware:  %u\n", diffCount_);
  out.addFrills("\n");
  finishReport();
}

Qel::Ptr<L2MacDiffRequestSm> L2MacDiffRequestSmIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail) {
  return createRequestSm<L2MacDiffRequestSm>(name, request, maxRunTime, clock, macAddrSmHelper,
                                             mcastHelper, fapIdList, detail);
}

Qel::Ptr<L2MacDiffRequestSm> l2MacDiffRequestSmFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper,
    const std::string& fapIdList, bool detail) {
  return L2MacDiffRequestSmIs(name, request, maxRunTime, clock, macAddrSmHelper, mcastHelper,
                              fapIdList, detail);
}

}  // namespace KorvoL2
