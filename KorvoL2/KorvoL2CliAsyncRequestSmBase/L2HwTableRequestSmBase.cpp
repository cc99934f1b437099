#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2HwTableRequestSmBase.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/TextHelpers.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"
#include "platform/command/CommandArgument.h"

namespace KorvoL2 {

namespace {

constexpr std::size_t kHwRuleLength = 70;
constexpr std::size_t kDetailRuleLength = 119;

std::string rule(std::size_t length) { return std::string(length, '-'); }

}  // namespace

L2HwTableRequestSmBase::L2HwTableRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock, std::string chipList, bool detail)
    : AgentAsyncCommandRequestSm(std::move(name), std::move(request), maxRunTime, std::move(clock)),
      detail_(detail),
      chipList_(std::move(chipList)) {}

void L2HwTableRequestSmBase::showMacTableHw() {
  throw Qel::NoImplementationException("not implemented in base-class");
}

void L2HwTableRequestSmBase::handleInitialized() { initializeSm(); }

void L2HwTableRequestSmBase::getAsyncState() {
  if (ready_) return;
  renderer().openObject();
  renderer().openObject("chips");
  std::vector<std::string> pieces;
  split(chipList_, ',', pieces);
  // A minus sign is read, too, and gives a number that no chip has: the range check refuses it.
  AgentCommand::readArgument("chip list", chipList_, [&] {
    for (const std::string& piece : pieces) fapIs(static_cast<std::uint32_t>(std::stoi(piece)));
  });
  initializeTableRenderer();
  readyIs(true);
}

void L2HwTableRequestSmBase::initializeTableRenderer() {
  KORVO_L2_TRACE(8, "");
  if (!detail_) return;
  tableRendererIs(std::make_unique<Rendering::TableRenderer>(
      renderer(),
      std::vector<Rendering::ColumnFormatter>{{6, 0, 1, 1, true, 0},    // VLAN
                                              {16, 0, 1, 1, true, 0},   // MAC address
                                              {15, 0, 4, 2, true, 0},   // type
                                              {16, 0, 2, 2, true, 0},   // multicast group
                                              {11, 0, 2, 2, true, 0},   // class
                                              {24, 0, 4, 2, true, 0},   // port
                                              {10, 0, 1, 1, true, 0}},  // hardware index
      true, false));
}

void L2HwTableRequestSmBase::beginChipRender(std::string_view chipName) {
  KORVO_L2_TRACE(8, "fapId {}", fapBookmark_);
  Rendering::RendererV2& out = renderer();
  out.openObject(chipName);
  out.openList("macTableEntries");
  if (detail_) {
    const std::string title = "Switch " + std::string(chipName) + " Mac Table";
    const std::size_t half = title.size() / 2;
    constexpr std::size_t kCentre = kDetailRuleLength / 2;
    out.addFrills("\n%s\n", rule(kDetailRuleLength));
    out.addFrills("%s%s\n", std::string(half < kCentre ? kCentre - half : 0, ' '), title);
    out.addFrills("%s\n", rule(kDetailRuleLength));
    tableRenderer_->addHeading(
        {"Vlan", "Mac Address", "Type", "McastGroupId", "ClassId", "Port", "HW Index"});
    return;
  }
  constexpr std::string_view kLine = "%4s %-17s %-8s %-12s %-7s %-17s\n";
  out.addFrills("\n%s\n", rule(kHwRuleLength));
  out.addFrills("         Switch %s Mac Table\n", chipName);
  out.addFrills("%s\n", rule(kHwRuleLength));
  out.addFrills(kLine, "Vlan", "Mac Address", "Type", "McastGroupId", "ClassId", "Port");
  out.addFrills(kLine, rule(4), rule(17), rule(8), rule(12), rule(7), rule(17));
}

void L2HwTableRequestSmBase::endChipRender() {
  Rendering::RendererV2& out = renderer();
  out.closeList();
  out.closeObject();
  if (detail_) {
    out.addFrills("\n");
  } else {
    out.addFrills("%s\n", rule(kHwRuleLength));
  }
}

void L2HwTableRequestSmBase::executionComplete() {
  KORVO_L2_TRACE(8, "");
  renderer().closeObject();
  renderer().closeObject();
  renderer().documentEnd();
  renderer().ioflush();
  tableRendererIs(nullptr);
  fapDelAll();
  executionCompleteFlagIs(true);
  readyIs(false);
}

Qel::Ptr<L2HwTableRequestSmBase> L2HwTableRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail) {
  return createRequestSm<L2HwTableRequestSmBase>(name, request, maxRunTime, clock, chipList,
                                                 detail);
}

Qel::Ptr<L2HwTableRequestSmBase> l2HwTableRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock, const std::string& chipList,
    bool detail) {
  return L2HwTableRequestSmBaseIs(name, request, maxRunTime, clock, chipList, detail);
}

}  // namespace KorvoL2
