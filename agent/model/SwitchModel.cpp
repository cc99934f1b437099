#include "agent/model/SwitchModel.h"

#include <algorithm>
#include <utility>

#include "platform/base/Exceptions.h"
#include "text/Printable.h"

namespace KorvoAgent {

class SwitchModel::MacAddrSmHelper final : public KorvoL2::KorvoL2MacAddrSmHelper {
 public:
  MacAddrSmHelper(Qel::Ptr<SwMacTable> table, const Service<ModFifoShowModel>& fifos)
      : table_(std::move(table)), fifos_(fifos) {}
  KorvoL2::MacTblShadow* macTblShadow() const override {
    return shadowPresent_ ? table_.get() : nullptr;
  }
  KorvoL2::L2ModFifoShowSm* l2ModFifoShowSm() const override { return fifos_.shown(); }
  const KorvoL2::FapChipCollection* fapChip() const override { return chips_; }
  bool readUnknownChips() const override { return readUnknownChips_; }
  KorvoL2::L2TableReadSm* l2TableReadSm() const override { return reader_; }

  void macTblShadowPresentIs(bool present) {
    attributeIs(shadowPresent_, present, "macTblShadowPresent");
  }
  void readUnknownChipsIs(bool read) { attributeIs(readUnknownChips_, read, "readUnknownChips"); }
  void hardwareIs(const KorvoL2::FapChipCollection* chips, KorvoL2::L2TableReadSm* reader) {
    attributeIs(chips_, chips, "fapChip");
    attributeIs(reader_, reader, "l2TableReadSm");
  }

 private:
  Qel::Ptr<SwMacTable> table_;
  const Service<ModFifoShowModel>& fifos_;
  const KorvoL2::FapChipCollection* chips_ = nullptr;
  KorvoL2::L2TableReadSm* reader_ = nullptr;
  bool shadowPresent_ = true;
  bool readUnknownChips_ = false;
};

class SwitchModel::Mcast final : public KorvoL2::McastObject {
 public:
  explicit Mcast(const Service<McastHelperModel>& helper) : helper_(helper) {}
  KorvoL2::McastHelper* mcastHelper() const override { return helper_.shown(); }

