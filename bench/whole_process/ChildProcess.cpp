#include "bench/whole_process/ChildProcess.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>
#include <utility>

#include "bench/whole_process/Sockets.h"

namespace KorvoBench {

namespace {

// In the child, before anything else.
void dieWith(pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(1);
}

}  // namespace

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : pid_(std::exchange(other.pid_, -1)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
  if (this != &other) {
    end(SIGKILL);
    pid_ = std::exchange(other.pid_, -1);
  }
  return *this;
}

ChildProcess::~ChildProcess() { end(SIGKILL); }

ChildProcess ChildProcess::fork(const std::function<void()>& work) {
  std::fflush(nullptr);
  const pid_t parent = ::getpid();
  const pid_t pid = ::fork();
  if (pid < 0) systemFailed("fork");
  if (pid != 0) return ChildProcess(pid);
  dieWith(parent);
  int status = 0;
  try {
    work();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "benchmark child: %s\n", e.what());
    status = 1;
  }
  // Past the destructors of objects that belong to the parent.
  ::_exit(status);
}

ChildProcess ChildProcess::start(const std::vector<std::string>& arguments, int output) {
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  return fork([&] {
    if (output >= 0) ::dup2(output, STDOUT_FILENO);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  });
}

double ChildProcess::processorSeconds() const {
  // To the nanosecond, where /proc/PID/stat counts clock ticks.
  std::ifstream file("/proc/" + std::to_string(pid_) + "/schedstat");
  double nanoseconds = 0;
  file >> nanoseconds;
  return nanoseconds / 1e9;
}

int ChildProcess::end(int signal) {
  if (pid_ < 0) return 0;
  ::kill(pid_, signal);
  return wait();
}

int ChildProcess::wait() {
  if (pid_ < 0) return 0;
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace KorvoBench
