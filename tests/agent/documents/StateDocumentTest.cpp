// State documents: what they fill, what is refused and how.

#include <gmock/gmock.h>
#include <rapidcheck.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <set>

#include "agent/documents/StateDocument.h"
#include "agent/model/MacWords.h"
#include "platform/base/Toggles.h"
#include "tests/agent/documents/DocumentTestSupport.h"
#include "tests/agent/model/ModelTestSupport.h"

namespace KorvoAgent {
namespace {

using Bridging::EthAddr;
using Bridging::IntfId;
using Bridging::MacVlanPair;
using KorvoL2::MacEntry;
using KorvoL2::MacEntrySource;
using KorvoL2::MacEntryType;
using KorvoL2::MacKeyType;
using Tessar::FapId;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Testing::TemporaryFile;

std::string textOf(const rapidjson::Value& value) {
  rapidjson::StringBuffer text;
  rapidjson::Writer<rapidjson::StringBuffer> writer(text);
  value.Accept(writer);
  return {text.GetString(), text.GetSize()};
}

class StateDocumentTest : public ::testing::Test {
 protected:
  void SetUp() override { Qel::forgetTogglesForTest(); }
  void TearDown() override { Qel::forgetTogglesForTest(); }

  void load(std::string_view document) {
    const TemporaryFile file(document);
    loadStateDocument(file.path(), *model_);
  }
  static std::string refusal(std::string_view document) {
    return Testing::refusal(
        document, [](const std::string& path) { loadStateDocument(path, *Testing::makeModel()); });
  }
  const MacEntry* entry(std::uint16_t vlan, std::uint64_t mac) const {
    return model_->swMacTable().entries().find(MacVlanPair(vlan, EthAddr(mac)));
  }

  Qel::Ptr<SwitchModel> model_ = Testing::makeModel();
};

TEST_F(StateDocumentTest, GoodDocumentsLoadAndBadOnesAreRefusedWithTheReason) {
  rapidjson::Document cases;
  cases.Parse(Testing::contentsOf(Testing::dataFile("state-documents.json")).c_str());
  ASSERT_TRUE(cases.IsArray());
  for (const auto& row : cases.GetArray()) {
    SCOPED_TRACE(row["name"].GetString());
    Qel::forgetTogglesForTest();
    const bool good = std::string_view(row["verdict"].GetString()) == "good";
    const std::string expected =
        good ? "not refused" : std::string("FILE: ") + row["message"].GetString();
    EXPECT_EQ(refusal(textOf(row["document"])), expected);
  }
}

TEST_F(StateDocumentTest, WhatChipsHoldIsRefusedWhereTheyHoldNoTable) {
  model_->simulatesHardwareIs(false);
  const auto refusalWith = [this](const std::string& member) {
    return Testing::refusal(
        R"({"version": 1, "switch": {"chips": [{"id": 1, "name": "a"}, {"id": 2, "name": "b", )" +
            member + "}]}}",
        [this](const std::string& path) { loadStateDocument(path, *model_); });
  };
  for (const char* const member : {R"("missing": [{"vlan": 1, "mac": "0200.0000.0001"}])",
                                   R"("extra": [{"vlan": 1, "mac": "0200.0000.0001"}])",
                                   R"("differs": [{"vlan": 1, "mac": "0200.0000.0001"}])"}) {
    EXPECT_EQ(refusalWith(member),
              "FILE: /switch/chips/1: no chip holds the MAC table, which is a real machine's "
              "(--bridge-json); leave out what the chip holds");
  }
  EXPECT_EQ(refusalWith(R"("missing": [])"), "not refused");
}

TEST_F(StateDocumentTest, WhatIsLeftOutStaysAsItWas) {
  load(R"({"version": 1})");
  EXPECT_EQ(model_->chips().size(), 1U);
  EXPECT_TRUE(model_->status().configReady);
  EXPECT_NE(model_->unicastAgent(), nullptr);
  EXPECT_TRUE(model_->chipAttrDir().has(SwitchModel::kDefaultChipIdentity));
}

TEST_F(StateDocumentTest, TheSwitchAndItsChipsAreTaken) {
  load(R"({"version": 1, "switch": {"name": "leaf", "chips": [{"id": 3, "name": "x"},
           {"id": 1, "name": "y"}], "chipIdentity": "other", "maxL2MulticastGroups": 12,
           "hwTableStateAvailable": false}})");
  EXPECT_EQ(model_->name(), "leaf");
  ASSERT_EQ(model_->chips().size(), 2U);
  EXPECT_EQ(model_->chips()[0].id, FapId(1));
  EXPECT_EQ(model_->chips()[1].name, "x");
  EXPECT_EQ(model_->unicastAgent()->chipIdentity(), "other");
  EXPECT_EQ(model_->maxL2MulticastGroupsAll(), 12U);
  EXPECT_FALSE(model_->hwTableStateAvailable());
}

