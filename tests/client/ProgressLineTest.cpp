#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
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
  const int slave = terminal_.slave();
  ::setenv("TERM", "xterm", 1);
  EXPECT_EQ(ProgressLine::terminalFor(slave, slave), slave);
  ::setenv("TERM", "dumb", 1);
  EXPECT_EQ(ProgressLine::terminalFor(slave, slave), -1);
  ::unsetenv("TERM");
  EXPECT_EQ(ProgressLine::terminalFor(slave, slave), -1);
  ::setenv("TERM", "xterm", 1);
  std::FILE* file = std::tmpfile();
  EXPECT_EQ(ProgressLine::terminalFor(fileno(file), slave), -1);
  std::fclose(file);
}

TEST_F(ProgressLineTest, NothingIsDrawnWhereAPagerMayReadTheAnswer) {
  const int slave = terminal_.slave();
  ::setenv("TERM", "xterm", 1);
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  EXPECT_EQ(ProgressLine::terminalFor(slave, ends[1]), -1);
  EXPECT_EQ(::close(ends[0]) + ::close(ends[1]), 0);
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  EXPECT_EQ(ProgressLine::terminalFor(slave, ends[1]), -1);
  EXPECT_EQ(::close(ends[0]) + ::close(ends[1]), 0);
  std::FILE* file = std::tmpfile();
  EXPECT_EQ(ProgressLine::terminalFor(slave, fileno(file)), slave);
  std::fclose(file);
}

enum class Ground { kFore, kBack };

// What a terminal shows after `body` ran in a process of a session that the terminal belongs to.
template <class F>
std::string shownFrom(Ground ground, Terminal& terminal, F body) {
  std::array<int, 2> over{};   // closed by the session's leader when the process has ended
  std::array<int, 2> ended{};  // closed by the test when it has read the terminal
  if (::pipe(over.data()) != 0 || ::pipe(ended.data()) != 0) {
    return "no pipes";
  }
  const pid_t leader = ::fork();
  if (leader == 0) {
    ::close(ended[1]);
    ::setsid();
    ::ioctl(terminal.slave(), TIOCSCTTY, 0);
    const pid_t process = ::fork();
    if (process == 0) {
      if (ground == Ground::kBack) {
        ::setpgid(0, 0);
      }
      body();
      ::_exit(0);
    }
    ::waitpid(process, nullptr, 0);
    ::close(over[1]);
    // What the terminal holds is lost when its session ends.
    char byte = 0;
    [[maybe_unused]] const ssize_t n = ::read(ended[0], &byte, 1);
    ::_exit(0);
  }
  ::close(over[1]);
  ::close(ended[0]);
  char byte = 0;
  [[maybe_unused]] const ssize_t n = ::read(over[0], &byte, 1);
  std::string shown = terminal.shown();
  ::close(over[0]);
  ::close(ended[1]);
  ::waitpid(leader, nullptr, 0);
  return shown;
}

TEST_F(ProgressLineTest, ForegroundMayDraw) {
  EXPECT_EQ(shownFrom(Ground::kFore, terminal_,
                      [this] {
                        ProgressLine line(terminal_.slave(), false, clock());
                        line.update(1, 1);
                      }),
            std::string(kErase) + "korvoctl: 1 rows, 1 B, 0.0 s" + kErase);
}

TEST_F(ProgressLineTest, BackgroundLeavesTheTerminalAlone) {
  EXPECT_EQ(shownFrom(Ground::kBack, terminal_,
                      [this] {
                        ProgressLine line(terminal_.slave(), false, clock());
                        line.update(1, 1);
                      }),
            "");
}

TEST_F(ProgressLineTest, LineThatWasDrawnIsNotErasedFromTheBackground) {
  EXPECT_EQ(shownFrom(Ground::kFore, terminal_,
                      [this] {
                        ProgressLine line(terminal_.slave(), false, clock());
                        line.update(1, 1);
                        ::setpgid(0, 0);
                      }),
            std::string(kErase) + "korvoctl: 1 rows, 1 B, 0.0 s");
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
