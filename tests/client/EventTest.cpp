#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "client/Event.h"

namespace KorvoCtl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(EventTest, AcceptedCarriesTheRequestsNumber) {
  const auto event = parseEvent(R"({"event":"accepted","id":17})");
  ASSERT_TRUE(event);
  EXPECT_EQ(event->kind, Event::Kind::kAccepted);
  EXPECT_EQ(event->id, 17U);
}

TEST(EventTest, ProgressCarriesCounts) {
  const auto event = parseEvent(R"({"event":"progress","rows":5,"bytes":8589934592,"slices":3})");
  ASSERT_TRUE(event);
  EXPECT_EQ(event->kind, Event::Kind::kProgress);
  EXPECT_EQ(event->rows, 5U);
  EXPECT_EQ(event->bytes, 8589934592U);
  EXPECT_EQ(event->slices, 3U);
}

TEST(EventTest, DoneCarriesStatusMessageAndTimes) {
  const auto event = parseEvent(
      R"({"event":"done","status":"error","message":"broken \"pipe\"","rows":1,"bytes":2,)"
      R"("slices":3,"worstSliceMs":4.5,"elapsedMs":6})");
  ASSERT_TRUE(event);
  EXPECT_EQ(event->kind, Event::Kind::kDone);
  EXPECT_EQ(event->status, "error");
  EXPECT_EQ(event->message, "broken \"pipe\"");
  EXPECT_DOUBLE_EQ(event->worstSliceMs, 4.5);
  EXPECT_DOUBLE_EQ(event->elapsedMs, 6);
}

TEST(EventTest, UnknownEventsAndMembersArePassedOver) {
  const auto unknown = parseEvent(R"({"event":"weather","id":{"x":[1,2]}})");
  ASSERT_TRUE(unknown);
  EXPECT_EQ(unknown->kind, Event::Kind::kUnknown);
  const auto done = parseEvent(R"({"event":"done","status":"ok","colour":"green"})");
  ASSERT_TRUE(done);
  EXPECT_EQ(done->status, "ok");
  EXPECT_EQ(done->bytes, std::nullopt);
}

TEST(EventTest, MemberOfAnotherTypeCountsAsMissing) {
  const auto done =
      parseEvent(R"({"event":"done","status":7,"message":null,"bytes":-1,"elapsedMs":"long"})");
  ASSERT_TRUE(done);
  EXPECT_EQ(done->kind, Event::Kind::kDone);
  EXPECT_EQ(done->status, "");
  EXPECT_EQ(done->bytes, std::nullopt);
}

TEST(EventTest, LineThatIsNoObjectIsNoEvent) {
  for (const char* line : {"", "no such entry", "[]", "17", "\"done\"", R"({"event":"done")",
                           R"({"event":"done"} trailing)"}) {
    EXPECT_FALSE(parseEvent(line)) << line;
  }
}

TEST(EventTest, DeepNestingDoesNotExhaustTheStack) {
  const std::size_t depth = LineBuffer::kMaxLine / 2;
  const std::string deep = R"({"event":"done","status":"ok","x":)" + std::string(depth, '[') +
                           std::string(depth, ']') + "}";
  const auto event = parseEvent(deep);
  ASSERT_TRUE(event);
  EXPECT_EQ(event->status, "ok");
}

TEST(LineBufferTest, LinesComeOutWhereverTheyWereCut) {
  const std::string text = "one\n\ntwo\nrest";
  for (std::size_t first = 0; first <= text.size(); ++first) {
    for (std::size_t second = first; second <= text.size(); ++second) {
      LineBuffer buffer;
      std::vector<std::string> lines;
      for (const std::string& piece :
           {text.substr(0, first), text.substr(first, second - first), text.substr(second)}) {
        for (std::string& line : buffer.add(piece)) {
          lines.push_back(std::move(line));
        }
      }
      EXPECT_THAT(lines, ElementsAre("one", "", "two"));
      EXPECT_EQ(buffer.takeRest(), "rest");
      EXPECT_EQ(buffer.takeRest(), "");
    }
  }
}

TEST(LineBufferTest, LineWithoutEndOverflows) {
  LineBuffer buffer;
  EXPECT_THAT(buffer.add(std::string(LineBuffer::kMaxLine, 'x')), IsEmpty());
  EXPECT_FALSE(buffer.overflows());
  EXPECT_THAT(buffer.add("x"), IsEmpty());
  EXPECT_TRUE(buffer.overflows());
}

}  // namespace
}  // namespace KorvoCtl