TEST_F(StateDocumentTest, WhatChipsHoldOtherwiseIsTaken) {
  load(R"({"version": 1, "switch": {"chips": [{"id": 2, "name": "x", "hasData": false,
           "differs": [{"vlan": 10, "mac": "0200.0000.0001", "type": "static", "classId": 5,
                        "modPort": {"module": 1, "port": 7}, "dstDiscard": false}],
           "missing": [{"vlan": 20, "mac": "0200.0000.0002"}],
           "extra": [{"vlan": 0, "mac": "0200.0000.0003", "keyType": "vfi", "trunkId": 9},
                     {"vlan": 0, "mac": "0200.0000.0004", "keyType": 77, "mcastId": 8,
                      "invalid": true}]}]},
           "readiness": {"readUnknownChips": true}})");
  ASSERT_EQ(model_->chips().size(), 1U);
  const Chip& chip = model_->chips()[0];
  EXPECT_FALSE(chip.hasData);
  const ChipDeviations& said = chip.deviations;
  ASSERT_EQ(said.differs.size(), 1U);
  EXPECT_EQ(said.differs[0].pair, MacVlanPair(10, EthAddr(0x020000000001U)));
  EXPECT_EQ(said.differs[0].properties.type, HwMacType::permanent);
  EXPECT_EQ(said.differs[0].properties.destination, HwDestination::onPort(1, 7));
  EXPECT_EQ(said.differs[0].properties.classId, 5);
  EXPECT_EQ(said.differs[0].properties.dstDiscard, false);
  EXPECT_EQ(said.differs[0].properties.invalid, std::nullopt) << "left as it should be";
  ASSERT_EQ(said.missing.size(), 1U);
  EXPECT_EQ(said.missing[0], MacVlanPair(20, EthAddr(0x020000000002U)));
  ASSERT_EQ(said.extra.size(), 2U);
  EXPECT_EQ(said.extra[0].key.keyType, 3);
  EXPECT_EQ(said.extra[0].properties.destination, HwDestination::trunk(9));
  EXPECT_EQ(said.extra[1].key.keyType, 77);
  EXPECT_EQ(said.extra[1].properties.destination, HwDestination::mcastGroup(8));
  EXPECT_EQ(said.extra[1].properties.invalid, true);
  EXPECT_TRUE(model_->macAddrSmHelper()->readUnknownChips());
}

