#include "bench/whole_process/Exchange.h"

#include <poll.h>
#include <rapidjson/document.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <stdexcept>

#include "bench/whole_process/Sockets.h"

namespace KorvoBench {

namespace {

class Stopwatch {
 public:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

char* readBuffer() {
  static const auto buffer = std::make_unique<char[]>(kReadSize);
  return buffer.get();
}

Done parseDone(const std::string& line) {
  rapidjson::Document event;
  if (event.Parse(line.c_str()).HasParseError() || !event.IsObject() ||
      std::string_view(event["event"].GetString()) != "done") {
    throw std::runtime_error("the last event is not \"done\": " + line);
  }
  Done done;
  done.status = event["status"].GetString();
  done.rows = event["rows"].GetUint64();
  done.bytes = event["bytes"].GetUint64();
  done.slices = event["slices"].GetUint64();
  done.worstSliceMs = event["worstSliceMs"].GetDouble();
  return done;
}

std::string lastLine(const std::string& text) {
  const std::size_t before =
      text.size() < 2 ? std::string::npos : text.rfind('\n', text.size() - 2);
  return text.substr(before == std::string::npos ? 0 : before + 1);
}

}  // namespace

Answer discardAnswer(const std::string& socketPath, std::string_view line) {
  char* const data = readBuffer();
  const Stopwatch watch;
  const FileDescriptor socket = connectTo(socketPath);
  sendAll(socket.get(), line);
  Answer answer;
  while (const std::size_t n = receiveSome(socket.get(), data, kReadSize)) {
    if (answer.bytes == 0) answer.firstByteSeconds = watch.seconds();
    answer.bytes += n;
  }
  answer.seconds = watch.seconds();
  return answer;
}

std::string captureAnswer(const std::string& socketPath, std::string_view line) {
  const FileDescriptor socket = connectTo(socketPath);
  sendAll(socket.get(), line);
  std::string answer;
  char* const data = readBuffer();
  while (const std::size_t n = receiveSome(socket.get(), data, kReadSize)) answer.append(data, n);
  return answer;
}

Done discardAnswerWithEvents(const std::string& socketPath, std::string_view line) {
  char* const data = readBuffer();
  const Stopwatch watch;
  const FileDescriptor control = connectTo(socketPath);
  Answer answer;
  std::string events;
  auto [ours, theirs] = socketPair();
  sendWithDescriptor(control.get(), line, theirs.get());
  theirs.reset();
  std::array<pollfd, 2> sockets{{{ours.get(), POLLIN, 0}, {control.get(), POLLIN, 0}}};
  while (sockets[0].fd >= 0 || sockets[1].fd >= 0) {
    const int ready = ::poll(sockets.data(), sockets.size(),
                             static_cast<int>(std::chrono::milliseconds(kPatience).count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) throw std::runtime_error("a dump with events came to a halt");
    if (sockets[0].revents != 0) {
      const std::size_t n = receiveSome(ours.get(), data, kReadSize);
      if (answer.bytes == 0) answer.firstByteSeconds = watch.seconds();
      answer.bytes += n;
      if (n == 0) {
        answer.seconds = watch.seconds();
        sockets[0].fd = -1;
      }
    }
    if (sockets[1].revents != 0) {
      const std::size_t n = receiveSome(control.get(), data, kReadSize);
      events.append(data, n);
      if (n == 0) sockets[1].fd = -1;
    }
  }
  Done done = parseDone(lastLine(events));
  done.answer = answer;
  if (done.status != "ok" || done.bytes != answer.bytes) {
    throw std::runtime_error("a dump did not end well: " + lastLine(events));
  }
  return done;
}

}  // namespace KorvoBench
