// What a dump promises while its table changes, checked against a model over random histories.
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>
#include <rapidjson/document.h>

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2SwTableRequestSm.h"
#include "tests/KorvoL2/RequestHarness.h"

namespace KorvoL2::Testing {
namespace {

using namespace std::chrono_literals;

struct Change {
  enum class Kind { add, remove, change } kind;
  std::uint64_t key;
};

class WalkOverChangingTable : public RequestHarness {
 public:
  void TestBody() override {}
  using RequestHarness::clock;
  using RequestHarness::eraseEntry;
  using RequestHarness::helper;
  using RequestHarness::putEntry;
  using RequestHarness::reader;
  using RequestHarness::request;
  using RequestHarness::rowBudgetIs;
  using RequestHarness::runToCompletion;
};

/** What a walk prints, slice by slice, of what is present at each. */
class ModelWalk {
 public:
  void slice(const std::set<std::uint64_t>& present, std::uint32_t budget,
             const std::function<bool(std::uint64_t)>& printable) {
    if (done_) return;
    std::uint32_t rows = 0;
    auto it = present.lower_bound(next_);
    for (; it != present.end() && rows < budget; ++it) {
      if (!printable(*it)) continue;
      printed.push_back(*it);
      ++rows;
    }
    done_ = it == present.end();
    if (!done_) next_ = *it;
  }

  std::vector<std::uint64_t> printed;

 private:
  std::uint64_t next_ = 0;
  bool done_ = false;
};

std::vector<std::uint64_t> printedKeys(const std::string& json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(json.c_str());
  RC_ASSERT(!document.HasParseError());
  std::vector<std::uint64_t> keys;
  for (const auto& row : document["macTableEntries"].GetArray()) {
    const auto mac = Bridging::EthAddr(std::string_view(row["mac"].GetString()));
    keys.push_back((std::uint64_t{row["vlan"].GetUint()} << 48) | mac.value());
  }
  return keys;
}

// Late entries among them: this table is far too small for any to be passed over.
RC_GTEST_PROP(WalkOverChangingTableProperty, WhateverIsThereWhenTheWalkComesByComesOutOnce, ()) {
  WalkOverChangingTable t;
  // A small space of keys, so that changes hit what the walk is about to print; every third row
  // is unprintable.
  const auto keySpace = *rc::gen::inRange<std::uint64_t>(2, 400);
  const auto budget = *rc::gen::inRange<std::uint32_t>(1, 8);
  // More entries come than go: some walks visit more rows than their table held at the start.
  const auto changesPerSlice = *rc::gen::inRange(0, 20);
  const auto vlanOf = [](std::uint64_t key) { return static_cast<unsigned>(1 + key / 100); };
  const auto printable = [](std::uint64_t key) { return key % 3 != 0; };

  std::set<std::uint64_t> present;
  const auto initial =
      *rc::gen::container<std::vector<std::uint64_t>>(rc::gen::inRange<std::uint64_t>(0, keySpace));
  for (const auto key : initial) {
    t.putEntry(vlanOf(key), key, "Ethernet1", printable(key));
    present.insert(key);
  }
  ModelWalk model;

  auto sm =
      l2SwTableRequestSmFactory("r", t.request(Rendering::kJson), 50ms, t.clock, t.helper.get());
  t.rowBudgetIs(*sm, budget);
  t.runToCompletion(*sm, [&] {
    model.slice(present, budget, printable);
    for (int i = 0; i < changesPerSlice; ++i) {
      const auto key = *rc::gen::inRange<std::uint64_t>(0, keySpace);
      switch (*rc::gen::inRange(0, 4)) {
        case 0:
        case 1:
          t.putEntry(vlanOf(key), key, "Ethernet1", printable(key));
          present.insert(key);
          break;
        case 2:
          RC_ASSERT(t.eraseEntry(vlanOf(key), key) == (present.erase(key) != 0));
          break;
        default:
          t.helper->shadow->entries.change(macKey(vlanOf(key), key), [](MacEntry& entry) {
            entry.intf = Bridging::IntfId("Ethernet2");
          });
      }
    }
  });

  std::vector<std::uint64_t> printed;
  for (const auto packed : printedKeys(t.reader->received)) {
    printed.push_back(packed & Bridging::EthAddr::kMask);
    RC_ASSERT(packed >> 48 == vlanOf(printed.back()));
  }
  RC_ASSERT(printed == model.printed);
  RC_ASSERT(t.helper->shadow->entries.size() == present.size());
}

RC_GTEST_PROP(WalkOverChangingTableProperty, SameBytesAtEveryBudgetWhenTheTableRests, ()) {
  WalkOverChangingTable t;
  const auto keys =
      *rc::gen::container<std::vector<std::uint64_t>>(rc::gen::inRange<std::uint64_t>(0, 100'000));
  for (const auto key : keys) {
    t.putEntry(static_cast<unsigned>(1 + key % 4094), key, "Ethernet1", key % 7 != 0);
  }
  const auto format = *rc::gen::element<std::uint32_t>(Rendering::kText, Rendering::kJson);
  const auto dump = [&](std::uint32_t budget, std::size_t window, std::size_t appetite) {
    auto sm = l2SwTableRequestSmFactory("r", t.request(format), 50ms, t.clock, t.helper.get());
    sm->slicePolicyIs({.outputWindow = window, .rowBudget = budget});
    while (!sm->executionCompleteFlag()) {
      t.reader->appetite = appetite;
      // As the agent's scheduler does: nothing new before everything old has gone.
      if (!sm->renderer().buffer().flush()) continue;
      sm->runCommand();
    }
    t.reader->appetite = std::numeric_limits<std::size_t>::max();
    sm->renderer().buffer().flush();
    return t.reader->received;
  };
  constexpr auto kAll = std::numeric_limits<std::size_t>::max();
  const std::string whole = dump(0, kAll / 2, kAll);
  RC_ASSERT(dump(*rc::gen::inRange<std::uint32_t>(1, 50), kAll / 2, kAll) == whole);
  RC_ASSERT(dump(0, *rc::gen::inRange<std::size_t>(1, 3000), kAll) == whole);
  RC_ASSERT(dump(0, kAll / 2, *rc::gen::inRange<std::size_t>(7, 3000)) == whole);
}

}  // namespace
}  // namespace KorvoL2::Testing
