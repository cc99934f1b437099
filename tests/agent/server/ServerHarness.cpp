#include "tests/agent/server/ServerHarness.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "platform/command/CommandArgument.h"
#include "tests/agent/server/IdleMachines.h"

namespace KorvoAgent {

using AgentCommand::CommandOutcome;

SocketPair makeSocketPair(int type) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::runtime_error(std::strerror(errno));
  }
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::string received(int socket) {
  std::string text;
  std::array<char, 65536> piece{};
  for (;;) {
    const ssize_t n = ::recv(socket, piece.data(), piece.size(), MSG_DONTWAIT);
    if (n > 0) {
      text.append(piece.data(), static_cast<std::size_t>(n));
      continue;
    }
    // A connection that breaks instead of ending has lost its client something.
    EXPECT_TRUE(n == 0 || errno == EAGAIN) << std::strerror(errno);
    return text;
  }
}

bool atEnd(int socket) {
  char byte = 0;
  return ::recv(socket, &byte, 1, MSG_DONTWAIT | MSG_PEEK) == 0;
}

bool sendWith(int socket, std::string_view text, const std::vector<int>& descriptors) {
  alignas(cmsghdr) std::array<char, 1024> control{};
  iovec data{.iov_base = const_cast<char*>(text.data()), .iov_len = text.size()};
  msghdr message{};
  message.msg_iov = &data;
  message.msg_iovlen = 1;
  if (!descriptors.empty()) {
    const std::size_t bytes = descriptors.size() * sizeof(int);
    message.msg_control = control.data();
    message.msg_controllen = CMSG_SPACE(bytes);
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(bytes);
    std::memcpy(CMSG_DATA(header), descriptors.data(), bytes);
  }
  return ::sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL) ==
         static_cast<ssize_t>(text.size());
}

std::size_t numOpenDescriptors() {
  std::size_t count = 0;
  DIR* const folder = ::opendir("/proc/self/fd");
  while (::readdir(folder) != nullptr) ++count;
  ::closedir(folder);
  return count;
}

