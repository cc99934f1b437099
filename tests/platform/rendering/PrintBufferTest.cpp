#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "platform/rendering/PrintBuffer.h"
#include "tests/platform/rendering/ScriptedPort.h"

namespace Rendering {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Undelivered = std::vector<std::pair<std::uint32_t, std::string>>;

// Notes what released buffers could not send.
class UndeliveredNote {
 public:
  UndeliveredNote()
      : before_(
            PrintBuffer::undeliveredHandlerIs([this](std::uint32_t socket, std::string_view text) {
              texts.emplace_back(socket, text);
            })) {}
  ~UndeliveredNote() { PrintBuffer::undeliveredHandlerIs(before_); }
  UndeliveredNote(const UndeliveredNote&) = delete;
  UndeliveredNote& operator=(const UndeliveredNote&) = delete;

  Undelivered texts;

 private:
  PrintBuffer::UndeliveredHandler before_;
};

class PrintBufferTest : public testing::Test {
 protected:
  Qel::Ptr<PrintBuffer> make(std::size_t size,
                             PrintBuffer::Mode mode = PrintBuffer::kStream) const {
    return Qel::makePtr<PrintBuffer>(std::make_unique<ScriptedPort>(script_), 7U, size, mode);
  }

  UndeliveredNote undelivered_;
  std::shared_ptr<PortScript> script_ = std::make_shared<PortScript>();
};

TEST_F(PrintBufferTest, SendsOnceSizeHasGathered) {
  const auto buffer = make(10);
  buffer->append("123456789");
  buffer->unitEnd();
  EXPECT_EQ(script_->sends, 0);
  EXPECT_EQ(buffer->pending(), 9U);
  buffer->append('0');
  EXPECT_EQ(script_->sends, 0);  // only where a unit ends
  buffer->unitEnd();
  EXPECT_EQ(script_->sends, 1);
  EXPECT_EQ(script_->taken, "1234567890");
  EXPECT_EQ(buffer->pending(), 0U);
}

TEST_F(PrintBufferTest, HoldSendsNothingBeforeFlush) {
  const auto buffer = make(10, PrintBuffer::kHold);
  for (int i = 0; i < 1000; ++i) {
    buffer->append("0123456789");
    buffer->unitEnd();
  }
  EXPECT_EQ(script_->sends, 0);
  EXPECT_TRUE(buffer->flush());
  EXPECT_EQ(script_->taken.size(), 10000U);
}

TEST_F(PrintBufferTest, WithoutUnitsItSendsWhenItWouldHaveToGrow) {
  const auto buffer = make(1000);
  for (int i = 0; i < 10000; ++i) buffer->append("0123456789");
  EXPECT_GT(script_->sends, 0);
  EXPECT_LE(buffer->capacity(), 4096U);
  buffer->flush();
  EXPECT_EQ(script_->taken.size(), 100000U);
}

TEST_F(PrintBufferTest, FlushOfNothingAsksNobody) {
  const auto buffer = make(10);
  EXPECT_TRUE(buffer->flush());
  EXPECT_EQ(script_->sends, 0);
}

TEST_F(PrintBufferTest, EmptyTextIsNothing) {
  const auto buffer = make(10);
  buffer->append("");
  buffer->append(std::string_view());
  EXPECT_EQ(buffer->appended(), 0U);
  EXPECT_EQ(buffer->capacity(), 0U);
}

TEST_F(PrintBufferTest, ReservedRoomIsCountedAsFarAsItIsUsed) {
  const auto buffer = make(100);
  char* const room = buffer->reserve(50);
  std::ranges::copy(std::string_view("abc"), room);
  buffer->commit(room + 3);
  buffer->append("d");
  buffer->reserve(20);
  EXPECT_EQ(buffer->appended(), 4U);
  buffer->flush();
  EXPECT_EQ(script_->taken, "abcd");
}

TEST_F(PrintBufferTest, WhatIsNotTakenIsKeptInOrder) {
  const auto buffer = make(4);
  script_->answers = {3, 0, 2};
  buffer->append("abcdefgh");
  buffer->unitEnd();
  EXPECT_EQ(script_->taken, "abc");
  EXPECT_TRUE(buffer->blocked());
  EXPECT_EQ(buffer->pending(), 5U);
  EXPECT_FALSE(buffer->flush());  // takes nothing
  EXPECT_FALSE(buffer->flush());
  EXPECT_EQ(script_->taken, "abcde");
  buffer->append("ij");
  EXPECT_TRUE(buffer->flush());
  EXPECT_EQ(script_->taken, "abcdefghij");
  EXPECT_FALSE(buffer->blocked());
  EXPECT_EQ(buffer->sent(), 10U);
}

TEST_F(PrintBufferTest, BlockedPortIsNotAskedAgainWithinTheSlice) {
  const auto buffer = make(4);
  script_->answers = {0};
  buffer->sliceBegin(1000);
  for (int row = 0; row < 100; ++row) {
    buffer->append("row\n");
    buffer->unitEnd();
  }
  EXPECT_EQ(script_->sends, 1);
  buffer->sliceBegin(1000);
  buffer->append("row\n");
  buffer->unitEnd();
  EXPECT_EQ(script_->sends, 2);
  EXPECT_EQ(script_->taken.size(), 404U);
}

TEST_F(PrintBufferTest, SliceIsFullWhenItsWindowIs) {
  const auto buffer = make(1000);
  EXPECT_FALSE(buffer->sliceFull());
  buffer->sliceBegin(8);
  buffer->append("1234567");
  EXPECT_FALSE(buffer->sliceFull());
  buffer->append("8");
  EXPECT_TRUE(buffer->sliceFull());
  // What was sent counts as what was not.
  buffer->flush();
  EXPECT_TRUE(buffer->sliceFull());
  buffer->sliceBegin(8);
  EXPECT_FALSE(buffer->sliceFull());
}

TEST_F(PrintBufferTest, SliceIsFullWhenThePortTakesNoMore) {
  const auto buffer = make(4);
  script_->answers = {2};
  buffer->sliceBegin(1000);
  buffer->append("abcd");
  buffer->unitEnd();
  EXPECT_TRUE(buffer->sliceFull());
  buffer->sliceBegin(1000);
  EXPECT_FALSE(buffer->sliceFull());
}

TEST_F(PrintBufferTest, WindowWithoutLimitIsNeverFull) {
  const auto buffer = make(1 << 20);
  buffer->append("some text");
  buffer->sliceBegin(~std::size_t{0});
  buffer->append("more text");
  EXPECT_FALSE(buffer->sliceFull());
}

TEST_F(PrintBufferTest, PortThatIsGoneEndsEverything) {
  const auto buffer = make(4);
  script_->answers = {2, PortScript::kGone};
  buffer->append("abcd");
  buffer->unitEnd();
  EXPECT_FALSE(buffer->failed());
  EXPECT_FALSE(buffer->flush());
  EXPECT_TRUE(buffer->failed());
  EXPECT_TRUE(buffer->sliceFull());
  EXPECT_EQ(buffer->pending(), 0U);
  EXPECT_EQ(script_->taken, "ab");
  EXPECT_FALSE(buffer->flush());
  EXPECT_EQ(script_->sends, 2);
}

TEST_F(PrintBufferTest, TextForAPortThatIsGoneTakesNoMemory) {
  const auto buffer = make(4);
  script_->answers = {PortScript::kGone};
  for (int row = 0; row < 100000; ++row) {
    buffer->append("a row of some length\n");
    buffer->unitEnd();
  }
  EXPECT_EQ(script_->sends, 1);
  EXPECT_LE(buffer->capacity(), 4096U);
}

TEST_F(PrintBufferTest, ReleaseSendsTheRest) {
  make(1000)->append("all of it");
  EXPECT_EQ(script_->taken, "all of it");
  EXPECT_THAT(undelivered_.texts, IsEmpty());
}

TEST_F(PrintBufferTest, ReleaseHandsOnWhatThePortDoesNotTake) {
  script_->answers = {4, 0};
  auto buffer = make(1000);
  buffer->append("taken and kept");
  buffer->flush();
  buffer.reset();
  EXPECT_EQ(script_->taken, "take");
  EXPECT_THAT(undelivered_.texts, ElementsAre(Pair(7U, "n and kept")));
}

TEST_F(PrintBufferTest, ReleaseHandsOnNothingForAPortThatIsGone) {
  script_->answers = {PortScript::kGone};
  make(1000)->append("nobody reads this");
  EXPECT_THAT(undelivered_.texts, IsEmpty());
}

TEST_F(PrintBufferTest, CapacityFollowsWhatIsPending) {
  const auto buffer = make(65536);
  buffer->append("small");
  EXPECT_EQ(buffer->capacity(), 4096U);
  buffer->append(std::string(20000, 'x'));
  EXPECT_EQ(buffer->capacity(), 32768U);
}

RC_GTEST_PROP(PrintBufferProperty, WhateverThePortDoesTextArrivesOnceAndInOrder, ()) {
  const UndeliveredNote undelivered;
  const auto script = std::make_shared<PortScript>();
  const auto size = *rc::gen::inRange<std::size_t>(0, 2000);
  const auto mode = *rc::gen::element(PrintBuffer::kHold, PrintBuffer::kStream);
  auto buffer = Qel::makePtr<PrintBuffer>(std::make_unique<ScriptedPort>(script), 7U, size, mode);
  for (const int answer : *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 5000))) {
    script->answers.push_back(answer % 3 == 0 ? 0 : answer);
  }
  std::string expected;
  char next = 'a';
  const auto text = [&](std::size_t length) {
    std::string piece(length, next);
    next = next == 'z' ? 'a' : static_cast<char>(next + 1);
    expected += piece;
    return piece;
  };
  const auto lengths =
      *rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(0, 6000));
  for (const std::size_t length : lengths) {
    switch (length % 5) {
      case 0:
        buffer->append(text(length));
        break;
      case 1: {
        const std::string piece = text(length / 2);
        char* const room = buffer->reserve(length);
        std::ranges::copy(piece, room);
        buffer->commit(room + piece.size());
        break;
      }
      case 2:
        buffer->append(text(1).front());
        break;
      case 3:
        buffer->unitEnd();
        break;
      case 4:
        buffer->flush();
        break;
    }
    if (length % 7 == 0) buffer->sliceBegin(length);
    RC_ASSERT(buffer->appended() == expected.size());
    RC_ASSERT(buffer->sent() == script->taken.size());
    RC_ASSERT(buffer->pending() == expected.size() - script->taken.size());
  }
  buffer.reset();
  std::string arrived = script->taken;
  for (const auto& each : undelivered.texts) arrived += each.second;
  RC_ASSERT(arrived == expected);
}