TEST_F(StateDocumentTest, EveryReadinessFailureCanBeProduced) {
  const auto readiness = [this](const std::string& members) {
    model_ = Testing::makeModel();
    load(R"({"version": 1, "readiness": {)" + members + "}}");
  };
  readiness(R"("l2Agent": false)");
  EXPECT_EQ(model_->l2Agent(), nullptr);
  readiness(R"("unicastAgent": "absent")");
  EXPECT_EQ(model_->unicastAgent(), nullptr);
  readiness(R"("unicastAgent": "uninitialized")");
  EXPECT_FALSE(model_->unicastAgent()->initialized());
  readiness(R"("unicastAgent": "notReady")");
  EXPECT_TRUE(model_->unicastAgent()->initialized());
  EXPECT_FALSE(model_->unicastAgent()->ready());
  readiness(R"("unicastAgent": "ready")");
  EXPECT_TRUE(model_->unicastAgent()->ready());
  readiness(R"("configReady": false)");
  EXPECT_FALSE(model_->status().configReady);
  EXPECT_TRUE(model_->status().hardwareReady);
  readiness(R"("hardwareReady": false)");
  EXPECT_TRUE(model_->status().configReady);
  EXPECT_FALSE(model_->status().hardwareReady);
  readiness(R"("macAddrSmHelper": false)");
  EXPECT_EQ(model_->macAddrSmHelper(), nullptr);
  readiness(R"("macTblShadow": false)");
  EXPECT_EQ(model_->macAddrSmHelper()->macTblShadow(), nullptr);
  readiness(R"("macEntryCollection": false)");
  EXPECT_EQ(model_->macAddrSmHelper()->macTblShadow()->macEntry(), nullptr);
  readiness(R"("mcast": false)");
  EXPECT_EQ(model_->mcast(), nullptr);
  readiness(R"("l2TableMode": true)");
  EXPECT_TRUE(model_->l2TableMode());
}

TEST_F(StateDocumentTest, TogglesStandInForTheirFiles) {
  load(R"({"version": 1, "toggles": {"KorvoL2.json": {"On": true, "Off": false}}})");
  EXPECT_TRUE(Qel::getToggleState("On", "KorvoL2.json", false));
  EXPECT_FALSE(Qel::getToggleState("Off", "KorvoL2.json", true));
}

TEST_F(StateDocumentTest, AToggleThatWasReadAlreadyDoesNotChange) {
  Qel::toggleStateIs("On", "KorvoL2.json", false);
  EXPECT_THAT(refusal(R"({"version": 1, "toggles": {"KorvoL2.json": {"On": true}}})"),
              HasSubstr("/toggles/KorvoL2.json/On: "));
}

TEST_F(StateDocumentTest, ChipAttributesReplaceWhatWasKnown) {
  load(R"({"version": 1, "chipAttributes": {"other": {"egrVlanXlate": true}}})");
  EXPECT_FALSE(model_->chipAttrDir().has(SwitchModel::kDefaultChipIdentity));
  const auto* const attributes = model_->chipAttrDir().find("other");
  ASSERT_NE(attributes, nullptr);
  EXPECT_FALSE((*attributes)->ingVlanXlate);
  EXPECT_TRUE((*attributes)->egrVlanXlate);
}

TEST_F(StateDocumentTest, TheUnicastAgentsTablesAreFilled) {
  load(R"({"version": 1, "lagMembership": {"Ethernet1": "Port-Channel1"},
           "switchportConfig": {"Ethernet2": {"nativeVlan": 20}, "Ethernet3": {}},
           "remoteMac": [{"vlan": 10, "mac": "0200.0000.0001", "tunnelId": 7}]})");
  const UnicastAgentModel& unicast = model_->unicast();
  EXPECT_EQ(*unicast.lagMembership().find(IntfId("Ethernet1")), IntfId("Port-Channel1"));
  EXPECT_EQ(unicast.switchportConfig().find(IntfId("Ethernet2"))->nativeVlan, 20U);
  EXPECT_EQ(unicast.switchportConfig().find(IntfId("Ethernet3"))->nativeVlan, 1U);
  EXPECT_EQ(unicast.remoteMac().find(MacVlanPair(10, EthAddr(0x020000000001)))->tunnelId, 7U);
}

