// A connection's request line and the descriptors that travel with it, through a real socket.
//
// Input: steps of two bytes and data. The first byte is how many descriptors go with the data (its
// low three bits) and whether the connection is read afterwards, the second is the data's length.

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "agent/server/ControlReader.h"
#include "fuzz/Check.h"

namespace {

using namespace KorvoAgent;  // NOLINT(google-build-using-namespace): a program of its own
using KorvoFuzz::check;

constexpr std::size_t kMostDescriptors = 7;

/** Which of the low numbers are open: new descriptors get the lowest there are. */
std::bitset<64> openNumbers() {
  std::bitset<64> open;
  for (std::size_t number = 0; number < open.size(); ++number) {
    open[number] = ::fcntl(static_cast<int>(number), F_GETFD) >= 0;
  }
  return open;
}

class Connection {
 public:
  Connection() {
    std::array<int, 2> pair{};
    check(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, pair.data()) == 0,
          "no sockets");
    ours_ = FileDescriptor(pair[0]);
    theirs_ = FileDescriptor(pair[1]);
  }
  int socket() const noexcept { return ours_.get(); }

  /** Sends some data, which carries descriptors unless there is none. */
  void send(std::string_view data, std::size_t numDescriptors) {
    std::array<int, kMostDescriptors> numbers{};
    numbers.fill(STDERR_FILENO);
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof numbers)> control{};
    iovec piece{.iov_base = const_cast<char*>(data.data()), .iov_len = data.size()};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    if (numDescriptors != 0) {
      message.msg_control = control.data();
      message.msg_controllen = CMSG_SPACE(numDescriptors * sizeof(int));
      cmsghdr* const header = CMSG_FIRSTHDR(&message);
      header->cmsg_level = SOL_SOCKET;
      header->cmsg_type = SCM_RIGHTS;
      header->cmsg_len = CMSG_LEN(numDescriptors * sizeof(int));
      std::memcpy(CMSG_DATA(header), numbers.data(), numDescriptors * sizeof(int));
    }
    check(::sendmsg(theirs_.get(), &message, MSG_NOSIGNAL) == static_cast<ssize_t>(data.size()),
          "a piece did not fit the socket");
  }
  void end() { theirs_ = FileDescriptor(); }

 private:
  FileDescriptor ours_;
  FileDescriptor theirs_;
};

/** What is sent, and what a reader may make of it so far. */
struct Sent {
  std::string text;
  std::size_t numDescriptors = 0;
};

void checkReader(ControlReader& reader, ControlReader::State state, const Sent& sent) {
  const std::size_t newline = sent.text.find('\n');
  if (newline == std::string::npos) {
    check(state != ControlReader::State::complete, "a line without its end");
  } else if (newline <= kMaxRequestLine) {
    check(state == ControlReader::State::complete, "a line that was not seen");
    check(reader.line() == std::string_view(sent.text).substr(0, newline), "another line",
          reader.line());
  }
  check(state != ControlReader::State::failed, "a connection that is not broken");
  check(reader.numDescriptors() <= sent.numDescriptors, "descriptors that nobody sent");
  const bool some = reader.numDescriptors() != 0;
  check(reader.takeDescriptor().isOpen() == some, "a descriptor too few or too many");
}

void converse(std::string_view input) {
  Connection connection;
  ControlReader reader;
  Sent sent;
  auto state = ControlReader::State::incomplete;
  while (input.size() > 2 && state == ControlReader::State::incomplete) {
    const auto how = static_cast<unsigned char>(input[0]);
    const std::size_t size =
        std::min<std::size_t>(static_cast<unsigned char>(input[1]) + 1U, input.size() - 2);
    const std::string_view data = input.substr(2, size);
    input.remove_prefix(2 + size);
    connection.send(data, how & kMostDescriptors);
    sent.text += data;
    sent.numDescriptors += how & kMostDescriptors;
    if ((how & 8) != 0) state = reader.read(connection.socket());
  }
  connection.end();
  if (state == ControlReader::State::incomplete) state = reader.read(connection.socket());
  checkReader(reader, state, sent);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A socket holds a couple of hundred pieces, however short they are.
  constexpr std::size_t kMost = 300;
  const auto before = openNumbers();
  converse({reinterpret_cast<const char*>(data), std::min(size, kMost)});
  check(openNumbers() == before, "a descriptor was left open");
  return 0;
}
