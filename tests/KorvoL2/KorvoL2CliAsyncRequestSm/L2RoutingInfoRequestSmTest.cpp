#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include <functional>
#include <stdexcept>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "tests/KorvoL2/VxlanHarness.h"
#include "tests/support/KeyedCollectionTestAccess.h"

namespace KorvoL2::Testing {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::IpAddr;
using Bridging::VlanId;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using namespace std::chrono_literals;

/** The fake shadow with modules to compare with, and a hook where it is asked. */
class ModuleShadow final : public MacTblShadow {
 public:
  const MacEntryCollection* macEntry() const override { return hasCollection ? &entries : nullptr; }
  std::uint64_t getModBitmap(const Bridging::MacVlanPair& key) const override {
    if (onLookUp != nullptr) onLookUp(key);
    return MacTblShadow::getModBitmap(key);
  }
  std::uint64_t refModBitmap() const override {
    ++referenceAsked;
    return reference;
  }
  void printMacEntry(Rendering::RendererV2& /*renderer*/, const Bridging::MacVlanPair& /*key*/,
                     const MacEntry& /*entry*/) const override {}
  void printMacEntryHw(Rendering::RendererV2& /*renderer*/, Rendering::TableRenderer* /*table*/,
                       Tessar::FapId /*fapId*/, bool /*detail*/,
                       const Bridging::MacVlanPair& /*key*/, const MacEntry& /*entry*/,
                       KorvoL2McastHelper* /*mcastHelper*/) const override {}

  MacEntryCollection entries;
  bool hasCollection = true;
  std::uint64_t reference = 0b11;
  mutable int referenceAsked = 0;
  std::function<void(const Bridging::MacVlanPair&)> onLookUp;
};

class ModuleMacHelper final : public KorvoL2MacAddrSmHelper {
 public:
  MacTblShadow* macTblShadow() const override { return shadow.get(); }
  Qel::Ptr<ModuleShadow> shadow = Qel::makePtr<ModuleShadow>();
};

class RoutingInfoRequest : public VxlanHarness {
 protected:
  static constexpr std::uint64_t kRouterMac = 0x001122334455;
  static constexpr std::uint64_t kVirtualMac = 0x00005e000101;

  RoutingInfoRequest() { routingStatus->routerMac = EthAddr(kRouterMac); }

  Qel::Ptr<L2RoutingInfoRequestSm> make(std::uint32_t format, std::uint32_t budget = 0) {
    auto sm =
        l2RoutingInfoRequestSmFactory("request-1", request(format), kBudget, clock, recircIntf,
                                      routingStatus, l2State, svpConfig, capabilities, macs.get());
    sm->handleInitialized();
    entryBudgetIs(*sm, budget);
    return sm;
  }
  std::string dump(std::uint32_t format, std::uint32_t budget = 0) {
    runToCompletion(*make(format, budget));
    return reader->received;
  }
  /** A healthy entry of `mac` in `vlan`, for `change` to spoil. */
  void putMac(unsigned vlan, std::uint64_t mac, std::uint16_t flags = MacEntryFlag::kRouted,
              std::uint64_t modules = 0b11) {
    macs->shadow->entries.put({VlanId(vlan), EthAddr(mac)},
                              {.modBitmap = modules, .flags = flags, .type = MacEntryType::router});
  }
  /** Configures everything that the header knows. */
  void configureAll() {
    recircIntf = IntfId("Recirc-Channel1");
    routingStatus->virtualRouterMac = EthAddr(kVirtualMac);
    l2State->orvaVtepIp = IpAddr("10.0.0.1");
    l2State->orvaVtepIp6 = IpAddr("2001:db8::1");
  }
  /** The flags of one VLAN, as the JSON document tells them, in the order of the table. */
  std::vector<bool> flagsOf(unsigned vlan) {
    rapidjson::Document document;
    document.Parse(dump(kJson).c_str());
    if (document.HasParseError()) {
      ADD_FAILURE() << reader->received;
      return {};
    }
    const auto& row = document["vlans"][std::to_string(vlan).c_str()];
    std::vector<bool> flags;
    for (const char* name :
         {"svpConfigured", "routerMacOnAllModules", "routerMacMissing", "routerMacRouted",
          "virtualRouterMacConfigured", "virtualRouterMacOnAllModules", "virtualRouterMacMissing",
          "virtualRouterMacRouted"}) {
      flags.push_back(row[name].GetBool());
    }
    return flags;
  }