TEST_F(StateDocumentTest, EveryMemberOfAMacEntryIsTaken) {
  load(R"({"version": 1, "macTable": {"entries": [
           {"vlan": 10, "mac": "02:00:00:00:00:01", "interface": "Ethernet1", "type": "peerStatic",
            "source": "vxlan", "flags": ["pending", "moved"], "bitmap": "0xf0", "mcastId": 9,
            "keyType": "vfi", "modPort": {"module": 4, "port": 17}, "printable": false}]}})");
  ASSERT_NE(entry(10, 0x020000000001), nullptr);
  EXPECT_EQ(*entry(10, 0x020000000001), (MacEntry{.intf = IntfId("Ethernet1"),
                                                  .modBitmap = 0xf0,
                                                  .modPort = {.module = 4, .port = 17},
                                                  .mcastId = 9,
                                                  .flags = 0x11,
                                                  .type = MacEntryType::peerStatic,
                                                  .source = MacEntrySource::vxlan,
                                                  .keyType = MacKeyType::vfi,
                                                  .printable = false}));
}

TEST_F(StateDocumentTest, WhatAMacEntryLeavesOutIsWhatOneWouldExpect) {
  // The chips come last in the document and count all the same.
  load(R"({"version": 1, "macTable": {"entries": [
           {"vlan": 0, "mac": "0200.0000.0001"}, {"vlan": 1, "mac": "0100.5e00.0001"},
           {"vlan": 1, "mac": "0200.0000.0001", "type": "configuredStatic"}]},
           "switch": {"chips": 3}})");
  EXPECT_EQ(*entry(0, 0x020000000001), (MacEntry{.modBitmap = 7}));
  EXPECT_EQ(entry(1, 0x01005e000001)->type, MacEntryType::multicast);
  EXPECT_EQ(entry(1, 0x01005e000001)->source, MacEntrySource::software);
  EXPECT_EQ(entry(1, 0x020000000001)->source, MacEntrySource::config);
}

TEST_F(StateDocumentTest, EntriesInAnyOrderFillTheTableAscending) {
  std::string entries;
  for (int i = 0; i < 500; ++i) {
    entries += (i == 0 ? "" : ",") + std::string(R"({"vlan": )") +
               std::to_string(1 + i * 37 % 500) + R"(, "mac": "0200.0000.0001"})";
  }
  load(R"({"version": 1, "macTable": {"entries": [)" + entries + "]}}");
  EXPECT_EQ(model_->swMacTable().size(), 500U);
  std::uint32_t expected = 0;
  for (const auto& [key, value] : model_->swMacTable().entries()) {
    EXPECT_EQ(key.vlan(), ++expected);
  }
}

TEST_F(StateDocumentTest, AMemberGivenTwiceIsRefused) {
  EXPECT_EQ(refusal(R"({"version": 1, "version": 1})"),
            "FILE: at the top: member \"version\" is given twice; keep one of them");
  EXPECT_EQ(refusal(R"({"version": 1, "lagMembership": {"a": "b", "c": "d", "a": "e"}})"),
            "FILE: /lagMembership: member \"a\" is given twice; keep one of them");
}

TEST_F(StateDocumentTest, TextThatIsNoJsonIsShownByLineAndColumn) {
  EXPECT_THAT(refusal("{\n  \"version\": 1\n  \"switch\": {}\n}\n"),
              ::testing::AllOf(StartsWith("FILE:3:3: is no JSON here: Missing a comma or "),
                               ::testing::EndsWith("; mend the document")));
  EXPECT_THAT(refusal("{\"version\": 1,}"), StartsWith("FILE:1:15: is no JSON here: "));
  EXPECT_THAT(refusal("{\"version\": 1} x"), StartsWith("FILE:1:16: is no JSON here: "));
  EXPECT_THAT(refusal("{\"version\": x}"), StartsWith("FILE:1:13: is no JSON here: "));
  EXPECT_THAT(refusal("{\"version\": 1"), StartsWith("FILE:1:14: is no JSON here: "));
}

TEST_F(StateDocumentTest, ColumnsCountCharacters) {
  EXPECT_THAT(refusal("{\"\xC3\xA9\xC3\xA9\": x}"), HasSubstr("FILE:1:8: "));
}

