#include "KorvoL2/KorvoL2CliCallbacks/ShadowShowHandlers.h"

#include <array>
#include <string>

#include "KorvoL2/KorvoL2CliCallbacks/CommandContext.h"
#include "KorvoL2/Trace.h"
#include "platform/command/CommandArgument.h"

namespace KorvoL2 {

namespace {

using ShadowShowH = CliCallback::ShadowShowH;
using Kind = AgentCommand::CommandOutcome::Kind;

template <class Class>
constexpr ChainRow<ShadowShowH::ShadowShowHandler> tableRow(std::string_view keyword) {
  return chainRow<ShadowShowH::ShadowShowHandler, Class>(keyword);
}

// Each longer keyword stands before the one that is its prefix, so that the tables of the second
// stage stay reachable however keywords are compared.
constexpr std::array kTables{
    tableRow<ShadowShowH::EgrVfiH>("EGR_VFI"),
    tableRow<ShadowShowH::EgrXlate2H>("EGR_XLATE_2"),
    tableRow<ShadowShowH::EgrXlateH>("EGR_XLATE"),
    tableRow<ShadowShowH::EvTapH>("EVTAP"),
    tableRow<ShadowShowH::IvTapH>("IVTAP"),
    tableRow<ShadowShowH::SourceVpH>("SOURCE_VP"),
    tableRow<ShadowShowH::VfiH>("VFI"),
    tableRow<ShadowShowH::VlanXlate2H>("VLAN_XLATE_2"),
    tableRow<ShadowShowH::VlanXlateH>("VLAN_XLATE"),
};

std::string tokenAfter(const CliCallback& callback, std::uint8_t position) {
  return callback.cmdTokens(static_cast<std::uint8_t>(position + 1));
}

std::uint32_t numberAfter(const CliCallback& callback, std::uint8_t position) {
  return decimalNumber(tokenAfter(callback, position));
}

std::string namesNoTable() {
  std::string reason = "it names none of the tables";
  for (const auto& table : kTables) {
    reason += table.keyword == kTables.front().keyword ? " " : ", ";
    reason += table.keyword;
  }
  return reason;
}

}  // namespace

std::span<const ChainRow<ShadowShowH::ShadowShowHandler>> CliCallback::ShadowShowH::tables() {
  return kTables;
}

void CliCallback::ShadowShowH::action(const Qel::Ptr<CliCallback>& callback) {
  // The record is one per callback: an agent that wants to look at it sets its own, for others it
  // is made when it is first needed.
  if (callback->shw() == nullptr) callback->shwIs(Qel::makePtr<ShadowShow>());
  const Qel::Ptr<ShadowShow> options = callback->shw();
  readOptions(*callback, *options);
  const HandlerList<ShadowShowHandler> handlers(tables());
  ShadowShowHandler* const handler =
      handlers.firstWilling(callback, [&](const ShadowShowHandler& tested) {
        callback->subArgPosIs(callback->findSubArg(tested.cmdName()));
      });
  if (handler != nullptr) {
    callback->outcomeIs({});
    return handler->action(callback);
  }
  KORVO_L2_TRACE(8, "Unknown command!");
  // A table that is named but cannot be shown has said why.
  if (callback->outcome().kind == Kind::handled) notHandled(callback, namesNoTable());
}

void CliCallback::ShadowShowH::readOptions(CliCallback& callback, ShadowShow& options) const {
  options.raw = callback.findSubArg("RAW") != 0;
  KORVO_L2_TRACE(8, "Raw: {}", options.raw);
  options.allEntries = callback.findSubArg("ALLENTRIES") != 0;
  KORVO_L2_TRACE(8, "All: {}", options.allEntries);

  callback.subArgPosIs(callback.findSubArg("VAL"));
  options.entryIdSet = callback.subArgPos() != 0;
  // Without "VAL" back to 0: the record outlives the command, the number must not.
  options.entryId = options.entryIdSet ? numberAfter(callback, callback.subArgPos()) : 0;
  options.entryValue = options.entryId;
  KORVO_L2_TRACE(8, "EntryId set: {}, value: {}", options.entryIdSet, options.entryId);

  callback.subArgPosIs(callback.findSubArg("CHIP"));
  options.chip = callback.subArgPos() != 0 ? numberAfter(callback, callback.subArgPos())
                                           : std::uint32_t{Tessar::FapId::null};
  KORVO_L2_TRACE(8, "Fap: {}", options.chip);
}

bool CliCallback::ShadowShowH::ShadowShowHandler::condition(
    const Qel::Ptr<CliCallback>& callback) const {
  if (callback->subArgPos() == 0) return false;
  if (callback->agent().hwTableStateAvailable()) return true;
  callback->outcomeIs(
      {.kind = Kind::notReady, .reason = "the hardware table state is not available"});
  return false;
}

void CliCallback::ShadowShowH::ShadowShowHandler::print(const Qel::Ptr<CliCallback>& callback,
                                                        Printer printer) const {
  const Qel::Ptr<ShadowShow> parameters = callback->shw();
  forward(callback, callback->agent().l2CmdRingManager(), "no l2CmdRingManager", printer,
          callback->socket(), parameters);
}

void CliCallback::ShadowShowH::ShadowShowHandler::print(const Qel::Ptr<CliCallback>& callback,
                                                        Table table, const Lack& absent) const {
  const Qel::Ptr<L2CmdRingManager> manager(callback->agent().l2CmdRingManager());
  if (manager == nullptr) return lacks(callback, "no l2CmdRingManager");
  const Qel::Ptr<ShadowShow> parameters = callback->shw();
  const Qel::Ptr<ShadowTable> shown = (manager.get()->*table)();
  forward(callback, shown.get(), absent, &ShadowTable::show, callback->socket(), parameters);
}

void CliCallback::ShadowShowH::EgrVfiH::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::showEgrVfiTable);
}

