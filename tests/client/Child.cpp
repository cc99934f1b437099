#include "tests/client/Child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <stdexcept>

namespace KorvoCtl {

namespace {

// Opens what a standard stream is to be in the process; with a pipe, the test's end goes to `ours`.
Descriptor open(const Child::Stream& stream, Descriptor& ours) {
  if (stream.kind == Child::Stream::Kind::kFile) {
    return Descriptor(::open(stream.path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  }
  if (stream.kind == Child::Stream::Kind::kClosed) {
    return {};
  }
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe2");
  }
  ours = Descriptor(ends[0]);
  return Descriptor(ends[1]);
}

std::string readUpTo(int fd, std::size_t size) {
  std::string data;
  std::array<char, 65536> buffer{};
  while (data.size() < size) {
    const ssize_t n = ::read(fd, buffer.data(), std::min(buffer.size(), size - data.size()));
    if (n == 0 || (n < 0 && errno != EINTR)) {
      break;
    }
    data.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
  }
  return data;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

// In the process, before it becomes korvoctl: async-signal-safe calls only.
[[noreturn]] void become(const Descriptor& output, const Descriptor& errors,
                         const std::vector<int>& ignored, char** words, char** environment) {
  for (const auto& [fd, target] : {std::pair{output.get(), 1}, std::pair{errors.get(), 2}}) {
    if (fd >= 0) {
      ::dup2(fd, target);
    } else {
      ::close(target);
    }
  }
  // What the test does about these is no business of the process.
  for (const int number : {SIGPIPE, SIGINT, SIGTERM, SIGHUP}) {
    const bool isIgnored = std::find(ignored.begin(), ignored.end(), number) != ignored.end();
    ::signal(number, isIgnored ? SIG_IGN : SIG_DFL);
  }
  ::execve(words[0], words, environment);
  ::_exit(127);
}

}  // namespace

Child::Child(const std::vector<std::string>& words, const Options& options) {
  std::vector<std::string> arguments = {KORVOCTL_PROGRAM};
  arguments.insert(arguments.end(), words.begin(), words.end());
  std::vector<std::string> environment = options.environment;
  const std::vector<char*> argumentPointers = pointersTo(arguments);
  const std::vector<char*> environmentPointers = pointersTo(environment);
  Descriptor output = open(options.output, output_);
  Descriptor errors = open(options.errors, errors_);
  pid_ = ::fork();
  if (pid_ < 0) {
    throw std::runtime_error("fork");
  }
  if (pid_ == 0) {
    become(output, errors, options.ignoredSignals, const_cast<char**>(argumentPointers.data()),
           const_cast<char**>(environmentPointers.data()));
  }
}

Child::~Child() {
  if (pid_ > 0) {
    ::kill(pid_, SIGKILL);
    wait();
  }
}

std::string Child::readOutput(std::size_t size) { return readUpTo(output_.get(), size); }
std::string Child::readAllOutput() { return readUpTo(output_.get(), SIZE_MAX); }
std::string Child::readAllErrors() { return readUpTo(errors_.get(), SIZE_MAX); }

void Child::signal(int number) const { ::kill(pid_, number); }

std::size_t Child::peakMemory() const {
  std::ifstream file(fmt::format("/proc/{}/status", pid_));
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("VmHWM:")) {
      return std::stoul(line.substr(sizeof("VmHWM:"))) * 1024;
    }
  }
  throw std::runtime_error("no VmHWM");
}

int Child::wait() {
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace KorvoCtl
