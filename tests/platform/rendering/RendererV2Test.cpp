#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <rapidjson/document.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "platform/base/Exceptions.h"
#include "platform/rendering/RendererV2.h"
#include "tests/platform/rendering/TextCapture.h"

namespace Rendering {
namespace {

// A command's answer in miniature: head, rows, count.
void printTable(RendererV2& renderer, int rows) {
  renderer.openObject();
  renderer.addFrills("%-6s %s\n", "Vlan", "Port");
  renderer.openList("entries");
  for (int row = 1; row <= rows; ++row) {
    renderer.openObject();
    renderer.addAttribute("%-6d ", "vlan", row);
    renderer.addAttribute("%s\n", "port", "Ethernet" + std::to_string(row));
    renderer.closeObject();
  }
  renderer.closeList();
  renderer.addAttribute("Number of entries : %d\n", "numEntries", static_cast<unsigned>(rows));
  renderer.closeObject();
  renderer.documentEnd();
}

TEST(RendererV2Test, SameCallsGiveText) {
  TextCapture capture(kText);
  printTable(capture.renderer(), 2);
  EXPECT_EQ(capture.take(),
            "Vlan   Port\n"
            "1      Ethernet1\n"
            "2      Ethernet2\n"
            "Number of entries : 2\n");
}

TEST(RendererV2Test, SameCallsGiveJson) {
  TextCapture capture(kJson);
  printTable(capture.renderer(), 2);
  EXPECT_EQ(capture.take(),
            R"({"entries":[{"vlan":1,"port":"Ethernet1"},{"vlan":2,"port":"Ethernet2"}],)"
            R"("numEntries":2})"
            "\n");
}

TEST(RendererV2Test, EmptyTable) {
  TextCapture text(kText);
  printTable(text.renderer(), 0);
  EXPECT_EQ(text.take(), "Vlan   Port\nNumber of entries : 0\n");
  TextCapture json(kJson);
  printTable(json.renderer(), 0);
  EXPECT_EQ(json.take(), "{\"entries\":[],\"numEntries\":0}\n");
}

TEST(RendererV2Test, UnknownFormatIsText) {
  TextCapture capture(77);
  EXPECT_FALSE(capture.renderer().isJson());
  EXPECT_EQ(capture.renderer().format(), 77U);
  printTable(capture.renderer(), 1);
  EXPECT_EQ(capture.take(), "Vlan   Port\n1      Ethernet1\nNumber of entries : 1\n");
}

TEST(RendererV2Test, EveryKindOfMember) {
  TextCapture capture(kJson);
  RendererV2& renderer = capture.renderer();
  renderer.openObject();
  renderer.member("true", true);
  renderer.member("false", false);
  renderer.member("text", "a \"b\"");
  renderer.member("string", std::string("c\\d"));
  renderer.member("view", std::string_view("e\nf"));
  renderer.member("byte", std::uint8_t{255});
  renderer.member("highest", std::numeric_limits<std::uint64_t>::max());
  renderer.member("lowest", std::numeric_limits<std::int64_t>::min());
  renderer.member("negative", -1);
  renderer.member("size", std::size_t{3});
  renderer.memberNull("null");
  renderer.closeObject();
  EXPECT_EQ(capture.take(),
            R"({"true":true,"false":false,"text":"a \"b\"","string":"c\\d","view":"e\nf",)"
            R"("byte":255,"highest":18446744073709551615,"lowest":-9223372036854775808,)"
            R"("negative":-1,"size":3,"null":null})");
}

TEST(RendererV2Test, SeparatorsFollowTheNesting) {
  TextCapture capture(kJson);
  RendererV2& renderer = capture.renderer();
  renderer.openObject();
  renderer.openObject("a");
  renderer.openObject("empty");
  renderer.closeObject();
  renderer.openList("list");
  renderer.openList();
  renderer.closeList();
  renderer.element("x");
  renderer.openObject();
  renderer.memberNull("n");
  renderer.closeObject();
  renderer.element("y");
  renderer.closeList();
  renderer.closeObject();
  renderer.member("b", 1);
  renderer.closeObject();
  EXPECT_EQ(capture.take(), R"({"a":{"empty":{},"list":[[],"x",{"n":null},"y"]},"b":1})");
}

TEST(RendererV2Test, SeparatorStateCanBeTakenOverByAPrinterOfItsOwn) {
  TextCapture capture(kJson);
  RendererV2& renderer = capture.renderer();
  renderer.openList();
  EXPECT_FALSE(renderer.separatorDue());
  renderer.buffer().append("1");
  renderer.separatorDueIs(true);
  renderer.element("two");
  EXPECT_TRUE(renderer.separatorDue());
  renderer.separatorDueIs(false);
  renderer.element("three");
  renderer.closeList();
  EXPECT_EQ(capture.take(), "[1,\"two\"\"three\"]");
}

TEST(RendererV2Test, JsonWritersPrintNothingInText) {
  TextCapture capture(kText);
  RendererV2& renderer = capture.renderer();
  renderer.openObject();
  renderer.openObject("a");
  renderer.openList();
  renderer.openList("b");
  renderer.member("c", true);
  renderer.member("d", "text");
  renderer.member("e", 1);
  renderer.member("f", 1U);
  renderer.memberNull("g");
  renderer.element("h");
  renderer.closeList();
  renderer.closeObject();
  renderer.documentEnd();
  EXPECT_EQ(capture.buffer().appended(), 0U);
  EXPECT_FALSE(renderer.separatorDue());
}

TEST(RendererV2Test, FrillsPrintNothingInJson) {
  TextCapture capture(kJson);
  capture.renderer().addFrills("%s\n", "----");
  EXPECT_EQ(capture.buffer().appended(), 0U);
  EXPECT_FALSE(capture.renderer().separatorDue());
}

TEST(RendererV2Test, EmptyFrillIsNothing) {
  TextCapture capture(kText);
  capture.renderer().addFrills("");
  capture.renderer().addFrills("%s", "");
  EXPECT_EQ(capture.take(), "");
}

TEST(RendererV2Test, ReleaseFlushesOnlyWhenAsked) {
  const auto script = std::make_shared<PortScript>();
  const auto buffer = Qel::makePtr<PrintBuffer>(std::make_unique<ScriptedPort>(script), 0U, 4096U,
                                                PrintBuffer::kHold);
  Qel::makePtr<RendererV2>(kText, buffer, false)->addFrills("one");
  EXPECT_EQ(script->taken, "");
  Qel::makePtr<RendererV2>(kText, buffer, true)->addFrills(" two");
  EXPECT_EQ(script->taken, "one two");
}

TEST(RendererV2Test, IoflushHandsEverythingOver) {
  const auto script = std::make_shared<PortScript>();
  const auto renderer =
      Qel::makePtr<RendererV2>(kText,
                               Qel::makePtr<PrintBuffer>(std::make_unique<ScriptedPort>(script), 0U,
                                                         4096U, PrintBuffer::kHold),
                               false);
  renderer->addFrills("text");
  renderer->ioflush();
  EXPECT_EQ(script->taken, "text");
}

TEST(RendererV2Test, RendererWithoutABufferIsRefused) {
  EXPECT_THROW(Qel::makePtr<RendererV2>(kText, nullptr, false), Qel::AssertionException);
}

RC_GTEST_PROP(RendererV2Property, AnyBytesInNamesGiveAValidDocument,
              (const std::string& key, const std::string& value, const std::string& element)) {
  TextCapture capture(kJson);
  RendererV2& renderer = capture.renderer();
  renderer.openObject();
  renderer.member(key, value);
  renderer.openList("list of " + key);
  renderer.element(element);
  renderer.closeList();
  renderer.closeObject();
  const std::string text = capture.take();

  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag>(
      text.data(), text.size());
  RC_ASSERT(!document.HasParseError());
  RC_ASSERT(document.IsObject());
  RC_ASSERT(document.MemberCount() == 2U);
}

RC_GTEST_PROP(RendererV2Property, NumbersReadBack,
              (std::uint64_t positive, std::int64_t number, bool flag)) {
  TextCapture capture(kJson);
  RendererV2& renderer = capture.renderer();
  renderer.openObject();
  renderer.member("u", positive);
  renderer.member("i", number);
  renderer.member("b", flag);
  renderer.closeObject();
  rapidjson::Document document;
  document.Parse(capture.take().c_str());
  RC_ASSERT(!document.HasParseError());
  RC_ASSERT(document["u"].GetUint64() == positive);
  RC_ASSERT(document["i"].GetInt64() == number);
  RC_ASSERT(document["b"].GetBool() == flag);
}

}  // namespace
}  // namespace Rendering
