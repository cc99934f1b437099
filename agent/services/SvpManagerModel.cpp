#include "agent/services/SvpManagerModel.h"

#include <string>
#include <vector>

#include "agent/services/AnswerTable.h"

namespace KorvoAgent {

namespace {

constexpr std::uint16_t kNoSvp = KorvoL2::VirtualPort{}.number;

/** How often each virtual port is used. */
class Usage {
 public:
  void add(std::uint16_t svp) {
    std::uint8_t& users = users_[svp];
    if (users == 0) ++used_;
    if (users == 1) ++shared_;
    if (users < 2) ++users;
  }
  std::size_t used() const noexcept { return used_; }
  /** Used by more than one VLAN or interface. */
  std::size_t shared() const noexcept { return shared_; }

 private:
  std::vector<std::uint8_t> users_ = std::vector<std::uint8_t>(std::size_t{kNoSvp} + 1);
  std::size_t used_ = 0;
  std::size_t shared_ = 0;
};

}  // namespace

void SvpManagerModel::showVirtualPorts(std::uint32_t socket) {
  using enum AnswerTable::Alignment;
  AnswerTable table({{"SVP", kRight}, {"Kind"}, {"VLAN", kRight}, {"Interface"}});
  Usage usage;
  std::size_t ofVlans = 0;
  for (const auto& [vlan, port] : state_->vlanToSvp) {
    if (port.number == kNoSvp) continue;
    ++ofVlans;
    usage.add(port.number);
    table.row(port.number, "vlan", vlan.value(), "");
  }
  std::size_t counted = 0;
  const bool all = state_->portToEdgeSvp.size() <= AnswerTable::kMaxCounted;
  for (const auto& [key, port] : state_->portToEdgeSvp) {
    if (counted++ == AnswerTable::kMaxCounted) break;
    usage.add(port.svp);
    if (table.full()) {
      table.omit(1);
    } else {
      table.row(port.svp, "edge", key.vlan().value(), key.intf().stringValue());
    }
  }
  if (!all) table.cutOff();
  const std::string least = all ? "" : "at least ";
  Answer answer(socket);
  answer.line("Virtual ports");
  answer.fact("In use", least + std::to_string(usage.used()) + " of " + std::to_string(size_));
  answer.fact("Of VLANs", ofVlans);
  answer.fact("Of edge interfaces", state_->portToEdgeSvp.size());
  answer.fact("Used more than once", least + std::to_string(usage.shared()));
  table.print(answer, {.one = "use",
                       .many = "uses",
                       .none = "No virtual port is in use.",
                       .hint = "ShadowShow+SOURCE_VP+VAL+SVP shows one as the chips have it"});
}

const Qel::TypeData& SvpManagerModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::SvpManagerModel"};
  return kType;
}

}  // namespace KorvoAgent