// Real sockets.

class SocketTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()), 0);
    // Small, so that little text fills it.
    const int size = 4096;
    ASSERT_EQ(::setsockopt(ends_[0], SOL_SOCKET, SO_SNDBUF, &size, sizeof(size)), 0);
  }
  void TearDown() override {
    closePeer();
    ::close(ends_[0]);
  }

  std::uint32_t socket() const { return static_cast<std::uint32_t>(ends_[0]); }
  int peer() const { return ends_[1]; }
  void closePeer() { ::close(std::exchange(ends_[1], -1)); }
  // Reads what there is, without waiting.
  std::string readNow() const {
    std::string text;
    char piece[4096];
    for (;;) {
      const ssize_t n = ::recv(ends_[1], piece, sizeof(piece), MSG_DONTWAIT);
      if (n <= 0) return text;
      text.append(piece, static_cast<std::size_t>(n));
    }
  }
  static std::string longText(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
  }

  std::array<int, 2> ends_{-1, -1};
  UndeliveredNote undelivered_;
};

TEST_F(SocketTest, TextArrives) {
  PrintBuffer buffer(socket(), 100, PrintBuffer::kStream);
  EXPECT_EQ(buffer.socket(), socket());
  buffer.append("hello\n");
  EXPECT_TRUE(buffer.flush());
  EXPECT_EQ(readNow(), "hello\n");
}

