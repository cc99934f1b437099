// Drives a request state machine as an agent does, with everything around it simulated: a socket
// that takes what a test lets it take, a clock that a test moves, a MAC table shadow that behaves.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/base/Clock.h"
#include "platform/base/Trace.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/KorvoL2MacAddrSmHelper.h"
#include "platform/l2/L2TableReadSm.h"
#include "platform/l2/McastHelper.h"
#include "platform/rendering/TableRenderer.h"
#include "tests/support/CapturingTraceSink.h"
#include "tests/support/ManualClock.h"

namespace KorvoL2::Testing {

constexpr auto kText = Rendering::kText;
constexpr auto kJson = Rendering::kJson;

/** A socket with a reader that takes everything, or as many bytes as it is allowed. */
class SimulatedPort final : public Rendering::OutputPort {
 public:
  struct Reader {
    std::string received;
    std::size_t appetite = std::numeric_limits<std::size_t>::max();
    bool gone = false;
  };
  explicit SimulatedPort(std::shared_ptr<Reader> reader) : reader_(std::move(reader)) {}
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    if (reader_->gone) return -1;
    const std::size_t taken = std::min(size, reader_->appetite);
    reader_->received.append(data, taken);
    if (reader_->appetite != std::numeric_limits<std::size_t>::max()) reader_->appetite -= taken;
    return static_cast<std::ptrdiff_t>(taken);
  }

 private:
  std::shared_ptr<Reader> reader_;
};

/** A shadow whose rows are short and tell everything that a test looks at. */
class FakeMacTblShadow final : public MacTblShadow {
 public:
  const MacEntryCollection* macEntry() const override { return hasCollection ? &entries : nullptr; }
  void printMacEntry(Rendering::RendererV2& out, const Bridging::MacVlanPair& key,
                     const MacEntry& entry) const override {
    if (onPrint != nullptr) onPrint(key);
    out.addFrills("%8d%16s%12s\n", key.vlan(), key.mac().stringValue(), entry.intf.stringValue());
    out.member("vlan", key.vlan());
    out.member("mac", key.mac().stringValue());
    out.member("interface", entry.intf.stringValue());
  }

  void printMacEntryHw(Rendering::RendererV2& out, Rendering::TableRenderer* table,
                       Tessar::FapId fapId, bool detail, const Bridging::MacVlanPair& key,
                       const MacEntry& entry, KorvoL2McastHelper* mcastHelper) const override {
    if (onPrint != nullptr) onPrint(key);
    lastMcastHelper = mcastHelper;
    const std::string vlan = std::to_string(key.vlan());
    const std::string mac = key.mac().stringValue();
    const std::string index = std::to_string(1000U * fapId.value() + key.vlan());
    if (detail) {
      table->addRow({vlan, mac, "dynamic", "-", "0", entry.intf.stringValue(), index});
    } else {
      out.addFrills("%4s %-17s %-8s %-12s %-7s %-17s\n", vlan, mac, "dynamic", "-", "0",
                    entry.intf.stringValue());
    }
    out.member("vlan", key.vlan());
    out.member("mac", mac);
  }

  MacEntryCollection entries;
  bool hasCollection = true;
  mutable KorvoL2McastHelper* lastMcastHelper = nullptr;
  std::function<void(const Bridging::MacVlanPair&)> onPrint;
};

/** A reader that keeps what it is asked; a test fills the result tables and completes them. */
class FakeL2TableReadSm final : public L2TableReadSm {
 public:
  std::uint64_t createTransactionId() override { return ++lastTransactionId; }
  void mcastHelperIs(KorvoL2McastHelper* helper) override { mcastHelpers.push_back(helper); }
  void newReqIs(const L2TableReadReq& request) override { requests.push_back(request); }

  std::uint64_t lastTransactionId = 100;
  std::vector<KorvoL2McastHelper*> mcastHelpers;
  std::vector<L2TableReadReq> requests;
};

class FakeMcastHelper final : public KorvoL2McastHelper {
 public:
  void showHwMcastGroupTable(std::uint32_t, bool, bool, std::uint32_t) override {}
  void showMcastGroupTable(std::uint32_t) override {}
  void clearShadowMcastGroupTable() override {}
};

class FakeMacAddrSmHelper final : public KorvoL2MacAddrSmHelper {
 public:
  MacTblShadow* macTblShadow() const override { return shadow.get(); }
  const FapChipCollection* fapChip() const override { return &chips; }
  bool readUnknownChips() const override { return readUnknown; }
  L2TableReadSm* l2TableReadSm() const override { return reader.get(); }