  Qel::Ptr<ModuleMacHelper> macs = Qel::makePtr<ModuleMacHelper>();
};

using Flags = std::vector<bool>;

TEST_F(RoutingInfoRequest, PrintsEverythingThatIsConfigured) {
  configureAll();
  putVlanSvp(20, 14);
  putVlanSvp(10, 12);
  svpConfig->entries.put(VlanId(10), {});
  for (const unsigned vlan : {10U, 20U}) putMac(vlan, kRouterMac);
  putMac(10, kVirtualMac, MacEntryFlag::kVirtualRouted, 0b01);
  EXPECT_EQ(dump(kText),
            "\n"
            "Recirc-channel: Recirc-Channel1\n"
            "\n"
            "Router MAC: 0011.2233.4455\n"
            "Virtual router MAC: 0000.5e00.0101\n"
            "\n"
            "ORVA VTEP IP: 10.0.0.1\n"
            "ORVA VTEP IPv6: 2001:db8::1\n"
            "   SVP: 3\n"
            "\n"
            "Vlan 10   SVP 12    config yes | "
            "Router MAC: all yes missing no  routed yes | "
            "Virtual: all NO  missing no  routed yes\n"
            "Vlan 20   SVP 14    config NO  | "
            "Router MAC: all yes missing no  routed yes | "
            "Virtual: all NO  missing YES routed NO\n");
  EXPECT_EQ(dump(kJson),
            R"({"recircChannel":"Recirc-Channel1","routerMac":"0011.2233.4455",)"
            R"("virtualRouterMac":"0000.5e00.0101","orvaVtepIp":"10.0.0.1",)"
            R"("orvaVtepIp6":"2001:db8::1","orvaVtepSvp":3,"vlans":{)"
            R"("10":{"svp":12,"svpConfigured":true,"routerMacOnAllModules":true,)"
            R"("routerMacMissing":false,"routerMacRouted":true,)"
            R"("virtualRouterMacConfigured":true,"virtualRouterMacOnAllModules":false,)"
            R"("virtualRouterMacMissing":false,"virtualRouterMacRouted":true},)"
            R"("20":{"svp":14,"svpConfigured":false,"routerMacOnAllModules":true,)"
            R"("routerMacMissing":false,"routerMacRouted":true,)"
            R"("virtualRouterMacConfigured":true,"virtualRouterMacOnAllModules":false,)"
            R"("virtualRouterMacMissing":true,"virtualRouterMacRouted":false}}})"
            "\n");
}

TEST_F(RoutingInfoRequest, WithoutVlansOnlyTheHeader) {
  EXPECT_EQ(dump(kText),
            "\n"
            "Recirc-channel NOT configured\n"
            "\n"
            "Router MAC: 0011.2233.4455\n"
            "Virtual router MAC not configured\n"
            "\n"
            "ORVA VTEP IP not configured\n"
            "\n");
  EXPECT_EQ(dump(kJson), "{\"routerMac\":\"0011.2233.4455\",\"vlans\":{}}\n");
}

TEST_F(RoutingInfoRequest, AHeaderOfWhatIsConfiguredWithoutVlans) {
  configureAll();
  EXPECT_EQ(dump(kJson), R"({"recircChannel":"Recirc-Channel1","routerMac":"0011.2233.4455",)"
                         R"("virtualRouterMac":"0000.5e00.0101","orvaVtepIp":"10.0.0.1",)"
                         R"("orvaVtepIp6":"2001:db8::1","orvaVtepSvp":3,"vlans":{}})"
                         "\n");
}

TEST_F(RoutingInfoRequest, AnAddressOfEitherFamilyIsEnough) {
  l2State->orvaVtepIp6 = IpAddr("2001:db8::1");
  EXPECT_THAT(dump(kText), EndsWith("\n\nORVA VTEP IPv6: 2001:db8::1\n   SVP: 3\n\n"));
  EXPECT_THAT(reader->received, Not(HasSubstr("ORVA VTEP IP not configured")));
  EXPECT_THAT(dump(kJson), HasSubstr(R"(,"orvaVtepIp6":"2001:db8::1","orvaVtepSvp":3,"vlans")"));
  l2State->orvaVtepIp6 = IpAddr::v6({});
  l2State->orvaVtepIp = IpAddr("10.0.0.1");
  EXPECT_THAT(dump(kText), EndsWith("\n\nORVA VTEP IP: 10.0.0.1\n   SVP: 3\n\n"));
  EXPECT_THAT(dump(kJson), HasSubstr(R"(,"orvaVtepIp":"10.0.0.1","orvaVtepSvp":3,"vlans")"));
}

TEST_F(RoutingInfoRequest, AChannelIsNotShownWhereRoutingTakesOnePass) {
  recircIntf = IntfId("Recirc-Channel1");
  capabilities->singlePassRouting = true;
  EXPECT_THAT(dump(kText), StartsWith("\nRecirc-channel NOT configured\n\n"));
  EXPECT_THAT(dump(kJson), Not(HasSubstr("recircChannel")));
}

TEST_F(RoutingInfoRequest, RecordsThatAreNotThereAreEmpty) {
  auto sm = l2RoutingInfoRequestSmFactory("r", request(kText), kBudget, clock, {}, nullptr, nullptr,
                                          nullptr, nullptr, macs.get());
  runToCompletion(*sm);
  EXPECT_EQ(reader->received,
            "\nRecirc-channel NOT configured\n\nRouter MAC: 0000.0000.0000\n"
            "Virtual router MAC not configured\n\nORVA VTEP IP not configured\n\n");
  putVlanSvp(10, 12);
  sm = l2RoutingInfoRequestSmFactory("r", request(kText), kBudget, clock, {}, nullptr, l2State,
                                     nullptr, nullptr, macs.get());
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, HasSubstr("Vlan 10   SVP 12    config NO  |"));
}

