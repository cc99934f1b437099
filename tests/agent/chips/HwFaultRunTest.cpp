// A run with churn and with programming that goes wrong: when the tables rest, the checks report
// exactly the faults that stand.

#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "agent/model/Churn.h"
#include "agent/model/MacGenerator.h"
#include "tests/agent/chips/ChipsTestSupport.h"

namespace KorvoAgent {
namespace {

using KorvoL2::DiffMacEntryTable;
using KorvoL2::L2TableReadReq;
using KorvoL2::L2TableReadType;
using KorvoL2::MissingMacEntryTable;
using namespace std::chrono_literals;

/** (chip, VLAN, MAC address) */
using Place = std::tuple<std::string, std::uint32_t, std::uint64_t>;

class HwFaultRunTest : public Testing::HardwareTest {
 protected:
  HwFaultRunTest() : HardwareTest(4) {}

  template <class Table>
  Qel::Ptr<Table> read(L2TableReadType type, Qel::Ptr<Table> L2TableReadReq::*slot) {
    HwTableReader& reader = hardware_->reader();
    auto result = Qel::makePtr<Table>();
    std::vector<Tessar::FapId> asked = hardware_->chips().ids();
    asked.emplace_back();
    for (const Tessar::FapId id : asked) {
      L2TableReadReq request;
      request.transactionId = reader.createTransactionId();
      request.*slot = result;
      request.type = type;
      request.fapId = id;
      reader.newReqIs(request);
    }
    while (reader.runnable()) reader.runPiece();
    return result;
  }
};

TEST_F(HwFaultRunTest, TheChecksReportEveryFaultThatStandsAndNothingElse) {
  generateMacs(*model_, 3000, 7);
  policy_.faultRate = 0.05;
  policy_.seed = 7;
  startHardware();
  Churn churn(*model_, 50'000, 7);
  for (int i = 0; i < 1000; ++i) {
    churn.advance(clock_->now(), 1000);
    letPass(1ms);
  }
  ASSERT_GT(churn.counts().learned + churn.counts().moved + churn.counts().aged, 40'000U);
  settle();

  std::set<Place> differs;
  std::set<Place> missingInHw;
  std::set<Place> missingInSw;
  for (const auto& [pair, entry] :
       read(L2TableReadType::difference, &L2TableReadReq::diffEntryTable)->entries()) {
    for (const auto& [chip, properties] : entry->hwEntries) {
      differs.emplace(chip, pair.vlan(), pair.mac().value());
    }
  }
  for (const auto& [key, entry] :
       read(L2TableReadType::missing, &L2TableReadReq::missingEntryTable)->entries()) {
    for (const std::string& chip : entry->modules) {
      (entry->inSw ? missingInHw : missingInSw).emplace(chip, key.vlan(), key.mac().value());
    }
  }

  std::set<Place> wrong;
  std::set<Place> lost;
  std::set<Place> leftBehind;
  for (const auto& [place, fault] : hardware_->programmer().faults().standing()) {
    const auto& pair = place.key.pair;
    const bool inSoftware = table().entries().has(pair);
    const std::string& chip = hardware_->chips().find(place.chip)->name;
    auto& group = fault == HwFault::lostWrite ? lost : (inSoftware ? wrong : leftBehind);
    group.emplace(chip, pair.vlan(), pair.mac().value());
  }
  EXPECT_GT(wrong.size(), 100U);
  EXPECT_GT(lost.size(), 100U);
  EXPECT_GT(leftBehind.size(), 10U);
  EXPECT_EQ(differs, wrong);
  EXPECT_EQ(missingInHw, lost);
  EXPECT_EQ(missingInSw, leftBehind);
  const auto& counts = hardware_->programmer().faults().counts();
  EXPECT_GT(counts.lostWrites + counts.staleEntries + counts.wrongPorts,
            hardware_->programmer().faults().standing().size())
      << "some have been put right by a later write";
}

}  // namespace
}  // namespace KorvoAgent
