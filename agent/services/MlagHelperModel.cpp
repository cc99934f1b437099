#include "agent/services/MlagHelperModel.h"

#include <string>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

namespace {

std::string statusText(const ChipSet& masked, const ChipSet& wanted) {
  std::string status;
  if (const ChipSet lacking = wanted.without(masked); !lacking.empty()) {
    status = "not masked on " + lacking.text();
  }
  if (const ChipSet surplus = masked.without(wanted); !surplus.empty()) {
    status.append(status.empty() ? "" : ", ").append("needlessly masked on " + surplus.text());
  }
  return status.empty() ? "ok" : status;
}

}  // namespace

void MlagHelperModel::interfaceIs(Bridging::IntfId intf, const MlagInterface& mlag) {
  interfaces_.put(intf, mlag);
  changed("interface");
}

void MlagHelperModel::showEgrMaskStatus(std::uint32_t socket) {
  const ChipSet present = idsOf(chips_());
  AnswerTable table({{"Interface"}, {"Peer"}, {"Masked on chips"}, {"Status"}});
  std::size_t wrong = 0;
  for (const auto& [intf, mlag] : interfaces_) {
    const ChipSet wanted = mlag.peerActive ? present : ChipSet();
    const ChipSet masked = mlag.maskedOn.value_or(wanted);
    if (!(masked == wanted)) ++wrong;
    table.row(intf.stringValue(), std::string_view(mlag.peerActive ? "active" : "inactive"),
              masked.text(), statusText(masked, wanted));
  }
  Answer answer(socket);
  answer.line("Egress masks for frames from the peer link");
  answer.fact("Peer link", peerLink_.stringValue());
  table.print(answer, {.one = "MLAG interface",
                       .many = "MLAG interfaces",
                       .total = std::to_string(wrong) + " wrong"});
}

const Qel::TypeData& MlagHelperModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::MlagHelperModel"};
  return kType;
}

}  // namespace KorvoAgent