// Each flag of the table.

TEST_F(RoutingInfoRequest, FlagsOfAHealthyVlan) {
  configureAll();
  putVlanSvp(10, 12);
  svpConfig->entries.put(VlanId(10), {});
  putMac(10, kRouterMac);
  putMac(10, kVirtualMac, MacEntryFlag::kVirtualRouted);
  EXPECT_EQ(flagsOf(10), (Flags{true, true, false, true, true, true, false, true}));
}

TEST_F(RoutingInfoRequest, SvpConfigurationIsThatOfTheVlanItself) {
  putVlanSvp(10, 12);
  putVlanSvp(11, 12);
  svpConfig->entries.put(VlanId(11), {});
  EXPECT_FALSE(flagsOf(10)[0]);
  EXPECT_TRUE(flagsOf(11)[0]);
}

TEST_F(RoutingInfoRequest, AMacOnSomeModulesOrInAnotherVlanIsNotOnAllOfThem) {
  configureAll();
  putVlanSvp(10, 12);
  putMac(10, kRouterMac, MacEntryFlag::kRouted, 0b01);
  putMac(11, kVirtualMac);
  EXPECT_EQ(flagsOf(10), (Flags{false, false, false, true, true, false, true, false}));
  // More than the reference is not the reference either.
  putMac(10, kRouterMac, MacEntryFlag::kRouted, 0b111);
  EXPECT_FALSE(flagsOf(10)[1]);
}

