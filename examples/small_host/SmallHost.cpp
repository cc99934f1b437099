// A host of the command plug-in that is as small as it can be: it loads the plug-in, gives it the
// objects of TinySwitch.h, sends it commands of every kind and prints what a client would read.
//
//   small_host [PLUGIN]
//
// The client sits in the same process, at the other end of a socket pair, so that one loop shows
// both sides. Lines that begin with "--" are the host's own.

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include "TinySwitch.h"
#include "platform/command/CommandArgument.h"
#include "platform/command/PluginEntry.h"

namespace {

using AgentCommand::CommandOutcome;
using Rendering::PrintBuffer;
using Rendering::SocketPort;

constexpr std::size_t kGathered = 65536;  ///< bytes that gather before they are sent

std::uint32_t asSocket(int descriptor) { return static_cast<std::uint32_t>(descriptor); }

[[noreturn]] void fail(const std::string& what, const char* why) {
  throw std::runtime_error(what + ": " + (why == nullptr ? "unknown error" : why));
}

// Never unloaded: objects of the plug-in's classes may live until the process ends.
const AgentCommand::PluginEntry& loadPlugin(const char* file) {
  void* const library = ::dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) fail("cannot load the plug-in", ::dlerror());
  const void* const symbol = ::dlsym(library, AgentCommand::kPluginEntrySymbol);
  if (symbol == nullptr) fail("this is no plug-in", ::dlerror());
  std::uint32_t version = 0;  // the one member that every version has in this place
  std::memcpy(&version, symbol, sizeof version);
  if (version != AgentCommand::kPluginInterfaceVersion) {
    fail(file, "the plug-in has another interface version than this host");
  }
  return *static_cast<const AgentCommand::PluginEntry*>(symbol);
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }
  void close() {
    if (number_ >= 0) ::close(release());
  }
  int release() { return std::exchange(number_, -1); }
  int get() const { return number_; }

 private:
  int number_;
};

bool sameFile(int a, int b) {
  struct stat statA {};
  struct stat statB {};
  return ::fstat(a, &statA) == 0 && ::fstat(b, &statB) == 0 && statA.st_dev == statB.st_dev &&
         statA.st_ino == statB.st_ino;
}

/** The two ends of a connection. */
std::array<int, 2> connectedSockets() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    fail("no socket pair", std::strerror(errno));
  }
  return ends;
}

/** One answer under way: its socket, what the socket has not taken, and who prints the rest. */
struct Answer {
  explicit Answer(const std::array<int, 2>& ends) : socket(ends[0]), client(ends[1]) {}

  Descriptor socket;
  Descriptor client;
  Qel::Ptr<PrintBuffer> output =
      Qel::makePtr<PrintBuffer>(asSocket(socket.get()), kGathered, PrintBuffer::kStream);
  Qel::Ptr<AgentCommand::AgentAsyncCommandRequestSm> machine;  ///< null when all is printed
};

class Host {
 public:
  Host(const AgentCommand::PluginEntry& plugin, KorvoL2::L2Agent& agent)
      : plain_(plugin.cliCallback("small host")),
        formatted_(plugin.cliCallbackWithFormat("small host")) {
    plain_->l2AgentIs(&agent);
    formatted_->l2AgentIs(&agent);
  }

  void plainCommand(const std::string& command) {
    std::printf("-- plain: %s\n", command.c_str());
    answerAtOnce(*plain_, [&](std::uint32_t socket) { plain_->handleCommand(socket, command); });
  }

  void formattedCommand(const std::string& command, Rendering::OutputFormat format) {
    std::printf("-- at once: %s\n", command.c_str());
    answerAtOnce(*formatted_,
                 [&](std::uint32_t socket) { formatted_->handleCommand(socket, command, format); });
  }

  void dump(const std::string& command, Rendering::OutputFormat format,
            const AgentCommand::SlicePolicy& policy = {}) {
    std::printf("-- in slices: %s\n", command.c_str());
    Answer answer(connectedSockets());
    const std::uint32_t socket = asSocket(answer.socket.get());
    const auto renderer = Qel::makePtr<Rendering::RendererV2>(format, answer.output, false);
    const auto request = Qel::makePtr<AgentCommand::AgentCommandRequest>("request 1", command,
                                                                         socket, format, renderer);
    try {
      answer.machine = formatted_->createAgentAsyncCommandRequestSm(request);
      tellOutcome(*formatted_);
    } catch (const std::exception& e) {
      tellFailure(e);
    }
    if (answer.machine != nullptr) answer.machine->slicePolicyIs(policy);
    serve(answer);
  }