void CliCallback::ShadowShowH::EgrXlate2H::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::showEgrVlanXlate2Entries);
}

bool CliCallback::ShadowShowH::EgrXlateH::condition(const Qel::Ptr<CliCallback>& callback) const {
  // The keyword first: a chip number that is none is refused by its type, and only a command that
  // asks for this table may fail on it.
  if (callback->subArgPos() == 0) return false;
  if (!callback->egrVlanXlateFeature()) {
    notHandled(callback, "the chip does not translate VLANs at egress");
    return false;
  }
  const auto chip =
      AgentCommand::readArgument("chip", tokenAfter(*callback, callback->findSubArg("CHIP")),
                                 [&callback] { return Tessar::FapId(callback->shw()->chip); });
  if (callback->agent().isModulePresent(chip)) return true;
  notHandled(callback, chip.isNull() ? cmdName() + " is read from a chip; name it with CHIP"
                                     : "there is no chip " + chip.stringValue());
  return false;
}

void CliCallback::ShadowShowH::EgrXlateH::action(const Qel::Ptr<CliCallback>& callback) {
  KORVO_L2_TRACE(8, "fapId : {}", callback->shw()->chip);
  print(callback, &L2CmdRingManager::showEgrVlanXlateEntries);
}

void CliCallback::ShadowShowH::EvTapH::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::evtapTable, "no evtapTable");
}

void CliCallback::ShadowShowH::IvTapH::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::ivtapTable, "no ivtapTable");
}

void CliCallback::ShadowShowH::SourceVpH::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::sourceVpTable, "no sourceVpTable");
}

void CliCallback::ShadowShowH::VfiH::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::showVfiTable);
}

void CliCallback::ShadowShowH::VlanXlate2H::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::showVlanXlate2Entries);
}

void CliCallback::ShadowShowH::VlanXlateH::action(const Qel::Ptr<CliCallback>& callback) {
  print(callback, &L2CmdRingManager::showVlanXlateEntries);
}

}  // namespace KorvoL2