TEST_F(RoutingInfoRequest, AMissingMacIsOnEveryModuleOfASwitchThatKnowsNone) {
  configureAll();
  putVlanSvp(10, 12);
  macs->shadow->reference = 0;
  EXPECT_EQ(flagsOf(10), (Flags{false, true, true, false, true, true, true, false}));
}

TEST_F(RoutingInfoRequest, EitherBitOfRoutingCountsAndNoOther) {
  configureAll();
  putVlanSvp(10, 12);
  for (unsigned bit = 0; bit < 16; ++bit) {
    const auto flags = static_cast<std::uint16_t>(1U << bit);
    putMac(10, kRouterMac, flags);
    putMac(10, kVirtualMac, flags);
    const Flags found = flagsOf(10);
    EXPECT_EQ(found[3], bit == 1 || bit == 2) << bit;
    EXPECT_EQ(found[7], bit == 1 || bit == 2) << bit;
  }
}

TEST_F(RoutingInfoRequest, AnEntryThatIsTheEmptyOneIsThereAndNotRouted) {
  putVlanSvp(10, 12);
  macs->shadow->entries.put({VlanId(10), EthAddr(kRouterMac)}, {});
  const Flags flags = flagsOf(10);
  EXPECT_FALSE(flags[2]);
  EXPECT_FALSE(flags[3]);
}

TEST_F(RoutingInfoRequest, WithoutAVirtualRouterMacItsFlagsAreOffAndNothingIsLookedUp) {
  putVlanSvp(10, 12);
  putMac(10, 0);  // which would be found
  std::vector<EthAddr> asked;
  macs->shadow->onLookUp = [&](const Bridging::MacVlanPair& key) { asked.push_back(key.mac()); };
  const Flags flags = flagsOf(10);
  EXPECT_EQ(Flags(flags.begin() + 4, flags.end()), (Flags{false, false, false, false}));
  EXPECT_THAT(asked, ElementsAre(EthAddr(kRouterMac)));
}

TEST_F(RoutingInfoRequest, WithoutAShadowOrItsCollectionMacsAreMissing) {
  configureAll();
  putVlanSvp(10, 12);
  putMac(10, kRouterMac);
  macs->shadow->hasCollection = false;
  EXPECT_EQ(flagsOf(10), (Flags{false, false, true, false, true, false, true, false}));
  macs->shadow = nullptr;
  EXPECT_EQ(flagsOf(10), (Flags{false, false, true, false, true, false, true, false}));
}

// Slices.

TEST_F(RoutingInfoRequest, BytesAreTheSameAtEverySliceBudget) {
  configureAll();
  for (unsigned vlan = 1; vlan <= 120; ++vlan) {
    putVlanSvp(vlan * 30, static_cast<std::uint16_t>(vlan));
    if (vlan % 2 == 0) putMac(vlan * 30, kRouterMac);
    if (vlan % 3 == 0) putMac(vlan * 30, kVirtualMac);
    if (vlan % 5 == 0) svpConfig->entries.put(VlanId(vlan * 30), {});
  }
  for (const auto format : {kText, kJson}) {
    const std::string whole = dump(format);
    for (const std::uint32_t budget : {1U, 2U, 3U, 7U, 119U, 120U, 121U}) {
      EXPECT_EQ(dump(format, budget), whole) << "rows per slice: " << budget;
    }
  }
}

TEST_F(RoutingInfoRequest, TheReferenceIsReadOnceInEachSlice) {
  for (unsigned vlan = 1; vlan <= 10; ++vlan) putVlanSvp(vlan, 1);
  auto sm = make(kText, 4);
  EXPECT_EQ(runToCompletion(*sm), 3U);
  EXPECT_EQ(macs->shadow->referenceAsked, 3);
}

