// The consistency checks against a model: random software tables, random faults in the chips, and
// random changes while the reader reads.

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "agent/chips/SwitchHardware.h"
#include "tests/support/ManualClock.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::DiffMacEntryTable;
using KorvoL2::L2TableReadReq;
using KorvoL2::L2TableReadType;
using KorvoL2::MacEntry;
using KorvoL2::MacKeyType;
using KorvoL2::MissingMacEntryTable;
using Tessar::FapId;

/** (chip, VLAN, MAC address, key type) */
using Place = std::tuple<std::string, std::uint32_t, std::uint64_t, unsigned>;
constexpr unsigned kNotReported = 99;  // the key type of a difference
/** What is wrong and where; entries missing in hardware and in software apart. */
struct Findings {
  std::set<Place> differs;
  std::set<Place> missingInHw;
  std::set<Place> missingInSw;
  friend bool operator==(const Findings&, const Findings&) = default;
};

class World {
 public:
  explicit World(unsigned chips) {
    model_->chipsIs(chips);
    for (std::uint64_t mac = 0; mac < 200; ++mac) {
      if (*rc::gen::inRange(0, 4) != 0) model_->swMacTable().put(pairOf(mac), anyEntry());
    }
    policy_.faultRate = 0.1;
    policy_.seed = *rc::gen::arbitrary<std::uint64_t>();
    policy_.tableSize = *rc::gen::element<std::size_t>(200, 2000);  // the first is too small
    hardware_.emplace(clock_, model_, policy_);
  }

  void churn(int events) {
    SwMacTable& table = model_->swMacTable();
    for (int i = 0; i < events; ++i) {
      const MacVlanPair pair = pairOf(*rc::gen::inRange<std::uint64_t>(0, 200));
      switch (*rc::gen::inRange(0, 3)) {
        case 0:
          table.put(pair, anyEntry());
          break;
        case 1:
          table.erase(pair);
          break;
        case 2:
          table.learn(pair, anyIntf(), model_->moduleBitmap());
          break;
      }
    }
  }
  void program(int pieces) {
    HwProgrammer& programmer = hardware_->programmer();
    for (int i = 0; i < pieces; ++i) {
      clock_->advance(std::chrono::milliseconds(10));
      if (const auto deadline = programmer.nextDeadline(); deadline && *deadline <= clock_->now()) {
        programmer.deadlinesPassed(clock_->now());
      }
      while (programmer.runnable()) programmer.runPiece();
    }
  }

  /** The findings of all chips at this moment, by looking at everything. */
  Findings truth() {
    Findings found;
    HwChips& chips = hardware_->chips();
    for (const FapId id : chips.ids()) {
      const HwChip& chip = *chips.find(id);
      std::map<std::pair<std::uint64_t, unsigned>, HwMacEntry> inHw;
      for (HwMacTable::Index i = 0; i < chip.macTable.capacity(); ++i) {
        const HwMacEntry& entry = chip.macTable.at(i);
        if (!entry.isEmpty()) inHw[{word(entry.pair), entry.keyType}] = entry;
      }
      for (const auto& [pair, entry] : model_->swMacTable().entries()) {
        const auto at = inHw.find({word(pair), hwKeyType(entry)});
        const bool pending = (entry.flags & KorvoL2::MacEntryFlag::kPending) != 0;
        if (at == inHw.end()) {
          if (!pending) found.missingInHw.insert(place(chip, pair, hwKeyType(entry)));
          continue;
        }
        const HwMacEntry hw = at->second;
        inHw.erase(at);
        if (!pending && !(hw == chips.wanted(pair, entry))) {
          found.differs.insert(place(chip, pair, kNotReported));
        }
      }
      for (const auto& [key, entry] : inHw) {
        if (hardware_->programmer().isDue(entry.pair)) continue;
        found.missingInSw.insert(place(chip, entry.pair, entry.keyType));
      }
    }
    return found;
  }

  /** What the chips should hold, by MAC address. */
  std::map<std::uint64_t, HwMacEntry> wanted() {
    std::map<std::uint64_t, HwMacEntry> all;
    for (const auto& [pair, entry] : model_->swMacTable().entries()) {
      all[pair.mac().value()] = hardware_->chips().wanted(pair, entry);
    }
    return all;
  }

