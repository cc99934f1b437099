#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string>
#include <thread>
#include <utility>

#include "client/AnswerSink.h"
#include "client/Connection.h"
#include "client/Descriptor.h"
#include "tests/client/FakeAgent.h"

namespace KorvoCtl {
namespace {

using State = AnswerSink::State;
using testing::HasSubstr;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("pipe2");
    }
    reader = Descriptor(ends[0]);
    writer = Descriptor(ends[1]);
  }
  Descriptor reader;
  Descriptor writer;
};

class AnswerSinkTest : public testing::Test {
 protected:
  AnswerSinkTest() : channel_(std::get<AnswerChannel>(makeAnswerChannel())) {
    ::signal(SIGPIPE, SIG_IGN);
  }

  void arrives(std::string_view data) {
    ASSERT_EQ(::write(channel_.theirs.get(), data.data(), data.size()),
              static_cast<ssize_t>(data.size()));
  }
  void ends() { channel_.theirs.close(); }
  AnswerSink::Moved move(AnswerSink& sink) { return sink.moveFrom(channel_.ours.get()); }

  static std::string readAvailable(int fd) {
    std::string data(1 << 20, '\0');
    const ssize_t n = ::read(fd, data.data(), data.size());
    data.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    return data;
  }

  AnswerChannel channel_;
};

TEST_F(AnswerSinkTest, BytesReachAPipeAsTheyCame) {
  Pipe pipe;
  DescriptorSink sink(pipe.writer.get());
  const std::string data("a\0b\n\xff", 5);
  arrives(data);
  const auto moved = move(sink);
  EXPECT_EQ(moved.state, State::kMoved);
  EXPECT_EQ(moved.bytes, data.size());
  EXPECT_EQ(readAvailable(pipe.reader.get()), data);
}

TEST_F(AnswerSinkTest, NothingThereIsNotTheEnd) {
  Pipe pipe;
  DescriptorSink sink(pipe.writer.get());
  EXPECT_EQ(move(sink).state, State::kLater);
  ends();
  EXPECT_EQ(move(sink).state, State::kEnd);
}

TEST_F(AnswerSinkTest, FileTakesTheSameAsAPipe) {
  TempDir dir;
  const Descriptor file(::open(dir.file("out").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  DescriptorSink sink(file.get());
  EXPECT_EQ(move(sink).state, State::kLater);
  arrives("text");
  EXPECT_EQ(move(sink).state, State::kMoved);
  ends();
  EXPECT_EQ(move(sink).state, State::kEnd);
  ::lseek(file.get(), 0, SEEK_SET);
  EXPECT_EQ(readAvailable(file.get()), "text");
}

// Runs `body` in a thread of its own, in which splice() fails with `error` and does nothing.
template <class F>
void withoutSplice(int error, const F& body) {
  std::thread([&] {
    std::array<sock_filter, 4> filter{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_splice, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog program{.len = filter.size(), .filter = filter.data()};
    ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
    body();
  }).join();
}

TEST_F(AnswerSinkTest, WhatCannotBeSplicedIsCopiedAndNothingIsLost) {
  Pipe pipe;
  DescriptorSink sink(pipe.writer.get());
  arrives("spliced ");
  EXPECT_EQ(move(sink).bytes, 8U);
  arrives("copied");
  withoutSplice(EINVAL, [&] {
    const auto moved = move(sink);
    EXPECT_EQ(moved.state, State::kMoved);
    EXPECT_EQ(moved.bytes, 6U);
    EXPECT_EQ(move(sink).state, State::kLater);
    ends();
    EXPECT_EQ(move(sink).state, State::kEnd);
  });
  EXPECT_EQ(readAvailable(pipe.reader.get()), "spliced copied");
}

TEST_F(AnswerSinkTest, ReaderThatHasGoneIsNoticed) {
  Pipe pipe;
  pipe.reader.close();
  Findings findings(Format::kText, {});
  DescriptorSink spliced(pipe.writer.get());
  DescriptorSink copied(pipe.writer.get(), &findings);
  for (DescriptorSink* sink : {&spliced, &copied}) {
    arrives("text");
    const auto moved = move(*sink);
    EXPECT_EQ(moved.state, State::kOutputClosed);
    EXPECT_EQ(moved.problem, "");
  }
}

TEST_F(AnswerSinkTest, FullDiskIsAProblemWithItsReason) {
  const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  DescriptorSink sink(full.get());
  arrives("text");
  const auto moved = move(sink);
  EXPECT_EQ(moved.state, State::kOutputFailed);
  EXPECT_THAT(moved.problem, HasSubstr("No space left on device"));
}

TEST_F(AnswerSinkTest, FindingsSeeWhatIsCopied) {
  Pipe pipe;
  Findings findings(Format::kJson, {});
  DescriptorSink sink(pipe.writer.get(), &findings);
  arrives(R"({"entries":[{}]})");
  EXPECT_EQ(move(sink).state, State::kMoved);
  EXPECT_EQ(findings.verdict(), Findings::Verdict::kFound);
  EXPECT_EQ(readAvailable(pipe.reader.get()), R"({"entries":[{}]})");
}

// Whoever started the client may share the descriptor and have set it so.
TEST_F(AnswerSinkTest, OutputThatDoesNotBlockLosesNothing) {
  for (const bool watched : {false, true}) {
    AnswerChannel channel = std::get<AnswerChannel>(makeAnswerChannel());
    Pipe pipe;
    ::fcntl(pipe.writer.get(), F_SETFL, O_NONBLOCK);
    Findings findings(Format::kText, {});
    DescriptorSink sink(pipe.writer.get(), watched ? &findings : nullptr);
    constexpr std::size_t kSize = 8 << 20;
    std::thread agent([&] {
      const std::string block(64 << 10, 'x');
      for (std::size_t sent = 0; sent < kSize; sent += block.size()) {
        ASSERT_EQ(::write(channel.theirs.get(), block.data(), block.size()),
                  static_cast<ssize_t>(block.size()));
      }
      channel.theirs.close();
    });
    std::size_t read = 0;
    std::thread reader([&] {
      std::array<char, 4096> buffer{};
      for (ssize_t n = 1; n > 0; read += static_cast<std::size_t>(n)) {
        n = ::read(pipe.reader.get(), buffer.data(), buffer.size());
      }
    });
    std::size_t moved = 0;
    AnswerSink::Moved step;
    while (step.state != State::kEnd) {
      pollfd entry{.fd = channel.ours.get(), .events = POLLIN, .revents = 0};
      ::poll(&entry, 1, -1);
      step = sink.moveFrom(channel.ours.get());
      moved += step.bytes;
      ASSERT_TRUE(step.state != State::kOutputFailed && step.state != State::kOutputClosed);
    }
    pipe.writer.close();
    agent.join();
    reader.join();
    EXPECT_EQ(moved, kSize);
    EXPECT_EQ(read, kSize);
  }
}

TEST_F(AnswerSinkTest, MemoryTakesAShortAnswerAndNoLongOne) {
  StringSink sink(10);
  arrives("01234");
  EXPECT_EQ(move(sink).state, State::kMoved);
  arrives("56789");
  EXPECT_EQ(move(sink).state, State::kMoved);
  EXPECT_EQ(sink.text(), "0123456789");
  arrives("x");
  EXPECT_EQ(move(sink).state, State::kOutputFailed);
}

}  // namespace
}  // namespace KorvoCtl
