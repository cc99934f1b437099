// Verbs for tests of the ingress VLAN ranges dump: interfaces, what they ask for, and what is
// programmed for their ports.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngDynamicVlanRangeRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/IngVlanRangeRequestSm.h"
#include "tests/KorvoL2/RequestHarness.h"

namespace KorvoL2::Testing {

/** Reads ranges from a map by logical FAP and port, and keeps what it was asked. */
class FakeCmdRingManager final : public L2CmdRingManager {
 public:
  using Port = std::pair<std::uint16_t, std::uint32_t>;

  void showEgrVfiTable(std::uint32_t, const Parameters&) override {}
  void showEgrVlanXlate2Entries(std::uint32_t, const Parameters&) override {}
  void showEgrVlanXlateEntries(std::uint32_t, const Parameters&) override {}
  void showVfiTable(std::uint32_t, const Parameters&) override {}
  void showVlanXlate2Entries(std::uint32_t, const Parameters&) override {}
  void showVlanXlateEntries(std::uint32_t, const Parameters&) override {}
  Qel::Ptr<ShadowTable> evtapTable() override { return nullptr; }
  Qel::Ptr<ShadowTable> ivtapTable() override { return nullptr; }
  Qel::Ptr<ShadowTable> sourceVpTable() override { return nullptr; }
  IngVlanRangeParam getIngVlanRangeEntry(std::uint16_t logicalFap,
                                         std::uint32_t logicalPort) override {
    asked.emplace_back(logicalFap, logicalPort);
    if (onRead != nullptr) onRead();
    const auto it = programmed.find(asked.back());
    return it == programmed.end() ? IngVlanRangeParam{} : IngVlanRangeParam{it->second};
  }

  std::map<Port, std::vector<Bridging::VlanIdRange>> programmed;
  std::vector<Port> asked;
  std::function<void()> onRead;
};

class VlanRangeHarness : public virtual RequestHarness {
 protected:
  static constexpr std::uint8_t kRangeSize = 8;

  Qel::Ptr<IngVlanRangeRequestSm> start(std::uint32_t format, std::uint32_t rowBudget = 0) {
    using namespace std::chrono_literals;
    return inService(ingVlanRangeRequestSmFactory("request-1", request(format), 50ms, clock, fcsd,
                                                  scale, ring, kRangeSize),
                     rowBudget);
  }
  Qel::Ptr<IngDynamicVlanRangeRequestSm> startDynamic(std::uint32_t format,
                                                      std::uint32_t rowBudget = 0) {
    using namespace std::chrono_literals;
    return inService(ingDynamicVlanRangeRequestSmFactory("request-1", request(format), 50ms, clock,
                                                         fcsd, scale, ring, kRangeSize, hwIndexes),
                     rowBudget);
  }
  std::string dump(std::uint32_t format, std::uint32_t rowBudget = 0) {
    runToCompletion(*start(format, rowBudget));
    return reader->received;
  }
  std::string dumpDynamic(std::uint32_t format) {
    runToCompletion(*startDynamic(format));
    return reader->received;
  }

  static Bridging::VlanIdRange range(unsigned first, unsigned last) {
    return {Bridging::VlanId(first), Bridging::VlanId(last)};
  }
  /** An interface on port `port` of module 1, logical FAP 5. */
  Bridging::IntfId putIntf(const std::string& name, std::uint16_t port) {
    const Bridging::IntfId intf(name);
    fcsd->intf.add(intf);
    const Bridging::ModPort modPort{.module = 1, .port = port};
    fcsd->intfPortId.put(intf, {.modPort = modPort});
    fcsd->modPortLogicalFap.put(modPort, 5);
    return intf;
  }
  /** The same with a scale entry, of a size that fits, and ranges. */
  Bridging::IntfId putRanges(const std::string& name, std::uint16_t port,
                             std::vector<Bridging::VlanIdRange> ranges) {
    const Bridging::IntfId intf = putIntf(name, port);
    scale->entries.put(intf, {.size = kRangeSize});
    ring->programmed[{std::uint16_t{5}, port}] = std::move(ranges);
    return intf;
  }

  Qel::Ptr<FeatureAgentCommonSmData> fcsd = Qel::makePtr<FeatureAgentCommonSmData>();
  Qel::Ptr<VlanXlateScaleEntryDir> scale = Qel::makePtr<VlanXlateScaleEntryDir>();
  Qel::Ptr<PortHwIndexMappingDir> hwIndexes = Qel::makePtr<PortHwIndexMappingDir>();
  Qel::Ptr<FakeCmdRingManager> ring = Qel::makePtr<FakeCmdRingManager>();

 private:
  template <class Sm>
  static Qel::Ptr<Sm> inService(Qel::Ptr<Sm> sm, std::uint32_t rowBudget) {
    sm->handleInitialized();
    rowBudgetIs(*sm, rowBudget);
    return sm;
  }
};

}  // namespace KorvoL2::Testing