TEST_F(StateDocumentTest, TextThatIsNotUtf8IsRefused) {
  EXPECT_THAT(
      refusal("{\"version\": 1,\n \"switch\": {\"name\": \"\xff\"}}"),
      ::testing::MatchesRegex("FILE:2:[0-9]+: is no JSON here: text that is not UTF-8; .*"));
}

TEST_F(StateDocumentTest, ControlCharactersInStringsAreRefused) {
  EXPECT_THAT(refusal("{\"version\": 1,\n \"switch\": {\"name\": \"a\nb\"}}"),
              HasSubstr("a control character in a string, which has to be written as \\u00XX"));
}

TEST_F(StateDocumentTest, AZeroByteIsRefusedWhereItIs) {
  using namespace std::string_literals;
  EXPECT_THAT(refusal("{\"version\": 1}\n\0"s),
              HasSubstr("FILE:2:1: is no JSON here: a zero byte"));
}

TEST_F(StateDocumentTest, NumbersBeyondAnyMachinesAreRefusedWhereTheyAre) {
  EXPECT_THAT(refusal("{\"version\":\n 99999999999999999999}"),
              HasSubstr("FILE:2:2: is no JSON here: a number too large"));
  EXPECT_THAT(refusal("{\"version\": 1e999}"),
              HasSubstr("FILE:1:13: is no JSON here: a number too large"));
  EXPECT_THAT(refusal("{\"version\": 1e300}"),
              HasSubstr("/version: expected a whole number from 1 to 1, not 1e+300"));
}

TEST_F(StateDocumentTest, NestingWithoutEndIsRefused) {
  const std::string deep(1'000'000, '[');
  EXPECT_THAT(refusal("{\"version\": " + deep), HasSubstr("nested more than "));
  const std::string closed = std::string(2000, '[') + std::string(2000, ']');
  EXPECT_THAT(refusal("{\"version\": " + closed + "}"), HasSubstr("nested more than "));
}

TEST_F(StateDocumentTest, AnEmptyFileIsRefused) {
  const std::string message =
      "FILE: is empty; write a JSON document, or see why the program that should have did not";
  EXPECT_EQ(refusal(""), message);
  EXPECT_EQ(refusal(" \n\t\r\n"), message);
}

TEST_F(StateDocumentTest, AFileThatCannotBeReadIsRefused) {
  const auto refusalOf = [](const std::string& path) {
    return Testing::refusalOfFile(
        path, [](const std::string& p) { loadStateDocument(p, *Testing::makeModel()); });
  };
  EXPECT_EQ(refusalOf(::testing::TempDir() + "korvo-no-such-file"),
            "FILE: cannot be read: No such file or directory; check the path and its permissions");
  EXPECT_EQ(refusalOf(::testing::TempDir()), "FILE: cannot be read: Is a directory; name a file");
}

TEST_F(StateDocumentTest, WhatAMessageQuotesIsCut) {
  const std::string message =
      refusal("{\"version\": 1, \"" + std::string(500, 'x') + "\\u001b\": 1}");
  EXPECT_LT(message.size(), 500U) << "the name alone has as many bytes";
}