TEST_F(RoutingInfoRequest, AYieldAfterTheLastVlanCompletesInTheSameSlice) {
  for (unsigned vlan = 1; vlan <= 3; ++vlan) putVlanSvp(vlan, 1);
  auto sm = make(kJson, 3);
  EXPECT_EQ(runToCompletion(*sm), 1U);
  EXPECT_TRUE(traces->contains("Yielding Cpu"));
  EXPECT_TRUE(traces->contains("Execution Completed"));
}

TEST_F(RoutingInfoRequest, TheWorkListIsACopyAndWhatIsLookedUpIsNot) {
  putVlanSvp(10, 12);
  putVlanSvp(20, 14);
  auto sm = make(kText, 1);
  sm->runCommand();
  EXPECT_EQ(sm->bookmark(), VlanId(20));
  putVlanSvp(30, 16);
  putVlanSvp(20, 99);
  l2State->vlanToSvp.erase(VlanId(20));
  svpConfig->entries.put(VlanId(20), {});
  putMac(20, kRouterMac);
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, EndsWith("Vlan 20   SVP 14    config yes | "
                                         "Router MAC: all yes missing no  routed yes | "
                                         "Virtual: not configured\n"));
  EXPECT_THAT(reader->received, Not(HasSubstr("Vlan 30")));
}

TEST_F(RoutingInfoRequest, VlansRemovedFromTheWorkListArePassedOver) {
  for (unsigned vlan = 10; vlan <= 40; vlan += 10) putVlanSvp(vlan, 1);
  auto sm = make(kText, 1);
  sm->runCommand();
  sm->vlan2SvpDel(VlanId(20));
  sm->vlan2SvpIs(VlanId(25), {.number = 77});
  sm->runCommand();
  EXPECT_THAT(reader->received, HasSubstr("Vlan 25   SVP 77 "));
  EXPECT_EQ(sm->bookmark(), VlanId(30));
  sm->vlan2SvpDelAll();
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_THAT(reader->received, Not(HasSubstr("Vlan 30")));
}

TEST_F(RoutingInfoRequest, AShadowReplacedBetweenTwoSlicesIsTheOneThatIsAsked) {
  putVlanSvp(10, 1);
  putVlanSvp(20, 1);
  auto sm = make(kText, 1);
  sm->runCommand();
  macs->shadow = Qel::makePtr<ModuleShadow>();
  putMac(20, kRouterMac);
  runToCompletion(*sm);
  EXPECT_THAT(reader->received, HasSubstr("Vlan 20   SVP 1     config NO  | "
                                          "Router MAC: all yes missing no  routed yes"));
}

TEST_F(RoutingInfoRequest, EverySliceMakesProgressWhateverTheClockDoes) {
  for (unsigned vlan = 1; vlan <= 5; ++vlan) putVlanSvp(vlan, 1);
  for (const auto step : {0ms, 1000000ms, -1000000ms}) {
    clock->perReadingIs(step);
    auto sm = make(kText);
    EXPECT_LE(runToCompletion(*sm), 5U) << step.count();
    EXPECT_EQ(sm->rows(), 5U);
  }
}

// Failures.

TEST_F(RoutingInfoRequest, WhatALookUpThrowsPassesOnOnceTheTableIsLetGo) {
  for (unsigned vlan = 10; vlan <= 30; vlan += 10) putVlanSvp(vlan, 1);
  auto sm = make(kJson);
  const auto users = macs->shadow->users();
  const auto helperUsers = macs->users();
  macs->shadow->onLookUp = [](const Bridging::MacVlanPair& key) {
    if (key.vlan() == 20) throw std::runtime_error("shadow on fire");
  };
  try {
    sm->runCommand();
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "shadow on fire");
  }
  EXPECT_EQ(macs->shadow->users(), users);
  EXPECT_EQ(macs->users(), helperUsers);
  EXPECT_EQ(sm->bookmark(), VlanId(20));
  EXPECT_FALSE(sm->executionCompleteFlag());
  // Nothing of the VLAN that could not be told is printed.
  sm->renderer().buffer().flush();
  EXPECT_THAT(reader->received, EndsWith("\"virtualRouterMacRouted\":false}"));
  EXPECT_THAT(reader->received, Not(HasSubstr("\"20\"")));
}

