#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>

#include <chrono>
#include <string>

#include "client/ProgressLine.h"
#include "tests/client/Terminal.h"

namespace KorvoCtl {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kErase = "\r\x1b[K";

class ProgressLineTest : public testing::Test {
 protected:
  ProgressLine::Clock clock() {
    return [this] { return now_; };
  }

  Terminal terminal_;
  std::chrono::steady_clock::time_point now_{};
};

TEST_F(ProgressLineTest, ShowsRowsSizeAndTime) {
  ProgressLine line(terminal_.slave(), false, clock());
  now_ += 1500ms;
  line.update(1234567, 61700000);
  EXPECT_EQ(terminal_.shown(), std::string(kErase) + "korvoctl: 1,234,567 rows, 61.7 MB, 1.5 s");
}

TEST_F(ProgressLineTest, IsDrawnTenTimesASecondAtMost) {
  ProgressLine line(terminal_.slave(), false, clock());
  line.update(1, 1);
  EXPECT_THAT(terminal_.shown(), HasSubstr("1 rows"));
  now_ += 99ms;
  line.update(2, 2);
  EXPECT_THAT(terminal_.shown(), IsEmpty());
  now_ += 1ms;
  line.update(3, 3);
  EXPECT_THAT(terminal_.shown(), HasSubstr("3 rows"));
}

TEST_F(ProgressLineTest, LeavesNothingBehind) {
  {
    ProgressLine line(terminal_.slave(), false, clock());
    line.update(1, 1);
    EXPECT_THAT(terminal_.shown(), StartsWith(kErase));
  }
  EXPECT_EQ(terminal_.shown(), kErase);
}

TEST_F(ProgressLineTest, IsErasedOnceOnly) {
  ProgressLine line(terminal_.slave(), false, clock());
  line.clear();
  EXPECT_THAT(terminal_.shown(), IsEmpty());
  line.update(1, 1);
  (void)terminal_.shown();
  ProgressLine::eraseFromSignal();
  line.clear();
  EXPECT_EQ(terminal_.shown(), kErase);
}

TEST_F(ProgressLineTest, GivesWayToAnAnswerOnTheTerminal) {
  ProgressLine line(terminal_.slave(), true, clock());
  line.update(1, 1);
  (void)terminal_.shown();
  line.outputFollows();
  EXPECT_EQ(terminal_.shown(), kErase);
  now_ += 1s;
  line.update(2, 2);
  EXPECT_THAT(terminal_.shown(), IsEmpty());
}

TEST_F(ProgressLineTest, StaysWhenTheAnswerGoesElsewhere) {
  ProgressLine line(terminal_.slave(), false, clock());
  line.outputFollows();
  line.update(2, 2);
  EXPECT_THAT(terminal_.shown(), HasSubstr("2 rows"));
}

TEST_F(ProgressLineTest, FitsANarrowTerminal) {
  terminal_.widthIs(20);
  ProgressLine line(terminal_.slave(), false, clock());
  line.update(1234567, 61700000);
  EXPECT_EQ(terminal_.shown(), std::string(kErase) + "korvoctl: 1,234,567");
}

TEST_F(ProgressLineTest, NothingIsDrawnWithoutATerminal) {
  ProgressLine line(-1, false, clock());
  line.update(1, 1);
  line.clear();
  EXPECT_THAT(terminal_.shown(), IsEmpty());
}

TEST_F(ProgressLineTest, TerminalThatCannotMoveItsCursorIsNone) {
  ::setenv("TERM", "xterm", 1);
  EXPECT_EQ(ProgressLine::terminalAt(terminal_.slave()), terminal_.slave());
  ::setenv("TERM", "dumb", 1);
  EXPECT_EQ(ProgressLine::terminalAt(terminal_.slave()), -1);
  ::unsetenv("TERM");
  EXPECT_EQ(ProgressLine::terminalAt(terminal_.slave()), -1);
  ::setenv("TERM", "xterm", 1);
  std::FILE* file = std::tmpfile();
  EXPECT_EQ(ProgressLine::terminalAt(fileno(file)), -1);
  std::fclose(file);
}

TEST(ProgressTextTest, CountsAreGroupedByThousands) {
  EXPECT_EQ(countText(0), "0");
  EXPECT_EQ(countText(999), "999");
  EXPECT_EQ(countText(1000), "1,000");
  EXPECT_EQ(countText(18446744073709551615U), "18,446,744,073,709,551,615");
}

TEST(ProgressTextTest, SizesStayShort) {
  EXPECT_EQ(sizeText(0), "0 B");
  EXPECT_EQ(sizeText(999), "999 B");
  EXPECT_EQ(sizeText(1000), "1.0 kB");
  EXPECT_EQ(sizeText(999949), "999.9 kB");
  EXPECT_EQ(sizeText(999950), "1.0 MB");
  EXPECT_EQ(sizeText(18446744073709551615U), "18446.7 PB");
}

}  // namespace
}  // namespace KorvoCtl
