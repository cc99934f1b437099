#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "platform/l2/VlanRangePrinter.h"
#include "tests/platform/rendering/TextCapture.h"

namespace KorvoL2 {
namespace {

using Bridging::IntfId;
using Bridging::VlanId;
using Bridging::VlanIdRange;
using Rendering::TextCapture;
using ::testing::ElementsAre;

VlanIdRange range(unsigned first, unsigned last) { return {VlanId(first), VlanId(last)}; }

class VlanRangePrinterTest : public ::testing::Test {
 public:
  void TestBody() override {}
  std::string print(std::uint32_t format, const std::string& intf,
                    const std::vector<VlanIdRange>& ranges, bool oversize = false) {
    TextCapture capture(format);
    capture.renderer().openObject();
    printIngVlanRangeEntryUtil(capture.renderer(), *fcsd, IntfId(intf), 14, oversize, ranges);
    capture.renderer().closeObject();
    return capture.take();
  }
  std::string text(const std::string& intf, const std::vector<VlanIdRange>& ranges,
                   bool oversize = false) {
    return print(Rendering::kText, intf, ranges, oversize);
  }
  const Qel::Ptr<FeatureAgentCommonSmData> fcsd = Qel::makePtr<FeatureAgentCommonSmData>();
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST_F(VlanRangePrinterTest, ControlCharactersOfNamesDoNotReachTheTerminal) {
  fcsd->lagMembershipIs(IntfId("a\x1b[2J"), IntfId("lag\n"));
  EXPECT_EQ(print(Rendering::kText, "a\x1b[2J", {range(10, 20)}),
            "a\\x1b[2J: logical port 14, member of lag\\x0a, 1 VLAN range: 10-20\n");
  const std::string longest(IntfId::kMaxNameLength, '\x01');
  EXPECT_EQ(print(Rendering::kText, longest, {range(10, 20)}).size(),
            std::string(": logical port 14, 1 VLAN range: 10-20\n").size() +
                4 * IntfId::kMaxNameLength + std::string("\n   ").size());
}

TEST_F(VlanRangePrinterTest, TextTellsPortMembershipCountAndRangesInOneLine) {
  EXPECT_EQ(text("Ethernet3/1", {range(10, 20), range(30, 30), range(100, 199)}),
            "Ethernet3/1: logical port 14, 3 VLAN ranges: 10-20, 30, 100-199\n");
  fcsd->lagMembershipIs(IntfId("Ethernet3/1"), IntfId("Port-Channel7"));
  EXPECT_EQ(text("Ethernet3/1", {range(10, 20)}),
            "Ethernet3/1: logical port 14, member of Port-Channel7, 1 VLAN range: 10-20\n");
}

TEST_F(VlanRangePrinterTest, TextFoldsAtABlankAndIndentsWhatGoesOn) {
  std::vector<VlanIdRange> ranges;
  for (unsigned vlan = 2; vlan <= 50; vlan += 2) ranges.push_back(range(vlan, vlan));
  EXPECT_THAT(
      linesOf(text("Ethernet5/1", ranges, true)),
      ElementsAre(
          "Ethernet5/1: logical port 14, wants more than its table holds, 25 VLAN ranges: 2, 4, 6, "
          "8, 10, 12,",
          "    14, 16, 18, 20, 22, 24, 26, 28, 30, 32, 34, 36, 38, 40, 42, 44, 46, 48, 50"));
}

TEST_F(VlanRangePrinterTest, ALineMayBeAHundredColumnsWideAndNoWider) {
  const std::string tail = ": logical port 14, 1 VLAN range: 4093-4094";
  const std::string name(100 - tail.size(), 'x');
  EXPECT_THAT(linesOf(text(name, {range(4093, 4094)})), ElementsAre(name + tail));
  EXPECT_THAT(linesOf(text(name + "x", {range(4093, 4094)})),
              ElementsAre(name + "x: logical port 14, 1 VLAN range:", "    4093-4094"));
}

TEST_F(VlanRangePrinterTest, JsonHasTheSameMembersWhateverTheInterface) {
  EXPECT_EQ(print(Rendering::kJson, "Ethernet\"1", {range(10, 20), range(30, 30)}, true),
            R"({"Ethernet\"1":{"logicalPort":14,"portChannel":"","oversize":true,)"
            R"("ranges":[{"first":10,"last":20},{"first":30,"last":30}]}})");
  fcsd->lagMembershipIs(IntfId("Ethernet1"), IntfId("Port-Channel7"));
  EXPECT_EQ(print(Rendering::kJson, "Ethernet1", {range(1, 4094)}),
            R"({"Ethernet1":{"logicalPort":14,"portChannel":"Port-Channel7","oversize":false,)"
            R"("ranges":[{"first":1,"last":4094}]}})");
}

RC_GTEST_PROP(VlanRangePrinterProperty, FoldedLinesAreNarrowFullAndHoldEveryRangeInOrder, ()) {
  VlanRangePrinterTest t;
  const auto starts = *rc::gen::unique<std::vector<unsigned>>(rc::gen::inRange<unsigned>(1, 4080));
  std::vector<VlanIdRange> ranges;
  std::string joined;
  for (const unsigned first : starts) {
    ranges.push_back(range(first, first + first % 3));
    joined += (joined.empty() ? "" : ", ") + ranges.back().stringValue();
  }
  const auto lines = linesOf(t.text("Ethernet" + std::to_string(starts.size()), ranges));
  std::string unfolded;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    RC_ASSERT(lines[i].size() <= 100U);
    RC_ASSERT(lines[i].starts_with("    ") == (i != 0));
    unfolded += i == 0 ? lines[i] : " " + lines[i].substr(4);
    if (i == 0) continue;
    const std::string firstWord = lines[i].substr(4, lines[i].find(' ', 4) - 4);
    RC_ASSERT(lines[i - 1].size() + 1 + firstWord.size() > 100U);  // folded where it had to be
  }
  const std::size_t list = unfolded.find(": ", unfolded.find(": ") + 1);
  RC_ASSERT(list != std::string::npos || joined.empty());
  if (!joined.empty()) RC_ASSERT(unfolded.substr(list + 2) == joined);
}

}  // namespace
}  // namespace KorvoL2