  /** Asks for both checks of all chips; `between` runs between two pieces of the reader. */
  template <class Between>
  Findings check(Between&& between) {
    const auto diff = Qel::makePtr<DiffMacEntryTable>();
    const auto missing = Qel::makePtr<MissingMacEntryTable>();
    HwTableReader& reader = hardware_->reader();
    std::vector<FapId> asked = hardware_->chips().ids();
    asked.emplace_back();
    for (const FapId id : asked) {
      L2TableReadReq request;
      request.transactionId = reader.createTransactionId();
      request.diffEntryTable = diff;
      request.fapId = id;
      reader.newReqIs(request);
      request.diffEntryTable = nullptr;
      request.missingEntryTable = missing;
      request.type = L2TableReadType::missing;
      reader.newReqIs(request);
    }
    clock_->perReadingIs(std::chrono::milliseconds(2));
    while (reader.runnable()) {
      reader.runPiece();
      between();
    }
    clock_->perReadingIs(std::chrono::milliseconds(0));
    RC_ASSERT(diff->readComplete() && missing->readComplete());
    Findings found;
    for (const auto& [pair, entry] : diff->entries()) {
      RC_ASSERT(entry->diffCount == entry->hwEntries.size());
      for (const auto& [chip, properties] : entry->hwEntries) {
        found.differs.insert({chip, pair.vlan(), pair.mac().value(), kNotReported});
      }
    }
    for (const auto& [key, entry] : missing->entries()) {
      for (const std::string& chip : entry->modules) {
        (entry->inSw ? found.missingInHw : found.missingInSw)
            .insert({chip, key.vlan(), key.mac().value(), key.keyType()});
      }
    }
    return found;
  }

 private:
  static MacVlanPair pairOf(std::uint64_t mac) { return {10, EthAddr(mac)}; }
  static std::uint64_t word(const MacVlanPair& pair) { return pair.mac().value(); }
  static Place place(const HwChip& chip, const MacVlanPair& pair, unsigned keyType) {
    return {chip.name, pair.vlan(), pair.mac().value(), keyType};
  }
  static IntfId anyIntf() { return IntfId("Ethernet3/" + std::to_string(*rc::gen::inRange(1, 6))); }
  MacEntry anyEntry() const {
    MacEntry entry{.intf = anyIntf(), .modBitmap = model_->moduleBitmap()};
    if (*rc::gen::inRange(0, 4) == 0) entry.keyType = MacKeyType::vfi;
    return entry;
  }

  Qel::Ptr<Qel::ManualClock> clock_ = Qel::makePtr<Qel::ManualClock>();
  Qel::Ptr<SwitchModel> model_ = Qel::makePtr<SwitchModel>(clock_);
  HardwarePolicy policy_;
  std::optional<SwitchHardware> hardware_;
};

bool isWithin(const std::set<Place>& part, const std::set<Place>& whole) {
  return std::ranges::includes(whole, part);
}

RC_GTEST_PROP(HwCheckProperty, OnTablesAtRestTheReportsAreExactlyTheDifference, ()) {
  World world(*rc::gen::inRange(1U, 4U));
  world.churn(*rc::gen::inRange(0, 100));
  world.program(*rc::gen::inRange(0, 20));  // with and without something still to be done
  const Findings expected = world.truth();
  RC_CLASSIFY(!expected.differs.empty(), "differences");
  RC_CLASSIFY(!expected.missingInHw.empty(), "missing in hardware");
  RC_CLASSIFY(!expected.missingInSw.empty(), "missing in software");
  RC_ASSERT(world.check([] {}) == expected);
}

RC_GTEST_PROP(HwCheckProperty, WhatIsWrongAllTheTimeIsReportedAndNothingThatNeverWas, ()) {
  World world(*rc::gen::inRange(1U, 4U));
  Findings always = world.truth();
  Findings ever = always;
  const auto wantedAtStart = world.wanted();
  const auto merge = [](std::set<Place>& allTime, std::set<Place>& anyTime,
                        const std::set<Place>& now) {
    std::erase_if(allTime, [&now](const Place& place) { return !now.contains(place); });
    anyTime.insert(now.begin(), now.end());
  };
  const Findings found = world.check([&] {
    world.churn(*rc::gen::inRange(0, 10));
    world.program(*rc::gen::inRange(0, 3));
    const Findings now = world.truth();
    merge(always.differs, ever.differs, now.differs);
    // What software has changed meanwhile is reported as it was on one side of the change.
    const auto wantedNow = world.wanted();
    std::erase_if(always.differs, [&](const Place& place) {
      const auto before = wantedAtStart.find(std::get<2>(place));
      const auto after = wantedNow.find(std::get<2>(place));
      return before == wantedAtStart.end() || after == wantedNow.end() ||
             !(before->second == after->second);
    });
    merge(always.missingInHw, ever.missingInHw, now.missingInHw);
    merge(always.missingInSw, ever.missingInSw, now.missingInSw);
  });
  RC_ASSERT(isWithin(always.missingInHw, found.missingInHw));
  RC_ASSERT(isWithin(always.missingInSw, found.missingInSw));
  RC_ASSERT(isWithin(always.differs, found.differs));
  RC_ASSERT(isWithin(found.differs, ever.differs));
  RC_ASSERT(isWithin(found.missingInHw, ever.missingInHw));
  RC_ASSERT(isWithin(found.missingInSw, ever.missingInSw));
}

}  // namespace
}  // namespace KorvoAgent