TEST_F(SocketTest, PeerThatDoesNotReadBlocksTheBufferButNotTheProcess) {
  // A socket in blocking mode is the harder case.
  ASSERT_EQ(::fcntl(ends_[0], F_GETFL) & O_NONBLOCK, 0);
  PrintBuffer buffer(socket(), 1024, PrintBuffer::kStream);
  const std::string text = longText(1 << 20);
  buffer.append(text);
  EXPECT_FALSE(buffer.flush());
  EXPECT_TRUE(buffer.blocked());
  EXPECT_FALSE(buffer.failed());
  EXPECT_GT(buffer.pending(), 0U);

  std::string arrived;
  while (!buffer.flush()) {
    const std::string piece = readNow();
    ASSERT_FALSE(piece.empty());
    arrived += piece;
  }
  arrived += readNow();
  EXPECT_EQ(arrived, text);
}

TEST_F(SocketTest, PeerThatIsGoneFailsTheBufferAndRaisesNoSignal) {
  PrintBuffer buffer(socket(), 1024, PrintBuffer::kStream);
  buffer.append("nobody reads this");
  closePeer();
  EXPECT_FALSE(buffer.flush());
  EXPECT_TRUE(buffer.failed());
  EXPECT_THAT(undelivered_.texts, IsEmpty());
}