TEST_F(StateDocumentTest, ADamagedDocumentIsLoadedOrRefusedAndNothingElse) {
  const std::string whole =
      R"({"version": 1, "switch": {"chips": [{"id": 1, "name": "a"}]}, "readiness": {"l2Agent":)"
      R"( true}, "chipAttributes": {"q": {}}, "lagMembership": {"a": "b"}, "remoteMac": [],)"
      R"( "interfaces": {"a": {"port": {"module": 1, "port": 2, "logicalFap": 3}, "hwIndex": 4},)"
      R"( "b": {}}, "vxlan": {"orvaVtepIp": "10.0.0.1", "vlans": [{"vlan": 10, "vni": 5,)"
      R"( "edgePorts": {"a": 1}}]}, "vlanTranslation": {"ingress": {"portVlans": [{"interface":)"
      R"( "a", "dot1qTag": 5}]}}, "vlanRanges": {"programmed": [{"interface": "a", "ranges":)"
      R"( ["1-2", 3]}]}, "macTable": {"entries": [{"vlan": 10, "mac": "0200.0000.0001", "flags": ["moved"],)"
      R"( "bitmap": "0x3"}, {"vlan": 1e1, "mac": "02:00:00:00:00:02", "mcastId": 65535}]}})";
  std::size_t refused = 0;
  EXPECT_TRUE(rc::check("any change of a few bytes", [&] {
    std::string text = whole;
    const auto changes = *rc::gen::inRange(1, 4);
    for (int i = 0; i < changes; ++i) {
      const auto at = *rc::gen::inRange<std::size_t>(0, text.size());
      const char byte = *rc::gen::element('{', '}', '[', ']', '"', ',', ':', '0', '9', '-', '.',
                                          'e', ' ', '\\', '\n', '\0', '\xff', 'n');
      switch (*rc::gen::inRange(0, 3)) {
        case 0:
          text[at] = byte;
          break;
        case 1:
          text.insert(at, 1, byte);
          break;
        default:
          text.erase(at, *rc::gen::inRange<std::size_t>(1, 40));
      }
      if (text.empty()) break;
    }
    const std::string message = refusal(text);
    RC_ASSERT(message == "not refused" || message.starts_with("FILE:"));
    refused += message == "not refused" ? 0 : 1;
  }));
  EXPECT_GT(refused, 50U);
}

TEST_F(StateDocumentTest, TheSchemaKnowsTheWordsThatRowsPrint) {
  rapidjson::Document schema;
  const std::string text(stateDocumentSchema());
  schema.Parse(text.c_str());
  ASSERT_TRUE(schema.IsObject());
  const auto& members = schema["$defs"]["macEntry"]["properties"];
  const auto words = [](const rapidjson::Value& list) {
    std::vector<std::string> result;
    for (const auto& word : list.GetArray()) result.emplace_back(word.GetString());
    return result;
  };
  EXPECT_THAT(words(members["type"]["enum"]), ::testing::ElementsAreArray(kMacTypeWords));
  EXPECT_THAT(words(members["source"]["enum"]), ::testing::ElementsAreArray(kMacSourceWords));
  EXPECT_THAT(words(members["flags"]["items"]["enum"]), ::testing::ElementsAreArray(kMacFlagWords));
}

TEST_F(StateDocumentTest, TheExampleOfTheDocumentationLoads) {
  const std::string text = Testing::contentsOf(KORVO_DOCS_DIR "/state-document.md");
  const std::string opening = "```json\n";
  const auto start = text.find(opening);
  ASSERT_NE(start, std::string::npos);
  const auto end = text.find("```", start + opening.size());
  load(text.substr(start + opening.size(), end - start - opening.size()));
  EXPECT_EQ(model_->chips().size(), 2U);
  EXPECT_EQ(model_->swMacTable().size(), 4U);
}

TEST_F(StateDocumentTest, ARowOfADumpIsAnEntryOfADocument) {
  const MacVlanPair key(10, EthAddr(0x020000000001));
  const MacEntry printed{.intf = IntfId("Ethernet1"),
                         .modBitmap = 5,
                         .mcastId = 3,
                         .flags = 0x1f,
                         .type = MacEntryType::router,
                         .source = MacEntrySource::system,
                         .keyType = MacKeyType::vfi};
  Testing::CapturedOutput output(Rendering::kJson);
  model_->swMacTable().printMacEntry(output.renderer(), key, printed);
  load(R"({"version": 1, "macTable": {"entries": [{)" + output.text() + "}]}}");
  ASSERT_NE(entry(10, 0x020000000001), nullptr);
  EXPECT_EQ(*entry(10, 0x020000000001), printed);
}

}  // namespace
}  // namespace KorvoAgent