 private:
  const Service<McastHelperModel>& helper_;
};

SwitchModel::SwitchModel(Qel::Ptr<const Qel::Clock> clock)
    : clock_(std::move(clock)),
      swMacTable_(Qel::makePtr<SwMacTable>()),
      unicast_(Qel::makePtr<UnicastAgentModel>()),
      services_(
          clock_, [this] { return chipNames(); },
          [table = swMacTable_] { return table->numReported(); }, unicast_->vxlan()),
      macAddrSmHelper_(Qel::makePtr<MacAddrSmHelper>(swMacTable_, services_.modFifoShow)),
      mcast_(Qel::makePtr<Mcast>(services_.mcastHelper)) {
  QEL_ASSERT(clock_ != nullptr);
  unicast_->services().routerMac->macTableIs(swMacTable_.get());
  chipsIs(1);
  unicast_->chipIdentityIs(kDefaultChipIdentity);
  chipAttrIs(kDefaultChipIdentity, true, true);
}

SwitchModel::~SwitchModel() = default;

KorvoL2::UnicastAgent* SwitchModel::unicastAgent() const {
  return unicastAgentPresent_ ? unicast_.get() : nullptr;
}

KorvoL2::KorvoL2MacAddrSmHelper* SwitchModel::macAddrSmHelper() const {
  return macAddrSmHelperPresent_ ? macAddrSmHelper_.get() : nullptr;
}

KorvoL2::McastObject* SwitchModel::mcast() const { return mcastPresent_ ? mcast_.get() : nullptr; }

const Qel::TypeData& SwitchModel::typeData() const noexcept {
  static constexpr Qel::TypeData kType{"KorvoAgent::SwitchModel"};
  return kType;
}

bool SwitchModel::isModulePresent(Tessar::FapId chip) const {
  return std::ranges::binary_search(chips_, chip, {}, &Chip::id);
}

void SwitchModel::chipsIs(unsigned count) {
  if (count < 1 || count > kMaxChips) {
    throw Qel::RangeException("a switch has 1 to " + std::to_string(kMaxChips) + " chips, not " +
                              std::to_string(count));
  }
  constexpr unsigned kChipsPerCard = 4;
  constexpr unsigned kFirstCard = 3;  // the slots before it hold the supervisors
  chips_.clear();
  for (unsigned i = 0; i < count; ++i) {
    chips_.push_back({.id = Tessar::FapId(i),
                      .name = "Linecard" + std::to_string(kFirstCard + i / kChipsPerCard) + "/" +
                              std::to_string(i % kChipsPerCard)});
  }
  chipsChanged();
}

void SwitchModel::chipIs(Tessar::FapId id, std::string name) {
  if (id.isNull()) throw Qel::RangeException("the null id names no chip");
  const auto namesake = std::ranges::find(chips_, name, &Chip::name);
  if (namesake != chips_.end() && namesake->id != id) {
    throw Qel::RangeException("chip " + namesake->id.stringValue() + " has the name " +
                              Text::inQuotes(name) + " already");
  }
  const auto at = std::ranges::lower_bound(chips_, id, {}, &Chip::id);
  if (at != chips_.end() && at->id == id) {
    at->name = std::move(name);
  } else {
    chips_.insert(at, Chip{.id = id, .name = std::move(name)});
  }
  chipsChanged();
}

void SwitchModel::chipIs(Chip chip) {
  chipIs(chip.id, chip.name);
  *std::ranges::lower_bound(chips_, chip.id, {}, &Chip::id) = std::move(chip);
  chipsChanged();
}

void SwitchModel::chipDelAll() {
  chips_.clear();
  chipsChanged();
}

void SwitchModel::chipsChanged() {
  swMacTable_->refModBitmapIs(moduleBitmap());
  changed("chips");
}

std::vector<ChipName> SwitchModel::chipNames() const {
  std::vector<ChipName> names;
  for (const Chip& chip : chips_) names.push_back({chip.id, chip.name});
  return names;
}

std::uint64_t SwitchModel::moduleBitmap() const noexcept {
  std::uint64_t bitmap = 0;
  for (const Chip& chip : chips_) {
    if (chip.id.value() < 64) bitmap |= std::uint64_t{1} << chip.id.value();
  }
  return bitmap;
}

void SwitchModel::configReadyIs(bool ready) {
  attributeIs(status_.configReady, ready, "configReady");
}

void SwitchModel::hardwareReadyIs(bool ready) {
  attributeIs(status_.hardwareReady, ready, "hardwareReady");
}

void SwitchModel::unicastAgentPresentIs(bool present) {
  attributeIs(unicastAgentPresent_, present, "unicastAgentPresent");
}

void SwitchModel::macAddrSmHelperPresentIs(bool present) {
  attributeIs(macAddrSmHelperPresent_, present, "macAddrSmHelperPresent");
}

void SwitchModel::macTblShadowPresentIs(bool present) {
  macAddrSmHelper_->macTblShadowPresentIs(present);
}

void SwitchModel::mcastPresentIs(bool present) {
  attributeIs(mcastPresent_, present, "mcastPresent");
}

void SwitchModel::readUnknownChipsIs(bool read) { macAddrSmHelper_->readUnknownChipsIs(read); }

void SwitchModel::hardwareIs(const KorvoL2::FapChipCollection* chips,
                             KorvoL2::L2TableReadSm* reader, HwMacRows* rows) {
  macAddrSmHelper_->hardwareIs(chips, reader);
  swMacTable_->hwRowsIs(rows);
}

void SwitchModel::chipAttrIs(const std::string& identity, bool ingVlanXlate, bool egrVlanXlate) {
  auto attributes = Qel::makePtr<KorvoL2::ChipAttr>();
  attributes->ingVlanXlate = ingVlanXlate;
  attributes->egrVlanXlate = egrVlanXlate;
  chipAttrDir_.put(identity, std::move(attributes));
  changed("chipAttr");
}

void SwitchModel::chipAttrDelAll() {
  chipAttrDir_.clear();
  changed("chipAttr");
}

}  // namespace KorvoAgent
