// What the switch does with VLAN tags, ingress and egress, as its operators ask for it.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>
#include <utility>

#include "agent/services/VlanXlateModel.h"
#include "platform/l2/L2Services.h"

namespace KorvoAgent {

/** Shows the ingress directories of the translation object. */
class VlanXlate2ManagerModel final : public KorvoL2::VlanXlate2Manager {
 public:
  explicit VlanXlate2ManagerModel(Qel::Ptr<const VlanXlateSmModel> directories)
      : directories_(std::move(directories)) {}
  void showVlanXlate2(std::uint32_t socket) override;
  const Qel::TypeData& typeData() const noexcept override;

 private:
  Qel::Ptr<const VlanXlateSmModel> directories_;
};

/** Shows the egress directories, by key or by the hash buckets in which chips look entries up. */
class EgrVlanXlateManagerModel final : public KorvoL2::EgrVlanXlateQuorraManager {
 public:
  static constexpr std::uint32_t kBuckets = 1024;
  static constexpr std::uint32_t kBucketSlots = 8;

  explicit EgrVlanXlateManagerModel(Qel::Ptr<const VlanXlateSmModel> directories)
      : directories_(std::move(directories)) {}
  void showEgrVlanXlate(std::uint32_t socket, bool hashView) override;
  const Qel::TypeData& typeData() const noexcept override;

  /** Where the simulated chips look an entry up; depends on the interface's name and the VLAN. */
  static std::uint32_t bucketOf(const Bridging::PortVlanKey& key) noexcept;

 private:
  void showByKey(std::uint32_t socket) const;
  void showByBucket(std::uint32_t socket) const;

  Qel::Ptr<const VlanXlateSmModel> directories_;
};

}  // namespace KorvoAgent
