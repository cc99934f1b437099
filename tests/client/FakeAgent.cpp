#include "tests/client/FakeAgent.h"

#include <fmt/format.h>
#include <linux/sockios.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace KorvoCtl {

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::runtime_error(fmt::format("{}: {}", what, strerror(errno)));
}

bool sendAll(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t n = ::send(fd, data.data(), data.size(), MSG_NOSIGNAL);
    if (n < 0) {
      return false;
    }
    data.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

}  // namespace

TempDir::TempDir() {
  std::string name = (std::filesystem::temp_directory_path() / "korvoctl-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    fail("mkdtemp");
  }
  path_ = name;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::file(std::string_view name) const { return fmt::format("{}/{}", path_, name); }

std::string FakeAgent::Peer::readRequest() {
  std::string line;
  while (!line.ends_with('\n')) {
    std::array<char, 4096> buffer{};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(4 * sizeof(int))> control{};
    iovec data{.iov_base = buffer.data(), .iov_len = buffer.size()};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t n = ::recvmsg(control_.get(), &message, MSG_CMSG_CLOEXEC);
    if (n <= 0) {
      return line;
    }
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
      const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
      for (std::size_t i = 0; i < count; ++i) {
        int fd = -1;
        std::memcpy(&fd, CMSG_DATA(header) + i * sizeof(int), sizeof(int));
        answer_ = Descriptor(fd);
        ++descriptorsReceived_;
      }
    }
    line.append(buffer.data(), static_cast<std::size_t>(n));
  }
  line.pop_back();
  return line;
}

bool FakeAgent::Peer::answer(std::string_view data) { return sendAll(answer_.get(), data); }
bool FakeAgent::Peer::say(std::string_view data) { return sendAll(control_.get(), data); }

bool FakeAgent::Peer::progress(std::size_t rows, std::size_t bytes) {
  return say(fmt::format(R"({{"event":"progress","rows":{},"bytes":{},"slices":1}})"
                         "\n",
                         rows, bytes));
}

bool FakeAgent::Peer::done(std::string_view status, std::size_t bytes, std::string_view message) {
  return say(fmt::format(R"({{"event":"done","status":"{}","message":"{}","rows":1,"bytes":{},)"
                         R"("slices":1,"worstSliceMs":0.5,"elapsedMs":1.5}})"
                         "\n",
                         status, message, bytes));
}

void FakeAgent::Peer::waitUntilHeard() {
  int unread = 1;
  while (::ioctl(control_.get(), SIOCOUTQ, &unread) == 0 && unread > 0) {
    std::this_thread::yield();
  }
}

void FakeAgent::Peer::waitUntilClientIsGone() {
  for (const int fd : {control_.get(), answer_.get()}) {
    pollfd entry{.fd = fd, .events = 0, .revents = 0};
    while (fd >= 0 && (entry.revents & POLLHUP) == 0) {
      ::poll(&entry, 1, -1);
    }
  }
}

FakeAgent::FakeAgent(std::vector<Script> scripts)
    : path_(dir_.file("agent.sock")),
      scripts_(std::move(scripts)),
      listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path_.size() >= sizeof(address.sun_path)) {
    throw std::runtime_error("the temporary folder's path is too long for a socket");
  }
  std::memcpy(address.sun_path, path_.data(), path_.size());
  if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(listener_.get(), 8) != 0) {
    fail("listen");
  }
  thread_ = std::thread([this] { serve(); });
}

FakeAgent::~FakeAgent() { end(); }

const std::vector<std::string>& FakeAgent::requests() {
  end();
  return requests_;
}

void FakeAgent::end() {
  // Wakes an accept() that is still waiting for a client that never came.
  ::shutdown(listener_.get(), SHUT_RDWR);
  if (thread_.joinable()) {
    thread_.join();
  }
}

FakeAgent::Script FakeAgent::answers(const std::string& text, const std::string& status,
                                     const std::string& message) {
  return [=](Peer& peer, const std::string& /*request*/) {
    peer.accept();
    peer.answer(text);
    peer.closeAnswer();
    peer.done(status, text.size(), message);
  };
}

void FakeAgent::serve() {
  for (const Script& script : scripts_) {
    Descriptor control(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!control.isOpen()) {
      return;
    }
    Peer peer(std::move(control));
    requests_.push_back(peer.readRequest());
    script(peer, requests_.back());
  }
}

}  // namespace KorvoCtl