  Qel::Ptr<FakeMacTblShadow> shadow = Qel::makePtr<FakeMacTblShadow>();
  FapChipCollection chips;
  bool readUnknown = false;
  Qel::Ptr<FakeL2TableReadSm> reader = Qel::makePtr<FakeL2TableReadSm>();
};

inline void addChip(FakeMacAddrSmHelper& helper, unsigned id, const char* name) {
  const Tessar::FapId fapId(id);
  helper.chips.put(fapId, {.fapChipName = name, .chipData = fapId});
}

inline Bridging::MacVlanPair macKey(unsigned vlan, std::uint64_t mac) {
  return {static_cast<std::uint16_t>(vlan), Bridging::EthAddr(mac)};
}

/** Everything that a request needs; verbs to put entries and to run slices. */
class RequestHarness : public ::testing::Test {
 protected:
  RequestHarness() { Qel::traceHandle("KorvoL2CliCallbacks").levelIs(8); }
  ~RequestHarness() override {
    Qel::traceHandle("KorvoL2CliCallbacks").levelIs(0);
    Qel::traceSinkIs(previousSink_);
  }

  /** A request in `format` on a new simulated socket. */
  Qel::Ptr<const AgentCommand::AgentCommandRequest> request(std::uint32_t format,
                                                            std::size_t gathered = 1024) {
    reader = std::make_shared<SimulatedPort::Reader>();
    return requestOn(std::make_unique<SimulatedPort>(reader), format, gathered);
  }
  /** A request in `format` on `port`, to which output goes when `gathered` bytes of it are there.
   */
  static Qel::Ptr<const AgentCommand::AgentCommandRequest> requestOn(
      std::unique_ptr<Rendering::OutputPort> port, std::uint32_t format, std::size_t gathered) {
    auto buffer = Qel::makePtr<Rendering::PrintBuffer>(std::move(port), 7U, gathered,
                                                       Rendering::PrintBuffer::kStream);
    auto renderer = Qel::makePtr<Rendering::RendererV2>(format, std::move(buffer), false);
    return Qel::makePtr<AgentCommand::AgentCommandRequest>("request-1", "MACT_ALL", 7U, format,
                                                           std::move(renderer));
  }

  /** Slices of at most `rows` rows; 0 leaves only time and window. */
  static void rowBudgetIs(AgentCommand::AgentAsyncCommandRequestSm& sm, std::uint32_t rows) {
    sm.slicePolicyIs({.outputWindow = std::size_t{1} << 40, .rowBudget = rows});
  }

  /** Runs slices until completion, `between` after each; returns how many slices it took. */
  template <class Between>
  std::uint64_t runToCompletion(AgentCommand::AgentAsyncCommandRequestSm& sm, Between&& between) {
    constexpr std::uint64_t kEnough = 10'000'000;
    while (!sm.executionCompleteFlag()) {
      sm.runCommand();
      if (sm.slices() > kEnough) {
        ADD_FAILURE() << "the walk does not end";
        break;
      }
      between();
    }
    return sm.slices();
  }
  std::uint64_t runToCompletion(AgentCommand::AgentAsyncCommandRequestSm& sm) {
    return runToCompletion(sm, [] {});
  }

  void putEntry(unsigned vlan, std::uint64_t mac, const char* intf = "Ethernet1",
                bool printable = true) {
    MacEntry entry;
    entry.intf = Bridging::IntfId(intf);
    entry.printable = printable;
    helper->shadow->entries.put(macKey(vlan, mac), entry);
  }
  bool eraseEntry(unsigned vlan, std::uint64_t mac) {
    return helper->shadow->entries.erase(macKey(vlan, mac));
  }

  std::shared_ptr<SimulatedPort::Reader> reader;
  Qel::Ptr<FakeMacAddrSmHelper> helper = Qel::makePtr<FakeMacAddrSmHelper>();
  Qel::Ptr<FakeMcastHelper> mcastHelper = Qel::makePtr<FakeMcastHelper>();
  Qel::Ptr<Qel::ManualClock> clock = Qel::makePtr<Qel::ManualClock>();
  std::shared_ptr<Qel::CapturingTraceSink> traces = std::make_shared<Qel::CapturingTraceSink>();

 private:
  std::shared_ptr<Qel::TraceSink> previousSink_ = Qel::traceSinkIs(traces);
};

}  // namespace KorvoL2::Testing