FewDescriptors::FewDescriptors(rlim_t left) {
  ::getrlimit(RLIMIT_NOFILE, &before_);
  // Numbers below the lowest free one are taken, numbers from the limit on are not given out.
  const FileDescriptor lowest(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  rlimit few = before_;
  few.rlim_cur = static_cast<rlim_t>(lowest.get()) + left;
  ::setrlimit(RLIMIT_NOFILE, &few);
}

FewDescriptors::~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

namespace {

// What a call fails with; 0 where it does not.
std::array<int, 2> errorsOfCalls{};

int& errorOf(SystemCall call) { return errorsOfCalls.at(static_cast<std::size_t>(call)); }

bool fails(SystemCall call) {
  if (errorOf(call) == 0) return false;
  errno = errorOf(call);
  return true;
}

}  // namespace

FailingCall::FailingCall(SystemCall call, int error) : call_(call) { errorOf(call_) = error; }

FailingCall::~FailingCall() { errorOf(call_) = 0; }

// In this program these stand before those of the C library.

extern "C" ssize_t send(int descriptor, const void* data, std::size_t size, int flags) {
  if (fails(SystemCall::send)) return -1;
  return ::syscall(SYS_sendto, descriptor, data, size, flags, nullptr, 0);
}

extern "C" int accept4(int descriptor, sockaddr* address, socklen_t* size, int flags) {
  if (fails(SystemCall::accept)) return -1;
  return static_cast<int>(::syscall(SYS_accept4, descriptor, address, size, flags));
}

namespace {

void refuseArgument() {
  AgentCommand::readArgument("chip list", "0,x", [] { return std::stoi("x"); });
}

}  // namespace

void TestPlainCallback::handleCommand(std::uint32_t socket, std::string command) {
  outcomeIs({});
  commandSeen = command;
  if (command.starts_with("PRINT ")) {
    Rendering::printToSocket(socket, command.substr(6));
  } else if (command == "CLOSE") {
    outcomeIs({CommandOutcome::Kind::noHandler, ""});
    Rendering::printToSocket(socket, "Invalid Command\n");
    ::close(static_cast<int>(socket));
  } else if (command == "CLOSE_AND_REUSE") {
    ::close(static_cast<int>(socket));
    reused = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  } else if (command == "THROW") {
    Rendering::printToSocket(socket, "so far");
    throw std::runtime_error("the handler failed");
  } else if (command == "THROW_NUMBER") {
    throw 42;
  } else if (command == "THROW_ARGUMENT") {
    refuseArgument();
  } else if (command == "NO_TABLE") {
    outcomeIs({CommandOutcome::Kind::noHandler, "it names no table"});
  } else if (command == "NOT_READY") {
    outcomeIs({CommandOutcome::Kind::notReady, "l2 agent not ready"});
  } else if (command.starts_with("BIG ")) {
    const std::uint64_t rows = std::stoull(command.substr(4));
    for (std::uint64_t i = 0; i < rows; ++i) {
      Rendering::printToSocket(socket, rowText(i));
      if (betweenPrints) betweenPrints();
    }
    Rendering::printToSocket(socket, "end\n");
  } else {
    outcomeIs({CommandOutcome::Kind::noHandler, ""});
  }
}

void TestFormattedCallback::handleCommand(std::uint32_t socket, std::string command,
                                          std::uint32_t outputFormat) {
  outcomeIs({});
  if (command == "FORMAT") {
    Rendering::printToSocket(socket, std::to_string(outputFormat) + "\n");
  } else if (command == "FAIL") {
    Rendering::printToSocket(socket, "{\"half\":");
    outcomeIs({CommandOutcome::Kind::failed, "the other half is lost"});
  } else {
    outcomeIs({CommandOutcome::Kind::noHandler, ""});
  }
}

Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm>
TestFormattedCallback::createAgentAsyncCommandRequestSm(
    Qel::Ptr<const AgentCommand::AgentCommandRequest> request) {
  outcomeIs({});
  const std::string& command = request->commandString();
  commandSeen = command;
  for (const std::string_view keyword : {"ROWS ", "MACT_MISSING "}) {
    if (!command.starts_with(keyword)) continue;
    return Qel::makePtr<RowsMachine>(request, std::chrono::milliseconds(50), clock_,
                                     std::stoull(command.substr(keyword.size())), beforeRow);
  }
  if (command == "WAIT") return Qel::makePtr<WaitingMachine>(request, clock_, mayGoOn);
  if (command == "THROW") throw std::runtime_error("no machine could be made");
  if (command == "THROW_NUMBER") throw 42;
  if (command == "THROW_ARGUMENT") refuseArgument();
  if (command == "NOT_READY") {
    outcomeIs({CommandOutcome::Kind::notReady, "no unicast agent"});
  } else if (command != "SILENT") {
    outcomeIs({CommandOutcome::Kind::noHandler, ""});
  }
  return nullptr;
}

ServerHarness::~ServerHarness() {
  server_.reset();
  loop.reset();
  EXPECT_EQ(Qel::liveInstances("RowsMachine"), 0);
  EXPECT_EQ(Qel::liveInstances("AgentCommandRequest"), 0);
}

CommandServer& ServerHarness::server() {
  if (!server_) {
    loop.emplace(clock);
    server_.emplace(*loop, clock, policy,
                    CommandCallbacks{plain, formatted, [this] { return noHardware(); }}, facts);
  }
  return *server_;
}

void ServerHarness::settle() {
  server();
  while (loop->turn()) {
  }
}

FileDescriptor ServerHarness::connectAs(Peer peer) {
  SocketPair pair = makeSocketPair();
  server().connectionIs(std::move(pair.server), std::move(peer));
  return std::move(pair.client);
}

std::string ServerHarness::ask(std::string_view line) {
  const FileDescriptor client = connect();
  EXPECT_TRUE(sendWith(client.get(), line));
  settle();
  std::string answer = received(client.get());
  EXPECT_TRUE(atEnd(client.get())) << "after: " << answer;
  return answer;
}

ServerHarness::Request ServerHarness::request(std::string_view line, uid_t user) {
  SocketPair pair = makeSocketPair();
  Request made{connect(user), std::move(pair.client)};
  EXPECT_TRUE(sendWith(made.control.get(), line, {pair.server.get()}));
  return made;
}

}  // namespace KorvoAgent