TEST_F(RoutingInfoRequest, ACorruptedMacTableEndsTheRequestAndIsNoEndOfTheList) {
  for (unsigned vlan = 10; vlan <= 30; vlan += 10) putVlanSvp(vlan, 1);
  putMac(20, kRouterMac);
  Qel::KeyedCollectionTestAccess::loseMark(macs->shadow->entries, 0);
  auto sm = make(kText);
  EXPECT_THROW(sm->runCommand(), Qel::CorruptionException);
  EXPECT_FALSE(sm->executionCompleteFlag());
}

TEST_F(RoutingInfoRequest, ACorruptedMapOfPortsIsToldSoAndTheWalkGoesOverWhatWasRead) {
  for (unsigned vlan = 1; vlan <= 1000; ++vlan) putVlanSvp(vlan, 1);
  std::vector<std::string> reports;
  l2State->vlanToSvp.corruptionHandlerIs(
      [&](std::string_view message) { reports.emplace_back(message); });
  Qel::KeyedCollectionTestAccess::loseMark(l2State->vlanToSvp, 2);
  auto sm = make(kText);
  runToCompletion(*sm);
  EXPECT_EQ(reports.size(), 1U);
  EXPECT_GT(sm->rows(), 0U);
  EXPECT_LT(sm->rows(), 1000U);
}

/** A socket that breaks when it is first written to, and is gone afterwards. */
class BrokenPort final : public Rendering::OutputPort {
 public:
  std::ptrdiff_t send(const char* /*data*/, std::size_t /*size*/) override {
    if (std::exchange(broken_, true)) return -1;
    throw std::runtime_error("socket on fire");
  }

 private:
  bool broken_ = false;
};

TEST_F(RoutingInfoRequest, AHeaderThatBreaksOffIsNotPrintedAgain) {
  auto buffer = Qel::makePtr<Rendering::PrintBuffer>(
      std::make_unique<BrokenPort>(), 7U, std::size_t{1}, Rendering::PrintBuffer::kStream);
  // Full to the last byte, so that the header has to be sent before it is complete.
  buffer->append('x');
  buffer->append(std::string(buffer->capacity() - 2, 'x'));
  const auto broken = Qel::makePtr<AgentCommand::AgentCommandRequest>(
      "r", "VXLAN_ROUTING_INFO", 7U, kText,
      Qel::makePtr<Rendering::RendererV2>(kText, buffer, false));
  recircIntf = IntfId("Recirc-Channel1");
  auto sm = l2RoutingInfoRequestSmFactory("r", broken, kBudget, clock, recircIntf, routingStatus,
                                          l2State, svpConfig, capabilities, macs.get());
  EXPECT_TRUE(sm->printHeader());
  EXPECT_THROW(sm->runCommand(), std::runtime_error);
  EXPECT_FALSE(sm->printHeader());
  EXPECT_FALSE(sm->executionCompleteFlag());
}

TEST_F(RoutingInfoRequest, AMachineNeedsTheMacHelperAndAFailedOneLeavesNothing) {
  const auto before = Qel::liveInstances("L2RoutingInfoRequestSm");
  EXPECT_THROW(L2RoutingInfoRequestSmIs("r", request(kText), kBudget, clock, {}, nullptr, nullptr,
                                        nullptr, nullptr, nullptr),
               Qel::AssertionException);
  EXPECT_EQ(Qel::liveInstances("L2RoutingInfoRequestSm"), before);
}