TEST_F(SocketTest, PeerThatOnlyStoppedSendingGetsEverything) {
  ASSERT_EQ(::shutdown(peer(), SHUT_WR), 0);
  PrintBuffer buffer(socket(), 1024, PrintBuffer::kStream);
  buffer.append("the whole answer");
  EXPECT_TRUE(buffer.flush());
  EXPECT_EQ(readNow(), "the whole answer");
}

TEST_F(SocketTest, DescriptorThatIsNoSocketFailsTheBuffer) {
  for (const std::uint32_t descriptor : {SocketPort::kNoSocket, 1'000'000U}) {
    PrintBuffer buffer(descriptor, 1024, PrintBuffer::kStream);
    buffer.append("x");
    EXPECT_FALSE(buffer.flush());
    EXPECT_TRUE(buffer.failed());
  }
}

TEST_F(SocketTest, ShortTextIsPrintedAtOnce) {
  printToSocket(socket(), "Invalid Command\n");
  EXPECT_EQ(readNow(), "Invalid Command\n");
  printToSocket(socket(), "");
  EXPECT_EQ(readNow(), "");
}

TEST_F(SocketTest, ShortTextThatDoesNotFitIsHandedOn) {
  const std::string text = longText(1 << 20);
  printToSocket(socket(), text);
  ASSERT_EQ(undelivered_.texts.size(), 1U);
  EXPECT_EQ(undelivered_.texts[0].first, socket());
  EXPECT_EQ(readNow() + undelivered_.texts[0].second, text);
}

TEST_F(SocketTest, ProcessWithoutAHandlerWaitsForItsReader) {
  const auto note = PrintBuffer::undeliveredHandlerIs(nullptr);
  const std::string text = longText(1 << 20);
  std::string arrived;
  std::thread reader([&] {
    char piece[4096];
    while (arrived.size() < text.size()) {
      const ssize_t n = ::recv(peer(), piece, sizeof(piece), 0);
      if (n <= 0) return;
      arrived.append(piece, static_cast<std::size_t>(n));
    }
  });
  printToSocket(socket(), text);
  reader.join();
  EXPECT_EQ(arrived, text);
  PrintBuffer::undeliveredHandlerIs(note);
}

TEST_F(SocketTest, AHandlerThatThrowsLosesTheTextAndNothingElse) {
  bool asked = false;
  const auto note = PrintBuffer::undeliveredHandlerIs([&asked](std::uint32_t, std::string_view) {
    asked = true;
    throw std::bad_alloc();
  });
  EXPECT_NO_THROW(printToSocket(socket(), longText(1 << 20)));
  EXPECT_TRUE(asked);
  PrintBuffer::undeliveredHandlerIs(note);
}

TEST_F(SocketTest, ProcessWithoutAHandlerStopsWaitingForAReaderThatLeaves) {
  const auto note = PrintBuffer::undeliveredHandlerIs(nullptr);
  std::thread reader([this] {
    char piece[100];
    ::recv(peer(), piece, sizeof(piece), 0);
    closePeer();
  });
  printToSocket(socket(), longText(1 << 20));
  reader.join();
  PrintBuffer::undeliveredHandlerIs(note);
}

TEST_F(SocketTest, HeldSocketTakesNothingUntilItIsLetGo) {
  SocketPort port(socket());
  const std::uint64_t before = SocketPort::sentTotal();
  SocketPort::heldIs(socket());
  EXPECT_EQ(port.send("abc", 3), 0);
  EXPECT_EQ(SocketPort(static_cast<std::uint32_t>(peer())).send("x", 1), 1);
  SocketPort::heldIs(SocketPort::kNoSocket);
  EXPECT_EQ(port.send("abc", 3), 3);
  EXPECT_EQ(readNow(), "abc");
  EXPECT_EQ(SocketPort::sentTotal() - before, 4U);
}

}  // namespace
}  // namespace Rendering