 private:
  /** Calls a callback that prints its whole answer before it returns. */
  template <class Call>
  void answerAtOnce(const AgentCommand::CliCallbackCommon& callback, const Call& call) {
    Answer answer(connectedSockets());
    // The callback may close the socket that it is given, so it is given one of its own.
    Descriptor given(::fcntl(answer.socket.get(), F_DUPFD_CLOEXEC, 0));
    if (given.get() < 0) fail("no descriptor", std::strerror(errno));
    // What the socket does not take is sent by the loop. The socket is held from then on: text
    // printed later must not overtake it.
    const auto before =
        PrintBuffer::undeliveredHandlerIs([&answer](std::uint32_t socket, std::string_view text) {
          answer.output->append(text);
          SocketPort::heldIs(socket);
        });
    try {
      call(asSocket(given.get()));
      tellOutcome(callback);
    } catch (const std::exception& e) {
      tellFailure(e);
    }
    SocketPort::heldIs(SocketPort::kNoSocket);
    PrintBuffer::undeliveredHandlerIs(before);
    // Closed here unless it is closed already: then its number may be another file's by now.
    if (!sameFile(given.get(), answer.socket.get())) given.release();
    given.close();
    serve(answer);
  }

  // The loop: what the sockets are ready for, then one slice. An agent does the same for all of its
  // answers, one slice a turn, each in its turn.
  void serve(Answer& answer) {
    bool idle = false;
    for (;;) {
      const bool blocked = answer.output->pending() != 0;
      const bool runnable = answer.machine != nullptr && !blocked;
      if (!blocked && !runnable) answer.socket.close();  // the answer is complete
      std::array<pollfd, 2> wanted{
          {{answer.client.get(), POLLIN, 0},
           {answer.socket.get(), static_cast<short>(blocked ? POLLOUT : 0), 0}}};
      // A slice that had nothing to do waits for something else that the agent does.
      ::poll(wanted.data(), wanted.size(), runnable ? (idle ? 2 : 0) : -1);
      if (wanted[0].revents != 0 && !copyToStandardOutput(answer.client)) return;
      if (wanted[1].revents != 0) answer.output->flush();
      if (runnable) idle = !runSlice(answer);
      // Nobody reads any more: the request ends here, and with it everything that it held.
      if (answer.output->failed()) answer.machine = nullptr;
    }
  }

  // Returns whether the slice did anything.
  static bool runSlice(Answer& answer) {
    const std::uint64_t bytes = answer.output->appended();
    const std::uint64_t entries = answer.machine->entriesDone();
    bool complete = false;
    try {
      answer.machine->runCommand();
      complete = answer.machine->executionCompleteFlag();
    } catch (const std::exception& e) {
      tellFailure(e);
      complete = true;
    }
    std::printf("-- slice %u ends: %u rows so far\n",
                static_cast<unsigned>(answer.machine->slices()),
                static_cast<unsigned>(answer.machine->rows()));
    const bool busy =
        answer.output->appended() != bytes || answer.machine->entriesDone() != entries;
    if (complete) answer.machine = nullptr;
    return complete || busy;
  }

  // False at the end of the answer.
  static bool copyToStandardOutput(const Descriptor& client) {
    std::array<char, 65536> text{};
    const ssize_t size = ::read(client.get(), text.data(), text.size());
    if (size > 0) std::fwrite(text.data(), 1, static_cast<std::size_t>(size), stdout);
    return size > 0;
  }

  static void tellFailure(const std::exception& failure) {
    std::printf("-- failed: %s\n", AgentCommand::messageOf(failure).c_str());
  }
  static void tellOutcome(const AgentCommand::CliCallbackCommon& callback) {
    const CommandOutcome& outcome = callback.outcome();
    switch (outcome.kind) {
      case CommandOutcome::Kind::handled:
        break;
      case CommandOutcome::Kind::noHandler:
        std::puts("-- no handler took the command");
        break;
      case CommandOutcome::Kind::notReady:
        std::printf("-- not ready: %s\n", outcome.reason.c_str());
        break;
      case CommandOutcome::Kind::failed:
        std::printf("-- failed, and the answer is cut off: %s\n", outcome.reason.c_str());
        break;
    }
  }

  Qel::Ptr<AgentCommand::CliCallbackBase> plain_;
  Qel::Ptr<AgentCommand::CliCallbackBaseWithFormat> formatted_;
};

void run(const char* pluginFile) {
  const AgentCommand::PluginEntry& plugin = loadPlugin(pluginFile);
  std::printf("-- %s\n", plugin.pluginName);
  const auto agent = Qel::makePtr<TinyAgent>();
  Host host(plugin, *agent);
  host.plainCommand("VlanVfiMap");
  agent->readyIs(true);
  host.plainCommand("VlanVfiMap");
  host.plainCommand("NoSuchCommand");
  host.formattedCommand("VXLAN_VLAN_SUMMARY", Rendering::kText);
  // Two rows a slice, for show. Left alone, a slice ends when time, output window or socket say so.
  host.dump("MACT_ALL", Rendering::kText, {.rowBudget = 2});
  host.dump("MACT_ALL", Rendering::kJson);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a client that has gone is an error code, not the host's end
  try {
    run(argc > 1 ? argv[1] : "libKorvoL2CliCallbacks.so");
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "small_host: %s\n", e.what());
    return 1;
  }
}
