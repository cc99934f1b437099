// What the two consistency checks need beside the request harness: chips, and verbs to fill the
// result tables and to complete them.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacDiffRequestSm.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacMissingRequestSm.h"
#include "tests/KorvoL2/RequestHarness.h"

namespace KorvoL2::Testing {

using Properties = std::vector<std::pair<std::string_view, std::string>>;

inline Qel::Ptr<const EntryPropertyDir> propertyDir(const Properties& properties) {
  auto dir = Qel::makePtr<EntryPropertyDir>();
  for (const auto& [name, value] : properties) dir->propertyIs(name, value);
  return dir;
}

class MacCheck : public RequestHarness {
 protected:
  static constexpr Qel::Duration kBudget = std::chrono::milliseconds(50);

  MacCheck() {
    addChip(*helper, 0, "Chip0");
    addChip(*helper, 1, "Chip1");
  }
  Qel::Ptr<L2MacDiffRequestSm> diff(std::uint32_t format, const std::string& chips = "0,1",
                                    bool detail = false) {
    auto sm = l2MacDiffRequestSmFactory("request-1", request(format), kBudget, clock, helper.get(),
                                        mcastHelper.get(), chips, detail);
    sm->handleInitialized();
    rowBudgetIs(*sm, 0);
    return sm;
  }
  Qel::Ptr<L2MacMissingRequestSm> missing(std::uint32_t format, const std::string& chips = "0,1",
                                          bool detail = false) {
    auto sm = l2MacMissingRequestSmFactory("request-1", request(format), kBudget, clock,
                                           helper.get(), mcastHelper.get(), chips, detail);
    sm->handleInitialized();
    rowBudgetIs(*sm, 0);
    return sm;
  }
  std::vector<unsigned> requestedChips() const {
    std::vector<unsigned> chips;
    for (const auto& each : helper->reader->requests) chips.push_back(each.fapId.value());
    return chips;
  }
  static void addDiff(L2MacDiffRequestSm& sm, unsigned vlan, std::uint64_t mac,
                      std::uint32_t diffCount, const Properties& sw,
                      const std::map<std::string, Properties>& hw, std::int32_t index = 17) {
    auto entry = Qel::makePtr<DiffMacEntry>();
    if (!sw.empty()) entry->swEntry = propertyDir(sw);
    for (const auto& [chip, properties] : hw) entry->hwEntries[chip] = propertyDir(properties);
    entry->diffCount = diffCount;
    entry->hwTblIndex = index;
    sm.diffEntryTable()->entries().put(macKey(vlan, mac), entry);
  }
  static void addMissing(L2MacMissingRequestSm& sm, unsigned vlan, std::uint64_t mac,
                         std::uint8_t keyType, bool inSw, std::vector<std::string> modules,
                         std::int32_t index = 17) {
    auto entry = Qel::makePtr<MissingMacEntry>();
    entry->inSw = inSw;
    entry->modules = std::move(modules);
    entry->hwTblIndex = index;
    sm.missingEntryTable()->entries().put(L2HwEntryKey(vlan, Bridging::EthAddr(mac), keyType),
                                          entry);
  }
  std::string finish(L2MacDiffRequestSm& sm) {
    sm.diffEntryTable()->readCompleteIs(true);
    runToCompletion(sm);
    return reader->received;
  }
  std::string finish(L2MacMissingRequestSm& sm) {
    sm.missingEntryTable()->readCompleteIs(true);
    runToCompletion(sm);
    return reader->received;
  }
  static constexpr const char* kDiffHeads =
      " Vlan   Mac Address      SW Entry                   Chip                HW Entry\n"
      " ------ ---------------- ------------------------   -----------------   "
      "------------------------\n";
  static std::string diffTotal(unsigned n) {
    return "\nTotal entries different between software and hardware:  " + std::to_string(n) +
           "\n\n";
  }
};

}  // namespace KorvoL2::Testing
