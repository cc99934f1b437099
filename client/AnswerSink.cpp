#include "client/AnswerSink.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace KorvoCtl {

namespace {

using State = AnswerSink::State;
using Moved = AnswerSink::Moved;

constexpr std::size_t kCopyBuffer = 256UL * 1024;

// What a pipe is asked to hold. At its usual 64 KiB every turn moves no more than that, and a dump
// through a pipe takes three times as long.
constexpr int kPipeSize = 1024 * 1024;

Moved outputError(int error, std::size_t bytes) {
  if (error == EPIPE) {
    return {.state = State::kOutputClosed, .bytes = bytes, .problem = {}};
  }
  return {.state = State::kOutputFailed,
          .bytes = bytes,
          .problem = std::string("standard output: ") + strerror(error)};
}

void waitFor(int fd, short events) {
  pollfd entry{.fd = fd, .events = events, .revents = 0};
  ::poll(&entry, 1, -1);
}

// Reads what is there. An error ends the answer like its end does: whether all of it came is told
// by the count that the agent sends.
Moved receive(int source, char* buffer, std::size_t size) {
  ssize_t n = 0;
  do {
    n = ::recv(source, buffer, size, MSG_DONTWAIT);
  } while (n < 0 && errno == EINTR);
  if (n > 0) {
    return {.state = State::kMoved, .bytes = static_cast<std::size_t>(n), .problem = {}};
  }
  const bool later = n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
  return {.state = later ? State::kLater : State::kEnd, .bytes = 0, .problem = {}};
}

}  // namespace

int writeAll(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t n = ::write(fd, data.data(), data.size());
    if (n >= 0) {
      data.remove_prefix(static_cast<std::size_t>(n));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      // Whoever started us may have left the descriptor not to block.
      waitFor(fd, POLLOUT);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

DescriptorSink::DescriptorSink(int output, Findings* findings)
    : output_(output), findings_(findings) {
  struct stat status {};
  if (::fstat(output_, &status) == 0 && S_ISFIFO(status.st_mode)) {
    splices_ = findings_ == nullptr;
    // Refused to a user who has many large pipes already; then it is as fast as it is.
    ::fcntl(output_, F_SETPIPE_SZ, kPipeSize);
  }
}

Moved DescriptorSink::moveFrom(int source) {
  if (splices_) {
    Moved moved = splice(source);
    if (splices_) {
      return moved;
    }
  }
  return copy(source);
}

Moved DescriptorSink::splice(int source) {
  const ssize_t n =
      ::splice(source, nullptr, output_, nullptr, static_cast<std::size_t>(kPipeSize), 0);
  if (n > 0) {
    return {.state = State::kMoved, .bytes = static_cast<std::size_t>(n), .problem = {}};
  }
  if (n == 0) {
    return {.state = State::kEnd, .bytes = 0, .problem = {}};
  }
  switch (errno) {
    case EINTR:
      return {};
    case EAGAIN: {
      // Either side can be the one that is not ready. Where it is the pipe, wait for it here: the
      // socket being readable, the caller would come back at once.
      char byte = 0;
      if (::recv(source, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0) {
        waitFor(output_, POLLOUT);
      }
      return {};
    }
    case EPIPE:
      return outputError(EPIPE, 0);
    default:
      // Not between these two; nothing was taken, so copying goes on from here.
      splices_ = false;
      return {};
  }
}

Moved DescriptorSink::copy(int source) {
  if (buffer_.empty()) {
    buffer_.resize(kCopyBuffer);
  }
  Moved moved = receive(source, buffer_.data(), buffer_.size());
  if (moved.state != State::kMoved) {
    return moved;
  }
  const std::string_view data(buffer_.data(), moved.bytes);
  if (findings_ != nullptr) {
    findings_->add(data);
  }
  endsInMidLine_ = !data.ends_with('\n');
  const int error = writeAll(output_, data);
  return error == 0 ? moved : outputError(error, moved.bytes);
}

Moved StringSink::moveFrom(int source) {
  std::array<char, 4096> buffer{};
  Moved moved = receive(source, buffer.data(), buffer.size());
  if (moved.state != State::kMoved) {
    return moved;
  }
  if (text_.size() + moved.bytes > limit_) {
    return {.state = State::kOutputFailed,
            .bytes = moved.bytes,
            .problem = "the agent's answer is longer than any such answer can be"};
  }
  text_.append(buffer.data(), moved.bytes);
  return moved;
}

}  // namespace KorvoCtl