TEST_F(RoutingInfoRequest, ACancelledRequestLeavesNothing) {
  const auto before = Qel::liveInstances("L2RoutingInfoRequestSm");
  for (unsigned vlan = 1; vlan <= 5; ++vlan) putVlanSvp(vlan, 1);
  auto sm = make(kText, 1);
  sm->runCommand();
  sm = nullptr;
  EXPECT_EQ(Qel::liveInstances("L2RoutingInfoRequestSm"), before);
  EXPECT_EQ(l2State->users(), 1U);
  EXPECT_EQ(macs->users(), 1U);
}

// The machines themselves.

TEST_F(RoutingInfoRequest, StateGoesFromNewToWalkingToComplete) {
  putVlanSvp(10, 12);
  putVlanSvp(20, 14);
  recircIntf = IntfId("Recirc-Channel1");
  auto sm = L2RoutingInfoRequestSmIs("the-name", request(kJson), kBudget, clock, recircIntf,
                                     routingStatus, l2State, svpConfig, capabilities, macs.get());
  EXPECT_EQ(sm->name(), "the-name");
  EXPECT_EQ(sm->maxRunTime(), kBudget);
  EXPECT_EQ(sm->clock(), clock);
  EXPECT_EQ(sm->recircIntf(), recircIntf);
  EXPECT_EQ(sm->routingStatus(), routingStatus);
  EXPECT_EQ(sm->vxlanL2State(), l2State);
  EXPECT_EQ(sm->vlanSvpConfigDir(), svpConfig);
  EXPECT_EQ(sm->vxlanCapabilities(), capabilities);
  EXPECT_EQ(sm->macAddrSmHelper(), macs.get());
  EXPECT_EQ(sm->typeData().name, "KorvoL2::L2RoutingInfoRequestSm");
  EXPECT_TRUE(sm->hasNotificationActive());
  sm->handleInitialized();
  EXPECT_TRUE(sm->initialized());
  EXPECT_TRUE(sm->printHeader());
  EXPECT_FALSE(sm->inProgress());
  entryBudgetIs(*sm, 1);
  sm->runCommand();
  EXPECT_FALSE(sm->printHeader());
  EXPECT_TRUE(sm->inProgress());
  EXPECT_EQ(sm->bookmark(), VlanId(20));
  EXPECT_EQ(sm->vlan2Svp().size(), 2U);
  sm->runCommand();
  EXPECT_TRUE(sm->executionCompleteFlag());
  EXPECT_FALSE(sm->inProgress());
  EXPECT_TRUE(sm->vlan2Svp().empty());
}

TEST_F(RoutingInfoRequest, SliceTracesSocketAndFormatThenYieldThenCompletion) {
  putVlanSvp(10, 1);
  putVlanSvp(20, 1);
  runToCompletion(*make(kJson, 1));
  EXPECT_THAT(traces->messages(),
              ElementsAre("socket:7, format:2", "Yielding Cpu", "socket:7, format:2",
                          "Yielding Cpu", "Execution Completed", ""));
  for (const auto& line : traces->lines()) EXPECT_EQ(line.level, 8);
}

TEST_F(RoutingInfoRequest, TheBaseMachineHasNoWalk) {
  for (const auto create : {&L2RoutingInfoRequestSmBaseIs, &l2RoutingInfoRequestSmBaseFactory}) {
    auto base = create("base", request(kText), kBudget, clock, {}, routingStatus, l2State,
                       svpConfig, capabilities);
    base->handleInitialized();
    EXPECT_TRUE(base->initialized());
    EXPECT_TRUE(base->hasNotificationActive());
    EXPECT_EQ(base->typeData().name, "KorvoL2::L2RoutingInfoRequestSmBase");
    try {
      base->showVxlanRoutingInfo();
      FAIL() << "the base has no table";
    } catch (const Qel::NoImplementationException& e) {
      EXPECT_STREQ(e.what(), "not implemented in base-class");
    }
    EXPECT_THROW(base->runCommand(), Qel::NoImplementationException);
  }
}

}  // namespace
}  // namespace KorvoL2::Testing
